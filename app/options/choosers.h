// SPDX-License-Identifier: MIT
//
// The dialogs in which a user chooses a colour, a font, a file or a folder. An interface, so that tests can
// answer for the user.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "doc/settings_types.h"

namespace melorin {

struct FileQuestion {
  std::u16string title;
  std::u16string kind;        ///< "歌词外观配置".
  std::u16string extensions;  ///< "mzlr_cfg", "exe;ico".
  std::string now_gbk;        ///< The file shown first; may be empty.
  bool save = false;          ///< The name of a file to write, else of one that is there.
};

/// Modal; nothing when the user cancels. Thread: the UI thread.
class Choosers {
 public:
  virtual std::optional<SettingsColour> Colour(HWND owner, SettingsColour now) = 0;
  virtual std::optional<FontRecord> Font(HWND owner, const FontRecord& now) = 0;
  virtual std::optional<std::string> Folder(HWND owner, const std::string& now_gbk) = 0;
  virtual std::optional<std::string> File(HWND owner, const FileQuestion& question) = 0;
  virtual void Tell(HWND owner, const std::u16string& text) = 0;

 protected:
  ~Choosers() = default;
};

Choosers& SystemChoosers();

}  // namespace melorin
