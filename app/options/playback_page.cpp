// SPDX-License-Identifier: MIT
//
// 播放: what is played when, how it fades, how loud it is.
#include "app/options/choice_lists.h"
#include "app/options/page_window.h"
#include "playlist/play_order.h"

namespace melorin {
namespace {

/// The index into the fade durations, and the bit of the fade mode.
struct Fade {
  const char16_t* text;
  size_t index;
  int32_t bit;
};
constexpr Fade kFades[] = {
    {u"播放时淡入", 0, 1}, {u"暂停时淡出", 1, 2}, {u"定位时交叉淡化", 2, 4}, {u"停止时淡出", 3, 8}};

Binding<int32_t> FadeDuration(size_t index) {
  return {SettingsPart::kPlayback,
          [index](Settings& s) -> int32_t& { return s.playback.fade_duration[index]; }};
}

std::vector<ChoiceItem> ModeChoices() {
  const auto value = [](PlayMode mode) { return static_cast<int32_t>(mode); };
  return {{u"单曲播放", value(PlayMode::kSingle)},
          {u"单曲循环", value(PlayMode::kRepeatOne)},
          {u"顺序播放", value(PlayMode::kInOrder)},
          {u"循环播放", value(PlayMode::kRepeatAll)},
          {u"随机播放", value(PlayMode::kRandom)}};
}

class PlaybackPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Group(u"播放", 2);
    page.CheckBox(u"启动后自动播放", kPlaybackPart(&PlaybackOptions::auto_play));
    page.CheckBox(u"从上次退出的位置继续", kPlaybackPart(&PlaybackOptions::continue_play))
        .EnabledWhen([](const Settings& s) { return s.playback.auto_play != 0; });
    page.CheckBox(u"播放失败时停止", kPlaybackPart(&PlaybackOptions::stop_when_fail));
    page.Number(u"曲目间隔:", kPlaybackPart(&PlaybackOptions::tracks_interval), {0, 600, 1}, u"秒");
    page.Choice(u"播放模式:", kPlayerPart(&PlayerSettings::play_mode), ModeChoices());
    page.Choice(u"线程优先级:", kPlaybackPart(&PlaybackOptions::thread_priority), PriorityChoices());

    page.Group(u"声音淡入淡出(仅支持DirectSound输出方式)", 2);
    for (const Fade& fade : kFades) {
      page.BitBox(fade.text, kPlaybackPart(&PlaybackOptions::sound_fade_mode), fade.bit);
      page.Number(u"时长:", FadeDuration(fade.index), {0, 10000, 100}, u"毫秒")
          .EnabledWhen(
              [bit = fade.bit](const Settings& s) { return (s.playback.sound_fade_mode & bit) != 0; });
    }

    page.Group(u"音量均衡");
    page.CheckBox(u"使各曲目听起来一样响(回放增益)", kPlaybackPart(&PlaybackOptions::auto_gain));
    page.CheckBox(u"播放时测量曲目的增益", kPlaybackPart(&PlaybackOptions::auto_scan_gain));
    page.CheckBox(u"不再测量已有增益的曲目", kPlaybackPart(&PlaybackOptions::skip_scan_gain))
        .Indent()
        .EnabledWhen([](const Settings& s) { return s.playback.auto_scan_gain != 0; });
  }
};

}  // namespace

std::unique_ptr<OptionsPage> MakePlaybackPage() {
  return std::make_unique<PlaybackPage>();
}

}  // namespace melorin
