// SPDX-License-Identifier: MIT
#include "app/player_options.h"

#include "app/program_folders.h"
#include "platform/text.h"

namespace melorin {

void PlayerOptions::RegisterKeys() {
  if (const HWND window = window_.KeyWindow()) refused_ = keys_.Register(window, Values().hot_key);
}

bool PlayerOptions::Handles(CommandId command) const {
  return command == CommandId::kOptions || command == CommandId::kAbout;
}

void PlayerOptions::Execute(CommandId command) {
  const bool about = command == CommandId::kAbout;
  dialog_.Show(window_.DialogOwner(), about ? std::optional(OptionsPageId::kAbout) : std::nullopt);
}

void PlayerOptions::SettingsChanged(SettingsPart part) {
  if (part == SettingsPart::kHotKey) RegisterKeys();
  player_.OnSettingsChanged();
  window_.SettingsChanged(part);
}

std::string PlayerOptions::SkinFolderGbk() {
  return melorin::SkinFolderGbk();
}

std::string PlayerOptions::AddInFolderGbk() {
  return melorin::AddInFolderGbk();
}

std::u16string PlayerOptions::Version() {
  return Utf16FromUtf8(kProgramVersion);
}

std::vector<CommandId> PlayerOptions::RefusedHotKeys() {
  std::vector<CommandId> commands;
  for (const KeyBinding& binding : refused_)
    commands.push_back(static_cast<CommandId>(binding.command));
  return commands;
}

void PlayerOptions::SuspendHotKeys(bool suspended) {
  if (suspended) {
    keys_.Unregister();
  } else {
    RegisterKeys();
  }
}

}  // namespace melorin
