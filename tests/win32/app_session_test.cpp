// SPDX-License-Identifier: MIT
//
// What is kept between two starts, and what the paths that a user names become.
#include "app/session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/component_runtime.h"
#include "app/path_expander.h"
#include "doc/settings_location.h"
#include "platform/file.h"
#include "platform/text.h"
#include "sound/sheet_tracks.h"
#include "sound/sound_library.h"

namespace melorin {
namespace {

void RemoveTree(const std::string& folder) {
  for (const DirectoryEntry& entry : ListDirectory(folder)) {
    const std::string path = JoinPath(folder, entry.name_gbk);
    if (entry.is_directory) {
      RemoveTree(path);
    } else {
      DeleteFileAt(path);
    }
  }
}

class AppSession : public ::testing::Test {
 protected:
  AppSession() : folder_(JoinPath(TempDirectory(), "melorin_app_session")) {
    MakeDirectory(folder_);
    RemoveTree(folder_);
  }
  ~AppSession() override { RemoveTree(folder_); }

  std::string Write(const std::string& name, std::string_view content) {
    std::string path = JoinPath(folder_, name);
    MakeDirectory(std::string(PathDirectory(path)));
    const auto* bytes = reinterpret_cast<const uint8_t*>(content.data());
    EXPECT_TRUE(WriteFileSafely(path, {bytes, content.size()}));
    return path;
  }
  void StartWith(Session& session) {
    std::string kept_aside;
    session.LoadSettings(&kept_aside);
    session.TakeLists(Session::ReadLists(session.Place()));
  }

  const std::string folder_;
};

TEST_F(AppSession, SettingsAndListsComeBack) {
  using Result = Session::SaveResult;
  {
    Session session(folder_, {});
    StartWith(session);
    ASSERT_EQ(session.Lists().Size(), 1u);
    EXPECT_EQ(session.ActiveList()->NameGbk(), DefaultListNameGbk());
    EXPECT_EQ(session.SaveLists(true), Result::kNothingToDo);
    const ComPtr<Playlist> list = session.Activate("Second");
    list->Append(ItemCache::Obtain("C:\\a.mp3", "A", 1000, 0));
    session.MarkInfoChanged();
    session.Values().player.volume = 12;
    EXPECT_EQ(session.SaveLists(false), Result::kSaved) << "the new list";
    EXPECT_EQ(session.SaveLists(true), Result::kNothingToDo);
    session.MarkInfoChanged();
    EXPECT_EQ(session.SaveLists(false), Result::kNothingToDo);
    EXPECT_EQ(session.SaveLists(true), Result::kSaved);
    EXPECT_EQ(session.SaveSettings(), Result::kSaved);
  }
  Session session(folder_, {});
  StartWith(session);
  EXPECT_EQ(session.Values().player.volume, 12);
  ASSERT_EQ(session.Lists().Size(), 2u);
  EXPECT_EQ(session.ActiveIndex(), 1u);
  EXPECT_EQ(session.ActiveList()->At(0)->PathGbk(), "C:\\a.mp3");
  EXPECT_FALSE(session.Lists().At(0)->IsLoaded()) << "read by name only";
  session.Activate("");
  EXPECT_EQ(session.ActiveIndex(), 0u);
  EXPECT_TRUE(session.ActiveList()->IsLoaded());
  session.Activate("sECOND");
  EXPECT_EQ(session.Lists().Size(), 2u);
}

TEST_F(AppSession, NothingIsSavedOverListsThatWereNotRead) {
  {
    Session session(folder_, {});
    StartWith(session);
    session.Activate("Mine")->Append(ItemCache::Obtain("C:\\b.mp3", {}, kUnknownDuration, 0));
    session.SaveLists(true);
    session.SaveSettings();
  }
  Session early(folder_, {});
  std::string kept_aside;
  early.LoadSettings(&kept_aside);
  early.MarkListsChanged();
  EXPECT_EQ(early.SaveLists(true), Session::SaveResult::kNothingToDo);
  early.SaveSettings();
  // Settings that are lost do not lose lists.
  Write(kSettingsFileName, "<other/>");
  Session session(folder_, {});
  EXPECT_EQ(session.LoadSettings(&kept_aside), LoadResult::kForeignOrDamaged);
  EXPECT_TRUE(FileExists(kept_aside));
  EXPECT_FALSE(FileExists(SettingsPath(folder_)));
  session.TakeLists(Session::ReadLists(session.Place()));
  EXPECT_EQ(session.Lists().Size(), 2u);
}

TEST_F(AppSession, PathsBecomeEntries) {
  const ComponentRuntime runtime;
  SoundLibrary library;
  ASSERT_EQ(library.Start(""), S_OK);
  Write("album\\10.wav", "x");
  Write("album\\2.wav", "x");
  Write("album\\notes.txt", "x");
  Write("album\\1 sub\\a.mp3", "x");
  Write("image\\disc.wav", "x");
  Write("image\\disc.cue",
        "FILE \"disc.wav\" WAVE\r\n TRACK 01 AUDIO\r\n  INDEX 01 00:00:00\r\n"
        " TRACK 02 AUDIO\r\n  INDEX 01 00:01:00\r\n");
  Write("split\\1.wav", "x");
  Write("split\\2.wav", "x");
  Write("split\\disc.cue",
        "FILE \"1.wav\" WAVE\r\n TRACK 01 AUDIO\r\n  INDEX 01 00:00:00\r\n"
        "FILE \"2.wav\" WAVE\r\n TRACK 02 AUDIO\r\n  INDEX 01 00:00:00\r\n");
  Write("empty\\notes.txt", "x");
  Write("list.m3u", "album\\2.wav\r\nimage\\disc.cue\r\n");
  ListFileOptions options;
  options.read_sheet = [&](const std::string& path) { return ReadSheetTracks(library, path); };

  struct Case {
    std::u16string path;
    std::string entries;
    size_t problems;
  };
  const std::u16string root = Utf16FromGbk(folder_) + u"\\";
  const std::atomic<bool> go_on{false};
  for (const Case& c :
       {Case{root + u"album", "2.wav 10.wav a.mp3 ", 0}, Case{root + u"image", "disc.cue#1 disc.cue#2 ", 0},
        Case{root + u"split", "1.wav 2.wav ", 0}, Case{root + u"empty", "", 1},
        Case{root + u"missing.mp3", "missing.mp3 ", 0},
        Case{root + u"list.m3u", "2.wav disc.cue#1 disc.cue#2 ", 0}, Case{root + u"no list.m3u", "", 1},
        Case{root + u"\xD800.mp3", "", 1}}) {
    SCOPED_TRACE(Utf8FromUtf16(c.path));
    const ExpandedPaths expanded = ExpandPaths({c.path}, library, options, go_on);
    std::string entries;
    for (const ItemRef& item : expanded.entries->Items()) {
      entries += PathFileName(item->PathGbk());
      if (item->Subtrack() != 0) entries += "#" + std::to_string(item->Subtrack());
      entries += " ";
    }
    EXPECT_EQ(entries, c.entries);
    EXPECT_EQ(expanded.problems.size(), c.problems);
  }
  const auto several = [&](const std::vector<std::u16string>& paths) {
    return ExpandPaths(paths, library, options, go_on).entries->Size();
  };
  EXPECT_EQ(several({root + u"album\\notes.txt", root + u"album\\2.wav", root + u"split"}), 3u);
  EXPECT_EQ(several({root + u"album\\notes.txt", root + u"empty\\notes.txt"}), 2u);
  const std::atomic<bool> stop{true};
  EXPECT_TRUE(ExpandPaths({root + u"album"}, library, options, stop).entries->IsEmpty());
  library.Shutdown();
}

}  // namespace
}  // namespace melorin
