// SPDX-License-Identifier: MIT
//
// ToolWindowView: what the playlist, lyric and equalizer windows share: a caption, a button that closes them,
// and other buttons.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ui/button_control.h"
#include "ui/window_services.h"
#include "ui/window_view.h"

namespace melorin {

/// Thread: the UI thread.
class ToolWindowView : public WindowView {
 public:
  /// `toggle`: the command that shows and hides the window. `services` must outlive the view.
  ToolWindowView(SkinWindow kind, WindowServices& services, CommandId toggle)
      : WindowView(kind), services_(services), toggle_(toggle) {}

  /// What commands can be used and are checked may have changed.
  void RefreshCommands();

 protected:
  WindowServices& Services() { return services_; }

  /// The frame, the caption, and the button that closes the window. To be called first in Build: controls
  /// that were added before are forgotten.
  void BuildTools(const SkinToolWindow& window, std::u16string_view caption, Frame* frame);
  /// Null when the skin does not have it.
  ButtonControl* AddButton(std::string_view element, const std::optional<SkinButton>& look, CommandId command,
                           bool is_switch = false);
  ButtonControl* AddButton(std::string_view element, const std::optional<SkinButton>& look,
                           std::u16string_view name, std::function<void()> press);

 private:
  WindowServices& services_;
  const CommandId toggle_;
  std::vector<ButtonControl*> buttons_;
};

}  // namespace melorin
