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

}  // namespace melorin
