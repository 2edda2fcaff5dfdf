// SPDX-License-Identifier: MIT
//
// Plays one track after another of a TrackList: owns the current stream and one that fades out, applies the
// playback settings, takes the streams' events and moves on by a timer. It knows the window only as the owner
// of its timer and of the messages.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>

#include "app/track_list.h"
#include "platform/com_ptr.h"
#include "playback/event_target.h"
#include "playback/playback_settings.h"
#include "playback/playback_stream.h"
#include "sound/sound_library.h"

namespace melorin {

/// What the window shows of a track.
struct TrackInfo {
  std::u16string path;
  std::u16string title;   ///< From the tags, else the file's name.
  std::u16string artist;  ///< May be empty, like all below.
  std::u16string album;
  std::u16string codec;  ///< Short name.
  std::u16string device;
  uint32_t duration_ms = 0;
  uint32_t bitrate = 0;  ///< Bits a second.
  uint32_t sample_rate = 0;
  uint32_t channels = 0;
  uint32_t bits = 0;  ///< Of the device.
};

enum class PlayState { kStopped, kPlaying, kPaused };

/// Hears of everything that happens to the player. Called on the UI thread.
class TrackPlayerListener {
 public:
  virtual void OnOpened(const TrackInfo& track) = 0;
  virtual void OnState(PlayState state) = 0;
  virtual void OnFailed(const std::u16string& path, const std::u16string& text, HRESULT result) = 0;
  virtual void OnEnded() = 0;     ///< The current track has played to its end.
  virtual void OnFinished() = 0;  ///< Nothing is left to play.

 protected:
  ~TrackPlayerListener() = default;
};

/// Thread: the UI thread, except the posting of events.
class TrackPlayer final : private EventTarget {
 public:
  static constexpr UINT_PTR kNextTrackTimer = 11;

  /// The library and the listener must outlive the player, the window its last event.
  TrackPlayer(const SoundLibrary& library, TrackPlayerListener& listener, PlaybackSettings settings);
  ~TrackPlayer();

  void SetWindow(HWND window) { window_ = window; }
  PlaybackSettings& Settings() { return settings_; }
  const PlaybackSettings& Settings() const { return settings_; }
  TrackList& List() { return list_; }
  PlayState State() const { return state_; }
  const TrackInfo& Track() const { return track_; }
  bool HasTrack() const { return static_cast<bool>(current_); }
  bool WaitsForNext() const { return next_due_; }
  uint32_t PositionMs() const;

  /// Opens the entry and plays it; on failure tells the listener and goes on with the next after a moment.
  void PlayEntry(size_t index);
  void Next();
  void Previous();

  void Play();  ///< Goes on, plays again a stopped track, or begins with the list's first.
  void Pause();
  void TogglePause() { state_ == PlayState::kPlaying ? Pause() : Play(); }
  void Stop();
  void Seek(uint32_t position_ms);
  void SetVolume(int32_t volume);

  /// kStreamMessage: wParam is the event, lParam the stream. A stream that is gone is never touched.
  void OnStreamMessage(WPARAM event, LPARAM stream);
  void OnNextTrackTimer();

  /// Leaves the track; then waits for a stream that still fades, at most the stop duration and half a second.
  void Close();

 private:
  void Post(uint32_t message, uint32_t event, PlaybackStream* stream) override;
  HRESULT Open(const std::u16string& path, std::u16string& failure);
  void ReadTrackInfo(const std::u16string& path);
  void ApplySettings();
  void Leave();
  void Drop(ComPtr<PlaybackStream>& stream);
  void SetState(PlayState state);
  void StartNextTimer(uint32_t delay_ms);

  const SoundLibrary& library_;
  TrackPlayerListener& listener_;
  PlaybackSettings settings_;
  HWND window_ = nullptr;
  TrackList list_;
  ComPtr<PlaybackStream> current_;
  ComPtr<PlaybackStream> fading_;
  TrackInfo track_;
  PlayState state_ = PlayState::kStopped;
  bool next_due_ = false;
};

}  // namespace melorin
