// SPDX-License-Identifier: MIT
//
// An ASIO driver without a sound card, as a module that the component runtime loads. A test sets its
// behaviour and reads what it has played through FakeAsioControl.
#include "fake_asio.h"

#include <cstring>
#include <new>
#include <thread>
#include <vector>

#include "platform/com_ptr.h"
#include "playback/win32/asio_driver.h"

namespace melorin::fake_asio {
namespace {

Control g_control = {};
class FakeDriver;
std::atomic<FakeDriver*> g_driver{nullptr};

uint32_t BytesOf(int32_t type) {
  switch (type % 16) {
    case 0:
      return 2;
    case 1:
      return 3;
    case 4:
      return 8;
    default:
      return 4;
  }
}

class FakeDriver final : public asio::Driver {
 public:
  FakeDriver() : is_(g_control.behaviour), thread_id_(GetCurrentThreadId()) {
    ++g_control.alive;
    g_control.captured = 0;
    g_control.rate = 0;
    g_driver = this;
  }
  FakeDriver(const FakeDriver&) = delete;
  FakeDriver& operator=(const FakeDriver&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (!SameGuid(iid, kClsid) && !SameGuid(iid, IID_IUnknown)) return E_NOINTERFACE;
    AddRef();
    *out = this;
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) Destroy();
    return left;
  }

  int32_t MELORIN_ASIO_METHOD init(void*) override {
    Called();
    if (is_.hangs_in_init) WaitForSingleObject(g_control.let_go, INFINITE);
    return is_.init;
  }
  void MELORIN_ASIO_METHOD getDriverName(char* name) override { std::strcpy(name, "Fake"); }
  int32_t MELORIN_ASIO_METHOD getDriverVersion() override { return 1; }
  void MELORIN_ASIO_METHOD getErrorMessage(char* text) override { *text = 0; }

  int32_t MELORIN_ASIO_METHOD start() override {
    Called();
    ++g_control.starts;
    if (is_.hangs_in_start) WaitForSingleObject(g_control.let_go, INFINITE);
    if (is_.start != asio::kOk) return is_.start;
    runs_ = true;
    if (!is_.real_time) return asio::kOk;
    Turn();
    Turn();
    player_ = std::thread([this] { PlayInRealTime(); });
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD stop() override {
    Called();
    ++g_control.stops;
    runs_ = false;
    if (player_.joinable()) player_.join();
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD getChannels(int32_t* inputs, int32_t* outputs) override {
    Called();
    *inputs = 2;
    *outputs = is_.outputs;
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD getLatencies(int32_t* input_frames, int32_t* output_frames) override {
    Called();
    *input_frames = 0;
    *output_frames = is_.latency;
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD getBufferSize(int32_t* smallest, int32_t* largest, int32_t* preferred,
                                            int32_t* granularity) override {
    Called();
    *smallest = is_.smallest;
    *largest = is_.largest;
    *preferred = is_.preferred;
    *granularity = is_.granularity;
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD canSampleRate(double rate) override {
    Called();
    return is_.only_rate == 0 || is_.only_rate == rate ? asio::kOk : asio::kNoClock;
  }
  int32_t MELORIN_ASIO_METHOD getSampleRate(double* rate) override {
    Called();
    *rate = is_.stuck_rate != 0 ? is_.stuck_rate : g_control.rate;
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD setSampleRate(double rate) override {
    Called();
    g_control.rate = rate;
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD getClockSources(asio::ClockSource*, int32_t*) override {
    return asio::kNotPresent;
  }
  int32_t MELORIN_ASIO_METHOD setClockSource(int32_t) override { return asio::kNotPresent; }
  int32_t MELORIN_ASIO_METHOD getSamplePosition(int64_t*, int64_t*) override { return asio::kNotPresent; }
  int32_t MELORIN_ASIO_METHOD getChannelInfo(asio::ChannelInfo* info) override {
    Called();
    if (info->isInput || info->channel < 0 || info->channel >= is_.outputs) return asio::kInvalidParameter;
    info->type = is_.type;
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD createBuffers(asio::BufferInfo* buffers, int32_t channels, int32_t frames,
                                            const asio::Callbacks* callbacks) override {
    Called();
    if (is_.create != asio::kOk) return is_.create;
    if (channels > kMaxChannels || frames < is_.smallest || frames > is_.largest)
      return asio::kInvalidParameter;
    half_bytes_ = static_cast<uint32_t>(frames) * BytesOf(is_.type);
    frames_ = frames;
    callbacks_ = callbacks;
    for (int32_t channel = 0; channel < channels; ++channel) {
      // What was in the memory before must never be heard.
      memory_.emplace_back(half_bytes_ * 2, uint8_t{0x55});
      buffers[channel].buffers[0] = memory_.back().data();
      buffers[channel].buffers[1] = is_.null_buffer ? nullptr : memory_.back().data() + half_bytes_;
    }
    ++g_control.buffers;
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD disposeBuffers() override {
    Called();
    --g_control.buffers;
    return asio::kOk;
  }
  int32_t MELORIN_ASIO_METHOD controlPanel() override { return asio::kNotPresent; }
  int32_t MELORIN_ASIO_METHOD future(int32_t, void*) override { return asio::kInvalidParameter; }
  int32_t MELORIN_ASIO_METHOD outputReady() override {
    ++g_control.ready;
    if (is_.hangs_in_ready && runs_) WaitForSingleObject(g_control.let_go, INFINITE);
    return asio::kOk;
  }

  bool Turn() {
    if (!runs_) return false;
    callbacks_->bufferSwitch(half_, 1);
    const uint32_t captured = g_control.captured;
    if (captured + half_bytes_ <= kCaptureBytes) {
      for (size_t channel = 0; channel < memory_.size(); ++channel)
        std::memcpy(g_control.capture[channel] + captured,
                    memory_[channel].data() + (half_ != 0 ? half_bytes_ : 0), half_bytes_);
      g_control.captured = captured + half_bytes_;
    }
    half_ ^= 1;
    return true;
  }
  const asio::Callbacks* Host() const { return callbacks_; }

 private:
  ~FakeDriver() = default;

  void Destroy() {
    g_driver = nullptr;
    --g_control.alive;
    delete this;
  }
  void Called() const {
    if (GetCurrentThreadId() != thread_id_) ++g_control.foreign_calls;
  }
  /// A half whenever the one before has been played. What a busy machine makes late is not caught up on in a
  /// burst.
  void PlayInRealTime() {
    const auto half_ms = static_cast<DWORD>(frames_ * 1000 / g_control.rate);
    for (DWORD last = GetTickCount(); runs_; Sleep(1)) {
      const DWORD late = GetTickCount() - last;
      if (late < half_ms) continue;
      last += late < 2 * half_ms ? half_ms : late;
      if (g_control.silent_thread == 0) Turn();
    }
  }

  const Behaviour is_;
  const DWORD thread_id_;
  std::atomic<ULONG> references_{1};
  std::atomic<bool> runs_{false};
  std::thread player_;
  const asio::Callbacks* callbacks_ = nullptr;
  std::vector<std::vector<uint8_t>> memory_;
  uint32_t half_bytes_ = 0;
  int32_t frames_ = 0;
  int32_t half_ = 0;
};

class Factory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, IID_IClassFactory)) return E_NOINTERFACE;
    *out = this;
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** out) override {
    auto* driver = new (std::nothrow) FakeDriver;
    if (!driver) return E_OUTOFMEMORY;
    const HRESULT result = driver->QueryInterface(iid, out);
    driver->Release();
    return result;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

bool SwitchOnce() {
  FakeDriver* driver = g_driver;
  return driver && driver->Turn();
}
int32_t SendMessageToHost(int32_t selector, int32_t value) {
  return g_driver.load()->Host()->asioMessage(selector, value, nullptr, nullptr);
}
void ChangeRate(double rate) {
  g_driver.load()->Host()->sampleRateDidChange(rate);
}

}  // namespace
}  // namespace melorin::fake_asio

extern "C" {

__declspec(dllexport) melorin::fake_asio::Control* __cdecl FakeAsioControl() {
  using namespace melorin::fake_asio;
  if (!g_control.let_go) g_control.let_go = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  g_control.Switch = &SwitchOnce;
  g_control.Message = &SendMessageToHost;
  g_control.ChangeRate = &ChangeRate;
  return &g_control;
}

__declspec(dllexport) HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  static melorin::fake_asio::Factory factory;
  *out = nullptr;
  if (!melorin::SameGuid(clsid, melorin::fake_asio::kClsid)) return CLASS_E_CLASSNOTAVAILABLE;
  return factory.QueryInterface(iid, out);
}

__declspec(dllexport) HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return S_FALSE;
}

}  // extern "C"
