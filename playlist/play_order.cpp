// SPDX-License-Identifier: MIT
#include "playlist/play_order.h"

#include <bit>
#include <cassert>
#include <numeric>
#include <utility>

namespace melorin {
namespace {

/// xoshiro128++ 1.0 by D. Blackman and S. Vigna, 2019, and SplitMix64 to seed it. It works on 32-bit words,
/// of which the 32-bit program does one shuffled entry in few instructions.
class Xoshiro128 {
 public:
  explicit Xoshiro128(uint64_t seed) {
    for (size_t i = 0; i < 4; i += 2) {
      seed += 0x9E3779B97F4A7C15u;
      uint64_t mixed = (seed ^ (seed >> 30)) * 0xBF58476D1CE4E5B9u;
      mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
      mixed ^= mixed >> 31;
      state_[i] = static_cast<uint32_t>(mixed);
      state_[i + 1] = static_cast<uint32_t>(mixed >> 32);
    }
  }

  uint32_t Next() {
    const uint32_t result = std::rotl(state_[0] + state_[3], 7) + state_[0];
    const uint32_t shifted = state_[1] << 9;
    state_[2] ^= state_[0];
    state_[3] ^= state_[1];
    state_[1] ^= state_[2];
    state_[0] ^= state_[3];
    state_[2] ^= shifted;
    state_[3] = std::rotl(state_[3], 11);
    return result;
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
  uint32_t state_[4] = {};
};

size_t InOrderNext(size_t count, std::optional<size_t> playing) {
  const size_t next = playing ? *playing + 1 : 0;
  return next < count ? next : 0;
}

}  // namespace

RandomSource SeededRandom(uint64_t seed) {
  return [generator = Xoshiro128(seed)](uint32_t bound) mutable { return generator.Below(bound); };
}

PlayMode PlayModeFrom(int32_t value) {
  return value >= 0 && value <= 4 ? static_cast<PlayMode>(value) : PlayMode::kInOrder;
}

RandomOrder::RandomOrder(RandomSource random) : random_(std::move(random)) {}

std::optional<size_t> RandomOrder::Next(size_t count, std::optional<size_t> playing) {
  if (count == 0) return std::nullopt;
  RebuildIfNeeded(count, playing);
  ++position_;
  return EntryAt(position_ % count);
}

std::optional<size_t> RandomOrder::Previous(size_t count, std::optional<size_t> playing) {
  if (count == 0) return std::nullopt;
  RebuildIfNeeded(count, playing);
  if (position_ < 1) position_ = count;
  --position_;
  return EntryAt(position_ % count);
}

void RandomOrder::Reset() {
  order_.clear();
  position_ = 0;
  shuffled_ = shuffle_end_ = 0;
}

void RandomOrder::RebuildIfNeeded(size_t count, std::optional<size_t> playing) {
  if (order_.size() == count && position_ < count) return;
  order_.resize(count);
  std::iota(order_.begin(), order_.end(), 0u);
  if (playing && *playing < count) {
    std::swap(order_[0], order_[*playing]);
    shuffled_ = 1;
    shuffle_end_ = count - 1;
  } else {
    shuffled_ = 0;
    shuffle_end_ = count;
  }
  position_ = 0;
}

uint32_t RandomOrder::EntryAt(size_t place) {
  for (; shuffled_ <= place && shuffled_ < shuffle_end_; ++shuffled_) {
    const auto bound = static_cast<uint32_t>(shuffle_end_ - shuffled_);
    const uint32_t step = random_(bound);
    assert(step < bound);
    std::swap(order_[shuffled_], order_[shuffled_ + step]);
  }
  return order_[place];
}

const std::vector<uint32_t>& RandomOrder::Order() {
  if (!order_.empty()) EntryAt(order_.size() - 1);
  return order_;
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
