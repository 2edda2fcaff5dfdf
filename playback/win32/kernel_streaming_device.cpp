// SPDX-License-Identifier: MIT
//
// Two locks. One guards the packets, the position and the flags; it is never held while the driver is called.
// The other lets one thread at a time change the pin's state, which takes as long as the driver takes. Where
// both are needed the latter comes first.
#include "playback/win32/kernel_streaming_device.h"

#include <mmreg.h>

#include <ksmedia.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "platform/thread.h"
#include "playback/device_format.h"
#include "playback/heard_position.h"
#include "playback/ks_position.h"
#include "playback/win32/device_base.h"
#include "playback/win32/ks_control.h"
#include "playback/win32/ks_filters.h"
#include "playback/win32/ks_packets.h"

namespace melorin {

namespace {

constexpr GUID kConnectionProperties = {STATIC_KSPROPSETID_Connection};
constexpr GUID kAudioProperties = {STATIC_KSPROPSETID_Audio};
constexpr GUID kStandardInterfaces = {STATIC_KSINTERFACESETID_Standard};
constexpr GUID kStandardMediums = {STATIC_KSMEDIUMSETID_Standard};
constexpr GUID kTypeAudio = {STATIC_KSDATAFORMAT_TYPE_AUDIO};
constexpr GUID kSpecifierWave = {STATIC_KSDATAFORMAT_SPECIFIER_WAVEFORMATEX};

/// How long a stopped pin may take to give its packets back.
constexpr uint32_t kDrainMs = 500;
/// The same once it is cancelled or closed, which the platform itself sees to.
constexpr uint32_t kCancelledMs = 100;
constexpr uint32_t kPinReplyBytes = 64;
/// From a finished packet to the loudspeaker, when the driver does not tell: what the hardware has fetched.
constexpr uint32_t kFetchedMs = 60;

HRESULT ResultOf(DWORD error) {
  switch (error) {
    case ERROR_SUCCESS:
      return S_OK;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return E_OUTOFMEMORY;
    default:
      // An error that is none, or a negative one of a driver, is a failure all the same.
      return static_cast<HRESULT>(0x80070000u | (error & 0xFFFF));
  }
}

/// Of the system's resources; the same call may succeed later.
bool IsShortage(DWORD error) {
  return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY ||
         error == ERROR_NO_SYSTEM_RESOURCES || error == ERROR_WORKING_SET_QUOTA || error == ERROR_BUSY;
}

/// After these the device does not come back.
bool IsGone(DWORD error) {
  switch (error) {
    case ERROR_TIMEOUT:
    case ERROR_DEVICE_REMOVED:
    case ERROR_DEVICE_NOT_CONNECTED:
    case ERROR_DEV_NOT_EXIST:
    case ERROR_FILE_NOT_FOUND:
    case ERROR_INVALID_HANDLE:
      return true;
    default:
      return false;
  }
}

class KernelStreamingDevice final : public DeviceBase<DeviceKind::kKernelStreaming> {
 public:
  KernelStreamingDevice(const KsApi& api, Clock& clock, const WAVEFORMATEX& format, KsHandle filter,
                        KsHandle pin, uint32_t block_bytes, uint32_t blocks)
      : api_(api),
        clock_(clock),
        frame_bytes_(format.nBlockAlign),
        block_bytes_(block_bytes),
        buffer_bytes_(block_bytes * blocks),
        filter_(std::move(filter)),
        pin_(std::move(pin)),
        state_control_(api, pin_.get(), kPinReplyBytes),
        position_control_(api, pin_.get(), kPinReplyBytes),
        packets_(api, pin_.get(), block_bytes, blocks),
        heard_(format.nAvgBytesPerSec, format.nBlockAlign, kFetchedMs) {}

  HRESULT Start();

  HRESULT STDMETHODCALLTYPE Play() override { return ChangeState(KSSTATE_RUN); }
  HRESULT STDMETHODCALLTYPE Pause() override { return ChangeState(KSSTATE_PAUSE); }
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) override;

 private:
  ~KernelStreamingDevice() override;
  HRESULT ChangeState(KSSTATE target);
  DWORD WalkTo(KSSTATE target);
  DWORD ReadOffset(KsControl& control, uint64_t* offset);
  bool Drain(uint32_t patience_ms);
  bool DrainOrCancel();
  void CollectLocked();
  HRESULT WriteBlock(const uint8_t* data, uint32_t bytes, bool first);
  HRESULT Failed(DWORD error);
  uint32_t WholeFrames(uint64_t bytes) const { return static_cast<uint32_t>(bytes - bytes % frame_bytes_); }

  const KsApi& api_;
  Clock& clock_;
  const uint32_t frame_bytes_;
  const uint32_t block_bytes_;
  const uint32_t buffer_bytes_;
  KsHandle filter_;
  KsHandle pin_;

  CriticalSection state_lock_;  ///< Guards the next two; held while the driver changes state.
  KSSTATE state_ = KSSTATE_STOP;
  KsControl state_control_;

  KsControl position_control_;  ///< Of the thread that has set asking_.
  bool tells_offset_ = false;   ///< Constant after Start.
  std::atomic<bool> lost_{false};

  CriticalSection lock_;  ///< Guards what follows.
  KsPackets packets_;
  KsPosition position_;
  HeardPosition heard_;
  bool resetting_ = false;  ///< Nothing may be written or asked.
  bool asking_ = false;     ///< One thread asks for the position; others get the last one.
  uint32_t resets_ = 0;     ///< Tells an answer of before a reset.
};

HRESULT KernelStreamingDevice::Start() {
  const Lock changing(state_lock_);
  const DWORD error = WalkTo(KSSTATE_PAUSE);
  if (error != ERROR_SUCCESS) return ResultOf(error);
  uint64_t offset = 0;
  tells_offset_ = ReadOffset(state_control_, &offset) == ERROR_SUCCESS;
  position_.Restart(offset);
  heard_.Reset(clock_.TickMs(), false);
  return S_OK;
}

KernelStreamingDevice::~KernelStreamingDevice() {
  WalkTo(KSSTATE_STOP);
  DrainOrCancel();
  // Closing cancels the requests of every thread.
  pin_.Close();
  Drain(kCancelledMs);
}

HRESULT KernelStreamingDevice::GetBufferSize(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = buffer_bytes_;
  return S_OK;
}

/// Remembers that the device is gone.
HRESULT KernelStreamingDevice::Failed(DWORD error) {
  if (IsGone(error)) lost_ = true;
  return ResultOf(error);
}

/// One step at a time, as pins demand. Under the state lock.
DWORD KernelStreamingDevice::WalkTo(KSSTATE target) {
  while (state_ != target) {
    const auto next = static_cast<KSSTATE>(state_ < target ? state_ + 1 : state_ - 1);
    const DWORD error = state_control_.SetValue(
        KsQuestion(kConnectionProperties, KSPROPERTY_CONNECTION_STATE, KSPROPERTY_TYPE_SET), next);
    if (error != ERROR_SUCCESS) return error;
    state_ = next;
  }
  return ERROR_SUCCESS;
}

HRESULT KernelStreamingDevice::ChangeState(KSSTATE target) {
  const Lock changing(state_lock_);
  if (lost_) return ResultOf(ERROR_DEVICE_REMOVED);
  const DWORD error = WalkTo(target);
  if (error != ERROR_SUCCESS) return Failed(error);
  const Lock lock(lock_);
  heard_.SetRunning(target == KSSTATE_RUN, clock_.TickMs());
  return S_OK;
}

HRESULT KernelStreamingDevice::Reset() {
  const Lock changing(state_lock_);
  if (lost_) return ResultOf(ERROR_DEVICE_REMOVED);
  {
    const Lock lock(lock_);
    resetting_ = true;
  }
  DWORD error = WalkTo(KSSTATE_STOP);
  if (error == ERROR_SUCCESS && !DrainOrCancel()) error = ERROR_TIMEOUT;
  if (error == ERROR_SUCCESS) error = WalkTo(KSSTATE_PAUSE);
  uint64_t offset = 0;
  if (error == ERROR_SUCCESS && tells_offset_) error = ReadOffset(state_control_, &offset);
  const Lock lock(lock_);
  resetting_ = false;
  if (error != ERROR_SUCCESS) return Failed(error);
  ++resets_;
  packets_.Restart();
  position_.Restart(offset);
  heard_.Reset(clock_.TickMs(), false);
  return S_OK;
}

/// Until the driver has given back every packet; false when it has not in that time.
bool KernelStreamingDevice::Drain(uint32_t patience_ms) {
  const ULONGLONG begin = ::GetTickCount64();
  for (;;) {
    HANDLE event = nullptr;
    {
      const Lock lock(lock_);
      CollectLocked();
      if (packets_.Idle()) return true;
      event = packets_.OldestEvent();
    }
    const ULONGLONG waited = ::GetTickCount64() - begin;
    if (waited >= patience_ms) return false;
    // Not sent yet: the writer is about to.
    const DWORD result =
        event ? ::WaitForSingleObject(event, static_cast<DWORD>(patience_ms - waited)) : WAIT_FAILED;
    if (result == WAIT_OBJECT_0 || result == WAIT_FAILED) ::Sleep(event ? 0 : 1);
  }
}

/// A pin that is stopped gives its packets back. Those of a driver that forgets to are cancelled.
bool KernelStreamingDevice::DrainOrCancel() {
  if (Drain(kDrainMs)) return true;
  api_.Cancel(pin_.get(), nullptr);
  return Drain(kCancelledMs);
}

void KernelStreamingDevice::CollectLocked() {
  const DWORD error = packets_.Collect();
  if (error != ERROR_SUCCESS && !IsShortage(error)) lost_ = true;
}

DWORD KernelStreamingDevice::ReadOffset(KsControl& control, uint64_t* offset) {
  KSAUDIO_POSITION position = {};
  const DWORD error = control.GetValue(
      KsQuestion(kAudioProperties, KSPROPERTY_AUDIO_POSITION, KSPROPERTY_TYPE_GET), &position);
  if (error == ERROR_SUCCESS) *offset = position.PlayOffset;
  return error;
}

HRESULT KernelStreamingDevice::GetPosition(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = 0;
  uint32_t resets = 0;
  {
    const Lock lock(lock_);
    CollectLocked();
    if (lost_) return ResultOf(ERROR_DEVICE_REMOVED);
    if (!tells_offset_) {
      if (!resetting_) *bytes = WholeFrames(heard_.Estimate(packets_.Finished(), clock_.TickMs()));
      return S_OK;
    }
    if (resetting_) return S_OK;
    if (asking_) {
      *bytes = WholeFrames(position_.Get());
      return S_OK;
    }
    asking_ = true;
    resets = resets_;
  }
  uint64_t offset = 0;
  const DWORD error = ReadOffset(position_control_, &offset);
  const Lock lock(lock_);
  asking_ = false;
  if (error != ERROR_SUCCESS) return Failed(error);
  if (resets == resets_ && !resetting_) position_.Update(offset, packets_.Written());
  *bytes = WholeFrames(position_.Get());
  return S_OK;
}

HRESULT KernelStreamingDevice::GetFreeSpace(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = 0;
  const Lock lock(lock_);
  CollectLocked();
  if (lost_) return ResultOf(ERROR_DEVICE_REMOVED);
  if (!resetting_) *bytes = packets_.FreeBlocks() * block_bytes_;
  return S_OK;
}

HRESULT KernelStreamingDevice::Write(const uint8_t* data, uint32_t bytes) {
  if (bytes == 0) return S_OK;
  if (!data) return E_POINTER;
  {
    const Lock lock(lock_);
    CollectLocked();
    if (lost_) return ResultOf(ERROR_DEVICE_REMOVED);
    if (bytes > uint64_t{packets_.FreeBlocks()} * block_bytes_) return E_INVALIDARG;
  }
  for (uint32_t done = 0; done < bytes;) {
    const uint32_t part = std::min(bytes - done, block_bytes_);
    const HRESULT result = WriteBlock(data + done, part, done == 0);
    if (FAILED(result)) return result;
    done += part;
  }
  return S_OK;
}

HRESULT KernelStreamingDevice::WriteBlock(const uint8_t* data, uint32_t bytes, bool first) {
  KsPacket* packet = nullptr;
  {
    const Lock lock(lock_);
    if (resetting_) return E_FAIL;
    packet = &packets_.Reserve(bytes);
  }
  const DWORD error = packets_.Send(*packet, data);
  const Lock lock(lock_);
  packets_.Settle(*packet, error);
  if (error == ERROR_SUCCESS) return S_OK;
  if (resetting_) return E_FAIL;  // A pin that is being stopped may refuse.
  // Only a shortage passes, and a write of which a part is already queued cannot be tried again.
  if (!first || !IsShortage(error)) lost_ = true;
  return ResultOf(error);
}

/// The connection record, with the format behind it.
std::vector<uint8_t> MakeConnect(ULONG pin, const WAVEFORMATEX& format) {
  const size_t format_bytes = FormatSize(format);
  KSPIN_CONNECT connect = {};
  connect.Interface.Set = kStandardInterfaces;
  connect.Interface.Id = KSINTERFACE_STANDARD_STREAMING;
  connect.Medium.Set = kStandardMediums;
  connect.Medium.Id = KSMEDIUM_STANDARD_DEVIO;
  connect.PinId = pin;
  connect.Priority = {KSPRIORITY_NORMAL, 1};
  KSDATAFORMAT data = {};
  data.FormatSize = static_cast<ULONG>(sizeof data + format_bytes);
  data.SampleSize = format.nBlockAlign;
  data.MajorFormat = kTypeAudio;
  data.SubFormat = KsSubformat(format);
  data.Specifier = kSpecifierWave;
  std::vector<uint8_t> bytes(sizeof connect + data.FormatSize);
  std::memcpy(bytes.data(), &connect, sizeof connect);
  std::memcpy(bytes.data() + sizeof connect, &data, sizeof data);
  std::memcpy(bytes.data() + sizeof connect + sizeof data, &format, format_bytes);
  return bytes;
}

/// Of the pins that take the format, the first one that can be had.
DWORD CreatePin(const KsApi& api, const KsFilter& filter, const WAVEFORMATEX& format, KsHandle* out) {
  DWORD error = ERROR_NO_MATCH;
  for (const KsRenderPin& pin : filter.pins) {
    if (std::none_of(pin.ranges.begin(), pin.ranges.end(),
                     [&](const KsAudioRange& range) { return KsRangeTakes(range, format); }))
      continue;
    std::vector<uint8_t> connect = MakeConnect(pin.id, format);
    HANDLE handle = nullptr;
    error = api.CreatePin(filter.handle.get(), reinterpret_cast<KSPIN_CONNECT*>(connect.data()),
                          GENERIC_WRITE, &handle);
    *out = KsHandle(api, error == ERROR_SUCCESS ? handle : nullptr);
    if (*out) return ERROR_SUCCESS;
    if (error == ERROR_SUCCESS) error = ERROR_GEN_FAILURE;
  }
  return error;
}

std::optional<KsFilter> FilterAt(const KsApi& api, int32_t index) {
  KsFilters filters(api);
  std::optional<KsFilter> filter;
  for (int32_t i = 0; i <= index; ++i) {
    filter = filters.Next();
    if (!filter) break;
  }
  return filter;
}

}  // namespace

HRESULT OpenKernelStreamingDevice(const KsApi& api, const WAVEFORMATEX& format, uint32_t block_bytes,
                                  uint32_t blocks, int32_t index, OutputDevice** out, Clock& clock) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (format.nBlockAlign == 0 || format.nAvgBytesPerSec == 0 || block_bytes == 0 || blocks == 0 ||
      uint64_t{block_bytes} * blocks > 0xFFFFFFFF)
    return E_INVALIDARG;
  try {
    std::optional<KsFilter> filter = FilterAt(api, index);
    if (!filter) return E_INVALIDARG;
    KsHandle pin;
    const DWORD error = CreatePin(api, *filter, format, &pin);
    if (error != ERROR_SUCCESS) return ResultOf(error);
    auto device = ComPtr<KernelStreamingDevice>::Adopt(new KernelStreamingDevice(
        api, clock, format, std::move(filter->handle), std::move(pin), block_bytes, blocks));
    const HRESULT result = device->Start();
    if (FAILED(result)) return result;
    *out = device.Detach();
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

std::vector<DeviceInfo> ListKernelStreamingDevices(const KsApi& api) {
  try {
    std::vector<DeviceInfo> list;
    KsFilters filters(api);
    while (const std::optional<KsFilter> filter = filters.Next()) {
      DeviceInfo info;
      info.kind = DeviceKind::kKernelStreaming;
      info.id = PackDeviceId(static_cast<uint16_t>(info.kind), static_cast<uint16_t>(list.size()));
      info.name_gbk = GbkFromUtf16(filter->name);
      list.push_back(std::move(info));
    }
    return list;
  } catch (const std::bad_alloc&) {
    return {};
  }
}

HRESULT QueryKernelStreamingDevice(const KsApi& api, int32_t index, DeviceCapabilities* out) {
  if (!out) return E_POINTER;
  *out = {};
  try {
    const std::optional<KsFilter> filter = FilterAt(api, index);
    if (!filter) return E_INVALIDARG;
    std::vector<KsAudioRange> ranges;
    for (const KsRenderPin& pin : filter->pins)
      ranges.insert(ranges.end(), pin.ranges.begin(), pin.ranges.end());
    *out = KsCapabilities(ranges);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace melorin
