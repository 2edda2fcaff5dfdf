// SPDX-License-Identifier: MIT
//
// What the section "Plugin" means: the folder that add-ins are loaded from, and the names of the modules that
// are in use. Thread: any.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "doc/settings.h"

namespace melorin {

/// The setting, or `standard_gbk` when it is empty.
std::string AddInFolder(const PluginSettings& settings, const std::string& standard_gbk);

/// No names at all: every module is in use. Names are compared in any case.
bool IsAddInEnabled(const PluginSettings& settings, std::string_view file_name_gbk);
/// `all_gbk`: the modules of the folder, which are written down when one of them is to be left out.
void EnableAddIn(PluginSettings& settings, const std::vector<std::string>& all_gbk,
                 std::string_view file_name_gbk, bool enabled);

/// "mzp_*.dll".
bool IsAddInFileName(std::string_view file_name_gbk);

}  // namespace melorin
