// SPDX-License-Identifier: MIT
#include "app/event_log.h"

#include "platform/com.h"
#include "platform/text.h"

namespace melorin {

std::string JsonText(std::u16string_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string json = "\"";
  for (char c : Utf8FromUtf16(text)) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (byte < 0x20) {
      json += "\\u00";
      json += kDigits[byte >> 4];
      json += kDigits[byte & 15];
    } else {
      json += c;
    }
  }
  return json + '"';
}

LogEntry::LogEntry(std::string_view event) : json_("{\"event\":\"") {
  json_ += event;
  json_ += '"';
}

void LogEntry::Key(std::string_view key) {
  json_ += ",\"";
  json_ += key;
  json_ += "\":";
}

LogEntry& LogEntry::Add(std::string_view key, std::u16string_view text) {
  Key(key);
  json_ += JsonText(text);
  return *this;
}

LogEntry& LogEntry::Add(std::string_view key, uint32_t number) {
  Key(key);
  json_ += std::to_string(number);
  return *this;
}

uint32_t ProcessAgeMs() {
  FILETIME created{}, ignored{}, now{};
  GetProcessTimes(GetCurrentProcess(), &created, &ignored, &ignored, &ignored);
  GetSystemTimeAsFileTime(&now);
  const auto ticks = [](const FILETIME& time) {
    return static_cast<int64_t>((uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime);
  };
  return static_cast<uint32_t>((ticks(now) - ticks(created)) / 10000);
}

bool EventLog::Open(const std::u16string& path) {
  file_ = WinHandle(CreateFileW(AsWide(path.c_str()), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  return IsOpen();
}

void EventLog::Write(LogEntry entry) {
  if (!file_) return;
  const std::string line = entry.Add("at_ms", ProcessAgeMs()).Json() + "\n";
  DWORD written = 0;
  // One call a line, so that a reader never sees a part of one. A full disk is not the player's business.
  WriteFile(file_.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

}  // namespace melorin
