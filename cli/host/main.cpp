// SPDX-License-Identifier: MIT
//
// The program's start where arguments and names are bytes in UTF-8.
#include <unistd.h>

#include <string>
#include <vector>

#include "cli/commands.h"
#include "platform/file.h"
#include "platform/text.h"

namespace {

/// Beside the program, as in the player.
std::string AddInFolder() {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof(path));
  if (length <= 0) return {};
  const std::string program = melorin::GbkFromUtf8({path, static_cast<size_t>(length)});
  return melorin::JoinPath(melorin::PathDirectory(program), "AddIn");
}

}  // namespace

int main(int count, char** values) {
  melorin::StandardConsole console(isatty(STDERR_FILENO) != 0);
  const std::vector<std::string> arguments(values + (count > 0 ? 1 : 0), values + count);
  return melorin::RunCommandLine({console, AddInFolder()}, arguments);
}
