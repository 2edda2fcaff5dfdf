// SPDX-License-Identifier: MIT
//
// What the parser makes of a text: the tree, shown as one line, and the error code.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "doc/xml_document.h"

namespace melorin {
namespace {

/// One node with what is below it: e(name a=1 ...)[children], t(text), c(comment), u(unknown),
/// d(version,encoding,standalone). Recursive: for shallow trees.
void Show(const XmlNode& node, std::string& out) {
  switch (node.Kind()) {
    case XmlKind::kDocument:
      break;
    case XmlKind::kElement: {
      const XmlElement& element = *node.AsElement();
      out.append("e(").append(element.Name());
      for (auto* a = element.FirstAttribute(); a != nullptr; a = element.NextAttribute(*a))
        out.append(" ").append(a->Name()).append("=").append(a->Value());
      out.append(")");
      break;
    }
    case XmlKind::kComment:
      out.append("c(").append(node.Value()).append(")");
      break;
    case XmlKind::kUnknown:
      out.append("u(").append(node.Value()).append(")");
      break;
    case XmlKind::kText:
      out.append("t(").append(node.Value()).append(")");
      break;
    case XmlKind::kDeclaration: {
      const auto& d = static_cast<const XmlDeclaration&>(node);
      out.append("d(").append(d.Version()).append(",").append(d.Encoding());
      out.append(",").append(d.Standalone()).append(")");
      break;
    }
  }
  if (node.FirstChild() == nullptr) return;
  out.append("[");
  for (XmlNode* child = node.FirstChild(); child != nullptr; child = child->NextSibling())
    Show(*child, out);
  out.append("]");
}

std::string Show(const XmlNode& node) {
  std::string out;
  Show(node, out);
  return out;
}

struct Case {
  std::string_view input;
  const char* tree;
  int error = 0;
};

void Check(const std::vector<Case>& cases, int code_page) {
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.input));
    // Exactly the bytes and nothing after them, so that reading past the end shows under the sanitizer.
    const std::vector<char> bytes(c.input.begin(), c.input.end());
    XmlDocument document;
    const bool parsed = document.Parse(bytes.data(), static_cast<ptrdiff_t>(bytes.size()), code_page);
    EXPECT_EQ(Show(document), c.tree);
    EXPECT_EQ(static_cast<int>(document.Error()), c.error);
    EXPECT_EQ(parsed, c.error == 0);
  }
}

TEST(XmlParse, ReadsElementsAttributesAndText) {
  Check(
      {
          {"<a/>", "[e(a)]"},
          {" \r\n\t<a />\n", "[e(a)]"},
          {"<a></a>", "[e(a)]"},
          {"<a>   </a>", "[e(a)]"},
          {"<a>  two   words  </a>", "[e(a)[t(two words)]]"},
          {"<a>\r\none\r\n\ttwo three\r\n</a>", "[e(a)[t(one two three)]]"},
          {"<a>one two</a>", "[e(a)[t(one two)]]"},
          {"<a>x <b/> y</a>", "[e(a)[t(x)e(b)t(y)]]"},
          {"<a><b><c>1</c></b><d/></a>", "[e(a)[e(b)[e(c)[t(1)]]e(d)]]"},
          {"<a b=1 c='x&amp;y'/>", "[e(a b=1 c=x&y)]"},
          {"<a\n b = \"it's\"\r\n c='\"'/>", "[e(a b=it's c=\")]"},
          {"<a b=' 1  2 '/>", "[e(a b= 1  2 )]"},
          {"<a b=\"1\"c=\"2\"/>", "[e(a b=1 c=2)]"},
          {"<a b=1 b=2/>", "[e(a b=1 b=2)]"},
          {"<a b=\"\"></a>", "[e(a b=)]"},
          {"<a b=a&amp;b c=\"&lt;>\"></a>", "[e(a b=a&amp;b c=<>)]"},
          {"<_a-1:b x-y:z_0=1/>", "[e(_a-1:b x-y:z_0=1)]"},
          {"<\xE6\xAD\x8C \xE5\x90\x8D='\xE4\xB8\xAD'/>", "[e(歌 名=中)]"},
          {"<a/><b/>", "[e(a)e(b)]"},
          {"<a/> rest", "[e(a)]"},
      },
      65001);
}

TEST(XmlParse, DecodesTheFiveEntitiesOnly) {
  Check(
      {
          {"<a>&amp;&lt;&gt;&quot;&apos;</a>", "[e(a)[t(&<>\"')]]"},
          {"<a>x &#x41; y</a>", "[e(a)[t(x &#x41; y)]]"},
          {"<a>&#65;&nbsp;&AMP;& &</a>", "[e(a)[t(&#65;&nbsp;&AMP;& &)]]"},
          {"<a>&amp;lt;</a>", "[e(a)[t(&lt;)]]"},
          {"<a> a  &amp;  b &lt;c </a>", "[e(a)[t(a & b <c)]]"},
          {"<a> &gt; </a>", "[e(a)[t(>)]]"},
          {"<a b='&quot;&apos;&amp' c='&'/>", "[e(a b=\"'&amp c=&)]"},
          // At the end of the input the beginning of an entity is enough.
          {"<!--x&am", "[c(x&)]"},
          {"<!--x&l", "[c(x<)]"},
          {"<!--x&", "[c(x&)]"},
      },
      65001);
}

TEST(XmlParse, ReadsCommentsUnknownsAndDeclarations) {
  Check(
      {
          {"<!-- a  &lt; b --><a/>", "[c( a  < b )e(a)]"},
          {"<!----><!-- - -- > -->", "[c()c( - -- > )]"},
          {"<a><!--->--></a>", "[e(a)[c(->)]]"},
          {"<!--open", "[c(open)]"},
          {"<!DOCTYPE a><a/>", "[u(!DOCTYPE a)e(a)]"},
          {"<a><![CDATA[ a > b ]]></a>", "[e(a)[u(![CDATA[ a )t(b ]]>)]]"},
          {"<?php x?><1/>", "[u(?php x?)u(1/)]"},
          {"<?xml version=\"1.0\" encoding='UTF-8' standalone=yes ?><a/>", "[d(1.0,UTF-8,yes)e(a)]"},
          {"<?XML Encoding=\"x\" other VERSION='2'?>", "[d(2,x,)]"},
          {"<?xml version = '1' ", "[d(1,,)]"},
          {"<a><?xml?></a>", "[e(a)[d(,,)]]"},
      },
      65001);
}

TEST(XmlParse, ReportsErrorsByCode) {
  Check(
      {
          {"", "", 13},
          {" \n", "", 13},
          {"x<a/>", "", 13},
          {"\xEF\xBB\xBF<a/>", "", 13},
          {"<a", "[e(a)]", 5},
          {"<a ", "[e(a)]", 7},
          {"<a b", "[e(a)]", 4},
          {"<a b=", "[e(a)]", 4},
          {"<a b=1", "[e(a)]", 4},
          {"<a b='1", "[e(a)]", 4},
          {"<a b='1'", "[e(a)]", 4},
          {"<a c=1 b>", "[e(a c=1)]", 7},
          {"<a b=>", "[e(a)]", 7},
          {"<a b=/>", "[e(a)]", 7},
          {"<a =1>", "[e(a)]", 7},
          {"<a.b/>", "[e(a)]", 7},
          {"<a b=http://c/>", "[e(a b=http:)]", 8},
          {"<a / >", "[e(a)]", 8},
          {"<a /", "[e(a)]", 8},
          {"<a>", "[e(a)]", 6},
          {"<a>text", "[e(a)[t(text)]]", 6},
          {"<a><b/>", "[e(a)[e(b)]]", 6},
          {"<a></A>", "[e(a)]", 9},
          {"<a></a >", "[e(a)]", 9},
          {"<a></a", "[e(a)]", 9},
          {"<a></ab>", "[e(a)]", 9},
          {"<a><b>1</a>", "[e(a)[e(b)[t(1)]]]", 9},
          {"<a><b/><", "[e(a)[e(b)]]", 10},
          {"<!x", "", 10},
          {"<a/><?xml version?>", "[e(a)]", 7},
      },
      65001);
}

TEST(XmlParse, StopsAtNulBytesWhereWhiteSpaceIsSkipped) {
  using std::string_view_literals::operator""sv;
  Check(
      {
          {"<a/>\0<b/>"sv, "[e(a)]"},
          {"\0<a/>"sv, "", 13},
          {"<a \0/>"sv, "[e(a)]", 7},
          {"<a b=1\0/>"sv, "[e(a)]", 4},
          {"<a b='1'\0/>"sv, "[e(a)]", 4},
      },
      65001);
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<a b='x\0y'>p\0q</a>"sv, 65001));
  EXPECT_EQ(document.RootElement()->Attribute("b"), "x\0y"sv);
  EXPECT_EQ(document.RootElement()->FirstChild()->Value(), "p\0q"sv);
}

TEST(XmlParse, ConvertsFromTheCodePageOfTheDocument) {
  const std::string gbk = "\xD6\xD0\xCE\xC4";  // 中文
  const auto text = [&gbk](const char* encoding) {
    return std::string("<?xml encoding=\"") + encoding + "\"?><a b='" + gbk + "'>" + gbk + " &lt;" + gbk +
           "<!--" + gbk + "--></a>";
  };
  const char* const converted = "e(a b=中文)[t(中文 <中文)c(中文)]]";
  const std::string raw = "e(a b=" + gbk + ")[t(" + gbk + " <" + gbk + ")c(" + gbk + ")]]";
  struct {
    const char* encoding;
    int code_page;
    std::string want;
    int code_page_after;
  } const cases[] = {
      {"gb2312", -1, converted, 936}, {"GB2312", -1, converted, 936}, {"UTF-8", -1, raw, 65001},
      {"utf-8", -1, converted, -1},   {"Big5", -1, converted, -1},    {"UTF-8", 936, converted, 936},
      {"GB2312", 65001, raw, 65001},  {"UTF-8", 0, converted, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.encoding) + " " + std::to_string(c.code_page));
    XmlDocument document;
    ASSERT_TRUE(document.Parse(text(c.encoding), c.code_page));
    EXPECT_EQ(Show(document), std::string("[d(,") + c.encoding + ",)" + c.want);
    EXPECT_EQ(document.CodePage(), c.code_page_after);
  }
  XmlDocument undeclared;
  ASSERT_TRUE(undeclared.Parse("<\xB8\xE8 b='\xB8\xE8'/>", -1));
  EXPECT_EQ(Show(undeclared), "[e(\xB8\xE8 b=歌)]") << "names are kept as read";
  XmlDocument western;
  ASSERT_TRUE(western.Parse("<a>\xE9</a>", 1252));
  EXPECT_EQ(Show(western), "[e(a)[t(é)]]");
}

TEST(XmlParse, AppendsToADocumentAndKeepsItsError) {
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<a/>", 65001));
  ASSERT_FALSE(document.Parse("<b>", 65001));
  ASSERT_TRUE(document.Parse("<c/>", 65001));
  EXPECT_EQ(Show(document), "[e(a)e(b)e(c)]");
  EXPECT_EQ(document.Error(), XmlError::kNoEndTag);
}

class Recorder final : public XmlParseObserver {
 public:
  void OnElementStart(std::string_view name, XmlElement& element) override {
    log.append("<").append(name).append(" ").append(element.Attribute("n"));
    log.append(element.FirstChild() == nullptr ? ">" : "!>");
  }
  void OnElementEnd(std::string_view name) override { log.append("</").append(name).append(">"); }
  std::string log;
};

TEST(XmlParse, TellsTheObserverInDocumentOrder) {
  XmlDocument document;
  Recorder recorder;
  document.SetObserver(&recorder);
  EXPECT_FALSE(document.Parse("<a n='1'>x<b n='2'/><c><d n='3'></d></c></a><e><f></e>", 65001));
  EXPECT_EQ(recorder.log, "<a 1><b 2></b><c ><d 3></d></c></a><e ><f >");
}

TEST(XmlParse, ReadsValuesOfAnyLengthInOneGoAsStepByStep) {
  // Within a document values are decoded straight into its memory, of a free element they are not. The
  // lengths cross blocks and chunks at every offset.
  static constexpr std::string_view kPieces[] = {"x",      "&amp;",    "&",      "'",
                                                 "&#x41;", "\xD6\xD0", "&quot;", "0123456789"};
  std::string text = "<r>";
  uint32_t random = 1;
  for (size_t i = 0; i < 3000; ++i) {
    text += "<e n='' a=\"";
    for (size_t n = i % 90; n != 0; --n) {
      random = random * 1664525 + 1013904223;
      text += kPieces[random >> 29];
    }
    text += "\"/>";
  }
  text += "</r>";
  for (const int code_page : {65001, 936}) {
    SCOPED_TRACE(code_page);
    XmlDocument document;
    ASSERT_TRUE(document.Parse(text, code_page));
    const auto element = NewXmlElement("free");
    ASSERT_EQ(element->Parse(text.data(), text.data() + text.size(), code_page), text.data() + text.size());
    EXPECT_TRUE(Show(*document.RootElement()) == Show(*element));
  }
}

TEST(XmlParse, TakesAnyNestingAndAnyPrefix) {
  std::string deep;
  constexpr int kDepth = 200000;
  for (int i = 0; i < kDepth; ++i)
    deep += "<a>";
  for (int i = 0; i < kDepth; ++i)
    deep += "</a>";
  XmlDocument document;
  ASSERT_TRUE(document.Parse(deep, 65001));
  XmlStringOutput out;
  document.Stream(out);
  EXPECT_EQ(out.Text().size(), kDepth * 7 - 3u - 4u + 5u);
  const auto copy = document.FirstChild()->Clone();  // On the heap, so destroyed node by node.
  ASSERT_NE(copy, nullptr);

  const std::string text =
      "<?xml version='1.0' encoding=\"GB2312\" standalone=yes?><!-- c &amp; --><!DOCTYPE a>"
      "<a b='&quot;' c=1><d> x  &lt; \xD6\xD0 </d><e f=\"\"/>&#x41;</a>";
  for (size_t n = 0; n < text.size(); ++n) {
    const std::vector<char> prefix(text.begin(), text.begin() + static_cast<ptrdiff_t>(n));
    XmlDocument cut;
    cut.Parse({prefix.data(), prefix.size()}, -1);
    if (n > text.find("<a b")) {
      EXPECT_NE(cut.Error(), XmlError::kNone) << n;
    }
  }
}

}  // namespace
}  // namespace melorin
