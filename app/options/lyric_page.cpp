// SPDX-License-Identifier: MIT
//
// 歌词显示: how the lyric window looks and behaves.
#include "app/options/profile_buttons.h"

namespace melorin {
namespace {

bool IsVertical(const Settings& settings) {
  return settings.lyric.scroll_mode == 0;
}

class LyricPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Group(u"显示方式", 2);
    page.Choice(u"滚动方式:", kLyricPart(&LyricSettings::scroll_mode), {{u"纵向滚动", 0}, {u"横向滚动", 1}});
    page.Choice(u"对齐方式:", kLyricPart(&LyricSettings::text_align),
                {{u"左对齐", 0}, {u"居中", 1}, {u"右对齐", 2}})
        .EnabledWhen(IsVertical);
    page.Choice(u"字符转换:", kLyricPart(&LyricSettings::char_set),
                {{u"不转换", 0}, {u"转换为简体", 1}, {u"转换为繁体", 2}});
    page.Number(u"行间距:", kLyricPart(&LyricSettings::row_interval), {0, 100, 1}, u"像素")
        .EnabledWhen(IsVertical);
    page.CheckBox(u"卡拉 OK 模式", kLyricPart(&LyricSettings::karaoke_mode));
    page.CheckBox(u"当前行渐变变色", kLyricPart(&LyricSettings::fade_hilight));
    page.CheckBox(u"远离当前行的歌词淡化", kLyricPart(&LyricSettings::fade_index));
    page.CheckBox(u"可拖动歌词调整播放位置", kLyricPart(&LyricSettings::drag_lyric));

    page.Group(u"字体和颜色", 2);
    page.FontOf(u"字体:", kLyricPart(&LyricSettings::font)).WholeRow();
    page.Colour(u"歌词:", kLyricPart(&LyricSettings::text_color));
    page.Colour(u"当前行:", kLyricPart(&LyricSettings::hilight_color));
    page.Colour(u"背景:", kLyricPart(&LyricSettings::bkgnd_color));
    ProfileButtons<LyricLook>{SettingsPart::kLyric, u"歌词外观配置",
                              [](Settings& s) -> LyricLook& { return s.lyric; },
                              [](Settings& s) -> std::string& { return s.history.lrc_profile_gbk; }}
        .Add(page);

    page.Group(u"歌词窗口", 2);
    page.CheckBox(u"有歌词时自动显示", kLyricPart(&LyricSettings::auto_visible));
    page.CheckBox(u"背景透明", kLyricPart(&LyricSettings::transparent));
    page.CheckBox(u"按歌词自动调整宽度", kLyricPart(&LyricSettings::auto_width));
    page.CheckBox(u"完全显示皮肤背景", kLyricPart(&LyricSettings::trans_skin))
        .EnabledWhen([](const Settings& s) { return s.lyric.transparent != 0; });
    page.CheckBox(u"只在纵向滚动时调整", kLyricPart(&LyricSettings::auto_width_only_vert))
        .Indent()
        .EnabledWhen([](const Settings& s) { return s.lyric.auto_width != 0; });
  }
};

}  // namespace

std::unique_ptr<OptionsPage> MakeLyricPage() {
  return std::make_unique<LyricPage>();
}

}  // namespace melorin
