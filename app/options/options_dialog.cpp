// SPDX-License-Identifier: MIT
#include "app/options/options_dialog.h"

#include "app/options/counted_choosers.h"
#include "app/options/options_frame.h"

namespace melorin {

OptionsDialog::OptionsDialog(OptionsHost& host, Choosers* choosers)
    : host_(host),
      choosers_(std::make_unique<CountedChoosers>(choosers ? *choosers : SystemChoosers())),
      ticket_(std::make_shared<int>()) {}

OptionsDialog::~OptionsDialog() = default;

bool OptionsDialog::Show(HWND owner, std::optional<OptionsPageId> page) {
  if (!IsOpen()) {
    if (choosers_->IsAsking()) return false;
    // Its pages are not to be destroyed by a message that they handle.
    frame_ = std::make_unique<OptionsFrame>(owner, host_, *choosers_, [this] {
      host_.PostTask([this, ticket = std::weak_ptr<int>(ticket_)] {
        if (!ticket.expired()) DropClosed();
      });
    });
  }
  if (!IsOpen()) return false;
  frame_->Show(page.value_or(static_cast<OptionsPageId>(host_.Values().history.last_active_page)));
  return true;
}

bool OptionsDialog::IsOpen() const {
  return Window() != nullptr;
}

void OptionsDialog::Close() {
  if (frame_ && frame_->Window()) DestroyWindow(frame_->Window());
  DropClosed();
}

void OptionsDialog::DropClosed() {
  if (!IsOpen() && !choosers_->IsAsking()) frame_.reset();
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
