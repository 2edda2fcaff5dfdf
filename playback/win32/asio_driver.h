// SPDX-License-Identifier: MIT
//
// The ASIO driver interface as it is publicly documented: its records, numbers and the order of its methods.
// Names of methods and fields are those of the documentation.
#pragma once

#include <cstdint>

#include "platform/com.h"

namespace melorin::asio {

/// Results of the methods; anything else counts as a failure.
enum Error : int32_t {
  kOk = 0,
  kSuccess = 0x3F4847A0,  ///< Of `future` only.
  kNotPresent = -1000,
  kHardwareMalfunction = -999,
  kInvalidParameter = -998,
  kInvalidMode = -997,
  kNoClock = -995,
  kNoMemory = -994,
};

/// What a driver asks of the host through Callbacks::asioMessage.
enum Message : int32_t {
  kSelectorSupported = 1,  ///< Is the selector in `value` understood? 1 or 0.
  kEngineVersion = 2,      ///< The host's version of the interface.
  kResetRequest = 3,       ///< Everything is to be opened anew.
  kBufferSizeChange = 4,
  kResyncRequest = 5,  ///< Samples were lost; nothing fatal.
  kLatenciesChanged = 6,
  kSupportsTimeInfo = 7,
  kSupportsTimeCode = 8,
};

inline constexpr int32_t kHostVersion = 2;
inline constexpr int32_t kTrue = 1;

#pragma pack(push, 4)
struct BufferInfo {
  int32_t isInput;
  int32_t channelNum;
  void* buffers[2];  ///< Filled by createBuffers: the two halves that the driver plays in turn.
};

struct ChannelInfo {
  int32_t channel;  ///< Set by the caller, as isInput.
  int32_t isInput;
  int32_t isActive;
  int32_t channelGroup;
  int32_t type;  ///< See LayoutOfAsioType.
  char name[32];
};
#pragma pack(pop)

struct Time;
struct ClockSource;

/// The driver calls these on threads of its own; there is no pointer to say which device is meant.
struct Callbacks {
  void(__cdecl* bufferSwitch)(int32_t index, int32_t process_now);
  void(__cdecl* sampleRateDidChange)(double rate);
  int32_t(__cdecl* asioMessage)(int32_t selector, int32_t value, void* message, double* option);
  Time*(__cdecl* bufferSwitchTimeInfo)(Time* time, int32_t index, int32_t process_now);
};

/// The platform's calling convention for methods, whatever the compiler's default.
#define MELORIN_ASIO_METHOD __attribute__((thiscall))

/// A driver is asked for by its class identifier, which is the interface's identifier too.
struct Driver : IUnknown {
  /// system_handle: the window that dialogs belong to. kTrue when the driver can be used.
  virtual int32_t MELORIN_ASIO_METHOD init(void* system_handle) = 0;
  virtual void MELORIN_ASIO_METHOD getDriverName(char* name) = 0;  ///< At most 32 bytes.
  virtual int32_t MELORIN_ASIO_METHOD getDriverVersion() = 0;
  virtual void MELORIN_ASIO_METHOD getErrorMessage(char* text) = 0;  ///< At most 124 bytes.
  virtual int32_t MELORIN_ASIO_METHOD start() = 0;
  virtual int32_t MELORIN_ASIO_METHOD stop() = 0;
  virtual int32_t MELORIN_ASIO_METHOD getChannels(int32_t* inputs, int32_t* outputs) = 0;
  virtual int32_t MELORIN_ASIO_METHOD getLatencies(int32_t* input_frames, int32_t* output_frames) = 0;
  virtual int32_t MELORIN_ASIO_METHOD getBufferSize(int32_t* smallest, int32_t* largest, int32_t* preferred,
                                                    int32_t* granularity) = 0;
  virtual int32_t MELORIN_ASIO_METHOD canSampleRate(double rate) = 0;
  virtual int32_t MELORIN_ASIO_METHOD getSampleRate(double* rate) = 0;
  virtual int32_t MELORIN_ASIO_METHOD setSampleRate(double rate) = 0;
  virtual int32_t MELORIN_ASIO_METHOD getClockSources(ClockSource* clocks, int32_t* count) = 0;
  virtual int32_t MELORIN_ASIO_METHOD setClockSource(int32_t reference) = 0;
  virtual int32_t MELORIN_ASIO_METHOD getSamplePosition(int64_t* position, int64_t* time_stamp) = 0;
  virtual int32_t MELORIN_ASIO_METHOD getChannelInfo(ChannelInfo* info) = 0;
  /// callbacks: must stay valid until disposeBuffers.
  virtual int32_t MELORIN_ASIO_METHOD createBuffers(BufferInfo* buffers, int32_t channels, int32_t frames,
                                                    const Callbacks* callbacks) = 0;
  virtual int32_t MELORIN_ASIO_METHOD disposeBuffers() = 0;
  virtual int32_t MELORIN_ASIO_METHOD controlPanel() = 0;
  virtual int32_t MELORIN_ASIO_METHOD future(int32_t selector, void* option) = 0;
  /// Tells the driver that its half is filled; kOk when it makes use of that.
  virtual int32_t MELORIN_ASIO_METHOD outputReady() = 0;
};

}  // namespace melorin::asio
