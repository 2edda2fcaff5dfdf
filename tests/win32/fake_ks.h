// SPDX-License-Identifier: MIT
//
// A machine of made-up Kernel Streaming filters behind the table of calls. Pins keep what they are sent, play
// as much of it as the test says (or as a clock says) and give their packets back as drivers do; every answer
// is a string of bytes that a test may bend.
#pragma once

#include <windows.h>

#include <mmreg.h>
#include <winioctl.h>

#include <ks.h>
#include <ksmedia.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/thread.h"
#include "playback/win32/ks_api.h"
#include "sound/interfaces.h"

namespace melorin::fake {

using Bytes = std::vector<uint8_t>;

template <class Record>
Bytes BytesOf(const Record& record) {
  const auto* begin = reinterpret_cast<const uint8_t*>(&record);
  return Bytes(begin, begin + sizeof record);
}

/// A list as drivers answer it, with the count that it claims.
inline Bytes KsList(const std::vector<Bytes>& items, std::optional<ULONG> count = {}) {
  KSMULTIPLE_ITEM head = {sizeof head, count.value_or(static_cast<ULONG>(items.size()))};
  Bytes all(sizeof head);
  for (const Bytes& item : items) {
    all.insert(all.end(), item.begin(), item.end());
    all.resize((all.size() + 7) / 8 * 8);
  }
  head.Size = static_cast<ULONG>(all.size());
  std::memcpy(all.data(), &head, sizeof head);
  return all;
}

inline Bytes PcmRange(ULONG channels, ULONG min_bits, ULONG max_bits, ULONG min_rate, ULONG max_rate) {
  KSDATARANGE_AUDIO range = {};
  range.DataRange.FormatSize = sizeof range;
  range.DataRange.MajorFormat = {STATIC_KSDATAFORMAT_TYPE_AUDIO};
  range.DataRange.SubFormat = WaveSubtype(WAVE_FORMAT_PCM);
  range.DataRange.Specifier = {STATIC_KSDATAFORMAT_SPECIFIER_WAVEFORMATEX};
  range.MaximumChannels = channels;
  range.MinimumBitsPerSample = min_bits;
  range.MaximumBitsPerSample = max_bits;
  range.MinimumSampleFrequency = min_rate;
  range.MaximumSampleFrequency = max_rate;
  return BytesOf(range);
}

struct KsAnswer {
  Bytes bytes;
  DWORD error = ERROR_SUCCESS;
  std::optional<DWORD> claims = {};  ///< Bytes that it says it wrote.
};

struct KsPinSetup {
  std::map<ULONG, KsAnswer> answers;  ///< By property.
  DWORD create_error = ERROR_SUCCESS;
  bool extensible_only = false;
};

inline KsPinSetup RenderPinSetup(const Bytes& range = PcmRange(2, 8, 24, 8000, 96000)) {
  KsPinSetup pin;
  KSPIN_INTERFACE looped = {}, streaming = {};
  looped.Set = streaming.Set = {STATIC_KSINTERFACESETID_Standard};
  looped.Id = KSINTERFACE_STANDARD_LOOPED_STREAMING;
  streaming.Id = KSINTERFACE_STANDARD_STREAMING;
  pin.answers[KSPROPERTY_PIN_DATAFLOW] = {BytesOf(KSPIN_DATAFLOW_IN)};
  pin.answers[KSPROPERTY_PIN_COMMUNICATION] = {BytesOf(KSPIN_COMMUNICATION_SINK)};
  pin.answers[KSPROPERTY_PIN_INTERFACES] = {KsList({BytesOf(looped), BytesOf(streaming)})};
  pin.answers[KSPROPERTY_PIN_DATARANGES] = {KsList({range})};
  return pin;
}

struct KsInterfaceSetup {
  std::u16string path;
  std::u16string name;  ///< None when empty.
  DWORD name_type = REG_SZ;
  DWORD name_claims = 0;  ///< Bytes more than there are.
  bool renders = true;
  DWORD detail_bytes = 0;  ///< What the detail claims to need, unless 0.
  bool opens = true;
  std::vector<KsPinSetup> pins = {RenderPinSetup()};
  std::optional<KsAnswer> pin_count;
};

/// A connected pin.
struct KsStream {
  struct Packet {
    OVERLAPPED* overlapped;
    KSSTREAM_HEADER* header;
    ULONG played = 0;
  };
  Bytes connect;
  KSSTATE state = KSSTATE_STOP;
  std::string states;  ///< One letter a state, in the order that they were set.
  std::deque<Packet> queue;
  Bytes heard;
  uint64_t offset = 0;
  uint32_t tick = 0;
  bool open = true;
};

/// The table's functions are plain ones, so there is one of these at a time.
class FakeKs {
 public:
  FakeKs() { instance_ = this; }
  ~FakeKs() { instance_ = nullptr; }
  FakeKs(const FakeKs&) = delete;
  FakeKs& operator=(const FakeKs&) = delete;

  const KsApi& Api() const {
    static const KsApi api = {&GetClassDevs, &EnumInterfaces,   &Alias,    &Detail,   &OpenKey,
                              &DestroyList,  &QueryValue,       &CloseKey, &OpenFile, &Close,
                              &IoControl,    &OverlappedResult, &Cancel,   &CreatePin};
    return api;
  }

  std::vector<KsInterfaceSetup> interfaces;
  bool endless = false;  ///< The list of interfaces never ends.

  // How connected pins behave; may be changed at any time between calls.
  std::atomic<bool> gone{false};           ///< Every call fails.
  std::atomic<bool> stalled{false};        ///< Packets are never given back, not even cancelled ones.
  std::atomic<bool> keeps_on_stop{false};  ///< Stopping gives no packets back, cancelling does.
  std::atomic<bool> mute_states{false};    ///< Changes of state are never answered.
  std::atomic<DWORD> state_error{0};
  std::atomic<DWORD> position_error{0};
  std::atomic<DWORD> write_error{0};      ///< For one write.
  std::atomic<uint64_t> first_offset{0};  ///< What a stopped pin counts from.
  /// Done once, in the middle of the next call of that kind: after the driver has made up its answer.
  std::function<void()> amid_write, amid_position;
  Clock* clock = nullptr;  ///< Plays by itself when there is one.
  uint32_t bytes_per_second = 0;

  /// The pin that was connected last.
  KsStream& Stream() { return *streams_.rbegin()->second; }
  size_t OpenHandles() {
    const Lock lock(mutex_);
    return open_handles_;
  }
  size_t Enumerated() const { return enumerated_; }

  /// The pin plays that many bytes of its queue.
  void Play(uint32_t bytes) {
    const Lock lock(mutex_);
    PlayLocked(Stream(), bytes);
  }
  /// What is still held is given back after all, late changes of state too. False when somebody has let go of
  /// it in the meantime.
  bool GiveBack() {
    const Lock lock(mutex_);
    for (OVERLAPPED* overlapped : muted_)
      Finish(overlapped, ERROR_SUCCESS, 0);
    muted_.clear();
    for (auto& [handle, stream] : streams_)
      FinishAllLocked(*stream, ERROR_OPERATION_ABORTED);
    return !lost_events_;
  }
  void Unplug() {
    const Lock lock(mutex_);
    gone = true;
    for (auto& [handle, stream] : streams_)
      FinishAllLocked(*stream, ERROR_DEVICE_REMOVED);
  }

 private:
  static FakeKs& Self() { return *instance_; }
  static HANDLE ToHandle(size_t number) { return reinterpret_cast<HANDLE>(number); }
  static HDEVINFO DeviceSet() { return reinterpret_cast<HDEVINFO>(size_t{0x5E7}); }
  static constexpr size_t kFirstFilter = 0x10000;
  static constexpr size_t kFirstStream = 0x20000;

  static BOOL Fail(DWORD error) {
    ::SetLastError(error);
    return FALSE;
  }

  static HDEVINFO WINAPI GetClassDevs(const GUID*, PCWSTR, HWND, DWORD flags) {
    return flags == (DIGCF_PRESENT | DIGCF_DEVICEINTERFACE) ? DeviceSet() : INVALID_HANDLE_VALUE;
  }
  static BOOL WINAPI DestroyList(HDEVINFO) { return TRUE; }
  static BOOL WINAPI EnumInterfaces(HDEVINFO, PSP_DEVINFO_DATA, const GUID*, DWORD index,
                                    PSP_DEVICE_INTERFACE_DATA data) {
    FakeKs& self = Self();
    const size_t count = self.interfaces.size();
    if (count == 0 || (index >= count && !self.endless)) return Fail(ERROR_NO_MORE_ITEMS);
    ++self.enumerated_;
    data->Reserved = index % count;
    return TRUE;
  }
  static KsInterfaceSetup& Setup(PSP_DEVICE_INTERFACE_DATA data) { return Self().interfaces[data->Reserved]; }
  static BOOL WINAPI Alias(HDEVINFO, PSP_DEVICE_INTERFACE_DATA data, const GUID*, PSP_DEVICE_INTERFACE_DATA) {
    return Setup(data).renders ? TRUE : Fail(ERROR_NO_SUCH_DEVICE_INTERFACE);
  }
  static BOOL WINAPI Detail(HDEVINFO, PSP_DEVICE_INTERFACE_DATA data,
                            PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD bytes, PDWORD needed,
                            PSP_DEVINFO_DATA) {
    const KsInterfaceSetup& setup = Setup(data);
    const auto size = static_cast<DWORD>(sizeof(DWORD) + (setup.path.size() + 1) * 2);
    if (needed) *needed = setup.detail_bytes ? setup.detail_bytes : size;
    if (!detail || bytes < size) return Fail(ERROR_INSUFFICIENT_BUFFER);
    if (detail->cbSize != sizeof *detail) return Fail(ERROR_INVALID_USER_BUFFER);
    std::memcpy(detail->DevicePath, setup.path.c_str(), (setup.path.size() + 1) * 2);
    return TRUE;
  }
  static HKEY WINAPI OpenKey(HDEVINFO, PSP_DEVICE_INTERFACE_DATA data, DWORD, REGSAM) {
    if (Setup(data).name.empty()) return static_cast<HKEY>(INVALID_HANDLE_VALUE);
    return reinterpret_cast<HKEY>(data->Reserved + 1);
  }
  static LSTATUS WINAPI QueryValue(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data,
                                   LPDWORD bytes) {
    const KsInterfaceSetup& setup = Self().interfaces[reinterpret_cast<size_t>(key) - 1];
    const size_t size = setup.name.size() * 2;
    if (std::wstring(name) != L"FriendlyName") return ERROR_FILE_NOT_FOUND;
    if (*bytes < size) return ERROR_MORE_DATA;
    std::memcpy(data, setup.name.data(), size);
    *bytes = static_cast<DWORD>(size) + setup.name_claims;
    *type = setup.name_type;
    return ERROR_SUCCESS;
  }
  static LSTATUS WINAPI CloseKey(HKEY) { return ERROR_SUCCESS; }

  static HANDLE WINAPI OpenFile(LPCWSTR path, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD flags,
                                HANDLE) {
    FakeKs& self = Self();
    for (size_t i = 0; i < self.interfaces.size(); ++i) {
      const KsInterfaceSetup& setup = self.interfaces[i];
      if (setup.path != AsChar16(path) || !setup.opens || (flags & FILE_FLAG_OVERLAPPED) == 0) continue;
      const Lock lock(self.mutex_);
      ++self.open_handles_;
      return ToHandle(kFirstFilter + i);
    }
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  static BOOL WINAPI Close(HANDLE handle) {
    FakeKs& self = Self();
    const Lock lock(self.mutex_);
    --self.open_handles_;
    if (KsStream* stream = self.FindLocked(handle)) {
      stream->open = false;
      if (!self.stalled) self.FinishAllLocked(*stream, ERROR_OPERATION_ABORTED);
    }
    return TRUE;
  }

  static DWORD WINAPI CreatePin(HANDLE filter, PKSPIN_CONNECT connect, ACCESS_MASK, PHANDLE pin) {
    FakeKs& self = Self();
    const Lock lock(self.mutex_);
    const KsInterfaceSetup& setup = self.interfaces[reinterpret_cast<size_t>(filter) - kFirstFilter];
    const auto* format = reinterpret_cast<const KSDATAFORMAT*>(connect + 1);
    const auto* wave = reinterpret_cast<const WAVEFORMATEX*>(format + 1);
    if (connect->PinId >= setup.pins.size()) return ERROR_INVALID_PARAMETER;
    const KsPinSetup& pin_setup = setup.pins[connect->PinId];
    if (pin_setup.create_error != ERROR_SUCCESS) return pin_setup.create_error;
    if (pin_setup.extensible_only && wave->wFormatTag != WAVE_FORMAT_EXTENSIBLE) return ERROR_NO_MATCH;
    if (format->FormatSize != sizeof *format + sizeof *wave + wave->cbSize) return ERROR_INVALID_PARAMETER;
    auto stream = std::make_unique<KsStream>();
    const auto* begin = reinterpret_cast<const uint8_t*>(connect);
    stream->connect.assign(begin, begin + sizeof *connect + format->FormatSize);
    stream->offset = self.first_offset;
    *pin = ToHandle(kFirstStream + self.streams_.size());
    self.streams_[*pin] = std::move(stream);
    ++self.open_handles_;
    return ERROR_SUCCESS;
  }

  static BOOL WINAPI IoControl(HANDLE handle, DWORD code, LPVOID in, DWORD in_bytes, LPVOID out,
                               DWORD out_bytes, LPDWORD returned, LPOVERLAPPED overlapped) {
    FakeKs& self = Self();
    const bool asks = code == IOCTL_KS_PROPERTY && self.AsksPosition(static_cast<const KSPROPERTY*>(in));
    std::optional<uint64_t> old_offset;
    if (asks && self.amid_position) {
      old_offset = self.Stream().offset;
      std::exchange(self.amid_position, nullptr)();
    }
    if (code == IOCTL_KS_WRITE_STREAM && self.amid_write) std::exchange(self.amid_write, nullptr)();
    const Lock lock(self.mutex_);
    overlapped->Internal = STATUS_PENDING;
    KsStream* stream = self.FindLocked(handle);
    if (stream && !stream->open) return Fail(ERROR_INVALID_HANDLE);
    if (stream && self.gone) return Fail(ERROR_DEVICE_REMOVED);
    if (stream) self.CatchUpLocked(*stream);
    if (code == IOCTL_KS_WRITE_STREAM)
      return stream ? self.QueueLocked(*stream, static_cast<KSSTREAM_HEADER*>(out), overlapped)
                    : Fail(ERROR_INVALID_FUNCTION);
    if (code != IOCTL_KS_PROPERTY || in_bytes < sizeof(KSPROPERTY)) return Fail(ERROR_INVALID_FUNCTION);
    const auto* property = static_cast<const KSPROPERTY*>(in);
    if (!stream) {
      const auto* question = static_cast<const KSP_PIN*>(in);
      const ULONG pin = in_bytes >= sizeof *question ? question->PinId : 0;
      return self.Answer(
          self.FilterAnswer(reinterpret_cast<size_t>(handle) - kFirstFilter, property->Id, pin), out,
          out_bytes, returned, overlapped);
    }
    if (property->Flags == KSPROPERTY_TYPE_SET && SameGuid(property->Set, {STATIC_KSPROPSETID_Connection})) {
      if (self.mute_states) {
        self.muted_.push_back(overlapped);
        return Fail(ERROR_IO_PENDING);
      }
      if (self.state_error) return Fail(self.state_error);
      self.EnterLocked(*stream, *static_cast<const KSSTATE*>(out));
      Finish(overlapped, ERROR_SUCCESS, 0);
      return Fail(ERROR_IO_PENDING);
    }
    if (asks) {
      const uint64_t offset = old_offset.value_or(stream->offset);
      return Answer({BytesOf(KSAUDIO_POSITION{offset, offset}), self.position_error}, out, out_bytes,
                    returned, overlapped);
    }
    return Fail(ERROR_SET_NOT_FOUND);
  }

  static BOOL WINAPI OverlappedResult(HANDLE, LPOVERLAPPED overlapped, LPDWORD returned, BOOL wait) {
    if (overlapped->Internal == STATUS_PENDING)
      return wait ? Fail(ERROR_INVALID_PARAMETER) : Fail(ERROR_IO_INCOMPLETE);
    *returned = static_cast<DWORD>(overlapped->InternalHigh);
    return overlapped->Internal == 0 ? TRUE : Fail(static_cast<DWORD>(overlapped->Internal & 0xFFFF));
  }
  static BOOL WINAPI Cancel(HANDLE handle, LPOVERLAPPED) {
    FakeKs& self = Self();
    const Lock lock(self.mutex_);
    KsStream* stream = self.FindLocked(handle);
    if (stream && !self.stalled) self.FinishAllLocked(*stream, ERROR_OPERATION_ABORTED);
    return TRUE;
  }

  static bool AsksPosition(const KSPROPERTY* property) {
    return SameGuid(property->Set, {STATIC_KSPROPSETID_Audio}) && property->Id == KSPROPERTY_AUDIO_POSITION;
  }

  KsStream* FindLocked(HANDLE handle) {
    const auto found = streams_.find(handle);
    return found == streams_.end() ? nullptr : found->second.get();
  }

  KsAnswer FilterAnswer(size_t index, ULONG property, ULONG pin) const {
    const KsInterfaceSetup& setup = interfaces[index];
    if (property == KSPROPERTY_PIN_CTYPES)
      return setup.pin_count.value_or(KsAnswer{BytesOf(static_cast<ULONG>(setup.pins.size()))});
    if (pin >= setup.pins.size()) return {{}, ERROR_INVALID_PARAMETER};
    const auto found = setup.pins[pin].answers.find(property);
    return found == setup.pins[pin].answers.end() ? KsAnswer{{}, ERROR_NOT_FOUND} : found->second;
  }

  static BOOL Answer(const KsAnswer& answer, LPVOID out, DWORD out_bytes, LPDWORD returned,
                     LPOVERLAPPED overlapped) {
    if (answer.error != ERROR_SUCCESS) return Fail(answer.error);
    if (answer.bytes.size() > out_bytes) return Fail(ERROR_MORE_DATA);
    std::memcpy(out, answer.bytes.data(), answer.bytes.size());
    *returned = answer.claims.value_or(static_cast<DWORD>(answer.bytes.size()));
    Finish(overlapped, ERROR_SUCCESS, *returned);
    return TRUE;
  }

  static void Finish(OVERLAPPED* overlapped, DWORD error, DWORD bytes) {
    overlapped->InternalHigh = bytes;
    overlapped->Internal = error == ERROR_SUCCESS ? 0 : 0xC0000000u | error;
    if (!::SetEvent(overlapped->hEvent)) Self().lost_events_ = true;
  }

  BOOL QueueLocked(KsStream& stream, KSSTREAM_HEADER* header, LPOVERLAPPED overlapped) {
    if (const DWORD error = write_error.exchange(0)) return Fail(error);
    if (header->Size != sizeof *header || header->DataUsed > header->FrameExtent ||
        stream.state < KSSTATE_PAUSE)
      return Fail(ERROR_INVALID_PARAMETER);
    if (stream.queue.empty()) stream.tick = clock ? clock->TickMs() : 0;
    stream.queue.push_back({overlapped, header});
    return Fail(ERROR_IO_PENDING);
  }

  void EnterLocked(KsStream& stream, KSSTATE state) {
    stream.states += "SAPR"[state];
    stream.state = state;
    stream.tick = clock ? clock->TickMs() : 0;
    if (state != KSSTATE_STOP) return;
    stream.offset = first_offset;
    if (!stalled && !keeps_on_stop) FinishAllLocked(stream, ERROR_OPERATION_ABORTED);
  }

  void CatchUpLocked(KsStream& stream) {
    if (!clock || stalled) return;
    const uint32_t now = clock->TickMs();
    const uint32_t bytes = static_cast<uint32_t>(uint64_t{now - stream.tick} * bytes_per_second / 1000);
    if (bytes == 0) return;
    stream.tick = now;
    PlayLocked(stream, bytes);
  }

  void PlayLocked(KsStream& stream, uint32_t bytes) {
    if (stream.state != KSSTATE_RUN) return;
    while (bytes > 0 && !stream.queue.empty()) {
      KsStream::Packet& packet = stream.queue.front();
      const auto* data = static_cast<const uint8_t*>(packet.header->Data) + packet.played;
      const ULONG part = std::min<ULONG>(bytes, packet.header->DataUsed - packet.played);
      stream.heard.insert(stream.heard.end(), data, data + part);
      stream.offset += part;
      packet.played += part;
      bytes -= part;
      if (packet.played < packet.header->DataUsed) break;
      Finish(packet.overlapped, ERROR_SUCCESS, sizeof(KSSTREAM_HEADER));
      stream.queue.pop_front();
    }
  }

  void FinishAllLocked(KsStream& stream, DWORD error) {
    for (KsStream::Packet& packet : stream.queue)
      Finish(packet.overlapped, error, 0);
    stream.queue.clear();
  }

  static inline FakeKs* instance_ = nullptr;
  CriticalSection mutex_;
  std::map<HANDLE, std::unique_ptr<KsStream>> streams_;
  std::vector<OVERLAPPED*> muted_;
  bool lost_events_ = false;
  size_t open_handles_ = 0;
  size_t enumerated_ = 0;
};

}  // namespace melorin::fake
