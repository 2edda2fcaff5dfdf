// SPDX-License-Identifier: MIT
//
// The player's icon in the notification area. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace melorin {

enum class TrayAction {
  kNone,
  kClick,  ///< Once for a double click too; and a key of somebody who has no mouse.
  kMenu,
  kMiddle,
};
struct TrayEvent {
  TrayAction action = TrayAction::kNone;
  /// Of the screen, where a menu belongs; none from old systems: it belongs where the mouse is.
  std::optional<POINT> at;
};

/// What the icon's messages mean, which are to come in their order.
class TrayMessages {
 public:
  /// `has_version_4`: whether the system speaks that version (see NIM_SETVERSION) with this icon.
  TrayEvent Decode(bool has_version_4, WPARAM wparam, LPARAM lparam);

 private:
  /// The click that comes next is the second half of a double one.
  bool second_of_two_ = false;
};

/// The beginning of a text, at most `most` units, without half a surrogate pair at its end.
std::u16string_view CutText(std::u16string_view text, size_t most);

class TrayIcon {
 public:
  /// `message` is sent to the window for what the user does with the icon. Nothing is shown yet.
  TrayIcon(HWND window, UINT message);
  ~TrayIcon() { Hide(); }
  TrayIcon(const TrayIcon&) = delete;
  TrayIcon& operator=(const TrayIcon&) = delete;

  /// False when there is no notification area (yet): the icon comes when there is one.
  bool Show();
  void Hide();
  bool IsShown() const { return shown_; }

  /// At most 127 UTF-16 units are shown; lines may be broken by '\n'.
  void SetTip(std::u16string_view text);
  /// Of a file "*.ico", or the first icon of a program; empty, or none in it: the program's own.
  void SetIconFile(const std::string& path_gbk);
  /// A message beside the icon, for a few seconds. At most 63 and 255 units.
  void ShowBalloon(std::u16string_view title, std::u16string_view text);

  TrayEvent Decode(WPARAM wparam, LPARAM lparam) { return messages_.Decode(has_version_4_, wparam, lparam); }
  /// To be called with every message of the window that it does not know: the desktop has started anew, and
  /// the icon with it. True when it was that message.
  bool OnTaskbarCreated(UINT message);

 private:
  /// Owns an icon that came from a file; shared ones belong to the system.
  class OwnedIcon {
   public:
    OwnedIcon() = default;
    ~OwnedIcon() { Reset(nullptr); }
    OwnedIcon(const OwnedIcon&) = delete;
    OwnedIcon& operator=(const OwnedIcon&) = delete;
    void Reset(HICON icon) {
      if (icon_) DestroyIcon(icon_);
      icon_ = icon;
    }
    [[nodiscard]] HICON Exchange(HICON icon) { return std::exchange(icon_, icon); }
    HICON get() const { return icon_; }

   private:
    HICON icon_ = nullptr;
  };

  bool Add();
  void Modify(UINT flags);

  HWND window_;
  UINT message_;
  UINT taskbar_created_;
  bool wanted_ = false;
  bool shown_ = false;
  bool has_version_4_ = false;
  TrayMessages messages_;
  std::u16string tip_;
  std::u16string balloon_title_;
  std::u16string balloon_text_;
  std::string icon_file_gbk_;
  OwnedIcon icon_;
};

}  // namespace melorin
