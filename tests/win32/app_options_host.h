// SPDX-License-Identifier: MIT
//
// A player for the options dialog to change, and a user who answers its questions.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "app/component_runtime.h"
#include "app/options/choosers.h"
#include "app/options/options_host.h"
#include "platform/file.h"
#include "platform/thread.h"

namespace melorin {

class FakeOptionsHost final : public OptionsHost {
 public:
  FakeOptionsHost() {
    const INITCOMMONCONTROLSEX controls = {sizeof(INITCOMMONCONTROLSEX), ICC_WIN95_CLASSES};
    InitCommonControlsEx(&controls);
    library_.Start(folder);
  }
  ~FakeOptionsHost() { library_.Shutdown(); }

  Settings& Values() override { return values; }
  void SettingsChanged(SettingsPart part) override { changed.push_back(part); }
  const SoundLibrary& Library() override { return library_; }
  std::string DataFolderGbk() override { return folder; }
  std::string SkinFolderGbk() override { return JoinPath(folder, "Skin"); }
  std::string AddInFolderGbk() override { return JoinPath(folder, "AddIn"); }
  std::u16string Version() override { return u"1.2.3"; }
  std::vector<CommandId> RefusedHotKeys() override { return refused; }
  void SuspendHotKeys(bool suspended) override { hot_keys_suspended = suspended; }
  void PostTask(std::function<void()> task) override {
    const Lock lock(lock_);
    tasks_.push_back(std::move(task));
  }

  /// Messages and posted tasks, until there are none.
  void Pump() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    std::vector<std::function<void()>> tasks;
    {
      const Lock lock(lock_);
      tasks.swap(tasks_);
    }
    for (const auto& task : tasks)
      task();
  }
  bool PumpUntil(const std::function<bool()>& done) {
    constexpr DWORD kLongestMs = 10000;
    for (const DWORD start = GetTickCount(); !done(); Sleep(5)) {
      if (GetTickCount() - start > kLongestMs) return false;
      Pump();
    }
    return true;
  }

  const std::string folder = JoinPath(TempDirectory(), "melorin_app_options");
  Settings values{RegistryProbe()};
  std::vector<SettingsPart> changed;
  std::vector<CommandId> refused;
  bool hot_keys_suspended = false;

 private:
  const ComponentRuntime runtime_;
  SoundLibrary library_;
  CriticalSection lock_;
  std::vector<std::function<void()>> tasks_;
};

/// Chooses something else than there is.
class FakeUser final : public Choosers {
 public:
  std::optional<SettingsColour> Colour(HWND, SettingsColour now) override {
    if (while_asked) while_asked();
    return SettingsColour{now.value ^ 0x00010203};
  }
  std::optional<FontRecord> Font(HWND, const FontRecord& now) override {
    FontRecord font = now;
    font.height -= 3;
    return font;
  }
  std::optional<std::string> Folder(HWND, const std::string&) override { return "C:\\chosen"; }
  std::optional<std::string> File(HWND, const FileQuestion& question) override {
    asked = question;
    return file;
  }
  void Tell(HWND, const std::u16string& text) override { told = text; }

  std::function<void()> while_asked;
  FileQuestion asked;
  std::string file = "C:\\chosen.ico";
  std::u16string told;
};

}  // namespace melorin
