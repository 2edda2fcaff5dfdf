// SPDX-License-Identifier: MIT
//
// The commands of lyrics over a real player and real files, without a window, and the editor with its own.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "../mpeg_builder.h"
#include "../tags_build.h"
#include "../ui_recorded_services.h"
#include "app/component_runtime.h"
#include "app/lyric_desk.h"
#include "app_fake_frame.h"
#include "app_test_windows.h"
#include "platform/file.h"
#include "platform/text.h"
#include "skin/loaded_skin.h"

namespace melorin {
namespace {

using Id = CommandId;

class LyricHost final : public LyricDeskHost {
 public:
  HWND DialogOwner() override { return nullptr; }
  void LineChanged() override { ++lines; }
  void ShowLyricWindow() override { ++shown; }
  void SetLyricWidth(int32_t wanted) override { width = wanted; }
  std::optional<std::u16string> AskForLyricFile(const std::u16string&) override { return file; }

  int lines = 0;
  int shown = 0;
  int32_t width = 0;
  std::optional<std::u16string> file;
};

/// A folder that is removed in the end; members made after it are closed by then.
class TestFolder {
 public:
  explicit TestFolder(const char* name) : path_(JoinPath(TempDirectory(), name)) {
    MakeDirectory(path_);
    Remove(path_);
  }
  ~TestFolder() { Remove(path_); }
  const std::string& Path() const { return path_; }

 private:
  static void Remove(const std::string& folder) {
    for (const DirectoryEntry& entry : ListDirectory(folder)) {
      const std::string path = JoinPath(folder, entry.name_gbk);
      if (entry.is_directory) {
        Remove(path);
        RemoveDirectoryA(path.c_str());
      } else {
        DeleteFileAt(path);
      }
    }
  }
  const std::string path_;
};

constexpr char kLrc[] = "[00:00.00]first\r\n[00:10.00]second\r\n";

class AppLyric : public testing::Test {
 protected:
  AppLyric() {
    library_.Start({});
    player_.LoadSettings();
    Look().folders_gbk = {kSongFolderEntryGbk, kDownloadFolderEntryGbk};
    Look().down_load_folder_gbk = JoinPath(folder_.Path(), "Lyrics");
    wardrobe_.Wear("", 1);
    player_.Start({});
    EXPECT_TRUE(Until([this] { return player_.Data().HasLists(); }));
    desk_ = std::make_unique<LyricDesk>(player_, services_, host_);
    desk_->View().Wear(wardrobe_, nullptr);
  }
  ~AppLyric() override {
    if (desk_) desk_->Close();
    player_.Close();
    desk_.reset();
    library_.Shutdown();
  }
  LyricSettings& Look() { return player_.Values().lyric; }
  template <class Done>
  bool Until(Done done) {
    return PumpUntil([&] {
      frame_.RunTasks();
      return done();
    });
  }
  std::string PathOf(const std::string& name) const { return JoinPath(folder_.Path(), name); }
  void Write(const std::string& name, const std::string& text) {
    EXPECT_TRUE(WriteFileSafely(PathOf(name), tag_build::Bytes(text)));
  }
  std::string Read(const std::string& name) const {
    MappedFile file;
    if (!file.Open(PathOf(name))) return "none";
    return {reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size()};
  }
  /// A song of half a minute with that text in its tags; it is the current one.
  void Open(const std::string& name, const std::string& lyrics = {}) {
    std::string file;
    if (!lyrics.empty())
      file = tag_build::Id3v2(3, tag_build::Frame(3, "USLT", std::string("\0eng\0", 5) + lyrics));
    const std::vector<uint8_t> sound = test::Frames({}, 1150);
    file.append(sound.begin(), sound.end());
    Write(name, file);
    const auto list = Playlist::Create();
    list->Append(ItemCache::Obtain(PathOf(name), {}, kUnknownDuration, 0));
    player_.Control().SetPlayingList(list, 0);
    // There need be no sound device.
    player_.Control().OpenEntry(0, false);
    desk_->OnTrackChanged();
    EXPECT_TRUE(Until([this] { return !desk_->IsLoading(); }));
  }
  void Do(Id command) {
    EXPECT_TRUE(desk_->Handles(command)) << static_cast<int>(command);
    EXPECT_TRUE(desk_->IsEnabled(command)) << static_cast<int>(command);
    frame_.messages.clear();
    desk_->Execute(command);
  }
  void WaitForMessage() {
    EXPECT_TRUE(Until([this] { return !frame_.messages.empty(); }));
  }

  const ComponentRuntime runtime_;
  const TestFolder folder_{"melorin_app_lyric"};
  SoundLibrary library_;
  std::u16string Message() const {
    return frame_.messages.empty() ? std::u16string() : frame_.messages.back();
  }

  FakeFrame frame_;
  Player player_{library_, frame_, folder_.Path()};
  RecordedServices services_;
  LyricHost host_;
  SkinWardrobe wardrobe_;
  std::unique_ptr<LyricDesk> desk_;
};

TEST_F(AppLyric, FindsFilesAndTags) {
  EXPECT_FALSE(desk_->IsEnabled(Id::kLyricReload));
  EXPECT_EQ(desk_->View().Lyric()->Value(), u"没有播放歌曲");
  Look().auto_visible = 1;
  Write("song.lrc", kLrc);
  Open("song.mp3");
  EXPECT_EQ(desk_->Lyric().source, LyricSource::kFile);
  EXPECT_EQ(desk_->LineGbk(), "first");
  EXPECT_EQ(host_.shown, 1);
  EXPECT_EQ(host_.lines, 1);
  Write("song.lrc", "[00:00.00]changed\r\n");
  Do(Id::kLyricReload);
  EXPECT_TRUE(Until([this] { return desk_->LineGbk() == "changed"; }));

  Open("tagged.mp3", "[00:00.00]of the tag\n");
  EXPECT_EQ(desk_->Lyric().source, LyricSource::kTags);
  EXPECT_EQ(desk_->LineGbk(), "of the tag");
  Open("untimed.mp3", "one\ntwo\n");
  EXPECT_EQ(desk_->LineGbk(), "");
  EXPECT_EQ(desk_->Lyric().doc->plain_text_gbk, "one\r\ntwo\r\n");
  EXPECT_FALSE(desk_->IsEnabled(Id::kLyricEarlier));
  Write("artist - both.lrc", kLrc);
  Open("artist - both.mp3", "[00:00.00]of the tag\n");
  EXPECT_EQ(desk_->LineGbk(), "first") << "a file of that very name before the tags";
  Open("none.mp3");
  EXPECT_EQ(desk_->Lyric().doc, nullptr);
  EXPECT_EQ(desk_->View().Lyric()->Value(), u"none 没有歌词");
  EXPECT_EQ(host_.shown, 5);
  Look().auto_load_lyric = 0;
  Open("song.mp3");
  EXPECT_EQ(desk_->Lyric().doc, nullptr);
  Do(Id::kLyricReload);
  EXPECT_TRUE(Until([this] { return desk_->Lyric().doc != nullptr; })) << "when the user wants it";
}

TEST_F(AppLyric, MovesSavesAndAssociates) {
  Write("song.lrc", kLrc);
  Open("song.mp3");
  Do(Id::kLyricLater);
  EXPECT_EQ(desk_->Lyric().doc->Lines()[1].time_ms, 10500);
  EXPECT_EQ(Message(), u"歌词推后 0.5 秒");
  EXPECT_EQ(desk_->LineGbk(), "");
  Open("none.mp3");
  Open("song.mp3");
  EXPECT_EQ(desk_->Lyric().doc->Lines()[1].time_ms, 10500) << "remembered until it is saved";
  Do(Id::kLyricLater);
  EXPECT_EQ(Message(), u"歌词推后 1.0 秒");
  Do(Id::kLyricSave);
  WaitForMessage();
  EXPECT_EQ(Message(), u"歌词已保存到 song.lrc");
  EXPECT_EQ(Read("song.lrc"),
            "[ti:]\r\n[ar:]\r\n[al:]\r\n[by:]\r\n\r\n[00:01.00]first\r\n[00:11.00]second\r\n");

  Write("other.txt", "[00:00.00]other\r\n");
  host_.file = Utf16FromGbk(PathOf("other.txt"));
  EXPECT_FALSE(desk_->IsEnabled(Id::kLyricDissociate));
  Do(Id::kLyricAssociate);
  EXPECT_TRUE(Until([this] { return desk_->LineGbk() == "other"; }));
  EXPECT_NE(Read("melorin-lyrics.xml").find("other.txt"), std::string::npos);
  Do(Id::kLyricDissociate);
  EXPECT_TRUE(Until([this] { return desk_->LineGbk().empty() && !desk_->IsLoading(); }));
  EXPECT_EQ(desk_->Lyric().path_gbk, PathOf("song.lrc"));
  EXPECT_FALSE(desk_->IsEnabled(Id::kLyricDissociate));

  Do(Id::kLyricHorizontal);
  EXPECT_TRUE(desk_->IsChecked(Id::kLyricHorizontal));
  EXPECT_FALSE(desk_->IsChecked(Id::kLyricVertical));
  EXPECT_FALSE(desk_->IsEnabled(Id::kLyricAlignLeft));
  Do(Id::kLyricKaraoke);
  EXPECT_EQ(Look().karaoke_mode, 1);
  EXPECT_FALSE(desk_->Handles(Id::kLyricTopMost));
}

TEST_F(AppLyric, PutsLyricsIntoTags) {
  Open("song.mp3", "[00:00.00]old\n[00:01.00]b");
  Look().lyric_save_mode = 1;
  Do(Id::kLyricLater);
  Do(Id::kLyricSave);
  WaitForMessage();
  EXPECT_EQ(Message(), u"歌词已保存到歌曲标签");
  EXPECT_EQ(Read("song.lrc"), "none");
  {
    // As while it is played: there is room for a short text, but not for a long one.
    File player;
    ASSERT_TRUE(player.Open(PathOf("song.mp3"), File::Access::kReadWrite, File::Share::kReadWrite,
                            File::Create::kMustExist));
    Do(Id::kLyricReload);
    EXPECT_TRUE(Until([this] { return !desk_->IsLoading(); }));
    EXPECT_EQ(desk_->Lyric().doc->Lines()[0].time_ms, 500);
    Write("long.lrc", "[00:00.00]" + std::string(3000, 'x') + "\r\n");
    host_.file = Utf16FromGbk(PathOf("long.lrc"));
    Do(Id::kLyricAssociate);
    EXPECT_TRUE(Until([this] { return desk_->Lyric().source == LyricSource::kFile; }));
    Do(Id::kLyricSave);
    WaitForMessage();
    EXPECT_EQ(Message(), u"换歌后写入歌曲标签");
    Do(Id::kLyricDissociate);
    EXPECT_TRUE(Until([this] { return desk_->LineGbk().size() == 3000; })) << "as it will be";
  }
  Open("none.mp3");
  EXPECT_NE(Read("song.mp3").find(std::string("x\0x\0x\0x\0", 8)), std::string::npos);

  Look().auto_save_lyric_tag = 1;
  Write("own.lrc", "[00:00.00]own");
  Write("artist - own.lrc", kLrc);
  Open("artist - own.mp3");
  EXPECT_NE(Read("artist - own.mp3").find("USLT"), std::string::npos);
  Open("wave.wav");
  Look().lyric_save_mode = 1;
  Write("wave.lrc", kLrc);
  Do(Id::kLyricReload);
  EXPECT_TRUE(Until([this] { return desk_->IsEnabled(Id::kLyricSave); }));
  Do(Id::kLyricSave);
  WaitForMessage();
  EXPECT_EQ(Message(), u"这种文件的标签不能保存歌词");

  Write("late.lrc", kLrc);
  Look().auto_save_lyric_tag = 0;
  Open("late.mp3");
  {
    File player;
    ASSERT_TRUE(player.Open(PathOf("late.mp3"), File::Access::kReadWrite, File::Share::kReadWrite,
                            File::Create::kMustExist));
    Do(Id::kLyricSave);
    WaitForMessage();
    EXPECT_EQ(Message(), u"换歌后写入歌曲标签");
  }
  desk_->Close();
  desk_.reset();
  EXPECT_NE(Read("late.mp3").find("USLT"), std::string::npos) << "at the program's end at the latest";
}

TEST_F(AppLyric, TheEditorSavesWhereTheSettingsSay) {
  Open("new song.mp3");
  Do(Id::kLyricEdit);
  ASSERT_TRUE(desk_->IsEditing());
  const HWND window = FindWindowW(nullptr, L"编辑歌词 - new song");
  ASSERT_NE(window, nullptr);
  const HWND edit = GetWindow(window, GW_CHILD);
  const auto click = [window](const wchar_t* text) {
    const HWND button = FindWindowExW(window, nullptr, L"BUTTON", text);
    EXPECT_NE(button, nullptr);
    SendMessageW(button, BM_CLICK, 0, 0);
  };
  EXPECT_FALSE(IsWindowEnabled(FindWindowExW(window, nullptr, L"BUTTON", L"保存(&S)")));
  SendMessageW(edit, EM_SETSEL, 0, -1);
  SendMessageW(edit, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L"[00:00.50]你好\r\n[00:02.00]b"));
  click(L"提前(&E)");
  wchar_t text[100] = {};
  GetWindowTextW(edit, text, 100);
  EXPECT_STREQ(text, L"[00:00.00]你好\r\n[00:01.50]b");
  EXPECT_TRUE(Until([this] { return desk_->LineGbk() == GbkFromUtf16(u"你好"); })) << "shown as it is edited";
  SendMessageW(edit, EM_SETSEL, 0, 0);
  click(L"移除 (F7)");
  SendMessageW(edit, EM_UNDO, 0, 0);
  GetWindowTextW(edit, text, 100);
  EXPECT_STREQ(text, L"[00:00.00]你好\r\n[00:01.50]b") << "what buttons do can be taken back";
  click(L"保存(&S)");
  WaitForMessage();
  EXPECT_EQ(Message(), u"歌词已保存到 new song.lrc");
  EXPECT_NE(Read("Lyrics\\new song.lrc").find("[00:00.00]" + GbkFromUtf16(u"你好") + "\r\n[00:01.50]b"),
            std::string::npos);
  SendMessageW(window, WM_COMMAND, IDCANCEL, 0);
  EXPECT_FALSE(desk_->IsEditing()) << "nothing to ask about";
  EXPECT_EQ(desk_->LineGbk(), GbkFromUtf16(u"你好"));
  EXPECT_TRUE(desk_->IsEnabled(Id::kLyricDissociate)) << "a new file is the song's";

  Do(Id::kLyricEdit);
  const HWND again = FindWindowW(nullptr, L"编辑歌词 - new song");
  const HWND edit_again = GetWindow(again, GW_CHILD);
  SendMessageW(edit_again, EM_SETSEL, 0, -1);
  // Keys come through the program's own message loop.
  PostMessageW(edit_again, WM_KEYDOWN, VK_F7, 0);
  EXPECT_TRUE(Until([&] {
    GetWindowTextW(edit_again, text, 100);
    return std::wstring(text).find(L"[00:") == std::wstring::npos;
  }));
  EXPECT_TRUE(IsWindowEnabled(FindWindowExW(again, nullptr, L"BUTTON", L"保存(&S)")));
  SendMessageW(again, WM_COMMAND,
               MAKEWPARAM(GetDlgCtrlID(FindWindowExW(again, nullptr, L"BUTTON", L"保存(&S)")), BN_CLICKED),
               0);
  WaitForMessage();
  EXPECT_EQ(Read("Lyrics\\new song.lrc").find("[00:"), std::string::npos);
  EXPECT_TRUE(desk_->MayClose({}));
  EXPECT_FALSE(desk_->IsEditing());
}

TEST(AppLyricNames, AreSuchAsFilesCanHave) {
  EXPECT_EQ(LyricFileNameGbk("a/b: c?"), "a_b_ c_");
  EXPECT_EQ(LyricFileNameGbk("end. . "), "end");
  EXPECT_EQ(LyricFileNameGbk("..."), "_");
  EXPECT_EQ(LyricFileNameGbk(std::string(500, 'x')).size(), 120u);
}

}  // namespace
}  // namespace melorin
