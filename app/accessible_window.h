// SPDX-License-Identifier: MIT
//
// What screen readers are told of a skinned window: its controls, and the entries of lists, tabs and
// toolbars, by the platform's IAccessible. Thread: the UI thread, to which the platform brings calls from
// elsewhere.
#pragma once

#include <windows.h>

#include <oleacc.h>

#include <cstddef>
#include <memory>

#include "platform/com_ptr.h"
#include "ui/window_view.h"

namespace melorin {

/// Posted to the window when a screen reader wants a control's default action, so that a dialog which it
/// opens does not hold the reader up. `wparam`: the control; `lparam`: its part, or -1.
inline constexpr UINT kAccessibleActionMessage = WM_APP + 0x60;

/// Owner of the objects that screen readers hold, which outlive the window and then answer that it is gone.
class AccessibleWindow {
 public:
  AccessibleWindow(HWND window, WindowView& view);
  ~AccessibleWindow();
  AccessibleWindow(const AccessibleWindow&) = delete;
  AccessibleWindow& operator=(const AccessibleWindow&) = delete;

  /// The answer to WM_GETOBJECT for OBJID_CLIENT.
  LRESULT OnGetObject(WPARAM wparam);

  /// What the objects know of the window.
  struct Link {
    HWND window;
    WindowView* view;  ///< Null when the window is gone.
  };

 private:
  std::shared_ptr<Link> link_;
  ComPtr<IAccessible> root_;
};

/// Tells whoever listens that a control's name, value or state is another.
void NotifyControlChanged(HWND window, const WindowView& view, size_t control);
void NotifyControlFocused(HWND window, size_t control);

}  // namespace melorin
