// SPDX-License-Identifier: MIT
//
// 常规: how the program starts and its windows behave.
#include "app/options/page_window.h"

namespace melorin {
namespace {

class GeneralPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page_ = &page;
    page.Group(u"启动与最小化", 2);
    page.CheckBox(u"启动时最小化", kGeneralPart(&GeneralSettings::startup_minimize));
    page.CheckBox(u"最小化时隐藏到通知区域", kGeneralPart(&GeneralSettings::hide_minimize));

    page.Group(u"窗口", 2);
    page.CheckBox(u"播放窗口总在最前", kPlayerPart(&PlayerSettings::top_most));
    page.CheckBox(u"迷你模式下总在最前", kPlayerPart(&PlayerSettings::top_most2));
    page.CheckBox(u"歌词窗口总在最前", kPlayerPart(&PlayerSettings::lyric_top_most));
    page.CheckBox(u"迷你模式下歌词总在最前", kPlayerPart(&PlayerSettings::lyric_top_most2));
    page.CheckBox(u"窗口自动吸附", kGeneralPart(&GeneralSettings::snap_windows));
    page.CheckBox(u"窗口淡入淡出", kGeneralPart(&GeneralSettings::fade_windows));
    page.Number(u"窗口不透明度:", kPlayerPart(&PlayerSettings::alpha_percent), {10, 100, 5}, u"%");
    page.CheckBox(u"激活时不透明", kPlayerPart(&PlayerSettings::opaque_when_active))
        .EnabledWhen([](const Settings& s) { return s.player.alpha_percent < 100; });

    page.Group(u"显示", 2);
    page.CheckBox(u"显示已播放时间", kPlayerPart(&PlayerSettings::show_elapsed_time));
    page.CheckBox(u"打开曲目时显示提示", kGeneralPart(&GeneralSettings::tips_on_open));
    page.CheckBox(u"按钮提示中显示热键", kGeneralPart(&GeneralSettings::show_hot_key_in_tips));
    page.CheckBox(u"显示菜单项的说明", kGeneralPart(&GeneralSettings::menu_tips));
    page.CheckBox(u"播放列表显示工具栏", kGeneralPart(&GeneralSettings::menu_bar_play_list));
    page.Number(u"标题滚动间隔:", kGeneralPart(&GeneralSettings::title_slide_interval), {20, 5000, 50},
                u"毫秒");
    page.File(u"程序图标:", kGeneralPart(&GeneralSettings::app_icon_file_gbk),
              {u"选择程序图标", u"图标", u"ico;exe;dll", {}, false})
        .WholeRow();

    page.Group(u"从命令行或资源管理器打开文件时", 2);
    page.CheckBox(u"先清空列表", kGeneralPart(&GeneralSettings::clear_list_on_cmd));
    page.CheckBox(u"添加到指定的列表", kGeneralPart(&GeneralSettings::default_list_on_cmd));
    page.TextField(u"列表名称:", kGeneralPart(&GeneralSettings::str_default_list_gbk))
        .WholeRow()
        .EnabledWhen([](const Settings& s) { return s.general.default_list_on_cmd != 0; });
  }

  void OnChanged(SettingsPart part) override {
    if (part != SettingsPart::kGeneral) return;
    GeneralSettings& general = page_->Values().general;
    general.fade_windows_first = general.fade_windows;
  }

 private:
  PageWindow* page_ = nullptr;
};

}  // namespace

std::unique_ptr<OptionsPage> MakeGeneralPage() {
  return std::make_unique<GeneralPage>();
}

}  // namespace melorin
