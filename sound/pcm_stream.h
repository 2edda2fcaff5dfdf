// SPDX-License-Identifier: MIT
//
// The samples of a source, decoded where they are not samples already, from any exact place on. What plays a
// part of a file stands on this; playing whole files does not need it.
#pragma once

#include <cstdint>
#include <span>

#include "platform/com_ptr.h"
#include "sound/decoded_source.h"
#include "sound/interfaces.h"

namespace melorin {

class SoundLibrary;

/// "Frame" here: one sample of each channel, counted from the first one that the file plays. Thread: one at a
/// time. Only Open and SeekTo allocate; sources and decoders aside.
class PcmStream {
 public:
  /// Takes over an opened source at its start. Failures are those of DecodedSource::Open.
  HRESULT Open(ComPtr<SoundSource> source, const SoundLibrary& library);

  SoundSource& Source() const { return samples_.Source(); }
  /// Of the samples that come out; the block align is that of one frame.
  const WAVEFORMATEX& Format() const { return samples_.Format(); }

  /// The next Read begins with that frame. Exact, and bit for bit what an unbroken decode gives, for Wave
  /// files of samples and for MPEG audio. Other sources are taken at their word: they are sought to the
  /// millisecond, and what is missing to the frame is decoded and dropped; in their first seconds all of it
  /// is, as it is where they cannot seek. E_INVALIDARG past the end, where that is known.
  HRESULT SeekTo(uint64_t frame);

  /// Fills the room, whose size is a multiple of the block align, as far as one packet goes. S_FALSE with
  /// `got` 0 at the end. A failure of the source or of 17 packets in a row ends the stream.
  HRESULT Read(std::span<uint8_t> room, size_t* got);

 private:
  HRESULT SeekExactly(uint64_t frame);
  HRESULT SeekNearly(uint64_t frame);
  HRESULT Rewind();
  HRESULT LearnLeadIn(uint32_t* frames);
  void Forget();
  HRESULT Refill();

  DecodedSource samples_;
  std::span<const uint8_t> rest_;  ///< Samples that have not been handed out.
  uint64_t drop_bytes_ = 0;        ///< To be passed over before anything is handed out.
  bool at_start_ = true;           ///< Nothing has been read yet.
  bool lead_in_known_ = false;
  uint32_t lead_in_frames_ = 0;
};

}  // namespace melorin
