// SPDX-License-Identifier: MIT
//
// The cache is an open-addressed hash table of bare pointers with linear probing. It owns no reference: an
// item is in it from its creation until its count falls to 0, and both happen under the one lock.
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <random>

#include "platform/text.h"
#include "platform/thread.h"
#include "playlist/play_list_item.h"

namespace melorin {
namespace {

constexpr size_t kLeastSlots = 64;

constexpr std::array<uint8_t, 256> kLower = [] {
  std::array<uint8_t, 256> table{};
  for (size_t i = 0; i < table.size(); ++i)
    table[i] = static_cast<uint8_t>(i >= 'A' && i <= 'Z' ? i + ('a' - 'A') : i);
  return table;
}();

/// Reads a path in pieces of 8 bytes with its ASCII letters lowered; trail bytes of GBK characters stay.
class FoldedReader {
 public:
  explicit FoldedReader(std::string_view text)
      : at_(text.data()), end_(at_ + text.size()), last_word_(text.size() >= 8 ? end_ - 8 : nullptr) {}
  bool AtEnd() const { return at_ == end_; }

  uint64_t Take() {
    if (!after_lead_ && last_word_) {
      // Eight bytes, or those that are left, taken from the text's last eight.
      const auto past = static_cast<unsigned>(at_ > last_word_ ? at_ - last_word_ : 0);
      uint64_t ascii;
      std::memcpy(&ascii, at_ - past, sizeof ascii);
      ascii >>= 8 * past;
      if ((ascii & kHighBits) == 0) {
        at_ += 8 - past;
        return LowerAscii(ascii);
      }
    }
    uint64_t word = 0;
    for (unsigned shift = 0; shift < 64 && at_ != end_; shift += 8) {
      const auto byte = static_cast<uint8_t>(*at_++);
      word |= static_cast<uint64_t>(after_lead_ ? byte : kLower[byte]) << shift;
      // The last byte of a text is no lead, whatever it is.
      after_lead_ = !after_lead_ && IsGbkLead(byte) && at_ != end_;
    }
    return word;
  }

 private:
  static constexpr uint64_t kOnes = 0x0101010101010101;
  static constexpr uint64_t kHighBits = 0x80 * kOnes;

  /// Eight bytes below 0x80 at once: adding makes the top bit of those from 'A' on, and of those past 'Z'.
  static uint64_t LowerAscii(uint64_t word) {
    const uint64_t from_a = word + (0x80 - 'A') * kOnes;
    const uint64_t past_z = word + (0x80 - 'Z' - 1) * kOnes;
    return word | (((from_a & ~past_z) & kHighBits) >> 2);
  }

  const char* at_;
  const char* end_;
  const char* last_word_;  ///< Null when the text is shorter.
  bool after_lead_ = false;
};

/// Secret of the process: lists come from anywhere, and none should be able to fill one chain of the table.
struct HashSeed {
  uint32_t low = 0x53C5CA59;
  uint32_t high = 0x74743C1B;
  HashSeed() {
    try {
      std::random_device device;
      low ^= device();
      high ^= device();
    } catch (const std::exception&) {
      // Without one the hash is as good for everything but malice.
    }
  }
};

/// Multiplies halves of 32 bits, which the 32-bit program does in one instruction.
uint32_t HashOf(std::string_view path_gbk, uint32_t subtrack) {
  static const HashSeed seed;
  uint32_t low = seed.low ^ static_cast<uint32_t>(path_gbk.size());
  uint32_t high = seed.high ^ subtrack;
  const auto mix = [&](uint64_t word) {
    const uint64_t product = static_cast<uint64_t>(low ^ static_cast<uint32_t>(word)) *
                             static_cast<uint64_t>(high ^ static_cast<uint32_t>(word >> 32));
    low = static_cast<uint32_t>(product) ^ seed.low;
    high = static_cast<uint32_t>(product >> 32) ^ seed.high;
  };
  for (FoldedReader reader(path_gbk); !reader.AtEnd();)
    mix(reader.Take());
  mix(path_gbk.size());
  return low ^ high;
}

bool SamePath(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  if (a == b) return true;
  FoldedReader reader_a(a);
  FoldedReader reader_b(b);
  while (!reader_a.AtEnd())
    if (reader_a.Take() != reader_b.Take()) return false;
  return true;
}

class Table {
 public:
  size_t Size() const { return size_; }

  PlayListItem* Find(uint32_t hash, std::string_view path_gbk, uint32_t subtrack) const {
    if (capacity_ == 0) return nullptr;
    for (size_t i = hash & Mask(); slots_[i].item; i = (i + 1) & Mask()) {
      const Slot& slot = slots_[i];
      if (slot.hash == hash && slot.item->Subtrack() == subtrack && SamePath(slot.item->PathGbk(), path_gbk))
        return slot.item;
    }
    return nullptr;
  }

  /// Makes sure that the next Insert needs no memory.
  void MakeRoom() {
    if ((size_ + 1) * 3 > capacity_ * 2 && !Resize(capacity_ == 0 ? kLeastSlots : capacity_ * 2))
      throw std::bad_alloc();
  }

  void Insert(uint32_t hash, PlayListItem* item) {
    Place(Slot{hash, item});
    ++size_;
  }

  void Remove(uint32_t hash, const PlayListItem* item) {
    size_t hole = hash & Mask();
    while (slots_[hole].item != item)
      hole = (hole + 1) & Mask();
    // Moves back what the hole would hide from its searches.
    for (size_t i = (hole + 1) & Mask(); slots_[i].item; i = (i + 1) & Mask()) {
      const size_t home = slots_[i].hash & Mask();
      if (((i - home) & Mask()) < ((i - hole) & Mask())) continue;
      slots_[hole] = slots_[i];
      hole = i;
    }
    slots_[hole] = Slot{};
    --size_;
    if (capacity_ > kLeastSlots && size_ * 8 < capacity_)
      Resize(capacity_ / 4 < kLeastSlots ? kLeastSlots : capacity_ / 4);
  }

 private:
  struct Slot {
    uint32_t hash = 0;
    PlayListItem* item = nullptr;
  };

  size_t Mask() const { return capacity_ - 1; }

  void Place(Slot slot) {
    size_t i = slot.hash & Mask();
    while (slots_[i].item)
      i = (i + 1) & Mask();
    slots_[i] = slot;
  }

  bool Resize(size_t capacity) {
    std::unique_ptr<Slot[]> old(new (std::nothrow) Slot[capacity]);
    if (!old) return false;
    old.swap(slots_);
    const size_t old_capacity = std::exchange(capacity_, capacity);
    for (size_t i = 0; i < old_capacity; ++i)
      if (old[i].item) Place(old[i]);
    return true;
  }

  std::unique_ptr<Slot[]> slots_;
  size_t capacity_ = 0;  ///< A power of two, or 0.
  size_t size_ = 0;
};

struct Cache {
  CriticalSection lock;
  Table table;
};

/// Never destroyed: items may be released by destructors of static objects.
Cache& TheCache() {
  static Cache& cache = *new Cache;
  return cache;
}

}  // namespace

ItemRef ItemCache::Obtain(std::string path_gbk, std::string title_gbk, int32_t duration_ms,
                          uint32_t subtrack) {
  const uint32_t hash = HashOf(path_gbk, subtrack);
  Cache& cache = TheCache();
  const Lock lock(cache.lock);
  if (PlayListItem* item = cache.table.Find(hash, path_gbk, subtrack)) return ItemRef::Share(item);
  cache.table.MakeRoom();
  auto* item = new PlayListItem(std::move(path_gbk), std::move(title_gbk), duration_ms, subtrack);
  item->path_hash_ = hash;
  cache.table.Insert(hash, item);
  return ItemRef::Adopt(item);
}

ItemRef ItemCache::Find(std::string_view path_gbk, uint32_t subtrack) {
  const uint32_t hash = HashOf(path_gbk, subtrack);
  Cache& cache = TheCache();
  const Lock lock(cache.lock);
  return ItemRef::Share(cache.table.Find(hash, path_gbk, subtrack));
}

size_t ItemCache::Size() {
  Cache& cache = TheCache();
  const Lock lock(cache.lock);
  return cache.table.Size();
}

void ItemCache::ReleaseLast(PlayListItem* item) {
  Cache& cache = TheCache();
  {
    const Lock lock(cache.lock);
    // Somebody may have found the item meanwhile.
    if (item->references_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    cache.table.Remove(item->path_hash_, item);
  }
  delete item;
}

}  // namespace melorin
