// SPDX-License-Identifier: MIT
//
// EqualizerWindowView: the equalizer window: a switch, presets, balance, surround, the preamplifier and ten
// bands. All of it is heard while it is being moved.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "doc/settings.h"
#include "ui/slider_control.h"
#include "ui/tool_window_view.h"

namespace melorin {

/// What the sliders show and do. Each may be called again and again while a slider is dragged. Thread: the UI
/// thread.
class EqualizerActions {
 public:
  virtual const EqualizerSettings& Equalizer() const = 0;
  virtual int32_t Balance() const = 0;  ///< -100 to 100.
  /// Of EqualizerBands; dB.
  virtual void MoveBand(size_t band, int32_t db) = 0;
  virtual void SetBalance(int32_t balance) = 0;
  virtual void SetSurround(int32_t level) = 0;  ///< 0 to 100.

 protected:
  ~EqualizerActions() = default;
};

/// "+3 db", "0 db", "-12 db".
std::u16string EqualizerLevelText(int32_t db);
/// "居中", "左 30%".
std::u16string BalanceText(int32_t balance);

/// Thread: the UI thread.
class EqualizerWindowView final : public ToolWindowView {
 public:
  /// Both must outlive the view.
  EqualizerWindowView(WindowServices& services, EqualizerActions& actions);

  /// The settings are other ones.
  void Refresh();

 private:
  LoadedSkin* Build(SkinWardrobe& wardrobe, Frame* frame) override;
  SliderControl* AddSlider(const std::string& element, const SkinSlider& look, const SliderRange& range,
                           std::u16string name);
  SliderControl* AddBand(const std::string& element, const SkinSlider& look, size_t band);

  EqualizerActions& actions_;
  SliderControl* balance_ = nullptr;
  SliderControl* surround_ = nullptr;
  /// As in EqualizerBands; null: the skin does not have it.
  std::array<SliderControl*, EqualizerBands::kBands + 1> bands_ = {};
};

}  // namespace melorin
