// SPDX-License-Identifier: MIT
//
// The samples of a source as they come, decoded where its packets are not samples already. The chain that
// plays stands on it, and what plays a part of a file.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"
#include "sound/wave_file.h"

namespace melorin {

/// A packet that cannot be decoded is passed over; after 16 such packets in a row, or when the source fails,
/// the samples end there. Nothing is tried for ever. Thread: one at a time. After Open only sources and
/// decoders allocate.
class DecodedSource {
 public:
  /// As SoundLibrary::CreateDecoder.
  using DecoderMaker =
      std::function<HRESULT(const WAVEFORMATEX& in, WAVEFORMATEX* out, SoundDecoder** decoder)>;
  /// Whether samples of such a format can be taken.
  using FormatTest = std::function<bool(const WAVEFORMATEX& format)>;

  /// Takes over an opened source at its start. MPEG audio is decoded to floats, other compressed formats to
  /// PCM; where no decoder gives one of the two in a form that `takes`, the other is asked for. E_NOTIMPL
  /// when the format can neither be taken as it is nor decoded, else the decoder's failure; E_FAIL for a
  /// source without a format and a decoder with absurd wishes; E_OUTOFMEMORY.
  HRESULT Open(ComPtr<SoundSource> source, const DecoderMaker& make_decoder, const FormatTest& takes);

  SoundSource& Source() const { return *source_; }
  SoundDecoder* Decoder() const { return decoder_.get(); }  ///< Null where packets are samples.
  const WAVEFORMATEX& PacketFormat() const { return *packet_format_; }
  const WAVEFORMATEX& Format() const { return *format_; }  ///< Of the samples.

  /// The next samples; they lie in a buffer of this object until it is called again. S_FALSE at the end, or
  /// the failure that broke the samples off there. A frame may be split between two calls only where the
  /// source or the decoder splits it.
  HRESULT Next(std::span<const uint8_t>* samples);
  /// The source was moved: there is more, whatever ended it before.
  void Continue();
  /// There is no more until the source is moved.
  void End() { source_ended_ = true; }

 private:
  HRESULT MakeDecoder(const DecoderMaker& make_decoder, const FormatTest& takes);
  HRESULT MakeBuffers();
  bool ReadPacket();
  HRESULT NextDecoded(std::span<const uint8_t>* samples);
  HRESULT EndResult() const { return FAILED(failure_) ? failure_ : S_FALSE; }

  ComPtr<SoundSource> source_;
  ComPtr<SoundDecoder> decoder_;
  WaveFormat packet_format_;
  WaveFormat format_;
  ComPtr<SoundBuffer> packet_;
  ComPtr<SoundBuffer> decoded_;  ///< None without a decoder.
  bool source_ended_ = false;
  HRESULT failure_ = S_OK;  ///< The source's.
};

}  // namespace melorin
