// SPDX-License-Identifier: MIT
//
// PCM from the platform's media graph: file source ▸ whatever the graph puts in between ▸ sample grabber ▸
// null renderer, without a clock. The grabber's callback fills a bounded queue and so holds the graph back;
// pausing needs no more than not taking from the queue, and every stop turns the callback away first, since
// the graph waits for it.
#include <windows.h>

#include <dshow.h>
#include <qedit.h>

#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "platform/com_ptr.h"
#include "sound/win32/pcm_queue.h"
#include "sound/win32/producers.h"

namespace melorin {
namespace {

constexpr GUID kClsidSampleGrabber = {
    0xC1F400A0, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};
constexpr GUID kClsidNullRenderer = {
    0xC1F400A4, 0x3F08, 0x11D3, {0x9F, 0x0B, 0x00, 0x60, 0x08, 0x03, 0x9E, 0x37}};

constexpr int64_t kUnitsPerMs = 10000;  ///< The graph counts in units of 100 ns.
constexpr uint32_t kPollMs = 20;
constexpr uint32_t kStallMs = 10000;    ///< Without data and without an event for so long: given up.
constexpr uint32_t kEndStallMs = 1000;  ///< The same past the stated duration: the end was not reported.

class GrabberCallback final : public ComObject<ISampleGrabberCB> {
 public:
  explicit GrabberCallback(std::shared_ptr<PcmQueue> queue) : queue_(std::move(queue)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, __uuidof(ISampleGrabberCB))) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<ISampleGrabberCB*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SampleCB(double, IMediaSample*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE BufferCB(double, BYTE* data, LONG bytes) override {
    if (!data || bytes <= 0) return S_OK;
    return queue_->Push(data, static_cast<size_t>(bytes)) ? S_OK : E_FAIL;
  }

 private:
  std::shared_ptr<PcmQueue> queue_;
};

class GraphProducer final : public PcmProducer {
 public:
  ~GraphProducer() override;
  HRESULT Open(const std::u16string& path, PcmInfo& info) override;
  HRESULT Start() override;
  HRESULT Stop() override;
  HRESULT Read(uint8_t* to, uint32_t capacity, uint32_t* got) override;
  HRESULT Seek(uint32_t milliseconds) override;

 private:
  HRESULT Build(const std::u16string& path);
  HRESULT ReadFormat(PcmInfo& info);
  void Halt();
  /// Takes the graph's events; sets ended_ or failed_.
  void TakeEvents();

  std::shared_ptr<PcmQueue> queue_ = std::make_shared<PcmQueue>();
  ComPtr<IGraphBuilder> graph_;
  ComPtr<ISampleGrabber> grabber_;
  ComPtr<IMediaControl> control_;
  ComPtr<IMediaEvent> events_;
  ComPtr<IMediaSeeking> seeking_;
  uint64_t total_bytes_ = 0;  ///< As the duration has it.
  uint64_t position_bytes_ = 0;
  uint32_t bytes_per_second_ = 0;
  bool running_ = false;
  bool ended_ = false;
  bool failed_ = false;
};

/// The filter's first unconnected pin of that direction.
ComPtr<IPin> FindPin(IBaseFilter& filter, PIN_DIRECTION wanted) {
  ComPtr<IEnumPins> pins;
  if (FAILED(filter.EnumPins(pins.Receive()))) return nullptr;
  for (;;) {
    ComPtr<IPin> pin;
    if (pins->Next(1, pin.Receive(), nullptr) != S_OK) return nullptr;
    PIN_DIRECTION direction{};
    ComPtr<IPin> peer;
    if (SUCCEEDED(pin->QueryDirection(&direction)) && direction == wanted &&
        FAILED(pin->ConnectedTo(peer.Receive())))
      return pin;
  }
}

HRESULT CreateFilter(const GUID& class_id, ComPtr<IBaseFilter>& out) {
  return CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IBaseFilter), out.ReceiveVoid());
}

GraphProducer::~GraphProducer() {
  if (control_) Halt();
  if (grabber_) grabber_->SetCallback(nullptr, 1);
}

HRESULT GraphProducer::Build(const std::u16string& path) {
  ComPtr<IBaseFilter> grabber_filter;
  ComPtr<IBaseFilter> renderer;
  ComPtr<IBaseFilter> source;
  HRESULT result = CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IGraphBuilder),
                                    graph_.ReceiveVoid());
  if (SUCCEEDED(result)) result = CreateFilter(kClsidSampleGrabber, grabber_filter);
  if (SUCCEEDED(result)) result = CreateFilter(kClsidNullRenderer, renderer);
  if (SUCCEEDED(result))
    result = grabber_filter->QueryInterface(__uuidof(ISampleGrabber), grabber_.ReceiveVoid());
  if (FAILED(result)) return result;

  AM_MEDIA_TYPE wanted{};
  wanted.majortype = MEDIATYPE_Audio;
  wanted.subtype = MEDIASUBTYPE_PCM;
  wanted.formattype = FORMAT_WaveFormatEx;
  result = grabber_->SetMediaType(&wanted);
  if (SUCCEEDED(result)) result = graph_->AddFilter(grabber_filter.get(), L"Grabber");
  if (SUCCEEDED(result)) result = graph_->AddFilter(renderer.get(), L"Sink");
  if (SUCCEEDED(result)) result = graph_->AddSourceFilter(AsWide(path.c_str()), L"Source", source.Receive());
  if (FAILED(result)) return result;

  const ComPtr<IPin> from = FindPin(*source, PINDIR_OUTPUT);
  const ComPtr<IPin> grabber_in = FindPin(*grabber_filter, PINDIR_INPUT);
  if (!from || !grabber_in) return E_FAIL;
  // Connecting only this way leaves a film's picture unconnected.
  result = graph_->Connect(from.get(), grabber_in.get());
  if (FAILED(result)) return result;
  const ComPtr<IPin> grabber_out = FindPin(*grabber_filter, PINDIR_OUTPUT);
  const ComPtr<IPin> sink_in = FindPin(*renderer, PINDIR_INPUT);
  if (!grabber_out || !sink_in) return E_FAIL;
  result = graph_->Connect(grabber_out.get(), sink_in.get());
  if (FAILED(result)) return result;

  const auto callback = ComPtr<GrabberCallback>::Adopt(new (std::nothrow) GrabberCallback(queue_));
  if (!callback) return E_OUTOFMEMORY;
  grabber_->SetBufferSamples(FALSE);
  return grabber_->SetCallback(callback.get(), 1);
}

HRESULT GraphProducer::ReadFormat(PcmInfo& info) {
  AM_MEDIA_TYPE type{};
  const HRESULT result = grabber_->GetConnectedMediaType(&type);
  if (FAILED(result)) return result;
  if (type.pbFormat && type.cbFormat >= sizeof(WAVEFORMATEX))
    std::memcpy(&info.format, type.pbFormat, sizeof(WAVEFORMATEX));
  CoTaskMemFree(type.pbFormat);
  if (type.pUnk) type.pUnk->Release();
  // An extensible record of subtype PCM says no more here than the plain one.
  if (info.format.wFormatTag == WAVE_FORMAT_EXTENSIBLE && SameGuid(type.subtype, MEDIASUBTYPE_PCM))
    info.format.wFormatTag = WAVE_FORMAT_PCM;
  info.format.cbSize = 0;
  const bool usable = info.format.wFormatTag == WAVE_FORMAT_PCM && info.format.nAvgBytesPerSec != 0 &&
                      info.format.nBlockAlign != 0;
  return usable ? S_OK : E_FAIL;
}

HRESULT GraphProducer::Open(const std::u16string& path, PcmInfo& info) {
  HRESULT result = Build(path);
  if (SUCCEEDED(result)) result = ReadFormat(info);
  if (SUCCEEDED(result)) result = graph_->QueryInterface(__uuidof(IMediaControl), control_.ReceiveVoid());
  if (SUCCEEDED(result)) result = graph_->QueryInterface(IID_IMediaEvent, events_.ReceiveVoid());
  if (FAILED(result)) return result;
  ComPtr<IMediaFilter> filter;
  if (SUCCEEDED(graph_->QueryInterface(__uuidof(IMediaFilter), filter.ReceiveVoid())))
    filter->SetSyncSource(nullptr);

  LONGLONG duration = 0;
  if (SUCCEEDED(graph_->QueryInterface(__uuidof(IMediaSeeking), seeking_.ReceiveVoid())) &&
      SUCCEEDED(seeking_->GetDuration(&duration)) && duration > 0) {
    info.duration_ms = static_cast<uint32_t>(duration / kUnitsPerMs);
    DWORD capabilities = AM_SEEKING_CanSeekAbsolute;
    info.seekable = seeking_->CheckCapabilities(&capabilities) == S_OK;
  }
  bytes_per_second_ = info.format.nAvgBytesPerSec;
  total_bytes_ = static_cast<uint64_t>(info.duration_ms) * bytes_per_second_ / 1000;
  return S_OK;
}

void GraphProducer::Halt() {
  queue_->Abort();
  control_->Stop();
  running_ = false;
}

HRESULT GraphProducer::Start() {
  if (running_) return S_OK;
  queue_->Restart();
  const HRESULT result = control_->Run();
  running_ = SUCCEEDED(result);
  return running_ ? S_OK : E_FAIL;
}

HRESULT GraphProducer::Stop() {
  Halt();
  return S_OK;
}

void GraphProducer::TakeEvents() {
  LONG code = 0;
  LONG_PTR first = 0;
  LONG_PTR second = 0;
  while (SUCCEEDED(events_->GetEvent(&code, &first, &second, 0))) {
    events_->FreeEventParams(code, first, second);
    if (code == EC_COMPLETE) ended_ = true;
    if (code == EC_ERRORABORT || code == EC_USERABORT) failed_ = true;
  }
}

HRESULT GraphProducer::Read(uint8_t* to, uint32_t capacity, uint32_t* got) {
  *got = 0;
  // A reader that was not told to start, or to go on after a stop, still wants its data.
  if (!running_ && !ended_ && FAILED(Start())) return E_FAIL;
  uint32_t waited_ms = 0;
  for (;;) {
    const bool ended_before = ended_;
    const auto taken = static_cast<uint32_t>(queue_->Pop(to, capacity, ended_ ? 0 : kPollMs));
    if (taken > 0) {
      position_bytes_ += taken;
      *got = taken;
      return S_OK;
    }
    if (ended_before) return S_FALSE;
    TakeEvents();
    if (failed_) return E_FAIL;
    waited_ms += kPollMs;
    if (waited_ms >= kEndStallMs && total_bytes_ > 0 && position_bytes_ >= total_bytes_) ended_ = true;
    if (waited_ms >= kStallMs) return E_FAIL;
  }
}

HRESULT GraphProducer::Seek(uint32_t milliseconds) {
  if (!seeking_) return E_NOTIMPL;
  const bool was_running = running_;
  Halt();
  TakeEvents();
  ended_ = false;
  failed_ = false;
  LONGLONG to = milliseconds * kUnitsPerMs;
  if (FAILED(seeking_->SetPositions(&to, AM_SEEKING_AbsolutePositioning, nullptr, AM_SEEKING_NoPositioning)))
    return E_FAIL;
  position_bytes_ = static_cast<uint64_t>(milliseconds) * bytes_per_second_ / 1000;
  return was_running ? Start() : S_OK;
}

}  // namespace

std::unique_ptr<PcmProducer> MakeGraphProducer() {
  return std::make_unique<GraphProducer>();
}

}  // namespace melorin
