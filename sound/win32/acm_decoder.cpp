// SPDX-License-Identifier: MIT
//
// "ACM Audio Decoders": whatever the platform's audio compression manager converts to 16-bit PCM. One stream
// of the manager a decoder; blocks are converted straight from the input store into the caller's buffer. A
// fault inside a codec ends the call: the stream is given up as it is and a new one opened.
#include <windows.h>

#include <mmreg.h>
#include <mmsystem.h>

#include <msacm.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "platform/com_ptr.h"
#include "sound/fault_guard.h"
#include "sound/packet_store.h"
#include "sound/platform_codecs.h"

namespace melorin {
namespace {

class AcmDecoder final : public ComObject<SoundDecoder> {
 public:
  ~AcmDecoder() override { CloseStream(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE SetFormat(const WAVEFORMATEX* in, WAVEFORMATEX* out) override;
  HRESULT STDMETHODCALLTYPE GetBufferSizes(uint32_t* in_bytes, uint32_t* out_bytes) override;
  HRESULT STDMETHODCALLTYPE AcceptsInput() override { return wants_input_ ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE HasOutput() override { return has_output_ ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE ProcessInput(SoundBuffer* packet) override;
  HRESULT STDMETHODCALLTYPE ProcessOutput(SoundBuffer* pcm) override;
  HRESULT STDMETHODCALLTYPE Flush() override;

 private:
  const WAVEFORMATEX& In() const { return *reinterpret_cast<const WAVEFORMATEX*>(in_.data()); }
  bool OpenStream();
  void CloseStream();
  void WantInput(bool wants) {
    wants_input_ = wants;
    has_output_ = !wants;
  }
  HRESULT Convert(uint8_t* from, uint32_t from_bytes, uint8_t* to, uint32_t to_bytes, uint32_t* used,
                  uint32_t* made);

  std::vector<uint8_t> in_;  ///< The input format with its extension.
  WAVEFORMATEX out_{};
  HACMSTREAM stream_ = nullptr;
  PacketStore store_;
  bool wants_input_ = true;
  bool has_output_ = false;
  bool at_start_ = true;
};

HRESULT AcmDecoder::QueryInterface(REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundDecoder)) return E_NOINTERFACE;
  AddRef();
  *out = static_cast<SoundDecoder*>(this);
  return S_OK;
}

bool AcmDecoder::OpenStream() {
  CloseStream();
  WAVEFORMATEX to = out_;
  HACMSTREAM opened = nullptr;
  if (acmStreamOpen(&opened, nullptr, reinterpret_cast<WAVEFORMATEX*>(in_.data()), &to, nullptr, 0, 0,
                    ACM_STREAMOPENF_NONREALTIME) != MMSYSERR_NOERROR)
    return false;
  stream_ = opened;
  return true;
}

void AcmDecoder::CloseStream() {
  if (stream_) acmStreamClose(stream_, 0);
  stream_ = nullptr;
}

HRESULT AcmDecoder::SetFormat(const WAVEFORMATEX* in, WAVEFORMATEX* out) {
  if (!in || !out) return E_POINTER;
  if (out->wFormatTag != WAVE_FORMAT_PCM || in->nChannels == 0 || in->nSamplesPerSec == 0)
    return E_INVALIDARG;
  try {
    const auto* bytes = reinterpret_cast<const uint8_t*>(in);
    in_.assign(bytes, bytes + FormatSize(*in));
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  out_ = PcmFormatLike(*in, 16);
  if (!OpenStream()) {
    // Some codecs only make one format of their own choice, another rate or channel count.
    out_ = {};
    out_.wFormatTag = WAVE_FORMAT_PCM;
    if (acmFormatSuggest(nullptr, reinterpret_cast<WAVEFORMATEX*>(in_.data()), &out_, sizeof out_,
                         ACM_FORMATSUGGESTF_WFORMATTAG) != MMSYSERR_NOERROR)
      return E_INVALIDARG;
    out_.cbSize = 0;
    if (!OpenStream()) return E_INVALIDARG;
  }
  *out = out_;
  store_.Clear();
  WantInput(true);
  has_output_ = false;
  at_start_ = true;
  return S_OK;
}

HRESULT AcmDecoder::GetBufferSizes(uint32_t* in_bytes, uint32_t* out_bytes) {
  if (!stream_) return E_FAIL;
  const uint32_t packet = PacketBytes(In());
  if (in_bytes) *in_bytes = packet;
  if (out_bytes) {
    DWORD most = 0;
    if (acmStreamSize(stream_, packet, &most, ACM_STREAMSIZEF_SOURCE) != MMSYSERR_NOERROR) return E_FAIL;
    *out_bytes = most;
  }
  return S_OK;
}

HRESULT AcmDecoder::ProcessInput(SoundBuffer* packet) {
  if (!packet) return E_POINTER;
  if (!stream_) return E_FAIL;
  const HRESULT result = store_.Append(*packet);
  WantInput(FAILED(result));
  return result;
}

HRESULT AcmDecoder::Convert(uint8_t* from, uint32_t from_bytes, uint8_t* to, uint32_t to_bytes,
                            uint32_t* used, uint32_t* made) {
  ACMSTREAMHEADER header{};
  header.cbStruct = sizeof header;
  header.pbSrc = from;
  header.cbSrcLength = from_bytes;
  header.pbDst = to;
  header.cbDstLength = to_bytes;
  if (acmStreamPrepareHeader(stream_, &header, 0) != MMSYSERR_NOERROR) return E_FAIL;
  struct Call {
    HACMSTREAM stream;
    ACMSTREAMHEADER* header;
    DWORD flags;
    MMRESULT result;
  } call{stream_, &header, ACM_STREAMCONVERTF_BLOCKALIGN | (at_start_ ? ACM_STREAMCONVERTF_START : 0u), 0};
  const auto convert = [](void* context) {
    auto* c = static_cast<Call*>(context);
    c->result = acmStreamConvert(c->stream, c->header, c->flags);
  };
  if (!CallGuarded(convert, &call)) {
    // Not to be touched again, not even to close it.
    stream_ = nullptr;
    at_start_ = true;
    OpenStream();
    return E_FAIL;
  }
  const MMRESULT result = call.result;
  *used = std::min<uint32_t>(header.cbSrcLengthUsed, from_bytes);
  *made = std::min<uint32_t>(header.cbDstLengthUsed, to_bytes);
  // Unpreparing wants the lengths that were prepared.
  header.cbSrcLength = from_bytes;
  header.cbDstLength = to_bytes;
  acmStreamUnprepareHeader(stream_, &header, 0);
  return result == MMSYSERR_NOERROR ? S_OK : E_FAIL;
}

HRESULT AcmDecoder::ProcessOutput(SoundBuffer* pcm) {
  if (!pcm) return E_POINTER;
  pcm->SetLength(0);
  if (!stream_) return E_FAIL;
  if (!has_output_) return S_OK;

  uint8_t* to = nullptr;
  uint32_t capacity = 0;
  pcm->GetData(&to, nullptr);
  pcm->GetCapacity(&capacity);
  const uint32_t align = std::max<uint32_t>(In().nBlockAlign, 1);
  const std::span<uint8_t> pending = store_.Pending();
  if (pending.size() < align) {
    WantInput(true);
    return S_OK;
  }
  DWORD fits = 0;
  if (acmStreamSize(stream_, capacity, &fits, ACM_STREAMSIZEF_DESTINATION) != MMSYSERR_NOERROR) fits = 0;
  const uint32_t from_bytes = static_cast<uint32_t>(std::min<size_t>(pending.size(), fits)) / align * align;
  if (from_bytes == 0) return E_INVALIDARG;  // The buffer does not hold one block's samples.

  uint32_t used = 0;
  uint32_t made = 0;
  const HRESULT result = Convert(pending.data(), from_bytes, to, capacity, &used, &made);
  if (FAILED(result)) {
    // The block is bad: going on with the next one beats asking for it for ever.
    store_.Take(align);
    WantInput(store_.Pending().size() < align);
    return result;
  }
  at_start_ = false;
  store_.Take(used);
  pcm->SetLength(made);
  if ((used == 0 && made == 0) || store_.Pending().size() < align) WantInput(true);
  return S_OK;
}

HRESULT AcmDecoder::Flush() {
  store_.Clear();
  WantInput(true);
  at_start_ = true;
  return S_OK;
}

}  // namespace

HRESULT CreateAcmDecoder(SoundDecoder** out) {
  *out = new (std::nothrow) AcmDecoder();
  return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace melorin
