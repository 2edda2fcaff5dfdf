// SPDX-License-Identifier: MIT
//
// A program that does nothing: a window, and silence that DirectSound plays in a loop. What it takes, the
// platform takes; scripts/bench_player.py measures it beside the player.
#include <windows.h>

#include <mmsystem.h>

#include <dsound.h>

#include <cstring>

namespace {

constexpr DWORD kBytesPerSecond = 44100 * 4;

IDirectSoundBuffer* PlaySilence(HWND window) {
  using CreateFunction = HRESULT(WINAPI*)(const GUID*, IDirectSound8**, IUnknown*);
  const HMODULE library = LoadLibraryW(L"dsound.dll");
  if (!library) return nullptr;
  const FARPROC address = GetProcAddress(library, "DirectSoundCreate8");
  CreateFunction create = nullptr;
  static_assert(sizeof(create) == sizeof(address));
  std::memcpy(&create, &address, sizeof(create));
  IDirectSound8* device = nullptr;
  if (!create || FAILED(create(nullptr, &device, nullptr))) return nullptr;
  device->SetCooperativeLevel(window, DSSCL_PRIORITY);
  WAVEFORMATEX format{WAVE_FORMAT_PCM, 2, 44100, kBytesPerSecond, 4, 16, 0};
  DSBUFFERDESC description{};
  description.dwSize = sizeof(description);
  description.dwFlags = DSBCAPS_GLOBALFOCUS | DSBCAPS_GETCURRENTPOSITION2;
  description.dwBufferBytes = kBytesPerSecond;
  description.lpwfxFormat = &format;
  IDirectSoundBuffer* buffer = nullptr;
  if (FAILED(device->CreateSoundBuffer(&description, &buffer, nullptr))) return nullptr;
  void* data = nullptr;
  DWORD bytes = 0;
  if (FAILED(buffer->Lock(0, kBytesPerSecond, &data, &bytes, nullptr, nullptr, 0))) return nullptr;
  std::memset(data, 0, bytes);
  buffer->Unlock(data, bytes, nullptr, 0);
  return SUCCEEDED(buffer->Play(0, 0, DSBPLAY_LOOPING)) ? buffer : nullptr;
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
  WNDCLASSW window_class{};
  window_class.lpfnWndProc = DefWindowProcW;
  window_class.hInstance = instance;
  window_class.lpszClassName = L"EmptyProgram";
  RegisterClassW(&window_class);
  const HWND window = CreateWindowW(L"EmptyProgram", L"", WS_POPUP | WS_VISIBLE, 0, 0, 360, 160, nullptr,
                                    nullptr, instance, nullptr);
  if (!window || !PlaySilence(window)) return 1;
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0)
    DispatchMessageW(&message);
  return 0;
}
