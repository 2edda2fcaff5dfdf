// SPDX-License-Identifier: MIT
//
// Which ASIO drivers the system knows.
#pragma once

#include <string>
#include <vector>

#include "platform/com.h"

namespace melorin {

struct AsioDriverEntry {
  CLSID clsid = {};
  std::string name_gbk;
};

/// The sub-keys of "SOFTWARE\ASIO" in the registry's order whose "CLSID" is one with a module registered as
/// "InprocServer32". The name is the key's "Description", or the key's own name. Broken entries are left out;
/// at most 256 are looked at. Throws std::bad_alloc. Thread: any.
std::vector<AsioDriverEntry> ReadAsioDrivers();

struct AsioModule {
  std::wstring path;  ///< As it is registered, environment variables not expanded; empty when there is none.
  /// Its threading model lets the component runtime make objects in the apartment of whoever asks.
  bool fits_any_apartment = false;
};
AsioModule FindAsioModule(const CLSID& clsid);

}  // namespace melorin
