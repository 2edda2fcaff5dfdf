// SPDX-License-Identifier: MIT
//
// The calls of the platform that waveOut is made of, as a table, so that a test can stand in for the
// hardware.
#pragma once

#include <windows.h>

#include <mmsystem.h>

namespace melorin {

/// Signatures and results are those of the platform's functions of the same names.
struct WaveOutApi {
  decltype(&::waveOutOpen) Open = nullptr;
  decltype(&::waveOutClose) Close = nullptr;
  decltype(&::waveOutPrepareHeader) PrepareHeader = nullptr;
  decltype(&::waveOutUnprepareHeader) UnprepareHeader = nullptr;
  decltype(&::waveOutWrite) Write = nullptr;
  decltype(&::waveOutPause) Pause = nullptr;
  decltype(&::waveOutRestart) Restart = nullptr;
  decltype(&::waveOutReset) Reset = nullptr;
  decltype(&::waveOutGetPosition) GetPosition = nullptr;
  decltype(&::waveOutSetVolume) SetVolume = nullptr;
};

const WaveOutApi& PlatformWaveOutApi();

}  // namespace melorin
