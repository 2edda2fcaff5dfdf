// SPDX-License-Identifier: MIT
//
// Every entry's text is turned once into bytes that memcmp puts in order; all lie in one block. The first
// eight are kept as a number beside the entry's index, so most comparisons touch nothing else.
#include "playlist/list_sort.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "platform/text.h"

namespace melorin {
namespace {

constexpr bool IsDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}

/// Takes one character from the front: an ASCII one lowered and with `lead` 0, else both bytes.
struct FoldedChar {
  unsigned char lead = 0;
  unsigned char last = 0;
};
FoldedChar TakeChar(std::string_view& text) {
  const auto first = static_cast<unsigned char>(text.front());
  if (IsGbkLead(first) && text.size() > 1) {
    const auto trail = static_cast<unsigned char>(text[1]);
    text.remove_prefix(2);
    if (first == 0xA1 && trail == 0xA1) return {0, ' '};
    if (first != 0xA3 || trail < 0xA1) return {first, trail};
    const auto ascii = static_cast<unsigned char>(trail - 0x80);
    return {0, static_cast<unsigned char>(ascii >= 'A' && ascii <= 'Z' ? ascii + 32 : ascii)};
  }
  text.remove_prefix(1);
  return {0, static_cast<unsigned char>(first >= 'A' && first <= 'Z' ? first + 32 : first)};
}

/// `at` is the place of the first digit; writes "0", the number of digits that count, and these.
void AppendNumber(std::string& out, unsigned char first_digit, std::string_view& text) {
  out += '0';
  const size_t length_at = out.size();
  out += '\0';
  if (first_digit != '0') out += static_cast<char>(first_digit);
  for (std::string_view rest = text; !rest.empty(); text = rest) {
    const FoldedChar c = TakeChar(rest);
    if (c.lead != 0 || !IsDigit(c.last)) break;
    if (out.size() == length_at + 1 && c.last == '0') continue;
    // A number of 255 digits and more is no number any more; its rest compares as text.
    if (out.size() - length_at - 1 == 254) break;
    out += static_cast<char>(c.last);
  }
  out[length_at] = static_cast<char>(out.size() - length_at - 1);
}

struct Record {
  uint64_t prefix;
  uint32_t index;
  uint32_t key_begin;
  uint32_t key_size;
  bool empty;
};

class TextKeys {
 public:
  explicit TextKeys(size_t count) {
    records_.reserve(count);
    block_.reserve(count * 32);
  }

  void Add(std::string_view gbk) {
    Record record{};
    record.index = static_cast<uint32_t>(records_.size());
    record.key_begin = static_cast<uint32_t>(block_.size());
    AppendNaturalKey(gbk, block_);
    record.empty = gbk.empty();
    record.key_size = static_cast<uint32_t>(block_.size() - record.key_begin);
    for (size_t i = 0; i < 8; ++i) {
      const unsigned char byte =
          i < record.key_size ? static_cast<unsigned char>(block_[record.key_begin + i]) : 0;
      record.prefix = record.prefix << 8 | byte;
    }
    records_.push_back(record);
  }

  std::vector<uint32_t> Order() {
    std::sort(records_.begin(), records_.end(),
              [this](const Record& a, const Record& b) { return Less(a, b); });
    std::vector<uint32_t> order;
    order.reserve(records_.size());
    for (const Record& record : records_)
      order.push_back(record.index);
    return order;
  }

 private:
  bool Less(const Record& a, const Record& b) const {
    if (a.empty != b.empty) return b.empty;
    if (a.prefix != b.prefix) return a.prefix < b.prefix;
    const size_t common = std::min(a.key_size, b.key_size);
    const int result = std::memcmp(block_.data() + a.key_begin, block_.data() + b.key_begin, common);
    if (result != 0) return result < 0;
    if (a.key_size != b.key_size) return a.key_size < b.key_size;
    return a.index < b.index;
  }

  std::vector<Record> records_;
  std::string block_;
};

void AddShownTitle(TextKeys& keys, const PlayListItem& item, const ShownTitle& shown_title) {
  if (shown_title) {
    keys.Add(GbkFromUtf16(shown_title(item)));
  } else if (item.TitleGbk().empty()) {
    keys.Add(DefaultTitleGbk(item.PathGbk()));
  } else {
    keys.Add(item.TitleGbk());
  }
}

std::vector<uint32_t> OrderByText(const Playlist& list, SortKey key, const ShownTitle& shown_title) {
  TextKeys keys(list.Size());
  for (const ItemRef& item : list.Items()) {
    switch (key) {
      case SortKey::kArtist:
        keys.Add(GbkFromUtf8(item->TagValue("Artist")));
        break;
      case SortKey::kAlbum:
        keys.Add(GbkFromUtf8(item->TagValue("Album")));
        break;
      case SortKey::kPath:
        keys.Add(item->PathGbk());
        break;
      default:
        AddShownTitle(keys, *item, shown_title);
    }
  }
  return keys.Order();
}

/// `value` gives a number from 0; negative: not known.
template <class Value>
std::vector<uint32_t> OrderByNumber(const Playlist& list, Value value) {
  std::vector<uint64_t> keyed;
  keyed.reserve(list.Size());
  for (size_t i = 0; i < list.Size(); ++i) {
    const int64_t number = value(*list.At(i));
    keyed.push_back((number < 0 ? UINT32_MAX : static_cast<uint64_t>(number)) << 32 | i);
  }
  std::sort(keyed.begin(), keyed.end());
  std::vector<uint32_t> order;
  order.reserve(keyed.size());
  for (const uint64_t entry : keyed)
    order.push_back(static_cast<uint32_t>(entry));
  return order;
}

std::vector<uint32_t> Counted(size_t count) {
  std::vector<uint32_t> order(count);
  std::iota(order.begin(), order.end(), 0u);
  return order;
}

}  // namespace

void AppendNaturalKey(std::string_view gbk, std::string& out) {
  while (!gbk.empty()) {
    const FoldedChar c = TakeChar(gbk);
    if (c.lead == 0 && IsDigit(c.last)) {
      AppendNumber(out, c.last, gbk);
      continue;
    }
    if (c.lead != 0) out += static_cast<char>(c.lead);
    out += static_cast<char>(c.last);
  }
}

ListEdit SortList(Playlist& list, SortKey key, const ShownTitle& shown_title) {
  if (key == SortKey::kDuration)
    return ApplyOrder(list, OrderByNumber(list, [](const PlayListItem& item) { return item.DurationMs(); }));
  if (key == SortKey::kTrackNumber) {
    return ApplyOrder(list, OrderByNumber(list, [](const PlayListItem& item) {
                        return static_cast<int64_t>(item.SubtrackNumber()) - 1;
                      }));
  }
  return ApplyOrder(list, OrderByText(list, key, shown_title));
}

ListEdit ReverseList(Playlist& list) {
  std::vector<uint32_t> order = Counted(list.Size());
  std::reverse(order.begin(), order.end());
  return ApplyOrder(list, order);
}

ListEdit ShuffleList(Playlist& list, const RandomSource& random) {
  std::vector<uint32_t> order = Counted(list.Size());
  for (size_t i = order.size(); i > 1; --i)
    std::swap(order[i - 1], order[random(static_cast<uint32_t>(i))]);
  return ApplyOrder(list, order);
}

}  // namespace melorin
