// SPDX-License-Identifier: MIT
//
// The options dialog with all its pages: every setting can be reached and takes effect at once, nothing is
// clipped, and the pages that edit lists do what they say.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "app/options/dialog_font.h"
#include "app/options/key_field.h"
#include "app/options/options_dialog.h"
#include "app/options/page_layout.h"
#include "doc/profile.h"
#include "doc/settings_keys.h"
#include "doc/settings_serial.h"
#include "platform/text.h"
#include "tests/win32/app_options_host.h"
#include "ui/command_table.h"

#ifndef WM_DPICHANGED
constexpr UINT WM_DPICHANGED = 0x02E0;
#endif

namespace melorin {
namespace {

std::vector<HWND> ChildrenOf(HWND parent) {
  std::vector<HWND> children;
  for (HWND child = GetWindow(parent, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
    children.push_back(child);
  return children;
}

std::wstring ClassOf(HWND window) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  return name;
}

std::u16string TextOf(HWND window) {
  char16_t text[512] = {};
  GetWindowTextW(window, reinterpret_cast<wchar_t*>(text), 512);
  return text;
}

/// "section.key" to what a settings file would hold.
class Keys {
 public:
  explicit Keys(const Settings& values) { VisitSettings(*this, values); }
  bool Section(const char* name) {
    section_ = name;
    return true;
  }
  template <class T>
  void operator()(const char* key, const T& value) {
    Put(key, FormatSetting(value));
  }
  void operator()(const char* key, const std::vector<std::string>& list) {
    std::string text;
    for (const std::string& entry : list)
      text += entry + '\n';
    Put(key, text);
  }
  void operator()(const char* key, const std::vector<KeyBinding>& list) {
    std::string text;
    for (const KeyBinding& entry : list)
      text += FormatSetting(entry) + '\n';
    Put(key, text);
  }
  const std::map<std::string, std::string>& All() const { return all_; }

 private:
  void Put(const char* key, const std::string& text) { all_[section_ + '.' + key] += text; }
  std::string section_;
  std::map<std::string, std::string> all_;
};

/// One dialog for all tests: without a window manager Wine takes two seconds to close a window.
struct Shared {
  Shared() { MakeDirectory(host.folder); }
  FakeOptionsHost host;
  FakeUser user;
  OptionsDialog options{host, &user};
};

class AppOptions : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { shared_ = new Shared; }
  static void TearDownTestSuite() { delete std::exchange(shared_, nullptr); }
  AppOptions() : host_(shared_->host), user_(shared_->user), options_(shared_->options) {
    host_.values = Settings{RegistryProbe()};
    host_.refused.clear();
    options_.Refresh();
    host_.changed.clear();
    user_ = FakeUser();
  }

  HWND Open(OptionsPageId id) {
    EXPECT_TRUE(options_.Show(nullptr, id));
    host_.Pump();
    return Page();
  }
  /// The page that is shown.
  HWND Page() const {
    for (const HWND child : ChildrenOf(options_.Window()))
      if (ClassOf(child) == L"#32770" && IsWindowVisible(child)) return child;
    return nullptr;
  }
  /// The control with that text, without its access key.
  HWND Find(const std::u16string& text) const {
    for (const HWND child : ChildrenOf(Page()))
      if (TextOf(child).starts_with(text)) return child;
    ADD_FAILURE() << Utf8FromUtf16(text);
    return nullptr;
  }
  HWND FindClass(const wchar_t* name) const {
    for (const HWND child : ChildrenOf(Page()))
      if (ClassOf(child) == name) return child;
    return nullptr;
  }
  void Press(const std::u16string& text) const { SendMessageW(Find(text), BM_CLICK, 0, 0); }
  void Notify(HWND control, UINT code) const {
    SendMessageW(GetParent(control), WM_COMMAND,
                 MAKEWPARAM(static_cast<WORD>(GetDlgCtrlID(control)), static_cast<WORD>(code)),
                 reinterpret_cast<LPARAM>(control));
  }

  /// Does with a control what changes its setting, disabled or not.
  void Vary(HWND control) {
    const std::wstring kind = ClassOf(control);
    const auto style = static_cast<unsigned>(GetWindowLongW(control, GWL_STYLE));
    if (kind == L"Button" && (style & BS_TYPEMASK) == BS_AUTOCHECKBOX) {
      const LRESULT state = SendMessageW(control, BM_GETCHECK, 0, 0);
      SendMessageW(control, BM_SETCHECK, state == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED, 0);
      Notify(control, BN_CLICKED);
    } else if (kind == L"Button" && (style & BS_TYPEMASK) == BS_OWNERDRAW) {
      Notify(control, BN_CLICKED);
    } else if (kind == L"ComboBox") {
      const LRESULT count = SendMessageW(control, CB_GETCOUNT, 0, 0);
      const LRESULT now = SendMessageW(control, CB_GETCURSEL, 0, 0);
      SendMessageW(control, CB_SETCURSEL, static_cast<WPARAM>((now + 1) % count), 0);
      Notify(control, CBN_SELCHANGE);
    } else if (kind == L"Edit" && !(style & ES_READONLY)) {
      int32_t least = 0;
      int32_t most = 0;
      if (style & ES_RIGHT)
        SendMessageW(GetWindow(control, GW_HWNDNEXT), UDM_GETRANGE32, reinterpret_cast<WPARAM>(&least),
                     reinterpret_cast<LPARAM>(&most));
      const std::string text = Utf8FromUtf16(TextOf(control));
      const std::string number = std::to_string(text == std::to_string(most) ? least : most);
      SetWindowTextW(control, AsWide(Utf16FromUtf8(style & ES_RIGHT ? number : text + 'x').c_str()));
    }
  }

  FakeOptionsHost& host_;
  FakeUser& user_;
  OptionsDialog& options_;

 private:
  inline static Shared* shared_ = nullptr;
};

TEST_F(AppOptions, EverySettingCanBeReached) {
  // What windows keep themselves, or has a window of its own.
  const std::set<std::string> others = {
      "Player.MiniMode",
      "Player.LyricVisible",
      "Player.EqualizerVisible",
      "Player.PlayListVisible",
      "Player.PlayerWnd",
      "Player.LyricWnd",
      "Player.EqualizerWnd",
      "Player.PlayListWnd",
      "Player.LyricVisible2",
      "Player.PlayerWnd2",
      "Player.LyricWnd2",
      "Player.PlayLists",
      "Player.ActiveList",
      "Player.PlayingItem",
      "Player.PlayingTime",
      "Player.PlayingFile",
      "Player.Mute",
      "Player.Volume",
      "Player.Balance",
      "General.LastMessageVer",
      "General.LastCheckedDay",
      "Equalizer.Profile",
      "Equalizer.ProfileLast",
      "Equalizer.Surround",
      "Equalizer.Custom",
      "Equalizer.Current",
      "Histroy.SplitOnLists",
      "Histroy.SoundPath",
      "Histroy.PlayListPath",
      "Histroy.Folder",
      "Histroy.TagPattern",
      "Histroy.CheckSubFolder",
      "Histroy.EQCProfile",
      "Histroy.LRCProfile",
      "Histroy.PLCProfile",
  };
  // Lists and pages of their own kind; other tests change these. There is one writer to choose from.
  const std::set<std::string> elsewhere = {"Device.DeviceType",   "HotKey.KeyMap",  "Lyric.Folders",
                                           "Plugin.Folder",       "Plugin.Modules", "Skin.PackageName",
                                           "Convert.WriterIndex", "Lyric.Font",     "PlayList.Font"};
  const Keys before(host_.values);
  for (int32_t id = 0; id < kOptionsPages; ++id) {
    const HWND page = Open(static_cast<OptionsPageId>(id));
    ASSERT_TRUE(page);
    for (const HWND control : ChildrenOf(page)) {
      host_.changed.clear();
      const Keys now(host_.values);
      Vary(control);
      const bool same = Keys(host_.values).All() == now.All();
      EXPECT_EQ(same, host_.changed.empty()) << id << ' ' << Utf8FromUtf16(TextOf(control));
    }
  }
  const Keys after(host_.values);
  for (const auto& [key, text] : before.All()) {
    const bool reached = after.All().at(key) != text;
    if (others.contains(key) || elsewhere.contains(key)) continue;
    EXPECT_TRUE(reached) << key;
  }

  // And back.
  for (int32_t id = 0; id < kOptionsPages; ++id) {
    Open(static_cast<OptionsPageId>(id));
    for (const HWND control : ChildrenOf(options_.Window()))
      if (TextOf(control).starts_with(u"恢复默认值") && IsWindowEnabled(control))
        SendMessageW(control, BM_CLICK, 0, 0);
  }
  std::map<std::string, std::string> expected = before.All();
  expected["Histroy.LastActivePage"] = Keys(host_.values).All().at("Histroy.LastActivePage");
  Settings defaults{RegistryProbe()};
  defaults.lyric.down_load_folder_gbk = JoinPath(host_.folder, "Lyrics");
  expected["Lyric.DownLoadFolder"] = Keys(defaults).All().at("Lyric.DownLoadFolder");
  EXPECT_EQ(Keys(host_.values).All(), expected);
}

TEST_F(AppOptions, NothingIsClippedOrOverlaps) {
  for (int32_t id = 0; id < kOptionsPages; ++id) {
    SCOPED_TRACE(id);
    const HWND page = Open(static_cast<OptionsPageId>(id));
    RECT whole;
    GetWindowRect(page, &whole);
    std::vector<RECT> taken;
    std::set<char16_t> keys = {u'C', u'D'};
    for (const HWND control : ChildrenOf(page)) {
      const std::wstring kind = ClassOf(control);
      const std::u16string text = TextOf(control);
      const auto type = static_cast<unsigned>(GetWindowLongW(control, GWL_STYLE)) & BS_TYPEMASK;
      const bool frame = kind == L"Button" && type == BS_GROUPBOX;
      RECT area;
      GetWindowRect(control, &area);
      EXPECT_TRUE(area.left >= whole.left && area.right <= whole.right && area.top >= whole.top &&
                  area.bottom <= whole.bottom)
          << Utf8FromUtf16(text);
      if (frame || kind == L"msctls_updown32") continue;
      EXPECT_GT(area.right - area.left, 8) << Utf8FromUtf16(text);
      for (const RECT& other : taken) {
        RECT both;
        EXPECT_FALSE(IntersectRect(&both, &area, &other)) << Utf8FromUtf16(text);
      }
      taken.push_back(area);

      const size_t mark = text.find(u"(&");
      if (mark != std::u16string::npos && kind != L"SysListView32" && type != BS_OWNERDRAW) {
        EXPECT_TRUE(keys.insert(text[mark + 2]).second) << Utf8FromUtf16(text);
      }
      if ((kind != L"Button" && kind != L"Static") || type == BS_OWNERDRAW) continue;
      const bool in_lines = kind == L"Static" && !(GetWindowLongW(control, GWL_STYLE) & SS_CENTERIMAGE);
      const int width = area.right - area.left;
      const int box = kind == L"Button" && type == BS_AUTOCHECKBOX ? 16 : 0;
      const DialogFont font(DpiOfWindow(page));
      if (in_lines) {
        EXPECT_LE(font.TextHeight(text, width), area.bottom - area.top) << Utf8FromUtf16(text);
      } else {
        EXPECT_LE(font.TextWidth(text) + box, width) << Utf8FromUtf16(text);
      }
    }
  }
}

TEST_F(AppOptions, OpensWhereItWasAndShowsWhatOthersChange) {
  Open(OptionsPageId::kGeneral);
  host_.changed.clear();
  Open(OptionsPageId::kLyric);
  EXPECT_EQ(host_.values.history.last_active_page, 8);
  EXPECT_EQ(host_.changed, std::vector{SettingsPart::kHistory});
  const HWND karaoke = Find(u"卡拉 OK 模式");
  EXPECT_EQ(SendMessageW(karaoke, BM_GETCHECK, 0, 0), BST_UNCHECKED);
  host_.values.lyric.karaoke_mode = 1;
  options_.Refresh();
  EXPECT_EQ(SendMessageW(karaoke, BM_GETCHECK, 0, 0), BST_CHECKED);

  // Controls that depend on another follow at once.
  const HWND aligned = Find(u"只在纵向滚动时调整");
  EXPECT_FALSE(IsWindowEnabled(aligned));
  Press(u"按歌词自动调整宽度");
  EXPECT_TRUE(IsWindowEnabled(aligned));

  // It may be closed while a question of its own is open, which has a message loop too.
  user_.while_asked = [this] {
    MSG escape = {options_.Window(), WM_KEYDOWN, VK_ESCAPE, 0, 0, {}};
    EXPECT_TRUE(options_.TakesMessage(escape));
    host_.Pump();
    EXPECT_FALSE(options_.IsOpen());
    EXPECT_FALSE(options_.Show(nullptr));
    options_.Close();
  };
  SendMessageW(Find(u"当前行:"), BM_CLICK, 0, 0);
  host_.Pump();
  ASSERT_TRUE(options_.Show(nullptr));
  EXPECT_TRUE(Find(u"卡拉 OK 模式"));
}

TEST_F(AppOptions, NumbersOutsideTheirRangeAreNotTaken) {
  Open(OptionsPageId::kDevice);
  const HWND edit = FindClass(L"Edit");
  struct {
    const wchar_t* text;
    int32_t want;
  } cases[] = {{L"2000", 2000},  {L"99", 2000},          {L"", 2000},
               {L"10001", 2000}, {L"99999999999", 2000}, {L"100", 100}};
  for (const auto& c : cases) {
    SetWindowTextW(edit, c.text);
    EXPECT_EQ(host_.values.device.buffer_duration, c.want) << c.text;
  }
  SetWindowTextW(edit, L"7");
  Notify(edit, EN_KILLFOCUS);
  EXPECT_EQ(TextOf(edit), u"100");
  // What a file holds is shown, in range or not.
  host_.values.device.buffer_duration = 50000;
  host_.values.device.resample_rate = 12345;
  options_.Refresh();
  EXPECT_EQ(TextOf(edit), u"50000");
  bool shown = false;
  for (const HWND child : ChildrenOf(Page()))
    shown = shown || TextOf(child) == u"12345";
  EXPECT_TRUE(shown);
}

TEST_F(AppOptions, AKeyThatIsPressedBecomesTheCommands) {
  Open(OptionsPageId::kHotKeys);
  std::vector<HWND> fields;
  for (const HWND child : ChildrenOf(Page()))
    if (ClassOf(child) == kKeyFieldClass) fields.push_back(child);
  ASSERT_EQ(fields.size(), 2u);
  const auto play = [&] { return FindBinding(host_.values.hot_key.key_map, CommandId::kPlayPause); };
  EXPECT_EQ(TextOf(fields[0]), u"空格");

  SendMessageW(fields[0], WM_SETFOCUS, 0, 0);
  EXPECT_TRUE(host_.hot_keys_suspended);
  SendMessageW(fields[0], WM_KEYDOWN, VK_F9, 0);
  EXPECT_EQ(play().application, (KeyStroke{0, VK_F9}));
  SendMessageW(fields[0], WM_KEYDOWN, VK_SHIFT, 0);
  SendMessageW(fields[0], WM_KEYDOWN, VK_TAB, 0);
  EXPECT_EQ(play().application, (KeyStroke{0, VK_F9}));
  SendMessageW(fields[0], WM_KILLFOCUS, 0, 0);
  EXPECT_FALSE(host_.hot_keys_suspended);

  // Globally no key that people type.
  SendMessageW(fields[1], WM_KEYDOWN, 'A', 0);
  EXPECT_EQ(play().global, (KeyStroke{0, VK_MEDIA_PLAY_PAUSE}));
  EXPECT_EQ(TextOf(fields[1]), u"媒体播放/暂停");
  EXPECT_TRUE(Find(u"全局热键须与"));
  SendMessageW(fields[1], WM_KEYDOWN, VK_MEDIA_STOP, 0);
  EXPECT_EQ(play().global, (KeyStroke{0, VK_MEDIA_STOP}));
  EXPECT_TRUE(Find(u"全局热键 媒体停止 冲突：“播放/暂停”和“停止”"));
  Press(u"清除");
  EXPECT_EQ(play().application, KeyStroke{});

  host_.refused = {CommandId::kPlayPause};
  options_.Refresh();
  host_.values.hot_key.key_map = DefaultKeyMap();
  options_.Refresh();
  EXPECT_TRUE(Find(u"全局热键 媒体播放/暂停 已被其他程序占用"));

  // A key that the dialog would take for a command goes to the field.
  MSG alt_c = {fields[0], WM_SYSKEYDOWN, 'C', 1 << 29, 0, {}};
  EXPECT_TRUE(options_.TakesMessage(alt_c));
  host_.Pump();
  EXPECT_TRUE(options_.IsOpen());
}

TEST_F(AppOptions, FoldersOfLyricsAreEdited) {
  Open(OptionsPageId::kLyricFiles);
  auto& folders = host_.values.lyric.folders_gbk;
  const std::vector<std::string> reserved = folders;
  Press(u"添加(");
  Press(u"添加(");
  EXPECT_EQ(folders, (std::vector<std::string>{reserved[0], reserved[1], "C:\\chosen"}));
  Press(u"上移");
  Press(u"上移");
  EXPECT_EQ(folders, (std::vector<std::string>{"C:\\chosen", reserved[0], reserved[1]}));
  Press(u"下移");
  Press(u"移除");
  Press(u"移除");
  Press(u"移除");
  EXPECT_EQ(folders.size(), 1u);  // The last one stays.
  Press(u"添加默认文件夹");
  EXPECT_EQ(folders, reserved);
  for (const HWND child : ChildrenOf(Page()))
    if (TextOf(child).starts_with(u"浏览")) SendMessageW(child, BM_CLICK, 0, 0);
  EXPECT_EQ(host_.values.lyric.down_load_folder_gbk, "C:\\chosen");
}

TEST_F(AppOptions, ProfilesKeepALookAndBringItBack) {
  Open(OptionsPageId::kPlayListLook);
  const std::string path = JoinPath(host_.folder, "look.mzpl_cfg");
  user_.file = path;
  Press(u"更改");
  const FontRecord font = host_.values.play_list.font;
  EXPECT_NE(font, DefaultFont(-12));
  Press(u"保存配置");
  EXPECT_EQ(user_.asked.now_gbk, FirstProfilePath<PlayListLook>(host_.folder));
  EXPECT_EQ(host_.values.history.plc_profile_gbk, path);
  Press(u"更改");
  EXPECT_NE(host_.values.play_list.font, font);
  host_.changed.clear();
  Press(u"载入配置");
  EXPECT_EQ(host_.values.play_list.font, font);
  EXPECT_EQ(host_.changed, (std::vector{SettingsPart::kHistory, SettingsPart::kPlayList}));
  DeleteFileAt(path);
  Press(u"载入配置");
  EXPECT_FALSE(user_.told.empty());
}

TEST_F(AppOptions, ASkinIsChosenFromPictures) {
  host_.values.skin.package_name_gbk = "gone.skn";
  Open(OptionsPageId::kSkins);
  const HWND list = FindClass(L"SysListView32");
  ASSERT_TRUE(host_.PumpUntil([&] { return SendMessageW(list, LVM_GETITEMCOUNT, 0, 0) > 0; }));
  LVITEMW selected{};
  selected.stateMask = selected.state = LVIS_SELECTED;
  SendMessageW(list, LVM_SETITEMSTATE, 0, reinterpret_cast<LPARAM>(&selected));
  host_.changed.clear();
  Press(u"使用");
  EXPECT_EQ(host_.values.skin.package_name_gbk, "");
  EXPECT_EQ(host_.changed, std::vector{SettingsPart::kSkin});
}

TEST_F(AppOptions, AddInsAreSwitchedOff) {
  const std::string folder = JoinPath(host_.folder, "AddIn");
  MakeDirectory(folder);
  const std::vector<std::string> files = {"mzp_a.dll", "mzp_b.dll", "other.dll"};
  for (const std::string& file : files)
    WriteFileSafely(JoinPath(folder, file), {});
  Open(OptionsPageId::kPlugins);
  const HWND list = FindClass(L"SysListView32");
  ASSERT_TRUE(host_.PumpUntil([&] { return SendMessageW(list, LVM_GETITEMCOUNT, 0, 0) == 2; }));
  const auto check = [&](int row, bool on) {
    LVITEMW item{};
    item.stateMask = LVIS_STATEIMAGEMASK;
    item.state = INDEXTOSTATEIMAGEMASK(on ? 2u : 1u);
    SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
  };
  const auto settle = [&] {
    for (int i = 0; i < 20; ++i) {
      host_.Pump();
      Sleep(5);
    }
  };
  using Names = std::vector<std::string>;
  check(0, false);
  EXPECT_EQ(host_.values.plugin.modules_gbk, Names{"mzp_b.dll"});
  settle();
  check(1, false);
  EXPECT_EQ(host_.values.plugin.modules_gbk, Names{""});  // None, which an empty list would not mean.
  settle();
  check(0, true);
  settle();
  check(1, true);
  EXPECT_EQ(host_.values.plugin.modules_gbk, Names{});
  Press(u"浏览");
  EXPECT_EQ(host_.values.plugin.folder_gbk, "C:\\chosen");
  for (const std::string& file : files)
    DeleteFileAt(JoinPath(folder, file));
}

TEST_F(AppOptions, PagesMadeAnewForAnotherScreenLeaveNothingBehind) {
  const auto objects = [] {
    return GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS) +
           GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
  };
  DWORD after_first = 0;
  RECT place = {0, 0, 1400, 900};
  for (int round = 0; round < 12; ++round) {
    const WORD dpi = round % 2 == 0 ? 144 : 96;
    if (!options_.IsOpen()) Open(OptionsPageId::kGeneral);
    SendMessageW(options_.Window(), WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&place));
    // The pictures of the last one may be under way when the pages go.
    for (const OptionsPageId id : {OptionsPageId::kLyric, OptionsPageId::kHotKeys, OptionsPageId::kSkins})
      Open(id);
    if (round == 3) after_first = objects();
  }
  EXPECT_LE(objects(), after_first + 5);
}

TEST(AppOptionsLayout, LabelsOfAColumnAlignAndRowsFill) {
  LayoutSpacing gaps;
  gaps.group_top = 10;
  gaps.group_side = 4;
  gaps.group_gap = 6;
  gaps.row_gap = 2;
  gaps.piece_gap = 3;
  gaps.column_gap = 8;
  LayoutGroup group;
  group.columns = 2;
  group.items = {{0, 20, false, {{30, 12}}},
                 {0, 0, false, {{0, 9}}},
                 {5, 40, false, {{30, 12}}},
                 {0, 10, true, {{0, 12}, {25, 14}}},
                 {0, 0, false, {{0, 9}, {0, 9}}}};
  const PlacedPage page = PlacePage({group, {false, 1, {{0, 0, false, {{0, 20}}}}}}, 200, gaps);
  const auto& items = page.groups[0].items;
  EXPECT_EQ(items[0].label, (LayoutRect{4, 10, 20, 12}));
  EXPECT_EQ(items[0].pieces[0], (LayoutRect{52, 10, 30, 12}));  // Behind the widest label and its indent.
  EXPECT_EQ(items[1].pieces[0], (LayoutRect{104, 11, 92, 9}));
  EXPECT_EQ(items[2].label.x, 9);
  EXPECT_EQ(items[2].pieces[0].x, 52);
  EXPECT_EQ(items[3].pieces[0], (LayoutRect{52, 39, 116, 12}));
  EXPECT_EQ(items[3].pieces[1], (LayoutRect{171, 38, 25, 14}));
  EXPECT_EQ(items[4].pieces[1], (LayoutRect{51, 54, 44, 9}));
  EXPECT_EQ(page.groups[0].frame, (LayoutRect{0, 0, 200, 67}));
  EXPECT_EQ(page.groups[1].items[0].pieces[0], (LayoutRect{0, 73, 200, 20}));
  EXPECT_EQ(page.height, 93);
  // Too narrow: cut, never negative.
  EXPECT_EQ(PlacePage({group}, 30, gaps).groups[0].items[3].pieces[0].width, 0);
}

}  // namespace
}  // namespace melorin
