// SPDX-License-Identifier: MIT
#include "app/equalizer_desk.h"

#include <string_view>

#include "doc/profile.h"
#include "platform/text.h"
#include "ui/equalizer_presets.h"

namespace melorin {
namespace {

using Id = CommandId;

int32_t ProfileOf(Id command) {
  return OffsetFrom(command, Id::kEqualizerPresetFirst, EqualizerProfileCount());
}

}  // namespace

EqualizerDesk::EqualizerDesk(Player& player, WindowServices& services, EqualizerDeskHost& host,
                             Choosers& choosers)
    : player_(player), host_(host), choosers_(choosers), view_(services, *this) {}

// ---- commands

bool EqualizerDesk::Handles(Id command) const {
  return command == Id::kEqualizerOn || command == Id::kEqualizerReset ||
         command == Id::kEqualizerLoadProfile || command == Id::kEqualizerSaveProfile ||
         ProfileOf(command) >= 0;
}

bool EqualizerDesk::IsChecked(Id command) const {
  const int32_t profile = EqualizerProfileOf(Equalizer());
  if (command == Id::kEqualizerOn) return profile != kEqualizerOff;
  return ProfileOf(command) >= 0 && ProfileOf(command) == profile;
}

void EqualizerDesk::Execute(Id command) {
  EqualizerSettings& settings = player_.Values().equalizer;
  switch (command) {
    case Id::kEqualizerOn:
      SwitchEqualizer(settings, !IsChecked(command));
      return Apply();
    case Id::kEqualizerReset:
      ResetEqualizer(settings);
      return Apply();
    case Id::kEqualizerLoadProfile:
      return LoadCurve();
    case Id::kEqualizerSaveProfile:
      return SaveCurve();
    default:
      if (ProfileOf(command) < 0) return;
      ChooseEqualizerProfile(settings, ProfileOf(command));
      return Apply();
  }
}

void EqualizerDesk::FillMenu(MenuSource& source) const {
  source.presets.clear();
  for (int32_t profile = 0; profile < EqualizerProfileCount(); ++profile)
    source.presets.push_back(EqualizerProfileName(profile));
  source.preset_in_use = static_cast<size_t>(EqualizerProfileOf(Equalizer()));
}

void EqualizerDesk::SettingsChanged() {
  AdoptSoundingCurve(player_.Values().equalizer);
  view_.Refresh();
}

// ---- what the sliders do

const EqualizerSettings& EqualizerDesk::Equalizer() const {
  return player_.Data().Values().equalizer;
}

int32_t EqualizerDesk::Balance() const {
  return player_.Data().Values().player.balance;
}

void EqualizerDesk::MoveBand(size_t band, int32_t db) {
  MoveEqualizerBand(player_.Values().equalizer, band, db);
  Apply();
}

void EqualizerDesk::SetBalance(int32_t balance) {
  player_.Control().SetBalance(balance);
  player_.SaveSoon();
}

void EqualizerDesk::SetSurround(int32_t level) {
  player_.Control().SetSurround(level);
  player_.SaveSoon();
}

void EqualizerDesk::Apply() {
  player_.Control().SetEqualizer(EqualizerBands(Equalizer().current));
  player_.SaveSoon();
  view_.Refresh();
}

// ---- profiles

std::optional<std::string> EqualizerDesk::AskForFile(bool save) {
  const std::string& last_gbk = player_.Values().history.eqc_profile_gbk;
  const std::string_view extension = ProfileExtension<EqualizerCurve>();
  FileQuestion question;
  question.kind = u"均衡器配置";
  question.title = (save ? u"保存" : u"载入") + question.kind;
  question.extensions.assign(extension.begin(), extension.end());
  question.now_gbk =
      last_gbk.empty() ? FirstProfilePath<EqualizerCurve>(player_.Data().DataFolderGbk()) : last_gbk;
  question.save = save;
  return choosers_.File(host_.DialogOwner(), question);
}

void EqualizerDesk::LoadCurve() {
  const std::optional<std::string> path_gbk = AskForFile(false);
  if (!path_gbk) return;
  EqualizerCurve curve = Equalizer();
  if (LoadProfile(*path_gbk, &curve) != LoadResult::kLoaded)
    return choosers_.Tell(host_.DialogOwner(), u"无法读取该配置文件。");
  player_.Values().history.eqc_profile_gbk = *path_gbk;
  SetEqualizerCurve(player_.Values().equalizer, curve.custom);
  Apply();
}

void EqualizerDesk::SaveCurve() {
  const std::optional<std::string> path_gbk = AskForFile(true);
  if (!path_gbk) return;
  if (!SaveProfile(*path_gbk, EqualizerCurve{EqualizerShownBands(Equalizer())}))
    return choosers_.Tell(host_.DialogOwner(), u"无法写入该配置文件。");
  player_.Values().history.eqc_profile_gbk = *path_gbk;
  player_.SaveSoon();
}

}  // namespace melorin
