// SPDX-License-Identifier: MIT
//
// One loaded add-in module: the file, what the platform loaded of it and the object that its entry point
// handed out. The object is released before the module is unloaded; every other object of the module must be
// gone by then, which is the registry's care.
#pragma once

#include <memory>
#include <string>

#include "platform/com_ptr.h"
#include "platform/thread.h"
#include "sound/interfaces.h"

namespace melorin {

/// What the platform loads of a module file. The host has no add-in modules: Load always fails there.
class ModuleHandle {
 public:
  ModuleHandle() = default;
  ~ModuleHandle();
  ModuleHandle(const ModuleHandle&) = delete;
  ModuleHandle& operator=(const ModuleHandle&) = delete;

  bool Load(const std::string& path_gbk);
  GetSoundAddInFunction FindEntryPoint() const;

 private:
  void* handle_ = nullptr;
};

/// Thread: any; one critical section guards loading and enumeration.
class AddInModule {
 public:
  explicit AddInModule(std::string path_gbk) : path_gbk_(std::move(path_gbk)) {}

  /// E_FAIL when the file cannot be loaded, E_NOINTERFACE when it has no entry point, E_POINTER when that
  /// handed out nothing, else what the entry point returns.
  HRESULT Load();
  HRESULT GetEntry(uint32_t index, GUID* kind, IUnknown** object);
  const std::string& path_gbk() const { return path_gbk_; }

 private:
  CriticalSection lock_;
  std::string path_gbk_;
  ModuleHandle handle_;  ///< Before the object: it goes last.
  ComPtr<SoundAddIn> add_in_;
};

}  // namespace melorin
