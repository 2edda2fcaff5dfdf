// SPDX-License-Identifier: MIT
//
// What the player window and the mini player show of the player; plain data. Texts are GBK.
#pragma once

#include <cstdint>
#include <string>

namespace melorin {

enum class ShownState { kStopped, kPlaying, kPaused };

struct PlayerStatus {
  ShownState state = ShownState::kStopped;
  bool has_track = false;
  uint32_t position_ms = 0;
  uint32_t duration_ms = 0;  ///< 0: not known.
  int32_t volume = 0;        ///< 0 to 100.
  bool mute = false;
  std::string info_gbk;       ///< "竹影乐团 - 雨过河岸"; slides when it is too long.
  std::string status_gbk;     ///< "播放", "暂停", "停止", or a message that is told for a while.
  std::string stereo_gbk;     ///< "立体声"; empty without a track.
  std::string lyric_gbk;      ///< The current line, for the mini player.
  bool shows_elapsed = true;  ///< Else what is left, with a minus.
  bool playlist_shown = false;
  bool lyric_shown = false;
  bool equalizer_shown = false;

  bool operator==(const PlayerStatus&) const = default;
};

/// What the mouse does in these windows beside commands. Thread: the UI thread.
class PlayerActions {
 public:
  virtual void SeekTo(uint32_t position_ms) = 0;
  virtual void SetVolume(int32_t volume) = 0;
  virtual void StepVolume(int32_t steps) = 0;

 protected:
  ~PlayerActions() = default;
};

}  // namespace melorin
