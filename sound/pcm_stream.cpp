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

#include "sound/exports.h"
#include "sound/format_tag.h"
#include "sound/sample_seek.h"
#include "sound/sound_library.h"

namespace melorin {
namespace {

constexpr uint32_t kMinPacketBytes = 4096;
/// What a source or decoder may ask for as a buffer; more is taken for an error in it.
constexpr uint32_t kMaxPacketBytes = 8u << 20;
constexpr int kMaxBadPackets = 16;
/// Input without a single sample in it: longer than any tag or damage that a player should wait for.
constexpr uint64_t kMaxSilentInput = 64u << 20;
/// So far into a file that is not sought exactly, everything before the place is decoded.
constexpr uint64_t kDecodeUpToMs = 10000;

bool IsPcm(const WAVEFORMATEX& format) {
  const uint32_t tag = PlainFormatTag(format);
  return tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT;
}

/// Moves a format record from task memory.
HRESULT TakeFormat(SoundSource& source, WaveFormat& out) {
  WAVEFORMATEX* format = nullptr;
  const HRESULT result = source.GetFormat(&format);
  if (FAILED(result)) return result;
  const bool good = format && out.Assign(*format);
  CoTaskMemFree(format);
  return good ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

HRESULT PcmStream::Open(ComPtr<SoundSource> source, const SoundLibrary& library) {
  source_ = std::move(source);
  HRESULT result = TakeFormat(*source_, in_format_);
  if (FAILED(result)) return result;
  if (!IsPcm(*in_format_)) {
    result = MakeDecoder(library);
  } else if (!format_.Assign(*in_format_)) {
    result = E_OUTOFMEMORY;
  }
  if (FAILED(result)) return result;
  if (format_->nBlockAlign == 0 || format_->nSamplesPerSec == 0) return E_NOTIMPL;
  return MakeBuffers();
}

HRESULT PcmStream::MakeDecoder(const SoundLibrary& library) {
  uint16_t tags[] = {WAVE_FORMAT_PCM, WAVE_FORMAT_IEEE_FLOAT};
  const bool mpeg =
      in_format_->wFormatTag == WAVE_FORMAT_MPEGLAYER3 || in_format_->wFormatTag == WAVE_FORMAT_MPEG;
  if (mpeg) std::swap(tags[0], tags[1]);
  for (const uint16_t tag : tags) {
    WAVEFORMATEX made{};
    made.wFormatTag = tag;
    ComPtr<SoundDecoder> decoder;
    const HRESULT result = library.CreateDecoder(*in_format_, &made, decoder.Receive());
    if (result == E_OUTOFMEMORY) return result;
    if (FAILED(result) || !decoder || made.wFormatTag != tag) continue;
    decoder_ = std::move(decoder);
    return format_.Assign(made) ? S_OK : E_OUTOFMEMORY;
  }
  return E_NOTIMPL;
}

HRESULT PcmStream::MakeBuffers() {
  uint32_t packet_bytes = 0;
  if (decoder_) {
    uint32_t pcm_bytes = 0;
    HRESULT result = decoder_->GetBufferSizes(&packet_bytes, &pcm_bytes);
    if (FAILED(result)) return result;
    if (pcm_bytes > kMaxPacketBytes) return E_FAIL;
    result = CreateSoundBuffer(pcm_.Receive(), std::max<uint32_t>(pcm_bytes, format_->nBlockAlign));
    if (FAILED(result)) return result;
  } else if (FAILED(source_->GetReadSize(&packet_bytes))) {
    packet_bytes = 0;
  }
  packet_bytes = std::clamp(packet_bytes, kMinPacketBytes, kMaxPacketBytes);
  if (!decoder_) packet_bytes += format_->nBlockAlign - packet_bytes % format_->nBlockAlign;
  const HRESULT result = CreateSoundBuffer(packet_.Receive(), packet_bytes);
  if (SUCCEEDED(result) && !decoder_) pcm_ = packet_;
  return result;
}

void PcmStream::Forget() {
  rest_ = {};
  drop_bytes_ = 0;
  source_ended_ = false;
}

HRESULT PcmStream::SeekTo(uint64_t frame) {
  if (at_start_ && frame == 0) return S_OK;
  const HRESULT result = SeekExactly(frame);
  return result == E_NOTIMPL ? SeekNearly(frame) : result;
}

HRESULT PcmStream::SeekExactly(uint64_t frame) {
  ComPtr<SampleSeekable> seekable;
  if (FAILED(source_->QueryInterface(kIidSampleSeekable, seekable.ReceiveVoid()))) return E_NOTIMPL;
  uint32_t lead_in = 0;
  uint64_t landed = 0;
  if (decoder_) {
    const HRESULT learned = LearnLeadIn(&lead_in);
    if (FAILED(learned)) return learned;
  }
  const HRESULT result = seekable->SeekToSample(frame + lead_in, &landed);
  if (FAILED(result)) return result;
  Forget();
  at_start_ = false;
  // At the file's start the decoder leaves the lead-in out by itself.
  drop_bytes_ = (landed == 0 ? frame : frame + lead_in - landed) * format_->nBlockAlign;
  if (!decoder_) return S_OK;
  if (landed > 0) return decoder_->Flush();
  // A flushed decoder takes what comes next for the midst of a file.
  WAVEFORMATEX out = *format_;
  return decoder_->SetFormat(in_format_.get(), &out);
}

HRESULT PcmStream::LearnLeadIn(uint32_t* frames) {
  *frames = lead_in_frames_;
  if (lead_in_known_) return S_OK;
  ComPtr<LeadInTeller> teller;
  if (SUCCEEDED(decoder_->QueryInterface(kIidLeadInTeller, teller.ReceiveVoid()))) {
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
  const uint64_t rate = format_->nSamplesPerSec;
  const uint64_t ms = frame * 1000 / rate;
  uint64_t landed_frame = 0;
  HRESULT result = E_NOTIMPL;
  if (ms > kDecodeUpToMs && ms <= 0xFFFFFFFF) {
    result = source_->Seek(static_cast<uint32_t>(ms));
    if (result == E_INVALIDARG) return result;
    if (SUCCEEDED(result)) landed_frame = ms * rate / 1000;
  }
  if (FAILED(result)) result = Rewind();
  if (FAILED(result)) return result;
  Forget();
  drop_bytes_ = (frame - landed_frame) * format_->nBlockAlign;
  if (at_start_ || !decoder_) return S_OK;
  return decoder_->Flush();
}

HRESULT PcmStream::Rewind() {
  if (at_start_) return S_OK;
  return source_->Seek(0);
}

HRESULT PcmStream::ReadPacket(uint32_t* bytes) {
  at_start_ = false;
  packet_->SetLength(0);
  const HRESULT result = source_->Read(packet_.get());
  packet_->GetData(nullptr, bytes);
  if (result != S_OK || *bytes == 0) source_ended_ = true;
  return result;
}

/// Gets more samples into the rest; anything but S_OK when there are none.
HRESULT PcmStream::Refill() {
  if (decoder_) return RefillDecoded();
  if (source_ended_) return S_FALSE;
  uint32_t length = 0;
  const HRESULT result = ReadPacket(&length);
  if (source_ended_) return FAILED(result) ? result : S_FALSE;
  uint8_t* data = nullptr;
  packet_->GetData(&data, &length);
  rest_ = {data, length};
  return S_OK;
}

HRESULT PcmStream::RefillDecoded() {
  HRESULT failure = S_FALSE;
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
        rest_ = {data, length};
        return S_OK;
      }
    }
    if (SUCCEEDED(result)) {
      if (source_ended_) return failure;
      // Neither output nor a wish for input: a decoder that would be asked for ever.
      if (decoder_->AcceptsInput() != S_OK) return E_FAIL;
      uint32_t length = 0;
      const HRESULT read = ReadPacket(&length);
      if (FAILED(read)) failure = read;
      if (source_ended_) continue;  // What the decoder still holds.
      silent_input += length;
      if (silent_input > kMaxSilentInput) return E_FAIL;
      result = decoder_->ProcessInput(packet_.get());
    }
    if (result == E_OUTOFMEMORY) return result;
    if (FAILED(result) && (++bad_packets > kMaxBadPackets || FAILED(decoder_->Flush()))) return result;
  }
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
