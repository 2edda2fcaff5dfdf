// SPDX-License-Identifier: MIT
//
// 播放列表: how lists behave and what their entries are called.
#include "app/options/page_window.h"
#include "app/options/profile_buttons.h"
#include "playlist/info_reader.h"
#include "playlist/title_format.h"

namespace melorin {
namespace {

/// Placeholders, four a line.
std::u16string PlaceholderHelp() {
  constexpr size_t kInLine = 4;
  std::u16string text;
  size_t count = 0;
  for (const TitlePlaceholder& placeholder : TitlePlaceholders()) {
    if (count > 0) text += count % kInLine == 0 ? u"\n" : u"    ";
    text += u'%';
    text += placeholder.letter;
    text += u": ";
    text += placeholder.description;
    ++count;
  }
  text += u"    %(…): (其它字段名)";
  return text;
}

class PlayListPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Group(u"列表", 2);
    page.CheckBox(u"显示曲目提示", kPlayListPart(&PlayListSettings::item_tips));
    page.CheckBox(u"允许拖放曲目", kPlayListPart(&PlayListSettings::enable_drag_drop));
    page.CheckBox(u"禁止从磁盘删除文件", kPlayListPart(&PlayListSettings::disable_del_file));
    page.CheckBox(u"载入时忽略失效的文件", kPlayListPart(&PlayListSettings::ignore_bad_files));
    page.Choice(u"读取文件信息:", kPlayListPart(&PlayListSettings::read_info_mode),
                {{u"曲目显示时", static_cast<int32_t>(ReadInfoMode::kWhenShown)},
                 {u"添加到列表时", static_cast<int32_t>(ReadInfoMode::kAsAdded)},
                 {u"播放时", static_cast<int32_t>(ReadInfoMode::kWhenPlayed)}})
        .WholeRow();

    page.Group(u"保存列表", 2);
    page.CheckBox(u"使用相对路径", kPlayListPart(&PlayListSettings::save_relative_path));
    page.CheckBox(u"同时保存标签信息", kPlayListPart(&PlayListSettings::save_tags));

    page.Group(u"曲目标题");
    page.WithoutKey();
    page.CheckBox(u"在歌曲标题前显示序号", kPlayListPart(&PlayListSettings::title_number));
    page.TextField(u"默认格式:", kPlayListPart(&PlayListSettings::def_title_format_gbk));
    page.WithoutKey();
    page.CheckedText(u"有标签时的格式:", kPlayListPart(&PlayListSettings::tag_format),
                     kPlayListPart(&PlayListSettings::tag_title_format_gbk));
    page.Note(PlaceholderHelp());
  }
};

class PlayListLookPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Group(u"字体");
    page.FontOf(u"字体:", kPlayListPart(&PlayListSettings::font));

    page.Group(u"颜色", 2);
    page.Colour(u"曲目文字:", kPlayListPart(&PlayListSettings::color_text));
    page.Colour(u"正在播放:", kPlayListPart(&PlayListSettings::color_hilight));
    page.Colour(u"序号:", kPlayListPart(&PlayListSettings::color_number));
    page.Colour(u"时长:", kPlayListPart(&PlayListSettings::color_duration));
    page.Colour(u"背景:", kPlayListPart(&PlayListSettings::color_bkgnd));
    page.Colour(u"隔行背景:", kPlayListPart(&PlayListSettings::color_bkgnd2));

    page.Group(u"列表外观配置");
    page.Note(u"字体和颜色可以保存为配置文件，以后再载入使用。");
    ProfileButtons<PlayListLook>{SettingsPart::kPlayList, u"列表外观配置",
                                 [](Settings& s) -> PlayListLook& { return s.play_list; },
                                 [](Settings& s) -> std::string& { return s.history.plc_profile_gbk; }}
        .Add(page);
  }
};

}  // namespace

std::unique_ptr<OptionsPage> MakePlayListPage() {
  return std::make_unique<PlayListPage>();
}
std::unique_ptr<OptionsPage> MakePlayListLookPage() {
  return std::make_unique<PlayListLookPage>();
}

}  // namespace melorin
