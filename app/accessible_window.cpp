// SPDX-License-Identifier: MIT
#include "app/accessible_window.h"

#include <algorithm>
#include <string>
#include <utility>

#include "skin/skin_layout.h"

namespace melorin {
namespace {

using Link = AccessibleWindow::Link;

constexpr ptrdiff_t kNoPart = -1;

/// The window (no control), a control, or a part of one.
struct Item {
  Control* control = nullptr;
  size_t index = 0;
  ptrdiff_t part = kNoPart;
};

LONG RoleOf(const Item& item) {
  if (!item.control) return ROLE_SYSTEM_CLIENT;
  const bool part = item.part != kNoPart;
  switch (item.control->Role()) {
    case ControlRole::kButton:
      return ROLE_SYSTEM_PUSHBUTTON;
    case ControlRole::kSwitch:
      return ROLE_SYSTEM_CHECKBUTTON;
    case ControlRole::kSlider:
      return ROLE_SYSTEM_SLIDER;
    case ControlRole::kText:
      return ROLE_SYSTEM_STATICTEXT;
    case ControlRole::kGraphic:
      return ROLE_SYSTEM_GRAPHIC;
    case ControlRole::kList:
      return part ? ROLE_SYSTEM_LISTITEM : ROLE_SYSTEM_LIST;
    case ControlRole::kTabs:
      return part ? ROLE_SYSTEM_PAGETAB : ROLE_SYSTEM_PAGETABLIST;
    case ControlRole::kToolbar:
      return part ? ROLE_SYSTEM_PUSHBUTTON : ROLE_SYSTEM_TOOLBAR;
    case ControlRole::kScrollBar:
      return ROLE_SYSTEM_SCROLLBAR;
  }
  return ROLE_SYSTEM_CLIENT;
}

LONG StateOf(const Item& item) {
  LONG state = 0;
  const Control* control = item.control;
  if (!control) return STATE_SYSTEM_FOCUSABLE;
  if (!control->IsEnabled()) state |= STATE_SYSTEM_UNAVAILABLE;
  if (!control->IsVisible()) state |= STATE_SYSTEM_INVISIBLE;
  const ControlRole role = control->Role();
  if (item.part != kNoPart) {
    const auto part = static_cast<size_t>(item.part);
    if (control->PartPlace(part).IsEmpty()) state |= STATE_SYSTEM_OFFSCREEN | STATE_SYSTEM_INVISIBLE;
    if (role != ControlRole::kToolbar) state |= STATE_SYSTEM_SELECTABLE;
    if (control->IsPartSelected(part))
      state |= role == ControlRole::kToolbar ? STATE_SYSTEM_PRESSED : STATE_SYSTEM_SELECTED;
    return state;
  }
  if (control->TakesFocus()) state |= STATE_SYSTEM_FOCUSABLE;
  if (control->IsFocused()) state |= STATE_SYSTEM_FOCUSED;
  if (control->IsPressed())
    state |= role == ControlRole::kSwitch ? STATE_SYSTEM_CHECKED : STATE_SYSTEM_PRESSED;
  if (role == ControlRole::kText) state |= STATE_SYSTEM_READONLY;
  return state;
}

/// What the default action is called; null where there is none.
const char16_t* ActionOf(const Item& item) {
  switch (RoleOf(item)) {
    case ROLE_SYSTEM_PUSHBUTTON:
      return u"按";
    case ROLE_SYSTEM_CHECKBUTTON:
      return item.control->IsPressed() ? u"取消选中" : u"选中";
    case ROLE_SYSTEM_LISTITEM:
      return u"双击";
    case ROLE_SYSTEM_PAGETAB:
      return u"切换";
    default:
      return nullptr;
  }
}

HRESULT TextAnswer(const std::u16string& text, BSTR* out) {
  *out = nullptr;
  if (text.empty()) return S_FALSE;
  *out = SysAllocStringLen(AsWide(text.data()), static_cast<UINT>(text.size()));
  return *out ? S_OK : E_OUTOFMEMORY;
}

void SetNumber(VARIANT* out, LONG number) {
  out->vt = VT_I4;
  out->lVal = number;
}

/// The window itself, or one control that has parts. Its simple children are numbered from 1.
class AccessibleNode final : public ComObject<IAccessible> {
 public:
  explicit AccessibleNode(std::shared_ptr<Link> link) : link_(std::move(link)), is_window_(true) {}
  AccessibleNode(std::shared_ptr<Link> link, size_t control)
      : link_(std::move(link)), is_window_(false), control_(control) {}

  // ---- IUnknown, IDispatch

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, IID_IDispatch) && !SameGuid(iid, IID_IAccessible))
      return E_NOINTERFACE;
    *out = static_cast<IAccessible*>(this);
    AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return E_NOTIMPL;
  }

  // ---- the tree

  HRESULT STDMETHODCALLTYPE get_accParent(IDispatch** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!link_->view) return CO_E_OBJNOTCONNECTED;
    if (!is_window_) return GiveNode(new (std::nothrow) AccessibleNode(link_), out);
    return AccessibleObjectFromWindow(link_->window, static_cast<DWORD>(OBJID_WINDOW), IID_IDispatch,
                                      reinterpret_cast<void**>(out));
  }
  HRESULT STDMETHODCALLTYPE get_accChildCount(LONG* out) override {
    if (!out) return E_POINTER;
    *out = 0;
    return IsGone() ? CO_E_OBJNOTCONNECTED : (*out = static_cast<LONG>(ChildCount()), S_OK);
  }
  HRESULT STDMETHODCALLTYPE get_accChild(VARIANT child, IDispatch** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    Item item;
    if (const HRESULT result = Find(child, &item); FAILED(result)) return result;
    if (child.lVal == CHILDID_SELF) {
      AddRef();
      *out = this;
      return S_OK;
    }
    // A control without parts is no object of its own.
    if (!HasObject(item)) return S_FALSE;
    return GiveNode(new (std::nothrow) AccessibleNode(link_, item.index), out);
  }

  // ---- what an element says

  HRESULT STDMETHODCALLTYPE get_accName(VARIANT child, BSTR* out) override {
    return Text(child, out, [this](const Item& item) -> std::u16string {
      if (!item.control) return WindowText();
      return item.part == kNoPart ? item.control->Name()
                                  : item.control->PartName(static_cast<size_t>(item.part));
    });
  }
  HRESULT STDMETHODCALLTYPE get_accValue(VARIANT child, BSTR* out) override {
    return Text(child, out, [](const Item& item) -> std::u16string {
      return item.control && item.part == kNoPart ? item.control->Value() : std::u16string();
    });
  }
  HRESULT STDMETHODCALLTYPE get_accDefaultAction(VARIANT child, BSTR* out) override {
    return Text(child, out, [](const Item& item) -> std::u16string {
      const char16_t* action = ActionOf(item);
      return action ? action : u"";
    });
  }
  HRESULT STDMETHODCALLTYPE get_accDescription(VARIANT, BSTR* out) override { return NoText(out); }
  HRESULT STDMETHODCALLTYPE get_accHelp(VARIANT, BSTR* out) override { return NoText(out); }
  HRESULT STDMETHODCALLTYPE get_accKeyboardShortcut(VARIANT, BSTR* out) override { return NoText(out); }
  HRESULT STDMETHODCALLTYPE get_accHelpTopic(BSTR* file, VARIANT, LONG*) override {
    if (file) *file = nullptr;
    return S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE get_accRole(VARIANT child, VARIANT* out) override {
    return Number(child, out, RoleOf);
  }
  HRESULT STDMETHODCALLTYPE get_accState(VARIANT child, VARIANT* out) override {
    return Number(child, out, StateOf);
  }
  HRESULT STDMETHODCALLTYPE accLocation(LONG* left, LONG* top, LONG* width, LONG* height,
                                        VARIANT child) override {
    if (!left || !top || !width || !height) return E_POINTER;
    *left = *top = *width = *height = 0;
    Item item;
    if (const HRESULT result = Find(child, &item); FAILED(result)) return result;
    const SkinRect place = ScaledPosition(PlaceOf(item), link_->view->Scale());
    if (place.IsEmpty()) return S_FALSE;
    POINT corner = {place.left, place.top};
    ClientToScreen(link_->window, &corner);
    *left = corner.x;
    *top = corner.y;
    *width = place.Width();
    *height = place.Height();
    return S_OK;
  }

  // ---- finding elements

  HRESULT STDMETHODCALLTYPE accHitTest(LONG x, LONG y, VARIANT* out) override {
    if (!out) return E_POINTER;
    VariantInit(out);
    if (IsGone()) return CO_E_OBJNOTCONNECTED;
    POINT point = {x, y};
    ScreenToClient(link_->window, &point);
    const WindowView& view = *link_->view;
    const int32_t scale = view.Scale();
    if (!Contains(ScaledPosition(PlaceOf(Self()), scale), point.x, point.y)) return S_FALSE;
    const int32_t at_x = point.x / scale;
    const int32_t at_y = point.y / scale;
    if (is_window_) {
      const Control* control = view.TipAt(at_x, at_y).second;
      for (size_t i = 0; control && i < view.ControlCount(); ++i)
        if (&view.ControlAtIndex(i) == control) return Answer({&view.ControlAtIndex(i), i, kNoPart}, out);
    } else {
      const Item self = Self();
      for (size_t part = 0; part < self.control->PartCount(); ++part)
        if (Contains(self.control->PartPlace(part), at_x, at_y))
          return Answer({self.control, self.index, static_cast<ptrdiff_t>(part)}, out);
    }
    SetNumber(out, CHILDID_SELF);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_accFocus(VARIANT* out) override {
    if (!out) return E_POINTER;
    VariantInit(out);
    if (IsGone()) return CO_E_OBJNOTCONNECTED;
    if (GetFocus() != link_->window && GetForegroundWindow() != link_->window) return S_FALSE;
    const WindowView& view = *link_->view;
    for (size_t i = 0; i < view.ControlCount(); ++i) {
      if (&view.ControlAtIndex(i) != view.Focused()) continue;
      if (is_window_) return Answer({&view.ControlAtIndex(i), i, kNoPart}, out);
      if (i != control_) return S_FALSE;
    }
    SetNumber(out, CHILDID_SELF);
    return S_OK;
  }
  /// The first of several.
  HRESULT STDMETHODCALLTYPE get_accSelection(VARIANT* out) override {
    if (!out) return E_POINTER;
    VariantInit(out);
    if (IsGone()) return CO_E_OBJNOTCONNECTED;
    const Item self = Self();
    for (size_t part = 0; self.control && part < self.control->PartCount(); ++part)
      if (self.control->IsPartSelected(part))
        return Answer({self.control, self.index, static_cast<ptrdiff_t>(part)}, out);
    return S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE accNavigate(LONG direction, VARIANT start, VARIANT* out) override {
    if (!out) return E_POINTER;
    VariantInit(out);
    Item item;
    if (const HRESULT result = Find(start, &item); FAILED(result)) return result;
    const auto count = static_cast<LONG>(ChildCount());
    const LONG from = start.lVal;
    LONG to = 0;
    if (from == CHILDID_SELF) {
      if (direction == NAVDIR_FIRSTCHILD) to = 1;
      if (direction == NAVDIR_LASTCHILD) to = count;
    } else {
      if (direction == NAVDIR_NEXT) to = from + 1;
      if (direction == NAVDIR_PREVIOUS) to = from - 1;
    }
    if (to < 1 || to > count) return S_FALSE;
    return Answer(Child(to), out);
  }

  // ---- doing

  HRESULT STDMETHODCALLTYPE accSelect(LONG flags, VARIANT child) override {
    Item item;
    if (const HRESULT result = Find(child, &item); FAILED(result)) return result;
    if (flags != SELFLAG_TAKEFOCUS || item.part != kNoPart) return DISP_E_MEMBERNOTFOUND;
    if (!item.control) {
      SetForegroundWindow(link_->window);
      return S_OK;
    }
    if (!item.control->TakesFocus() || !item.control->IsEnabled()) return S_FALSE;
    try {
      SetForegroundWindow(link_->window);
      link_->view->Focus(item.control, true);
    } catch (...) {
      return E_OUTOFMEMORY;
    }
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE accDoDefaultAction(VARIANT child) override {
    Item item;
    if (const HRESULT result = Find(child, &item); FAILED(result)) return result;
    if (!ActionOf(item)) return DISP_E_MEMBERNOTFOUND;
    return PostMessageW(link_->window, kAccessibleActionMessage, item.index, item.part) ? S_OK : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE put_accName(VARIANT, BSTR) override { return DISP_E_MEMBERNOTFOUND; }
  HRESULT STDMETHODCALLTYPE put_accValue(VARIANT, BSTR) override { return DISP_E_MEMBERNOTFOUND; }

 private:
  /// Also a control that another skin does not have.
  bool IsGone() const { return !link_->view || (!is_window_ && control_ >= link_->view->ControlCount()); }
  Item Self() const {
    if (is_window_) return {};
    return {&link_->view->ControlAtIndex(control_), control_, kNoPart};
  }
  size_t ChildCount() const { return is_window_ ? link_->view->ControlCount() : Self().control->PartCount(); }
  /// `number` from 1.
  Item Child(LONG number) const {
    const auto index = static_cast<size_t>(number - 1);
    if (is_window_) return {&link_->view->ControlAtIndex(index), index, kNoPart};
    Item item = Self();
    item.part = static_cast<ptrdiff_t>(index);
    return item;
  }
  HRESULT Find(const VARIANT& child, Item* out) const {
    if (IsGone()) return CO_E_OBJNOTCONNECTED;
    if (child.vt != VT_I4 || child.lVal < 0 || static_cast<size_t>(child.lVal) > ChildCount())
      return E_INVALIDARG;
    *out = child.lVal == CHILDID_SELF ? Self() : Child(child.lVal);
    return S_OK;
  }

  static bool HasObject(const Item& item) { return item.part == kNoPart && item.control->PartCount() > 0; }
  static HRESULT GiveNode(AccessibleNode* node, IDispatch** out) {
    *out = node;
    return node ? S_OK : E_OUTOFMEMORY;
  }
  /// An element as methods hand it out: an object if it has parts, else its number here.
  HRESULT Answer(const Item& item, VARIANT* out) const {
    if (HasObject(item)) {
      IDispatch* node = nullptr;
      const HRESULT result = GiveNode(new (std::nothrow) AccessibleNode(link_, item.index), &node);
      if (FAILED(result)) return result;
      out->vt = VT_DISPATCH;
      out->pdispVal = node;
      return S_OK;
    }
    SetNumber(out, static_cast<LONG>(item.part == kNoPart ? item.index : static_cast<size_t>(item.part)) + 1);
    return S_OK;
  }

  SkinRect PlaceOf(const Item& item) const {
    if (!item.control) return {0, 0, link_->view->Width(), link_->view->Height()};
    return item.part == kNoPart ? item.control->Place()
                                : item.control->PartPlace(static_cast<size_t>(item.part));
  }
  std::u16string WindowText() const {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(link_->window)) + 1, L'\0');
    text.resize(static_cast<size_t>(
        std::max(GetWindowTextW(link_->window, text.data(), static_cast<int>(text.size())), 0)));
    return {AsChar16(text.c_str()), text.size()};
  }

  static HRESULT NoText(BSTR* out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return S_FALSE;
  }
  template <class Get>
  HRESULT Text(const VARIANT& child, BSTR* out, Get get) const {
    if (!out) return E_POINTER;
    *out = nullptr;
    Item item;
    if (const HRESULT result = Find(child, &item); FAILED(result)) return result;
    try {
      return TextAnswer(get(item), out);
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }
  template <class Get>
  HRESULT Number(const VARIANT& child, VARIANT* out, Get get) const {
    if (!out) return E_POINTER;
    VariantInit(out);
    Item item;
    if (const HRESULT result = Find(child, &item); FAILED(result)) return result;
    SetNumber(out, get(item));
    return S_OK;
  }

  const std::shared_ptr<Link> link_;
  const bool is_window_;
  const size_t control_ = 0;
};

}  // namespace

AccessibleWindow::AccessibleWindow(HWND window, WindowView& view)
    : link_(std::make_shared<Link>(Link{window, &view})),
      root_(ComPtr<IAccessible>::Adopt(new AccessibleNode(link_))) {}

AccessibleWindow::~AccessibleWindow() {
  link_->view = nullptr;
  CoDisconnectObject(root_.get(), 0);
}

LRESULT AccessibleWindow::OnGetObject(WPARAM wparam) {
  return LresultFromObject(IID_IAccessible, wparam, root_.get());
}

void NotifyControlChanged(HWND window, const WindowView& view, size_t control) {
  const auto notify = [&](DWORD event) {
    NotifyWinEvent(event, window, OBJID_CLIENT, static_cast<LONG>(control) + 1);
  };
  switch (view.ControlAtIndex(control).Role()) {
    case ControlRole::kButton:
    case ControlRole::kSwitch:
      notify(EVENT_OBJECT_STATECHANGE);
      notify(EVENT_OBJECT_NAMECHANGE);
      break;
    case ControlRole::kList:
    case ControlRole::kTabs:
    case ControlRole::kToolbar:
      notify(EVENT_OBJECT_SELECTIONWITHIN);
      break;
    default:
      notify(EVENT_OBJECT_VALUECHANGE);
      break;
  }
}

void NotifyControlFocused(HWND window, size_t control) {
  NotifyWinEvent(EVENT_OBJECT_FOCUS, window, OBJID_CLIENT, static_cast<LONG>(control) + 1);
}

}  // namespace melorin
