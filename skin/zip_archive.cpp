// SPDX-License-Identifier: MIT
#include "skin/zip_archive.h"

#include <zlib.h>

#include <algorithm>
#include <string_view>

#include "platform/text.h"
#include "skin/little_endian.h"

namespace melorin {
namespace {

constexpr uint32_t kLocalSignature = 0x04034B50;
constexpr uint32_t kCentralSignature = 0x02014B50;
constexpr uint32_t kEndSignature = 0x06054B50;
constexpr size_t kLocalSize = 30;
constexpr size_t kCentralSize = 46;
constexpr size_t kEndSize = 22;
constexpr size_t kLongestComment = 0xFFFF;

// What stands in a field whose value is in a ZIP64 record.
constexpr uint16_t kElsewhere16 = 0xFFFF;
constexpr uint32_t kElsewhere32 = 0xFFFFFFFF;

constexpr uint16_t kFlagEncrypted = 1 << 0;
constexpr uint16_t kFlagUtf8 = 1 << 11;
constexpr uint16_t kMethodStored = 0;
constexpr uint16_t kMethodDeflated = 8;
constexpr uint16_t kExtraUnicodePath = 0x7075;
constexpr uint8_t kMadeByUnix = 3;
constexpr uint8_t kMadeByDarwin = 19;

// 258 bytes from a length and a distance of one bit each.
constexpr uint64_t kMostFromADeflatedByte = 1032;

std::string_view AsText(std::span<const uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

uint32_t Crc(std::span<const uint8_t> bytes) {
  return static_cast<uint32_t>(crc32(0, bytes.data(), static_cast<uInt>(bytes.size())));
}

/// The name in the extra field that holds it in UTF-8; empty when there is none, or when some program that
/// does not know the field changed the name afterwards.
std::string_view UnicodePath(std::span<const uint8_t> extra, std::span<const uint8_t> name) {
  while (extra.size() >= 4) {
    const size_t size = Little16(extra, 2);
    if (size > extra.size() - 4) break;
    const auto field = extra.subspan(4, size);
    if (Little16(extra, 0) == kExtraUnicodePath && size > 5 && field[0] == 1 &&
        Little32(field, 1) == Crc(name) && IsValidUtf8(AsText(field.subspan(5))))
      return AsText(field.subspan(5));
    extra = extra.subspan(4 + size);
  }
  return {};
}

std::string NameGbk(std::span<const uint8_t> bytes, std::span<const uint8_t> extra, uint16_t flags,
                    uint8_t made_by) {
  const std::string_view name = AsText(bytes);
  if (IsAscii(name)) return std::string(name);
  const std::string_view unicode = UnicodePath(extra, bytes);
  if (!unicode.empty()) return GbkFromUtf8(unicode);
  // Many archives hold UTF-8 and do not say so; those of Unix programs hardly ever hold anything else. What
  // is text in both codes is taken as GBK elsewhere.
  const bool likely_utf8 =
      (flags & kFlagUtf8) != 0 || made_by == kMadeByUnix || made_by == kMadeByDarwin || !IsValidGbk(name);
  return likely_utf8 && IsValidUtf8(name) ? GbkFromUtf8(name) : std::string(name);
}

bool IsFolder(std::string_view name_gbk) {
  return FindLastGbk(name_gbk, '/') == name_gbk.size() - 1 ||
         FindLastGbk(name_gbk, '\\') == name_gbk.size() - 1;
}

bool Overlap(std::vector<std::span<const uint8_t>> ranges) {
  std::sort(ranges.begin(), ranges.end(), [](const auto& a, const auto& b) { return a.data() < b.data(); });
  for (size_t i = 1; i < ranges.size(); ++i)
    if (ranges[i - 1].data() + ranges[i - 1].size() > ranges[i].data()) return true;
  return false;
}

bool Inflate(std::span<const uint8_t> packed, std::vector<uint8_t>& out) {
  z_stream stream = {};
  if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return false;
  uint8_t none = 0;
  stream.next_in = const_cast<Bytef*>(packed.data());
  stream.avail_in = static_cast<uInt>(packed.size());
  stream.next_out = out.empty() ? &none : out.data();
  stream.avail_out = static_cast<uInt>(out.size());
  const int result = inflate(&stream, Z_FINISH);
  const bool whole = result == Z_STREAM_END && stream.avail_out == 0;
  inflateEnd(&stream);
  return whole;
}

}  // namespace

struct ZipArchive::Directory {
  std::span<const uint8_t> records;
  size_t count = 0;
  std::span<const uint8_t> files;  ///< What local offsets count from the start of, and where files may lie.
};

ZipResult ZipArchive::FindDirectory(std::span<const uint8_t> bytes, Directory& out) {
  if (bytes.size() < kEndSize) return ZipResult::kNoArchive;
  const size_t last = bytes.size() - kEndSize;
  const size_t first = last - std::min(last, kLongestComment);
  ZipResult result = ZipResult::kNoArchive;
  for (size_t end = last + 1; end-- > first;) {
    if (Little32(bytes, end) != kEndSignature) continue;
    if (Little16(bytes, end + 20) > last - end) continue;  // The comment of another one, by chance.
    const uint16_t count = Little16(bytes, end + 10);
    const uint32_t size = Little32(bytes, end + 12);
    const uint32_t offset = Little32(bytes, end + 16);
    const bool one_volume =
        Little16(bytes, end + 4) == 0 && Little16(bytes, end + 6) == 0 && Little16(bytes, end + 8) == count;
    if (!one_volume || count == kElsewhere16 || size == kElsewhere32 || offset == kElsewhere32) {
      result = ZipResult::kNotSupported;
      continue;
    }
    if (size > end || offset > end - size) continue;
    // Offsets count from the archive's start, or, when a program was put before it with care, from the
    // file's.
    for (const size_t start : {end - size, static_cast<size_t>(offset)}) {
      const auto records = bytes.subspan(start, size);
      if (count > 0 && (size < kCentralSize || Little32(records, 0) != kCentralSignature)) continue;
      out.records = records;
      out.count = count;
      out.files = bytes.subspan(start - offset, offset);
      return ZipResult::kOpened;
    }
  }
  return result;
}

ZipResult ZipArchive::Open(std::span<const uint8_t> bytes) {
  entries_.clear();
  Directory directory;
  const ZipResult found = FindDirectory(bytes, directory);
  if (found != ZipResult::kOpened) return found;
  if (directory.count > kMostEntries) return ZipResult::kNotSupported;

  std::vector<ZipEntry> entries;
  std::vector<std::span<const uint8_t>> ranges;
  uint64_t total = 0;
  std::span<const uint8_t> rest = directory.records;
  for (size_t i = 0; i < directory.count; ++i) {
    if (rest.size() < kCentralSize || Little32(rest, 0) != kCentralSignature) return ZipResult::kNoArchive;
    const uint8_t made_by = rest[5];
    const uint16_t flags = Little16(rest, 8);
    const uint16_t method = Little16(rest, 10);
    const uint32_t crc = Little32(rest, 16);
    const uint32_t packed_size = Little32(rest, 20);
    const uint32_t size = Little32(rest, 24);
    const size_t name_size = Little16(rest, 28);
    const size_t extra_size = Little16(rest, 30);
    const size_t comment_size = Little16(rest, 32);
    const uint32_t offset = Little32(rest, 42);
    if (rest.size() - kCentralSize < name_size + extra_size + comment_size) return ZipResult::kNoArchive;
    const auto name = rest.subspan(kCentralSize, name_size);
    const auto extra = rest.subspan(kCentralSize + name_size, extra_size);
    rest = rest.subspan(kCentralSize + name_size + extra_size + comment_size);

    if (packed_size == kElsewhere32 || size == kElsewhere32 || offset == kElsewhere32)
      return ZipResult::kNotSupported;
    ZipEntry entry;
    entry.name_gbk = NameGbk(name, extra, flags, made_by);
    if (entry.name_gbk.empty() || IsFolder(entry.name_gbk)) continue;
    if ((flags & kFlagEncrypted) != 0) return ZipResult::kNotSupported;
    if (method != kMethodStored && method != kMethodDeflated) return ZipResult::kNotSupported;
    total += size;
    if (total > kMostBytes) return ZipResult::kNotSupported;

    const auto files = directory.files;
    if (offset > files.size() || files.size() - offset < kLocalSize) return ZipResult::kNoArchive;
    const auto local = files.subspan(offset);
    if (Little32(local, 0) != kLocalSignature) return ZipResult::kNoArchive;
    const size_t data = kLocalSize + Little16(local, 26) + Little16(local, 28);
    if (data > local.size() || packed_size > local.size() - data) return ZipResult::kNoArchive;
    entry.packed = local.subspan(data, packed_size);
    entry.size = size;
    entry.crc = crc;
    entry.deflated = method == kMethodDeflated;
    ranges.push_back(local.first(data + packed_size));
    entries.push_back(std::move(entry));
  }
  // Files that share bytes are how a small archive unpacks to a huge one.
  if (Overlap(std::move(ranges))) return ZipResult::kNoArchive;
  entries_ = std::move(entries);
  return ZipResult::kOpened;
}

bool ZipArchive::Read(const ZipEntry& entry, size_t largest, std::vector<uint8_t>& out) {
  out.clear();
  const bool possible = entry.deflated ? entry.size <= entry.packed.size() * kMostFromADeflatedByte
                                       : entry.size == entry.packed.size();
  if (entry.size > largest || !possible) return false;
  bool whole = true;
  if (entry.deflated) {
    out.resize(entry.size);
    whole = Inflate(entry.packed, out);
  } else {
    out.assign(entry.packed.begin(), entry.packed.end());
  }
  whole = whole && Crc(out) == entry.crc;
  if (!whole) out.clear();
  return whole;
}

}  // namespace melorin
