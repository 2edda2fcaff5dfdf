// SPDX-License-Identifier: MIT
#include "app/start_up.h"

#include <commctrl.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "app/application.h"
#include "app/command_line.h"
#include "app/component_runtime.h"
#include "app/crash_dump.h"
#include "app/program_folders.h"
#include "app/single_instance.h"
#include "app/standard_output.h"
#include "app/status_report.h"
#include "doc/settings_location.h"
#include "platform/com.h"
#include "platform/file.h"
#include "platform/folders.h"
#include "platform/text.h"
#include "sound/sound_library.h"

namespace melorin {
namespace {

constexpr LCID kChinesePrc = 2052;

class LibraryScope {
 public:
  explicit LibraryScope(SoundLibrary& library) : library_(library) {}
  ~LibraryScope() { library_.Shutdown(); }
  LibraryScope(const LibraryScope&) = delete;
  LibraryScope& operator=(const LibraryScope&) = delete;

 private:
  SoundLibrary& library_;
};

std::string DataFolderFor(const CommandLine& line) {
  return line.data_folder.empty() ? DataFolder() : FullPath(GbkFromUtf16(line.data_folder));
}

int RunWindow(HINSTANCE instance, int show, SingleInstance& single, const SoundLibrary& library,
              const std::vector<std::u16string>& arguments) {
  CommandLine line = ParseArguments(arguments);
  const std::string data_folder = DataFolderFor(line);
  const CrashDump crash_dump(data_folder);
  Application application(instance, library, data_folder);
  Player& player = application.GetPlayer();
  if (!line.log_path.empty() && !player.Log().Open(line.log_path))
    line.problems.push_back(u"无法写入日志文件：" + line.log_path);
  if (!crash_dump.NewestGbk().empty())
    player.Log().Write(LogEntry("crash_dump").Add("file", Utf16FromGbk(crash_dump.NewestGbk())));
  player.LoadSettings();
  if (!application.Start(std::move(line)) || !application.Open(show)) return 3;
  player.Log().Write(LogEntry("started").Add("window_ms", ProcessAgeMs()));
  single.Listen([&application](std::u16string text) { return application.TakeCommandLine(std::move(text)); });
  const int exit_code = application.Run();
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
  const bool asks = ParseArguments(arguments).status;
  SingleInstance single;
  switch (single.Enter(JoinArguments(FullArguments(arguments)))) {
    case SingleInstance::Role::kHandedOver:
      if (asks && !single.Answer().empty()) PrintLine(single.Answer());
      return 1;
    case SingleInstance::Role::kNotTaken:
      return 1;
    case SingleInstance::Role::kFirst:
    case SingleInstance::Role::kUnavailable:
      break;
  }
  if (asks) return PrintLine(FormatNotRunning()) ? 0 : 1;

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
