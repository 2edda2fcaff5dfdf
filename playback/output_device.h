// SPDX-License-Identifier: MIT
//
// What a playback stream needs of a sound device. Written by one decode thread; volume, position and pause
// may be called from the UI thread at the same time.
#pragma once

#include "platform/com.h"

// A leftover of 16-bit Windows that the platform's headers still define.
#undef GetFreeSpace

namespace melorin {

enum class DeviceKind : int32_t { kWaveOut = 0, kDirectSound = 1, kKernelStreaming = 2, kAsio = 3 };

/// What a device that somebody else plays through answers, and one that does not answer in time: the
/// platform's ERROR_BUSY and ERROR_TIMEOUT.
inline constexpr HRESULT kDeviceBusy = static_cast<HRESULT>(0x800700AA);
inline constexpr HRESULT kDeviceTimedOut = static_cast<HRESULT>(0x800705B4);

/// Operations in slot order after the three standard ones. None blocks for longer than the platform call it
/// stands for. Bytes are of the device format.
struct OutputDevice : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetType(int32_t* kind) = 0;
  /// A second device of the same kind and format that can play while this one still sounds.
  virtual HRESULT STDMETHODCALLTYPE Clone(OutputDevice** out) = 0;
  virtual HRESULT STDMETHODCALLTYPE Play() = 0;
  virtual HRESULT STDMETHODCALLTYPE Pause() = 0;  ///< Keeps queued data.
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;  ///< Discards queued data; the position counts from 0 again.
  /// 0 to 100; -1 mutes.
  virtual HRESULT STDMETHODCALLTYPE SetVolume(int32_t volume) = 0;
  /// -100 to 100; above 0 attenuates the left.
  virtual HRESULT STDMETHODCALLTYPE SetBalance(int32_t balance) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetBufferSize(uint32_t* bytes) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPosition(uint32_t* bytes) = 0;  ///< Played since the last Reset.
  virtual HRESULT STDMETHODCALLTYPE GetFreeSpace(uint32_t* bytes) = 0;
  /// At most the free space.
  virtual HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) = 0;
};

}  // namespace melorin
