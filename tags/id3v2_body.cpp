// SPDX-License-Identifier: MIT
//
// ID3v2 below the frames.
#include "tags/id3v2_body.h"

#include <zlib.h>

#include <algorithm>
#include <array>

#include "tags/tag_bytes.h"

namespace melorin {

namespace {

/// Zeros after 0xFF were put in by the writer.
void Resynchronise(std::string& bytes, size_t begin) {
  size_t to = begin;
  bool after_ff = false;
  for (size_t from = begin; from < bytes.size(); ++from) {
    const char byte = bytes[from];
    if (after_ff && byte == '\0') {
      after_ff = false;
      continue;
    }
    after_ff = byte == '\xFF';
    bytes[to++] = byte;
  }
  bytes.resize(to);
}

/// Replaces the bytes from `begin` on by what they inflate to; false when the stream is broken or too long.
bool Inflate(std::string& bytes, size_t begin, TagLimits& limits) {
  const std::string packed = bytes.substr(begin);
  bytes.resize(begin);
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) return false;
  // zlib's interface is not const, but it does not write there.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  std::array<char, 4096> chunk;
  int result = Z_OK;
  while (result == Z_OK && limits.inflated_bytes_left != 0) {
    stream.next_out = reinterpret_cast<Bytef*>(chunk.data());
    stream.avail_out = static_cast<uInt>(std::min(chunk.size(), limits.inflated_bytes_left));
    const uInt room = stream.avail_out;
    result = inflate(&stream, Z_NO_FLUSH);
    const size_t got = room - stream.avail_out;
    try {
      bytes.append(chunk.data(), got);
    } catch (...) {
      inflateEnd(&stream);
      throw;
    }
    limits.inflated_bytes_left -= got;
  }
  inflateEnd(&stream);
  return result == Z_STREAM_END;
}

}  // namespace

bool ParseId3v2Header(std::span<const uint8_t> bytes, Id3v2Header& header) {
  if (bytes[0] != 'I' || bytes[1] != 'D' || bytes[2] != '3' || bytes[3] == 0xFF || bytes[4] == 0xFF)
    return false;
  if (!IsSyncSafe(bytes.subspan(6))) return false;
  const uint8_t flags = bytes[5];
  header.version = bytes[3];
  header.known = header.version >= 2 && header.version <= 4;
  header.unsynchronised = (flags & 0x80) != 0;
  header.has_extended_header = header.version >= 3 && (flags & 0x40) != 0;
  header.has_footer = header.version >= 4 && (flags & 0x10) != 0;
  header.body_size = SyncSafe32(bytes.subspan(6));
  if (header.version == 2 && (flags & 0x40) != 0) header.known = false;
  return true;
}

Id3v2Body::Id3v2Body(CachedSource& file, int64_t begin, int64_t end, const Id3v2Header& header)
    : file_(file),
      position_(begin),
      end_(std::max(begin, end)),
      unsynchronised_(header.unsynchronised && header.version <= 3) {
  if (header.has_extended_header) SkipExtendedHeader(header.version);
}

/// The size counts itself in 2.4 and does not in 2.3. A frame name in its place means that the flag is wrong.
void Id3v2Body::SkipExtendedHeader(int version) {
  const auto first = Peek(0, 4);
  if (first.size() != 4 || (first[0] >= 'A' && first[0] <= 'Z')) return;
  std::array<char, 4> raw;
  const int64_t before = Left();
  if (!Read(raw)) return;
  const std::span<const uint8_t> size_bytes(reinterpret_cast<const uint8_t*>(raw.data()), raw.size());
  const uint32_t size = version == 3 ? BigEndian32(size_bytes) : SyncSafe32(size_bytes);
  const uint32_t rest = version == 3 ? size : size - std::min<uint32_t>(size, 4);
  if (rest <= before) Skip(rest);
}

/// Hands `count` bytes of the body to `sink` in pieces.
template <class Sink>
bool Id3v2Body::Pass(int64_t count, Sink&& sink) {
  while (count > 0) {
    if (position_ >= end_) return false;
    const auto piece = file_.At(position_, std::min<int64_t>(std::min(count, end_ - position_), 4096));
    if (piece.empty()) return false;
    position_ += static_cast<int64_t>(piece.size());
    for (size_t i = 0; i < piece.size();) {
      if (after_ff_ && piece[i] == 0) {
        after_ff_ = false;
        ++i;
        continue;
      }
      // Up to and including the next 0xFF.
      const auto from = piece.begin() + static_cast<std::ptrdiff_t>(i);
      const auto found = std::find(from, piece.end(), 0xFF);
      after_ff_ = found != piece.end();
      const auto length = static_cast<size_t>((after_ff_ ? found + 1 : found) - from);
      sink(piece.subspan(i, length));
      count -= static_cast<int64_t>(length);
      i += length;
    }
  }
  return true;
}

bool Id3v2Body::Read(std::span<char> room) {
  size_t done = 0;
  if (unsynchronised_) {
    return Pass(static_cast<int64_t>(room.size()), [&](std::span<const uint8_t> piece) {
      std::copy(piece.begin(), piece.end(), room.begin() + static_cast<std::ptrdiff_t>(done));
      done += piece.size();
    });
  }
  const auto bytes = file_.At(position_, std::min(static_cast<int64_t>(room.size()), Left()));
  if (bytes.size() != room.size()) return false;
  std::copy(bytes.begin(), bytes.end(), room.begin());
  position_ += static_cast<int64_t>(bytes.size());
  return true;
}

bool Id3v2Body::Append(uint32_t count, std::string& out) {
  const auto append = [&out](std::span<const uint8_t> piece) {
    out.append(reinterpret_cast<const char*>(piece.data()), piece.size());
  };
  if (unsynchronised_) return Pass(count, append);
  if (count == 0) return true;
  const auto bytes = file_.At(position_, std::min<int64_t>(count, Left()));
  if (bytes.size() != count) return false;
  append(bytes);
  position_ += count;
  return true;
}

void Id3v2Body::Skip(uint32_t count) {
  if (unsynchronised_)
    Pass(count, [](std::span<const uint8_t>) {});
  else
    position_ = std::min<int64_t>(position_ + count, end_);
}

std::span<const uint8_t> Id3v2Body::Peek(int64_t distance, int64_t count) const {
  if (distance > Left()) return {};
  return file_.At(position_ + distance, std::min(count, Left() - distance));
}

bool UnpackFrame(const Id3v2Header& header, uint8_t format_flags, std::string& bytes, size_t begin,
                 TagLimits& limits) {
  bool compressed = false;
  bool unsynchronised = false;
  size_t prefix = 0;
  if (header.version == 3) {
    if ((format_flags & 0x40) != 0) return false;
    compressed = (format_flags & 0x80) != 0;
    prefix = (compressed ? 4u : 0u) + ((format_flags & 0x20) != 0 ? 1u : 0u);
  } else if (header.version == 4) {
    if ((format_flags & 0x04) != 0) return false;
    compressed = (format_flags & 0x08) != 0;
    // Some programs mark the tag only, some the frames only.
    unsynchronised = header.unsynchronised || (format_flags & 0x02) != 0;
    prefix = ((format_flags & 0x40) != 0 ? 1u : 0u) + ((format_flags & 0x01) != 0 ? 4u : 0u);
  }
  if (bytes.size() - begin < prefix) return false;
  if (prefix != 0) bytes.erase(begin, prefix);
  if (unsynchronised) Resynchronise(bytes, begin);
  return !compressed || Inflate(bytes, begin, limits);
}

}  // namespace melorin
