// SPDX-License-Identifier: MIT
//
// See add_in_module.h.
#include "sound/add_in_module.h"

namespace melorin {

HRESULT AddInModule::Load() {
  const Lock lock(lock_);
  if (!handle_.Load(path_gbk_)) return E_FAIL;
  const GetSoundAddInFunction entry_point = handle_.FindEntryPoint();
  if (!entry_point) return E_NOINTERFACE;
  SoundAddIn* add_in = nullptr;
  const HRESULT result = entry_point(&add_in);
  // What a failed call stored is not a reference of ours.
  if (FAILED(result)) return result;
  if (!add_in) return E_POINTER;
  add_in_ = ComPtr<SoundAddIn>::Adopt(add_in);
  return S_OK;
}

HRESULT AddInModule::GetEntry(uint32_t index, GUID* kind, IUnknown** object) {
  const Lock lock(lock_);
  if (!add_in_) return E_UNEXPECTED;
  return add_in_->GetEntry(index, kind, object);
}

}  // namespace melorin
