// SPDX-License-Identifier: MIT
//
// Parsing of command-line arguments.
#include "cli/arguments.h"

#include <algorithm>
#include <charconv>

#include "platform/json_writer.h"
#include "platform/text.h"
#include "sound/sheet_tracks.h"

namespace melorin {
const std::string* Arguments::Value(std::string_view name) const {
  const auto found = std::find_if(options.rbegin(), options.rend(),
                                  [&](const auto& option) { return option.first == name; });
  return found == options.rend() ? nullptr : &found->second;
}

bool ParseArguments(std::span<const std::string> arguments, std::span<const OptionSpec> options,
                    Arguments* out, std::string* error) {
  bool only_operands = false;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (only_operands || argument.size() < 2 || argument[0] != '-') {
      out->operands.push_back(argument);
      continue;
    }
    if (argument == "--") {
      only_operands = true;
      continue;
    }
    const size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const auto spec = std::find_if(options.begin(), options.end(),
                                   [&](const OptionSpec& option) { return option.name == name; });
    if (spec == options.end()) {
      *error = "unknown option " + name;
      return false;
    }
    std::string value;
    if (equals != std::string::npos) {
      if (!spec->takes_value && !spec->value_optional) {
        *error = name + " takes no value";
        return false;
      }
      value = argument.substr(equals + 1);
    } else if (spec->takes_value) {
      if (++i == arguments.size()) {
        *error = name + " needs a value";
        return false;
      }
      value = arguments[i];
    }
    out->options.emplace_back(name, std::move(value));
  }
  return true;
}

std::optional<uint32_t> ParseNumber(std::string_view text) {
  uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, result] = std::from_chars(text.data(), end, number);
  if (text.empty() || result != std::errc() || stopped != end) return std::nullopt;
  return number;
}

std::optional<uint32_t> TrackFlags(const Arguments& arguments, std::string* error) {
  const std::string* const value = arguments.Value("--track");
  if (!value) return 0;
  const auto number = ParseNumber(*value);
  if (number && *number >= 1 && *number <= 0xFFFF) return SubtrackFlags(*number);
  *error = "--track is a number from 1 to 65535, not: " + *value;
  return std::nullopt;
}

std::optional<std::string> PathFromArgument(std::string_view utf8, std::string* error) {
  if (!IsValidUtf8(utf8)) {
    *error = PrintableLine(utf8) + ": the name is not valid UTF-8";
    return std::nullopt;
  }
  return GbkFromUtf8(utf8);
}

std::string PrintableLine(std::string_view utf8) {
  std::string line;
  AppendWellFormedUtf8(utf8, line);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return (c >= 0 && c < 0x20) || c == 0x7F; }, '?');
  return line;
}

}  // namespace melorin
