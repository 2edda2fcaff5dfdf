// SPDX-License-Identifier: MIT
//
// See exports.h.
#include "sound/exports.h"

#include <new>
#include <string>

#include "sound/byte_stream.h"
#include "sound/codec_name.h"
#include "sound/sound_buffer.h"
#include "sound/text_out.h"
#include "tags/tag_scan.h"

namespace melorin {
namespace {

struct NamedTag {
  uint32_t tag;
  const char16_t* name;
};

// Registered wave format tags, and the four-character codes that RealAudio streams carry in their place.
constexpr NamedTag kWaveTags[] = {
    {0x1, u"PCM|PCM Audio"},
    {0x2, u"ADPCM|ADPCM Audio"},
    {0x11, u"ADPCM|Intel ADPCM Audio"},
    {0x3, u"IEEE|IEEE Audio"},
    {0x40, u"G721|G721 Audio"},
    {0x14, u"G723|G723 Audio"},
    {0x83, u"G729|G729 Audio"},
    {0x31, u"GSM|GSM610 Audio"},
    {0x50, u"MPA|MPEG-1 Audio"},
    {0x55, u"MP3|MPEG-1 Layer 3 Audio"},
    {0xFF, u"AAC|MPEG-4 AAC Audio"},
    {0x160, u"WMA|Window Media Audio V7"},
    {0x161, u"WMA|Window Media Audio V8"},
    {0x162, u"WMA|Window Media Audio V9"},
    {0x43414146, u"AAC|MPEG-4 AAC Audio"},
    {0x345F3431, u"14_4|14.4k RealAudio"},
    {0x385F3832, u"28_8|28.8k RealAudio"},
    {0x63727461, u"ATRAC3|ATRAC3 RealAudio"},
    {0x6B6F6F63, u"Cooker|Cooker-G2 RealAudio"},
    {0x74656E64, u"DolbyNet|DolbyNet Audio"},
    {0x72706973, u"ACELP|ACELP-NET RealAudio"},
    {0x63616172, u"AAC|AAC RealAudio"},
};

constexpr NamedTag kDvdTags[] = {
    {0xE06D802B, u"MPEG2|MPEG2 Audio"},
    {0xE06D802C, u"AC3|Dolby AC3 Audio"},
    {0xE06D8032, u"LPCM|DVD LPCM Audio"},
    {0xE06D8033, u"DTS|DVD DTS Audio"},
};

template <size_t n>
const char16_t* FindName(const NamedTag (&tags)[n], uint32_t tag) {
  for (const NamedTag& named : tags)
    if (named.tag == tag) return named.name;
  return nullptr;
}

HRESULT NameClass(const GUID& class_id, WideChar** out) {
  const std::u16string name = ClassName(class_id);
  if (name.empty()) return HandOutText(u"{GUID}|Known Format Audio", out);
  // The "%s" stands in the result: what was released shows it this way, and add-ins compare whole names.
  return HandOutText((u"{GUID}|%s" + name).c_str(), out);
}

}  // namespace
}  // namespace melorin

using namespace melorin;

HRESULT STDMETHODCALLTYPE CreateSoundBuffer(SoundBuffer** out, uint32_t capacity) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (capacity == 0) return E_INVALIDARG;
  *out = MemorySoundBuffer::Create(capacity).Detach();
  return *out ? S_OK : E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE CreateStreamOnFile(const WideChar* path, uint32_t mode, IStream** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!path) return E_POINTER;
  return ByteStream::Open(AsChar16(path), mode, out);
}

HRESULT STDMETHODCALLTYPE CreateStdContent(IStream* stream, uint32_t flags, TagSet** out, uint32_t* extent) {
  if (!stream || !out) return E_POINTER;
  *out = nullptr;
  try {
    TagScan scan;
    const HRESULT result = CreateTagContent(*stream, flags, out, &scan, UsersTagPriority());
    if (FAILED(result)) return result;
    if (extent) {
      extent[0] = static_cast<uint32_t>(scan.audio_start);
      extent[1] = static_cast<uint32_t>(scan.audio_end - scan.audio_start);
    }
    return result;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT STDMETHODCALLTYPE GetSoundCodecName(const GUID* subtype, WideChar** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!subtype) return E_POINTER;
  try {
    const char16_t* name = nullptr;
    if (SameGuid(*subtype, WaveSubtype(subtype->Data1)))
      name = FindName(kWaveTags, subtype->Data1);
    else if (SameGuid(*subtype, DvdSubtype(subtype->Data1)))
      name = FindName(kDvdTags, subtype->Data1);
    else
      return NameClass(*subtype, out);
    return name ? HandOutText(name, out) : E_OUTOFMEMORY;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}
