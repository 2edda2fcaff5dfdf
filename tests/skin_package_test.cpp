// SPDX-License-Identifier: MIT
#include "skin/skin_package.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "tests/playlist_test_folder.h"
#include "tests/skin_zip_builder.h"

namespace melorin {

// Words instead of numbers where a test fails.
static void PrintTo(SkinPackageResult result, std::ostream* out) {
  static constexpr const char* kNames[] = {"opened", "missing", "no package", "not supported"};
  *out << kNames[static_cast<int>(result)];
}

namespace {

using namespace std::string_literals;
using zip_build::Archive;
using zip_build::Bytes;
using zip_build::Entry;

constexpr auto kOpened = SkinPackageResult::kOpened;
constexpr auto kNoPackage = SkinPackageResult::kNoPackage;
constexpr auto kNotSupported = SkinPackageResult::kNotSupported;

using Names = std::vector<std::string>;

/// An archive that the test keeps.
struct Opened {
  explicit Opened(std::string archive) : bytes(std::move(archive)) {
    result = OpenSkinArchive(Bytes(bytes), &package);
  }
  explicit Opened(const Archive& archive) : Opened(archive.Build()) {}
  bool Has(std::string_view name) const {
    std::vector<uint8_t> out;
    return package && package->Read(name, out);
  }
  /// "<none>" when it cannot be read.
  std::string Read(std::string_view name) const {
    std::vector<uint8_t> out(3, 'x');
    if (package && package->Read(name, out)) return {out.begin(), out.end()};
    EXPECT_TRUE(out.empty()) << "a file that cannot be read leaves nothing";
    return "<none>";
  }

  std::string bytes;
  std::unique_ptr<SkinPackage> package;
  SkinPackageResult result;
};

const std::string kText = "<skin/>" + std::string(500, ' ') + "end";

TEST(SkinPackage, ReadsWhatArchivesHold) {
  const std::vector<Entry> entries = {{.name = "Skin.xml", .data = kText, .deflate = true},
                                      {.name = "Images/", .data = ""},
                                      {.name = "Images/Play.bmp", .data = "BM"},
                                      {.name = "images\\stop.bmp", .data = "stop", .deflate = true},
                                      {.name = "none.txt", .data = ""},
                                      {.name = "none2.txt", .data = "", .deflate = true},
                                      {.name = "later.txt", .data = "later", .deflate = true, .flags = 8}};
  const struct {
    const char* what;
    Archive archive;
  } kCases[] = {
      {"plain", {.entries = entries}},
      {"with a comment", {.entries = entries, .comment = "made by hand"}},
      {"with the mark of an end in its comment",
       {.entries = entries, .comment = "PK\5\6" + std::string(30, 'x')}},
      {"behind a program", {.entries = entries, .before = "MZ" + std::string(3000, 'P')}},
      {"with something behind it", {.entries = entries, .at_end = "\r\n"}},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.what);
    const Opened opened(test.archive);
    ASSERT_EQ(opened.result, kOpened);
    EXPECT_EQ(opened.package->NamesGbk(), (Names{"Images/Play.bmp", "images/stop.bmp", "later.txt",
                                                 "none.txt", "none2.txt", "Skin.xml"}));
    EXPECT_EQ(opened.Read("skin.XML"), kText);
    EXPECT_EQ(opened.Read("images\\PLAY.bmp"), "BM");
    EXPECT_EQ(opened.Read(".\\Images/stop.bmp"), "stop");
    EXPECT_EQ(opened.Read("none.txt"), "");
    EXPECT_EQ(opened.Read("none2.txt"), "");
    EXPECT_EQ(opened.Read("later.txt"), "later");
    for (const char* name : {"", "images", "images/", "play.bmp", "Skin.xml/", "../Skin.xml", "x/../Skin.xml",
                             "/Skin.xml", "\\Skin.xml", "c:Skin.xml", "images//play.bmp"})
      EXPECT_FALSE(opened.Has(name)) << name;
    EXPECT_FALSE(opened.Has("Skin.xml\0"s));
  }
}

TEST(SkinPackage, KnowsTheCodeOfNames) {
  const std::string gbk = GbkFromUtf8("图片.bmp");
  const std::string han = "图.bmp";  // Three bytes of UTF-8 that are no GBK.
  const std::string both = "图片.bmp";
  const std::string skin = GbkFromUtf8("皮肤");  // No UTF-8.
  const struct {
    const char* what;
    Entry entry;
    std::string name_gbk;
  } kCases[] = {
      {"GBK", {.name = gbk}, gbk},
      {"a backslash within a character", {.name = "\xB1\x5C/\xB1\x5C.bmp"}, "\xB1\x5C/\xB1\x5C.bmp"},
      {"UTF-8 that says so", {.name = both, .flags = 0x800}, gbk},
      {"UTF-8 that does not, and is no GBK", {.name = han}, GbkFromUtf8(han)},
      {"bytes that are both", {.name = both}, both},
      {"bytes that are both, from Unix", {.name = both, .made_by = 3}, gbk},
      {"GBK from Unix", {.name = skin, .made_by = 3}, skin},
      {"GBK that says it is UTF-8", {.name = skin, .flags = 0x800}, skin},
      {"a name beside it", {.name = "a.bmp\xFF", .extra = zip_build::UnicodePath(both, "a.bmp\xFF")}, gbk},
      {"one that was left from another name", {.name = gbk, .extra = zip_build::UnicodePath("x", "y")}, gbk},
      {"an extra field that is cut off", {.name = gbk, .extra = "\x75\x70\xFF\xFF\1"}, gbk},
  };
  for (const auto& test : kCases) {
    const Opened opened(Archive{.entries = {test.entry}});
    ASSERT_EQ(opened.result, kOpened) << test.what;
    EXPECT_EQ(opened.package->NamesGbk(), Names{test.name_gbk}) << test.what;
    EXPECT_TRUE(opened.Has(test.name_gbk)) << test.what;
  }
}

TEST(SkinPackage, LeavesOutWhatWouldLeadOut) {
  Archive archive;
  for (const char* name : {"../a", "a/../../b", "..\\a", "/a", "\\a", "\\\\server\\a", "c:\\a", "c:a", "a:b",
                           "..", "x//a", "a/.."})
    archive.entries.push_back({.name = name, .data = "out"});
  archive.entries.push_back({.name = "a\0b"s, .data = "out"});
  archive.entries.push_back({.name = "a\xBE/../b", .data = "half a character"});
  archive.entries.push_back({.name = "in", .data = "first"});
  archive.entries.push_back({.name = "IN", .data = "second"});
  archive.entries.push_back({.name = "..in", .data = "dots"});
  const Opened opened(archive);
  ASSERT_EQ(opened.result, kOpened);
  EXPECT_EQ(opened.package->NamesGbk(), (Names{"..in", "in"}));
  EXPECT_EQ(opened.Read("IN"), "first");
}

TEST(SkinPackage, SeesNamesFromWhereTheSkinLies) {
  const struct {
    const char* what;
    Names files;
    Names seen;
  } kCases[] = {
      {"the root", {"skin.xml", "a/Skin.xml"}, {"a/Skin.xml", "skin.xml"}},
      {"the only folder", {"Blue/b/c.bmp", "blue/Skin.xml", "readme.txt"}, {"b/c.bmp", "Skin.xml"}},
      {"beside what a system added", {"Blue/Skin.xml", "__MACOSX/Blue/._Skin.xml"}, {"Skin.xml"}},
      {"one of two", {"a/Skin.xml", "b/c.bmp"}, {"a/Skin.xml", "b/c.bmp"}},
      {"too deep", {"a/b/Skin.xml"}, {"a/b/Skin.xml"}},
      {"nowhere", {"a/b.bmp"}, {"a/b.bmp"}},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.what);
    Archive archive;
    const TestFolder folder;
    for (const std::string& name : test.files) {
      archive.entries.push_back({.name = name, .data = name});
      for (size_t slash = name.find('/'); slash != std::string::npos; slash = name.find('/', slash + 1))
        MakeDirectory(folder.Path(name.substr(0, slash)));
      folder.Write(name, name);
    }
    const Opened opened(archive);
    ASSERT_EQ(opened.result, kOpened);
    EXPECT_EQ(opened.package->NamesGbk(), test.seen);
    for (const std::string& name : test.seen)
      EXPECT_TRUE(opened.Read(name).ends_with(name));

    std::unique_ptr<SkinPackage> package;
    ASSERT_EQ(OpenSkinPackage(folder.Path(), &package), kOpened);
    Names lowered = package->NamesGbk();
    EXPECT_EQ(lowered, test.seen);
    std::vector<uint8_t> out;
    for (const std::string& name : test.seen)
      EXPECT_TRUE(package->Read(name, out)) << name;
  }
}

TEST(SkinPackage, SaysWhyAnArchiveIsRefused) {
  const Entry skin = {.name = "Skin.xml", .data = kText, .deflate = true};
  const auto with = [&](auto change) {
    Entry changed = skin;
    change(changed);
    return Archive{.entries = {{.name = "a", .data = "a"}, changed}};
  };
  Archive many;
  many.entries.assign(10001, {.name = "a"});
  Archive large;
  large.entries.assign(9, {.name = "a", .data = "x", .size = 32u << 20});
  const struct {
    const char* what;
    std::string bytes;
    SkinPackageResult expected;
  } kCases[] = {
      {"nothing", "", kNoPackage},
      {"something else", std::string(100, 'P'), kNoPackage},
      {"an empty archive", Archive{}.Build(), kOpened},
      {"encrypted", with([](Entry& e) { e.flags = 1; }).Build(), kNotSupported},
      {"another method", with([](Entry& e) { e.method = 12; }).Build(), kNotSupported},
      {"ZIP64 by its sizes", with([](Entry& e) { e.size = 0xFFFFFFFF; }).Build(), kNotSupported},
      {"ZIP64 by its place", with([](Entry& e) { e.offset = 0xFFFFFFFF; }).Build(), kNotSupported},
      {"ZIP64 by its number", Archive{.entries = {skin}, .count = 0xFFFF}.Build(), kNotSupported},
      {"the last of several volumes", Archive{.entries = {skin}, .volume = 1}.Build(), kNotSupported},
      {"too many files", many.Build(), kNotSupported},
      {"too much altogether", large.Build(), kNotSupported},
      {"more entries than it has", Archive{.entries = {skin}, .count = 2}.Build(), kNoPackage},
      {"two names for the same bytes", with([](Entry& e) { e.offset = 0; }).Build(), kNoPackage},
      {"a file in the middle of another", with([](Entry& e) { e.offset = 7; }).Build(), kNoPackage},
      {"a file behind the end", with([](Entry& e) { e.offset = 70000; }).Build(), kNoPackage},
      {"a file that reaches too far", with([](Entry& e) { e.packed_size = 9999; }).Build(), kNoPackage},
  };
  for (const auto& test : kCases) {
    const Opened opened(test.bytes);
    EXPECT_EQ(opened.result, test.expected) << test.what;
    EXPECT_EQ(opened.package != nullptr, test.expected == kOpened) << test.what;
  }
}

TEST(SkinPackage, GivesNoDamagedFile) {
  const std::string zeros(100000, '\0');
  const struct {
    const char* what;
    Entry entry;
    bool whole;
  } kCases[] = {
      {"as it should be", {.name = "a", .data = zeros, .deflate = true}, true},
      {"another checksum", {.name = "a", .data = zeros, .deflate = true, .crc = 1}, false},
      {"another checksum, stored", {.name = "a", .data = "text", .crc = 1}, false},
      {"more than it claims", {.name = "a", .data = zeros, .deflate = true, .size = 1000}, false},
      {"less than it claims", {.name = "a", .data = zeros, .deflate = true, .size = 100001}, false},
      {"more than can be in it", {.name = "a", .data = zeros, .deflate = true, .size = 30u << 20}, false},
      {"more than it claims, stored", {.name = "a", .data = "text", .size = 3}, false},
      {"cut off", {.name = "a", .data = zeros, .deflate = true, .packed_size = 20}, false},
      {"not deflated at all", {.name = "a", .data = "\xFF\xFF\xFF", .method = 8, .size = 100}, false},
      {"larger than any file may be",
       {.name = "a", .data = std::string(SkinPackage::kLargestFile + 1, 'x'), .deflate = true},
       false},
  };
  for (const auto& test : kCases) {
    const Opened opened(Archive{.entries = {test.entry}});
    ASSERT_EQ(opened.result, kOpened) << test.what;
    EXPECT_EQ(opened.Read("a") == test.entry.data, test.whole) << test.what;
  }
}

TEST(SkinPackage, TakesAnArchiveThatIsCutOffOrChangedAnywhere) {
  const std::map<std::string, std::string> files = {
      {"Skin.xml", kText}, {"a.bmp", "BM0123"}, {"b/c.bmp", kText}};
  Archive archive{.comment = "c"};
  for (const auto& [name, data] : files)
    archive.entries.push_back({.name = name, .data = data, .deflate = data.size() > 10});
  const std::string whole = archive.Build();
  ASSERT_EQ(Opened(whole).result, kOpened);
  for (size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(Opened(whole.substr(0, size)).result, kNoPackage) << size;

  int unharmed = 0;
  for (size_t i = 0; i < whole.size(); ++i) {
    for (const int change : {1, 0x80, 0xFF}) {
      std::string bytes = whole;
      bytes[i] = static_cast<char>(bytes[i] ^ change);
      const Opened opened(bytes);
      bool all = opened.result == kOpened;
      for (const auto& [name, data] : files) {
        if (!opened.Has(name))
          all = false;
        else
          EXPECT_EQ(opened.Read(name), data) << "byte " << i;
      }
      unharmed += all;
    }
  }
  // Times, local sizes and what else nobody asks for.
  EXPECT_GT(unharmed, 100);
  EXPECT_LT(unharmed, static_cast<int>(whole.size()) * 2);
}

TEST(SkinPackage, OpensFoldersAndArchivesByPath) {
  const TestFolder folder;
  const std::string blue = GbkFromUtf8("蓝色");
  MakeDirectory(folder.Path(blue));
  folder.Write(blue + "/SKIN.XML", "folder");
  folder.Write(GbkFromUtf8("蓝色.skn"),
               Archive{.entries = {{.name = "Skin.xml", .data = "archive"}}}.Build());
  folder.Write("text.zip", "no archive");
  folder.Write("empty.zip", "");
  const struct {
    std::string path;
    SkinPackageResult expected;
    std::string text;
  } kCases[] = {
      {folder.Path(blue), kOpened, "folder"},
      {folder.Path(blue + ".skn"), kOpened, "archive"},
      {folder.Path("text.zip"), kNoPackage, ""},
      {folder.Path("empty.zip"), kNoPackage, ""},
      {folder.Path("none.zip"), SkinPackageResult::kMissing, ""},
      {"", SkinPackageResult::kMissing, ""},
  };
  for (const auto& test : kCases) {
    std::unique_ptr<SkinPackage> package;
    EXPECT_EQ(OpenSkinPackage(test.path, &package), test.expected) << test.path;
    if (!package) continue;
    std::vector<uint8_t> out;
    ASSERT_TRUE(package->Read(kSkinFileName, out)) << test.path;
    EXPECT_EQ(std::string(out.begin(), out.end()), test.text);
    EXPECT_FALSE(package->Read("..\\text.zip", out));
    EXPECT_FALSE(package->Read(folder.Path("text.zip"), out));
  }
}

}  // namespace
}  // namespace melorin
