// SPDX-License-Identifier: MIT
//
// The playback chain over a sound source: reads packets, has them decoded where they are not samples already,
// and hands out blocks of floats at the source's own rate. EffectsChain stands behind it.
#pragma once

#include <array>
#include <memory>

#include "platform/com_ptr.h"
#include "playback/pcm_to_float.h"
#include "playback/playback_chain.h"
#include "sound/decoded_source.h"
#include "sound/sound_library.h"

namespace melorin {

/// Blocks have BlockFrames. Only the last block of a track is shorter; all are whole frames.
///
/// A packet that cannot be decoded is skipped; after 16 such packets in a row, or when the source fails, the
/// track ends there: what was decoded is still delivered, then NextBlock answers with the failure until a
/// seek. After an ordinary end, that of a file cut short included, it answers S_FALSE. Nothing is retried for
/// ever. Thread: see PlaybackChain. After Create nothing allocates, decoders and sources aside.
class SourceChain final : public PlaybackChain {
 public:
  using DecoderMaker = DecodedSource::DecoderMaker;

  /// Opens the file through the library. Failures are those of OpenSource and of Create.
  static HRESULT Open(const SoundLibrary& library, const WideChar* path, uint32_t flags,
                      std::unique_ptr<SourceChain>* out);
  /// Takes over an opened source. E_NOTIMPL when its format can neither be played as it is nor decoded (more
  /// than 8 channels, a rate of 0, no decoder for it); E_OUTOFMEMORY. MPEG audio is decoded to floats, other
  /// compressed formats to PCM; where a decoder refuses one of the two, the other is asked for.
  static HRESULT Create(ComPtr<SoundSource> source, const DecoderMaker& make_decoder,
                        std::unique_ptr<SourceChain>* out);
  ~SourceChain() override;

  uint32_t NativeBlockBytes() const override { return block_frames_ * layout_.channels * 4; }
  uint32_t ResampledBlockBytes() const override { return NativeBlockBytes(); }
  bool IsResampling() const override { return false; }

  uint32_t SampleRate() const override { return layout_.sample_rate; }
  uint16_t Channels() const override { return layout_.channels; }
  uint16_t SourceBits() const override { return source_bits_; }
  uint32_t DurationMs() const override { return duration_ms_; }

  HRESULT NextBlock(SoundBuffer& block) override;
  /// Moves the source and empties the decoder, so the next block begins at the frame that the source seeks
  /// to. E_INVALIDARG at or past the end: then nothing more is delivered until another seek. With any other
  /// failure (a source that cannot seek) the chain goes on where it was.
  HRESULT Seek(uint32_t position_ms) override;

  HRESULT NotifyStart() override { return samples_.Source().Start(); }
  HRESULT NotifyPause() override { return samples_.Source().Pause(); }
  HRESULT NotifyStop() override { return samples_.Source().Stop(); }

  SoundSource* Source() const override { return &samples_.Source(); }

 private:
  SourceChain() = default;
  HRESULT Prepare(ComPtr<SoundSource> source, const DecoderMaker& make_decoder);
  size_t TakeFrames(float* out, size_t frames);

  DecodedSource samples_;
  SampleLayout layout_;  ///< Of the samples.
  uint32_t block_frames_ = 0;
  uint16_t source_bits_ = 0;
  uint32_t duration_ms_ = 0;

  std::span<const uint8_t> rest_;  ///< Samples not handed out yet.
  /// The first bytes of a frame that the rest ended in.
  std::array<uint8_t, kMaxChannels * 8> split_frame_{};
  size_t split_bytes_ = 0;

  bool ended_ = false;
  HRESULT failure_ = S_OK;  ///< What broke the track off.
};

}  // namespace melorin
