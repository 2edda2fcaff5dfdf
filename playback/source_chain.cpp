// SPDX-License-Identifier: MIT
#include "playback/source_chain.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace melorin {

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
  std::unique_ptr<SourceChain> chain(new (std::nothrow) SourceChain);
  if (!chain) return E_OUTOFMEMORY;
  const HRESULT prepared = chain->Prepare(std::move(source), make_decoder);
  if (FAILED(prepared)) return prepared;
  *out = std::move(chain);
  return S_OK;
}

HRESULT SourceChain::Prepare(ComPtr<SoundSource> source, const DecoderMaker& make_decoder) {
  const HRESULT result = samples_.Open(std::move(source), make_decoder, [this](const WAVEFORMATEX& format) {
    return ParseSampleLayout(format, &layout_);
  });
  if (FAILED(result)) return result;
  block_frames_ = BlockFrames(layout_.sample_rate);
  if (FAILED(samples_.Source().GetBitsPerSample(&source_bits_))) source_bits_ = 0;
  if (FAILED(samples_.Source().GetDuration(&duration_ms_))) duration_ms_ = 0;
  return S_OK;
}

/// Converts what the rest holds, at most `frames`; returns the frames converted. 0 once the rest is used up,
/// the first bytes of a split frame put aside.
size_t SourceChain::TakeFrames(float* out, size_t frames) {
  const size_t frame_bytes = layout_.frame_bytes;
  size_t done = 0;
  if (split_bytes_ > 0 && !rest_.empty() && frames > 0) {
    const size_t missing = std::min(frame_bytes - split_bytes_, rest_.size());
    std::memcpy(split_frame_.data() + split_bytes_, rest_.data(), missing);
    split_bytes_ += missing;
    rest_ = rest_.subspan(missing);
    if (split_bytes_ < frame_bytes) return 0;
    ConvertToFloat(layout_.kind, split_frame_.data(), layout_.channels, out);
    split_bytes_ = 0;
    done = 1;
  }
  const size_t whole = std::min(frames - done, rest_.size() / frame_bytes);
  ConvertToFloat(layout_.kind, rest_.data(), whole * layout_.channels, out + done * layout_.channels);
  rest_ = rest_.subspan(whole * frame_bytes);
  done += whole;
  if (done < frames && !rest_.empty()) {
    std::memcpy(split_frame_.data(), rest_.data(), rest_.size());
    split_bytes_ = rest_.size();
    rest_ = {};
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
    if (rest_.empty()) {
      const HRESULT result = samples_.Next(&rest_);
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
  const HRESULT result = samples_.Source().Seek(position_ms);
  if (FAILED(result) && result != E_INVALIDARG) return result;
  samples_.Continue();
  if (FAILED(result)) samples_.End();
  rest_ = {};
  split_bytes_ = 0;
  ended_ = FAILED(result);
  failure_ = S_OK;
  if (SoundDecoder* const decoder = samples_.Decoder()) decoder->Flush();
  return result;
}

}  // namespace melorin
