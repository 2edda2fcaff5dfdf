// SPDX-License-Identifier: MIT
//
// Command lines and dropped files, turned into actions one after another: paths become list entries on the
// worker, then the list, the switches and the playback follow on the UI thread. No windows.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "app/path_expander.h"
#include "app/session.h"
#include "app/worker.h"
#include "playback/player_control.h"
#include "sound/sound_library.h"

namespace melorin {

/// What the jobs need of the player around them. Thread: the UI thread, except PostTask.
class JobHost {
 public:
  /// Runs the task on the UI thread, later and in order; it may be dropped when the window goes. Thread: any.
  virtual void PostTask(std::function<void()> task) = 0;
  virtual void ReportProblem(const std::u16string& text) = 0;
  /// `action`: what the edit is called when it is to be taken back.
  virtual void OnListChanged(Playlist& list, ListEdit edit, const std::u16string& action) = 0;
  virtual void OnListShown() = 0;  ///< Another list is the active one.
  virtual void OnListsLoaded(size_t read) = 0;
  virtual void SetAutoClose() = 0;
  virtual void SetMode(PlayMode mode) = 0;
  virtual void SeekTo(uint32_t position_ms) = 0;
  virtual void CloseSoon() = 0;
  /// Path of the built-in tune, empty when it cannot be written.
  virtual std::u16string DemoTune() = 0;

 protected:
  ~JobHost() = default;
};

/// Paths go to the active list, or to the one that "/list" names, or with "DefaultListOnCmd" (command lines
/// only) to the one that "strDefaultList" names; that list becomes the active and the playing one. Entries
/// that are in the list already are not added again but played where they are; with "/add" all are appended
/// and what plays goes on. "ClearListOnCmd" empties the list first; dropped files and "/add" never do, nor a
/// command line that follows another within a second: several files opened at once come as one each. With
/// "/add" the playing list stays what it is while it has a track.
///
/// Thread: the UI thread.
class PlayerJobs {
 public:
  PlayerJobs(const SoundLibrary& library, Session& session, PlayerControl& control, JobHost& host)
      : library_(library), session_(session), control_(control), host_(host) {}

  /// Reads the stored lists; what is asked for meanwhile waits for them.
  void LoadLists();
  void Execute(CommandLine line);
  /// Adds what the paths stand for to that list, before the entry that is there then; nothing: at the end.
  /// Nothing else changes. The list must be loaded. Without `sub_folders` a folder is the files in it only.
  void AddTo(ComPtr<Playlist> list, std::vector<std::u16string> paths, std::optional<size_t> before,
             bool sub_folders = true);
  /// Nothing is executed any more.
  void Stop();

 private:
  struct Job {
    CommandLine line;
    ComPtr<Playlist> list;  ///< Of AddTo, which has nothing but paths.
    std::optional<size_t> before;
    bool sub_folders = true;
  };

  void Push(Job job);
  void StartNext();
  void Finish(ExpandedPaths expanded);
  void Insert(const Job& job, const ExpandedPaths& expanded);
  void AddDemo(ExpandedPaths& expanded);
  void Load(const CommandLine& line, const ExpandedPaths& expanded);
  ComPtr<Playlist> TargetList(const CommandLine& line);
  bool ClearsList(const CommandLine& line);
  void AppendAndPlay(const ComPtr<Playlist>& list, const std::vector<ItemRef>& items);
  void ResumeAtStart(const CommandLine& first_line);

  const SoundLibrary& library_;
  Session& session_;
  PlayerControl& control_;
  JobHost& host_;
  Worker worker_;
  std::deque<Job> jobs_;  ///< The first is under way, once the lists are there.
  bool lists_loaded_ = false;
  bool stopped_ = false;
  std::optional<uint32_t> loaded_at_ms_;  ///< When a command line last brought entries.
  bool first_ = true;
};

}  // namespace melorin
