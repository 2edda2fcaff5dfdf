// SPDX-License-Identifier: MIT
#include "playlist/play_order.h"

#include <cassert>
#include <numeric>
#include <utility>

namespace melorin {
namespace {

/// PCG-XSH-RR 64/32: M. E. O'Neill, "PCG: A Family of Simple Fast Space-Efficient Statistically Good
/// Algorithms for Random Number Generation", 2014.
class Pcg32 {
 public:
  explicit Pcg32(uint64_t seed) {
    Step();
    state_ += seed;
    Step();
  }

  uint32_t Next() {
    const uint64_t state = state_;
    Step();
    const auto mixed = static_cast<uint32_t>(((state >> 18) ^ state) >> 27);
    const auto rotation = static_cast<uint32_t>(state >> 59);
    return (mixed >> rotation) | (mixed << ((32 - rotation) & 31));
  }

  /// D. Lemire, "Fast Random Integer Generation in an Interval", 2019: no bias, and hardly ever a division.
  uint32_t Below(uint32_t bound) {
    uint64_t product = static_cast<uint64_t>(Next()) * bound;
    if (static_cast<uint32_t>(product) < bound) {
      const uint32_t least = (0 - bound) % bound;
      while (static_cast<uint32_t>(product) < least)
        product = static_cast<uint64_t>(Next()) * bound;
    }
    return static_cast<uint32_t>(product >> 32);
  }

 private:
  void Step() { state_ = state_ * 6364136223846793005u + 1442695040888963407u; }

  uint64_t state_ = 0;
};

/// The places from `begin` up to but not including `end`; every order is equally likely.
void Shuffle(std::vector<uint32_t>& order, size_t begin, size_t end, const RandomSource& random) {
  for (size_t i = begin; i + 1 < end; ++i) {
    const uint32_t step = random(static_cast<uint32_t>(end - i));
    assert(step < end - i);
    std::swap(order[i], order[i + step]);
  }
}

size_t InOrderNext(size_t count, std::optional<size_t> playing) {
  const size_t next = playing ? *playing + 1 : 0;
  return next < count ? next : 0;
}

}  // namespace

RandomSource SeededRandom(uint64_t seed) {
  return [generator = Pcg32(seed)](uint32_t bound) mutable { return generator.Below(bound); };
}

PlayMode PlayModeFrom(int32_t value) {
  return value >= 0 && value <= 4 ? static_cast<PlayMode>(value) : PlayMode::kInOrder;
}

RandomOrder::RandomOrder(RandomSource random) : random_(std::move(random)) {}

std::optional<size_t> RandomOrder::Next(size_t count, std::optional<size_t> playing) {
  if (count == 0) return std::nullopt;
  RebuildIfNeeded(count, playing);
  ++position_;
  return order_[position_ % count];
}

std::optional<size_t> RandomOrder::Previous(size_t count, std::optional<size_t> playing) {
  if (count == 0) return std::nullopt;
  RebuildIfNeeded(count, playing);
  if (position_ < 1) position_ = count;
  --position_;
  return order_[position_ % count];
}

void RandomOrder::Reset() {
  order_.clear();
  position_ = 0;
}

void RandomOrder::RebuildIfNeeded(size_t count, std::optional<size_t> playing) {
  if (order_.size() == count && position_ < count) return;
  order_.resize(count);
  std::iota(order_.begin(), order_.end(), 0u);
  if (playing && *playing < count) {
    std::swap(order_[0], order_[*playing]);
    Shuffle(order_, 1, count - 1, random_);
  } else {
    Shuffle(order_, 0, count, random_);
  }
  position_ = 0;
}

AfterEnd ChooseAfterEnd(PlayMode mode, size_t count, std::optional<size_t> playing, RandomOrder& order) {
  using Action = AfterEnd::Action;
  switch (mode) {
    case PlayMode::kSingle:
      return {Action::kStop};
    case PlayMode::kRepeatOne:
      return {Action::kReplay};
    case PlayMode::kInOrder:
      if (count == 0) return {Action::kReplay};
      if (playing && *playing + 1 >= count) return {Action::kEndOfList};
      return {Action::kPlay, InOrderNext(count, playing)};
    case PlayMode::kRepeatAll:
      if (count == 0) return {Action::kStop};
      return {Action::kPlay, InOrderNext(count, playing)};
    case PlayMode::kRandom:
      if (const auto next = order.Next(count, playing)) return {Action::kPlay, *next};
      return {Action::kStop};
  }
  return {Action::kStop};
}

std::optional<size_t> ChooseNext(PlayMode mode, size_t count, std::optional<size_t> playing,
                                 RandomOrder& order) {
  if (count == 0) return std::nullopt;
  if (mode == PlayMode::kRandom) return order.Next(count, playing);
  return InOrderNext(count, playing);
}

std::optional<size_t> ChoosePrevious(PlayMode mode, size_t count, std::optional<size_t> playing,
                                     RandomOrder& order) {
  if (count == 0) return std::nullopt;
  if (mode == PlayMode::kRandom) return order.Previous(count, playing);
  return playing && *playing >= 1 && *playing <= count ? *playing - 1 : count - 1;
}

}  // namespace melorin
