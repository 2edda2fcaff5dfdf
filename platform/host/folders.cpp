// SPDX-License-Identifier: MIT
#include "platform/folders.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

/// The XDG rules ask to ignore a folder that is not a full path.
std::string FolderFromEnvironment(const char* name) {
  const char* folder = std::getenv(name);
  if (!folder || folder[0] != '/') return {};
  std::string path = GbkFromUtf8(folder);
  while (path.size() > 1 && path.back() == '/')
    path.pop_back();
  return path;
}

}  // namespace

std::string ProgramFolder() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return ".";
  return std::string(PathDirectory(GbkFromUtf8({path, static_cast<size_t>(length)})));
}

std::string UserDataFolder() {
  const std::string config = FolderFromEnvironment("XDG_CONFIG_HOME");
  if (!config.empty()) return config;
  const std::string home = FolderFromEnvironment("HOME");
  return home.empty() ? home : JoinPath(home, ".config");
}

bool IsWritableFolder(const std::string& folder_gbk) {
  if (!DirectoryExists(folder_gbk)) return false;
  std::string name = Utf8FromGbk(JoinPath(folder_gbk, ".melorin-XXXXXX"));
  const int fd = mkstemp(name.data());
  if (fd < 0) return false;
  close(fd);
  unlink(name.c_str());
  return true;
}

std::string ResolveShortcut(const std::string&) {
  return {};
}

}  // namespace melorin
