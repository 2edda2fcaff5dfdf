// SPDX-License-Identifier: MIT
//
// What the options dialog needs of the player, and what it tells it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "doc/command_id.h"
#include "doc/settings.h"
#include "sound/sound_library.h"

namespace melorin {

/// A section of the settings.
enum class SettingsPart {
  kPlayer,
  kGeneral,
  kPlayback,
  kDevice,
  kHotKey,
  kVisual,
  kLyric,
  kPlayList,
  kConvert,
  kEqualizer,
  kSkin,
  kPlugin,
  kHistory,
};

/// Thread: the UI thread, except PostTask.
class OptionsHost {
 public:
  /// The dialog reads and writes them in place.
  virtual Settings& Values() = 0;
  /// Something in that section has changed: takes effect now, is saved later. Called for every step of a
  /// change (each character typed), so it must be quick. kHistory only needs saving.
  virtual void SettingsChanged(SettingsPart part) = 0;

  virtual const SoundLibrary& Library() = 0;
  virtual std::string DataFolderGbk() = 0;
  /// Where skin packages lie; need not exist.
  virtual std::string SkinFolderGbk() = 0;
  /// Where add-ins are looked for when the setting "Folder" of "Plugin" is empty; need not exist.
  virtual std::string AddInFolderGbk() = 0;
  virtual std::u16string Version() = 0;

  /// Commands whose global key another program holds.
  virtual std::vector<CommandId> RefusedHotKeys() = 0;
  /// While true no key is registered as a global one: the user is about to press one to choose it. A change
  /// of the keys may register them to see which are refused; true comes again then.
  virtual void SuspendHotKeys(bool suspended) = 0;

  /// Runs the task on the UI thread, later and in order. Thread: any.
  virtual void PostTask(std::function<void()> task) = 0;

 protected:
  ~OptionsHost() = default;
};

}  // namespace melorin
