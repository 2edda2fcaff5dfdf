// SPDX-License-Identifier: MIT
//
// What tests of windows share: a view with two controls, in a skin that the test paints, and messages.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "skin/bitmap_draw.h"
#include "skin/loaded_skin.h"
#include "ui/window_view.h"

namespace melorin {

/// Notes what happens to it.
class TestControl : public Control {
 public:
  explicit TestControl(ControlRole role) : role_(role) {}
  void Paint(const PaintContext& context) override {
    const int32_t scale = context.scale;
    FillArea(context.target,
             {Place().left * scale, Place().top * scale, Place().right * scale, Place().bottom * scale},
             colour);
  }
  void OnPress(const Pointer& at) override { Note("press", at); }
  void OnDrag(const Pointer& at) override { Note("drag", at); }
  void OnRelease(const Pointer& at) override { Note("release", at); }
  void OnCancel() override { events.push_back("cancel"); }
  void OnHover(const Pointer& at) override { Note("hover", at); }
  void OnLeave() override { events.push_back("leave"); }
  void OnDoubleClick(const Pointer& at) override { Note("double", at); }
  bool OnWheel(const Pointer&, int32_t notches) override {
    events.push_back("wheel " + std::to_string(notches));
    return true;
  }
  bool TakesFocus() const override { return true; }
  bool OnKey(const KeyPress& key) override {
    if (key.key != taken_key) return false;
    events.push_back("key " + std::to_string(key.key));
    return true;
  }
  bool OnCharacter(char16_t character) override {
    events.push_back("char " + std::to_string(character));
    return true;
  }
  ControlRole Role() const override { return role_; }
  std::u16string Value() const override { return value; }
  bool IsPressed() const override { return pressed; }
  void DoDefault() override { events.push_back("default"); }
  size_t PartCount() const override { return parts.size(); }
  std::u16string PartName(size_t part) const override { return parts[part]; }
  SkinRect PartPlace(size_t part) const override {
    const auto top = Place().top + static_cast<int32_t>(part) * 10;
    return {Place().left, top, Place().right, top + 10};
  }
  bool IsPartSelected(size_t part) const override { return part == selected; }
  void DoPart(size_t part) override { events.push_back("part " + std::to_string(part)); }
  uint32_t TickMs() const override { return tick_ms; }
  void OnTick(uint32_t) override { ++ticks; }

  using Control::Repaint;
  using Control::TickChanged;
  using Control::ValueChanged;

  std::vector<std::string> TakeEvents() { return std::exchange(events, {}); }

  uint32_t colour = 0xFF2060C0;
  uint16_t taken_key = 0;
  uint32_t tick_ms = 0;
  int ticks = 0;
  size_t selected = 0;
  bool pressed = false;
  std::u16string value;
  std::vector<std::u16string> parts;
  std::vector<std::string> events;

 private:
  void Note(const char* what, const Pointer& at) {
    events.push_back(std::string(what) + ' ' + std::to_string(at.x) + ',' + std::to_string(at.y));
  }

  const ControlRole role_;
};

/// A window of the built-in skin with a button and a list or slider of the test's own.
class TestView : public WindowView {
 public:
  using WindowView::WindowView;
  TestControl* button = nullptr;
  TestControl* other = nullptr;
  ControlRole other_role = ControlRole::kSlider;
  static constexpr SkinRect kButton = {20, 20, 60, 40};
  static constexpr SkinRect kOther = {80, 20, 160, 60};

 protected:
  LoadedSkin* Build(SkinWardrobe& wardrobe, Frame* frame) override {
    const auto take = [&](const auto& found) {
      if (!found.first) return;
      skin_ = found.second;
      frame->image_gbk = found.first->image;
      if constexpr (requires { found.first->position; }) {
        frame->position = found.first->position;
        frame->resize_rect = found.first->resize_rect;
        frame->tile = found.first->resize_tile;
      }
    };
    switch (Kind()) {
      case SkinWindow::kPlayer:
        take(wardrobe.Find(&SkinDescription::player_window));
        break;
      case SkinWindow::kMini:
        take(wardrobe.Find(&SkinDescription::mini_window));
        break;
      case SkinWindow::kLyric:
        take(wardrobe.Find(&SkinDescription::lyric_window));
        break;
      case SkinWindow::kEqualizer:
        take(wardrobe.Find(&SkinDescription::equalizer_window));
        break;
      case SkinWindow::kPlaylist:
        take(wardrobe.Find(&SkinDescription::playlist_window));
        break;
    }
    button = Add("button", std::make_unique<TestControl>(ControlRole::kButton), kButton);
    button->SetName(u"播放");
    other = Add("other", std::make_unique<TestControl>(other_role), kOther);
    other->SetName(u"音量");
    return skin_;
  }

 private:
  LoadedSkin* skin_ = nullptr;
};

/// On a display without a window manager Wine waits two seconds for one at every window that it hides. Takes
/// effect in programs that have made no window yet.
inline bool TellWineThatNobodyManagesWindows() {
  if (!GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version")) return false;
  const wchar_t value[] = L"N";
  return RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Wine\\AppDefaults\\test_app.exe\\X11 Driver",
                         L"Managed", REG_SZ, value, sizeof(value)) == ERROR_SUCCESS;
}
inline const bool kNobodyManagesWindows = TellWineThatNobodyManagesWindows();

/// Lets the messages through that have come, for a while if asked to.
inline void PumpFor(DWORD ms = 0) {
  const DWORD start = GetTickCount();
  do {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    if (ms) MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
  } while (GetTickCount() - start < ms);
}

/// Until the condition holds or two seconds are over; what it holds then.
template <class Condition>
bool PumpUntil(Condition condition) {
  for (int i = 0; i < 200 && !condition(); ++i)
    PumpFor(10);
  return condition();
}

}  // namespace melorin
