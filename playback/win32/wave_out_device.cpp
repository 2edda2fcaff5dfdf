// SPDX-License-Identifier: MIT
#include "playback/win32/wave_out_device.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <vector>

#include "platform/com_ptr.h"
#include "playback/device_format.h"
#include "playback/win32/device_base.h"
#include "playback/win32/wave_out_line.h"

namespace melorin {

namespace {

class WaveOutDevice final : public DeviceBase<DeviceKind::kWaveOut> {
 public:
  explicit WaveOutDevice(std::shared_ptr<WaveOutLine> line) : line_(std::move(line)) {}

  HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) override;
  HRESULT STDMETHODCALLTYPE Play() override { return line_->Restart(); }
  HRESULT STDMETHODCALLTYPE Pause() override { return line_->Pause(); }
  HRESULT STDMETHODCALLTYPE Reset() override { return line_->Reset(); }
  HRESULT STDMETHODCALLTYPE SetVolume(int32_t volume) override;
  HRESULT STDMETHODCALLTYPE SetBalance(int32_t balance) override;
  HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) override;
  HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) override;

 private:
  ~WaveOutDevice() override { line_->Close(); }
  HRESULT ApplyVolume();

  const std::shared_ptr<WaveOutLine> line_;
  std::atomic<int32_t> volume_{100};
  std::atomic<int32_t> balance_{0};
};

HRESULT OpenDevice(const WaveOutRequest& request, OutputDevice** out) {
  try {
    std::shared_ptr<WaveOutLine> line;
    const HRESULT result = WaveOutLine::Open(request, &line);
    if (FAILED(result)) return result;
    *out = new (std::nothrow) WaveOutDevice(line);
    if (!*out) line->Close();
    return *out ? S_OK : E_OUTOFMEMORY;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT WaveOutDevice::Clone(OutputDevice** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  const HRESULT result = OpenDevice(line_->Request(), out);
  if (FAILED(result)) return result;
  (*out)->SetBalance(balance_);
  (*out)->SetVolume(volume_);
  return S_OK;
}

HRESULT WaveOutDevice::ApplyVolume() {
  return SUCCEEDED(line_->SetVolume(WaveOutVolumeWord(volume_, balance_))) ? S_FALSE : E_FAIL;
}

HRESULT WaveOutDevice::SetVolume(int32_t volume) {
  volume_ = volume;
  return ApplyVolume();
}

HRESULT WaveOutDevice::SetBalance(int32_t balance) {
  balance_ = balance;
  return ApplyVolume();
}

HRESULT WaveOutDevice::GetBufferSize(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = line_->Request().buffer_bytes;
  return S_OK;
}

HRESULT WaveOutDevice::GetPosition(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = 0;
  return line_->GetPosition(bytes);
}

HRESULT WaveOutDevice::GetFreeSpace(uint32_t* bytes) {
  if (!bytes) return E_POINTER;
  *bytes = line_->FreeBytes();
  return S_OK;
}

HRESULT WaveOutDevice::Write(const uint8_t* data, uint32_t bytes) {
  if (bytes == 0) return S_OK;
  if (!data || bytes > line_->Request().buffer_bytes) return E_INVALIDARG;
  try {
    return line_->Write(data, bytes);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

/// In the two ways in which a track tries to open it.
bool Takes(int32_t number, const WAVEFORMATEX& format) {
  const auto asks = [number](const WAVEFORMATEX& way) {
    return waveOutOpen(nullptr, static_cast<UINT>(number), &way, 0, 0, WAVE_FORMAT_QUERY) == MMSYSERR_NOERROR;
  };
  return asks(MakeExtensible(format).Format) || asks(format);
}

}  // namespace

const WaveOutApi& PlatformWaveOutApi() {
  static const WaveOutApi api = {
      &::waveOutOpen,        &::waveOutClose,    &::waveOutPrepareHeader, &::waveOutUnprepareHeader,
      &::waveOutWrite,       &::waveOutPause,    &::waveOutRestart,       &::waveOutReset,
      &::waveOutGetPosition, &::waveOutSetVolume};
  return api;
}

HRESULT OpenWaveOutDevice(const WAVEFORMATEX& format, uint32_t buffer_bytes, int32_t number,
                          OutputDevice** out, const WaveOutApi& api, const WaveOutPatience& patience) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (format.nBlockAlign == 0 || format.nAvgBytesPerSec == 0 || buffer_bytes == 0) return E_INVALIDARG;
  try {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&format);
    return OpenDevice({&api, patience, {bytes, bytes + FormatSize(format)}, buffer_bytes, number}, out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT QueryWaveOutDevice(int32_t number, DeviceCapabilities* out) {
  if (!out) return E_POINTER;
  *out = {};
  const UINT count = waveOutGetNumDevs();
  if (count == 0) return number > 0 ? E_INVALIDARG : E_FAIL;
  if (number < -1 || number >= static_cast<int32_t>(count)) return E_INVALIDARG;
  WAVEOUTCAPSW caps = {};
  const auto device = static_cast<UINT_PTR>(static_cast<INT_PTR>(number));
  if (waveOutGetDevCapsW(device, &caps, sizeof caps) != MMSYSERR_NOERROR) return E_FAIL;
  try {
    // Some say 65535 where they do not know.
    const uint16_t channels = caps.wChannels == 0 || caps.wChannels > 8 ? uint16_t{2} : caps.wChannels;
    const uint16_t stereo = std::min<uint16_t>(channels, 2);
    DeviceCapabilities found;
    found.max_channels = channels;
    for (const uint32_t rate : kUsualRates)
      if (Takes(number, MakePcmFormat(stereo, rate, 16))) found.rates.push_back(rate);
    if (found.rates.empty()) return E_FAIL;
    found.min_rate = found.rates.front();
    found.max_rate = found.rates.back();
    const bool has_44100 = std::find(found.rates.begin(), found.rates.end(), 44100u) != found.rates.end();
    for (const uint16_t bits : kOutputBits)
      if (Takes(number, MakePcmFormat(stereo, has_44100 ? 44100 : found.max_rate, bits)))
        found.bits.push_back(bits);
    if (!found.bits.empty()) {
      found.min_bits = found.bits.front();
      found.max_bits = found.bits.back();
    }
    *out = std::move(found);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace melorin
