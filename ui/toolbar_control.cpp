// SPDX-License-Identifier: MIT
#include "ui/toolbar_control.h"

#include <utility>

#include "doc/keys.h"
#include "skin/bitmap_draw.h"
#include "skin/skin_layout.h"

namespace melorin {
namespace {

struct Button {
  const char16_t* name;
  const char16_t* tip;
};
/// As the artwork has them, and in the order of the menus from kListAdd on.
constexpr Button kButtons[] = {
    {u"添加", u"添加文件、文件夹或列表"},
    {u"删除", u"从列表中移除歌曲"},
    {u"列表", u"新建、打开、保存或切换列表"},
    {u"排序", u"给列表排序"},
    {u"查找", u"在列表中查找"},
    {u"编辑", u"撤消、剪切、复制、粘贴和选择"},
    {u"模式", u"播放模式"},
};
static_assert(std::size(kButtons) == kToolbarButtons);

constexpr uint32_t kFocusPixel = 0xFF3C7FB1;

void OutlineButton(const PaintContext& context, const SkinRect& place) {
  const SkinRect area = ScaledPosition(place, context.scale);
  const int32_t line = context.scale;
  FillArea(context.target, {area.left, area.top, area.right, area.top + line}, kFocusPixel);
  FillArea(context.target, {area.left, area.bottom - line, area.right, area.bottom}, kFocusPixel);
  FillArea(context.target, {area.left, area.top, area.left + line, area.bottom}, kFocusPixel);
  FillArea(context.target, {area.right - line, area.top, area.right, area.bottom}, kFocusPixel);
}

}  // namespace

ToolbarControl::ToolbarControl(WindowServices& services, const SkinToolbar& look)
    : services_(services), look_(look) {
  SetName(u"工具栏");
}

std::optional<size_t> ToolbarControl::ButtonAt(int32_t x, int32_t y) const {
  const int32_t button = ToolbarButtonAt(Place(), x, y);
  return button < 0 ? std::nullopt : std::optional(static_cast<size_t>(button));
}

void ToolbarControl::Paint(const PaintContext& context) {
  const bool marks_focus = IsFocused() && !pressed_ && !open_;
  const std::optional<size_t> down = open_ ? open_ : down_;
  const std::optional<size_t> hot = down ? down : pressed_ ? std::nullopt : hovered_;
  context.painter.PaintToolbar(Place(), look_.image, hot ? static_cast<int32_t>(*hot) : -1,
                               down ? ControlState::kPressed : ControlState::kHover);
  if (marks_focus) OutlineButton(context, PartPlace(focus_));
}

void ToolbarControl::Hold(std::optional<size_t>& held, std::optional<size_t> button) {
  if (held == button) return;
  held = button;
  Repaint();
}

// ---- the mouse

void ToolbarControl::OnPress(const Pointer& pointer) {
  pressed_ = ButtonAt(pointer.x, pointer.y);
  Hold(down_, pressed_);
}

void ToolbarControl::OnDrag(const Pointer& pointer) {
  const bool over = pressed_ && ButtonAt(pointer.x, pointer.y) == pressed_;
  Hold(down_, over ? pressed_ : std::nullopt);
}

void ToolbarControl::OnRelease(const Pointer& pointer) {
  OnDrag(pointer);
  const std::optional<size_t> button = down_;
  OnCancel();
  hovered_ = ButtonAt(pointer.x, pointer.y);
  if (button) OpenMenu(*button);
}

void ToolbarControl::OnCancel() {
  pressed_ = down_ = std::nullopt;
  Repaint();
}

void ToolbarControl::OnHover(const Pointer& pointer) {
  Hold(hovered_, ButtonAt(pointer.x, pointer.y));
}

void ToolbarControl::OnLeave() {
  Hold(hovered_, std::nullopt);
}

std::u16string ToolbarControl::TipAt(int32_t x, int32_t y) const {
  const std::optional<size_t> button = ButtonAt(x, y);
  return button && !open_ ? kButtons[*button].tip : std::u16string();
}

void ToolbarControl::OpenMenu(size_t button) {
  const std::weak_ptr<bool> life = life_;
  open_ = button;
  Repaint();
  const auto kind = static_cast<MenuKind>(static_cast<int>(MenuKind::kListAdd) + static_cast<int>(button));
  const SkinRect place = PartPlace(button);
  services_.ShowMenu(kind, SkinWindow::kPlaylist, place.left, place.bottom);
  if (life.expired()) return;
  // The mouse is somewhere else by now.
  open_ = hovered_ = std::nullopt;
  Repaint();
}

// ---- the keyboard

void ToolbarControl::StepFocus(size_t button) {
  if (button == focus_) return;
  focus_ = button;
  Repaint();
  ValueChanged();
}

bool ToolbarControl::OnKey(const KeyPress& key) {
  if (key.ctrl || key.alt || key.shift) return false;
  switch (key.key) {
    case kKeyLeft:
      StepFocus((focus_ + PartCount() - 1) % PartCount());
      return true;
    case kKeyRight:
      StepFocus((focus_ + 1) % PartCount());
      return true;
    case kKeyHome:
      StepFocus(0);
      return true;
    case kKeyEnd:
      StepFocus(PartCount() - 1);
      return true;
    case kKeySpace:
    case kKeyReturn:
    case kKeyDown:
    case kKeyApps:
      OpenMenu(focus_);
      return true;
    default:
      return false;
  }
}

// ---- screen readers

size_t ToolbarControl::PartCount() const {
  return std::size(kButtons);
}

std::u16string ToolbarControl::PartName(size_t part) const {
  return part < PartCount() ? kButtons[part].name : std::u16string();
}

SkinRect ToolbarControl::PartPlace(size_t part) const {
  return part < PartCount() ? ToolbarButtonPosition(Place(), static_cast<int32_t>(part)) : SkinRect{};
}

void ToolbarControl::DoPart(size_t part) {
  if (part < PartCount()) OpenMenu(part);
}

}  // namespace melorin
