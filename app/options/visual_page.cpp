// SPDX-License-Identifier: MIT
//
// 视觉效果: spectrum and scope.
#include "app/options/page_window.h"

namespace melorin {
namespace {

class VisualPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Group(u"视觉效果", 2);
    page.Choice(u"类型:", kVisualPart(&VisualSettings::type),
                {{u"无", 0}, {u"频谱分析", 1}, {u"示波器", 2}, {u"模糊示波器", 3}});
    page.Number(u"每秒帧数:", kVisualPart(&VisualSettings::frames_per_sec), {5, 60, 5})
        .EnabledWhen([](const Settings& s) { return s.visual.type != 0; });

    page.Group(u"频谱分析", 2);
    page.Colour(u"顶部颜色:", kVisualPart(&VisualSettings::spectrum_top_color));
    page.Colour(u"中部颜色:", kVisualPart(&VisualSettings::spectrum_mid_color));
    page.Colour(u"底部颜色:", kVisualPart(&VisualSettings::spectrum_btm_color));
    page.Colour(u"峰值颜色:", kVisualPart(&VisualSettings::spectrum_peak_color));
    page.CheckBox(u"宽频谱条", kVisualPart(&VisualSettings::spectrum_wide));

    page.Group(u"示波器", 2);
    page.Colour(u"波形颜色:", kVisualPart(&VisualSettings::blur_scope_color));
    page.CheckBox(u"拖影模糊", kVisualPart(&VisualSettings::blur));
    page.Number(u"拖影消退速度:", kVisualPart(&VisualSettings::blur_speed), {0, 10, 1})
        .EnabledWhen([](const Settings& s) { return s.visual.blur != 0; });
  }
};

}  // namespace

std::unique_ptr<OptionsPage> MakeVisualPage() {
  return std::make_unique<VisualPage>();
}

}  // namespace melorin
