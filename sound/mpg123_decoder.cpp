// SPDX-License-Identifier: MIT
//
// "MPEG Audio Decoder (mpg123)": MPEG audio packets to 32-bit samples, through libmpg123's feed interface.
//
// Gapless: the first frame of a file may be an encoder's header frame that states how many samples its
// encoder put before the music and after it. Fed from the file's start, libmpg123 leaves those out by itself.
// After a seek it does not see that frame and nobody tells it the position, so the end is trimmed another
// way: the padding's worth of samples is held back all the time, and what is still held when the packets end
// is the padding.
//
// Seeking: packets then begin anywhere inside a frame. Layer 3 frames take bytes from frames before them and
// overlap with the last one, so the first frames after a seek cannot be decoded rightly. Their samples are
// replaced by silence, which keeps the time right, and the samples after that are faded in over a few
// milliseconds. So a seek lands within one packet of the place that it asks for.
#include <mpg123.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

#include "sound/builtin_entries.h"
#include "sound/fault_guard.h"
#include "sound/held_samples.h"
#include "sound/mpeg_resync.h"
#include "sound/sample_seek.h"
#include "sound/text_out.h"

namespace melorin {

namespace {

constexpr uint32_t kSmallestPacket = 4096;
constexpr uint32_t kLargestBlockFrames = 2304;
constexpr uint16_t kOutputBits = 32;
constexpr uint32_t kHighestRate = 48000;
/// Fed at once; libmpg123's own buffers have this size and are kept in a pool.
constexpr size_t kFeedBytes = 4096;
constexpr long kFeedPool = 8;
/// Errors in a row without a sample after which the stream is taken up anew behind the bytes fed so far.
constexpr int kMostErrors = 16;
/// Delay of the decoder itself, which the stated padding makes up for.
constexpr int64_t kDecoderDelay = 529;
constexpr uint32_t kFadeInFrames = 128;

struct HandleDeleter {
  void operator()(mpg123_handle* handle) const { mpg123_delete(handle); }
};
using Handle = std::unique_ptr<mpg123_handle, HandleDeleter>;

class Mpg123Decoder final : public ComObject<SoundDecoder, LeadInTeller> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (SameGuid(iid, kIidLeadInTeller))
      *out = static_cast<LeadInTeller*>(this);
    else if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, kIidSoundDecoder))
      *out = static_cast<SoundDecoder*>(this);
    else
      return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetLeadIn(uint32_t* samples) override {
    if (!samples) return E_POINTER;
    *samples = lead_in_frames_;
    return S_OK;
  }

  /// Output format tag: WAVE_FORMAT_PCM gives 32-bit integers, WAVE_FORMAT_IEEE_FLOAT floats with full
  /// scale 1.0.
  HRESULT STDMETHODCALLTYPE SetFormat(const WAVEFORMATEX* in, WAVEFORMATEX* out) override {
    if (!in || !out) return E_POINTER;
    if (in->wFormatTag != WAVE_FORMAT_MPEGLAYER3 && in->wFormatTag != WAVE_FORMAT_MPEG) return E_INVALIDARG;
    if (out->wFormatTag != WAVE_FORMAT_PCM && out->wFormatTag != WAVE_FORMAT_IEEE_FLOAT) return E_INVALIDARG;
    if ((in->nChannels != 1 && in->nChannels != 2) || in->nSamplesPerSec == 0) return E_INVALIDARG;
    if (in->nSamplesPerSec > kHighestRate) return E_INVALIDARG;
    WAVEFORMATEX format{};
    format.wFormatTag = out->wFormatTag;
    format.nChannels = in->nChannels;
    format.nSamplesPerSec = in->nSamplesPerSec;
    format.wBitsPerSample = kOutputBits;
    format.nBlockAlign = static_cast<WORD>(format.nChannels * kOutputBits / 8);
    format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
    handle_.reset();
    format_ = format;
    const HRESULT result = MakeHandle();
    if (FAILED(result)) return result;
    held_.Reset(0);
    padding_frames_ = 0;
    lead_in_frames_ = 0;
    in_bytes_ = std::max<uint32_t>(in->nAvgBytesPerSec / 16, kSmallestPacket);
    *out = format;
    Restart(false);
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetBufferSizes(uint32_t* in_bytes, uint32_t* out_bytes) override {
    if (in_bytes) *in_bytes = in_bytes_;
    if (out_bytes) *out_bytes = format_.nBlockAlign * kLargestBlockFrames;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE AcceptsInput() override { return wants_input_ ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE HasOutput() override { return has_output_ ? S_OK : S_FALSE; }

  HRESULT STDMETHODCALLTYPE ProcessInput(SoundBuffer* packet) override {
    if (!packet) return E_POINTER;
    if (!handle_) return E_FAIL;
    uint8_t* data = nullptr;
    uint32_t length = 0;
    if (FAILED(packet->GetData(&data, &length)) || (!data && length > 0)) return E_INVALIDARG;
    if (!Append({data, length})) {
      store_begin_ = store_end_ = 0;
      wants_input_ = true;
      has_output_ = false;
      return E_OUTOFMEMORY;
    }
    wants_input_ = false;
    has_output_ = true;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE ProcessOutput(SoundBuffer* pcm) override {
    if (!pcm) return E_POINTER;
    uint8_t* data = nullptr;
    uint32_t length = 0;
    uint32_t capacity = 0;
    if (FAILED(pcm->GetCapacity(&capacity)) || FAILED(pcm->GetData(&data, &length))) return E_INVALIDARG;
    pcm->SetLength(0);
    if (!has_output_) return S_OK;
    if (!handle_) return E_FAIL;
    if (!data || capacity < format_.nBlockAlign) return E_INVALIDARG;

    Call call{this, {data, capacity - capacity % format_.nBlockAlign}, 0, S_OK};
    if (!CallGuarded([](void* context) { static_cast<Call*>(context)->Run(); }, &call))
      return AbandonHandle();
    pcm->SetLength(static_cast<uint32_t>(call.made));
    return call.result;
  }

  HRESULT STDMETHODCALLTYPE Flush() override {
    if (handle_) Restart(true);
    return S_OK;
  }

 private:
  struct Call {
    Mpg123Decoder* decoder;
    std::span<uint8_t> room;
    size_t made;
    HRESULT result;
    void Run() {
      try {
        result = decoder->Decode(room, &made);
      } catch (const std::bad_alloc&) {
        result = E_OUTOFMEMORY;
      }
    }
  };

  HRESULT MakeHandle() {
    static std::once_flag initialised;
    std::call_once(initialised, [] { mpg123_init(); });
    handle_.reset(mpg123_new(nullptr, nullptr));
    if (!handle_) return E_OUTOFMEMORY;
    mpg123_handle* h = handle_.get();
    const long flags = MPG123_QUIET | MPG123_SKIP_ID3V2 | MPG123_GAPLESS;
    // Without limit: after a fault in the stream the next frame counts, however far it is.
    const bool set = mpg123_param2(h, MPG123_ADD_FLAGS, flags, 0) == MPG123_OK &&
                     mpg123_param2(h, MPG123_RESYNC_LIMIT, -1, 0) == MPG123_OK &&
                     mpg123_param2(h, MPG123_FEEDPOOL, kFeedPool, 0) == MPG123_OK &&
                     mpg123_param2(h, MPG123_FEEDBUFFER, static_cast<long>(kFeedBytes), 0) == MPG123_OK &&
                     mpg123_format_none(h) == MPG123_OK;
    // The only format allowed, so that the output stays what it is when the stream changes its own.
    const int encoding = format_.wFormatTag == WAVE_FORMAT_PCM ? MPG123_ENC_SIGNED_32 : MPG123_ENC_FLOAT_32;
    const int channels = format_.nChannels == 1 ? MPG123_MONO : MPG123_STEREO;
    if (!set ||
        mpg123_format2(h, static_cast<long>(format_.nSamplesPerSec), channels, encoding) != MPG123_OK ||
        mpg123_open_feed(h) != MPG123_OK) {
      handle_.reset();
      return E_INVALIDARG;
    }
    return S_OK;
  }

  /// `in_midst`: what comes next is not the file's start.
  void Restart(bool in_midst) {
    store_begin_ = store_end_ = 0;
    wants_input_ = true;
    has_output_ = false;
    errors_ = 0;
    in_midst_ = in_midst;
    nothing_fed_ = nothing_made_ = true;
    muted_frames_ = 0;
    fade_position_ = kFadeInFrames;
    held_.Reset(0);
    if (mpg123_open_feed(handle_.get()) != MPG123_OK) handle_.reset();
  }

  /// After a fault inside the library: its handle is not to be touched again, not even to free it.
  HRESULT AbandonHandle() {
    static_cast<void>(handle_.release());
    if (SUCCEEDED(MakeHandle())) {
      Restart(true);
      return S_OK;
    }
    wants_input_ = true;
    has_output_ = false;
    return E_FAIL;
  }

  bool Append(std::span<const uint8_t> bytes) {
    const size_t held = store_end_ - store_begin_;
    if (store_begin_ > 0 && held > 0) std::memmove(store_.get(), store_.get() + store_begin_, held);
    store_begin_ = 0;
    store_end_ = held;
    if (bytes.size() > store_capacity_ - held) {
      if (bytes.size() > static_cast<size_t>(PTRDIFF_MAX) - held) return false;
      const size_t capacity = std::max({held + bytes.size(), store_capacity_ * 2, size_t{in_bytes_}});
      std::unique_ptr<uint8_t[]> larger(new (std::nothrow) uint8_t[capacity]);
      if (!larger) return false;
      if (held > 0) std::memcpy(larger.get(), store_.get(), held);
      store_ = std::move(larger);
      store_capacity_ = capacity;
    }
    if (!bytes.empty()) std::memcpy(store_.get() + held, bytes.data(), bytes.size());
    store_end_ += bytes.size();
    return true;
  }

  /// Fills the room until the packets are used up. Every turn of the loop makes samples, feeds bytes or
  /// counts against a limit, so it ends.
  HRESULT Decode(std::span<uint8_t> room, size_t* made) {
    int idle_turns = 0;
    while (*made < room.size()) {
      size_t got = 0;
      const int status = mpg123_read(handle_.get(), room.data() + *made, room.size() - *made, &got);
      if (got > 0) {
        errors_ = idle_turns = 0;
        *made += Finish(room.subspan(*made, got));
      }
      if (status == MPG123_NEED_MORE || status == MPG123_DONE) {
        if (store_begin_ == store_end_) break;
        if (!Feed()) return E_OUTOFMEMORY;
      } else if (status != MPG123_OK && status != MPG123_NEW_FORMAT) {
        if (++errors_ > kMostErrors && !TakeUpAnew()) return E_FAIL;
      } else if (got == 0 && ++idle_turns > kMostErrors) {
        if (!TakeUpAnew()) return E_FAIL;
        idle_turns = 0;
      }
    }
    if (*made == room.size()) return S_OK;
    store_begin_ = store_end_ = 0;
    wants_input_ = true;
    has_output_ = false;
    return S_OK;
  }

  bool Feed() {
    const size_t count = std::min(kFeedBytes, store_end_ - store_begin_);
    uint8_t* const bytes = store_.get() + store_begin_;
    if (nothing_fed_ && in_midst_) {
      const std::span<uint8_t> at_hand(bytes, store_end_ - store_begin_);
      if (BeginsCleanly(at_hand)) in_midst_ = false;
      undecodable_frames_ = FramesToMute(at_hand);
      SilenceFramesWithoutData(at_hand);
    }
    nothing_fed_ = false;
    store_begin_ += count;
    return mpg123_feed(handle_.get(), bytes, count) == MPG123_OK;
  }

  /// Drops what the library holds and goes on with the next bytes as after a seek. False when it cannot.
  bool TakeUpAnew() {
    errors_ = 0;
    in_midst_ = true;
    nothing_fed_ = nothing_made_ = true;
    return mpg123_open_feed(handle_.get()) == MPG123_OK;
  }

  /// Gives fresh samples their final form in place; the bytes that may go out now.
  size_t Finish(std::span<uint8_t> samples) {
    if (nothing_made_) BeginSamples();
    nothing_made_ = false;
    const size_t align = format_.nBlockAlign;
    auto rest = samples;
    if (muted_frames_ > 0) {
      const size_t frames = std::min<size_t>(muted_frames_, rest.size() / align);
      std::memset(rest.data(), 0, frames * align);
      muted_frames_ -= static_cast<uint32_t>(frames);
      rest = rest.subspan(frames * align);
    }
    if (fade_position_ < kFadeInFrames) FadeIn(rest);
    return held_.Pass(samples);
  }

  /// At the first samples after a start: what the stream's head says, or how to come in without it.
  void BeginSamples() {
    long delay = -1;
    long padding = -1;
    mpg123_getstate2(handle_.get(), MPG123_ENC_DELAY, &delay, nullptr);
    mpg123_getstate2(handle_.get(), MPG123_ENC_PADDING, &padding, nullptr);
    if (delay >= 0 && padding >= 0) {
      lead_in_frames_ = static_cast<uint32_t>(delay + kDecoderDelay);
      padding_frames_ = static_cast<size_t>(std::max<int64_t>(padding - kDecoderDelay, 0));
      held_.Reset(0);
      return;
    }
    held_.Reset(padding_frames_ * format_.nBlockAlign);
    if (!in_midst_) return;
    mpg123_frameinfo info{};
    if (mpg123_info(handle_.get(), &info) != MPG123_OK) return;
    const uint32_t spf = info.layer == 1 ? 384 : info.layer == 3 && info.version != MPG123_1_0 ? 576 : 1152;
    muted_frames_ = undecodable_frames_ * spf;
    fade_position_ = 0;
  }

  void FadeIn(std::span<uint8_t> samples) {
    const size_t align = format_.nBlockAlign;
    for (size_t at = 0; at < samples.size() && fade_position_ < kFadeInFrames;
         at += align, ++fade_position_) {
      for (size_t channel = 0; channel < align; channel += 4) {
        uint8_t* place = samples.data() + at + channel;
        const double gain = static_cast<double>(fade_position_) / kFadeInFrames;
        if (format_.wFormatTag == WAVE_FORMAT_PCM) {
          int32_t sample;
          std::memcpy(&sample, place, sizeof sample);
          sample = static_cast<int32_t>(sample * gain);
          std::memcpy(place, &sample, sizeof sample);
        } else {
          float sample;
          std::memcpy(&sample, place, sizeof sample);
          sample = static_cast<float>(sample * gain);
          std::memcpy(place, &sample, sizeof sample);
        }
      }
    }
  }

  Handle handle_;
  WAVEFORMATEX format_{};
  uint32_t in_bytes_ = kSmallestPacket;
  std::unique_ptr<uint8_t[]> store_;  ///< Packets not yet fed.
  size_t store_capacity_ = 0;
  size_t store_begin_ = 0;
  size_t store_end_ = 0;
  bool wants_input_ = true;
  bool has_output_ = false;
  int errors_ = 0;
  bool in_midst_ = false;
  bool nothing_fed_ = true;
  bool nothing_made_ = true;
  uint32_t undecodable_frames_ = 0;  ///< MPEG frames, of the bytes that came first after a seek.
  uint32_t muted_frames_ = 0;        ///< Sample frames still to be replaced by silence.
  uint32_t fade_position_ = kFadeInFrames;
  uint32_t lead_in_frames_ = 0;  ///< Sample frames that were left out at the start of the file.
  size_t padding_frames_ = 0;    ///< Sample frames at the end of the file that are no music.
  HeldSamples held_;
};

class MpegDecoderEntry final : public ComObject<SoundDecoderEntry> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundDecoderEntry)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundDecoderEntry*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CreateDecoder(SoundDecoder** out) override {
    if (!out) return E_POINTER;
    *out = new (std::nothrow) Mpg123Decoder;
    return *out ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE GetName(WideChar** name) override {
    return HandOutText(u"MPEG Audio Decoder (mpg123)", name);
  }
  HRESULT STDMETHODCALLTYPE CanDecode(const GUID* subtype) override {
    if (!subtype) return E_POINTER;
    constexpr uint32_t kMpeg2Audio = 0xE06D802B;
    const bool mine = SameGuid(*subtype, DvdSubtype(kMpeg2Audio)) ||
                      SameGuid(*subtype, WaveSubtype(WAVE_FORMAT_MPEGLAYER3)) ||
                      SameGuid(*subtype, WaveSubtype(WAVE_FORMAT_MPEG));
    return mine ? S_OK : E_INVALIDARG;
  }
};

}  // namespace

ComPtr<SoundDecoderEntry> CreateMpegDecoderEntry() {
  return ComPtr<SoundDecoderEntry>::Adopt(new (std::nothrow) MpegDecoderEntry);
}

}  // namespace melorin
