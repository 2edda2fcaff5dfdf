// SPDX-License-Identifier: MIT
#include "ui/tool_window_view.h"

#include <utility>

#include "platform/text.h"
#include "ui/text_control.h"

namespace melorin {
namespace {

/// A caption that is a picture. The window is moved by it.
class TitleImage final : public Control {
 public:
  explicit TitleImage(const SkinTitle& look) : look_(look) {}

  void Paint(const PaintContext& context) override {
    context.painter.PaintImage(Place(), look_.image, look_.text.align);
  }
  bool TakesPointAt(int32_t, int32_t) const override { return false; }
  ControlRole Role() const override { return ControlRole::kGraphic; }

 private:
  const SkinTitle look_;
};

}  // namespace

void ToolWindowView::BuildTools(const SkinToolWindow& window, std::u16string_view caption, Frame* frame) {
  buttons_.clear();
  *frame = {window.image, window.resize_rect, window.resize_tile != 0, window.position};
  if (window.title) {
    const SkinTitle& title = *window.title;
    constexpr int32_t kAlign = kAlignCentre | kAlignTop;
    if (title.image.empty()) {
      auto text = std::make_unique<TextControl>(title.text);
      text->SetText(GbkFromUtf16(caption));
      Add("title", std::move(text), title.text.position, kAlign)->SetName(std::u16string(caption));
    } else {
      Add("title", std::make_unique<TitleImage>(title), title.text.position, kAlign)
          ->SetName(std::u16string(caption));
    }
  }
  if (ButtonControl* close = AddButton("close", window.close, toggle_)) {
    close->SetName(u"关闭");
    close->SetTip(u"关闭");
  }
}

ButtonControl* ToolWindowView::AddButton(std::string_view element, const std::optional<SkinButton>& look,
                                         CommandId command, bool is_switch) {
  if (!look) return nullptr;
  auto button = std::make_unique<ButtonControl>(services_, *look, command);
  button->SetSwitch(is_switch);
  buttons_.push_back(button.get());
  return Add(element, std::move(button), look->position, look->align);
}

ButtonControl* ToolWindowView::AddButton(std::string_view element, const std::optional<SkinButton>& look,
                                         std::u16string_view name, std::function<void()> press) {
  if (!look) return nullptr;
  auto button = std::make_unique<ButtonControl>(*look, std::move(press));
  button->SetName(std::u16string(name));
  buttons_.push_back(button.get());
  return Add(element, std::move(button), look->position, look->align);
}

void ToolWindowView::RefreshCommands() {
  for (ButtonControl* button : buttons_)
    button->Refresh();
}

}  // namespace melorin
