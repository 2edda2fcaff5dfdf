// SPDX-License-Identifier: MIT
//
// The playlist window's commands over a real player and real files, without a window.
#include "app/list_desk.h"

#include <gtest/gtest.h>
#include <shellapi.h>

#include <string>
#include <vector>

#include "app/component_runtime.h"
#include "app/list_clipboard.h"
#include "app_fake_frame.h"
#include "platform/file.h"
#include "platform/text.h"
#include "skin/loaded_skin.h"

namespace melorin {
namespace {

using Id = CommandId;

class FakeDialogs final : public ListDialogs, public ListDeskHost {
 public:
  HWND Owner() override { return nullptr; }
  std::vector<std::u16string> AskForFiles() override { return files; }
  std::optional<std::u16string> AskForFolder() override { return folder; }
  std::vector<std::u16string> AskForListFiles() override { return files; }
  std::optional<std::u16string> AskWhereToSave(const std::u16string&) override { return text; }
  std::optional<std::u16string> AskForText(const std::u16string&, const std::u16string&,
                                           const std::u16string& initial) override {
    proposed = initial;
    return text;
  }
  bool Confirm(const std::u16string&) override {
    ++confirmed;
    return confirms;
  }
  void ShowProperties(const ItemRef& item) override { shown = item; }
  void ShowListMenu(MenuKind, int32_t, int32_t) override {}
  void BringListForward() override {}
  void FindBarChanged() override {}

  std::vector<std::u16string> files;
  std::optional<std::u16string> folder;
  std::optional<std::u16string> text;
  std::u16string proposed;
  bool confirms = true;
  int confirmed = 0;
  ItemRef shown;
};

class AppListDesk : public ::testing::Test {
 protected:
  AppListDesk() : folder_(JoinPath(TempDirectory(), "melorin_app_list_desk")) {
    MakeDirectory(folder_);
    RemoveTree(folder_);
    library_.Start({});
    player_.LoadSettings();
    player_.Data().Values().play_list.title_number = 0;
    wardrobe_.Wear("", 1);
    desk_.View().Wear(wardrobe_, nullptr);
    desk_.View().Resize(420, 320);
    player_.Start({});
    EXPECT_TRUE(frame_.PumpUntil([this] { return player_.Data().HasLists(); }));
  }
  ~AppListDesk() override {
    desk_.Close();
    player_.Close();
    library_.Shutdown();
    RemoveTree(folder_);
  }

  static void RemoveTree(const std::string& folder) {
    for (const DirectoryEntry& entry : ListDirectory(folder)) {
      const std::string path = JoinPath(folder, entry.name_gbk);
      if (entry.is_directory) {
        RemoveTree(path);
        RemoveDirectoryA(path.c_str());
      } else {
        DeleteFileAt(path);
      }
    }
  }
  std::u16string Write(const std::string& name) {
    const std::string path = JoinPath(folder_, name);
    MakeDirectory(std::string(PathDirectory(path)));
    const uint8_t byte = 0;
    EXPECT_TRUE(WriteFileSafely(path, {&byte, 1}));
    return Utf16FromGbk(path);
  }
  /// The list's entries by the first letters of their files: "abc".
  static std::string Letters(const Playlist& list) {
    std::string letters;
    for (const ItemRef& item : list.Items())
      letters += PathFileName(item->PathGbk())[0];
    return letters;
  }
  std::string Shown() { return Letters(*player_.Data().ActiveList()); }
  void Do(Id command) {
    EXPECT_TRUE(desk_.Handles(command)) << static_cast<int>(command);
    EXPECT_TRUE(desk_.IsEnabled(command)) << static_cast<int>(command);
    desk_.Execute(command);
  }
  /// Entries that need no files.
  void Fill(const std::string& letters) {
    std::vector<ItemRef> items;
    for (const char letter : letters)
      items.push_back(
          ItemCache::Obtain(std::string("C:\\none\\") + letter + ".mp3", {}, 1000 * (letter - 'a' + 1), 0));
    Playlist& list = *player_.Data().ActiveList();
    player_.ListEdited(list, InsertEntries(list, list.Size(), std::move(items)), u"添加");
  }
  void Click(size_t row, bool ctrl = false, bool shift = false) {
    PlaylistView& rows = *desk_.View().Rows();
    rows.Reveal(row);
    const SkinRect place = rows.RowPlace(row);
    const Pointer at = {place.left + 50, place.top + 5, ctrl, shift};
    desk_.View().OnPress(at);
    desk_.View().OnRelease(at);
  }
  void Drag(size_t row, Pointer to) {
    const SkinRect place = desk_.View().Rows()->RowPlace(row);
    desk_.View().OnPress({place.left + 50, place.top + 5});
    desk_.View().OnMove({to.x, to.y - 1, to.ctrl});
    desk_.View().OnMove(to);
    desk_.View().OnRelease(to);
  }
  bool Selected(size_t row) {
    return desk_.View().Rows()->IsPartSelected(row - desk_.View().Rows()->FirstRow());
  }
  std::string SelectedLetters() {
    std::string letters;
    for (size_t i = 0; i < Shown().size(); ++i)
      if (Selected(i)) letters += Shown()[i];
    return letters;
  }
  std::u16string LastMessage() { return frame_.messages.empty() ? std::u16string() : frame_.messages.back(); }
  MenuSource Menu() {
    MenuSource source;
    desk_.FillMenu(source);
    return source;
  }

  const ComponentRuntime runtime_;
  const std::string folder_;
  SoundLibrary library_;
  FakeFrame frame_;
  Player player_{library_, frame_, folder_};
  FakeDialogs dialogs_;
  NoServices services_;
  SkinWardrobe wardrobe_;
  ListDesk desk_{player_, services_, dialogs_, dialogs_};
};

TEST_F(AppListDesk, EditsAndTheirWayBack) {
  Fill("abcdef");
  EXPECT_EQ(Shown(), "abcdef");
  Click(1);
  Click(3, true);
  Do(Id::kMoveSelectedUp);
  EXPECT_EQ(Shown(), "bdacef");
  EXPECT_EQ(SelectedLetters(), "bd");
  Do(Id::kMoveSelectedDown);
  EXPECT_EQ(Shown(), "abdcef");
  Do(Id::kRemoveSelected);
  EXPECT_EQ(Shown(), "acef");
  EXPECT_EQ(SelectedLetters(), "c") << "what followed";
  Do(Id::kReverseList);
  EXPECT_EQ(Shown(), "feca");
  EXPECT_EQ(Menu().undo_action, u"反序");
  Do(Id::kSortDuration);
  EXPECT_EQ(Shown(), "acef");
  EXPECT_EQ(Menu().undo_action, u"按时长排序");
  for (int i = 0; i < 5; ++i)
    Do(Id::kUndo);
  EXPECT_EQ(Shown(), "abcdef");
  EXPECT_EQ(Menu().undo_action, u"添加");
  EXPECT_EQ(Menu().redo_action, u"移动");
  for (int i = 0; i < 5; ++i)
    Do(Id::kRedo);
  EXPECT_EQ(Shown(), "acef");
  EXPECT_FALSE(desk_.IsEnabled(Id::kRedo));

  Do(Id::kSelectAll);
  Do(Id::kSelectInverse);
  EXPECT_FALSE(desk_.IsEnabled(Id::kRemoveSelected));
  Do(Id::kRemoveAll);
  EXPECT_EQ(Shown(), "");
  EXPECT_FALSE(desk_.IsEnabled(Id::kShuffleList));
  Do(Id::kUndo);
  EXPECT_EQ(Shown(), "acef");
  Click(2);
  Do(Id::kRemoveSelected);
  Click(0);
  Do(Id::kUndo);
  Do(Id::kRemoveSelected);
  EXPECT_EQ(Shown(), "acf") << "what came back was selected";
}

TEST_F(AppListDesk, DuplicatesDragsAndFinding) {
  Fill("abcabd");
  Do(Id::kRemoveDuplicates);
  EXPECT_EQ(Shown(), "abcd");
  EXPECT_EQ(LastMessage(), u"已移除 2 首重复的曲目");
  Click(0);
  const SkinRect third = desk_.View().Rows()->RowPlace(2);
  Drag(0, {third.left + 50, third.bottom - 3});
  EXPECT_EQ(Shown(), "bcad");
  Drag(2, {third.left + 50, desk_.View().Rows()->Place().top + 2, true});
  EXPECT_EQ(Shown(), "abcad") << "a copy";
  EXPECT_EQ(SelectedLetters(), "a");

  Do(Id::kFindInList);
  EXPECT_TRUE(desk_.View().IsFindOpen());
  desk_.FindTextChanged(u"d.mp3");
  EXPECT_EQ(SelectedLetters(), "d");
  desk_.FindTextChanged(u"a.mp3");
  EXPECT_TRUE(Selected(0));
  Do(Id::kFindNext);
  EXPECT_TRUE(Selected(3));
  desk_.CloseFind();
  Do(Id::kFindNext);
  EXPECT_TRUE(Selected(0)) << "it goes on at the top";
  Do(Id::kFileProperties);
  ASSERT_TRUE(dialogs_.shown);
  EXPECT_EQ(dialogs_.shown->PathGbk(), "C:\\none\\a.mp3");
}

TEST_F(AppListDesk, TheClipboardKeepsOrderAndTracks) {
  Fill("abc");
  Playlist& list = *player_.Data().ActiveList();
  player_.ListEdited(list,
                     InsertEntries(list, 3,
                                   {ItemCache::Obtain("C:\\none\\x.ape", {}, 5000, 1),
                                    ItemCache::Obtain("C:\\none\\x.ape", {}, 6000, 2)}),
                     u"添加");
  Do(Id::kSelectAll);
  Do(Id::kCut);
  EXPECT_EQ(Shown(), "");
  // Others get each file once.
  ASSERT_TRUE(IsClipboardFormatAvailable(CF_HDROP));
  ASSERT_TRUE(OpenClipboard(nullptr));
  EXPECT_EQ(DragQueryFileW(static_cast<HDROP>(GetClipboardData(CF_HDROP)), 0xFFFFFFFF, nullptr, 0), 4u);
  const HANDLE text = GetClipboardData(CF_UNICODETEXT);
  EXPECT_EQ(text ? std::wstring(static_cast<const wchar_t*>(GlobalLock(text))).substr(0, 6) : L"",
            L"a\r\nb\r\n");
  if (text) GlobalUnlock(text);
  CloseClipboard();
  Do(Id::kPaste);
  EXPECT_EQ(Shown(), "abcxx");
  EXPECT_EQ(list.At(4)->Subtrack(), 2u);
  EXPECT_EQ(list.At(4)->DurationMs(), 6000);
  Click(1);
  Do(Id::kPaste);
  EXPECT_EQ(Shown(), "ababcxxcxx") << "behind the selected entry";
  Do(Id::kUndo);
  EXPECT_EQ(Shown(), "abcxx");

  const std::vector<ItemRef> items(list.Items());
  const std::vector<uint8_t> packed = PackEntries(items);
  EXPECT_EQ(UnpackEntries(packed).size(), 5u);
  for (size_t size = 0; size < packed.size(); ++size)
    EXPECT_TRUE(UnpackEntries({packed.data(), size}).empty()) << size;
}

TEST_F(AppListDesk, FilesComeInAtAPlaceAndAreDeleted) {
  const std::u16string a = Write("a.wav");
  const std::u16string b = Write("b.wav");
  const std::u16string c = Write("c.wav");
  dialogs_.files = {a, c};
  Do(Id::kAddFiles);
  ASSERT_TRUE(frame_.PumpUntil([this] { return Shown() == "ac"; })) << Shown();
  const SkinRect second = desk_.View().Rows()->RowPlace(1);
  desk_.ShowDropPlace({{second.left + 5, second.top + 1}});
  EXPECT_EQ(desk_.View().Rows()->DropLine(), 1u);
  desk_.DropFiles(second.left + 5, second.top + 1, {b});
  ASSERT_TRUE(frame_.PumpUntil([this] { return Shown() == "abc"; })) << Shown();
  EXPECT_FALSE(desk_.View().Rows()->DropLine());
  EXPECT_EQ(Menu().undo_action, u"添加");

  DeleteFileAt(GbkFromUtf16(c));
  Do(Id::kRemoveMissing);
  ASSERT_TRUE(frame_.PumpUntil([this] { return !desk_.IsBusy(); }));
  EXPECT_EQ(Shown(), "ab");
  EXPECT_EQ(LastMessage(), u"已移除 1 首失效的曲目");

  Click(0);
  player_.Data().Values().play_list.disable_del_file = 1;
  EXPECT_FALSE(desk_.IsEnabled(Id::kDeleteFiles));
  player_.Data().Values().play_list.disable_del_file = 0;
  dialogs_.confirms = false;
  Do(Id::kDeleteFiles);
  EXPECT_FALSE(desk_.IsBusy());
  dialogs_.confirms = true;
  Do(Id::kDeleteFiles);
  ASSERT_TRUE(frame_.PumpUntil([this] { return !desk_.IsBusy(); }));
  EXPECT_EQ(Shown(), "b");
  EXPECT_FALSE(FileExists(GbkFromUtf16(a)));
  EXPECT_TRUE(FileExists(GbkFromUtf16(b)));

  // A folder, with what is below it and without.
  Write("more\\x.wav");
  Write("more\\below\\y.wav");
  dialogs_.folder = Utf16FromGbk(JoinPath(folder_, "more"));
  player_.Data().Values().history.check_sub_folder = 0;
  Do(Id::kAddFolder);
  frame_.PumpUntil([this] { return Shown().size() > 1; });
  EXPECT_EQ(Shown(), "bx");
}

TEST_F(AppListDesk, ListsAreMadeNamedMovedAndDeleted) {
  Fill("abc");
  const ComPtr<Playlist> first = player_.Data().ActiveList();
  dialogs_.text = u"第二";
  Do(Id::kNewList);
  EXPECT_EQ(dialogs_.proposed, u"新列表");
  Fill("xy");
  dialogs_.text = u"改名";
  Do(Id::kRenameList);
  EXPECT_EQ(Menu().lists, (std::vector<std::u16string>{u"默认列表", u"改名"}));
  EXPECT_EQ(Menu().shown_list, 1u);
  EXPECT_TRUE(desk_.IsChecked(Plus(Id::kShowListFirst, 1)));
  // What plays is where it was.
  EXPECT_EQ(player_.Control().PlayingList().get(), first.get());

  // Between lists: by drag onto a tab, and copied by a command.
  Click(1);
  const SkinRect tab = desk_.View().Tabs()->TabPlace(0);
  Drag(1, {tab.left + 5, tab.top + 5});
  EXPECT_EQ(Shown(), "x");
  EXPECT_EQ(Letters(*first), "abcy");
  Click(0);
  Do(Plus(Id::kCopyToListFirst, 0));
  EXPECT_EQ(Shown(), "x");
  EXPECT_EQ(Letters(*first), "abcyx");

  Do(Id::kNextList);
  EXPECT_EQ(Shown(), "abcyx");
  EXPECT_EQ(Menu().undo_action, u"复制");
  Do(Id::kUndo);
  Do(Id::kUndo);
  EXPECT_EQ(Shown(), "abc") << "each list has its own way back";

  dialogs_.text = Utf16FromGbk(JoinPath(folder_, "saved.m3u8"));
  Do(Id::kSaveList);
  EXPECT_TRUE(FileExists(JoinPath(folder_, "saved.m3u8")));
  dialogs_.files = {*dialogs_.text};
  Do(Id::kOpenList);
  ASSERT_TRUE(frame_.PumpUntil([this] { return Menu().lists.size() == 3; }));
  EXPECT_EQ(Menu().lists.back(), u"saved");
  EXPECT_EQ(Shown(), "abc");

  // Deleting the list that plays: nothing stops, and what is shown comes next.
  Do(Plus(Id::kShowListFirst, 0));
  dialogs_.confirms = false;
  Do(Id::kDeleteList);
  EXPECT_EQ(Menu().lists.size(), 3u);
  dialogs_.confirms = true;
  Do(Id::kDeleteList);
  EXPECT_EQ(Menu().lists, (std::vector<std::u16string>{u"改名", u"saved"}));
  EXPECT_EQ(player_.Control().PlayingList().get(), player_.Data().ActiveList().get());
  EXPECT_EQ(dialogs_.confirmed, 2);
  Do(Id::kDeleteList);
  Do(Id::kDeleteList);
  EXPECT_EQ(Menu().lists, (std::vector<std::u16string>{u"默认列表"})) << "there is always one";
}

TEST_F(AppListDesk, ListsThatWereNotReadAreReadWhenTheyAreWanted) {
  Fill("abc");
  dialogs_.text = u"second";
  Do(Id::kNewList);
  Fill("xyz");
  Do(Plus(Id::kShowListFirst, 0));
  ASSERT_TRUE(player_.SaveNow(true));

  FakeFrame frame;
  Player player(library_, frame, folder_);
  FakeDialogs dialogs;
  ListDesk desk(player, services_, dialogs, dialogs);
  player.LoadSettings();
  player.Start({});
  ASSERT_TRUE(frame.PumpUntil([&] { return player.Data().HasLists(); }));
  const ComPtr<Playlist> second = player.Data().Lists().At(1);
  EXPECT_FALSE(second->IsLoaded());
  desk.Execute(Plus(Id::kShowListFirst, 1));
  EXPECT_EQ(player.Data().ActiveIndex(), 0u) << "not before it is read";
  // Saving meanwhile keeps it.
  player.Data().MarkListsChanged();
  EXPECT_TRUE(player.SaveNow());
  ASSERT_TRUE(frame.PumpUntil([&] { return player.Data().ActiveIndex() == 1; }));
  EXPECT_EQ(Letters(*second), "xyz");
  dialogs.text = u"renamed";
  desk.Execute(Id::kRenameList);
  desk.Close();
  EXPECT_TRUE(player.Close());

  Session session(folder_, {});
  std::string kept_aside;
  session.LoadSettings(&kept_aside);
  session.TakeLists(Session::ReadLists(session.Place()));
  ASSERT_EQ(session.Lists().Size(), 2u);
  EXPECT_EQ(session.Lists().At(1)->NameGbk(), "renamed");
  EXPECT_EQ(Letters(*session.Lists().At(1)), "xyz");
}

TEST_F(AppListDesk, WhatCannotBePlayedIsGrey) {
  Fill("abc");
  player_.Data().Values().player.play_mode = static_cast<int32_t>(PlayMode::kSingle);
  Click(1);
  Do(Id::kPlaySelected);
  EXPECT_NE(LastMessage().find(u"b.mp3"), std::u16string::npos);
  EXPECT_EQ(player_.Control().PlayingIndex(), 1u);
  EXPECT_NE(desk_.View()
                .Rows()
                ->TipAt(desk_.View().Rows()->Place().left + 5, desk_.View().Rows()->RowPlace(1).top + 5)
                .find(u"上次未能播放"),
            std::u16string::npos);
  Do(Id::kLocateInList);
  EXPECT_EQ(SelectedLetters(), "b");
}

}  // namespace
}  // namespace melorin
