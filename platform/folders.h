// SPDX-License-Identifier: MIT
//
// Where the program's own files lie, and where a shortcut leads.
#pragma once

#include <string>

namespace melorin {

/// The folder of the running program, without a separator at the end.
std::string ProgramFolder();
/// The user's folder for the data of programs that may not write beside themselves (%APPDATA%; on the host
/// $XDG_CONFIG_HOME or ~/.config). Not made here. Empty when the system names none.
std::string UserDataFolder();
/// True when a file can be created there. Tried, not guessed: access lists and read-only media say too
/// little.
bool IsWritableFolder(const std::string& folder_gbk);

/// The target of a shortcut file ".lnk"; empty when it leads to no file. Nothing is searched or asked. Always
/// empty on the host. Thread: one that has the component runtime.
std::string ResolveShortcut(const std::string& path_gbk);

}  // namespace melorin
