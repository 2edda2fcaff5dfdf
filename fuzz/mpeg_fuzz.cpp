// SPDX-License-Identifier: MIT
//
// The MPEG reader and decoder on arbitrary bytes: tags, frame scan (the last byte chooses a full one), seeks,
// and every packet through the decoder.
#include "fuzz/memory_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace melorin;
  const uint32_t flags = size > 0 ? data[size - 1] & 1u : 0;
  const auto source = FuzzSource(CreateMpegReader(false), {data, size}, flags);
  if (!source) return 0;
  WAVEFORMATEX* in = nullptr;
  source->GetFormat(&in);
  WAVEFORMATEX out{};
  out.wFormatTag = size % 2 ? WAVE_FORMAT_PCM : WAVE_FORMAT_IEEE_FLOAT;
  ComPtr<SoundDecoder> decoder;
  CreateMpegDecoderEntry()->CreateDecoder(decoder.Receive());
  if (FAILED(decoder->SetFormat(in, &out))) __builtin_trap();
  CoTaskMemFree(in);
  ComPtr<SoundBuffer> packet;
  ComPtr<SoundBuffer> block;
  CreateSoundBuffer(packet.Receive(), 4096);
  CreateSoundBuffer(block.Receive(), out.nBlockAlign * 2304u);
  uint32_t round = 0;
  while (source->Read(packet.get()) == S_OK) {
    decoder->ProcessInput(packet.get());
    while (decoder->HasOutput() == S_OK && SUCCEEDED(decoder->ProcessOutput(block.get()))) {
    }
    if (++round == 3) decoder->Flush();
  }
  return 0;
}
