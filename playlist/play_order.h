// SPDX-License-Identifier: MIT
//
// Which entry comes next: the five play modes, next and previous, and the random order. Plain functions over
// indexes; nothing here knows lists or streams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace melorin {

/// Values of the setting "PlayMode".
enum class PlayMode : int32_t {
  kSingle = 0,     ///< "单曲播放(&S)": stops at the end.
  kRepeatOne = 1,  ///< "单曲循环(&I)"
  kInOrder = 2,    ///< "顺序播放(&N)": stops after the last.
  kRepeatAll = 3,  ///< "循环播放(&C)"
  kRandom = 4,     ///< "随机播放(&R)"
};
/// Out of range: kInOrder.
PlayMode PlayModeFrom(int32_t value);

/// Returns a number from 0 up to but not including `bound` (>= 1).
using RandomSource = std::function<uint32_t(uint32_t bound)>;
/// A generator of good quality (not for secrets): every number below the bound is equally likely. The same
/// seed gives the same numbers; the application seeds from the clock. Copies go on by themselves.
RandomSource SeededRandom(uint64_t seed);

/// The order of random mode: a permutation of the playing list's indexes and a position in it. Rebuilt when
/// its size differs from the entry count or the position has left it. A step takes
/// well under 1 ms in a list of 100,000.
///
/// A rebuilt order stands at its first place, and the position moves before an entry is taken. So one round
/// of Next gives every entry once: those from the second place on, then the first; the step after that
/// rebuilds. Without a playing entry the whole order is shuffled. With one, that entry is exchanged with the
/// first place and the places in between are shuffled; the last place keeps what it has, which is deliberate.
class RandomOrder {
 public:
  explicit RandomOrder(RandomSource random);
  /// Moves on by one, rebuilding first when needed, and returns the entry there. `playing` comes first in a
  /// rebuilt order, so that it is not repeated at once. No entry when count is 0.
  std::optional<size_t> Next(size_t count, std::optional<size_t> playing);
  std::optional<size_t> Previous(size_t count, std::optional<size_t> playing);
  /// Forgets the order: the list's entries have changed places.
  void Reset();

  const std::vector<uint32_t>& Order();
  size_t Position() const { return position_; }

 private:
  void RebuildIfNeeded(size_t count, std::optional<size_t> playing);
  uint32_t EntryAt(size_t place);

  RandomSource random_;
  std::vector<uint32_t> order_;
  size_t position_ = 0;
  /// The shuffle fixes one place after the other, so it goes on only as far as places are asked for: those
  /// from shuffled_ up to but not including shuffle_end_ are still to come.
  size_t shuffled_ = 0;
  size_t shuffle_end_ = 0;
};

/// What follows when an entry has played to its end.
struct AfterEnd {
  enum class Action { kStop, kReplay, kPlay, kEndOfList } action = Action::kStop;
  size_t index = 0;  ///< With kPlay.
};
/// kReplay: the current entry again, also when the list is empty (kRepeatOne and kInOrder; the others stop).
/// kEndOfList: mode kInOrder has played the last one. Without a playing entry kInOrder and kRepeatAll begin
/// with the first.
AfterEnd ChooseAfterEnd(PlayMode mode, size_t count, std::optional<size_t> playing, RandomOrder& order);

/// The user's own next and previous; they always wrap. No entry when the list is empty.
std::optional<size_t> ChooseNext(PlayMode mode, size_t count, std::optional<size_t> playing,
                                 RandomOrder& order);
std::optional<size_t> ChoosePrevious(PlayMode mode, size_t count, std::optional<size_t> playing,
                                     RandomOrder& order);

}  // namespace melorin
