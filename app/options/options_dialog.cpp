// SPDX-License-Identifier: MIT
#include "app/options/options_dialog.h"

#include "app/options/choosers.h"
#include "app/options/options_frame.h"

namespace melorin {

OptionsDialog::OptionsDialog(OptionsHost& host, Choosers* choosers)
    : host_(host), choosers_(choosers ? choosers : &SystemChoosers()) {}

OptionsDialog::~OptionsDialog() = default;

bool OptionsDialog::Show(HWND owner, std::optional<OptionsPageId> page) {
  if (!IsOpen()) frame_ = std::make_unique<OptionsFrame>(owner, host_, *choosers_);
  if (!IsOpen()) return false;
  frame_->Show(page.value_or(static_cast<OptionsPageId>(host_.Values().history.last_active_page)));
  return true;
}

bool OptionsDialog::IsOpen() const {
  return Window() != nullptr;
}

void OptionsDialog::Close() {
  frame_.reset();
}

HWND OptionsDialog::Window() const {
  return frame_ ? frame_->Window() : nullptr;
}

bool OptionsDialog::TakesMessage(MSG& message) {
  return frame_ && frame_->TakesMessage(message);
}

void OptionsDialog::Refresh() {
  if (frame_) frame_->Refresh();
}

}  // namespace melorin
