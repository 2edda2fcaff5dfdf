// SPDX-License-Identifier: MIT
#include "playlist/item_info.h"

#include <algorithm>
#include <memory>
#include <new>

#include "platform/com_ptr.h"
#include "platform/file.h"
#include "platform/text.h"
#include "sound/sheet_tracks.h"

namespace melorin {
namespace {

constexpr std::string_view kGainPrefix = "replaygain_";

struct TaskMemoryDeleter {
  void operator()(void* memory) const { CoTaskMemFree(memory); }
};
template <class T>
using TaskMemory = std::unique_ptr<T, TaskMemoryDeleter>;

void ReadFormat(SoundSource& source, ItemInfo& info) {
  WideChar* codec = nullptr;
  if (SUCCEEDED(source.GetCodecName(&codec)) && codec) {
    const TaskMemory<WideChar> owner(codec);
    info.codec_gbk = GbkFromUtf16(AsChar16(codec));
  }
  uint32_t duration_ms = 0;
  if (SUCCEEDED(source.GetDuration(&duration_ms)))
    info.duration_ms = static_cast<int32_t>(std::min<uint32_t>(duration_ms, INT32_MAX));
  WAVEFORMATEX* format = nullptr;
  if (SUCCEEDED(source.GetFormat(&format)) && format) {
    const TaskMemory<WAVEFORMATEX> owner(format);
    info.format.sample_rate = format->nSamplesPerSec;
    info.format.channels = format->nChannels;
  }
  if (FAILED(source.GetBitsPerSample(&info.format.bits))) info.format.bits = 0;
  if (FAILED(source.GetBitrate(&info.format.bit_rate))) info.format.bit_rate = 0;
}

void ReadTags(SoundSource& source, TagFields& fields) {
  ComPtr<TagSet> tags;
  uint32_t count = 0;
  if (FAILED(source.QueryInterface(kIidTagSet, tags.ReceiveVoid())) || !tags) return;
  if (FAILED(tags->GetCount(&count))) return;
  for (uint32_t i = 0; i < count; ++i) {
    WideChar* name = nullptr;
    WideChar* value = nullptr;
    const HRESULT result = tags->GetField(i, &name, &value);
    const TaskMemory<WideChar> name_owner(name);
    const TaskMemory<WideChar> value_owner(value);
    if (FAILED(result) || !name || !value) continue;
    const std::string value_utf8 = Utf8FromUtf16(AsChar16(value));
    if (value_utf8.size() <= kLongestListedTag) fields.Add(Utf8FromUtf16(AsChar16(name)), value_utf8);
  }
}

}  // namespace

HRESULT ReadItemInfo(const SoundLibrary& library, const std::string& path_gbk, uint32_t subtrack,
                     ItemInfo* out) {
  if (!out) return E_POINTER;
  *out = {};
  // Before the file is opened: what changes while it is read is read again.
  out->time_stamp = FileTimeStamp(path_gbk);
  try {
    const std::u16string path = Utf16FromGbk(path_gbk);
    ComPtr<SoundSource> source;
    const HRESULT result =
        library.OpenSource(AsWide(path.c_str()), SubtrackFlags(subtrack), source.Receive());
    if (FAILED(result)) return result;
    if (!source) return E_NOTIMPL;
    const uint32_t time_stamp = out->time_stamp;
    *out = InfoOfSource(*source);
    out->time_stamp = time_stamp;
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

ItemInfo InfoOfSource(SoundSource& source) {
  ItemInfo info;
  ReadFormat(source, info);
  ReadTags(source, info.tags);
  return info;
}

void ApplyItemInfo(PlayListItem& item, const ItemInfo& info) {
  TagFields tags = info.tags;
  if (item.TimeStamp() == 0 || item.TimeStamp() == info.time_stamp) {
    const TagFields old = item.Tags();
    for (size_t i = 0; i < old.size(); ++i) {
      const std::string& name = old.name(i);
      if (EqualNoCaseUtf8(std::string_view(name).substr(0, kGainPrefix.size()), kGainPrefix) &&
          !tags.Find(name))
        tags.Add(name, old.value(i));
    }
  }
  item.SetTags(tags);
  item.SetCodec(info.codec_gbk);
  item.SetDuration(info.duration_ms);
  item.SetFormat(info.format);
  item.SetTimeStamp(info.time_stamp);
}

}  // namespace melorin
