// SPDX-License-Identifier: MIT
#include "ui/list_info_bar.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"

namespace melorin {
namespace {

constexpr int32_t kMargin = 8;
constexpr int32_t kFieldMargin = 4;
constexpr int32_t kLeastField = 60;
/// Without the result the field is wider than with it; it must not jump with every letter.
constexpr int32_t kResultEms = 7;
constexpr int32_t kLabelEms = 2;

}  // namespace

void ListInfoBar::SetLook(const ListLook& look) {
  look_ = look;
  find_label_gbk_ = GbkFromUtf16(u"查找");
  Repaint();
}

void ListInfoBar::SetInfo(std::string text_gbk) {
  if (text_gbk == info_gbk_) return;
  info_gbk_ = std::move(text_gbk);
  if (find_open_) return;
  Repaint();
  ValueChanged();
}

void ListInfoBar::SetFindOpen(bool open) {
  if (open == find_open_) return;
  find_open_ = open;
  find_result_gbk_.clear();
  Repaint();
  ValueChanged();
}

void ListInfoBar::SetFindResult(std::string text_gbk) {
  if (text_gbk == find_result_gbk_) return;
  find_result_gbk_ = std::move(text_gbk);
  Repaint();
  ValueChanged();
}

SkinRect ListInfoBar::FieldPlace() const {
  const SkinRect& place = Place();
  const int32_t left = place.left + kMargin + kLabelEms * look_.font_pixels + kMargin;
  const int32_t right = place.right - kMargin - kResultEms * look_.font_pixels;
  return {left, place.top + kFieldMargin,
          std::min(std::max(right, left + kLeastField), place.right - kMargin),
          place.bottom - kFieldMargin + 1};
}

SkinRect ListInfoBar::EditPlace() const {
  if (!find_open_) return {};
  const SkinRect field = FieldPlace();
  const int32_t height = std::min(look_.font_pixels + 4, field.Height() - 2);
  const int32_t top = (field.top + field.bottom - height) / 2;
  return {field.left + kFieldMargin, top, field.right - kFieldMargin, top + height};
}

void ListInfoBar::Paint(const PaintContext& context) {
  const SkinRect& place = Place();
  FillList(context, place, look_.background);
  FillList(context, {place.left, place.top, place.right, place.top + 1}, place, look_.Line());
  const SkinRect text = {place.left + kMargin, place.top + 1, place.right - kMargin, place.bottom};
  if (!find_open_) {
    DrawListText(context, text, info_gbk_, look_, look_.number, kAlignLeft | kAlignVCentre);
    return;
  }
  DrawListText(context, text, find_label_gbk_, look_, look_.number, kAlignLeft | kAlignVCentre);
  const SkinRect field = FieldPlace();
  FillList(context, field, place, look_.background);
  OutlineList(context, field, place, look_.hilight);
  DrawListText(context, {field.right + kMargin, text.top, text.right, text.bottom}, find_result_gbk_, look_,
               look_.number, kAlignLeft | kAlignVCentre);
}

std::u16string ListInfoBar::Value() const {
  return Utf16FromGbk(find_open_ ? find_result_gbk_ : info_gbk_);
}

}  // namespace melorin
