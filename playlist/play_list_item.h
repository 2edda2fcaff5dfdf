// SPDX-License-Identifier: MIT
//
// PlayListItem: one playable file, or one track of a file. Items are shared: the same file and subtrack is
// one object however many lists hold it, so what was read once serves every entry. ItemCache makes them.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/com_ptr.h"
#include "tags/tag_set.h"

namespace melorin {

/// The four numbers that lists keep of a file's format.
struct StreamFormat {
  uint32_t sample_rate = 0;  ///< Hz.
  uint16_t channels = 0;
  uint16_t bits = 0;      ///< Of a sample, as the source reports it.
  uint32_t bit_rate = 0;  ///< Bits a second.
  bool operator==(const StreamFormat&) const = default;
};

inline constexpr int32_t kUnknownDuration = -2;

/// Path and subtrack never change: they are the item's identity. Everything else is used on the UI thread,
/// but for the tags and the count, which any thread may use: tags are guarded by one lock for all items.
class PlayListItem {
 public:
  void AddRef();
  /// The last one takes the item out of the cache and deletes it. Thread: any.
  void Release();
  /// True when the caller's reference is the only one: nobody else wants the item. Others may come to it at
  /// any time, through the cache. Thread: any.
  bool HasOneReference() const { return references_.load(std::memory_order_acquire) == 1; }

  const std::string& PathGbk() const { return path_gbk_; }
  uint32_t Subtrack() const { return subtrack_; }  ///< 0: the whole file.

  const std::string& TitleGbk() const { return title_gbk_; }  ///< Empty until known.
  void SetTitle(std::string title_gbk);
  int32_t DurationMs() const { return duration_ms_; }  ///< kUnknownDuration until known.
  void SetDuration(int32_t duration_ms) { duration_ms_ = duration_ms; }
  const std::string& CodecGbk() const;  ///< "short|long"; empty until known.
  void SetCodec(const std::string& codec_gbk);
  const StreamFormat& Format() const { return format_; }
  void SetFormat(const StreamFormat& format) { format_ = format; }
  uint32_t TimeStamp() const { return time_stamp_; }  ///< FileTimeStamp when it was read; 0: not read.
  void SetTimeStamp(uint32_t time_stamp) { time_stamp_ = time_stamp; }

  /// Tags, values in UTF-8, names compared without case. Every call holds the lock of all items' tags.
  size_t TagCount() const;
  /// Name and value; two empty texts past the last.
  std::pair<std::string, std::string> TagAt(size_t index) const;
  std::string TagValue(std::string_view name) const;  ///< Empty when there is none.
  TagFields Tags() const;                             ///< All, as one copy.
  void SetTag(std::string_view name, std::string_view value_utf8);
  void SetTags(const TagFields& tags);
  /// All as one block (packed_tags.h), for those who handle many items.
  std::string PackedTags() const;
  void SetPackedTags(std::string_view packed);

  /// The subtrack, or when it is 0 the number at the start of the tag "Tracknumber"; 0 when there is none.
  uint32_t SubtrackNumber() const;

  PlayListItem(const PlayListItem&) = delete;
  PlayListItem& operator=(const PlayListItem&) = delete;

 private:
  friend class ItemCache;
  PlayListItem(std::string path_gbk, std::string title_gbk, int32_t duration_ms, uint32_t subtrack);
  ~PlayListItem();

  std::atomic<int32_t> references_{1};
  uint32_t path_hash_ = 0;  ///< The cache's.
  std::string path_gbk_;
  std::string title_gbk_;
  std::shared_ptr<const std::string> codec_gbk_;  ///< Shared: whole lists have the same.
  int32_t duration_ms_ = kUnknownDuration;
  uint32_t subtrack_ = 0;
  StreamFormat format_;
  uint32_t time_stamp_ = 0;
  std::string packed_tags_;  ///< One block for all (packed_tags.h): a list of 100,000 holds many.
};

using ItemRef = ComPtr<PlayListItem>;

/// Makes sure that there is one item for a file and subtrack in the whole process. An item leaves the cache
/// with its last reference, so lists that are closed cost nothing. Lookups take constant time: lists of
/// 100,000 entries are loaded through it.
class ItemCache {
 public:
  /// The item of that path (compared without case) and subtrack: the one there is, with its own title and
  /// duration, else a new one. Thread: any. Throws std::bad_alloc only.
  static ItemRef Obtain(std::string path_gbk, std::string title_gbk, int32_t duration_ms, uint32_t subtrack);
  /// Null when there is none.
  static ItemRef Find(std::string_view path_gbk, uint32_t subtrack);
  static size_t Size();

 private:
  friend class PlayListItem;
  /// Gives back what may be the last reference.
  static void ReleaseLast(PlayListItem* item);
};

/// The file-name part of a path, which stands for a title that is not known.
std::string DefaultTitleGbk(std::string_view path_gbk);

}  // namespace melorin
