// SPDX-License-Identifier: MIT
//
// Windows half of ModuleHandle.
#include "platform/text.h"
#include "sound/add_in_module.h"

namespace melorin {

ModuleHandle::~ModuleHandle() {
  if (handle_) FreeLibrary(static_cast<HMODULE>(handle_));
}

bool ModuleHandle::Load(const std::string& path_gbk) {
  bool lossy = false;
  const std::u16string path = Utf16FromGbk(path_gbk, &lossy);
  if (lossy) return false;
  // A file that is no module must not bring up the system's message box.
  DWORD old_mode = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &old_mode);
  // The altered search path lets a module find the libraries that lie beside it.
  handle_ = LoadLibraryExW(AsWide(path.c_str()), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  SetThreadErrorMode(old_mode, nullptr);
  return handle_ != nullptr;
}

GetSoundAddInFunction ModuleHandle::FindEntryPoint() const {
  const FARPROC address = GetProcAddress(static_cast<HMODULE>(handle_), "mzpGetSoundAddIn");
  // By way of void (*)(): the compiler warns about any other cast between function types.
  return reinterpret_cast<GetSoundAddInFunction>(reinterpret_cast<void (*)()>(address));
}

}  // namespace melorin
