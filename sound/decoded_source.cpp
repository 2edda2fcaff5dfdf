// SPDX-License-Identifier: MIT
#include "sound/decoded_source.h"

#include <algorithm>
#include <array>

#include "sound/exports.h"
#include "sound/format_tag.h"

namespace melorin {
namespace {

constexpr uint32_t kMinPacketBytes = 4096;
/// What a source or decoder may ask for as a buffer; more is taken for an error in it.
constexpr uint32_t kMaxPacketBytes = 8u << 20;
constexpr int kMaxBadPackets = 16;
/// Input without a single sample in it: longer than any tag or damage that a player should wait for.
constexpr uint64_t kMaxSilentInput = 64u << 20;

/// Moves a format record from task memory.
HRESULT TakeFormat(SoundSource& source, WaveFormat& out) {
  WAVEFORMATEX* format = nullptr;
  const HRESULT result = source.GetFormat(&format);
  if (FAILED(result)) return result;
  if (!format) return E_FAIL;
  const bool copied = out.Assign(*format);
  CoTaskMemFree(format);
  return copied ? S_OK : E_OUTOFMEMORY;
}

std::span<const uint8_t> Content(SoundBuffer& buffer) {
  uint8_t* data = nullptr;
  uint32_t length = 0;
  buffer.GetData(&data, &length);
  return {data, length};
}

}  // namespace

HRESULT DecodedSource::Open(ComPtr<SoundSource> source, const DecoderMaker& make_decoder,
                            const FormatTest& takes) {
  source_ = std::move(source);
  HRESULT result = TakeFormat(*source_, packet_format_);
  if (FAILED(result)) return result;
  if (!IsUncompressed(*packet_format_))
    result = MakeDecoder(make_decoder, takes);
  else if (!takes(*packet_format_))
    result = E_NOTIMPL;
  else if (!format_.Assign(*packet_format_))
    result = E_OUTOFMEMORY;
  return FAILED(result) ? result : MakeBuffers();
}

HRESULT DecodedSource::MakeDecoder(const DecoderMaker& make_decoder, const FormatTest& takes) {
  std::array<uint16_t, 2> tags = {WAVE_FORMAT_PCM, WAVE_FORMAT_IEEE_FLOAT};
  const uint16_t packets = packet_format_->wFormatTag;
  if (packets == WAVE_FORMAT_MPEGLAYER3 || packets == WAVE_FORMAT_MPEG) std::swap(tags[0], tags[1]);
  HRESULT first_failure = E_NOTIMPL;
  for (const uint16_t tag : tags) {
    WAVEFORMATEX made = {};
    made.wFormatTag = tag;
    ComPtr<SoundDecoder> decoder;
    const HRESULT result = make_decoder(*packet_format_, &made, decoder.Receive());
    if (result == E_OUTOFMEMORY) return result;
    if (SUCCEEDED(result) && decoder && made.wFormatTag == tag && takes(made)) {
      decoder_ = std::move(decoder);
      return format_.Assign(made) ? S_OK : E_OUTOFMEMORY;
    }
    if (FAILED(result) && tag == tags[0]) first_failure = result;
  }
  return first_failure;
}

HRESULT DecodedSource::MakeBuffers() {
  const uint32_t frame_bytes = std::max<uint32_t>(format_->nBlockAlign, 1);
  uint32_t packet_bytes = 0;
  if (decoder_) {
    uint32_t decoded_bytes = 0;
    HRESULT result = decoder_->GetBufferSizes(&packet_bytes, &decoded_bytes);
    if (FAILED(result)) return result;
    if (decoded_bytes > kMaxPacketBytes) return E_FAIL;
    result = CreateSoundBuffer(decoded_.Receive(), std::max(decoded_bytes, frame_bytes));
    if (FAILED(result)) return result;
  } else if (FAILED(source_->GetReadSize(&packet_bytes))) {
    packet_bytes = 0;
  }
  packet_bytes = std::clamp(packet_bytes, kMinPacketBytes, kMaxPacketBytes);
  // A packet that is full ends with a whole frame.
  if (!decoder_) packet_bytes += frame_bytes - 1 - (packet_bytes - 1) % frame_bytes;
  return CreateSoundBuffer(packet_.Receive(), packet_bytes);
}

void DecodedSource::Continue() {
  source_ended_ = false;
  failure_ = S_OK;
}

/// False at the source's end.
bool DecodedSource::ReadPacket() {
  packet_->SetLength(0);
  const HRESULT result = source_->Read(packet_.get());
  if (FAILED(result)) failure_ = result;
  source_ended_ = result != S_OK || Content(*packet_).empty();
  return !source_ended_;
}

HRESULT DecodedSource::Next(std::span<const uint8_t>* samples) {
  *samples = {};
  if (decoder_) return NextDecoded(samples);
  if (source_ended_ || !ReadPacket()) return EndResult();
  *samples = Content(*packet_);
  return S_OK;
}

HRESULT DecodedSource::NextDecoded(std::span<const uint8_t>* samples) {
  int bad_packets = 0;
  uint64_t silent_input = 0;
  for (;;) {
    HRESULT result = S_OK;
    if (decoder_->HasOutput() == S_OK) {
      decoded_->SetLength(0);
      result = decoder_->ProcessOutput(decoded_.get());
      const std::span<const uint8_t> found = Content(*decoded_);
      if (SUCCEEDED(result) && !found.empty()) {
        *samples = found;
        return S_OK;
      }
    }
    if (SUCCEEDED(result)) {
      if (source_ended_) return EndResult();
      // Neither output nor a wish for input: a decoder that would be asked for ever.
      if (decoder_->AcceptsInput() != S_OK) return E_FAIL;
      if (!ReadPacket()) continue;  // What the decoder still holds.
      silent_input += Content(*packet_).size();
      if (silent_input > kMaxSilentInput) return E_FAIL;
      result = decoder_->ProcessInput(packet_.get());
    }
    if (result == E_OUTOFMEMORY) return result;
    if (FAILED(result) && (++bad_packets > kMaxBadPackets || FAILED(decoder_->Flush()))) return result;
  }
}

}  // namespace melorin
