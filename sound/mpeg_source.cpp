// SPDX-License-Identifier: MIT
//
// "MPEG Audio Reader": finds the audio between the tags of an MPEG file, works out its duration and hands out
// the file's bytes as packets, from the first frame on, a header frame of the encoder included: the decoder
// needs that one for the encoder's delay and padding.
//
// Opening costs two reads: the file's start and its end. The first serves the leading tag and the frame scan
// alike.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "sound/builtin_entries.h"
#include "sound/mpeg_frame_index.h"
#include "sound/mpeg_scan.h"
#include "sound/named_entries.h"
#include "sound/source_parts.h"
#include "sound/stream_io.h"
#include "sound/text_out.h"
#include "tags/byte_source.h"
#include "tags/tag_scan.h"

namespace melorin {

namespace {

constexpr int kFramesToScan = 16;
constexpr uint32_t kFullScanFlag = 1;

/// A stream whose first bytes are at hand already.
class HeadedSource final : public ByteSource {
 public:
  HeadedSource(IStream& stream, int64_t size, std::span<const uint8_t> head)
      : stream_(stream), size_(size), head_(head) {}
  int64_t Size() override { return size_; }
  /// From now on everything is read from the stream.
  void DropHead() { head_ = {}; }
  size_t ReadAt(int64_t offset, std::span<uint8_t> data) override {
    size_t done = 0;
    if (offset >= 0 && offset < static_cast<int64_t>(head_.size())) {
      const auto from = head_.subspan(static_cast<size_t>(offset));
      done = std::min(from.size(), data.size());
      std::memcpy(data.data(), from.data(), done);
      offset += static_cast<int64_t>(done);
    }
    const size_t left = data.size() - done;
    if (left == 0 || offset >= size_ || left > 0xFFFFFFFF || FAILED(SeekTo(stream_, offset))) return done;
    const int64_t read = ReadUpTo(stream_, data.data() + done, static_cast<uint32_t>(left));
    return done + (read > 0 ? static_cast<size_t>(read) : 0);
  }

 private:
  IStream& stream_;
  const int64_t size_;
  std::span<const uint8_t> head_;
};

class MpegSource final : public FileSource {
 public:
  HRESULT STDMETHODCALLTYPE Open(IStream* stream, uint32_t flags) override {
    if (!stream) return E_POINTER;
    try {
      Close();
      const HRESULT result = OpenParts(*stream, flags);
      if (FAILED(result)) Close();
      return result;
    } catch (const std::bad_alloc&) {
      Close();
      return E_OUTOFMEMORY;
    }
  }

  HRESULT STDMETHODCALLTYPE GetDuration(uint32_t* milliseconds) override {
    if (!milliseconds) return E_POINTER;
    if (!stream_) return E_FAIL;
    *milliseconds = duration_ms_;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetFormat(WAVEFORMATEX** format) override {
    if (!format) return E_POINTER;
    *format = nullptr;
    if (!stream_) return E_FAIL;
    WAVEFORMATEX made{};
    made.wFormatTag = WAVE_FORMAT_MPEGLAYER3;
    made.nChannels = scan_.reference.Channels();
    made.nSamplesPerSec = scan_.reference.rate;
    made.nAvgBytesPerSec = bytes_per_second_;
    made.nBlockAlign = 1;
    made.wBitsPerSample = 16;
    *format = CopyFormat(made);
    return *format ? S_OK : E_OUTOFMEMORY;
  }

  /// A tenth of a second. When that is no byte at all (a header that promises far more time than the file
  /// holds), one frame.
  HRESULT STDMETHODCALLTYPE GetReadSize(uint32_t* bytes) override {
    if (!bytes) return E_POINTER;
    if (!stream_) return E_FAIL;
    *bytes = bytes_per_second_ >= 10 ? bytes_per_second_ / 10 : scan_.reference.frame_bytes;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetCodecName(WideChar** name) override {
    if (!name) return E_POINTER;
    *name = nullptr;
    if (!stream_) return E_FAIL;
    char16_t text[] = u"MP3|MPEG 1 - Layer 0";
    constexpr size_t kVersionAt = 9;
    constexpr size_t kLayerAt = sizeof text / sizeof text[0] - 2;
    text[kVersionAt] = scan_.reference.version == MpegVersion::k1 ? u'1' : u'2';
    text[kLayerAt] = static_cast<char16_t>(u'0' + scan_.reference.layer);
    return HandOutText(text, name);
  }

  HRESULT STDMETHODCALLTYPE GetBitrate(uint32_t* bits_per_second) override {
    if (!bits_per_second) return E_POINTER;
    if (!stream_) return E_FAIL;
    *bits_per_second = bytes_per_second_ * 8;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetBitsPerSample(uint16_t* bits) override {
    if (!bits) return E_POINTER;
    if (!stream_) return E_FAIL;
    *bits = 16;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Read(SoundBuffer* packet) override {
    if (!packet) return E_POINTER;
    if (!stream_) return E_FAIL;
    uint32_t delivered = 0;
    const HRESULT result = ReadPacket(*stream_, *packet, data_bytes_ - position_, &delivered);
    position_ += delivered;
    return result;
  }

  HRESULT STDMETHODCALLTYPE Seek(uint32_t milliseconds) override {
    if (!stream_) return E_FAIL;
    if (milliseconds >= duration_ms_) {
      position_ = data_bytes_;
      return E_INVALIDARG;
    }
    const uint64_t offset = OffsetOf(milliseconds);
    if (offset >= data_bytes_) {
      position_ = data_bytes_;
      return E_INVALIDARG;
    }
    if (FAILED(SeekTo(*stream_, data_start_ + static_cast<int64_t>(offset)))) return E_FAIL;
    position_ = offset;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SeekToSample(uint64_t sample, uint64_t* landed) override {
    if (!landed) return E_POINTER;
    if (!stream_) return E_FAIL;
    try {
      StreamByteSource bytes(*stream_);
      const uint32_t samples_per_frame = scan_.reference.SamplesPerFrame();
      const auto entry = index_.EntryFor(sample / samples_per_frame, bytes);
      if (!entry) return E_INVALIDARG;
      if (FAILED(SeekTo(*stream_, entry->offset))) return E_FAIL;
      position_ = static_cast<uint64_t>(entry->offset - data_start_);
      *landed = entry->frame * samples_per_frame;
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

 private:
  void Close() {
    stream_.Reset();
    tags_.Reset();
    scan_ = {};
    index_ = {};
    data_start_ = 0;
    data_bytes_ = position_ = 0;
    duration_ms_ = bytes_per_second_ = 0;
  }

  HRESULT OpenParts(IStream& stream, uint32_t flags) {
    const int64_t size = StreamSize(stream);
    if (size < 0 || FAILED(SeekTo(stream, 0))) return E_FAIL;
    const auto storage = std::make_unique_for_overwrite<uint8_t[]>(MpegWindow::kBytes);
    const std::span<uint8_t> window_bytes(storage.get(), MpegWindow::kBytes);
    const int64_t head = ReadUpTo(stream, storage.get(), MpegWindow::kBytes);
    if (head < 0) return E_FAIL;
    HeadedSource source(stream, size, window_bytes.first(static_cast<size_t>(head)));

    TagFields fields;
    const TagScan tags = ReadTags(source, 0, fields, UsersTagPriority());
    HRESULT result = CreateTagSet(std::move(fields), tags.flags, tags_.Receive());
    if (FAILED(result)) return result;

    result = FindAudio(source, window_bytes, head, tags, (flags & kFullScanFlag) != 0);
    if (FAILED(result)) return result;
    if (FAILED(SeekTo(stream, data_start_))) return E_FAIL;
    ReckonDuration();
    stream_ = ComPtr<IStream>::Share(&stream);
    return S_OK;
  }

  HRESULT FindAudio(HeadedSource& source, std::span<uint8_t> storage, int64_t head, const TagScan& tags,
                    bool full_scan) {
    // The scan begins in what the first read brought of the audio and reads on behind that if it must. The
    // window's memory is what `source` serves the file's start from, so from here on that is read from the
    // stream.
    const int64_t end = std::min(head, tags.audio_end);
    const int64_t begin = std::min(tags.audio_start, end);
    int64_t next = tags.audio_start < end ? end : tags.audio_start;
    source.DropHead();
    const auto refill = [&](std::span<uint8_t> to) -> size_t {
      const int64_t left = std::max<int64_t>(tags.audio_end - next, 0);
      const size_t count = left < static_cast<int64_t>(to.size()) ? static_cast<size_t>(left) : to.size();
      const size_t got = source.ReadAt(next, to.first(count));
      next += static_cast<int64_t>(got);
      return got;
    };
    MpegWindow window(storage, static_cast<size_t>(begin), static_cast<size_t>(end), refill);
    auto scan = ScanMpegFrames(window, kFramesToScan, full_scan);
    if (!scan) return E_FAIL;
    scan_ = std::move(*scan);
    data_start_ = tags.audio_start + static_cast<int64_t>(scan_.start);
    data_bytes_ = static_cast<uint64_t>(tags.audio_end - data_start_);
    index_ = MpegFrameIndex(scan_.reference, data_start_, tags.audio_end);
    return S_OK;
  }

  void ReckonDuration() {
    bytes_per_second_ = scan_.reference.bitrate / 8;
    if (scan_.vbr) {
      const uint64_t frames = scan_.header ? scan_.header.Frames() : scan_.frames.byte_counts.size();
      duration_ms_ = FramesDurationMs(frames, scan_.reference);
      if (duration_ms_ != 0) {
        bytes_per_second_ =
            static_cast<uint32_t>(std::min<uint64_t>(data_bytes_ * 1000 / duration_ms_, 0xFFFFFFFF / 8));
        return;
      }
    }
    duration_ms_ =
        static_cast<uint32_t>(std::min<uint64_t>(data_bytes_ * 1000 / bytes_per_second_, 0xFFFFFFFF));
  }

  /// Offset of the byte that plays at `ms`, which lies below the duration.
  uint64_t OffsetOf(uint32_t ms) const {
    if (scan_.vbr) {
      const MpegHeader& header = scan_.reference;
      if (scan_.header.vbri) return VbriOffset(*scan_.header.vbri, header, ms);
      if (scan_.header.xing) return XingSeekOffset(*scan_.header.xing, data_bytes_, ms, duration_ms_);
      const auto& table = scan_.frames.byte_counts;
      if (!table.empty()) {
        const uint64_t frame = uint64_t{ms} * header.rate / 1000 / header.SamplesPerFrame();
        // The frame that set the reference stands before the table's first entry.
        if (frame == 0) return 0;
        const uint64_t skipped = scan_.frames.base_offset > 0 ? 1 : 0;
        return scan_.frames.base_offset +
               table[static_cast<size_t>(std::min<uint64_t>(frame - skipped, table.size() - 1))];
      }
    }
    return uint64_t{ms} * data_bytes_ / duration_ms_;
  }

  ComPtr<IStream> stream_;
  MpegScan scan_;
  MpegFrameIndex index_;
  int64_t data_start_ = 0;
  uint64_t data_bytes_ = 0;
  uint64_t position_ = 0;  ///< From the data's start.
  uint32_t duration_ms_ = 0;
  uint32_t bytes_per_second_ = 0;
};

}  // namespace

ComPtr<SoundReader> CreateMpegReader(bool mp3pro) {
  return CreateNamedReader(
      u"MPEG Audio Reader",
      mp3pro ? u"MPEG 音频文件(*.mp3pro;*.mp3;*.mp2;*.mp1;*.mpa)" : u"MPEG 音频文件(*.mp3;*.mp2;*.mp1;*.mpa)",
      &CreateFileSource<MpegSource>);
}

}  // namespace melorin
