// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

std::span<const uint8_t> Bytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

std::string Content(const std::string& path) {
  MappedFile file;
  if (!file.Open(path)) return "(cannot be opened)";
  return {file.Bytes().begin(), file.Bytes().end()};
}

class FileTest : public testing::Test {
 protected:
  // The folder's name ends in a character whose second byte is a backslash.
  FileTest() : folder_(TempDirectory() + "melorin_file_test_\x95\x5C") { MakeDirectory(folder_); }
  std::string Path(const char* name) const { return JoinPath(folder_, name); }
  const std::string folder_;
};

TEST_F(FileTest, SafeWriteReplacesTheWholeFile) {
  const std::string path = Path("\xD6\xD0\xCE\xC4.txt");
  ASSERT_TRUE(WriteFileSafely(path, Bytes("first version")));
  ASSERT_TRUE(WriteFileSafely(path, Bytes("second")));
  EXPECT_EQ(Content(path), "second");
  EXPECT_FALSE(FileExists(path + ".new"));
  const auto entries = ListDirectory(folder_);
  EXPECT_TRUE(std::any_of(entries.begin(), entries.end(), [](const DirectoryEntry& entry) {
    return entry.name_gbk == "\xD6\xD0\xCE\xC4.txt" && entry.size == 6 && !entry.is_directory;
  }));
  EXPECT_FALSE(WriteFileSafely(Path("no/such/folder"), Bytes("x")));
  EXPECT_TRUE(DeleteFileAt(path));
  EXPECT_FALSE(FileExists(path));
}

TEST_F(FileTest, EmptyFileMapsAndFolderDoesNot) {
  const std::string path = Path("empty");
  ASSERT_TRUE(WriteFileSafely(path, {}));
  MappedFile file;
  EXPECT_TRUE(file.Open(path));
  EXPECT_TRUE(file.Bytes().empty());
  EXPECT_FALSE(file.Open(folder_));
  EXPECT_FALSE(file.Open(Path("missing")));
  File plain;
  EXPECT_FALSE(plain.Open(folder_, File::Access::kRead, File::Share::kRead, File::Create::kMustExist));
}

TEST_F(FileTest, ReadsAndWritesAtOffsets) {
  const std::string path = Path("offsets");
  File file;
  ASSERT_TRUE(file.Open(path, File::Access::kReadWrite, File::Share::kReadWrite, File::Create::kAlways));
  EXPECT_EQ(file.WriteAt(0, Bytes("0123456789")), 10);
  EXPECT_EQ(file.WriteAt(3, Bytes("abc")), 3);
  uint8_t data[8] = {};
  EXPECT_EQ(file.ReadAt(2, data), 8);
  EXPECT_EQ(std::string(data, data + 8), "2abc6789");
  EXPECT_EQ(file.ReadAt(10, data), 0);
  EXPECT_EQ(file.Size(), 10);
  EXPECT_TRUE(file.SetSize(4));
  EXPECT_EQ(file.Size(), 4);
}

TEST(Path, PartsOfNames) {
  const std::string separator(1, kPathSeparator);
  const std::string path = "music" + separator + "\x95\x5C.b" + separator + "song.v1.MP3";
  EXPECT_EQ(PathExtension(path), "MP3");
  EXPECT_EQ(PathFileName(path), "song.v1.MP3");
  EXPECT_EQ(PathDirectory(path), "music" + separator + "\x95\x5C.b");
  EXPECT_EQ(PathExtension("music.d" + separator + "song"), "");
  EXPECT_EQ(JoinPath("a", "b"), "a" + separator + "b");
  EXPECT_EQ(JoinPath("a" + separator, "b"), "a" + separator + "b");
}

}  // namespace
}  // namespace melorin
