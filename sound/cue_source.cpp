// SPDX-License-Identifier: MIT
//
// "CUE Reader": one track of a sheet as a source of its own. It opens the audio file that the sheet names,
// decodes it and hands out the track's samples and no others, so whoever plays it sees an uncompressed source
// that begins and ends with the track.
//
// A place in the sheet, counted in frames of a CD, becomes sample frames as frames × rate / 75, rounded down.
// Both ends follow that one rule, so tracks that follow each other leave nothing out and repeat nothing. At
// 44.1 and 48 kHz it divides evenly.
#include <algorithm>
#include <limits>
#include <new>
#include <optional>
#include <string>

#include "platform/text.h"
#include "sound/builtin_entries.h"
#include "sound/cue_files.h"
#include "sound/named_entries.h"
#include "sound/pcm_stream.h"
#include "sound/sheet_tracks.h"
#include "sound/sound_library.h"
#include "sound/text_out.h"

namespace melorin {
namespace {

constexpr uint32_t kFullScanFlag = 1;

/// The sheet's tags, and of the file's own those that the sheet is silent about.
HRESULT MergeTags(TagFields fields, SoundSource& source, TagSet** out) {
  ComPtr<TagSet> own;
  uint32_t flags = 0;
  uint32_t count = 0;
  if (SUCCEEDED(source.QueryInterface(kIidTagSet, own.ReceiveVoid())) && own) {
    own->GetFlags(&flags);
    if (FAILED(own->GetCount(&count))) count = 0;
  }
  const TagFields stated = fields;
  for (uint32_t i = 0; i < count; ++i) {
    TaskText name;
    TaskText value;
    if (FAILED(own->GetField(i, name.Receive(), value.Receive()))) continue;
    const std::string name_utf8 = Utf8FromUtf16(name.get());
    if (!stated.Find(name_utf8)) fields.Add(name_utf8, Utf8FromUtf16(value.get()));
  }
  return CreateTagSet(std::move(fields), flags, out);
}

class CueSource final : public ComObject<SoundFileSource> {
 public:
  explicit CueSource(const SoundLibrary& library) : library_(library) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (SameGuid(iid, kIidTagSet)) return tags_ ? tags_->QueryInterface(iid, out) : E_NOINTERFACE;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundSource) &&
        !SameGuid(iid, kIidSoundFileSource))
      return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundFileSource*>(this);
    return S_OK;
  }

  /// A stream does not say in which folder the audio files are.
  HRESULT STDMETHODCALLTYPE Open(IStream* stream, uint32_t) override {
    return stream ? E_NOTIMPL : E_POINTER;
  }
  /// `flags`: the upper 16 bits choose the track by its number, 0 the first; the others go on to the audio
  /// file's source. E_FAIL when there is no such track, or no file for it.
  HRESULT STDMETHODCALLTYPE OpenFile(const WideChar* path, uint32_t flags) override {
    if (!path) return E_POINTER;
    if (open_) return E_UNEXPECTED;
    try {
      const HRESULT result = OpenTrack(GbkFromUtf16(AsChar16(path)), flags);
      open_ = SUCCEEDED(result);
      return result;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  HRESULT STDMETHODCALLTYPE IsSeekable(uint32_t* yes) override {
    if (!yes) return E_POINTER;
    return open_ ? pcm_.Source().IsSeekable(yes) : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE GetDuration(uint32_t* milliseconds) override {
    if (!milliseconds) return E_POINTER;
    *milliseconds = duration_ms_;
    return open_ ? S_OK : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE GetFormat(WAVEFORMATEX** format) override {
    if (!format) return E_POINTER;
    *format = nullptr;
    if (!open_) return E_FAIL;
    *format = CopyFormat(pcm_.Format());
    return *format ? S_OK : E_OUTOFMEMORY;
  }
  /// A twentieth of a second.
  HRESULT STDMETHODCALLTYPE GetReadSize(uint32_t* bytes) override {
    if (!bytes) return E_POINTER;
    if (!open_) return E_FAIL;
    *bytes = std::max<uint32_t>(pcm_.Format().nSamplesPerSec / 20, 1) * pcm_.Format().nBlockAlign;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetCodecName(WideChar** name) override {
    if (!name) return E_POINTER;
    *name = nullptr;
    return open_ ? pcm_.Source().GetCodecName(name) : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE GetBitrate(uint32_t* bits_per_second) override {
    if (!bits_per_second) return E_POINTER;
    return open_ ? pcm_.Source().GetBitrate(bits_per_second) : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE GetBitsPerSample(uint16_t* bits) override {
    if (!bits) return E_POINTER;
    return open_ ? pcm_.Source().GetBitsPerSample(bits) : E_FAIL;
  }
  HRESULT STDMETHODCALLTYPE Start() override { return open_ ? pcm_.Source().Start() : E_FAIL; }
  HRESULT STDMETHODCALLTYPE Pause() override { return open_ ? pcm_.Source().Pause() : E_FAIL; }
  HRESULT STDMETHODCALLTYPE Stop() override { return open_ ? pcm_.Source().Stop() : E_FAIL; }

  HRESULT STDMETHODCALLTYPE Read(SoundBuffer* packet) override;
  HRESULT STDMETHODCALLTYPE Seek(uint32_t milliseconds) override;

 private:
  HRESULT OpenTrack(const std::string& path_gbk, uint32_t flags);
  HRESULT OpenAudio(const std::string& path_gbk, uint32_t flags, uint32_t start, uint32_t* file_ms);
  uint64_t FrameOf(uint32_t cd_frames) const {
    return uint64_t{cd_frames} * pcm_.Format().nSamplesPerSec / kCueFramesPerSecond;
  }

  const SoundLibrary& library_;  ///< For OpenFile only.
  bool open_ = false;
  PcmStream pcm_;
  ComPtr<TagSet> tags_;
  uint64_t first_frame_ = 0;
  uint64_t end_frame_ = 0;  ///< Behind the last one.
  uint32_t duration_ms_ = 0;
  uint64_t left_bytes_ = 0;  ///< Of the track, from the position on.
  /// Where the stream has to be put before the next Read: a source is opened on one thread and read on
  /// another, and finding the place may take a while.
  std::optional<uint64_t> seek_to_;
};

HRESULT CueSource::OpenTrack(const std::string& path_gbk, uint32_t flags) {
  const CueSheet sheet = ReadCueFile(path_gbk);
  const auto index = sheet.FindTrack(SubtrackOfFlags(flags));
  if (!index) return E_FAIL;
  const CueTrack& track = sheet.tracks[*index];
  const std::string audio = FindCueAudio(library_, path_gbk, sheet, track.file);
  if (audio.empty()) return E_FAIL;
  uint32_t file_ms = 0;
  HRESULT result = OpenAudio(audio, flags & 0xFFFF, track.start, &file_ms);
  if (FAILED(result)) return result;

  const auto end = sheet.EndOf(*index);
  duration_ms_ = CueDurationMs(track.start, end, file_ms);
  first_frame_ = FrameOf(track.start);
  end_frame_ = end ? FrameOf(*end) : std::numeric_limits<uint64_t>::max() / pcm_.Format().nBlockAlign;
  seek_to_ = first_frame_;
  return MergeTags(CueTrackTags(track), pcm_.Source(), tags_.Receive());
}

/// E_FAIL when the track would begin at or behind the file's end.
HRESULT CueSource::OpenAudio(const std::string& path_gbk, uint32_t flags, uint32_t start, uint32_t* file_ms) {
  const std::u16string path = Utf16FromGbk(path_gbk);
  const uint64_t start_ms = uint64_t{start} * 1000 / kCueFramesPerSecond;
  for (const uint32_t tried : {flags, flags | kFullScanFlag}) {
    ComPtr<SoundSource> source;
    HRESULT result = library_.OpenSource(AsWide(path.c_str()), tried, source.Receive());
    if (FAILED(result)) return result;
    if (!source) return E_FAIL;
    result = source->GetDuration(file_ms);
    if (FAILED(result)) return result;
    if (start_ms < *file_ms) return pcm_.Open(std::move(source), library_);
    // The length may have been estimated too short from the first frames of a varying bit rate.
    if (tried & kFullScanFlag) break;
  }
  return E_FAIL;
}

HRESULT CueSource::Read(SoundBuffer* packet) {
  if (!packet) return E_POINTER;
  uint8_t* data = nullptr;
  uint32_t capacity = 0;
  packet->GetData(&data, nullptr);
  packet->GetCapacity(&capacity);
  packet->SetLength(0);
  if (!open_) return E_FAIL;
  if (seek_to_) {
    const uint64_t frame = *seek_to_;
    seek_to_.reset();
    left_bytes_ = 0;
    const HRESULT result = pcm_.SeekTo(frame);
    if (result == E_INVALIDARG) return S_FALSE;
    if (FAILED(result)) return result;
    left_bytes_ = (end_frame_ - std::min(frame, end_frame_)) * pcm_.Format().nBlockAlign;
  }
  if (left_bytes_ == 0 || !data) return S_FALSE;
  const uint32_t whole = capacity - capacity % pcm_.Format().nBlockAlign;
  const auto wanted = static_cast<size_t>(std::min<uint64_t>(whole, left_bytes_));
  size_t done = 0;
  HRESULT result = S_OK;
  while (done < wanted && result == S_OK) {
    size_t got = 0;
    result = pcm_.Read({data + done, wanted - done}, &got);
    done += got;
  }
  left_bytes_ -= done;
  packet->SetLength(static_cast<uint32_t>(done));
  if (done > 0) return S_OK;
  return wanted == 0 ? S_FALSE : result;
}

HRESULT CueSource::Seek(uint32_t milliseconds) {
  if (!open_) return E_FAIL;
  const uint64_t frame = first_frame_ + uint64_t{milliseconds} * pcm_.Format().nSamplesPerSec / 1000;
  if (milliseconds >= duration_ms_ || frame >= end_frame_) {
    seek_to_.reset();
    left_bytes_ = 0;
    return E_INVALIDARG;
  }
  seek_to_ = frame;
  return S_OK;
}

}  // namespace

ComPtr<SoundReader> CreateCueReader(const SoundLibrary& library) {
  return CreateNamedReader(u"CUE Reader", u"CUE 文件(*.cue)", [&library](SoundSource** out) -> HRESULT {
    *out = new (std::nothrow) CueSource(library);
    return *out ? S_OK : E_OUTOFMEMORY;
  });
}

}  // namespace melorin
