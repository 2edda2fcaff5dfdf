// SPDX-License-Identifier: MIT
//
// The player behind its windows: session, player control, jobs and the event log, put together. Whatever
// window there is, it brings messages here and shows what it finds here.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "app/event_log.h"
#include "app/list_loader.h"
#include "app/list_observer.h"
#include "app/player_jobs.h"
#include "app/session.h"
#include "playback/player_control.h"
#include "playlist/info_reader.h"
#include "sound/sound_library.h"

namespace melorin {

/// What the player needs of its main window.
class PlayerFrame : public PlayerHost {
 public:
  /// Runs the task on the UI thread, later and in order; dropped when the window goes. Thread: any.
  virtual void PostTask(std::function<void()> task) = 0;
  virtual void Refresh() = 0;  ///< Something that the window shows may have changed.
  virtual void ShowMessage(const std::u16string& text) = 0;
  /// Calls Player::SaveNow after that time, unless it is due already.
  virtual void SaveLater(uint32_t delay_ms) = 0;
  /// Closes the window after a moment in which the device sounds out.
  virtual void CloseSoon() = 0;

 protected:
  ~PlayerFrame() = default;
};

/// Thread: the UI thread.
class Player final : private PlayerListener, private JobHost {
 public:
  /// The library and the frame must outlive the player. `data_folder_gbk`: see DataFolder.
  Player(const SoundLibrary& library, PlayerFrame& frame, std::string data_folder_gbk);
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  /// Reads the settings; before the window is made, which may want to know them.
  void LoadSettings();
  /// Reads the lists and carries the first command line out. The window must be there.
  void Start(CommandLine line);
  void Execute(CommandLine line) { jobs_.Execute(std::move(line)); }

  PlayerControl& Control() { return control_; }
  const PlayerControl& Control() const { return control_; }
  const Session& Data() const { return session_; }
  Settings& Values() { return session_.Values(); }
  /// To be called after a change of Values: applies it to what plays, saves it later.
  void OnSettingsChanged();
  EventLog& Log() { return log_; }
  int ExitCode() const { return exit_code_; }

  // ---- what is shown

  /// Of the current track; texts are empty without one.
  std::u16string Title() const;

  // ---- commands

  void SeekTo(uint32_t position_ms) override;
  void StepPosition(int direction);
  void ChangeVolume(int change);
  void ToggleMute();
  void SetMode(PlayMode mode) override;
  void CycleMode();

  // ---- lists

  Session& Data() { return session_; }
  /// May be null.
  void SetListObserver(ListObserver* observer) { observer_ = observer; }
  /// The list was edited: whoever has to know is told, the observer last. An empty action is no step of its
  /// own for undo.
  void ListEdited(Playlist& list, ListEdit edit, const std::u16string& action);
  /// Names, order or number of the lists have changed.
  void ListsEdited();
  /// Reads a list that is not loaded on the worker.
  void LoadList(ComPtr<Playlist> list, ListLoader::DoneFunction done);
  /// See PlayerJobs.
  void AddTo(ComPtr<Playlist> list, std::vector<std::u16string> paths, std::optional<size_t> before,
             bool sub_folders = true) {
    jobs_.AddTo(std::move(list), std::move(paths), before, sub_folders);
  }
  /// Reads a list file on the worker; see ListLoader.
  void ReadListFile(std::string path_gbk, ListLoader::FileFunction done);
  /// Another list is shown.
  void ListShown();
  /// Tells the user; a problem also goes into the log.
  void Tell(const std::u16string& text) { frame_.ShowMessage(text); }
  void Report(const std::u16string& text) { ReportProblem(text); }
  /// The settings have changed.
  void SaveSoon();
  /// These are in view now.
  void ReadShownInfo(std::span<const ItemRef> items);
  void ReadInfoAgain(std::span<const ItemRef> items);
  const SoundLibrary& Library() const { return library_; }
  void PostToUi(std::function<void()> task) { frame_.PostTask(std::move(task)); }

  // ---- what the window brings

  /// About four times a second while playing.
  void OnTick();
  /// Saves what has changed. False when something could not be written; the user has been told. `at_end`: the
  /// program is about to end, so what could wait is saved as well.
  bool SaveNow(bool at_end = false);
  /// The window closes: saves, leaves the track, waits for the last fade. False when something could not be
  /// saved and the user does not know it yet.
  bool Close();

 private:
  void OnTrackOpened() override;
  void OnStateChanged(PlayState state) override;
  void OnTrackFailed(const ItemRef& item, TrackFailure failure, HRESULT result) override;
  void OnTrackEnded() override;
  void OnFinished() override;
  void OnResumed(uint32_t position_ms) override;
  void OnFading(const ItemRef& item) override;
  void OnGainScanned(const ItemRef& item) override;

  void PostTask(std::function<void()> task) override { frame_.PostTask(std::move(task)); }
  void ReportProblem(const std::u16string& text) override;
  void OnListChanged(Playlist& list, ListEdit edit, const std::u16string& action) override {
    ListEdited(list, std::move(edit), action);
  }
  void OnListShown() override { ListShown(); }
  void OnListsLoaded(size_t read) override;
  void SetAutoClose() override;
  void CloseSoon() override { frame_.CloseSoon(); }
  std::u16string DemoTune() override;

  void ReadInfoOf(const Playlist& list);
  void TakeInfo();
  void LogStart();
  std::u16string Tag(const char* name) const;

  const SoundLibrary& library_;
  PlayerFrame& frame_;
  ListObserver* observer_ = nullptr;
  EventLog log_;
  Session session_;
  PlayerControl control_;
  PlayerJobs jobs_;
  ListLoader loader_;
  InfoReader info_;
  std::u16string start_problem_;  ///< Told when there is a window to tell it in.
  uint32_t logged_second_ = 0;
  bool start_is_logged_ = true;
  uint32_t saved_at_ms_ = 0;
  std::optional<int32_t> users_mode_;  ///< What "/autoclose" has put another in the place of.
  bool auto_close_ = false;
  int exit_code_ = 0;
};

}  // namespace melorin
