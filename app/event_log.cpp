// SPDX-License-Identifier: MIT
#include "app/event_log.h"

#include "platform/com.h"
#include "platform/text.h"

namespace melorin {

LogEntry::LogEntry(std::string_view event) {
  json_.BeginObject().Key("event").String(event);
}

LogEntry& LogEntry::Add(std::string_view key, std::u16string_view text) {
  json_.Key(key).String(Utf8FromUtf16(text));
  return *this;
}

LogEntry& LogEntry::Add(std::string_view key, uint32_t number) {
  json_.Key(key).Number(number);
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
