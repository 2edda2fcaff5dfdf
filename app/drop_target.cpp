// SPDX-License-Identifier: MIT
#include "app/drop_target.h"

#include <ole2.h>

#include <new>
#include <utility>

#include "platform/com.h"

namespace melorin {
namespace {

FORMATETC FilesFormat() {
  return {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
}

bool HasFiles(IDataObject* data) {
  FORMATETC format = FilesFormat();
  return data && data->QueryGetData(&format) == S_OK;
}

std::vector<std::u16string> FilesOf(IDataObject* data) {
  FORMATETC format = FilesFormat();
  STGMEDIUM medium{};
  if (!data || FAILED(data->GetData(&format, &medium))) return {};
  struct Scope {
    STGMEDIUM& medium;
    ~Scope() { ReleaseStgMedium(&medium); }
  } const scope{medium};
  return medium.tymed == TYMED_HGLOBAL ? DroppedPaths(static_cast<HDROP>(medium.hGlobal))
                                       : std::vector<std::u16string>();
}

}  // namespace

std::vector<std::u16string> DroppedPaths(HDROP drop) {
  std::vector<std::u16string> paths;
  const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
  for (UINT i = 0; i < count; ++i) {
    std::wstring path(DragQueryFileW(drop, i, nullptr, 0) + 1, L'\0');
    path.resize(DragQueryFileW(drop, i, path.data(), static_cast<UINT>(path.size())));
    if (!path.empty()) paths.emplace_back(AsChar16(path.c_str()), path.size());
  }
  return paths;
}

class FileDropTarget final : public ComObject<IDropTarget> {
 public:
  FileDropTarget(FileDropHandler& handler, SkinWindow kind, HWND window)
      : handler_(&handler), kind_(kind), window_(window) {}

  /// Another program may hold it a while longer.
  void Forget() { handler_ = nullptr; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(id, IID_IUnknown) && !IsEqualIID(id, IID_IDropTarget)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<IDropTarget*>(this);
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE DragEnter(IDataObject* data, DWORD, POINTL screen, DWORD* effect) override {
    if (!effect) return E_INVALIDARG;
    has_files_ = HasFiles(data);
    return Over(screen, effect);
  }
  HRESULT STDMETHODCALLTYPE DragOver(DWORD, POINTL screen, DWORD* effect) override {
    return effect ? Over(screen, effect) : E_INVALIDARG;
  }
  HRESULT STDMETHODCALLTYPE DragLeave() override {
    has_files_ = false;
    return Tell(std::nullopt);
  }
  HRESULT STDMETHODCALLTYPE Drop(IDataObject* data, DWORD, POINTL screen, DWORD* effect) override {
    if (!effect) return E_INVALIDARG;
    has_files_ = HasFiles(data);
    *effect = EffectOf(*effect);
    if (*effect == DROPEFFECT_NONE) return Tell(std::nullopt);
    try {
      std::vector<std::u16string> paths = FilesOf(data);
      // Getting them may have run messages, and with them the end of the program.
      if (handler_ && !paths.empty()) handler_->OnFilesLetGo(kind_, Client(screen), std::move(paths));
      return S_OK;
    } catch (const std::bad_alloc&) {
      *effect = DROPEFFECT_NONE;
      return E_OUTOFMEMORY;
    }
  }

 private:
  /// What becomes of them here. Never a move: the source would delete the files.
  DWORD EffectOf(DWORD allowed) const {
    // A dialog that shuts the windows shuts them for files as well.
    if (!handler_ || !has_files_ || !IsWindowEnabled(window_)) return DROPEFFECT_NONE;
    return allowed & DROPEFFECT_COPY ? DROPEFFECT_COPY : allowed & DROPEFFECT_LINK;
  }

  HRESULT Over(const POINTL& screen, DWORD* effect) {
    *effect = EffectOf(*effect);
    return Tell(*effect == DROPEFFECT_NONE ? std::nullopt : std::optional(Client(screen)));
  }

  HRESULT Tell(std::optional<POINT> point) {
    try {
      if (handler_) handler_->OnFilesOver(kind_, point);
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  POINT Client(const POINTL& screen) const {
    POINT point = {screen.x, screen.y};
    ScreenToClient(window_, &point);
    return point;
  }

  FileDropHandler* handler_;
  const SkinWindow kind_;
  const HWND window_;
  bool has_files_ = false;
};

FileDrops::FileDrops(FileDropHandler& handler) : handler_(handler), runtime_(OleInitialize(nullptr)) {}

FileDrops::~FileDrops() {
  for (const Entry& entry : entries_) {
    entry.target->Forget();
    RevokeDragDrop(entry.window);
  }
  entries_.clear();
  if (SUCCEEDED(runtime_)) OleUninitialize();
}

bool FileDrops::Add(SkinWindow kind, HWND window) {
  if (FAILED(runtime_) || !window) return false;
  Entry entry = {window,
                 ComPtr<FileDropTarget>::Adopt(new (std::nothrow) FileDropTarget(handler_, kind, window))};
  if (!entry.target) return false;
  entries_.reserve(entries_.size() + 1);
  if (FAILED(RegisterDragDrop(window, entry.target.get()))) return false;
  entries_.push_back(std::move(entry));
  // Else a source that both reach would bring the files twice.
  DragAcceptFiles(window, FALSE);
  return true;
}

}  // namespace melorin
