// SPDX-License-Identifier: MIT
#include "ui/equalizer_window_view.h"

#include <memory>
#include <utility>

#include "platform/text.h"
#include "skin/skin_layout.h"
#include "ui/equalizer_presets.h"

namespace melorin {
namespace {

constexpr const char16_t* kBandNames[] = {u"31 Hz", u"63 Hz", u"125 Hz", u"250 Hz", u"500 Hz",
                                          u"1 kHz", u"2 kHz", u"4 kHz",  u"8 kHz",  u"16 kHz"};
static_assert(std::size(kBandNames) == EqualizerBands::kBands);

constexpr SliderRange kLevels = {-kEqualizerLimit, kEqualizerLimit, 1, 3, 1};
constexpr SliderRange kBalances = {-100, 100, 5, 20, 5};
constexpr SliderRange kSurrounds = {0, 100, 5, 20, 5};

std::u16string Number(int32_t number) {
  return Utf16FromUtf8(std::to_string(number));
}

std::u16string SurroundText(int32_t level) {
  return level == 0 ? u"关闭" : Number(level) + u'%';
}

}  // namespace

std::u16string EqualizerLevelText(int32_t db) {
  return (db > 0 ? u"+" : u"") + Number(db) + u" db";
}

std::u16string BalanceText(int32_t balance) {
  if (balance == 0) return u"居中";
  return (balance < 0 ? u"左 " + Number(-balance) : u"右 " + Number(balance)) + u'%';
}

EqualizerWindowView::EqualizerWindowView(WindowServices& services, EqualizerActions& actions)
    : ToolWindowView(SkinWindow::kEqualizer, services, CommandId::kShowEqualizer), actions_(actions) {}

SliderControl* EqualizerWindowView::AddSlider(const std::string& element, const SkinSlider& look,
                                              const SliderRange& range, std::u16string name) {
  SliderControl* slider = Add(element, std::make_unique<SliderControl>(look, range), look.position);
  slider->SetName(std::move(name));
  slider->SetDefault(0);
  return slider;
}

SliderControl* EqualizerWindowView::AddBand(const std::string& element, const SkinSlider& look, size_t band) {
  const bool preamp = band == EqualizerBands::kPreamp;
  SliderControl* slider = AddSlider(element, look, kLevels, preamp ? u"前置放大" : kBandNames[band]);
  slider->SetValueText(EqualizerLevelText);
  slider->SetOnChange([this, band](int32_t db, bool) { actions_.MoveBand(band, db); });
  return bands_[band] = slider;
}

LoadedSkin* EqualizerWindowView::Build(SkinWardrobe& wardrobe, Frame* frame) {
  balance_ = surround_ = nullptr;
  bands_ = {};
  const auto [window, skin] = wardrobe.Find(&SkinDescription::equalizer_window);
  if (!window) return nullptr;
  BuildTools(*window, u"均衡器", frame);
  AddButton("enabled", window->enabled, CommandId::kEqualizerOn, true);
  if (window->profile) {
    const SkinRect below = window->profile->position;
    AddButton("profile", window->profile, u"预设与配置", [this, below] {
      Services().ShowMenu(MenuKind::kEqualizer, SkinWindow::kEqualizer, below.left, below.bottom);
    });
  }
  AddButton("reset", window->reset, CommandId::kEqualizerReset);
  if (window->balance) {
    balance_ = AddSlider("balance", *window->balance, kBalances, u"平衡");
    balance_->SetValueText(BalanceText);
    balance_->SetSnap(0);
    balance_->SetOnChange([this](int32_t balance, bool) { actions_.SetBalance(balance); });
  }
  if (window->surround) {
    surround_ = AddSlider("surround", *window->surround, kSurrounds, u"环绕");
    surround_->SetValueText(SurroundText);
    surround_->SetOnChange([this](int32_t level, bool) { actions_.SetSurround(level); });
  }
  if (window->preamp) AddBand("preamp", *window->preamp, EqualizerBands::kPreamp);
  if (window->eqfactor) {
    for (size_t band = 0; band < EqualizerBands::kBands; ++band) {
      SkinSlider look = *window->eqfactor;
      look.position = EqualizerBandPosition(look.position, window->eq_interval, static_cast<int32_t>(band));
      AddBand("eqfactor" + std::to_string(band), look, band);
    }
  }
  Refresh();
  return skin;
}

void EqualizerWindowView::Refresh() {
  RefreshCommands();
  if (balance_) balance_->SetValue(actions_.Balance());
  if (surround_) surround_->SetValue(actions_.Equalizer().surround);
  const EqualizerBands& shown = EqualizerShownBands(actions_.Equalizer());
  for (size_t band = 0; band < bands_.size(); ++band)
    if (bands_[band]) bands_[band]->SetValue(shown.values[band]);
}

}  // namespace melorin
