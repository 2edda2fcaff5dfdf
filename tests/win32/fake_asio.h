// SPDX-License-Identifier: MIT
//
// What a test and the driver module that it controls have in common. One driver object at a time.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace melorin::fake_asio {

inline constexpr CLSID kClsid = {
    0x5A1D6F30, 0x2B47, 0x4E0C, {0x9D, 0x11, 0x6C, 0x52, 0x4F, 0x0E, 0x77, 0xA3}};
inline constexpr int32_t kMaxChannels = 8;
inline constexpr uint32_t kCaptureBytes = 1 << 20;

/// How the next driver object behaves.
struct Behaviour {
  int32_t init = 1;
  int32_t outputs = 2;
  int32_t type = 16;
  int32_t smallest = 64, largest = 4096, preferred = 256, granularity = -1;
  int32_t latency = 0;
  double only_rate = 0;   ///< The rate that it can; 0: all.
  double stuck_rate = 0;  ///< What it stays at whatever is set; 0: as set.
  int32_t create = 0;     ///< Result of createBuffers.
  int32_t start = 0;      ///< Result of start.
  bool null_buffer = false;
  bool hangs_in_init = false;  ///< Until `let_go` is set.
  bool hangs_in_start = false;
  bool hangs_in_ready = false;  ///< In outputReady, once it runs.
  /// Switches both halves in start, then by a thread of its own; else only Switch does.
  bool real_time = false;
};

struct Control {
  Behaviour behaviour;
  HANDLE let_go;  ///< Manual-reset event.

  std::atomic<int32_t> alive;  ///< Driver objects.
  std::atomic<int32_t> starts, stops;
  std::atomic<int32_t> buffers;        ///< Sets of buffers created and not disposed.
  std::atomic<int32_t> ready;          ///< Calls of outputReady.
  std::atomic<int32_t> foreign_calls;  ///< Methods called on another thread than the object was made on.
  std::atomic<int32_t> silent_thread;  ///< The real-time thread makes no calls while set.
  double rate;                         ///< As set.

  /// What the driver has played since it was made, of each channel.
  uint8_t capture[kMaxChannels][kCaptureBytes];
  std::atomic<uint32_t> captured;  ///< Bytes of each.

  /// One turn as the driver makes it. False when the driver does not run.
  bool (*Switch)();
  int32_t (*Message)(int32_t selector, int32_t value);
  void (*ChangeRate)(double rate);
};

/// Exported by the module as "FakeAsioControl".
using GetControl = Control*(__cdecl*)();

}  // namespace melorin::fake_asio
