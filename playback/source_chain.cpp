// SPDX-License-Identifier: MIT
#include "playback/source_chain.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sound/exports.h"

namespace melorin {

namespace {

constexpr uint32_t kMinPacketBytes = 4096;
/// What a source or decoder may ask for as a buffer; more is taken for an error in it.
constexpr uint32_t kMaxPacketBytes = 8u << 20;
constexpr int kMaxBadPackets = 16;
/// Input without a single sample in it: longer than any tag or damage that a player should wait for.
constexpr uint64_t kMaxSilentInput = 64u << 20;

struct TaskFormat {
  WAVEFORMATEX* format = nullptr;
  TaskFormat() = default;
  TaskFormat(const TaskFormat&) = delete;
  TaskFormat& operator=(const TaskFormat&) = delete;
  ~TaskFormat() { CoTaskMemFree(format); }
};

HRESULT MakeBuffer(uint32_t bytes, ComPtr<SoundBuffer>& out) {
  return CreateSoundBuffer(out.Receive(), bytes);
}

}  // namespace

SourceChain::SourceChain(ComPtr<SoundSource> source) : source_(std::move(source)) {}
SourceChain::~SourceChain() = default;

HRESULT SourceChain::Open(const SoundLibrary& library, const WideChar* path, uint32_t flags,
                          std::unique_ptr<SourceChain>* out) {
  if (!out) return E_POINTER;
  out->reset();
  if (!path) return E_INVALIDARG;
  ComPtr<SoundSource> source;
  const HRESULT opened = library.OpenSource(path, flags, source.Receive());
  if (FAILED(opened)) return opened;
  return Create(
      std::move(source),
      [&library](const WAVEFORMATEX& in, WAVEFORMATEX* made, SoundDecoder** decoder) {
        return library.CreateDecoder(in, made, decoder);
      },
      out);
}

HRESULT SourceChain::Create(ComPtr<SoundSource> source, const DecoderMaker& make_decoder,
                            std::unique_ptr<SourceChain>* out) {
  if (!out) return E_POINTER;
  out->reset();
  if (!source) return E_INVALIDARG;
  std::unique_ptr<SourceChain> chain(new (std::nothrow) SourceChain(std::move(source)));
  if (!chain) return E_OUTOFMEMORY;
  const HRESULT prepared = chain->Prepare(make_decoder);
  if (FAILED(prepared)) return prepared;
  *out = std::move(chain);
  return S_OK;
}

HRESULT SourceChain::Prepare(const DecoderMaker& make_decoder) {
  TaskFormat in;
  HRESULT result = source_->GetFormat(&in.format);
  if (FAILED(result)) return result;
  if (!in.format) return E_FAIL;

  uint32_t packet_bytes = 0;
  uint32_t pcm_bytes = 0;
  if (IsUncompressed(*in.format)) {
    if (!ParseSampleLayout(*in.format, &layout_)) return E_NOTIMPL;
    if (FAILED(source_->GetReadSize(&packet_bytes))) packet_bytes = 0;
  } else {
    result = ChooseDecoder(*in.format, make_decoder);
    if (FAILED(result)) return result;
    result = decoder_->GetBufferSizes(&packet_bytes, &pcm_bytes);
    if (FAILED(result)) return result;
    if (pcm_bytes > kMaxPacketBytes) return E_FAIL;
    result = MakeBuffer(std::max(pcm_bytes, layout_.frame_bytes), pcm_);
    if (FAILED(result)) return result;
  }
  packet_bytes = std::clamp(packet_bytes, kMinPacketBytes, kMaxPacketBytes);
  result = MakeBuffer(packet_bytes, packet_);
  if (FAILED(result)) return result;
  if (!decoder_) pcm_ = packet_;

  block_frames_ = BlockFrames(layout_.sample_rate);
  if (FAILED(source_->GetBitsPerSample(&source_bits_))) source_bits_ = 0;
  if (FAILED(source_->GetDuration(&duration_ms_))) duration_ms_ = 0;
  return S_OK;
}

HRESULT SourceChain::ChooseDecoder(const WAVEFORMATEX& in, const DecoderMaker& make_decoder) {
  const bool mpeg = in.wFormatTag == WAVE_FORMAT_MPEGLAYER3 || in.wFormatTag == WAVE_FORMAT_MPEG;
  std::array<uint16_t, 2> tags = {WAVE_FORMAT_PCM, WAVE_FORMAT_IEEE_FLOAT};
  if (mpeg) std::swap(tags[0], tags[1]);
  HRESULT first_failure = E_NOTIMPL;
  for (const uint16_t tag : tags) {
    WAVEFORMATEX made = {};
    made.wFormatTag = tag;
    ComPtr<SoundDecoder> decoder;
    const HRESULT result = make_decoder(in, &made, decoder.Receive());
    if (result == E_OUTOFMEMORY) return result;
    if (SUCCEEDED(result) && decoder && ParseSampleLayout(made, &layout_)) {
      decoder_ = std::move(decoder);
      return S_OK;
    }
    if (FAILED(result) && tag == tags[0]) first_failure = result;
  }
  return first_failure;
}

HRESULT SourceChain::ReadPacket() {
  packet_->SetLength(0);
  const HRESULT result = source_->Read(packet_.get());
  uint32_t length = 0;
  packet_->GetData(nullptr, &length);
  if (FAILED(result)) failure_ = result;
  if (result != S_OK || length == 0) source_ended_ = true;
  return source_ended_ ? S_FALSE : S_OK;
}

/// Gets more samples into the rest; anything but S_OK when there are none.
HRESULT SourceChain::Refill() {
  if (decoder_) return RefillDecoded();
  if (source_ended_ || ReadPacket() != S_OK) return S_FALSE;
  uint8_t* data = nullptr;
  uint32_t length = 0;
  packet_->GetData(&data, &length);
  rest_ = data;
  rest_bytes_ = length;
  return S_OK;
}

HRESULT SourceChain::RefillDecoded() {
  int bad_packets = 0;
  uint64_t silent_input = 0;
  for (;;) {
    HRESULT result = S_OK;
    if (decoder_->HasOutput() == S_OK) {
      pcm_->SetLength(0);
      result = decoder_->ProcessOutput(pcm_.get());
      uint8_t* data = nullptr;
      uint32_t length = 0;
      pcm_->GetData(&data, &length);
      if (SUCCEEDED(result) && length > 0) {
        rest_ = data;
        rest_bytes_ = length;
        return S_OK;
      }
    }
    if (SUCCEEDED(result)) {
      if (source_ended_) return S_FALSE;
      // Neither output nor a wish for input: a decoder that would be asked for ever.
      if (decoder_->AcceptsInput() != S_OK) return E_FAIL;
      if (ReadPacket() != S_OK) continue;  // What the decoder still holds.
      uint32_t length = 0;
      packet_->GetData(nullptr, &length);
      silent_input += length;
      if (silent_input > kMaxSilentInput) return E_FAIL;
      result = decoder_->ProcessInput(packet_.get());
    }
    if (result == E_OUTOFMEMORY) return result;
    if (FAILED(result)) {
      if (++bad_packets > kMaxBadPackets || FAILED(decoder_->Flush())) return result;
    }
  }
}

/// Converts what the rest holds, at most `frames`; returns the frames converted. 0 once the rest is used up,
/// the first bytes of a split frame put aside.
size_t SourceChain::TakeFrames(float* out, size_t frames) {
  const size_t frame_bytes = layout_.frame_bytes;
  size_t done = 0;
  if (split_bytes_ > 0 && rest_bytes_ > 0 && frames > 0) {
    const size_t missing = std::min(frame_bytes - split_bytes_, rest_bytes_);
    std::memcpy(split_frame_.data() + split_bytes_, rest_, missing);
    split_bytes_ += missing;
    rest_ += missing;
    rest_bytes_ -= missing;
    if (split_bytes_ < frame_bytes) return 0;
    ConvertToFloat(layout_.kind, split_frame_.data(), layout_.channels, out);
    split_bytes_ = 0;
    done = 1;
  }
  const size_t whole = std::min(frames - done, rest_bytes_ / frame_bytes);
  ConvertToFloat(layout_.kind, rest_, whole * layout_.channels, out + done * layout_.channels);
  rest_ += whole * frame_bytes;
  rest_bytes_ -= whole * frame_bytes;
  done += whole;
  if (done < frames && rest_bytes_ > 0) {
    std::memcpy(split_frame_.data(), rest_, rest_bytes_);
    split_bytes_ = rest_bytes_;
    rest_bytes_ = 0;
  }
  return done;
}

HRESULT SourceChain::NextBlock(SoundBuffer& block) {
  block.SetLength(0);
  uint8_t* data = nullptr;
  uint32_t capacity = 0;
  block.GetData(&data, nullptr);
  block.GetCapacity(&capacity);
  const uint32_t float_frame_bytes = layout_.channels * 4u;
  const size_t wanted = std::min<size_t>(block_frames_, capacity / float_frame_bytes);
  if (!data || wanted == 0) return E_INVALIDARG;

  size_t frames = 0;
  while (!ended_ && frames < wanted) {
    if (rest_bytes_ == 0) {
      const HRESULT result = Refill();
      if (FAILED(result)) failure_ = result;
      ended_ = result != S_OK;
      if (ended_) break;
    }
    frames += TakeFrames(reinterpret_cast<float*>(data) + frames * layout_.channels, wanted - frames);
  }
  if (frames == 0) return FAILED(failure_) ? failure_ : S_FALSE;
  block.SetLength(static_cast<uint32_t>(frames) * float_frame_bytes);
  return S_OK;
}

HRESULT SourceChain::Seek(uint32_t position_ms) {
  const HRESULT result = source_->Seek(position_ms);
  if (FAILED(result) && result != E_INVALIDARG) return result;
  rest_bytes_ = 0;
  split_bytes_ = 0;
  source_ended_ = FAILED(result);
  ended_ = FAILED(result);
  failure_ = S_OK;
  if (decoder_) decoder_->Flush();
  return result;
}

}  // namespace melorin
