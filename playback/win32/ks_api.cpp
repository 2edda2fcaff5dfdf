// SPDX-License-Identifier: MIT
#include "playback/win32/ks_api.h"

namespace melorin {

namespace {

template <class Function>
bool Find(HMODULE module, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  return *function != nullptr;
}

bool Load(KsApi* api) {
  const HMODULE setup = LoadLibraryW(L"setupapi.dll");
  const HMODULE user = LoadLibraryW(L"ksuser.dll");
  if (!setup || !user) return false;
  api->QueryValue = &::RegQueryValueExW;
  api->CloseKey = &::RegCloseKey;
  api->OpenFile = &::CreateFileW;
  api->Close = &::CloseHandle;
  api->IoControl = &::DeviceIoControl;
  api->OverlappedResult = &::GetOverlappedResult;
  api->Cancel = &::CancelIoEx;
  return Find(setup, "SetupDiGetClassDevsW", &api->GetClassDevs) &&
         Find(setup, "SetupDiEnumDeviceInterfaces", &api->EnumDeviceInterfaces) &&
         Find(setup, "SetupDiGetDeviceInterfaceAlias", &api->GetDeviceInterfaceAlias) &&
         Find(setup, "SetupDiGetDeviceInterfaceDetailW", &api->GetDeviceInterfaceDetail) &&
         Find(setup, "SetupDiOpenDeviceInterfaceRegKey", &api->OpenDeviceInterfaceRegKey) &&
         Find(setup, "SetupDiDestroyDeviceInfoList", &api->DestroyDeviceInfoList) &&
         Find(user, "KsCreatePin", &api->CreatePin);
}

}  // namespace

const KsApi* PlatformKsApi() {
  static KsApi api;
  static const bool complete = Load(&api);
  return complete ? &api : nullptr;
}

}  // namespace melorin
