// SPDX-License-Identifier: MIT
//
// OptionsDialog: every setting of the player on pages, chosen in a list at the left. Modeless, one at a time.
// What the user changes takes effect at once, so there is nothing to confirm.
//
//   while (GetMessageW(&message, …) > 0) {
//     if (options.TakesMessage(message)) continue;
//     …
#pragma once

#include <windows.h>

#include <memory>
#include <optional>

#include "app/options/options_host.h"

namespace melorin {

class Choosers;
class CountedChoosers;
class OptionsFrame;

/// In the order of the list. The numbers stand in settings files ("LastActivePage").
enum class OptionsPageId : int32_t {
  kGeneral = 0,
  kPlayback = 1,
  kDevice = 2,
  kHotKeys = 3,
  kVisual = 4,
  kPlayList = 5,
  kPlayListLook = 6,
  kTags = 7,
  kLyric = 8,
  kLyricFiles = 9,
  kNetwork = 10,
  kConvert = 11,
  kPlugins = 12,
  kSkins = 13,
  kFileTypes = 14,
  kAbout = 15,
};
inline constexpr int32_t kOptionsPages = 16;

/// Thread: the UI thread.
class OptionsDialog {
 public:
  /// The host must outlive the dialog, and the dialog the messages that it handles. `choosers`: null for the
  /// system's dialogs.
  explicit OptionsDialog(OptionsHost& host, Choosers* choosers = nullptr);
  ~OptionsDialog();
  OptionsDialog(const OptionsDialog&) = delete;
  OptionsDialog& operator=(const OptionsDialog&) = delete;

  /// Opens it, or brings an open one to the front, at that page; none: at the page shown last. False when the
  /// platform refuses, or a question of one that has been closed is still open.
  bool Show(HWND owner, std::optional<OptionsPageId> page = {});
  bool IsOpen() const;
  void Close();
  /// Null when it is closed.
  HWND Window() const;

  /// True when the message was a key of the dialog and is done with.
  bool TakesMessage(MSG& message);
  /// Settings have changed elsewhere: shows what they are now.
  void Refresh();

 private:
  void DropClosed();

  OptionsHost& host_;
  std::unique_ptr<CountedChoosers> choosers_;
  std::shared_ptr<int> ticket_;  ///< Of tasks that wait for their turn; they end with this.
  std::unique_ptr<OptionsFrame> frame_;
};

}  // namespace melorin
