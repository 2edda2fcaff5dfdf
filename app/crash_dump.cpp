// SPDX-License-Identifier: MIT
#include "app/crash_dump.h"

#include <windows.h>

#include <dbghelp.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <vector>

#include "app/win_handle.h"
#include "platform/com.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr wchar_t kFolderName[] = L"crash";
constexpr wchar_t kNamePattern[] = L"melorin-*.dmp";
/// A dump takes tenths of a second, under Wine seconds. The writer may hang, on a lock of a thread that it
/// has stopped; the process has to end all the same.
constexpr DWORD kPatienceMs = 20000;
/// Committed when the thread is made, so that a crash for want of memory finds it there.
constexpr SIZE_T kWorkerStackBytes = 256 * 1024;
/// What the thread that shows the windows keeps back of its stack for a handler of stack overflows. Other
/// threads have what the system leaves them, which is enough to wake the worker.
constexpr ULONG kStackReserveBytes = 16 * 1024;

/// Of dumps for std::terminate and abort, which have no code of the system's. Bit 29 marks a program's own.
constexpr DWORD kAbortCode = 0xE04D0001;
constexpr UINT kAbortExitCode = 3;  ///< What abort ends with.

using WriteDump = decltype(&MiniDumpWriteDump);

/// From the system's own folder, never from beside the program.
WriteDump LoadWriter() {
  wchar_t path[MAX_PATH + 16];
  const UINT length = GetSystemDirectoryW(path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return nullptr;
  lstrcatW(path, L"\\dbghelp.dll");
  const HMODULE module = LoadLibraryW(path);
  if (!module) return nullptr;
  return reinterpret_cast<WriteDump>(reinterpret_cast<void*>(GetProcAddress(module, "MiniDumpWriteDump")));
}

/// Oldest first: the names carry the time.
std::vector<std::wstring> StoredDumps(const std::wstring& folder) {
  std::vector<std::wstring> paths;
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW((folder + L'\\' + kNamePattern).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return paths;
  do {
    paths.push_back(folder + L'\\' + found.cFileName);
  } while (FindNextFileW(search, &found));
  FindClose(search);
  std::sort(paths.begin(), paths.end());
  return paths;
}

bool CopyPath(const std::wstring& path, wchar_t (&to)[MAX_PATH]) {
  if (path.size() >= MAX_PATH) return false;
  std::copy(path.c_str(), path.c_str() + path.size() + 1, to);
  return true;
}

}  // namespace

struct CrashDump::Worker {
  // All of it is set before the thread starts, but `exception` and `thread`.
  wchar_t data_folder[MAX_PATH] = {};
  wchar_t folder[MAX_PATH] = {};
  wchar_t oldest[MAX_PATH] = {};  ///< To go when another dump is there; empty: there is room.

  WinHandle wanted;  ///< Set: `exception` is to be written, or without one the thread is to end.
  WinHandle done;    ///< Set once and for all.
  WinHandle handle;
  DWORD id = 0;
  LONG taken = 0;
  EXCEPTION_POINTERS* exception = nullptr;
  DWORD thread = 0;

  LPTOP_LEVEL_EXCEPTION_FILTER old_filter = nullptr;
  std::terminate_handler old_terminate = nullptr;
  void(__cdecl* old_abort)(int) = nullptr;

  bool Start() {
    wanted = WinHandle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    done = WinHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!wanted || !done) return false;
    handle = WinHandle(CreateThread(nullptr, kWorkerStackBytes, &Worker::Run, this, 0, &id));
    return static_cast<bool>(handle);
  }

  static DWORD WINAPI Run(void* self) {
    static_cast<Worker*>(self)->Work();
    return 0;
  }

  void Work() {
    // Here, so that start-up need not wait for it.
    const WriteDump write = LoadWriter();
    WaitForSingleObject(wanted.get(), INFINITE);
    if (!exception) return;
    if (write) Write(write);
    SetEvent(done.get());
  }

  void Write(WriteDump write) {
    CreateDirectoryW(data_folder, nullptr);
    CreateDirectoryW(folder, nullptr);
    SYSTEMTIME now;
    GetLocalTime(&now);
    wchar_t path[MAX_PATH + 32];
    wsprintfW(path, L"%s\\melorin-%04u%02u%02u-%02u%02u%02u.dmp", folder, now.wYear, now.wMonth, now.wDay,
              now.wHour, now.wMinute, now.wSecond);
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    MINIDUMP_EXCEPTION_INFORMATION information = {thread, exception, FALSE};
    const auto write_as = [&](int type) {
      return write(GetCurrentProcess(), GetCurrentProcessId(), file, static_cast<MINIDUMP_TYPE>(type),
                   &information, nullptr, nullptr) != FALSE;
    };
    // Older systems refuse what they do not know.
    const bool written =
        write_as(MiniDumpWithIndirectlyReferencedMemory | MiniDumpWithThreadInfo |
                 MiniDumpWithUnloadedModules) ||
        (SetFilePointer(file, 0, nullptr, FILE_BEGIN) == 0 && SetEndOfFile(file) && write_as(MiniDumpNormal));
    CloseHandle(file);
    if (!written) {
      DeleteFileW(path);
    } else if (*oldest && lstrcmpW(oldest, path) != 0) {
      DeleteFileW(oldest);
    }
  }

  /// On the crashed thread: little stack, no lock.
  void Request(EXCEPTION_POINTERS* pointers) {
    if (GetCurrentThreadId() == id) return;
    if (InterlockedExchange(&taken, 1) == 0) {
      thread = GetCurrentThreadId();
      exception = pointers;
      SetEvent(wanted.get());
    }
    // Threads that crash while one is at it wait as well: the first to go on ends the process.
    WaitForSingleObject(done.get(), kPatienceMs);
  }
};

namespace {

CrashDump::Worker* current = nullptr;

LONG WINAPI OnUnhandled(EXCEPTION_POINTERS* exception) {
  if (!current) return EXCEPTION_CONTINUE_SEARCH;
  current->Request(exception);
  return current->old_filter ? current->old_filter(exception) : EXCEPTION_CONTINUE_SEARCH;
}

/// A dump of the calling thread as it stands, as if it had raised `code` here.
__attribute__((noinline)) void DumpHere(DWORD code) {
  if (!current) return;
  CONTEXT context;
  RtlCaptureContext(&context);
  EXCEPTION_RECORD record{};
  record.ExceptionCode = code;
  record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
  record.ExceptionAddress = __builtin_return_address(0);
  EXCEPTION_POINTERS pointers = {&record, &context};
  current->Request(&pointers);
}

// These end the process at once: abort would show a message box first, on top of what the user has lost.

[[noreturn]] void OnTerminate() {
  DumpHere(kAbortCode);
  TerminateProcess(GetCurrentProcess(), kAbortExitCode);
  std::abort();
}

void OnAbort(int) {
  OnTerminate();
}

}  // namespace

CrashDump::CrashDump(const std::string& data_folder_gbk) {
  const std::u16string data_folder = Utf16FromGbk(data_folder_gbk);
  const std::wstring folder = std::wstring(AsWide(data_folder.c_str())) + L'\\' + kFolderName;
  std::vector<std::wstring> dumps = StoredDumps(folder);
  if (!dumps.empty()) newest_gbk_ = GbkFromUtf16(AsChar16(dumps.back().c_str()));
  // More than the rule allows are there when two programs crashed side by side.
  while (dumps.size() > kKept) {
    DeleteFileW(dumps.front().c_str());
    dumps.erase(dumps.begin());
  }

  auto worker = std::make_unique<Worker>();
  if (!CopyPath(AsWide(data_folder.c_str()), worker->data_folder) || !CopyPath(folder, worker->folder))
    return;
  if (dumps.size() == kKept) CopyPath(dumps.front(), worker->oldest);
  if (!worker->Start()) return;
  worker_ = std::move(worker);

  ULONG reserve = kStackReserveBytes;
  SetThreadStackGuarantee(&reserve);
  current = worker_.get();
  worker_->old_filter = SetUnhandledExceptionFilter(&OnUnhandled);
  worker_->old_terminate = std::set_terminate(&OnTerminate);
  worker_->old_abort = std::signal(SIGABRT, &OnAbort);
}

CrashDump::~CrashDump() {
  if (!worker_) return;
  std::signal(SIGABRT, worker_->old_abort);
  std::set_terminate(worker_->old_terminate);
  SetUnhandledExceptionFilter(worker_->old_filter);
  current = nullptr;
  SetEvent(worker_->wanted.get());
  WaitForSingleObject(worker_->handle.get(), INFINITE);
}

}  // namespace melorin
