// SPDX-License-Identifier: MIT
//
// The built-in entries whose objects the platform supplies, and the CUE reader.
#include "sound/builtin_entries.h"
#include "sound/named_entries.h"
#include "sound/platform_codecs.h"

namespace melorin {
namespace {

/// A sheet names tracks inside another file, which takes the playlist to play; opening one as a single sound
/// is not supported.
HRESULT CreateCueSource(SoundSource**) {
  return E_NOTIMPL;
}

}  // namespace

ComPtr<SoundReader> CreateWindowsMediaReader() {
  return CreateNamedReader(u"Window Media Audio Reader", u"Window Media 文件(*.wma;*.wmv;*.asf)",
                           CreateWindowsMediaSource);
}

ComPtr<SoundReader> CreateCdAudioReader() {
  return CreateNamedReader(u"CD Audio Reader", u"CD 数字音轨(*.cda)", CreateCdSource);
}

ComPtr<SoundReader> CreateCueReader() {
  return CreateNamedReader(u"CUE Reader", u"CUE 文件(*.cue)", CreateCueSource);
}

ComPtr<SoundReader> CreateGraphReader(std::u16string_view description) {
  return CreateNamedReader(u"DirectShow Audio Reader", description, CreateGraphSource);
}

ComPtr<SoundDecoderEntry> CreateDmoDecoderEntry() {
  return CreateNamedDecoderEntry(u"DMO Audio Decoders", CreateDmoDecoder);
}

ComPtr<SoundDecoderEntry> CreateAcmDecoderEntry() {
  return CreateNamedDecoderEntry(u"ACM Audio Decoders", CreateAcmDecoder);
}

}  // namespace melorin
