// SPDX-License-Identifier: MIT
#include "playlist/play_list_item.h"

#include <algorithm>
#include <array>

#include "platform/file.h"
#include "platform/text.h"
#include "platform/thread.h"
#include "playlist/packed_tags.h"

namespace melorin {
namespace {

CriticalSection g_tags_lock;

/// Texts of an item stay for as long as the item does; what their makers reserved in advance is given back.
std::string Fitted(std::string text) {
  constexpr size_t kSlack = 16;
  if (text.capacity() > text.size() + kSlack) text.shrink_to_fit();
  return text;
}

/// The codec names that were set last, so that items share one text for each: a list knows only a few.
class RecentCodecs {
 public:
  std::shared_ptr<const std::string> Get(const std::string& codec_gbk) {
    if (codec_gbk.empty()) return nullptr;
    const Lock lock(lock_);
    for (const auto& codec : codecs_)
      if (codec && *codec == codec_gbk) return codec;
    next_ = (next_ + 1) % codecs_.size();
    return codecs_[next_] = std::make_shared<const std::string>(codec_gbk);
  }

 private:
  CriticalSection lock_;
  std::array<std::shared_ptr<const std::string>, 16> codecs_;
  size_t next_ = 0;
};

RecentCodecs& Codecs() {
  static RecentCodecs codecs;
  return codecs;
}

}  // namespace

PlayListItem::PlayListItem(std::string path_gbk, std::string title_gbk, int32_t duration_ms,
                           uint32_t subtrack)
    : path_gbk_(Fitted(std::move(path_gbk))),
      title_gbk_(Fitted(std::move(title_gbk))),
      duration_ms_(duration_ms),
      subtrack_(subtrack) {}

PlayListItem::~PlayListItem() = default;

void PlayListItem::AddRef() {
  references_.fetch_add(1, std::memory_order_relaxed);
}

void PlayListItem::Release() {
  // The count falls to 0 only under the cache's lock (ReleaseLast). So whatever the cache holds is alive for
  // as long as the lock is held, and whoever finds it there may add a reference.
  int32_t count = references_.load(std::memory_order_relaxed);
  while (count > 1)
    if (references_.compare_exchange_weak(count, count - 1, std::memory_order_release,
                                          std::memory_order_relaxed))
      return;
  ItemCache::ReleaseLast(this);
}

void PlayListItem::SetTitle(std::string title_gbk) {
  title_gbk_ = Fitted(std::move(title_gbk));
}

const std::string& PlayListItem::CodecGbk() const {
  static const std::string none;
  return codec_gbk_ ? *codec_gbk_ : none;
}

void PlayListItem::SetCodec(const std::string& codec_gbk) {
  codec_gbk_ = Codecs().Get(codec_gbk);
}

size_t PlayListItem::TagCount() const {
  const Lock lock(g_tags_lock);
  size_t count = 0;
  for (PackedTagReader reader(packed_tags_); reader.Next();)
    ++count;
  return count;
}

std::pair<std::string, std::string> PlayListItem::TagAt(size_t index) const {
  const Lock lock(g_tags_lock);
  for (PackedTagReader reader(packed_tags_); reader.Next(); --index)
    if (index == 0) return {std::string(reader.Name()), std::string(reader.Value())};
  return {};
}

std::string PlayListItem::TagValue(std::string_view name) const {
  const Lock lock(g_tags_lock);
  std::string_view value;
  for (PackedTagReader reader(packed_tags_); reader.Next();)
    if (EqualNoCaseUtf8(reader.Name(), name)) value = reader.Value();
  return std::string(value);
}

TagFields PlayListItem::Tags() const {
  const Lock lock(g_tags_lock);
  return UnpackTags(packed_tags_);
}

void PlayListItem::SetTag(std::string_view name, std::string_view value_utf8) {
  const Lock lock(g_tags_lock);
  TagFields tags = UnpackTags(packed_tags_);
  tags.Set(name, value_utf8, false);
  packed_tags_ = PackTags(tags);
}

void PlayListItem::SetTags(const TagFields& tags) {
  std::string packed = PackTags(tags);
  const Lock lock(g_tags_lock);
  packed_tags_.swap(packed);
}

std::string PlayListItem::PackedTags() const {
  const Lock lock(g_tags_lock);
  return packed_tags_;
}

void PlayListItem::SetPackedTags(std::string_view packed) {
  std::string exact(packed);
  const Lock lock(g_tags_lock);
  packed_tags_.swap(exact);
}

uint32_t PlayListItem::SubtrackNumber() const {
  if (subtrack_ != 0) return subtrack_;
  const std::string text = TagValue("Tracknumber");
  uint64_t number = 0;
  for (size_t i = std::min(text.find_first_not_of(" \t"), text.size()); i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') break;
    number = number * 10 + static_cast<uint64_t>(text[i] - '0');
    if (number > UINT32_MAX) return UINT32_MAX;
  }
  return static_cast<uint32_t>(number);
}

std::string DefaultTitleGbk(std::string_view path_gbk) {
  return std::string(PathFileName(path_gbk));
}

}  // namespace melorin
