// SPDX-License-Identifier: MIT
#include "app/options/add_in_choice.h"

#include <algorithm>

#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

auto Find(const std::vector<std::string>& names_gbk, std::string_view name_gbk) {
  return std::find_if(names_gbk.begin(), names_gbk.end(),
                      [&](const std::string& name) { return EqualNoCaseGbk(name, name_gbk); });
}

}  // namespace

std::string AddInFolder(const PluginSettings& settings, const std::string& standard_gbk) {
  return settings.folder_gbk.empty() ? standard_gbk : settings.folder_gbk;
}

bool IsAddInEnabled(const PluginSettings& settings, std::string_view file_name_gbk) {
  return settings.modules_gbk.empty() ||
         Find(settings.modules_gbk, file_name_gbk) != settings.modules_gbk.end();
}

void EnableAddIn(PluginSettings& settings, const std::vector<std::string>& all_gbk,
                 std::string_view file_name_gbk, bool enabled) {
  std::vector<std::string> names;
  for (const std::string& name : all_gbk) {
    const bool in_use = EqualNoCaseGbk(name, file_name_gbk) ? enabled : IsAddInEnabled(settings, name);
    if (in_use) names.push_back(name);
  }
  if (names.size() == all_gbk.size()) {
    names.clear();
  } else if (names.empty()) {
    // A list without entries cannot be told from one that is not there; a file without a name can.
    names.emplace_back();
  }
  settings.modules_gbk = std::move(names);
}

bool IsAddInFileName(std::string_view file_name_gbk) {
  return file_name_gbk.size() > 4 && EqualNoCaseGbk(file_name_gbk.substr(0, 4), "mzp_") &&
         EqualNoCaseGbk(PathExtension(file_name_gbk), "dll");
}

}  // namespace melorin
