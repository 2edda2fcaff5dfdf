// SPDX-License-Identifier: MIT
//
// The search over folders: its order, what it remembers, and that it finds what a search without any memory
// finds.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "doc/settings.h"
#include "lyrics/folder_index.h"
#include "lyrics/lyric_finder.h"
#include "lyrics/name_similarity.h"
#include "platform/file.h"
#include "platform/text.h"
#include "tests/playlist_test_folder.h"

namespace melorin {
namespace {

std::string Gbk(std::string_view utf8) {
  return GbkFromUtf8(utf8);
}

ItemRef Song(const std::string& path_gbk, std::string_view artist = {}, std::string_view title = {},
             uint32_t subtrack = 0) {
  ItemRef item = ItemCache::Obtain(path_gbk, {}, kUnknownDuration, subtrack);
  TagFields tags;
  if (!artist.empty()) tags.Add("Artist", artist);
  if (!title.empty()) tags.Add("Title", title);
  item->SetTags(tags);
  return item;
}

/// The procedure without memory or keys: the disk is asked for every name, every file is rated.
class PlainSearch {
 public:
  PlainSearch(const SongKey& key, const LyricSearch& search, const std::string& song_path)
      : key_(key), song_(FoldSong(key)) {
    for (const std::string& entry : search.folders_gbk) {
      std::string folder = entry;
      if (entry == kSongFolderEntryGbk) folder = PathDirectory(song_path);
      if (entry == kDownloadFolderEntryGbk) folder = search.download_folder_gbk;
      if (!folder.empty() && best_.score < 9) Visit(folder, 0);
    }
  }
  const LyricMatch& Best() const { return best_; }

 private:
  static bool IsName(const std::string& name) {
    return name.find_first_of("/\\?*:\"<>|") == std::string::npos;
  }
  void Take(int score, const std::string& path) {
    if (score > best_.score) best_ = {score, path};
  }
  bool TryName(const std::string& folder, const std::string& name, int score) {
    for (const char* extension : {".lrc", ".txt"})
      if (IsName(name) && FileExists(JoinPath(folder, name + extension))) {
        Take(score, JoinPath(folder, name + extension));
        return true;
      }
    return false;
  }
  void Visit(const std::string& folder, int depth) {
    if (TryName(folder, key_.FullName(), 9)) return;
    TryName(folder, key_.base_name, 4);
    std::vector<std::string> folders;
    for (const DirectoryEntry& entry : ListDirectory(folder)) {
      const std::string extension = LowerGbk(PathExtension(entry.name_gbk));
      if (entry.is_directory) {
        folders.push_back(JoinPath(folder, entry.name_gbk));
      } else if (extension == "lrc" || extension == "txt") {
        const std::string base = entry.name_gbk.substr(0, entry.name_gbk.size() - 4);
        if (extension == "txt" && FileExists(JoinPath(folder, base + ".lrc"))) continue;
        Take(Similarity(song_, FoldName(base)), JoinPath(folder, entry.name_gbk));
        if (best_.score >= 9) return;
      }
    }
    for (const std::string& inner : folders)
      if (depth < 4 && best_.score < 9) Visit(inner, depth + 1);
  }

  SongKey key_;
  FoldedName song_;
  LyricMatch best_;
};

class LyricFinderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"song", "first", "second"})
      MakeDirectory(folder_.Path(name));
  }
  std::string Path(const std::string& utf8) const {
    std::string path = folder_.Path(Gbk(utf8));
    if (kPathSeparator == '\\') std::replace(path.begin(), path.end(), '/', '\\');  // Never a trail byte.
    return path;
  }
  /// As if the folders had last changed an hour ago, but for `seconds`: what is read of them is remembered.
  void Age(const std::vector<std::string>& folders, int seconds) const {
    for (const std::string& name : folders) {
      std::error_code error;
      std::filesystem::last_write_time(folder_.Path() + "/" + name,
                                       std::filesystem::file_time_type::clock::now() - std::chrono::hours(1) +
                                           std::chrono::seconds(seconds),
                                       error);
    }
  }
  void Write(const std::string& utf8) const {
    File file;
    ASSERT_TRUE(file.Open(Path(utf8), File::Access::kReadWrite, File::Share::kRead, File::Create::kAlways))
        << utf8;
  }
  LyricSearch Folders() const {
    return {{kSongFolderEntryGbk, Path("first"), kDownloadFolderEntryGbk}, Path("second")};
  }
  /// "score path", the path from the test's folder on, with slashes.
  std::string Find(const ItemRef& item, const LyricSearch& search) {
    const LyricMatch match = finder_.Find(*item, search);
    if (match.score == 0) return "0";
    std::string path = Utf8FromGbk(match.path_gbk).substr(Utf8FromGbk(folder_.Path()).size() + 1);
    std::replace(path.begin(), path.end(), '\\', '/');
    return std::to_string(match.score) + " " + path;
  }
  std::string Find(const ItemRef& item) { return Find(item, Folders()); }

  TestFolder folder_;
  LyricAssociations associations_;
  LyricFinder finder_{associations_};
};

TEST_F(LyricFinderTest, TheFullNameInALaterFolderBeatsTheBaseNameInAnEarlierOne) {
  const ItemRef song = Song(Path("song/07.mp3"), "王菲", "红豆");
  EXPECT_EQ(Find(song), "0");
  Write("song/07.txt");
  EXPECT_EQ(Find(song), "4 song/07.txt");
  Write("song/07.lrc");
  EXPECT_EQ(Find(song), "4 song/07.lrc");
  Write("second/王菲 - 红豆.txt");
  EXPECT_EQ(Find(song), "9 second/王菲 - 红豆.txt");
  Write("second/王菲 - 红豆.lrc");
  EXPECT_EQ(Find(song), "9 second/王菲 - 红豆.lrc");
  Write("first/红豆-王菲.txt");
  EXPECT_EQ(Find(song), "9 first/红豆-王菲.txt");
  // Found again without the file that is gone.
  DeleteFileAt(Path("first/红豆-王菲.txt"));
  EXPECT_EQ(Find(song), "9 second/王菲 - 红豆.lrc");
}

TEST_F(LyricFinderTest, FoldersAreNoFilesAndTheDownloadFolderMayBeMissing) {
  const ItemRef song = Song(Path("song/a.mp3"), "A", "T");
  MakeDirectory(Path("first/A - T.lrc"));
  MakeDirectory(Path("song/a.txt"));
  Write("second/A - T.lrc");
  EXPECT_EQ(Find(song), "9 second/A - T.lrc");
  LyricSearch search = Folders();
  search.download_folder_gbk.clear();
  EXPECT_EQ(Find(song, search), "0");
  search.folders_gbk.push_back(Path("none"));
  EXPECT_EQ(Find(song, search), "0");
  EXPECT_EQ(Find(Song("", "A", "T")), "0");
}

TEST_F(LyricFinderTest, TheSameNameAsTextComesAfterTheLyricFile) {
  // In whatever order the folder lists them.
  for (int i = 0; i < 8; ++i) {
    const std::string title = "Song" + std::string(static_cast<size_t>(i + 1), 'x');
    Write("first/" + title + "-Band.txt");
    Write("first/" + title + "-Band.lrc");
    EXPECT_EQ(Find(Song(Path("song/" + title + ".mp3"), "Band", title)), "9 first/" + title + "-Band.lrc");
  }
}

TEST_F(LyricFinderTest, WhatTheUserAssociatedComesFirstWhileItExists) {
  Write("second/A - T.lrc");
  Write("first/chosen.txt");
  const ItemRef song = Song(Path("song/a.mp3"), "A", "T");
  const ItemRef track = Song(Path("song/a.mp3"), "A", "T", 2);
  associations_.Set(Path("song/A.MP3"), 0, Path("first/chosen.txt"));
  EXPECT_EQ(Find(song), "9 first/chosen.txt");
  EXPECT_EQ(Find(track), "9 second/A - T.lrc");
  DeleteFileAt(Path("first/chosen.txt"));
  EXPECT_EQ(Find(song), "9 second/A - T.lrc");
  MakeDirectory(Path("first/chosen.txt"));
  EXPECT_EQ(Find(song), "9 second/A - T.lrc");
}

TEST_F(LyricFinderTest, SubfoldersAreSearchedFourLevelsDown) {
  std::string path = "first";
  for (int level = 1; level <= 5; ++level) {
    path += "/" + std::to_string(level);
    MakeDirectory(Path(path));
  }
  const ItemRef song = Song(Path("song/a.mp3"), "A", "T");
  Write("first/1/2/3/4/5/A - T.lrc");
  EXPECT_EQ(Find(song), "0");
  Write("first/1/2/3/4/A - T.lrc");
  EXPECT_EQ(Find(song), "9 first/1/2/3/4/A - T.lrc");
}

TEST_F(LyricFinderTest, NamesThatNoFileCanHaveLeadNowhere) {
  MakeDirectory(Path("first/AC"));
  Write("first/AC/DC - T.lrc");
  EXPECT_EQ(Find(Song(Path("song/a.mp3"), "AC/DC", "U")), "0");
  Write("first/ACDC - What's up_.lrc");
  EXPECT_EQ(Find(Song(Path("song/b.mp3"), "AC/DC", "What's up?")), "9 first/ACDC - What's up_.lrc");
  Write("T.lrc");
  EXPECT_EQ(Find(Song(Path("song/b.mp3"), "../x", "../../T")), "0");
}

#if !defined(_WIN32)
TEST_F(LyricFinderTest, LinksInACircleEnd) {
  MakeDirectory(Path("first/in"));
  std::filesystem::create_directory_symlink("..", folder_.Path() + "/first/in/round");
  std::filesystem::create_directory_symlink("../../first", folder_.Path() + "/first/in/again");
  Write("first/in/A - T.txt");
  EXPECT_EQ(Find(Song(Path("song/a.mp3"), "A", "T")), "9 first/in/A - T.txt");
}
#endif

TEST_F(LyricFinderTest, FindsWhatASearchWithoutMemoryFinds) {
  const std::vector<std::string> artists = {"周杰伦",        "周杰倫", "Jay Chou",
                                            "周杰伦&费玉清", "Queen",  "The Queen"};
  const std::vector<std::string> titles = {
      "晴天", "千里之外", "Bohemian Rhapsody", "Bohemian Rapsody", "晴天 (Live)", "晴天伴奏",
      "Love", "Love 2",   "千里之外 Far Away"};
  std::mt19937 random(4711);
  const auto pick = [&](const std::vector<std::string>& from) { return from[random() % from.size()]; };
  const auto file_name = [&] {
    std::string name;
    switch (random() % 7) {
      case 0:
        name = pick(artists) + " - " + pick(titles);
        break;
      case 1:
        name = pick(titles) + "-" + pick(artists);
        break;
      case 2:
        name = pick(titles);
        break;
      case 3:
        name = "0" + std::to_string(random() % 9) + ". " + pick(artists) + " - " + pick(titles);
        break;
      case 4:
        name = "song" + std::to_string(random() % 6);
        break;
      case 5:
        name = pick(artists) + pick(titles);
        break;
      default:
        name = pick(artists) + "_" + pick(titles);
        break;
    }
    return name + (random() % 2 ? ".lrc" : random() % 3 ? ".txt" : ".mp3");
  };
  std::vector<std::string> folders = {"song", "first", "second"};
  for (int i = 0; i < 12; ++i) {
    folders.push_back(folders[random() % folders.size()] + "/d" + std::to_string(i));
    MakeDirectory(Path(folders.back()));
  }
  int found = 0;
  std::vector<std::string> files;
  for (int round = 0; round < 60; ++round) {
    // What is remembered is used in some rounds and changes behind its back in others.
    if (round % 3 == 0) {
      for (int i = 0; i < 3; ++i) {
        files.push_back(pick(folders) + "/" + file_name());
        Write(files.back());
      }
      if (round % 2 == 0) DeleteFileAt(Path(files[random() % files.size()]));
      Age(folders, round);
    }
    const bool tagged = random() % 4 != 0;
    const std::string path = Path("song/song" + std::to_string(random() % 6) + ".mp3");
    const ItemRef song =
        tagged ? Song(path, random() % 5 ? pick(artists) : std::string(), pick(titles)) : Song(path);
    LyricSearch search = Folders();
    if (random() % 4 == 0) std::swap(search.folders_gbk[0], search.folders_gbk[2]);
    const LyricMatch plain = PlainSearch(SongKeyOf(*song), search, path).Best();
    const LyricMatch match = finder_.Find(*song, search);
    EXPECT_EQ(match.score, plain.score) << round;
    EXPECT_EQ(Utf8FromGbk(match.path_gbk), Utf8FromGbk(plain.path_gbk)) << round;
    found += match.score != 0;
  }
  EXPECT_GT(found, 30);
}

TEST_F(LyricFinderTest, AFolderIsReadAgainWhenItChanged) {
  Write("first/a.lrc");
  Age({"first"}, 0);
  FolderIndex index;
  const auto folder = index.Open(Path("first"));
  ASSERT_TRUE(folder);
#if !defined(_WIN32)  // Folders cannot be aged there.
  EXPECT_EQ(index.Open(Path("first")), folder);
#endif
  Write("first/b.lrc");
  const auto changed = index.Open(Path("first"));
  EXPECT_TRUE(changed->Has("b.lrc") && !folder->Has("b.lrc"));
  // So fresh a change may hide another one.
  EXPECT_NE(index.Open(Path("first")), changed);
  EXPECT_FALSE(index.Open(Path("none")));
  EXPECT_FALSE(index.Open(Path("first/a.lrc")));
}

TEST(LyricAssociations, AreKeptInAFile) {
  const TestFolder folder;
  LyricAssociations table;
  const std::string song = Gbk("D:\\音乐\\誠 & <\"歌\">'.mp3");
  table.Set(song, 0, Gbk("D:\\歌词\\誠.lrc"));
  table.Set(song, 3, "x.txt");
  table.Set("gone.mp3", 0, "y.txt");
  table.Set("gone.mp3", 0, "");
  const std::string path = LyricAssociationsPath(folder.Path());
  ASSERT_TRUE(table.Save(path));
  LyricAssociations read;
  ASSERT_TRUE(read.Load(path));
  EXPECT_EQ(read.Size(), 2u);
  EXPECT_EQ(Utf8FromGbk(read.Find(Gbk("d:\\音乐\\誠 & <\"歌\">'.MP3"), 0)), "D:\\歌词\\誠.lrc");
  read.Set(Gbk("C:\\Песня Ω Ａ.mp3"), 0, "z.lrc");
  EXPECT_EQ(read.Find(Gbk("c:\\ПЕСНЯ ω ａ.MP3"), 0), "z.lrc");
  EXPECT_TRUE(read.Remove(Gbk("c:\\песня ω ａ.MP3"), 0));
  EXPECT_EQ(read.Find(song, 3), "x.txt");
  EXPECT_EQ(read.Find(song, 1), "");
  EXPECT_FALSE(read.Load(folder.Path("none.xml")));

  // What is not ours changes nothing, and is not written over.
  for (const char* damaged : {"<melorin_lyrics><song path=\"a\"", "", "<other/>"}) {
    folder.Write("melorin-lyrics.xml", damaged);
    EXPECT_FALSE(read.Load(path)) << damaged;
    EXPECT_EQ(read.Size(), 2u);
  }
  ASSERT_TRUE(read.Save(path));
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"melorin-lyrics.xml", "melorin-lyrics.xml.bad"}));
  EXPECT_EQ(folder.Read("melorin-lyrics.xml.bad"), "<other/>");
  // Entries without sense are left out.
  folder.Write(
      "melorin-lyrics.xml",
      "<melorin_lyrics><song path=\"a\" subtrack=\"-1\" lyric=\"b\"/><song/><song path=\"c\" subtrack=\"0\" "
      "lyric=\"d\"/><x/></melorin_lyrics>");
  ASSERT_TRUE(read.Load(path));
  EXPECT_EQ(read.Size(), 1u);
}

TEST(LyricAssociations, TheOldestGoesWhenThereAreTooMany) {
  LyricAssociations table;
  for (size_t i = 0; i < LyricAssociations::kMostEntries; ++i)
    table.Set("song" + std::to_string(i), 0, "a");
  table.Set("song0", 0, "b");
  table.Set("new", 0, "c");
  EXPECT_EQ(table.Size(), LyricAssociations::kMostEntries);
  EXPECT_EQ(table.Find("song0", 0), "b");
  EXPECT_EQ(table.Find("song1", 0), "");
  EXPECT_EQ(table.Find("new", 0), "c");
}

}  // namespace
}  // namespace melorin
