// SPDX-License-Identifier: MIT
//
// Real and hostile files: what they hold by the count of other readers, and that none of them, whole or cut
// anywhere, does harm.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "doc/xml_document.h"
#include "platform/file.h"

namespace melorin {
namespace {

std::string CorpusFolder() {
  const char* set = std::getenv("MELORIN_CORPUS");
  const std::string folder = set != nullptr ? set : MELORIN_SOURCE_DIR "/../shared/corpus";
  return DirectoryExists(folder) ? folder : std::string();
}

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct Counts {
  int elements = 0;
  int attributes = 0;
};

Counts Count(const XmlNode& root) {
  Counts counts;
  for (const XmlNode* node = &root;;) {
    if (const XmlElement* element = node->AsElement()) {
      ++counts.elements;
      for (auto* a = element->FirstAttribute(); a != nullptr; a = element->NextAttribute(*a))
        ++counts.attributes;
    }
    if (node->FirstChild() != nullptr) {
      node = node->FirstChild();
      continue;
    }
    while (node != &root && node->NextSibling() == nullptr)
      node = node->Parent();
    if (node == &root) return counts;
    node = node->NextSibling();
  }
}

TEST(XmlCorpus, CountsWhatOtherReadersCount) {
  const std::string corpus = CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus here";
  std::ifstream facts(corpus + "/expected_text.csv");
  int compared = 0;
  for (std::string line; std::getline(facts, line);) {
    const bool plain = line.find("CDATA 0 PI 0 DOCTYPE 0") != std::string::npos;
    const size_t at = line.find("expat: well-formed, ");
    if (line.rfind("xml,", 0) != 0 || !plain || at == std::string::npos) continue;
    Counts want;
    ASSERT_EQ(std::sscanf(line.c_str() + at, "expat: well-formed, %d elements, %d attributes", &want.elements,
                          &want.attributes),
              2);
    const std::string name = line.substr(4, line.find(',', 4) - 4);
    SCOPED_TRACE(name);
    const std::string bytes = ReadAll(corpus + "/xml/" + name);
    XmlDocument document;
    document.LoadFile(corpus + "/xml/" + name, -1);
    if (bytes.empty() || static_cast<unsigned char>(bytes[0]) >= 0x80) {  // A byte-order mark is no "<".
      EXPECT_EQ(document.Error(), XmlError::kEmptyDocument);
      continue;
    }
    EXPECT_EQ(document.Error(), XmlError::kNone);
    const Counts got = Count(document);
    EXPECT_EQ(got.elements, want.elements);
    EXPECT_EQ(got.attributes, want.attributes);
    ++compared;
  }
  EXPECT_GE(compared, 10);
}

TEST(XmlCorpus, ReadsGbkFiles) {
  const std::string corpus = CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus here";
  XmlDocument document;
  ASSERT_TRUE(document.LoadFile(corpus + "/xml/inline_gbk__item.xml", -1));
  const XmlElement* result = document.RootElement()->FirstChildElement("simi_result");
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->FirstChildElement("CorrectPin")->Attribute("name"), "拼音纠错");
  EXPECT_EQ(result->FirstChildElement("SimilarWords")->Attribute("name"), "相关词语");

  // Names are read byte by byte: a GBK name reads until a second byte that is no name character, as "`" here.
  XmlDocument weekly;
  EXPECT_FALSE(weekly.LoadFile(corpus + "/xml/derived_gb2312_declared__weekly.xml", -1));
  EXPECT_EQ(weekly.Error(), XmlError::kStartTag);
  XmlStringOutput out;
  weekly.Print(out, 0, false);
  EXPECT_NE(out.Text().find("山田"), std::string::npos);
}

TEST(XmlCorpus, SurvivesEveryFileWholeAndCut) {
  const std::string corpus = CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus here";
  int files = 0;
  for (const char* folder : {"/xml", "/malformed"}) {
    for (const DirectoryEntry& entry : ListDirectory(corpus + folder)) {
      if (PathExtension(entry.name_gbk) != "xml") continue;
      SCOPED_TRACE(entry.name_gbk);
      ++files;
      const std::string bytes = ReadAll(corpus + folder + "/" + entry.name_gbk);
      const size_t step = bytes.size() > 10000 ? 97 * 41 : 97;  // Large files are cut at fewer places.
      for (size_t n = bytes.size();; n = n > step ? (n - 1) / step * step : 0) {
        const std::vector<char> part(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(n));
        for (const int code_page : {-1, 65001}) {
          XmlDocument document;
          const bool parsed = document.Parse({part.data(), part.size()}, code_page);
          EXPECT_EQ(parsed, document.Error() == XmlError::kNone);
          XmlStringOutput out;
          document.Print(out, 0, true);
        }
        if (n == 0) break;
      }
    }
  }
  EXPECT_GE(files, 90);
}

}  // namespace
}  // namespace melorin
