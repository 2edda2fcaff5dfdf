// SPDX-License-Identifier: MIT
#include "playback/win32/asio_registry.h"

#include <windows.h>

#include <cwchar>
#include <optional>

#include "platform/text.h"

namespace melorin {

namespace {

constexpr DWORD kMaxEntries = 256;
/// Of a registry key, by the registry's own rule.
constexpr DWORD kMaxKeyName = 255;
/// Of a value that is read, characters; longer ones are broken entries.
constexpr DWORD kMaxText = 1024;

class Key {
 public:
  Key(HKEY parent, const wchar_t* name) {
    if (RegOpenKeyExW(parent, name, 0, KEY_READ, &key_) != ERROR_SUCCESS) key_ = nullptr;
  }
  ~Key() {
    if (key_) RegCloseKey(key_);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  explicit operator bool() const { return key_ != nullptr; }

  /// Name of the index-th sub-key.
  std::optional<std::wstring> SubKey(DWORD index) const {
    wchar_t name[kMaxKeyName + 1];
    DWORD length = kMaxKeyName + 1;
    if (RegEnumKeyExW(key_, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
      return std::nullopt;
    return std::wstring(name, length);
  }

  /// A text value; null name: the key's own. Empty when there is none.
  std::wstring Text(const wchar_t* name) const {
    wchar_t text[kMaxText];
    DWORD bytes = sizeof text;
    DWORD type = 0;
    const LSTATUS result =
        RegQueryValueExW(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes);
    if (result != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ)) return {};
    // The registry does not see to the terminator.
    const std::wstring all(text, bytes / sizeof(wchar_t));
    return all.substr(0, all.find(L'\0'));
  }

  HKEY Handle() const { return key_; }

 private:
  HKEY key_ = nullptr;
};

AsioModule ModuleOf(const std::wstring& clsid) {
  AsioModule module;
  const Key key(HKEY_CLASSES_ROOT, (L"CLSID\\" + clsid + L"\\InprocServer32").c_str());
  if (!key) return module;
  module.path = key.Text(nullptr);
  const std::wstring model = key.Text(L"ThreadingModel");
  module.fits_any_apartment =
      _wcsicmp(model.c_str(), L"Apartment") == 0 || _wcsicmp(model.c_str(), L"Both") == 0;
  return module;
}

std::optional<AsioDriverEntry> ReadEntry(const Key& list, const std::wstring& name) {
  const Key key(list.Handle(), name.c_str());
  if (!key) return std::nullopt;
  const std::wstring clsid = key.Text(L"CLSID");
  AsioDriverEntry entry;
  // The platform's parser takes names of classes too.
  if (!clsid.starts_with(L'{') || FAILED(CLSIDFromString(clsid.c_str(), &entry.clsid))) return std::nullopt;
  if (ModuleOf(clsid).path.empty()) return std::nullopt;
  const std::wstring description = key.Text(L"Description");
  entry.name_gbk = GbkFromUtf16(AsChar16((description.empty() ? name : description).c_str()));
  return entry;
}

}  // namespace

std::vector<AsioDriverEntry> ReadAsioDrivers() {
  std::vector<AsioDriverEntry> drivers;
  const Key list(HKEY_LOCAL_MACHINE, L"SOFTWARE\\ASIO");
  for (DWORD index = 0; list && index < kMaxEntries; ++index) {
    const std::optional<std::wstring> name = list.SubKey(index);
    if (!name) break;
    if (std::optional<AsioDriverEntry> entry = ReadEntry(list, *name)) drivers.push_back(std::move(*entry));
  }
  return drivers;
}

AsioModule FindAsioModule(const CLSID& clsid) {
  wchar_t text[40];
  return StringFromGUID2(clsid, text, 40) > 0 ? ModuleOf(text) : AsioModule();
}

}  // namespace melorin
