// SPDX-License-Identifier: MIT
#include "app/start_up.h"

#include <commctrl.h>
#include <objbase.h>

#include <cstdlib>
#include <string>

#include "app/command_line.h"
#include "app/main_window.h"
#include "app/single_instance.h"
#include "platform/com.h"
#include "platform/text.h"
#include "sound/sound_library.h"

namespace melorin {
namespace {

constexpr LCID kChinesePrc = 2052;

/// The component runtime, of which the UI thread is a single-threaded apartment.
class ComponentRuntime {
 public:
  ComponentRuntime() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
  ~ComponentRuntime() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  ComponentRuntime(const ComponentRuntime&) = delete;
  ComponentRuntime& operator=(const ComponentRuntime&) = delete;

 private:
  HRESULT result_;
};

class LibraryScope {
 public:
  explicit LibraryScope(SoundLibrary& library) : library_(library) {}
  ~LibraryScope() { library_.Shutdown(); }
  LibraryScope(const LibraryScope&) = delete;
  LibraryScope& operator=(const LibraryScope&) = delete;

 private:
  SoundLibrary& library_;
};

std::string AddInFolderGbk() {
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = 0;
  while ((length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) == path.size())
    path.resize(path.size() * 2);
  path.resize(length);
  path.resize(path.find_last_of(L'\\') + 1);
  path += L"AddIn";
  return GbkFromUtf16(std::u16string_view(AsChar16(path.c_str()), path.size()));
}

int RunWindow(HINSTANCE instance, int show, SingleInstance& single, const SoundLibrary& library,
              const std::vector<std::u16string>& arguments) {
  CommandLine line = ParseArguments(arguments);
  MainWindow window(instance, library);
  if (!line.log_path.empty() && !window.Log().Open(line.log_path))
    line.problems.push_back(u"无法写入日志文件：" + line.log_path);
  if (!window.Create(show)) return 3;
  window.Log().Write(LogEntry("started").Add("window_ms", ProcessAgeMs()));
  single.Listen([handle = window.Window()](std::u16string text) {
    return MainWindow::PostCommandLine(handle, std::move(text));
  });
  window.Execute(std::move(line));
  const int exit_code = window.Run();
  single.StopListening();
  return exit_code;
}

}  // namespace

void SetUpLocale() {
  if (GetThreadLocale() != kChinesePrc && !SetThreadLocale(kChinesePrc))
    SetLocaleInfoW(kChinesePrc, LOCALE_IDEFAULTANSICODEPAGE, L"936");
  if (!IsValidCodePage(kCodePageGbk) || !IsValidCodePage(kCodePageUtf8)) {
    MessageBoxW(
        nullptr,
        L"To display Chinese (Simplified) correctly, make sure code page 936 and UTF-8 is installed in your "
        L"system!",
        kProductName, MB_OK | MB_ICONWARNING);
  }
}

int RunPlayer(HINSTANCE instance, int show) {
  SetUpLocale();

  const std::vector<std::u16string> arguments = SplitCommandLine(AsChar16(GetCommandLineW()), true);
  SingleInstance single;
  switch (single.Enter(JoinArguments(FullArguments(arguments)))) {
    case SingleInstance::Role::kHandedOver:
    case SingleInstance::Role::kNotTaken:
      return 1;
    case SingleInstance::Role::kFirst:
    case SingleInstance::Role::kUnavailable:
      break;
  }

  const ComponentRuntime runtime;
  const INITCOMMONCONTROLSEX controls = {sizeof(INITCOMMONCONTROLSEX), ICC_WIN95_CLASSES | ICC_BAR_CLASSES};
  InitCommonControlsEx(&controls);
  std::srand(GetTickCount());

  SoundLibrary library;
  const HRESULT result = library.Start(AddInFolderGbk());
  if (FAILED(result)) {
    MessageBoxW(nullptr, L"Sound Library 初始化失败，播放器无法正常启动！", kProductName,
                MB_OK | MB_ICONERROR);
    return result;
  }
  const LibraryScope shutdown(library);

  SetProcessWorkingSetSize(GetCurrentProcess(), static_cast<SIZE_T>(-1), static_cast<SIZE_T>(-1));
  return RunWindow(instance, show, single, library, arguments);
}

}  // namespace melorin
