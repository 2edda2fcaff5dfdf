// SPDX-License-Identifier: MIT
//
// The calls of the platform that Kernel Streaming is made of, as a table, so that a test can stand in for the
// hardware.
#pragma once

#include <windows.h>

#include <setupapi.h>

#include <ks.h>

namespace melorin {

/// Signatures and results are those of the platform's functions of the same names.
struct KsApi {
  decltype(&::SetupDiGetClassDevsW) GetClassDevs = nullptr;
  decltype(&::SetupDiEnumDeviceInterfaces) EnumDeviceInterfaces = nullptr;
  decltype(&::SetupDiGetDeviceInterfaceAlias) GetDeviceInterfaceAlias = nullptr;
  decltype(&::SetupDiGetDeviceInterfaceDetailW) GetDeviceInterfaceDetail = nullptr;
  decltype(&::SetupDiOpenDeviceInterfaceRegKey) OpenDeviceInterfaceRegKey = nullptr;
  decltype(&::SetupDiDestroyDeviceInfoList) DestroyDeviceInfoList = nullptr;
  decltype(&::RegQueryValueExW) QueryValue = nullptr;
  decltype(&::RegCloseKey) CloseKey = nullptr;
  decltype(&::CreateFileW) OpenFile = nullptr;
  decltype(&::CloseHandle) Close = nullptr;
  decltype(&::DeviceIoControl) IoControl = nullptr;
  decltype(&::GetOverlappedResult) OverlappedResult = nullptr;
  decltype(&::CancelIoEx) Cancel = nullptr;
  /// KsCreatePin of "ksuser.dll".
  DWORD(WINAPI* CreatePin)(HANDLE filter, PKSPIN_CONNECT connect, ACCESS_MASK access, PHANDLE pin) = nullptr;
};

/// The platform's own; loaded on first use, never unloaded. Null where "setupapi.dll" or "ksuser.dll" lacks
/// one. That there is a KsCreatePin does not mean that it works.
const KsApi* PlatformKsApi();

}  // namespace melorin
