// SPDX-License-Identifier: MIT
#include "app/command_line.h"

#include <windows.h>

#include <shellapi.h>

#include <array>

#include "platform/com.h"

namespace melorin {
namespace {

char16_t LowerAscii(char16_t c) {
  return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}

std::u16string Lower(std::u16string_view text) {
  std::u16string lowered(text);
  for (char16_t& c : lowered)
    c = LowerAscii(c);
  return lowered;
}

bool ParseNumber(std::u16string_view text, uint32_t limit, uint32_t& value) {
  if (text.empty() || text.size() > 10) return false;
  uint64_t number = 0;
  for (char16_t c : text) {
    if (c < u'0' || c > u'9') return false;
    number = number * 10 + (c - u'0');
  }
  if (number > limit) return false;
  value = static_cast<uint32_t>(number);
  return true;
}

struct Flag {
  std::u16string_view name;
  bool CommandLine::*member;
};
constexpr std::array<Flag, 10> kFlags = {{{u"add", &CommandLine::add},
                                          {u"play", &CommandLine::play},
                                          {u"pause", &CommandLine::pause},
                                          {u"stop", &CommandLine::stop},
                                          {u"next", &CommandLine::next},
                                          {u"prev", &CommandLine::previous},
                                          {u"exit", &CommandLine::exit},
                                          {u"demo", &CommandLine::demo},
                                          {u"autoclose", &CommandLine::auto_close},
                                          {u"status", &CommandLine::status}}};

enum class SwitchResult { kTaken, kBadValue, kUnknown };

SwitchResult ParseValueSwitch(std::u16string_view name, std::u16string_view value, CommandLine& line) {
  uint32_t number = 0;
  if (name == u"volume") {
    if (!ParseNumber(value, 100, number)) return SwitchResult::kBadValue;
    line.volume = static_cast<int>(number);
  } else if (name == u"seek") {
    if (!ParseNumber(value, 0xFFFFFFFF, number)) return SwitchResult::kBadValue;
    line.seek_ms = number;
  } else if (name == u"device") {
    const std::u16string kind = Lower(value);
    if (kind == u"waveout") {
      line.device = CommandLine::Device::kWaveOut;
    } else if (kind == u"dsound") {
      line.device = CommandLine::Device::kDirectSound;
    } else {
      return SwitchResult::kBadValue;
    }
  } else if (name == u"mode") {
    if (!ParseNumber(value, 4, number)) return SwitchResult::kBadValue;
    line.mode = static_cast<int>(number);
  } else if (name == u"log" || name == u"data" || name == u"list") {
    if (value.empty()) return SwitchResult::kBadValue;
    (name == u"log" ? line.log_path : name == u"data" ? line.data_folder : line.list_name) = value;
  } else {
    return SwitchResult::kUnknown;
  }
  return SwitchResult::kTaken;
}

SwitchResult ParseSwitch(std::u16string_view argument, CommandLine& line) {
  if (argument.size() < 2 || (argument[0] != u'/' && argument[0] != u'-')) return SwitchResult::kUnknown;
  const size_t equals = argument.find(u'=');
  if (equals != std::u16string_view::npos)
    return ParseValueSwitch(Lower(argument.substr(1, equals - 1)), argument.substr(equals + 1), line);
  const std::u16string name = Lower(argument.substr(1));
  for (const Flag& flag : kFlags) {
    if (flag.name != name) continue;
    line.*flag.member = true;
    return SwitchResult::kTaken;
  }
  return SwitchResult::kUnknown;
}

bool LooksLikePath(std::u16string_view argument) {
  return argument[0] != u'/' || argument.find_first_of(u"/\\.", 1) != std::u16string_view::npos;
}

std::u16string FullName(const std::u16string& path) {
  const DWORD need = GetFullPathNameW(AsWide(path.c_str()), 0, nullptr, nullptr);
  if (need == 0) return path;
  std::wstring full(need, L'\0');
  const DWORD length = GetFullPathNameW(AsWide(path.c_str()), need, full.data(), nullptr);
  if (length == 0 || length >= need) return path;
  return std::u16string(AsChar16(full.c_str()), length);
}

}  // namespace

CommandLine ParseArguments(const std::vector<std::u16string>& arguments) {
  CommandLine line;
  for (const std::u16string& argument : arguments) {
    if (argument.empty()) continue;
    switch (ParseSwitch(argument, line)) {
      case SwitchResult::kTaken:
        break;
      case SwitchResult::kBadValue:
        line.problems.push_back(u"命令行参数的值无效：" + argument);
        break;
      case SwitchResult::kUnknown:
        if (LooksLikePath(argument)) {
          line.paths.push_back(argument);
        } else {
          line.problems.push_back(u"不认识的命令行参数：" + argument);
        }
    }
  }
  return line;
}

std::vector<std::u16string> SplitCommandLine(const std::u16string& text, bool with_program) {
  // The platform reads the first word by rules of its own, so it always gets a program's name.
  const std::u16string line = with_program ? text : u"melorin " + text;
  int count = 0;
  LPWSTR* words = CommandLineToArgvW(AsWide(line.c_str()), &count);
  std::vector<std::u16string> arguments;
  if (!words) return arguments;
  for (int i = 1; i < count; ++i)
    arguments.emplace_back(AsChar16(words[i]));
  LocalFree(words);
  return arguments;
}

std::u16string JoinArguments(const std::vector<std::u16string>& arguments) {
  std::u16string line;
  for (const std::u16string& argument : arguments) {
    if (!line.empty()) line += u' ';
    if (!argument.empty() && argument.find_first_of(u" \t\"") == std::u16string::npos) {
      line += argument;
      continue;
    }
    line += u'"';
    size_t backslashes = 0;
    for (char16_t c : argument) {
      // Backslashes count as escapes only in front of a quote.
      if (c == u'"') line.append(backslashes + 1, u'\\');
      backslashes = c == u'\\' ? backslashes + 1 : 0;
      line += c;
    }
    line.append(backslashes, u'\\');
    line += u'"';
  }
  return line;
}

std::vector<std::u16string> FullArguments(const std::vector<std::u16string>& arguments) {
  std::vector<std::u16string> full;
  for (const std::u16string& argument : arguments) {
    CommandLine ignored;
    const bool is_path = !argument.empty() && ParseSwitch(argument, ignored) == SwitchResult::kUnknown &&
                         LooksLikePath(argument);
    full.push_back(is_path ? FullName(argument) : argument);
  }
  return full;
}

}  // namespace melorin
