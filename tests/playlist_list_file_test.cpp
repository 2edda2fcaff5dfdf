// SPDX-License-Identifier: MIT
//
// List files on the disk: loading, saving, adding paths, and asking whether entries are there.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/text.h"
#include "playlist/list_file.h"
#include "playlist/path_check.h"
#include "tests/playlist_test_folder.h"

namespace melorin {
namespace {

TEST(PathCheck, AsksOnceAFolder) {
  struct Fake {
    std::map<std::string, std::vector<DirectoryEntry>> folders;
    int listed = 0;
    int asked = 0;
  };
  auto fake = std::make_shared<Fake>();
  fake->folders["C:\\m\\"] = {{"Song.MP3", false, 1}, {"folder.mp3", true, 0}, {"\xA3\xC1.mp3", false, 1}};
  PathCheck::System system;
  system.list_directory = [fake](const std::string& folder) {
    ++fake->listed;
    return fake->folders[folder];
  };
  system.file_exists = [fake](const std::string& path) {
    ++fake->asked;
    return path == "C:\\one\\x.mp3" || path == "C:\\m\\LONGNA~1.MP3";
  };
  system.ignores_case = true;
  PathCheck check(system);
#if defined(_WIN32)
  EXPECT_TRUE(check.IsFile("C:\\one\\x.mp3"));
  EXPECT_FALSE(check.IsFile("C:\\two\\x.mp3"));
  EXPECT_EQ(fake->asked, 2);
  EXPECT_EQ(fake->listed, 0);

  EXPECT_FALSE(check.IsFile("C:\\m\\first.mp3"));
  EXPECT_TRUE(check.IsFile("C:\\m\\song.mp3"));
  EXPECT_TRUE(check.IsFile("c:\\M\\SONG.mp3"));
  EXPECT_FALSE(check.IsFile("C:\\m\\folder.mp3"));
  EXPECT_TRUE(check.IsFile("C:\\m\\\xA3\xE1.mp3"));  // The same full-width letter in the other case.
  for (int i = 0; i < 1000; ++i)
    EXPECT_FALSE(check.IsFile("C:\\m\\" + std::to_string(i) + ".mp3"));
  EXPECT_EQ(fake->asked, 3);
  EXPECT_EQ(fake->listed, 1);
  EXPECT_TRUE(check.IsFile("C:\\m\\LONGNA~1.MP3"));  // Only the system knows short names.
#endif
  bool exact = true;
  EXPECT_EQ(FoldName("AZ\xA3\xC1\xA6\xA1\xA7\xA1\x81\x41", exact), "az\xA3\xE1\xA6\xC1\xA7\xD1\x81\x41");
  EXPECT_TRUE(exact);
}

TEST(ListFile, BadFilesAreDroppedFromEveryKindOfList) {
  TestFolder folder;
  folder.Write("here.mp3", "x");
  MakeDirectory(folder.Path("folder.mp3"));
  const auto list = Playlist::Create("L");
  for (const char* name : {"here.mp3", "missing.mp3", "folder.mp3", "gone.mp3"})
    list->Append(ItemCache::Obtain(folder.Path(name), name, 1000, 0));
  for (const char* name : {"l.m3u", "l.m3u8", "l.mzpl", "l.mzbl", "l.other"}) {
    SCOPED_TRACE(name);
    ListFileOptions options;
    options.save_relative_path = true;
    ASSERT_TRUE(SavePlaylist(*list, folder.Path(name), options));
    const auto all = Playlist::Create();
    EXPECT_TRUE(LoadPlaylist(*all, folder.Path(name), options));
    EXPECT_EQ(all->Size(), 4u);
    EXPECT_EQ(all->SourcePathGbk(), folder.Path(name));
    options.ignore_bad_files = true;
    const auto good = Playlist::Create();
    EXPECT_TRUE(LoadPlaylist(*good, folder.Path(name), options));
    ASSERT_EQ(good->Size(), 1u);
    EXPECT_EQ(good->At(0).get(), list->At(0).get());  // The same item, found again through a relative path.
  }
}

TEST(ListFile, ListsInAFolderMoveWithIt) {
  TestFolder folder;
  MakeDirectory(folder.Path("a"));
  MakeDirectory(folder.Path("b"));
  const auto list = Playlist::Create("L");
  list->Append(ItemCache::Obtain(JoinPath(folder.Path("a"), "one.mp3"), "One", 1000, 0));
  ListFileOptions options;
  options.save_relative_path = true;
  for (const char* name : {"l.m3u", "l.m3u8", "l.mzpl"}) {
    SCOPED_TRACE(name);
    const std::string from = JoinPath(folder.Path("a"), name);
    const std::string to = JoinPath(folder.Path("b"), name);
    ASSERT_TRUE(SavePlaylist(*list, from, options));
    ASSERT_TRUE(ReplaceFileAt(from, to));
    const auto moved = Playlist::Create();
    ASSERT_TRUE(LoadPlaylist(*moved, to, options));
    EXPECT_EQ(moved->At(0)->PathGbk(), JoinPath(folder.Path("b"), "one.mp3"));
  }
}

TEST(ListFile, NamesAndFailures) {
  TestFolder folder;
  const auto list = Playlist::Create("Old");
  EXPECT_FALSE(LoadPlaylist(*list, folder.Path("missing.mzpl"), {}));
  EXPECT_EQ(list->NameGbk(), "Old");
  folder.Write("My.List.m3u8", "");
  EXPECT_FALSE(LoadPlaylist(*list, folder.Path("My.List.m3u8"), {}));
  folder.Write("My.List.m3u8", "\xEF\xBB\xBF#EXTM3U\r\n");
  EXPECT_FALSE(LoadPlaylist(*list, folder.Path("My.List.m3u8"), {}));
  EXPECT_EQ(list->NameGbk(), "My.List");
  folder.Write("bin.mzbl", std::string("MZBL\1\0\0\0\xE9\xFD\0\0\4\0\0\0Name", 20));
  EXPECT_TRUE(LoadPlaylistName(*list, folder.Path("bin.mzbl")));
  EXPECT_EQ(list->NameGbk(), "Name");
  EXPECT_FALSE(list->IsLoaded());
  EXPECT_FALSE(SavePlaylist(*list, folder.Path("no such folder") + kPathSeparator + "x.m3u", {}));
}

TEST(ListFile, AFailedSaveLeavesTheOldFile) {
  TestFolder folder;
  folder.Write("l.m3u", "old");
  MakeDirectory(folder.Path("l.m3u.new"));  // What is written first cannot be created.
  const auto list = Playlist::Create();
  EXPECT_FALSE(SavePlaylist(*list, folder.Path("l.m3u"), {}));
  EXPECT_EQ(folder.Read("l.m3u"), "old");
}

TEST(AddPath, ExpandsListsAndSheets) {
  TestFolder folder;
  folder.Write("l.M3U", "#EXTINF:3,One\none.mp3\nl.M3U\n");
  ListFileOptions options;
  options.read_sheet = [](const std::string& path) {
    std::vector<SheetTrack> tracks(PathFileName(path) == "two.cue" ? 2 : 0);
    for (size_t i = 0; i < tracks.size(); ++i)
      tracks[i].number = static_cast<uint32_t>(i) + 1;
    return tracks;
  };
  const auto list = Playlist::Create("Name");
  EXPECT_TRUE(AddPath(*list, folder.Path("l.M3U"), options));  // A list that names itself is an entry of it.
  EXPECT_TRUE(AddPath(*list, folder.Path("two.cue"), options));
  EXPECT_FALSE(AddPath(*list, folder.Path("empty.cue"), options));
  EXPECT_FALSE(AddPath(*list, folder.Path("missing.mzbl"), options));
  EXPECT_FALSE(AddPath(*list, folder.Path("nowhere.lnk"), options));
  EXPECT_TRUE(AddPath(*list, folder.Path("song.mp3"), options));
  ASSERT_EQ(list->Size(), 5u);
  EXPECT_EQ(list->At(0)->TitleGbk(), "One");
  EXPECT_EQ(list->At(3)->Subtrack(), 2u);
  EXPECT_EQ(list->At(4)->TitleGbk(), "");
  EXPECT_EQ(list->NameGbk(), "Name");

  // The text form names the sheet once for each track, and gives each track back once.
  ASSERT_TRUE(SavePlaylist(*list, folder.Path("all.m3u8"), {}));
  const auto again = Playlist::Create();
  EXPECT_TRUE(LoadPlaylist(*again, folder.Path("all.m3u8"), options));
  ASSERT_EQ(again->Size(), list->Size());
  for (size_t i = 0; i < list->Size(); ++i)
    EXPECT_EQ(again->At(i).get(), list->At(i).get()) << i;

  EXPECT_TRUE(AddPath(*list, folder.Path("two.cue"), {}));
  EXPECT_EQ(list->At(5)->Subtrack(), 0u);
}

TEST(ListFile, KnowsListsByExtension) {
  struct Case {
    const char* path;
    bool is_list;
  };
  for (const Case& c : {Case{"C:\\a.mzpl", true},
                        {"a.MZBL", true},
                        {"a.m3U", true},
                        {"a.m3u8", true},
                        {"a.mp3", false},
                        {"a.m3u9", false},
                        {"m3u", false},
                        {"a.lnk", false},
                        {"", false}}) {
    SCOPED_TRACE(c.path);
    std::string path = c.path;
    EXPECT_EQ(IsPlaylistFile(path), c.is_list);
    EXPECT_EQ(path, c.path);
  }
}

}  // namespace
}  // namespace melorin
