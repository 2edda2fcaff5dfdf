// SPDX-License-Identifier: MIT
//
// The playback chain over a sound source: reads packets, has them decoded where they are not samples already,
// and hands out blocks of floats after the stages (equalizer, gain, resampler …) that stand behind the
// decoder.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <vector>

#include "platform/com_ptr.h"
#include "playback/pcm_to_float.h"
#include "playback/playback_chain.h"
#include "sound/sound_library.h"

namespace melorin {

/// One step between decoder and device. A chain runs its stages in order over every block; one that is idle
/// is not called, so it costs one test a block. Thread: as NextBlock of the chain; IsIdle must therefore not
/// change in the middle of a block.
class SoundStage {
 public:
  virtual ~SoundStage() = default;
  /// True when the stage would leave every block as it is.
  virtual bool IsIdle() const = 0;
  /// Works on a block of interleaved floats in place; may change its length up to its capacity. A failure
  /// ends the track. Does not allocate.
  virtual HRESULT Process(SoundBuffer& block) = 0;
  /// Forgets what it remembers of earlier blocks (after a seek).
  virtual void Flush() = 0;
};

/// Blocks are a fortieth of a second (25 ms), rounded down to a multiple of 8 frames and at least 64: four of
/// them fill the shortest device buffer, and the decode thread wakes often enough for fades. Only the last
/// block of a track is shorter; all are whole frames.
///
/// A packet that cannot be decoded is skipped; after 16 such packets in a row, or when the source fails, the
/// track ends there: what was decoded is still delivered, then NextBlock answers with the failure until a
/// seek. After an ordinary end, that of a file cut short included, it answers S_FALSE. Nothing is retried for
/// ever. Thread: see PlaybackChain. After Create nothing allocates, decoders and sources aside.
class SourceChain final : public PlaybackChain {
 public:
  /// As SoundLibrary::CreateDecoder.
  using DecoderMaker =
      std::function<HRESULT(const WAVEFORMATEX& in, WAVEFORMATEX* out, SoundDecoder** decoder)>;

  /// Opens the file through the library. Failures are those of OpenSource and of Create.
  static HRESULT Open(const SoundLibrary& library, const WideChar* path, uint32_t flags,
                      std::unique_ptr<SourceChain>* out);
  /// Takes over an opened source. E_NOTIMPL when its format can neither be played as it is nor decoded (more
  /// than 8 channels, a rate of 0, no decoder for it); E_OUTOFMEMORY. MPEG audio is decoded to floats, other
  /// compressed formats to PCM; where a decoder refuses one of the two, the other is asked for.
  static HRESULT Create(ComPtr<SoundSource> source, const DecoderMaker& make_decoder,
                        std::unique_ptr<SourceChain>* out);
  ~SourceChain() override;

  /// Adds a stage behind those that are there. Before playing only. E_OUTOFMEMORY.
  HRESULT AddStage(std::unique_ptr<SoundStage> stage);

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

  HRESULT NotifyStart() override { return source_->Start(); }
  HRESULT NotifyPause() override { return source_->Pause(); }
  HRESULT NotifyStop() override { return source_->Stop(); }

  SoundSource* Source() const override { return source_.get(); }

 private:
  explicit SourceChain(ComPtr<SoundSource> source);
  HRESULT Prepare(const DecoderMaker& make_decoder);
  HRESULT ChooseDecoder(const WAVEFORMATEX& in, const DecoderMaker& make_decoder);
  HRESULT Refill();
  HRESULT RefillDecoded();
  HRESULT ReadPacket();
  size_t TakeFrames(float* out, size_t frames);

  ComPtr<SoundSource> source_;
  ComPtr<SoundDecoder> decoder_;  ///< None when packets are samples.
  SampleLayout layout_;           ///< Of the decoder's output, or of the packets.
  uint32_t block_frames_ = 0;
  uint16_t source_bits_ = 0;
  uint32_t duration_ms_ = 0;

  ComPtr<SoundBuffer> packet_;
  ComPtr<SoundBuffer> pcm_;        ///< The decoder's output; the packet itself when there is no decoder.
  const uint8_t* rest_ = nullptr;  ///< Samples not handed out yet, inside pcm_.
  size_t rest_bytes_ = 0;
  /// The first bytes of a frame that a packet ended in.
  std::array<uint8_t, kMaxChannels * 8> split_frame_{};
  size_t split_bytes_ = 0;

  bool source_ended_ = false;
  bool ended_ = false;
  HRESULT failure_ = S_OK;  ///< What broke the track off.
  std::vector<std::unique_ptr<SoundStage>> stages_;
};

}  // namespace melorin
