// SPDX-License-Identifier: MIT
//
// LyricEditor: the text of a lyric in a window beside the player, which goes on: lines are given the time at
// which they are sung, and times are moved.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/delayed_task.h"
#include "lyrics/lyric_edit.h"

namespace melorin {

/// Thread: the UI thread.
class LyricEditorHost {
 public:
  /// Nothing while another song plays than the one whose lyric is edited.
  virtual std::optional<int32_t> EditedPosition() = 0;
  virtual bool IsEditedPlaying() = 0;
  virtual void PlayOrPauseEdited() = 0;
  virtual void SeekEdited(int32_t position_ms) = 0;
  /// The user has stopped typing for a moment.
  virtual void OnEdited(const std::u16string& text) = 0;
  /// LyricEditor::OnSaved is to be called, later or at once.
  virtual void SaveEdited(const std::u16string& text) = 0;
  /// The window is gone. The editor may be opened again, but not destroyed here.
  virtual void OnEditorClosed() = 0;

 protected:
  ~LyricEditorHost() = default;
};

/// Thread: the UI thread, whose message loop must be an ordinary one: the editor finds its keys there itself.
class LyricEditor {
 public:
  explicit LyricEditor(LyricEditorHost& host) : host_(host), tell_([this] { host_.OnEdited(Text()); }) {}
  ~LyricEditor() { Destroy(); }
  LyricEditor(const LyricEditor&) = delete;
  LyricEditor& operator=(const LyricEditor&) = delete;

  /// LRC text. `to_next_line`: the setting "NewLineAfterTag". False when the system refuses.
  bool Open(HWND owner, const std::u16string& song, const std::u16string& text, bool to_next_line);
  bool IsOpen() const { return window_ != nullptr; }
  HWND Window() const { return window_; }
  void BringForward();
  void OnSaved(bool saved);
  /// It closes when OnSaved says that all went well.
  bool IsSaving() const { return window_ && close_when_saved_; }
  /// Asks when there is something to be lost. False: it stays open, maybe only until it is saved.
  bool TryClose();
  /// Without asking and without OnEditorClosed.
  void Destroy();

 private:
  static INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) noexcept;
  static LRESULT CALLBACK Hook(int code, WPARAM wparam, LPARAM lparam) noexcept;
  bool Take(UINT message, WPARAM wparam, LPARAM lparam);
  bool TakeKey(const MSG& message);
  void Start(HWND dialog);
  void OnCommand(WORD id, WORD notice);
  void OnSize();
  void Close();

  std::u16string Text() const;
  TextRange Selection() const;
  void Apply(const TextChange& change);
  void Stamp(StampMode mode);
  void RemoveStampsHere();
  void Shift(int direction);
  void PlayFromLine();
  void StepBack();
  void Save();
  void SetModified(bool modified);
  void ShowTime();

  LyricEditorHost& host_;
  DelayedTask tell_;
  HWND window_ = nullptr;
  HHOOK hook_ = nullptr;
  std::u16string song_;
  std::u16string first_text_;
  bool to_next_line_ = false;
  bool filling_ = false;
  bool modified_ = false;
  uint32_t edits_ = 0;
  uint32_t saved_edits_ = 0;  ///< How many there were in what was saved last.
  bool close_when_saved_ = false;
  std::u16string shown_time_;
  SIZE first_size_{};
  struct Child {
    HWND window;
    RECT place;
  };
  std::vector<Child> children_;  ///< In the size that the window has at first.
};

}  // namespace melorin
