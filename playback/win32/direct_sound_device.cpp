// SPDX-License-Identifier: MIT
#include "playback/win32/direct_sound_device.h"

#include <windows.h>

#include <mmsystem.h>

#include <dsound.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "platform/text.h"
#include "platform/thread.h"
#include "playback/device_format.h"
#include "playback/heard_position.h"
#include "playback/ring_account.h"
#include "playback/win32/device_base.h"
#include "playback/win32/driver_thread.h"

namespace melorin {

namespace {

constexpr GUID kDefaultPlayback = {
    0xDEF00000, 0x9C6D, 0x47ED, {0xAA, 0xF1, 0x4D, 0xDA, 0x8F, 0x2B, 0x5C, 0x03}};
constexpr GUID kIidDirectSound8 = {
    0xC50A7E93, 0xF395, 0x4834, {0x9E, 0xF6, 0x7F, 0xA9, 0x9D, 0xE5, 0x09, 0x66}};
constexpr DWORD kMinBufferBytes = 1024;
constexpr DWORD kBufferFlags =
    DSBCAPS_GETCURRENTPOSITION2 | DSBCAPS_GLOBALFOCUS | DSBCAPS_CTRLVOLUME | DSBCAPS_CTRLPAN;
static_assert(kBufferFlags == 0x180C0 && (kBufferFlags | DSBCAPS_LOCSOFTWARE) == 0x180C8);
static_assert(sizeof(DSBUFFERDESC) == 36 && sizeof(DSBUFFERDESC1) == 20);

/// Between the play cursor and what is heard: the mixer's own queue.
constexpr uint32_t kLatencyMs = 60;
/// How long a caller waits for DirectSound, which waits for the sound server behind it.
constexpr uint32_t kOpenMs = 3000;
constexpr uint32_t kReleaseMs = 1000;

using CreateFunction = HRESULT(WINAPI*)(LPCGUID, LPDIRECTSOUND*, LPUNKNOWN);
using EnumerateFunction = HRESULT(WINAPI*)(LPDSENUMCALLBACKA, LPVOID);

/// The functions of dsound.dll, null where it lacks them.
struct Library {
  CreateFunction create = nullptr;
  EnumerateFunction enumerate = nullptr;

  Library() {
    const HMODULE module = LoadLibraryW(L"dsound.dll");
    if (!module) return;
    // Version 8 objects are handed out as IDirectSound8, which begins as IDirectSound does.
    create = Find<CreateFunction>(module, "DirectSoundCreate8");
    if (!create) create = Find<CreateFunction>(module, "DirectSoundCreate");
    enumerate = Find<EnumerateFunction>(module, "DirectSoundEnumerateA");
  }

  template <class Function>
  static Function Find(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  }
};

const Library& DirectSoundLibrary() {
  static const Library library;
  return library;
}

}  // namespace

class DirectSoundHost {
 public:
  ComPtr<IDirectSound> object;
  ComPtr<IDirectSoundBuffer> primary;
  bool version8 = false;

  void CreatePrimary() {
    DSBUFFERDESC description = {};
    description.dwSize = version8 ? sizeof(DSBUFFERDESC) : sizeof(DSBUFFERDESC1);
    description.dwFlags = DSBCAPS_PRIMARYBUFFER;
    if (FAILED(object->CreateSoundBuffer(&description, primary.Receive(), nullptr))) {
      primary.Reset();
      return;
    }
    const WAVEFORMATEX format = MakePcmFormat(2, 44100, 16);
    primary->SetFormat(&format);
  }
};

namespace {

/// The last reference waits for the mixer's thread, which stands still together with the sound server behind
/// it. So it is given away on another thread. Messages are not answered meanwhile: whoever lets go of a
/// device is in the middle of something.
void ReleaseInTime(std::shared_ptr<DirectSoundHost> host, ComPtr<IDirectSoundBuffer> buffer) {
  try {
    const auto released = std::make_shared<Event>(Event::Mode::kManualReset);
    if (StartDriverThread([host = std::move(host), buffer = std::move(buffer), released]() mutable {
          buffer.Reset();
          host.reset();
          released->Set();
        }))
      released->Wait(kReleaseMs);
  } catch (const std::bad_alloc&) {
    // Released here, then.
  }
}

class DirectSoundDevice final : public DeviceBase<DeviceKind::kDirectSound> {
 public:
  DirectSoundDevice(std::shared_ptr<DirectSoundHost> host, std::vector<uint8_t> format, uint32_t buffer_bytes,
                    bool software)
      : host_(std::move(host)),
        format_bytes_(std::move(format)),
        buffer_bytes_(buffer_bytes),
        software_(software),
        ring_(buffer_bytes, Format().nAvgBytesPerSec, Format().nBlockAlign),
        heard_(Format().nAvgBytesPerSec, Format().nBlockAlign, kLatencyMs) {}

  HRESULT Open();

  HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) override;
  HRESULT STDMETHODCALLTYPE Play() override;
  HRESULT STDMETHODCALLTYPE Pause() override;
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t volume) override;
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t balance) override;
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) override;

 private:
  ~DirectSoundDevice() override { ReleaseInTime(std::move(host_), std::move(buffer_)); }
  const WAVEFORMATEX& Format() const { return *reinterpret_cast<const WAVEFORMATEX*>(format_bytes_.data()); }
  HRESULT Refresh();
  HRESULT Restore();
  HRESULT Fill(RingAccount::Span span, const uint8_t* data);
  void SilenceStale();

  std::shared_ptr<DirectSoundHost> host_;
  const std::vector<uint8_t> format_bytes_;
  const uint32_t buffer_bytes_;
  const bool software_;
  ComPtr<IDirectSoundBuffer> buffer_;

  /// Guards what follows. Held while DirectSound is called, which never calls back.
  CriticalSection lock_;
  RingAccount ring_;
  HeardPosition heard_;
  bool playing_ = false;

  std::atomic<int32_t> volume_{100};
  std::atomic<int32_t> balance_{0};
};

HRESULT DirectSoundDevice::Open() {
  DSBUFFERDESC description = {};
  description.dwSize = host_->version8 ? sizeof(DSBUFFERDESC) : sizeof(DSBUFFERDESC1);
  description.dwFlags = kBufferFlags | (software_ ? DSBCAPS_LOCSOFTWARE : 0);
  description.dwBufferBytes = buffer_bytes_;
  description.lpwfxFormat = const_cast<WAVEFORMATEX*>(&Format());
  const HRESULT result = host_->object->CreateSoundBuffer(&description, buffer_.Receive(), nullptr);
  if (FAILED(result)) {
    static_cast<void>(buffer_.Detach());
    return result;
  }
  // The buffer may be longer than asked for on some cards; only a buffer of exactly this size loops where we
  // do.
  DSBCAPS caps = {};
  caps.dwSize = sizeof caps;
  if (SUCCEEDED(buffer_->GetCaps(&caps)) && caps.dwBufferBytes != buffer_bytes_) return E_FAIL;
  const Lock lock(lock_);
  return Fill({0, buffer_bytes_}, nullptr);
}

HRESULT DirectSoundDevice::Clone(OutputDevice** out) {
  if (!out) return E_POINTER;
  const HRESULT result = OpenDirectSoundDevice(host_, Format(), buffer_bytes_, software_, out);
  if (FAILED(result)) return result;
  (*out)->SetBalance(balance_);
  (*out)->SetVolume(volume_);
  return S_OK;
}

HRESULT DirectSoundDevice::Play() {
  const Lock lock(lock_);
  HRESULT result = buffer_->Play(0, 0, DSBPLAY_LOOPING);
  if (result == DSERR_BUFFERLOST) {
    result = Restore();
    if (SUCCEEDED(result)) result = buffer_->Play(0, 0, DSBPLAY_LOOPING);
  }
  if (FAILED(result)) return result;
  if (!playing_) Refresh();
  playing_ = true;
  heard_.SetRunning(true, SystemClock().TickMs());
  return S_OK;
}

HRESULT DirectSoundDevice::Pause() {
  const Lock lock(lock_);
  if (playing_) Refresh();
  const HRESULT result = buffer_->Stop();
  if (FAILED(result) && result != DSERR_BUFFERLOST) return result;
  // From here on a buffer that does not play is as it should be.
  playing_ = false;
  Refresh();
  heard_.SetRunning(false, SystemClock().TickMs());
  return S_OK;
}

HRESULT DirectSoundDevice::Reset() {
  const Lock lock(lock_);
  HRESULT result = buffer_->Stop();
  if (result == DSERR_BUFFERLOST) result = Restore();
  if (FAILED(result)) return result;
  playing_ = false;
  result = buffer_->SetCurrentPosition(0);
  if (FAILED(result)) return result;
  ring_.Reset(SystemClock().TickMs());
  heard_.Reset(SystemClock().TickMs(), false);
  return Fill({0, buffer_bytes_}, nullptr);
}

HRESULT DirectSoundDevice::SetVolume(int32_t volume) {
  volume_ = volume;
  return buffer_->SetVolume(DirectSoundVolume(volume));
}

HRESULT DirectSoundDevice::SetBalance(int32_t balance) {
  balance_ = balance;
  return buffer_->SetPan(DirectSoundPan(balance));
}

HRESULT DirectSoundDevice::GetBufferSize(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = buffer_bytes_;
  return S_OK;
}

/// Brings the bookkeeping up to the cursors. Under the lock.
HRESULT DirectSoundDevice::Refresh() {
  DWORD status = 0;
  HRESULT result = buffer_->GetStatus(&status);
  if (FAILED(result)) return result;
  if (status & DSBSTATUS_BUFFERLOST) {
    result = Restore();
    if (FAILED(result)) return result;
  } else if (playing_ && !(status & DSBSTATUS_PLAYING)) {
    // Stopped behind our back, as when its device was away for a while.
    buffer_->Play(0, 0, DSBPLAY_LOOPING);
  }
  DWORD play_cursor = 0;
  DWORD write_cursor = 0;
  result = buffer_->GetCurrentPosition(&play_cursor, &write_cursor);
  if (FAILED(result)) return result;
  ring_.Update(play_cursor, write_cursor, SystemClock().TickMs(), playing_);
  SilenceStale();
  return S_OK;
}

/// After DSERR_BUFFERLOST: the memory is back but empty. Under the lock.
HRESULT DirectSoundDevice::Restore() {
  HRESULT result = buffer_->Restore();
  if (FAILED(result)) return result;
  result = Fill({0, buffer_bytes_}, nullptr);
  if (FAILED(result)) return result;
  DWORD play_cursor = 0;
  buffer_->GetCurrentPosition(&play_cursor, nullptr);
  ring_.Restart(play_cursor, SystemClock().TickMs());
  if (playing_) result = buffer_->Play(0, 0, DSBPLAY_LOOPING);
  return result;
}

/// Copies data (null: silence) into the ring. Under the lock.
HRESULT DirectSoundDevice::Fill(RingAccount::Span span, const uint8_t* data) {
  void* first = nullptr;
  void* second = nullptr;
  DWORD first_bytes = 0;
  DWORD second_bytes = 0;
  const HRESULT result =
      buffer_->Lock(span.offset, span.bytes, &first, &first_bytes, &second, &second_bytes, 0);
  if (FAILED(result)) return result;
  if (data) {
    std::memcpy(first, data, first_bytes);
    if (second) std::memcpy(second, data + first_bytes, second_bytes);
  } else {
    const int silence = Format().wBitsPerSample == 8 ? 128 : 0;
    std::memset(first, silence, first_bytes);
    if (second) std::memset(second, silence, second_bytes);
  }
  return buffer_->Unlock(first, first_bytes, second, second_bytes);
}

void DirectSoundDevice::SilenceStale() {
  const RingAccount::Span stale = ring_.Stale();
  if (stale.bytes > 0 && SUCCEEDED(Fill(stale, nullptr))) ring_.Silenced();
}

HRESULT DirectSoundDevice::GetPosition(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = 0;
  const Lock lock(lock_);
  const HRESULT result = Refresh();
  if (FAILED(result)) return result;
  *bytes = static_cast<uint32_t>(heard_.Estimate(ring_.Played(), SystemClock().TickMs()));
  return S_OK;
}

HRESULT DirectSoundDevice::GetFreeSpace(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = 0;
  const Lock lock(lock_);
  const HRESULT result = Refresh();
  if (FAILED(result)) return result;
  *bytes = ring_.FreeBytes();
  return S_OK;
}

HRESULT DirectSoundDevice::Write(const uint8_t* data, uint32_t bytes) {
  if (bytes == 0) return S_OK;
  if (!data || bytes > buffer_bytes_) return E_INVALIDARG;
  const Lock lock(lock_);
  HRESULT result = Refresh();
  if (FAILED(result)) return result;
  const RingAccount::Span place = ring_.NextWrite(bytes);
  // Less room than reported: an underrun in between has moved the place. The caller comes again.
  if (place.bytes < bytes) return E_FAIL;
  result = Fill(place, data);
  if (FAILED(result)) return result;
  ring_.Written(bytes);
  return S_OK;
}

/// Attempts that somebody has given up and that have not ended yet.
std::atomic<int32_t> g_hosts_in_vain{0};

/// Makes a DirectSound object on a thread of its own.
struct HostAttempt {
  bool by_guid = false;
  GUID guid = {};
  HWND owner = nullptr;
  bool create_primary = false;
  HRESULT result = E_FAIL;
  std::shared_ptr<DirectSoundHost> host;

  void Run() {
    try {
      result = Make();
    } catch (const std::bad_alloc&) {
      result = E_OUTOFMEMORY;
    }
    if (FAILED(result)) host.reset();
    const Lock lock(lock_);
    ended_ = true;
    if (abandoned_) --g_hosts_in_vain;
  }
  /// True when it has ended after all.
  bool Abandon() {
    const Lock lock(lock_);
    if (ended_) return true;
    abandoned_ = true;
    ++g_hosts_in_vain;
    return false;
  }

 private:
  HRESULT Make() {
    host = std::make_shared<DirectSoundHost>();
    HRESULT made = DirectSoundLibrary().create(by_guid ? &guid : nullptr, host->object.Receive(), nullptr);
    if (FAILED(made)) {
      static_cast<void>(host->object.Detach());
      return made;
    }
    made = host->object->SetCooperativeLevel(owner, DSSCL_PRIORITY);
    if (FAILED(made)) return made;
    ComPtr<IUnknown> version8;
    host->version8 = SUCCEEDED(host->object->QueryInterface(kIidDirectSound8, version8.ReceiveVoid()));
    if (create_primary) host->CreatePrimary();
    return made;
  }

  CriticalSection lock_;
  bool ended_ = false;
  bool abandoned_ = false;
};

BOOL CALLBACK OnDevice(LPGUID guid, LPCSTR description, LPCSTR, LPVOID context) {
  auto& list = *static_cast<std::vector<DeviceInfo>*>(context);
  try {
    DeviceInfo info;
    info.kind = DeviceKind::kDirectSound;
    info.id = guid ? *guid : PackDeviceId(1, static_cast<uint16_t>(list.size()));
    info.name_gbk = GbkFromUtf8(Utf8FromCodePage(static_cast<int>(GetACP()), description ? description : ""));
    list.push_back(std::move(info));
    return TRUE;
  } catch (const std::bad_alloc&) {
    return FALSE;
  }
}

}  // namespace

HRESULT OpenDirectSoundHost(const GUID* guid, void* window, bool create_primary,
                            std::shared_ptr<DirectSoundHost>* out) {
  if (!out) return E_POINTER;
  out->reset();
  if (!DirectSoundLibrary().create) return E_FAIL;
  if (guid && SameGuid(*guid, kDefaultPlayback)) guid = nullptr;
  HWND owner = static_cast<HWND>(window);
  if (!owner || !IsWindow(owner)) owner = GetDesktopWindow();
  if (g_hosts_in_vain > 0) return kDeviceTimedOut;
  try {
    auto attempt = std::make_shared<HostAttempt>();
    attempt->by_guid = guid != nullptr;
    if (guid) attempt->guid = *guid;
    attempt->owner = owner;
    attempt->create_primary = create_primary;
    if (!RunAsDriver(kOpenMs, [attempt] { attempt->Run(); }) && !attempt->Abandon()) return kDeviceTimedOut;
    *out = std::move(attempt->host);
    return attempt->result;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT OpenDirectSoundDevice(const std::shared_ptr<DirectSoundHost>& host, const WAVEFORMATEX& format,
                              uint32_t buffer_bytes, bool software, OutputDevice** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!host || buffer_bytes < kMinBufferBytes) return E_INVALIDARG;
  if (format.nBlockAlign == 0 || format.nAvgBytesPerSec == 0) return E_INVALIDARG;
  try {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&format);
    auto device = ComPtr<DirectSoundDevice>::Adopt(new DirectSoundDevice(
        host, std::vector<uint8_t>(bytes, bytes + FormatSize(format)), buffer_bytes, software));
    const HRESULT result = device->Open();
    if (FAILED(result)) return result;
    *out = device.Detach();
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

std::vector<DeviceInfo> ListDirectSoundDevices() {
  std::vector<DeviceInfo> list;
  const Library& library = DirectSoundLibrary();
  if (library.enumerate) library.enumerate(&OnDevice, &list);
  return list;
}

HRESULT QueryDirectSoundDevice(const std::shared_ptr<DirectSoundHost>& host, DeviceCapabilities* out) {
  if (!out) return E_POINTER;
  *out = {};
  if (!host) return E_INVALIDARG;
  DSCAPS caps = {};
  caps.dwSize = sizeof caps;
  const HRESULT result = host->object->GetCaps(&caps);
  if (FAILED(result)) return result;
  DeviceCapabilities found;
  // A device that mixes in software may state nothing; then the mixer's own limits hold.
  found.min_rate = caps.dwMinSecondarySampleRate > 0 ? caps.dwMinSecondarySampleRate : DSBFREQUENCY_MIN;
  found.max_rate = std::max<uint32_t>(
      caps.dwMaxSecondarySampleRate > 0 ? caps.dwMaxSecondarySampleRate : DSBFREQUENCY_MAX, found.min_rate);
  const auto makes = [&host](uint16_t channels, uint16_t bits) {
    const WAVEFORMATEX format = MakePcmFormat(channels, 44100, bits);
    const WAVEFORMATEXTENSIBLE extensible = MakeExtensible(format);
    const uint32_t bytes = 4410u * format.nBlockAlign;
    ComPtr<OutputDevice> device;
    if (SUCCEEDED(OpenDirectSoundDevice(host, format, bytes, true, device.Receive()))) return true;
    return SUCCEEDED(OpenDirectSoundDevice(host, extensible.Format, bytes, true, device.Receive()));
  };
  try {
    for (const uint16_t bits : kOutputBits)
      if (makes(2, bits)) found.bits.push_back(bits);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  if (!found.bits.empty()) {
    found.min_bits = found.bits.front();
    found.max_bits = found.bits.back();
  }
  for (const uint16_t channels : {uint16_t{8}, uint16_t{6}, uint16_t{4}, uint16_t{2}, uint16_t{1}}) {
    if (!makes(channels, 16)) continue;
    found.max_channels = channels;
    break;
  }
  *out = std::move(found);
  return S_OK;
}

}  // namespace melorin
