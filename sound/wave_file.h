// SPDX-License-Identifier: MIT
//
// The chunks of a RIFF/WAVE file, read and written over a stream. WaveReader finds the format and the sample
// data and hands the samples out unchanged; WaveWriter writes the header, takes the samples and brings the
// sizes up to date at the end. Neither knows tags or interfaces of sources.
// Thread: one at a time.
#pragma once

#include <memory>
#include <vector>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"

namespace melorin {

/// A format record with its extension, in memory of its own.
class WaveFormat {
 public:
  /// False when memory runs out; then the object is empty.
  bool Assign(const WAVEFORMATEX& format);
  /// Takes the body of a "fmt " chunk: 16 bytes or more. A body of 16 bytes gets no extension, and an
  /// extension never reaches beyond the body.
  bool AssignBody(std::unique_ptr<uint8_t[]> body, uint32_t body_bytes);
  void Clear() { block_.reset(); }
  explicit operator bool() const { return block_ != nullptr; }
  const WAVEFORMATEX& operator*() const { return *get(); }
  const WAVEFORMATEX* operator->() const { return get(); }
  const WAVEFORMATEX* get() const { return reinterpret_cast<const WAVEFORMATEX*>(block_.get()); }

 private:
  std::unique_ptr<uint8_t[]> block_;
};

/// A Wave file opened for reading.
class WaveReader {
 public:
  /// Reads the chunks from the start of the stream up to the sample data. "fmt " must be the first chunk.
  /// E_FAIL for everything that is no such file, E_OUTOFMEMORY. Afterwards the stream stands at the first
  /// sample.
  HRESULT Open(IStream* stream);
  bool IsOpen() const { return static_cast<bool>(stream_); }

  const WAVEFORMATEX& Format() const { return *format_; }
  /// Size of the sample data, clamped to what the file holds.
  uint32_t DataBytes() const { return data_bytes_; }
  uint32_t DataStart() const { return data_start_; }
  /// Rounded to the nearest; 0xFFFFFFFF (unknown) when the format states no byte rate.
  uint32_t DurationMs() const { return duration_ms_; }

  /// At most the packet's capacity and at most the rest of the data. S_FALSE when nothing is left.
  HRESULT Read(SoundBuffer& packet);
  /// To the block that plays at that time. E_INVALIDARG at or past the end of the data (the position stays),
  /// E_FAIL when there is no byte rate to reckon with.
  HRESULT Seek(uint32_t milliseconds);
  /// To the block of that number. E_INVALIDARG at or past the end of the data; then the position stays.
  HRESULT SeekToBlock(uint64_t block);

 private:
  HRESULT SeekToOffset(uint32_t offset);
  HRESULT ReadFormat(IStream& stream, int64_t file_bytes);
  HRESULT FindData(IStream& stream, int64_t file_bytes);

  WaveFormat format_;
  ComPtr<IStream> stream_;
  uint32_t data_bytes_ = 0;
  uint32_t data_start_ = 0;  ///< Low 32 bits of the file offset.
  uint32_t position_ = 0;    ///< Bytes of the data already delivered.
  uint32_t duration_ms_ = 0;
};

/// What stands before the samples, with these values in the size fields of the file and of the data. Throws
/// std::bad_alloc.
std::vector<uint8_t> WaveHeader(const WAVEFORMATEX& format, uint32_t riff_size, uint32_t data_size);

/// Writes a Wave file: Open, Write …, Close.
class WaveWriter {
 public:
  /// What Write answers when the file would outgrow the format's 32-bit sizes (the platform's "file too
  /// large").
  static constexpr HRESULT kTooLarge = static_cast<HRESULT>(0x800700DF);

  WaveWriter() = default;
  WaveWriter(const WaveWriter&) = delete;
  WaveWriter& operator=(const WaveWriter&) = delete;
  /// Closes; a failure of that is not told.
  ~WaveWriter() { Close(); }

  /// Keeps a reference to the stream and writes the header of a file without samples at its current position,
  /// which must be the stream's start. E_FAIL when the stream does not take it all (disk full),
  /// E_OUTOFMEMORY.
  HRESULT Open(IStream* stream, const WAVEFORMATEX& format);
  /// Appends samples. E_FAIL when the stream took less than that (disk full); later writes fail as well.
  /// kTooLarge when not all of it fits into 4 GB: the whole blocks that fit are written. Close after a
  /// failure still makes a valid file, which ends after the last whole block that was written.
  HRESULT Write(const uint8_t* data, uint32_t bytes);
  /// Pads the data to an even length, writes the RIFF and data sizes and releases the stream. S_FALSE when
  /// not open. E_FAIL when samples or sizes could not be written.
  HRESULT Close();

 private:
  HRESULT UpdateSizes();
  void CutToWhatIsWritten();
  /// What the RIFF size counts: everything after itself.
  uint32_t RiffSize(uint32_t data_bytes) const { return header_bytes_ - 8 + data_bytes; }

  ComPtr<IStream> stream_;
  uint32_t header_bytes_ = 0;
  uint32_t block_align_ = 1;
  uint32_t data_bytes_ = 0;
  bool failed_ = false;
};

}  // namespace melorin
