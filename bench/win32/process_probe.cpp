// SPDX-License-Identifier: MIT
//
// Looks at a running player from outside, and presses its keys; for scripts/bench_player.py.
//
//   process_probe counts                  prints its handles, GDI and USER objects as JSON
//   process_probe press KEY [TIMES]       virtual key codes, to the player window; prints when, in ms since
//   the
//                                         player's process began
//   process_probe skins TIMES             chooses the second skin and the first in turns, by the window's
//   menu; each
//                                         must give the window another size
//   process_probe stay                    keeps the system running
//
// Wine has no GetGuiResources and no GetProcessHandleCount. There handles are counted in the system's table
// of them, GDI objects in the table that the process keeps, and USER objects by which numbers are left: freed
// ones are given again, so when so many menus have been made that no gap is left, the highest number tells
// how many there were. These are those of the whole session, which the player must have for itself.
#include <windows.h>

#include <winternl.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr wchar_t kMainClass[] = L"MelorinMainWnd";
constexpr wchar_t kPlayerClass[] = L"MelorinPlayerWnd";
constexpr ULONG kHandlesClass = 16;       // SystemHandleInformation
constexpr size_t kGdiTableOffset = 0x94;  // Of the PEB of a 32-bit process.
constexpr size_t kGdiHandles = 0x4000;
constexpr DWORD kPatienceMs = 10000;

struct SystemHandle {
  ULONG owner;
  BYTE type;
  BYTE flags;
  USHORT value;
  PVOID object;
  ULONG access;
};

/// As of Wine; on Windows GetGuiResources answers.
struct GdiEntry {
  uint64_t object;
  uint32_t owner;
  uint16_t unique;
  uint8_t type;  ///< 0: free.
  uint8_t flags;
  uint64_t user_pointer;
};
static_assert(sizeof(GdiEntry) == 24);

[[noreturn]] void Fail(const char* why) {
  std::fprintf(stderr, "process_probe: %s (%lu)\n", why, GetLastError());
  std::exit(1);
}

HWND WindowOf(const wchar_t* class_name) {
  const HWND window = FindWindowW(class_name, nullptr);
  if (!window) Fail("no player runs");
  return window;
}

class Process {
 public:
  Process() {
    GetWindowThreadProcessId(WindowOf(kMainClass), &id_);
    handle_ = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id_);
    if (!handle_) Fail("the process cannot be opened");
  }
  ~Process() { CloseHandle(handle_); }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  double AgeMs() const {
    FILETIME created{}, ignored{}, now{};
    if (!GetProcessTimes(handle_, &created, &ignored, &ignored, &ignored)) Fail("no process times");
    GetSystemTimeAsFileTime(&now);
    const auto ticks = [](const FILETIME& time) {
      return static_cast<int64_t>((uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime);
    };
    return static_cast<double>(ticks(now) - ticks(created)) / 1e4;
  }

  size_t Handles() const {
    DWORD count = 0;
    if (GetProcessHandleCount(handle_, &count) && count > 0) return count;
    std::vector<std::byte> table(1 << 20);
    const NTSTATUS status = NtQuerySystemInformation(static_cast<SYSTEM_INFORMATION_CLASS>(kHandlesClass),
                                                     table.data(), static_cast<ULONG>(table.size()), nullptr);
    if (status != 0) Fail("no table of handles");
    ULONG all = 0;
    std::memcpy(&all, table.data(), sizeof(all));
    std::vector<SystemHandle> handles(all);
    std::memcpy(handles.data(), table.data() + sizeof(ULONG), all * sizeof(SystemHandle));
    return static_cast<size_t>(std::count_if(
        handles.begin(), handles.end(), [this](const SystemHandle& entry) { return entry.owner == id_; }));
  }

  size_t GdiObjects() const {
    if (const DWORD count = GetGuiResources(handle_, GR_GDIOBJECTS)) return count;
    PROCESS_BASIC_INFORMATION information{};
    if (NtQueryInformationProcess(handle_, ProcessBasicInformation, &information, sizeof(information),
                                  nullptr))
      Fail("no process information");
    uint32_t table = 0;
    Read(reinterpret_cast<const std::byte*>(information.PebBaseAddress) + kGdiTableOffset, &table,
         sizeof(table));
    std::vector<GdiEntry> entries(kGdiHandles);
    Read(reinterpret_cast<const void*>(table), entries.data(), entries.size() * sizeof(GdiEntry));
    return static_cast<size_t>(
        std::count_if(entries.begin(), entries.end(), [](const GdiEntry& entry) { return entry.type != 0; }));
  }

  size_t UserObjects() const {
    if (const DWORD count = GetGuiResources(handle_, GR_USEROBJECTS)) return count;
    constexpr size_t kMenus = 4000;  // More than there can be gaps.
    constexpr uintptr_t kFirst = 0x20;
    std::vector<HMENU> menus;
    uintptr_t highest = 0;
    for (size_t i = 0; i < kMenus; ++i) {
      const HMENU menu = CreatePopupMenu();
      if (!menu) Fail("no menu");
      menus.push_back(menu);
      highest = std::max(highest, reinterpret_cast<uintptr_t>(menu) & 0xFFFF);
    }
    for (const HMENU menu : menus)
      DestroyMenu(menu);
    return (highest - kFirst) / 2 + 1 - kMenus;
  }

 private:
  void Read(const void* address, void* out, size_t bytes) const {
    if (!ReadProcessMemory(handle_, address, out, bytes, nullptr))
      Fail("the process's memory cannot be read");
  }

  DWORD id_ = 0;
  HANDLE handle_ = nullptr;
};

void Press(HWND window, WPARAM key) {
  DWORD_PTR result = 0;
  if (!SendMessageTimeoutW(window, WM_KEYDOWN, key, 1, SMTO_NORMAL, kPatienceMs, &result) ||
      !SendMessageTimeoutW(window, WM_KEYUP, key, 1, SMTO_NORMAL, kPatienceMs, &result))
    Fail("the player does not answer");
}

SIZE SizeOf(HWND window) {
  RECT place{};
  GetWindowRect(window, &place);
  return {place.right - place.left, place.bottom - place.top};
}

/// In the menu: "k" opens the skins, and a digit chooses one.
void ChooseSkin(HWND window, wchar_t digit) {
  const SIZE before = SizeOf(window);
  RECT place{};
  GetWindowRect(window, &place);
  // On the caption.
  PostMessageW(window, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(window),
               MAKELPARAM((place.left + place.right) / 2, place.top + 8));
  PostMessageW(window, WM_CHAR, L'k', 1);
  PostMessageW(window, WM_CHAR, digit, 1);
  for (DWORD waited = 0; waited < kPatienceMs; waited += 5) {
    const SIZE size = SizeOf(window);
    if (size.cx != before.cx || size.cy != before.cy) return;
    Sleep(5);
  }
  Fail("the window keeps its size");
}

int Number(const char* text) {
  return std::atoi(text);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "counts" && argc == 2) {
    const Process process;
    std::printf("{\"handles\":%u,\"gdi\":%u,\"user\":%u}\n", static_cast<unsigned>(process.Handles()),
                static_cast<unsigned>(process.GdiObjects()), static_cast<unsigned>(process.UserObjects()));
    return 0;
  }
  if (command == "press" && (argc == 3 || argc == 4)) {
    const Process process;
    const HWND window = WindowOf(kPlayerClass);
    const double sent = process.AgeMs();
    for (int i = argc == 4 ? Number(argv[3]) : 1; i > 0; --i)
      Press(window, static_cast<WPARAM>(Number(argv[2])));
    std::printf("{\"sent_ms\":%.1f}\n", sent);
    return 0;
  }
  if (command == "skins" && argc == 3) {
    const HWND window = WindowOf(kPlayerClass);
    for (int i = 0; i < Number(argv[2]); ++i)
      ChooseSkin(window, i % 2 == 0 ? L'2' : L'1');
    return 0;
  }
  if (command == "stay" && argc == 2) Sleep(INFINITE);
  std::fprintf(stderr, "process_probe counts | press KEY [TIMES] | skins TIMES | stay\n");
  return 2;
}
