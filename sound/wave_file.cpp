// SPDX-License-Identifier: MIT
//
// RIFF layout: "RIFF" size "WAVE", then chunks of identifier, size, body. Source: Microsoft and IBM,
// Multimedia Programming Interface 1.0 (1991), chapter 3.
#include "sound/wave_file.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/mul_div.h"
#include "sound/stream_io.h"

namespace melorin {

namespace {

constexpr uint32_t kFormatRecordBytes = sizeof(WAVEFORMATEX);
constexpr uint32_t kPlainFormatBytes = 16;
/// The record's extension size is 16 bits wide, so nothing beyond this is ever looked at.
constexpr uint32_t kLargestFormatBytes = kFormatRecordBytes + 0xFFFF;
constexpr uint32_t kRiffHeaderBytes = 12;
constexpr uint32_t kRiffSizeAt = 4;
constexpr uint32_t kChunkHeaderBytes = 8;
/// No real file has so many chunks before its samples; ends the walk through gigabytes of zeros.
constexpr uint32_t kMostChunks = 1u << 20;

bool IsTag(const uint8_t* bytes, const char (&tag)[5]) {
  return std::memcmp(bytes, tag, 4) == 0;
}

uint32_t ReadLe32(const uint8_t* p) {
  return p[0] | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

uint8_t* PutTag(uint8_t* p, const char (&tag)[5]) {
  std::memcpy(p, tag, 4);
  return p + 4;
}

uint8_t* PutLe32(uint8_t* p, uint32_t value) {
  for (int i = 0; i < 4; ++i)
    p[i] = static_cast<uint8_t>(value >> (8 * i));
  return p + 4;
}

}  // namespace

bool WaveFormat::Assign(const WAVEFORMATEX& format) {
  const size_t bytes = FormatSize(format);
  block_.reset(new (std::nothrow) uint8_t[bytes]);
  if (!block_) return false;
  std::memcpy(block_.get(), &format, bytes);
  return true;
}

bool WaveFormat::AssignBody(std::unique_ptr<uint8_t[]> body, uint32_t body_bytes) {
  block_ = std::move(body);
  if (!block_) return false;
  auto* record = reinterpret_cast<WAVEFORMATEX*>(block_.get());
  const uint32_t room = body_bytes > kFormatRecordBytes ? body_bytes - kFormatRecordBytes : 0;
  record->cbSize = static_cast<WORD>(std::min<uint32_t>(record->cbSize, room));
  return true;
}

HRESULT WaveReader::Open(IStream* stream) {
  if (!stream) return E_POINTER;
  stream_.Reset();
  format_.Clear();
  position_ = data_bytes_ = data_start_ = duration_ms_ = 0;

  const int64_t file_bytes = StreamSize(*stream);
  if (file_bytes < 0 || FAILED(SeekTo(*stream, 0))) return E_FAIL;
  HRESULT result = ReadFormat(*stream, file_bytes);
  if (SUCCEEDED(result)) result = FindData(*stream, file_bytes);
  if (FAILED(result)) {
    format_.Clear();
    return result;
  }
  if (data_bytes_ != 0) duration_ms_ = MulDivUnsigned(data_bytes_, 1000, format_->nAvgBytesPerSec);
  stream_ = ComPtr<IStream>::Share(stream);
  return S_OK;
}

HRESULT WaveReader::ReadFormat(IStream& stream, int64_t file_bytes) {
  uint8_t header[kRiffHeaderBytes + kChunkHeaderBytes];
  if (FAILED(ReadExactly(stream, header, sizeof header))) return E_FAIL;
  if (!IsTag(header, "RIFF") || !IsTag(header + 8, "WAVE") || !IsTag(header + 12, "fmt ")) return E_FAIL;
  const uint32_t body_bytes = ReadLe32(header + 16);
  if (body_bytes < kPlainFormatBytes) return E_FAIL;
  // A body that the file does not hold is refused before memory is asked for.
  if (body_bytes > file_bytes - static_cast<int64_t>(sizeof header)) return E_FAIL;

  const uint32_t kept = std::min(body_bytes, kLargestFormatBytes);
  const uint32_t block_bytes = std::max(kept, kFormatRecordBytes);
  std::unique_ptr<uint8_t[]> body(new (std::nothrow) uint8_t[block_bytes]);
  if (!body) return E_OUTOFMEMORY;
  std::memset(body.get() + block_bytes - 2, 0, 2);
  if (FAILED(ReadExactly(stream, body.get(), kept))) return E_FAIL;
  if (kept < body_bytes && FAILED(SeekTo(stream, int64_t{sizeof header} + body_bytes))) return E_FAIL;
  return format_.AssignBody(std::move(body), kept) ? S_OK : E_OUTOFMEMORY;
}

HRESULT WaveReader::FindData(IStream& stream, int64_t file_bytes) {
  LARGE_INTEGER move;
  ULARGE_INTEGER place;
  move.QuadPart = 0;
  if (FAILED(stream.Seek(move, STREAM_SEEK_CUR, &place))) return E_FAIL;
  auto position = static_cast<int64_t>(place.QuadPart);
  for (uint32_t chunk = 0; chunk < kMostChunks; ++chunk) {
    uint8_t header[kChunkHeaderBytes];
    if (FAILED(ReadExactly(stream, header, sizeof header))) return E_FAIL;
    position += kChunkHeaderBytes;
    const uint32_t size = ReadLe32(header + 4);
    if (IsTag(header, "data")) {
      const int64_t rest = std::max<int64_t>(file_bytes - position, 0);
      data_start_ = static_cast<uint32_t>(position);
      data_bytes_ =
          size == 0 || size > rest ? static_cast<uint32_t>(std::min<int64_t>(rest, 0xFFFFFFFF)) : size;
      return S_OK;
    }
    // Writers that put no pad byte after an odd chunk are the ones that this player has to read.
    position += size;
    if (position > file_bytes || FAILED(SeekTo(stream, position))) return E_FAIL;
  }
  return E_FAIL;
}

HRESULT WaveReader::Read(SoundBuffer& packet) {
  if (!IsOpen()) return E_FAIL;
  uint32_t delivered = 0;
  const HRESULT result = ReadPacket(*stream_, packet, data_bytes_ - position_, &delivered);
  position_ += delivered;
  return result;
}

HRESULT WaveReader::Seek(uint32_t milliseconds) {
  if (!IsOpen() || format_->nAvgBytesPerSec == 0) return E_FAIL;
  uint32_t offset = MulDivUnsigned(milliseconds, format_->nAvgBytesPerSec, 1000);
  if (offset == 0xFFFFFFFF) return E_INVALIDARG;
  if (format_->nBlockAlign > 1) offset -= offset % format_->nBlockAlign;
  return SeekToOffset(offset);
}

HRESULT WaveReader::SeekToBlock(uint64_t block) {
  if (!IsOpen()) return E_FAIL;
  const uint32_t align = std::max<uint32_t>(format_->nBlockAlign, 1);
  if (block >= data_bytes_ / align) return E_INVALIDARG;
  return SeekToOffset(static_cast<uint32_t>(block * align));
}

HRESULT WaveReader::SeekToOffset(uint32_t offset) {
  if (offset >= data_bytes_) return E_INVALIDARG;
  if (FAILED(SeekTo(*stream_, int64_t{data_start_} + offset))) return E_FAIL;
  position_ = offset;
  return S_OK;
}

std::vector<uint8_t> WaveHeader(const WAVEFORMATEX& format, uint32_t riff_size, uint32_t data_size) {
  const bool plain = format.wFormatTag == WAVE_FORMAT_PCM && format.cbSize == 0;
  const uint32_t format_bytes = plain ? kPlainFormatBytes : kFormatRecordBytes + format.cbSize;
  std::vector<uint8_t> header(kRiffHeaderBytes + kChunkHeaderBytes + format_bytes + kChunkHeaderBytes);
  uint8_t* p = PutTag(header.data(), "RIFF");
  p = PutLe32(p, riff_size);
  p = PutTag(p, "WAVE");
  p = PutTag(p, "fmt ");
  p = PutLe32(p, format_bytes);
  std::memcpy(p, &format, format_bytes);
  p = PutTag(p + format_bytes, "data");
  PutLe32(p, data_size);
  return header;
}

HRESULT WaveWriter::Open(IStream* stream, const WAVEFORMATEX& format) try {
  if (!stream) return E_POINTER;
  if (stream_) return E_FAIL;
  std::vector<uint8_t> header = WaveHeader(format, 0, 0);
  header_bytes_ = static_cast<uint32_t>(header.size());
  PutLe32(header.data() + kRiffSizeAt, RiffSize(0));
  block_align_ = std::max<uint32_t>(format.nBlockAlign, 1);
  data_bytes_ = 0;
  failed_ = false;
  if (FAILED(WriteExactly(*stream, header.data(), header_bytes_, nullptr))) return E_FAIL;
  stream_ = ComPtr<IStream>::Share(stream);
  return S_OK;
} catch (const std::bad_alloc&) {
  return E_OUTOFMEMORY;
}

HRESULT WaveWriter::Write(const uint8_t* data, uint32_t bytes) {
  if (!stream_ || failed_) return E_FAIL;
  if (bytes == 0) return S_OK;
  if (!data) return E_POINTER;
  // The RIFF size counts everything after itself, the pad byte included.
  const uint32_t most = 0xFFFFFFFF - RiffSize(0) - 1;
  const uint32_t room = most - std::min(most, data_bytes_);
  const bool too_large = bytes > room;
  const uint32_t count = too_large ? room - room % block_align_ : bytes;
  uint32_t written = 0;
  const HRESULT result = WriteExactly(*stream_, data, count, &written);
  data_bytes_ += written;
  if (FAILED(result)) {
    failed_ = true;
    return E_FAIL;
  }
  return too_large ? kTooLarge : S_OK;
}

HRESULT WaveWriter::Close() {
  if (!stream_) return S_FALSE;
  const HRESULT result = UpdateSizes();
  stream_.Reset();
  return result;
}

/// What the stream took counts only where it is in the file, and there in whole blocks.
void WaveWriter::CutToWhatIsWritten() {
  const int64_t file_bytes = StreamSize(*stream_);
  if (file_bytes >= header_bytes_)
    data_bytes_ = static_cast<uint32_t>(std::min<int64_t>(data_bytes_, file_bytes - header_bytes_));
  data_bytes_ -= data_bytes_ % block_align_;
  ULARGE_INTEGER size;
  size.QuadPart = uint64_t{header_bytes_} + data_bytes_;
  stream_->SetSize(size);
}

HRESULT WaveWriter::UpdateSizes() {
  // Moving away makes a buffered stream write what it still holds, so that a full disk is told here.
  bool good = SUCCEEDED(SeekTo(*stream_, 0));
  uint32_t pad = 0;
  if (failed_ || !good) {
    CutToWhatIsWritten();
  } else if (data_bytes_ & 1) {
    const uint8_t zero = 0;
    good = SUCCEEDED(SeekTo(*stream_, int64_t{header_bytes_} + data_bytes_)) &&
           SUCCEEDED(WriteExactly(*stream_, &zero, 1, nullptr)) && SUCCEEDED(SeekTo(*stream_, 0));
    pad = good ? 1 : 0;
  }
  uint8_t size[4];
  PutLe32(size, RiffSize(data_bytes_ + pad));
  good = SUCCEEDED(SeekTo(*stream_, kRiffSizeAt)) &&
         SUCCEEDED(WriteExactly(*stream_, size, sizeof size, nullptr)) && good;
  PutLe32(size, data_bytes_);
  good = SUCCEEDED(SeekTo(*stream_, header_bytes_ - 4)) &&
         SUCCEEDED(WriteExactly(*stream_, size, sizeof size, nullptr)) && good;
  good = SUCCEEDED(SeekTo(*stream_, 0)) && good;
  return good ? S_OK : E_FAIL;
}

}  // namespace melorin
