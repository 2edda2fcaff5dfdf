// SPDX-License-Identifier: MIT
//
// Both output forms, escaping, editing, and files.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "doc/xml_document.h"
#include "platform/file.h"

namespace melorin {
namespace {

using std::string_view_literals::operator""sv;

std::string Printed(const XmlNode& node, bool attributes_on_new_lines = false, int depth = 0) {
  XmlStringOutput out;
  node.Print(out, depth, attributes_on_new_lines);
  return out.Text();
}

std::string Streamed(const XmlNode& node) {
  XmlStringOutput out;
  node.Stream(out);
  return out.Text();
}

TEST(XmlWrite, PrintsIndentedAndCompact) {
  const struct {
    const char* name;
    const char* input;
    const char* printed;
    const char* on_new_lines;
    const char* streamed;
  } cases[] = {
      {"declaration", "<?xml version='1.0' encoding='UTF-8' standalone='yes'?><a/>",
       "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<a/>\r\n",
       "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<a/>\r\n",
       "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?><a />"},
      {"empty declaration", "<?xml?>", "<?xml ?>\r\n", "<?xml ?>\r\n", "<?xml ?>"},
      {"attributes", "<a><b c=1 d='x&amp;y'/></a>", "<a>\r\n\t<b c=\"1\" d=\"x&amp;y\"/>\r\n</a>\r\n",
       "<a>\r\n\t<b \r\n\t\tc=\"1\" \r\n\t\td=\"x&amp;y\"\r\n\t/>\r\n</a>\r\n",
       "<a><b c=\"1\" d=\"x&amp;y\" /></a>"},
      {"attributes and a child", "<a b=1><c/></a>", "<a b=\"1\">\r\n\t<c/>\r\n</a>\r\n",
       "<a \r\n\tb=\"1\">\r\n\t<c/>\r\n</a>\r\n", "<a b=\"1\"><c /></a>"},
      {"only a text", "<a b=1>x</a>", "<a b=\"1\">x</a>\r\n", "<a \r\n\tb=\"1\">x</a>\r\n",
       "<a b=\"1\">x</a>"},
      {"text first", "<a>x<b/></a>", "<a>x\r\n\t<b/>\r\n</a>\r\n", "<a>x\r\n\t<b/>\r\n</a>\r\n",
       "<a>x<b /></a>"},
      {"text last", "<a><b/>x</a>", "<a>\r\n\t<b/>x\r\n</a>\r\n", "<a>\r\n\t<b/>x\r\n</a>\r\n",
       "<a><b />x</a>"},
      {"comment and unknown", "<a><!-- c>&lt; --><!d \"&\"></a><!--e-->",
       "<a>\r\n\t<!-- c&gt;&lt; -->\r\n\t<!d \"&\">\r\n</a>\r\n<!--e-->\r\n",
       "<a>\r\n\t<!-- c&gt;&lt; -->\r\n\t<!d \"&\">\r\n</a>\r\n<!--e-->\r\n",
       "<a><!-- c&gt;&lt; --><!d \"&\"></a><!--e-->"},
      {"deeper and back", "<a><b><c><d/></c></b><e/></a>",
       "<a>\r\n\t<b>\r\n\t\t<c>\r\n\t\t\t<d/>\r\n\t\t</c>\r\n\t</b>\r\n\t<e/>\r\n</a>\r\n",
       "<a>\r\n\t<b>\r\n\t\t<c>\r\n\t\t\t<d/>\r\n\t\t</c>\r\n\t</b>\r\n\t<e/>\r\n</a>\r\n",
       "<a><b><c><d /></c></b><e /></a>"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    XmlDocument document;
    ASSERT_TRUE(document.Parse(c.input, -1, 65001));
    EXPECT_EQ(Printed(document), c.printed);
    EXPECT_EQ(Printed(document, true), c.on_new_lines);
    EXPECT_EQ(Streamed(document), c.streamed);
    const auto clone = document.Clone();
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(Printed(*clone, true), c.on_new_lines);
    XmlDocument again;
    ASSERT_TRUE(again.Parse(Printed(document, true), 65001));
    EXPECT_EQ(Printed(again, true), c.on_new_lines);
  }
}

TEST(XmlWrite, EscapesBySequencesOfUtf8) {
  const struct {
    std::string_view value;
    std::string_view written;
  } cases[] = {
      {"", ""},
      {"a<b>\"c\"&'d'", "a&lt;b&gt;&quot;c&quot;&amp;&apos;d&apos;"},
      {"0123456789abcdef<0123456789abcdef>", "0123456789abcdef&lt;0123456789abcdef&gt;"},
      {"中<文", "中&lt;文"},
      {"&#x41;", "&#x41;"},
      {"&#x4", "&amp;#x4"},  // Too short to be a reference.
      {"&#65;", "&amp;#65;"},
      // Bytes of no sequence are lost with the special character after them, and kept before any other.
      {"a\xD6\xD0<b", "a&lt;b"},
      {"a\xD6\xD0z<b", "a\xD6\xD0z&lt;b"},
      {"\xE4\xB8\xAD\xE4\xB8&", "\xE4\xB8\xAD&amp;"},
      {"\xC0\x80>\xE0\x80\x80>\xF0\x8F\x80\x80>", "&gt;&gt;&gt;"},
      {"\xFF&#x41;", "&amp;#x41;"},
      {"\xF8\x88\x80\x80\x80<\xFC\x84\x80\x80\x80\x80<",
       "\xF8\x88\x80\x80\x80&lt;\xFC\x84\x80\x80\x80\x80&lt;"},
      {"\xD6\xD0", "\xD6\xD0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.written));
    const auto text = NewXmlText(c.value);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(Streamed(*text), c.written);
    const auto element = NewXmlElement("e");
    ASSERT_TRUE(element->SetAttribute("a", c.value));
    EXPECT_EQ(Printed(*element, false, 1), "\t<e a=\"" + std::string(c.written) + "\"/>");
  }
}

TEST(XmlTree, IsEditedParsedOrBuilt) {
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<r><a n='1'/>a<a n='2'/><!--a--><b/></r>", 65001));
  XmlElement* root = document.RootElement();
  EXPECT_EQ(root->FirstChild("a")->NextSibling("a")->Kind(), XmlKind::kText);
  EXPECT_EQ(root->FirstChildElement("a")->NextSiblingElement("a")->Attribute("n"), "2");
  EXPECT_EQ(root->FirstChildElement("A"), nullptr);
  EXPECT_EQ(root->FirstChildElement("b")->NextSiblingElement(), nullptr);

  XmlElement* first = root->FirstChildElement();
  EXPECT_TRUE(first->SetAttribute("n", "a longer value than before"));
  EXPECT_TRUE(first->SetAttribute("n", first->Attribute("n").substr(2, 6)));  // A part of itself.
  EXPECT_TRUE(first->SetAttribute("m", ""));
  EXPECT_EQ(first->Attribute("none"), "");
  XmlNode* copy = root->InsertEndChild(*first);
  EXPECT_TRUE(first->SetAttribute("m", "only here"));
  EXPECT_TRUE(root->RemoveChild(first->NextSibling()));
  EXPECT_FALSE(root->RemoveChild(root));
  EXPECT_FALSE(document.RemoveChild(copy));
  EXPECT_TRUE(root->RemoveChild(root->LastChild()->PreviousSibling()));
  copy->LinkEndChild(NewXmlText("<t>"));
  XmlElement* added = copy->AddElement("sub");
  added->AddElement("deep")->SetAttribute("x", "1");
  EXPECT_EQ(added->Document(), &document);
  EXPECT_EQ(copy->LinkEndChild(std::make_unique<XmlDocument>()), nullptr);
  EXPECT_EQ(Streamed(document),
            "<r><a n=\"longer\" m=\"only here\" /><a n=\"2\" /><!--a-->"
            "<a n=\"longer\" m=\"\">&lt;t&gt;<sub><deep x=\"1\" /></sub></a></r>");
  root->Clear();
  EXPECT_EQ(Streamed(document), "<r />");
  document.Clear();
  EXPECT_EQ(document.RootElement(), nullptr);
}

TEST(XmlTree, ParsesFreeNodes) {
  const auto element = NewXmlElement("old");
  const auto text = "<a b='1'><c>x</c></a>rest"sv;
  const char* end = element->Parse(text.data(), text.data() + text.size(), 65001);
  ASSERT_NE(end, nullptr);
  EXPECT_EQ(std::string_view(end, 4), "rest");
  EXPECT_EQ(Streamed(*element), "<a b=\"1\"><c>x</c></a>");
  XmlDocument document;
  XmlNode* child = document.InsertEndChild(*element);
  ASSERT_NE(child, nullptr);
  const auto broken = "<b><c></b>"sv;
  EXPECT_EQ(child->Parse(broken.data(), broken.data() + broken.size(), 65001), nullptr);
  EXPECT_EQ(document.Error(), XmlError::kEndTag);
}

class FailingOutput final : public XmlOutput {
 public:
  bool PutChar(char) override { return false; }
  bool Write(const char*, ptrdiff_t) override {
    ++calls;
    return false;
  }
  int calls = 0;
};

TEST(XmlWrite, StopsAtASinkThatFails) {
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<a>" + std::string(100000, 'x') + "<b/></a>", 65001));
  FailingOutput out;
  document.Print(out, 0, false);
  EXPECT_EQ(out.calls, 1);
}

TEST(XmlOutput, TakesNulTerminatedAndEmptyWrites) {
  XmlStringOutput out;
  EXPECT_TRUE(out.Write("abc", -1) && out.Write("xyz", 0) && out.Write("def", 2) && out.PutChar('g'));
  EXPECT_EQ(out.Text(), "abcdeg");
}

TEST(XmlFile, SavesAndLoads) {
  const std::string path = JoinPath(TempDirectory(), "melorin_xml_\xD6\xD0\xCE\xC4.xml");
  XmlDocument document;
  document.LinkEndChild(NewXmlDeclaration("1.0", "UTF-8", "yes"));
  document.AddElement("melorin")->SetAttribute("title", "中文 & <x>");
  for (const bool safely : {false, true}) {
    SCOPED_TRACE(safely);
    ASSERT_TRUE(safely ? document.SaveFileSafely(path, true) : document.SaveFile(path, true));
    XmlDocument loaded;
    ASSERT_TRUE(loaded.LoadFile(path, -1));
    EXPECT_EQ(loaded.CodePage(), 65001);
    EXPECT_EQ(Printed(loaded), Printed(document));
    ASSERT_TRUE(loaded.SaveFile("", false));  // To where it came from.
    ASSERT_TRUE(loaded.LoadFile(path, 65001));
    EXPECT_EQ(Printed(loaded), Printed(document));
    EXPECT_TRUE(DeleteFileAt(path));
    EXPECT_FALSE(loaded.LoadFile(path, -1));
    EXPECT_EQ(loaded.Error(), XmlError::kOpenFile);
    EXPECT_EQ(loaded.FirstChild(), nullptr);
    EXPECT_EQ(loaded.FileName(), path);
  }
  const std::string nowhere = JoinPath(JoinPath(TempDirectory(), "melorin_none"), "a.xml");
  EXPECT_FALSE(document.SaveFile(nowhere, false));
  EXPECT_FALSE(document.SaveFileSafely(nowhere, false));
}

}  // namespace
}  // namespace melorin
