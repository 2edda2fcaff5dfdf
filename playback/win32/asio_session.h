// SPDX-License-Identifier: MIT
//
// One ASIO driver from its loading to its release. All methods of the driver are called on a thread of its
// own, but outputReady; that thread and whoever uses the session share it, so that either may end first.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <vector>

#include "platform/com_ptr.h"
#include "playback/asio_feed.h"
#include "playback/win32/asio_device.h"
#include "playback/win32/asio_driver.h"
#include "playback/win32/driver_thread.h"

namespace melorin {

struct AsioRequest {
  CLSID clsid = {};
  WAVEFORMATEX format = {};
  uint32_t buffer_bytes = 0;
  void* window = nullptr;
  AsioPatience patience;
};

class AsioSession : public std::enable_shared_from_this<AsioSession> {
 public:
  /// Loads and prepares the driver; it does not run yet. One session at a time, since a driver's callbacks do
  /// not say whom they mean: ERROR_BUSY while there is another, be it only one whose driver does not return.
  /// Throws std::bad_alloc.
  static HRESULT Open(const AsioRequest& request, std::shared_ptr<AsioSession>* out);
  /// Is that driver in a session?
  static bool IsInUse(const CLSID& clsid);

  explicit AsioSession(const AsioRequest& request) : request_(request) {}

  /// Starts the driver unless it runs. False when it refuses or does not answer; then it is lost.
  bool Start();
  /// Stops and releases the driver on its thread, waiting for that as long as the patience allows.
  void Close();

  /// It has failed; it will not sound again.
  bool IsLost() const { return lost_; }
  void Lose();
  AsioFeed& Feed() { return *feed_; }
  uint32_t LatencyMs() const { return latency_ms_; }
  /// How long both buffers of the driver last, which it may take at once.
  uint32_t HalvesMs() const { return halves_ms_; }

 private:
  struct Calls;  ///< What the driver calls.

  void Run();
  void AskForReset();
  void ResetDriver();
  HRESULT TryPrepare();
  HRESULT Prepare();
  HRESULT SetRate();
  HRESULT CreateBuffers(uint16_t channels, uint32_t frames);
  void Release();
  void Switch(int32_t index);

  const AsioRequest request_;
  DriverEvent prepared_;  ///< Set by the driver's thread when Prepare has ended.
  DriverEvent command_;   ///< Set by the others: look at the flags below.
  DriverEvent answer_;    ///< Start has ended.
  DriverEvent ended_;     ///< The driver is released.
  std::atomic<bool> start_{false};
  std::atomic<bool> quit_{false};
  std::atomic<bool> reset_{false};
  std::atomic<bool> lost_{false};
  std::atomic<bool> started_{false};

  // Written by the first Prepare; read by the others once prepared_ is set.
  HRESULT result_ = E_FAIL;
  std::unique_ptr<AsioFeed> feed_;
  uint32_t latency_ms_ = 0;
  uint32_t halves_ms_ = 0;

  // The driver's thread only, except that its callbacks read the outputs.
  ComPtr<asio::Driver> driver_;
  std::array<std::vector<AsioFeed::Output>, 2> outputs_;
  uint32_t frames_ = 0;
  int32_t resets_ = 0;
  bool has_buffers_ = false;
  std::atomic<bool> ready_{false};  ///< The outputs are there for the callbacks.
  std::atomic<bool> tells_ready_{false};
};

}  // namespace melorin
