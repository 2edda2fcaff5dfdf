// SPDX-License-Identifier: MIT
//
// VisualControl: the effect that moves with the music: bars of a spectrum, an oscilloscope, or one with an
// afterglow.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "doc/settings.h"
#include "ui/control.h"
#include "ui/window_services.h"
#include "visual/light_trail.h"
#include "visual/scope_trace.h"
#include "visual/spectrum_bars.h"
#include "visual/visual_frame.h"

namespace melorin {

/// Colours, the width of bars and the frame rate are the settings'. Costs nothing while it is not active and
/// what was to be seen has faded. Frames allocate nothing.
class VisualControl final : public Control {
 public:
  /// `window`: where the control is, for its menu. All must outlive the control.
  VisualControl(VisualSource& source, WindowServices& services, SkinWindow window);

  void SetSettings(const VisualSettings& settings);
  /// Whether music is heard. What is shown falls or fades by itself when it stops.
  void SetActive(bool playing);

  void Paint(const PaintContext& context) override;
  void OnPress(const Pointer&) override {}
  void OnRelease(const Pointer& pointer) override;
  bool OnContextMenu(const Pointer& pointer) override;
  std::u16string TipAt(int32_t, int32_t) const override;
  ControlRole Role() const override { return ControlRole::kGraphic; }
  std::u16string Value() const override;
  void DoDefault() override;
  uint32_t TickMs() const override;
  void OnTick(uint32_t now_ms) override;

 private:
  enum class Effect { kNone, kSpectrum, kScope, kBlurredScope };

  Effect Shown() const;
  bool HasTrail() const { return Shown() == Effect::kBlurredScope && settings_.blur != 0; }
  /// Nothing moves without music.
  bool IsAtRest() const;
  void OnPlaced() override { LayOut(); }
  void LayOut();
  void PrepareColumn(int32_t height);
  void PaintBars(const PaintContext& context, const SkinRect& area);
  void PaintTrace(Bitmap& target, const SkinRect& area) const;
  void PaintTrail(Bitmap& target, const SkinRect& area) const;
  void LightTrace();

  VisualSource& source_;
  WindowServices& services_;
  const SkinWindow window_;
  VisualSettings settings_;
  bool active_ = false;
  std::optional<uint32_t> ticked_ms_;  ///< Nothing: it has been at rest.
  VisualFrame frame_;

  int32_t scale_ = 1;      ///< What the parts below are laid out for.
  int32_t bar_width_ = 1;  ///< 1x.
  SpectrumBars bars_;
  ScopeTrace trace_;
  LightTrail trail_;
  std::vector<uint32_t> column_;  ///< The pixels of a full bar, from the top down.
};

}  // namespace melorin
