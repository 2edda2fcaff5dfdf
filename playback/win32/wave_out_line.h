// SPDX-License-Identifier: MIT
//
// One waveOut handle from its opening to its closing. Each call of the platform may stand still together with
// the driver or the sound server behind it, so all of them are made on a thread of the line's own; that
// thread and whoever uses the line share it, so that either may end first.
//
// How blocks travel: Write copies into a block; the thread queues it with the platform; the platform's
// callback, on a thread of the system, only counts how many blocks it has finished; the next caller takes
// that many from the front of the queue (waveOut finishes blocks in order) and keeps them for later writes.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "platform/thread.h"
#include "playback/heard_position.h"
#include "playback/win32/wave_out_api.h"
#include "playback/win32/wave_out_device.h"

namespace melorin {

struct WaveOutRequest {
  const WaveOutApi* api = nullptr;  ///< Outlives the line.
  WaveOutPatience patience;
  std::vector<uint8_t> format;  ///< A WAVEFORMATEX with what follows it.
  uint32_t buffer_bytes = 0;
  int32_t number = 0;
};

/// Thread: any. A line whose platform has not answered in time is lost: it fails everything from then on, and
/// closes itself when the platform comes back.
class WaveOutLine : public std::enable_shared_from_this<WaveOutLine> {
 public:
  /// Paused. Fails at once while another line waits in vain for the platform, since this one would too.
  /// Throws std::bad_alloc.
  static HRESULT Open(WaveOutRequest request, std::shared_ptr<WaveOutLine>* out);

  explicit WaveOutLine(WaveOutRequest request);

  const WaveOutRequest& Request() const { return request_; }
  HRESULT Restart() { return Ask(Command::kRestart); }
  HRESULT Pause() { return Ask(Command::kPause); }
  HRESULT Reset() { return Ask(Command::kReset); }
  HRESULT SetVolume(DWORD levels) { return Ask(Command::kSetVolume, levels); }
  /// Waits for nobody; a block that the platform refuses afterwards is offered again with the next one, which
  /// fails. Throws std::bad_alloc.
  HRESULT Write(const uint8_t* data, uint32_t bytes);
  uint32_t FreeBytes();
  /// Waits for nobody: made of the last report. E_FAIL when the platform refused to give it.
  HRESULT GetPosition(uint32_t* bytes);
  /// To be called before the line is let go.
  void Close();

 private:
  enum class Command { kNone, kRestart, kPause, kReset, kSetVolume };
  struct Block {
    WAVEHDR header = {};
    std::vector<uint8_t> data;
    uint32_t bytes = 0;
  };

  const WAVEFORMATEX& Format() const {
    return *reinterpret_cast<const WAVEFORMATEX*>(request_.format.data());
  }
  HRESULT Ask(Command command, DWORD argument = 0);
  void GiveUp();
  static void CALLBACK OnMessage(HWAVEOUT, UINT message, DWORD_PTR instance, DWORD_PTR, DWORD_PTR);

  // The line's thread.
  void Run();
  void Enter();
  void Leave();
  HRESULT OpenHandle();
  void CloseHandle();
  void HandOver();
  bool OfferOldest();
  HRESULT Do(Command command, DWORD argument);
  HRESULT DoReset();
  void SetRunning(bool running);
  void ReadPosition();
  bool PlatformPosition(uint32_t* bytes) const;

  void CollectLocked();

  const WaveOutRequest request_;
  HWAVEOUT handle_ = nullptr;  ///< The line's thread only.
  Event work_{Event::Mode::kAutoReset};
  Event answered_{Event::Mode::kManualReset};
  Event closed_{Event::Mode::kManualReset};
  std::atomic<bool> quit_{false};
  std::atomic<bool> lost_{false};
  std::atomic<bool> wants_position_{false};
  std::atomic<uint32_t> finished_{0};  ///< Blocks, counted by the callback.

  CriticalSection ask_lock_;  ///< One question at a time; held until it is answered. Guards the next three.
  std::atomic<Command> command_{Command::kNone};
  DWORD argument_ = 0;
  HRESULT result_ = E_FAIL;

  CriticalSection lock_;  ///< Guards what follows; the platform is never called under it.
  bool inside_ = false;   ///< The thread is in the platform.
  bool stuck_ = false;    ///< And somebody has given it up there.
  bool running_ = false;
  bool write_failed_ = false;
  bool position_failed_ = false;
  std::list<Block> waiting_;  ///< For the thread, oldest first.
  std::list<Block> queued_;   ///< With the platform, oldest first.
  std::list<Block> idle_;     ///< Finished; still prepared until they are used again.
  uint32_t collected_ = 0;    ///< Blocks taken back, modulo 2^32 as finished_.
  uint32_t queued_bytes_ = 0;
  uint64_t queued_total_ = 0;    ///< Bytes written since the last reset.
  uint64_t reported_total_ = 0;  ///< The platform's position in 64 bits.
  uint32_t last_report_ = 0;
  uint32_t report_tick_ = 0;
  HeardPosition heard_;
};

}  // namespace melorin
