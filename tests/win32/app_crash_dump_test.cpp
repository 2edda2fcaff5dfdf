// SPDX-License-Identifier: MIT
//
// What a crash leaves behind.
#include "app/crash_dump.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <dbghelp.h>

#include <cstring>
#include <iterator>
#include <span>
#include <string>
#include <vector>

#include "app/win_handle.h"
#include "platform/folders.h"
#include "tests/playlist_test_folder.h"

namespace melorin {
namespace {

/// A program that crashes.
class CrashingProgram {
 public:
  CrashingProgram(const char* way, const std::string& data_folder) {
    const std::string program = JoinPath(ProgramFolder(), "crashing_program.exe");
    std::string line = "\"" + program + "\" \"" + data_folder + "\" \"" + way + "\"";
    STARTUPINFOA start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                               nullptr, &start, &process));
    process_ = WinHandle(process.hProcess);
    const WinHandle thread(process.hThread);
  }
  DWORD ExitCode() {
    EXPECT_EQ(WaitForSingleObject(process_.get(), 30000), WAIT_OBJECT_0);
    DWORD code = 0;
    GetExitCodeProcess(process_.get(), &code);
    return code;
  }

 private:
  WinHandle process_;
};

/// The code in a dump's exception stream; 0 when the dump is none or has no such stream.
DWORD ExceptionCodeIn(std::span<const uint8_t> dump) {
  const auto read = [&](size_t at, auto* to) {
    if (at > dump.size() || dump.size() - at < sizeof(*to)) return false;
    std::memcpy(to, dump.data() + at, sizeof(*to));
    return true;
  };
  MINIDUMP_HEADER header;
  if (!read(0, &header) || std::memcmp(dump.data(), "MDMP", 4) != 0) return 0;
  for (size_t i = 0; i < header.NumberOfStreams; ++i) {
    MINIDUMP_DIRECTORY entry;
    MINIDUMP_EXCEPTION_STREAM stream;
    if (!read(header.StreamDirectoryRva + i * sizeof(entry), &entry)) return 0;
    if (entry.StreamType == ExceptionStream && read(entry.Location.Rva, &stream) &&
        stream.ThreadContext.DataSize >= sizeof(CONTEXT))
      return stream.ExceptionRecord.ExceptionCode;
  }
  return 0;
}

TEST(AppCrashDump, EveryWayToCrashLeavesADumpAndEndsAsEver) {
  struct Case {
    const char* way;
    DWORD code;
    DWORD exit_code;
  };
  const Case cases[] = {
      {"null write", EXCEPTION_ACCESS_VIOLATION, EXCEPTION_ACCESS_VIOLATION},
      {"stack overflow", EXCEPTION_STACK_OVERFLOW, EXCEPTION_STACK_OVERFLOW},
      {"terminate", 0xE04D0001, 3},
      {"abort", 0xE04D0001, 3},
  };
  const TestFolder folder;
  // All at once: what takes its time is the writer.
  std::vector<CrashingProgram> programs;
  for (const Case& c : cases)
    programs.emplace_back(c.way, folder.Path(c.way));
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    SCOPED_TRACE(c.way);
    EXPECT_EQ(programs[i].ExitCode(), c.exit_code);
    const std::string crashes = JoinPath(folder.Path(c.way), "crash");
    const std::vector<DirectoryEntry> dumps = ListDirectory(crashes);
    ASSERT_EQ(dumps.size(), 1u);
    EXPECT_EQ(dumps[0].name_gbk.size(), std::strlen("melorin-20010203-040506.dmp"));
    MappedFile dump;
    EXPECT_TRUE(dump.Open(JoinPath(crashes, dumps[0].name_gbk)));
    EXPECT_EQ(ExceptionCodeIn(dump.Bytes()), c.code);
  }
}

TEST(AppCrashDump, TheOldestGoesAndTheNewestIsTold) {
  const TestFolder folder;
  MakeDirectory(folder.Path("crash"));
  const auto old = [](int day) { return "crash\\melorin-2001020" + std::to_string(day) + "-040506.dmp"; };
  for (int day = 1; day <= 6; ++day)
    folder.Write(old(day), "MDMP");
  folder.Write("crash\\notes.txt", "mine");
  {
    const CrashDump dump(folder.Path());
    EXPECT_EQ(dump.NewestGbk(), folder.Path(old(6)));
  }
  EXPECT_FALSE(FileExists(folder.Path(old(1))));
  EXPECT_NE(CrashingProgram("null write", folder.Path()).ExitCode(), 0u);
  EXPECT_FALSE(FileExists(folder.Path(old(2))));
  EXPECT_TRUE(FileExists(folder.Path(old(3))));
  EXPECT_TRUE(FileExists(folder.Path("crash\\notes.txt")));
  EXPECT_EQ(ListDirectory(folder.Path("crash")).size(), CrashDump::kKept + 1);
}

}  // namespace
}  // namespace melorin
