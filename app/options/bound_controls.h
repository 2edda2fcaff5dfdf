// SPDX-License-Identifier: MIT
//
// Controls that show one setting and write what the user makes of it back at once. PageWindow makes the
// windows, places them and brings their notifications here. Thread: the UI thread.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "app/options/binding.h"
#include "app/options/choosers.h"

namespace melorin {

class BoundControl {
 public:
  virtual ~BoundControl() = default;
  virtual SettingsPart Part() const = 0;
  /// From the setting to the windows.
  virtual void Show(Settings& values) = 0;
  /// A notification of one of the windows. True when the setting is another now.
  virtual bool OnCommand(HWND from, UINT code, Settings& values) = 0;
  virtual void Reset(Settings& values, Settings& defaults) = 0;
  /// Of an owner-drawn window.
  virtual void OnDraw(const DRAWITEMSTRUCT&) {}
};

template <class T>
class BoundValue : public BoundControl {
 public:
  explicit BoundValue(Binding<T> binding) : binding_(std::move(binding)) {}
  SettingsPart Part() const override { return binding_.part; }
  void Reset(Settings& values, Settings& defaults) override { Field(values) = Field(defaults); }

 protected:
  T& Field(Settings& values) const { return binding_.field(values); }
  /// True when that was a change.
  bool Set(Settings& values, const T& value) const {
    T& field = Field(values);
    if (field == value) return false;
    field = value;
    return true;
  }

 private:
  Binding<T> binding_;
};

/// A check box for a flag, or for one bit of a sum.
class BoundCheckBox final : public BoundValue<int32_t> {
 public:
  /// bit 0: the setting is a flag.
  BoundCheckBox(HWND box, Binding<int32_t> binding, int32_t bit)
      : BoundValue(std::move(binding)), box_(box), bit_(bit) {}
  void Show(Settings& values) override;
  bool OnCommand(HWND from, UINT code, Settings& values) override;
  void Reset(Settings& values, Settings& defaults) override;

 private:
  HWND box_;
  int32_t bit_;
};

struct NumberRange {
  int32_t least = 0;
  int32_t most = 100;
  int32_t step = 1;  ///< Of the arrows.
};

/// An edit field with arrows. What lies outside the range is not taken, and gone when the field is left.
class BoundNumber final : public BoundValue<int32_t> {
 public:
  BoundNumber(HWND edit, HWND arrows, Binding<int32_t> binding, const NumberRange& range);
  void Show(Settings& values) override;
  bool OnCommand(HWND from, UINT code, Settings& values) override;

 private:
  HWND edit_;
  HWND arrows_;
  NumberRange range_;
};

struct ChoiceItem {
  std::u16string text;
  int32_t value;
};

/// A drop-down list. A value that is none of the items is shown as a number.
class BoundChoice final : public BoundValue<int32_t> {
 public:
  BoundChoice(HWND combo, Binding<int32_t> binding, std::vector<ChoiceItem> items);
  void Show(Settings& values) override;
  bool OnCommand(HWND from, UINT code, Settings& values) override;

 private:
  HWND combo_;
  std::vector<ChoiceItem> items_;
  size_t own_items_;  ///< Behind them: a value found in the settings.
};

/// An edit field for a text, perhaps with a button that chooses a path.
class BoundText final : public BoundValue<std::string> {
 public:
  /// Asked for a path when the button is pressed; nothing leaves the text.
  using Browse = std::function<std::optional<std::string>(const std::string& now_gbk)>;
  BoundText(HWND edit, HWND button, Binding<std::string> binding, Browse browse);
  void Show(Settings& values) override;
  bool OnCommand(HWND from, UINT code, Settings& values) override;

 private:
  HWND edit_;
  HWND button_;
  Browse browse_;
};

/// A button in the colour.
class BoundColour final : public BoundValue<SettingsColour> {
 public:
  BoundColour(HWND button, Binding<SettingsColour> binding, Choosers& choosers);
  void Show(Settings& values) override;
  bool OnCommand(HWND from, UINT code, Settings& values) override;
  void OnDraw(const DRAWITEMSTRUCT& draw) override;

 private:
  HWND button_;
  Choosers& choosers_;
  SettingsColour shown_;
};

/// The font's name and a button.
class BoundFont final : public BoundValue<FontRecord> {
 public:
  BoundFont(HWND name, HWND button, Binding<FontRecord> binding, Choosers& choosers);
  void Show(Settings& values) override;
  bool OnCommand(HWND from, UINT code, Settings& values) override;

 private:
  HWND name_;
  HWND button_;
  Choosers& choosers_;
};

/// "微软雅黑, 12 磅, 粗体".
std::u16string DescribeFont(const FontRecord& font);

/// The text of a window.
std::u16string WindowText(HWND window);
/// Leaves a window alone that shows the text already: where the user writes, the caret stays.
void ShowText(HWND window, const std::u16string& text);

}  // namespace melorin
