// SPDX-License-Identifier: MIT
//
// PlayerControl: plays the entries of a list one after another. It owns the current stream and one that fades
// out, applies the settings to every new stream, takes the streams' events and moves on by a timer. Windows
// are known to it only as a PlayerHost; which entry comes next is decided by playlist/play_order.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "doc/settings.h"
#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "playback/event_target.h"
#include "playback/open_track.h"
#include "playback/playback_settings.h"
#include "playback/playback_stream.h"
#include "playlist/list_edit.h"
#include "playlist/play_list_item.h"
#include "playlist/play_order.h"
#include "playlist/playlist.h"
#include "sound/sound_library.h"

namespace melorin {

enum class PlayState { kStopped, kPlaying, kPaused };

/// Number of the window's timer that moves on to the next entry.
inline constexpr uint32_t kNextTrackTimer = 11;

/// What player control needs of the window that owns it. Thread: the UI thread, except PostStreamEvent.
class PlayerHost {
 public:
  /// Starts timer 11, or starts it anew; OnNextTrackTimer is to be called when it fires.
  virtual void StartNextTimer(uint32_t delay_ms) = 0;
  virtual void StopNextTimer() = 0;
  /// Brings the event to OnStreamEvent on the UI thread, later and in order. Thread: any; returns at once.
  virtual void PostStreamEvent(uint32_t message, uint32_t event, PlaybackStream* stream) = 0;
  /// Forgets events of that stream which are on their way. The next stream may be made at its address.
  virtual void DropStreamEvents(PlaybackStream* stream) = 0;
  /// Handles what is waiting for the UI thread, stream events among it, and returns.
  virtual void PumpMessages() = 0;
  /// The window's handle for the devices; may be null.
  virtual void* WindowHandle() = 0;

 protected:
  ~PlayerHost() = default;
};

enum class TrackFailure { kFile, kDevice, kPlay, kPause, kSeek };

/// Hears of everything that happens to the player. Thread: the UI thread. May call the control back, but from
/// OnTrackFailed only for what does not play.
class PlayerListener {
 public:
  virtual void OnTrackOpened() = 0;
  virtual void OnStateChanged(PlayState state) = 0;
  virtual void OnTrackFailed(const ItemRef& item, TrackFailure failure, HRESULT result) = 0;
  virtual void OnTrackEnded() = 0;                      ///< It has played to its end.
  virtual void OnFinished() = 0;                        ///< Nothing follows by itself.
  virtual void OnResumed(uint32_t position_ms) = 0;     ///< Goes on where the last session ended.
  virtual void OnFading(const ItemRef& item) = 0;       ///< The track was left and fades out.
  virtual void OnGainScanned(const ItemRef& item) = 0;  ///< Its loudness was measured; the item knows it now.

 protected:
  ~PlayerListener() = default;
};

/// Opens the item's track; with a failure the step that failed.
using TrackOpener = std::function<HRESULT(const PlayListItem& item, const PlaybackSettings& settings,
                                          void* window, ComPtr<PlaybackStream>* out, OpenStep* failed_at)>;
/// By the library, which must outlive it, and with the platform's devices. A subtrack is opened as one.
TrackOpener OpenerFor(const SoundLibrary& library, Clock& clock);

/// What of the settings opening and playing a track read; values out of range are brought into it.
PlaybackSettings MakePlaybackSettings(const Settings& settings);

/// 1 s for tracks shorter than 30 s, else 5 s.
constexpr uint32_t PositionStepMs(uint32_t duration_ms) {
  return duration_ms < 30000 ? 1000 : 5000;
}

/// Continuous play is every play mode but PlayMode::kSingle: what follows an entry then plays by itself. The
/// settings "AutoPlay" and "ContinuePlay" are about program start: AutoPlay starts the entry that was current
/// when the program was ended, and ContinuePlay makes it go on at the place where it was.
///
/// Thread: the UI thread, except that streams post their events from their own.
class PlayerControl final : private EventTarget {
 public:
  struct Parts {
    PlayerHost& host;
    PlayerListener& listener;
    Settings& settings;  ///< Read at every use, so that changes count from then on.
    TrackOpener open;
    Clock& clock;
    RandomSource random;
  };
  /// All that `parts` refers to must outlive the control.
  explicit PlayerControl(Parts parts);
  ~PlayerControl();
  PlayerControl(const PlayerControl&) = delete;
  PlayerControl& operator=(const PlayerControl&) = delete;

  // ---- what plays

  PlayState State() const { return state_; }
  bool HasTrack() const { return static_cast<bool>(current_); }
  /// The current stream's item, or the one that was tried last.
  const ItemRef& Item() const { return item_; }
  /// Null without a track. Borrowed until the next call that plays or leaves.
  PlaybackStream* Stream() const { return current_.get(); }
  const ComPtr<Playlist>& PlayingList() const { return list_; }
  /// The playing entry's place in the playing list; none when it is not in there (any more).
  std::optional<size_t> PlayingIndex() const { return index_; }
  uint32_t DurationMs() const { return duration_ms_; }
  uint32_t PositionMs() const;
  uint32_t PositionStepMs() const { return position_step_ms_; }
  bool WaitsForNext() const { return next_due_; }
  bool IsFading() const { return static_cast<bool>(fading_); }

  // ---- commands

  /// Makes the list the playing one. What plays goes on; the next entry comes from this list. `index` is the
  /// entry that counts as the playing one. Null: nothing follows, but for an entry that is repeated.
  void SetPlayingList(ComPtr<Playlist> list, std::optional<size_t> index);
  /// Opens the entry of the playing list. play_now: plays it too; on failure, when the settings say so, goes
  /// on with what follows. False when it could not be opened or played, or there is no such entry.
  bool OpenEntry(size_t index, bool play_now = true);
  void Next();      ///< Wraps at the end, in every mode.
  void Previous();  ///< Wraps at the start.
  void Play();  ///< Goes on, plays a stopped track again, or begins with the playing entry, else the first.
  void Pause();
  void TogglePause() { state_ == PlayState::kPlaying ? Pause() : Play(); }
  void Stop();
  /// Stops and lets go of the files at once, without a fade: they are about to be moved or deleted.
  void LetGo();
  void Seek(uint32_t position_ms);

  PlayMode Mode() const { return PlayModeFrom(settings_.player.play_mode); }
  void SetMode(PlayMode mode);
  void SetVolume(int32_t volume);  ///< 0 to 100; takes "Mute" back.
  void SetMute(bool mute);
  void SetBalance(int32_t balance);
  void SetEqualizer(const EqualizerBands& bands);
  void SetSurround(int32_t level);  ///< 0 off, to 100.
  /// Applies changed settings (volume, balance, fades, priority, effects) to the current stream. What
  /// concerns the device, the resampler and the measuring of gain holds from the next track on.
  ///
  /// Volume and balance that the device refuses are applied by the track's own effects, which is later by
  /// what the device holds.
  void ApplySettings();
  /// Runs when an entry has been the last in PlayMode::kInOrder.
  void SetEndOfListStep(std::function<void()> step) { end_of_list_step_ = std::move(step); }

  /// The entries of that list have changed. When the playing entry is gone it plays on, and the entry that
  /// followed it is the next; when it comes back, as by undo, it is the playing entry again.
  void OnListEdited(const Playlist& list, const ListEdit& edit);

  // ---- what the host brings

  /// Takes the event of a stream; one that is gone is never touched.
  void OnStreamEvent(uint32_t event, PlaybackStream* stream);
  void OnNextTrackTimer();

  // ---- the program's start and end

  /// Puts file and position of what plays into the settings "PlayingFile" and "PlayingTime", for a resume at
  /// the next start. Leaves them alone while nothing has been played in this session.
  void StoreResumePoint();
  /// Leaves the track, then waits for a stream that still fades: at most the stop fade's duration and half a
  /// second; nothing can be played and no resume point is stored meanwhile. To be called when the window is
  /// closed but still takes messages, after StoreResumePoint.
  void Close();

 private:
  void Post(uint32_t message, uint32_t event, PlaybackStream* stream) override;
  bool OpenAt(size_t index, bool play_now);
  bool OpenItem(ItemRef item, bool play_now);
  HRESULT OpenStream(bool play_now, TrackFailure& failure);
  void LearnFromSource();
  void StartResumed();
  void Leave();
  void LetFade();
  void ApplyVolume();
  void ApplyEffects();
  PlaybackSettings SettingsFor(const PlayListItem& item) const;
  void KeepScannedGain();
  void Drop(ComPtr<PlaybackStream>& stream);
  void AfterFailure();
  std::optional<size_t> PlaceBeforeNext() const;
  /// Where the edit has put the item that plays, if it has brought it.
  std::optional<size_t> NewIndexOfItem(const ListEdit& edit) const;
  void StartTimer(uint32_t shortest_ms);
  void CancelTimer();
  void SetState(PlayState state);
  size_t Count() const { return list_ ? list_->Size() : 0; }

  PlayerHost& host_;
  PlayerListener& listener_;
  Settings& settings_;
  TrackOpener open_;
  Clock& clock_;
  RandomOrder order_;
  std::function<void()> end_of_list_step_;

  ComPtr<PlaybackStream> current_;
  ComPtr<PlaybackStream> fading_;
  ItemRef item_;
  ComPtr<Playlist> list_;
  std::optional<size_t> index_;
  /// With an entry that is in the list no more: the place of what follows it. May be the end of the list.
  std::optional<size_t> gap_;
  std::optional<size_t> first_failed_;
  uint32_t duration_ms_ = 0;
  uint32_t position_step_ms_ = melorin::PositionStepMs(0);
  PlayState state_ = PlayState::kStopped;
  bool next_due_ = false;
  bool may_resume_ = true;  ///< Until the first track is played.
  bool has_played_ = false;
  /// By the current stream's device; its track's effects do it instead.
  bool volume_refused_ = false;
  bool balance_refused_ = false;
  bool closing_ = false;
};

}  // namespace melorin
