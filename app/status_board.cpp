// SPDX-License-Identifier: MIT
#include "app/status_board.h"

#include <algorithm>

#include "app/main_window.h"
#include "app/player_text.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr uint32_t kMessageMs = 8000;

ShownState ShownOf(PlayState state) {
  switch (state) {
    case PlayState::kPlaying:
      return ShownState::kPlaying;
    case PlayState::kPaused:
      return ShownState::kPaused;
    case PlayState::kStopped:
      break;
  }
  return ShownState::kStopped;
}

std::u16string ChannelText(uint32_t channels) {
  switch (channels) {
    case 1:
      return u"单声道";
    case 2:
      return u"立体声";
    default:
      return ToText(channels) + u" 声道";
  }
}

}  // namespace

void StatusBoard::Tell(const std::u16string& text) {
  message_ = text;
  last_message_ = text;
  message_end_.Start(kMessageMs);
  changed_();
}

std::u16string StatusBoard::TitleOrName() const {
  return player_.Control().HasTrack() ? player_.Title() : AsChar16(kProductName);
}

std::u16string StatusBoard::StateText() const {
  const PlayerControl& control = player_.Control();
  std::u16string text = control.State() == PlayState::kPlaying  ? u"播放"
                        : control.State() == PlayState::kPaused ? u"暂停"
                                                                : u"停止";
  if (!control.HasTrack()) return text;
  std::u16string codec = Utf16FromGbk(control.Item()->CodecGbk());
  codec.resize(std::min(codec.find(u'|'), codec.size()));
  if (!codec.empty()) text += u"  " + codec;
  if (const StreamFormat& source = control.Item()->Format(); source.bit_rate >= 1000)
    text += u" " + ToText((source.bit_rate + 500) / 1000) + u" kbps";
  return text;
}

PlayerStatus StatusBoard::Status(const WindowGroup& windows, std::string lyric_gbk) const {
  const PlayerControl& control = player_.Control();
  const PlayerSettings& settings = player_.Data().Values().player;
  PlayerStatus status;
  status.state = ShownOf(control.State());
  status.has_track = control.HasTrack();
  status.volume = std::clamp(settings.volume, 0, 100);
  status.mute = settings.mute != 0;
  status.info_gbk = GbkFromUtf16(message_.empty() ? TitleOrName() : message_);
  status.status_gbk = GbkFromUtf16(StateText());
  status.lyric_gbk = std::move(lyric_gbk);
  status.shows_elapsed = settings.show_elapsed_time != 0;
  status.playlist_shown = windows.IsChecked(CommandId::kShowPlayList);
  status.lyric_shown = windows.IsChecked(CommandId::kShowLyric);
  status.equalizer_shown = windows.IsChecked(CommandId::kShowEqualizer);
  if (!status.has_track) return status;
  status.position_ms = control.PositionMs();
  status.duration_ms = control.DurationMs();
  status.stereo_gbk = GbkFromUtf16(ChannelText(control.Stream()->Format().nChannels));
  return status;
}

PlayerStatusReport StatusBoard::Report(const WindowGroup& windows, const std::string& lyric_gbk) const {
  const PlayerControl& control = player_.Control();
  const Session& session = player_.Data();
  const Settings& settings = session.Values();
  PlayerStatusReport report;
  report.state = ShownOf(control.State());
  if (const ComPtr<Playlist>& list = control.PlayingList()) report.list = Utf16FromGbk(list->NameGbk());
  report.index = control.PlayingIndex();
  if (control.HasTrack()) {
    report.file = Utf16FromGbk(control.Item()->PathGbk());
    report.title = player_.Title();
    report.position_ms = control.PositionMs();
    report.duration_ms = control.DurationMs();
  }
  report.volume = std::clamp(settings.player.volume, 0, 100);
  report.mute = settings.player.mute != 0;
  report.lyric = Utf16FromGbk(lyric_gbk);
  report.windows = windows.ShownNames();
  for (size_t i = 0; i < session.Lists().Size(); ++i)
    report.lists.push_back(Utf16FromGbk(session.Lists().At(i)->NameGbk()));
  if (session.HasLists()) report.entries = session.ActiveList()->Size();
  report.mode = static_cast<int32_t>(control.Mode());
  report.skin = Utf16FromGbk(settings.skin.package_name_gbk);
  return report;
}

std::u16string StatusBoard::Caption() const {
  std::u16string caption = AsChar16(kProductName);
  if (player_.Control().HasTrack()) caption = player_.Title() + u" - " + caption;
  return caption;
}

}  // namespace melorin
