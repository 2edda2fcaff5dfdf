// SPDX-License-Identifier: MIT
#include "app/skin_desk.h"

#include <algorithm>
#include <utility>

#include "app/program_folders.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr int32_t kMostSkins =
    static_cast<int32_t>(CommandId::kDynamicEnd) - static_cast<int32_t>(CommandId::kSkinFirst);

}  // namespace

void SkinDesk::ReadSkins() {
  if (reading_) return;
  reading_ = worker_.Start([this](const std::atomic<bool>&) {
    player_.PostToUi([this, skins = ListSkins(SkinFolderGbk())]() mutable {
      found_ = std::move(skins);
      reading_ = false;
    });
  });
}

void SkinDesk::FillMenu(MenuSource& source) {
  // Not while a menu is open, which knows skins by their places.
  if (found_) skins_ = *std::exchange(found_, std::nullopt);
  // None of them, until the worn one has been found as well.
  source.skin_in_use = skins_.size();
  for (const SkinListEntry& skin : skins_) {
    if (source.skins.size() >= static_cast<size_t>(kMostSkins)) break;
    if (IsWorn(skin)) source.skin_in_use = source.skins.size();
    source.skins.push_back(Utf16FromGbk(skin.name_gbk));
  }
  ReadSkins();
}

bool SkinDesk::Handles(CommandId command) const {
  return OffsetFrom(command, CommandId::kSkinFirst, kMostSkins) >= 0;
}

const SkinListEntry* SkinDesk::SkinOf(CommandId command) const {
  const int32_t index = OffsetFrom(command, CommandId::kSkinFirst, kMostSkins);
  return index >= 0 && static_cast<size_t>(index) < skins_.size() ? &skins_[static_cast<size_t>(index)]
                                                                  : nullptr;
}

bool SkinDesk::IsWorn(const SkinListEntry& skin) const {
  return skin.package_name_gbk == player_.Data().Values().skin.package_name_gbk;
}

bool SkinDesk::IsChecked(CommandId command) const {
  const SkinListEntry* skin = SkinOf(command);
  return skin && IsWorn(*skin);
}

void SkinDesk::Execute(CommandId command) {
  const SkinListEntry* skin = SkinOf(command);
  if (!skin || IsWorn(*skin)) return;
  player_.Values().skin.package_name_gbk = skin->package_name_gbk;
  player_.SaveSoon();
  wear_();
}

}  // namespace melorin
