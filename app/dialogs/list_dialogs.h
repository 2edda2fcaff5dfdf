// SPDX-License-Identifier: MIT
//
// ListDialogs: what the commands of lists ask the user. An interface, so that they can be tried without one.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "doc/settings.h"
#include "playlist/play_list_item.h"
#include "sound/sound_library.h"

namespace melorin {

/// Each blocks until the user has answered, while messages go on; nothing: cancelled. Thread: the UI thread.
class ListDialogs {
 public:
  virtual HWND Owner() = 0;
  virtual std::vector<std::u16string> AskForFiles() = 0;
  virtual std::optional<std::u16string> AskForFolder() = 0;
  /// List files to be opened.
  virtual std::vector<std::u16string> AskForListFiles() = 0;
  /// The path that a list is to be written to.
  virtual std::optional<std::u16string> AskWhereToSave(const std::u16string& name) = 0;
  virtual std::optional<std::u16string> AskForText(const std::u16string& title, const std::u16string& label,
                                                   const std::u16string& text) = 0;
  virtual bool Confirm(const std::u16string& question) = 0;
  virtual void ShowProperties(const ItemRef& item) = 0;

 protected:
  ~ListDialogs() = default;
};

/// The system's dialogs, and our own in its style.
class SystemListDialogs final : public ListDialogs {
 public:
  /// `owner` says in front of which window; asked for each dialog. The library and the settings, which
  /// remember folders, must outlive this.
  SystemListDialogs(std::function<HWND()> owner, const SoundLibrary& library, Settings& settings)
      : owner_(std::move(owner)), library_(library), settings_(settings) {}

  HWND Owner() override { return owner_(); }
  std::vector<std::u16string> AskForFiles() override;
  std::optional<std::u16string> AskForFolder() override;
  std::vector<std::u16string> AskForListFiles() override;
  std::optional<std::u16string> AskWhereToSave(const std::u16string& name) override;
  std::optional<std::u16string> AskForText(const std::u16string& title, const std::u16string& label,
                                           const std::u16string& text) override;
  bool Confirm(const std::u16string& question) override;
  void ShowProperties(const ItemRef& item) override;

 private:
  const std::function<HWND()> owner_;
  const SoundLibrary& library_;
  Settings& settings_;
  std::u16string list_folder_;  ///< For this session: the setting of that name is where the lists are stored.
};

}  // namespace melorin
