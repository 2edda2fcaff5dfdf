// SPDX-License-Identifier: MIT
//
// See pcm_stream.h.
//
// How a seek in MPEG audio hits a sample: the source goes to a frame well before it and says which sample
// that frame begins with; the decoder, flushed, decodes from there; what lies before the wanted sample is
// dropped. The source counts all that the bytes decode to, while the file as it plays lacks the encoder's
// lead-in. How long that is only the decoder knows, after it has seen the file's head: so before its first
// seek it is shown that. It then also knows how much to leave out at the end.
#include "sound/pcm_stream.h"

#include <algorithm>
#include <cstring>

#include "sound/sample_seek.h"
#include "sound/sound_library.h"

namespace melorin {
namespace {

/// So far into a file that is not sought exactly, everything before the place is decoded.
constexpr uint64_t kDecodeUpToMs = 10000;

}  // namespace

HRESULT PcmStream::Open(ComPtr<SoundSource> source, const SoundLibrary& library) {
  return samples_.Open(
      std::move(source),
      [&library](const WAVEFORMATEX& in, WAVEFORMATEX* made, SoundDecoder** decoder) {
        return library.CreateDecoder(in, made, decoder);
      },
      [](const WAVEFORMATEX& format) { return format.nBlockAlign > 0 && format.nSamplesPerSec > 0; });
}

void PcmStream::Forget() {
  samples_.Continue();
  rest_ = {};
  drop_bytes_ = 0;
}

HRESULT PcmStream::SeekTo(uint64_t frame) {
  if (at_start_ && frame == 0) return S_OK;
  const HRESULT result = SeekExactly(frame);
  return result == E_NOTIMPL ? SeekNearly(frame) : result;
}

HRESULT PcmStream::SeekExactly(uint64_t frame) {
  ComPtr<SampleSeekable> seekable;
  if (FAILED(Source().QueryInterface(kIidSampleSeekable, seekable.ReceiveVoid()))) return E_NOTIMPL;
  uint32_t lead_in = 0;
  uint64_t landed = 0;
  SoundDecoder* const decoder = samples_.Decoder();
  if (decoder) {
    const HRESULT learned = LearnLeadIn(&lead_in);
    if (FAILED(learned)) return learned;
  }
  const HRESULT result = seekable->SeekToSample(frame + lead_in, &landed);
  if (FAILED(result)) return result;
  Forget();
  at_start_ = false;
  // At the file's start the decoder leaves the lead-in out by itself.
  drop_bytes_ = (landed == 0 ? frame : frame + lead_in - landed) * Format().nBlockAlign;
  if (!decoder) return S_OK;
  if (landed > 0) return decoder->Flush();
  // A flushed decoder takes what comes next for the midst of a file.
  WAVEFORMATEX out = Format();
  return decoder->SetFormat(&samples_.PacketFormat(), &out);
}

HRESULT PcmStream::LearnLeadIn(uint32_t* frames) {
  *frames = lead_in_frames_;
  if (lead_in_known_) return S_OK;
  ComPtr<LeadInTeller> teller;
  if (SUCCEEDED(samples_.Decoder()->QueryInterface(kIidLeadInTeller, teller.ReceiveVoid()))) {
    const HRESULT result = at_start_ ? Refill() : S_OK;
    if (FAILED(result)) return result;
    at_start_ = false;
    teller->GetLeadIn(&lead_in_frames_);
  }
  lead_in_known_ = true;
  *frames = lead_in_frames_;
  return S_OK;
}

HRESULT PcmStream::SeekNearly(uint64_t frame) {
  const uint64_t rate = Format().nSamplesPerSec;
  const uint64_t ms = frame * 1000 / rate;
  uint64_t landed_frame = 0;
  HRESULT result = E_NOTIMPL;
  if (ms > kDecodeUpToMs && ms <= 0xFFFFFFFF) {
    result = Source().Seek(static_cast<uint32_t>(ms));
    if (result == E_INVALIDARG) return result;
    if (SUCCEEDED(result)) landed_frame = ms * rate / 1000;
  }
  if (FAILED(result)) result = Rewind();
  if (FAILED(result)) return result;
  Forget();
  drop_bytes_ = (frame - landed_frame) * Format().nBlockAlign;
  if (at_start_ || !samples_.Decoder()) return S_OK;
  return samples_.Decoder()->Flush();
}

HRESULT PcmStream::Rewind() {
  if (at_start_) return S_OK;
  return Source().Seek(0);
}

/// Gets more samples into the rest; anything but S_OK when there are none.
HRESULT PcmStream::Refill() {
  at_start_ = false;
  return samples_.Next(&rest_);
}

HRESULT PcmStream::Read(std::span<uint8_t> room, size_t* got) {
  *got = 0;
  while (rest_.empty() || drop_bytes_ > 0) {
    if (rest_.empty()) {
      const HRESULT result = Refill();
      if (result != S_OK) return result;
    }
    const auto dropped = static_cast<size_t>(std::min<uint64_t>(drop_bytes_, rest_.size()));
    rest_ = rest_.subspan(dropped);
    drop_bytes_ -= dropped;
  }
  *got = std::min(room.size(), rest_.size());
  if (*got > 0) std::memcpy(room.data(), rest_.data(), *got);
  rest_ = rest_.subspan(*got);
  return S_OK;
}

}  // namespace melorin
