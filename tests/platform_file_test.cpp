// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/file.h"
#include "platform/folders.h"
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
  // Each test has its own: tests run side by side, and one counts what its folder holds.
  FileTest()
      : folder_(TempDirectory() + "melorin_file_test_" +
                testing::UnitTest::GetInstance()->current_test_info()->name() + "_\x95\x5C") {
    MakeDirectory(folder_);
  }
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

TEST_F(FileTest, NamesBeyondTheCodePage) {
  const std::string names[] = {GbkFromUtf8("노래 🎵.mp3"), GbkFromUtf8("เพลง.mp3"), GbkFromUtf8("ñandú €.mp3"),
                               GbkFromUtf8("⺁\uE000.mp3")};
  for (const std::string& name : names) {
    SCOPED_TRACE(Utf8FromGbk(name));
    const std::string folder = Path(GbkFromUtf8("폴더").c_str());
    ASSERT_TRUE(MakeDirectory(folder));
    const std::string path = JoinPath(folder, name);
    ASSERT_TRUE(WriteFileSafely(path, Bytes(name)));
    EXPECT_EQ(Content(path), name);
    EXPECT_EQ(PathFileName(path), name);
    EXPECT_EQ(PathExtension(path), "mp3");
    EXPECT_EQ(FullPathFrom(folder, name), path);
    EXPECT_NE(FileTimeStamp(path), 0u);
    const auto entries = ListDirectory(folder);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name_gbk, name);
    EXPECT_TRUE(DeleteFileAt(path));
  }
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

TEST_F(FileTest, TimeStampsAreWholeSecondsRoundedDown) {
  const std::string path = Path("stamp");
  ASSERT_TRUE(WriteFileSafely(path, Bytes("x")));
  const std::filesystem::path name(Utf16FromGbk(path));
  using namespace std::chrono;
  struct {
    milliseconds since_1970;
    uint32_t stamp;
  } cases[] = {{1'600'000'000'000ms, 1'600'000'000},
               {1'600'000'000'999ms, 1'600'000'000},
               {4'294'967'295'500ms, 0xFFFFFFFF},
               {4'294'967'297'000ms, 1}};  // After 2106: cut, not stuck.
  for (const auto& c : cases) {
    const auto time = file_clock::from_sys(sys_time<milliseconds>(c.since_1970));
    std::filesystem::last_write_time(name, time);
    EXPECT_EQ(FileTimeStamp(path), c.stamp);
  }
  EXPECT_EQ(FileTimeStamp(folder_), 0u);
  EXPECT_EQ(FileTimeStamp(Path("missing")), 0u);
}

TEST_F(FileTest, WritableFoldersAreTriedAndLeftClean) {
  const size_t before = ListDirectory(folder_).size();
  EXPECT_TRUE(IsWritableFolder(folder_));
  EXPECT_EQ(ListDirectory(folder_).size(), before);
  EXPECT_FALSE(IsWritableFolder(Path("missing")));
  const std::string file = Path("a file");
  ASSERT_TRUE(WriteFileSafely(file, {}));
  EXPECT_FALSE(IsWritableFolder(file));
#if !defined(_WIN32)
  EXPECT_FALSE(IsWritableFolder("/proc"));
#endif
}

TEST(Folders, OfTheProgramAndTheUser) {
  EXPECT_TRUE(DirectoryExists(ProgramFolder()));
  EXPECT_NE(ProgramFolder().back(), kPathSeparator);
  EXPECT_FALSE(UserDataFolder().empty());
#if !defined(_WIN32)
  EXPECT_EQ(ResolveShortcut("/tmp/some.lnk"), "");
#endif
}

TEST(Path, FullPathFromAFolder) {
  struct {
    const char* folder;
    const char* path;
    const char* full;
  } cases[] = {
#if defined(_WIN32)
    {"c:\\music\\lists", "a.mp3", "c:\\music\\lists\\a.mp3"},
    {"c:\\music\\lists\\", "sub/b\\a.mp3", "c:\\music\\lists\\sub\\b\\a.mp3"},
    {"c:\\music", ".\\..\\x\\.\\a.mp3", "c:\\x\\a.mp3"},
    {"c:\\music", "..\\..\\..\\a.mp3", "c:\\a.mp3"},
    {"c:\\music", "\\a.mp3", "c:\\a.mp3"},
    {"c:\\music", "/a.mp3", "c:\\a.mp3"},
    {"c:", "a.mp3", "c:\\a.mp3"},
    {"c:\\", "a.mp3", "c:\\a.mp3"},
    {"c:\\music", "D:\\x\\..\\a.mp3", "D:\\a.mp3"},
    {"c:\\music", "d:/x//a.mp3", "d:\\x\\a.mp3"},
    {"c:\\music", "C:a.mp3", "c:\\music\\a.mp3"},
    {"c:\\music", "d:a.mp3", "d:\\a.mp3"},
    {"c:\\music", "d:", "d:\\"},
    {"c:\\music", "\\\\nas\\share\\..\\..\\a.mp3", "\\\\nas\\share\\a.mp3"},
    {"\\\\nas\\share\\lists", "..\\..\\a.mp3", "\\\\nas\\share\\a.mp3"},
    {"\\\\nas\\share\\lists", "\\a.mp3", "\\\\nas\\share\\a.mp3"},
    {"c:\\music", "\\\\?\\c:\\x\\..\\a.", "\\\\?\\c:\\x\\..\\a."},
    // Second bytes that look like a backslash: of the name, of the last name and of the folder.
    {"c:\\\x95\x5C", "\x95\x5C\\..\\\x81\x5C.mp3", "c:\\\x95\x5C\\\x81\x5C.mp3"},
    {"c:\\\x95\x5C", "..\\\x81\x5C", "c:\\\x81\x5C"},
    {"\\\\\x95\x5C\\\x95\x5C\\x", "\\a", "\\\\\x95\x5C\\\x95\x5C\\a"},
#else
    {"/music/lists", "a.mp3", "/music/lists/a.mp3"},
    {"/music/lists/", "../../../x/./a.mp3", "/x/a.mp3"},
    {"/music", "/x/../a.mp3", "/a.mp3"},
    {"/music", "b\\a.mp3", "/music/b\\a.mp3"},  // Just a letter here.
    {"/music", "\x95\x5C/../\x81\x5C.mp3", "/music/\x81\x5C.mp3"},
    {"/", "..", "/"},
#endif
  };
  for (const auto& c : cases)
    EXPECT_EQ(FullPathFrom(c.folder, c.path), c.full) << c.folder << " + " << c.path;
  EXPECT_EQ(FullPathFrom("", "a.mp3"), JoinPath(FullPath("."), "a.mp3"));
}

#if defined(_WIN32)
TEST(Path, FolderOfAFileInADrivesRoot) {
  EXPECT_EQ(PathDirectory("c:\\a.mp3"), "c:\\");
  EXPECT_EQ(JoinPath(PathDirectory("c:\\a.mp3"), "b.mp3"), "c:\\b.mp3");
  EXPECT_EQ(PathDirectory("c:a.mp3"), "c:");
}
#endif

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
