// SPDX-License-Identifier: MIT
//
// 歌词文件: where lyric files are looked for and how they are saved.
#include <windows.h>

#include <commctrl.h>

#include <algorithm>

#include "app/options/folder_list_edit.h"
#include "app/options/page_window.h"
#include "platform/com.h"
#include "platform/text.h"

namespace melorin {
namespace {

class LyricFilePage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page_ = &page;
    page.Group(u"查找歌词", 2);
    page.CheckBox(u"打开音频文件时自动加载歌词", kLyricPart(&LyricSettings::auto_load_lyric));
    page.CheckBox(u"自动关联选择的歌词", kLyricPart(&LyricSettings::auto_associate));
    PageWindow::CustomSpec list{WC_LISTBOXW};
    list.style = WS_TABSTOP | WS_VSCROLL | WS_HSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT;
    list.ex_style = WS_EX_CLIENTEDGE;
    list.height = 62;
    list.on_command = [this](UINT code) {
      if (code == LBN_SELCHANGE) ShowWhatIsPossible();
    };
    list_ = page.Custom({}, list).WholeRow().Window();
    PageItem& buttons = page.Buttons({{u"添加...", [this] { Add(); }},
                                      {u"移除", [this] { Remove(); }},
                                      {u"上移", [this] { Move(-1); }},
                                      {u"下移", [this] { Move(1); }},
                                      {u"添加默认文件夹", [this] { AddReserved(); }}})
                            .WholeRow();
    buttons_ = buttons.Windows();

    page.Group(u"保存歌词", 2);
    page.Choice(u"保存到:", kLyricPart(&LyricSettings::lyric_save_mode),
                {{u"歌词文件", 0}, {u"歌曲标签", 1}, {u"歌词文件和歌曲标签", 2}})
        .WholeRow();
    page.Folder(u"歌词下载文件夹:", kLyricPart(&LyricSettings::down_load_folder_gbk)).WholeRow();
    page.CheckBox(u"保存到歌曲所在文件夹", kLyricPart(&LyricSettings::save_to_sound_folder));
    page.CheckBox(u"与歌曲文件同名", kLyricPart(&LyricSettings::same_file_title));
    page.CheckBox(u"覆盖已有的歌词文件", kLyricPart(&LyricSettings::over_write));
    page.CheckBox(u"自动将歌词存入歌曲标签", kLyricPart(&LyricSettings::auto_save_lyric_tag));
    page.CheckBox(u"合并相同的歌词行", kLyricPart(&LyricSettings::save_compress));

    page.Group(u"编辑歌词", 2);
    page.CheckBox(u"去除每行首尾的空格", kLyricPart(&LyricSettings::trim_spaces));
    page.CheckBox(u"插入时间标签后转到下一行", kLyricPart(&LyricSettings::new_line_after_tag));
  }

  void OnRefresh() override { ShowFolders(Selected()); }

  void OnReset() override {
    Folders() = page_->Defaults().lyric.folders_gbk;
    page_->Changed(SettingsPart::kLyric);
  }

 private:
  std::vector<std::string>& Folders() const { return page_->Values().lyric.folders_gbk; }
  int Selected() const { return static_cast<int>(SendMessageW(list_, LB_GETCURSEL, 0, 0)); }

  void ShowFolders(int selected) {
    SendMessageW(list_, LB_RESETCONTENT, 0, 0);
    int widest = 0;
    for (const std::string& folder : Folders()) {
      const std::u16string text = Utf16FromGbk(folder);
      SendMessageW(list_, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
      widest = std::max(widest, page_->Font().TextWidth(text));
    }
    SendMessageW(list_, LB_SETHORIZONTALEXTENT, static_cast<WPARAM>(widest + page_->Font().X(4)), 0);
    SendMessageW(list_, LB_SETCURSEL,
                 static_cast<WPARAM>(std::clamp(selected, 0, static_cast<int>(Folders().size()) - 1)), 0);
    ShowWhatIsPossible();
  }

  void ShowWhatIsPossible() {
    const int selected = Selected();
    const int count = static_cast<int>(Folders().size());
    // A list that is empty would come back with what the player begins with.
    EnableWindow(buttons_[1], selected >= 0 && count > 1);
    EnableWindow(buttons_[2], selected > 0);
    EnableWindow(buttons_[3], selected >= 0 && selected + 1 < count);
    EnableWindow(buttons_[4], !HasReservedFolders(Folders()));
  }

  void Show(int selected) {
    page_->Changed(SettingsPart::kLyric);
    ShowFolders(selected);
  }

  void Add() {
    const std::optional<std::string> folder = page_->Chooser().Folder(page_->Window(), {});
    if (!folder) return;
    Show(static_cast<int>(AddFolder(Folders(), *folder)));
  }
  void Remove() {
    const int selected = Selected();
    if (selected < 0 || Folders().size() < 2) return;
    Folders().erase(Folders().begin() + selected);
    Show(selected);
  }
  void Move(int step) {
    const int from = Selected();
    const int to = from + step;
    if (from < 0 || to < 0 || to >= static_cast<int>(Folders().size())) return;
    std::swap(Folders()[static_cast<size_t>(from)], Folders()[static_cast<size_t>(to)]);
    Show(to);
  }
  void AddReserved() {
    AddReservedFolders(Folders());
    Show(0);
  }

  PageWindow* page_ = nullptr;
  HWND list_ = nullptr;
  std::vector<HWND> buttons_;
};

}  // namespace

std::unique_ptr<OptionsPage> MakeLyricFilePage() {
  return std::make_unique<LyricFilePage>();
}

}  // namespace melorin
