// SPDX-License-Identifier: MIT
//
// The built-in entries whose objects the platform supplies.
#include "sound/builtin_entries.h"
#include "sound/named_entries.h"
#include "sound/platform_codecs.h"

namespace melorin {

ComPtr<SoundReader> CreateWindowsMediaReader() {
  return CreateNamedReader(u"Window Media Audio Reader", u"Window Media 文件(*.wma;*.wmv;*.asf)",
                           CreateWindowsMediaSource);
}

ComPtr<SoundReader> CreateCdAudioReader() {
  return CreateNamedReader(u"CD Audio Reader", u"CD 数字音轨(*.cda)", CreateCdSource);
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
