// SPDX-License-Identifier: MIT
//
// Command-line arguments: options and operands of one command, numbers, and the way from an argument to a
// path.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace melorin {

/// An option that a command takes: "--name", or "--name VALUE" and "--name=VALUE", or "--name" and
/// "--name=VALUE".
struct OptionSpec {
  std::string_view name;  ///< With the two dashes.
  bool takes_value = false;
  bool value_optional = false;
};

struct Arguments {
  std::vector<std::string> operands;
  std::vector<std::pair<std::string, std::string>> options;  ///< Name and value, in the order given.

  bool Has(std::string_view name) const { return Value(name) != nullptr; }
  /// Of the last option of that name; null when it was not given.
  const std::string* Value(std::string_view name) const;
};

/// Sorts arguments into options and operands, which may be mixed; after "--" all are operands, and "-" is one
/// always. False, with the reason in `error`, for an unknown option, a value that is missing or one too many.
bool ParseArguments(std::span<const std::string> arguments, std::span<const OptionSpec> options,
                    Arguments* out, std::string* error);

/// A decimal number from 0 to 4294967295 and nothing else; no sign, no spaces.
std::optional<uint32_t> ParseNumber(std::string_view text);

/// The value of "--track N" as flags for SoundLibrary::OpenSource, 0 when it was not given. Nothing, with the
/// reason in `error`, when it is no number from 1 to 65535.
std::optional<uint32_t> TrackFlags(const Arguments& arguments, std::string* error);

/// The GBK path that an argument names. Nothing when the argument is no UTF-8; then `error` says so.
std::optional<std::string> PathFromArgument(std::string_view utf8, std::string* error);

/// A text for one line of a message: malformed UTF-8 becomes U+FFFD, control characters become "?".
std::string PrintableLine(std::string_view utf8);

}  // namespace melorin
