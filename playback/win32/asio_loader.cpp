// SPDX-License-Identifier: MIT
#include "playback/win32/asio_loader.h"

#include <windows.h>

#include <cwchar>
#include <iterator>

#include "playback/win32/asio_registry.h"

namespace melorin {

namespace {

using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);

HRESULT AskModule(const CLSID& clsid, const std::wstring& module, ComPtr<asio::Driver>* out) {
  wchar_t path[MAX_PATH];
  const DWORD length = ExpandEnvironmentStringsW(module.c_str(), path, static_cast<DWORD>(std::size(path)));
  if (length == 0 || length > std::size(path)) return E_FAIL;
  // Modules beside a driver are its own; of a bare name the platform says that this must not be asked.
  const DWORD flags = std::wcschr(path, L'\\') ? LOAD_WITH_ALTERED_SEARCH_PATH : 0;
  // Never unloaded: the runtime would not know when that is safe either.
  const HMODULE loaded = LoadLibraryExW(path, nullptr, flags);
  if (!loaded) return HRESULT_FROM_WIN32(GetLastError());
  const auto get =
      reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(GetProcAddress(loaded, "DllGetClassObject")));
  if (!get) return E_FAIL;
  ComPtr<IClassFactory> factory;
  HRESULT result = get(clsid, IID_IClassFactory, factory.ReceiveVoid());
  if (FAILED(result) || !factory) {
    static_cast<void>(factory.Detach());
    return FAILED(result) ? result : E_FAIL;
  }
  result = factory->CreateInstance(nullptr, clsid, out->ReceiveVoid());
  if (FAILED(result)) static_cast<void>(out->Detach());
  return FAILED(result) || *out ? result : E_FAIL;
}

}  // namespace

HRESULT LoadAsioDriver(const CLSID& clsid, ComPtr<asio::Driver>* out) {
  const AsioModule module = FindAsioModule(clsid);
  if (!module.fits_any_apartment) return AskModule(clsid, module.path, out);
  const HRESULT result = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, clsid, out->ReceiveVoid());
  if (SUCCEEDED(result) && *out) return result;
  static_cast<void>(out->Detach());
  return FAILED(result) ? result : E_FAIL;
}

}  // namespace melorin
