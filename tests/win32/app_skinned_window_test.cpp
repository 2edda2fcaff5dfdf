// SPDX-License-Identifier: MIT
//
// The platform's windows over views: what of the system's messages reaches the view, shape, timers, handles.
#include "app/skinned_window.h"

#include <gtest/gtest.h>

#include <shlobj.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/component_runtime.h"
#include "app/gdi.h"
#include "app_test_windows.h"
#include "doc/keys.h"

namespace melorin {
namespace {

using Events = std::vector<std::string>;

class TestHost : public SkinnedWindowHost {
 public:
  bool OnHotKey(const KeyPress& key) override {
    events.push_back("hot key " + std::to_string(key.key));
    if (key.key == quit_key) PostQuitMessage(7);
    return key.key == hot_key;
  }
  bool OnMediaCommand(int command) override {
    events.push_back("media " + std::to_string(command));
    return true;
  }
  void OnFilesDropped(SkinWindow, int32_t x, int32_t y, std::vector<std::u16string> paths) override {
    events.push_back("drop " + std::to_string(x) + ',' + std::to_string(y));
    dropped = std::move(paths);
  }
  void OnContextMenu(SkinWindow, POINT screen) override {
    events.push_back("menu " + std::to_string(screen.x) + ',' + std::to_string(screen.y));
  }
  void OnCloseWanted(SkinWindow) override { events.push_back("close"); }
  void OnMinimizeWanted(SkinWindow) override { events.push_back("minimize"); }
  void OnMinimized(SkinWindow, bool minimized) override {
    events.push_back(minimized ? "minimized" : "restored");
  }
  void OnActivated(SkinWindow) override {}
  void OnProgramActivated(bool) override {}
  void OnDpiChanged(SkinWindow, int dpi) override { events.push_back("dpi " + std::to_string(dpi)); }
  void OnScreensChanged(SkinWindow) override {}
  void OnEnabled(SkinWindow, bool) override {}
  void OnDragStart(SkinWindow, WindowPart) override { events.push_back("drag"); }
  void OnDragTo(SkinWindow, WindowPart part, const SkinRect& wanted) override {
    if (part == WindowPart::kCaption) {
      window->MoveTo(wanted.left, wanted.top);
    } else {
      window->SetPlace(wanted, part);
    }
  }
  void OnDragEnd(SkinWindow) override { events.push_back("dropped"); }
  void OnPlaced(SkinWindow) override {}

  Events TakeEvents() { return std::exchange(events, {}); }

  SkinnedWindow* window = nullptr;
  uint16_t hot_key = 0;
  uint16_t quit_key = 0;
  Events events;
  std::vector<std::u16string> dropped;
};

class AppSkinnedWindow : public ::testing::Test {
 protected:
  explicit AppSkinnedWindow(SkinWindow kind = SkinWindow::kPlaylist) : view_(kind), window_(view_, host_) {
    wardrobe_.Wear({}, 1);
    view_.Wear(wardrobe_, nullptr);
    host_.window = &window_;
    EXPECT_TRUE(window_.Create(GetModuleHandleW(nullptr), nullptr, {L"TestWnd", L"测试", false}));
    window_.MoveTo(100, 80);
  }
  void Show() {
    // Without activation: hiding a window that was active takes seconds where no window manager runs.
    window_.Show(false, SkinnedWindow::Activation::kLeave);
    PumpFor();
    // Wherever the display's mouse is, it is not part of the test.
    view_.button->events.clear();
    view_.other->events.clear();
  }
  LRESULT Send(UINT message, WPARAM wparam, int x, int y) {
    return SendMessageW(window_.Handle(), message, wparam, MAKELPARAM(x, y));
  }
  void Wear(int32_t scale) {
    wardrobe_.Wear({}, scale);
    view_.Wear(wardrobe_, nullptr);
    window_.OnSkinChanged();
  }

  SkinWardrobe wardrobe_;
  TestHost host_;
  TestView view_;
  SkinnedWindow window_;
};

TEST_F(AppSkinnedWindow, MouseReachesControlsWhileItIsHeld) {
  Show();
  TestControl& button = *view_.button;
  Send(WM_LBUTTONDOWN, MK_LBUTTON, 30, 25);
  EXPECT_EQ(GetCapture(), window_.Handle());
  Send(WM_MOUSEMOVE, MK_LBUTTON, -3, 500);
  Send(WM_LBUTTONUP, 0, 31, 26);
  EXPECT_EQ(GetCapture(), nullptr);
  EXPECT_EQ(button.TakeEvents(), (Events{"press 30,25", "drag -3,500", "release 31,26"}));

  Send(WM_LBUTTONDBLCLK, MK_LBUTTON, 30, 25);
  Send(WM_LBUTTONUP, 0, 30, 25);
  EXPECT_EQ(button.TakeEvents(), (Events{"double 30,25", "release 30,25"}));

  // Taken away by somebody else.
  Send(WM_LBUTTONDOWN, MK_LBUTTON, 30, 25);
  SetCapture(nullptr);
  EXPECT_EQ(button.TakeEvents(), (Events{"press 30,25", "cancel"}));
  Send(WM_LBUTTONUP, 0, 30, 25);
  EXPECT_EQ(button.TakeEvents(), Events{});

  // Notches come whole, whatever the wheel's steps.
  const LPARAM over_button = MAKELPARAM(100 + 30, 80 + 25);
  for (const int delta : {50, 50, 50, -100, -200})
    SendMessageW(window_.Handle(), WM_MOUSEWHEEL, MAKEWPARAM(0, delta), over_button);
  EXPECT_EQ(button.TakeEvents(), (Events{"wheel 1", "wheel -2"}));

  // At twice the scale a control's pixel is four of the screen's.
  Wear(2);
  Send(WM_LBUTTONDOWN, MK_LBUTTON, 61, 51);
  Send(WM_MOUSEMOVE, MK_LBUTTON, -1, 0);
  Send(WM_LBUTTONUP, 0, 60, 50);
  EXPECT_EQ(view_.button->TakeEvents(), (Events{"press 30,25", "drag -1,0", "release 30,25"}));
}

TEST_F(AppSkinnedWindow, CaptionMovesAndEdgesResize) {
  Show();
  const SkinRect start = window_.Place();
  Send(WM_LBUTTONDOWN, MK_LBUTTON, 200, 10);
  // Points are seen from the window, which has moved under the mouse by the second.
  Send(WM_MOUSEMOVE, MK_LBUTTON, 230, 30);
  EXPECT_EQ(window_.Place().left, start.left + 30);
  Send(WM_MOUSEMOVE, MK_LBUTTON, 205, 10);
  EXPECT_EQ(window_.Place(),
            (SkinRect{start.left + 35, start.top + 20, start.right + 35, start.bottom + 20}));
  Send(WM_LBUTTONUP, 0, 205, 10);
  EXPECT_EQ(host_.TakeEvents(), (Events{"drag", "dropped"}));

  // The least size ends it, and the far edge stays where it is.
  const SkinRect before = window_.Place();
  Send(WM_LBUTTONDOWN, MK_LBUTTON, 1, before.Height() / 2);
  Send(WM_MOUSEMOVE, MK_LBUTTON, -39, before.Height() / 2);
  EXPECT_EQ(window_.Place().Width(), before.Width() + 40);
  Send(WM_MOUSEMOVE, MK_LBUTTON, 3000, before.Height() / 2);
  EXPECT_EQ(window_.Place().right, before.right);
  EXPECT_EQ(window_.Place().Width(), view_.LeastWidth());
  // Escape takes it all back.
  SendMessageW(window_.Handle(), WM_KEYDOWN, VK_ESCAPE, 0);
  EXPECT_EQ(window_.Place(), before);
  EXPECT_EQ(GetCapture(), nullptr);
}

TEST_F(AppSkinnedWindow, KeysGoToTheViewThenToCommandsThenBecomeCharacters) {
  Show();
  view_.Focus(view_.button, true);
  view_.button->taken_key = 'Q';
  host_.hot_key = 'C';
  const auto type = [&](WPARAM key) {
    PostMessageW(window_.Handle(), WM_KEYDOWN, key, 1);
    PumpFor();
  };
  type('Q');
  EXPECT_EQ(view_.button->TakeEvents(), (Events{"key 81", "char 113"}));
  EXPECT_EQ(host_.TakeEvents(), Events{});
  type('C');
  EXPECT_EQ(view_.button->TakeEvents(), Events{});
  EXPECT_EQ(host_.TakeEvents(), Events{"hot key 67"});
  type('X');
  EXPECT_EQ(view_.button->TakeEvents(), Events{"char 120"});
  EXPECT_EQ(host_.TakeEvents(), Events{"hot key 88"});
  EXPECT_EQ(SendMessageW(window_.Handle(), WM_APPCOMMAND, 0, MAKELPARAM(0, APPCOMMAND_MEDIA_STOP)), TRUE);
  SendMessageW(window_.Handle(), WM_CLOSE, 0, 0);
  EXPECT_EQ(host_.TakeEvents(), (Events{"media 13", "close"}));
  // The menu of the keyboard opens at the control that has it.
  SendMessageW(window_.Handle(), WM_CONTEXTMENU, 0, -1);
  EXPECT_EQ(host_.TakeEvents(), Events{"menu 140,110"});
}

TEST_F(AppSkinnedWindow, ProgramThatEndsWithinACommandEnds) {
  Show();
  // As a command does whose dialog is open when the program is told to end.
  host_.quit_key = host_.hot_key = 'C';
  SendMessageW(window_.Handle(), WM_KEYDOWN, 'C', 1);
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 7u);
}

TEST_F(AppSkinnedWindow, FilesAreDroppedAtAPoint) {
  Wear(2);
  Show();
  constexpr wchar_t kPaths[] = L"C:\\曲\\甲.mp3\0C:\\乙.mp3\0";
  const HGLOBAL block = GlobalAlloc(GHND, sizeof(DROPFILES) + sizeof(kPaths));
  auto* files = static_cast<DROPFILES*>(GlobalLock(block));
  files->pFiles = sizeof(DROPFILES);
  files->pt = {61, 41};
  files->fWide = TRUE;
  std::copy(std::begin(kPaths), std::end(kPaths), reinterpret_cast<wchar_t*>(files + 1));
  GlobalUnlock(block);
  SendMessageW(window_.Handle(), WM_DROPFILES, reinterpret_cast<WPARAM>(block), 0);
  EXPECT_EQ(host_.TakeEvents(), Events{"drop 30,20"});
  EXPECT_EQ(host_.dropped, (std::vector<std::u16string>{u"C:\\曲\\甲.mp3", u"C:\\乙.mp3"}));
}

TEST_F(AppSkinnedWindow, ShapeIsTheSkins) {
  Show();
  const auto check = [&] {
    const GdiObject<HRGN> shape(CreateRectRgn(0, 0, 0, 0));
    const int kind = GetWindowRgn(window_.Handle(), shape.get());
    int wrong = 0;
    int outside = 0;
    const int height = view_.Height() * view_.Scale();
    for (int y = 0; y < height; y += y == 20 ? height - 40 : 1) {
      for (int x = 0; x < view_.Width() * view_.Scale(); ++x) {
        const bool wanted = view_.IsInShape(x, y);
        outside += !wanted;
        wrong += kind != ERROR && (PtInRegion(shape.get(), x, y) != 0) != wanted;
      }
    }
    EXPECT_EQ(wrong, 0);
    // No region where there are no holes.
    EXPECT_EQ(kind == ERROR, outside == 0);
    return outside;
  };
  EXPECT_GT(check(), 0);
  window_.SetPlace({100, 80, 700, 600});
  EXPECT_GT(check(), 0);
  Wear(2);
  check();
}

TEST_F(AppSkinnedWindow, ShowsWhatTheViewPaints) {
  Show();
  UpdateWindow(window_.Handle());
  const auto pixel = [&](int x, int y) {
    const HDC dc = GetDC(window_.Handle());
    const COLORREF colour = GetPixel(dc, x, y);
    ReleaseDC(window_.Handle(), dc);
    return colour;
  };
  EXPECT_EQ(pixel(30, 25), RGB(0x20, 0x60, 0xC0));
  const uint32_t behind = view_.Compose().Row(300)[200];
  EXPECT_EQ(pixel(200, 300), RGB(behind >> 16 & 255, behind >> 8 & 255, behind & 255));
  // Only what has changed is due.
  view_.button->colour = 0xFF40C010;
  view_.button->Repaint();
  RECT due;
  EXPECT_TRUE(GetUpdateRect(window_.Handle(), &due, FALSE));
  EXPECT_EQ((SkinRect{due.left, due.top, due.right, due.bottom}), TestView::kButton);
  UpdateWindow(window_.Handle());
  EXPECT_EQ(pixel(59, 39), RGB(0x40, 0xC0, 0x10));
}

TEST_F(AppSkinnedWindow, TimerRunsOnlyWhileThereIsSomethingToSee) {
  view_.button->tick_ms = 10;
  view_.button->TickChanged();
  const auto ticks = [&] {
    const int before = view_.button->ticks;
    PumpFor(60);
    return view_.button->ticks - before;
  };
  EXPECT_EQ(ticks(), 0);
  Show();
  EXPECT_GT(ticks(), 0);
  view_.button->tick_ms = 0;
  view_.button->TickChanged();
  EXPECT_EQ(ticks(), 0);
  view_.button->tick_ms = 10;
  view_.button->TickChanged();
  window_.Hide(true);
  EXPECT_EQ(ticks(), 0);
}

TEST_F(AppSkinnedWindow, FadesEndShownOrHidden) {
  const auto is_layered = [&] {
    return (GetWindowLongW(window_.Handle(), GWL_EXSTYLE) & WS_EX_LAYERED) != 0;
  };
  window_.Show(true, SkinnedWindow::Activation::kLeave);
  EXPECT_TRUE(IsWindowVisible(window_.Handle()));
  EXPECT_TRUE(is_layered());
  EXPECT_TRUE(PumpUntil([&] { return !is_layered(); }));
  window_.Hide(true);
  EXPECT_FALSE(window_.IsShown());
  EXPECT_TRUE(IsWindowVisible(window_.Handle()));
  // Shown again on the way out.
  PumpFor(40);
  window_.Show(true, SkinnedWindow::Activation::kLeave);
  EXPECT_TRUE(PumpUntil([&] { return !is_layered(); }));
  EXPECT_TRUE(IsWindowVisible(window_.Handle()));
  window_.Hide(true);
  EXPECT_TRUE(PumpUntil([&] { return !IsWindowVisible(window_.Handle()); }));
  window_.SetAlpha(128);
  window_.Show(false, SkinnedWindow::Activation::kLeave);
  EXPECT_TRUE(is_layered());
}

std::u16string TakeText(BSTR text) {
  std::u16string taken(AsChar16(text ? text : L""));
  SysFreeString(text);
  return taken;
}

VARIANT Number(LONG number) {
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = VT_I4;
  variant.lVal = number;
  return variant;
}

TEST_F(AppSkinnedWindow, ScreenReadersFindNamesRolesAndParts) {
  const ComponentRuntime runtime;
  view_.other_role = ControlRole::kList;
  Wear(2);
  view_.other->parts = {u"晨露", u"雨过河岸"};
  view_.other->selected = 1;
  view_.button->value = u"80%";
  Show();
  ComPtr<IAccessible> root;
  ASSERT_EQ(AccessibleObjectFromWindow(window_.Handle(), static_cast<DWORD>(OBJID_CLIENT), IID_IAccessible,
                                       root.ReceiveVoid()),
            S_OK);
  LONG count = 0;
  EXPECT_EQ(root->get_accChildCount(&count), S_OK);
  EXPECT_EQ(count, 2);
  const auto text = [](IAccessible& object, LONG child, auto get) {
    BSTR answer = nullptr;
    (object.*get)(Number(child), &answer);
    return TakeText(answer);
  };
  const auto number = [](IAccessible& object, LONG child, auto get) {
    VARIANT answer;
    VariantInit(&answer);
    EXPECT_EQ((object.*get)(Number(child), &answer), S_OK);
    return answer.lVal;
  };
  EXPECT_EQ(text(*root, CHILDID_SELF, &IAccessible::get_accName), u"测试");
  EXPECT_EQ(text(*root, 1, &IAccessible::get_accName), u"播放");
  EXPECT_EQ(text(*root, 1, &IAccessible::get_accValue), u"80%");
  EXPECT_EQ(number(*root, 1, &IAccessible::get_accRole), ROLE_SYSTEM_PUSHBUTTON);
  EXPECT_EQ(number(*root, 2, &IAccessible::get_accRole), ROLE_SYSTEM_LIST);
  view_.button->SetEnabled(false);
  EXPECT_EQ(number(*root, 1, &IAccessible::get_accState), STATE_SYSTEM_UNAVAILABLE | STATE_SYSTEM_FOCUSABLE);
  view_.button->SetEnabled(true);
  LONG left = 0, top = 0, width = 0, height = 0;
  EXPECT_EQ(root->accLocation(&left, &top, &width, &height, Number(1)), S_OK);
  EXPECT_EQ((SkinRect{left, top, width, height}), (SkinRect{140, 120, 80, 40}));

  // The list is an object with its entries below it.
  VARIANT hit;
  EXPECT_EQ(root->accHitTest(145, 125, &hit), S_OK);
  EXPECT_EQ(hit.lVal, 1);
  EXPECT_EQ(root->accHitTest(100 + 2 * 100, 80 + 2 * 35, &hit), S_OK);
  ASSERT_EQ(hit.vt, VT_DISPATCH);
  ComPtr<IAccessible> list;
  EXPECT_EQ(hit.pdispVal->QueryInterface(IID_IAccessible, list.ReceiveVoid()), S_OK);
  VariantClear(&hit);
  EXPECT_EQ(list->accHitTest(100 + 2 * 100, 80 + 2 * 35, &hit), S_OK);
  EXPECT_EQ(hit.lVal, 2);
  EXPECT_EQ(text(*list, 2, &IAccessible::get_accName), u"雨过河岸");
  EXPECT_EQ(number(*list, 2, &IAccessible::get_accRole), ROLE_SYSTEM_LISTITEM);
  EXPECT_EQ(number(*list, 2, &IAccessible::get_accState), STATE_SYSTEM_SELECTABLE | STATE_SYSTEM_SELECTED);
  EXPECT_EQ(list->accNavigate(NAVDIR_FIRSTCHILD, Number(CHILDID_SELF), &hit), S_OK);
  EXPECT_EQ(hit.lVal, 1);
  EXPECT_EQ(list->accNavigate(NAVDIR_NEXT, Number(2), &hit), S_FALSE);
  EXPECT_EQ(list->accDoDefaultAction(Number(1)), S_OK);
  EXPECT_EQ(root->accDoDefaultAction(Number(1)), S_OK);
  PumpFor();
  EXPECT_EQ(view_.other->TakeEvents(), Events{"part 0"});
  EXPECT_EQ(view_.button->TakeEvents(), Events{"default"});
  BSTR name = nullptr;
  EXPECT_EQ(root->get_accName(Number(3), &name), E_INVALIDARG);
  EXPECT_EQ(list->get_accName(Number(-1), &name), E_INVALIDARG);

  // They may be held when the window is gone.
  DestroyWindow(window_.Handle());
  EXPECT_EQ(root->get_accName(Number(1), &name), CO_E_OBJNOTCONNECTED);
  EXPECT_EQ(list->get_accChildCount(&count), CO_E_OBJNOTCONNECTED);
}

TEST_F(AppSkinnedWindow, NoHandleIsLeftBehind) {
  const auto round = [&](int i) {
    window_.Show(i % 4 == 0, SkinnedWindow::Activation::kLeave);
    Send(WM_MOUSEMOVE, 0, i % 2 ? 30 : 100, 25);
    if (i % 8 == 0) window_.SetPlace({100, 80, 520 + i % 3 * 8, 500});
    UpdateWindow(window_.Handle());
    if (i % 10 == 0) Wear(1 + i / 10 % 2);
    window_.SetAlpha(i % 2 ? 255 : 200);
    window_.Hide(false);
    PumpFor();
  };
  for (int i = 0; i < 20; ++i)
    round(i);
  const HANDLE self = GetCurrentProcess();
  const DWORD gdi = GetGuiResources(self, GR_GDIOBJECTS);
  const DWORD user = GetGuiResources(self, GR_USEROBJECTS);
  for (int i = 0; i < 200; ++i)
    round(i);
  EXPECT_LE(GetGuiResources(self, GR_GDIOBJECTS), gdi);
  EXPECT_LE(GetGuiResources(self, GR_USEROBJECTS), user);
}

}  // namespace
}  // namespace melorin
