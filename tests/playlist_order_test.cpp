// SPDX-License-Identifier: MIT
//
// Which entry follows: the five modes, the user's own next and previous, and the random order.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <vector>

#include "playlist/play_order.h"

namespace {

using namespace melorin;

using Index = std::optional<size_t>;
using Order = std::vector<uint32_t>;
using Action = AfterEnd::Action;

Order Sorted(Order order) {
  std::sort(order.begin(), order.end());
  return order;
}

Order Counted(size_t count) {
  Order order(count);
  std::iota(order.begin(), order.end(), 0u);
  return order;
}

TEST(PlayModes, AfterTheEndOfAnEntry) {
  struct Case {
    PlayMode mode;
    size_t count;
    Index playing;
    Action action;
    size_t index = 0;
  };
  const Case cases[] = {
      {PlayMode::kSingle, 3, 1, Action::kStop},       {PlayMode::kSingle, 0, {}, Action::kStop},
      {PlayMode::kRepeatOne, 3, 1, Action::kReplay},  {PlayMode::kRepeatOne, 0, {}, Action::kReplay},
      {PlayMode::kInOrder, 3, 1, Action::kPlay, 2},   {PlayMode::kInOrder, 3, 2, Action::kEndOfList},
      {PlayMode::kInOrder, 3, {}, Action::kPlay, 0},  {PlayMode::kInOrder, 0, {}, Action::kReplay},
      {PlayMode::kInOrder, 3, 7, Action::kEndOfList}, {PlayMode::kRepeatAll, 3, 1, Action::kPlay, 2},
      {PlayMode::kRepeatAll, 3, 2, Action::kPlay, 0}, {PlayMode::kRepeatAll, 0, {}, Action::kStop},
      {PlayMode::kRandom, 0, {}, Action::kStop},      {PlayMode::kRandom, 1, 0, Action::kPlay, 0},
      {PlayModeFrom(9), 3, 2, Action::kEndOfList},    {PlayModeFrom(-1), 3, 2, Action::kEndOfList},
      {PlayModeFrom(4), 1, 0, Action::kPlay, 0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    RandomOrder order(SeededRandom(1));
    const AfterEnd after = ChooseAfterEnd(c.mode, c.count, c.playing, order);
    EXPECT_EQ(after.action, c.action) << i;
    EXPECT_EQ(after.index, c.index) << i;
  }
}

TEST(PlayModes, TheUsersNextAndPreviousWrapInEveryMode) {
  struct Case {
    size_t count;
    Index playing, next, previous;
  };
  const Case cases[] = {{0, {}, {}, {}}, {0, 3, {}, {}}, {3, 0, 1, 2}, {3, 1, 2, 0},
                        {3, 2, 0, 1},    {3, {}, 0, 2},  {3, 9, 0, 2}, {1, 0, 0, 0}};
  RandomOrder order(SeededRandom(1));
  for (const PlayMode mode :
       {PlayMode::kSingle, PlayMode::kRepeatOne, PlayMode::kInOrder, PlayMode::kRepeatAll}) {
    for (const Case& c : cases) {
      EXPECT_EQ(ChooseNext(mode, c.count, c.playing, order), c.next);
      EXPECT_EQ(ChoosePrevious(mode, c.count, c.playing, order), c.previous);
    }
  }
  EXPECT_EQ(ChooseNext(PlayMode::kRandom, 0, 1, order), Index());
  EXPECT_EQ(ChoosePrevious(PlayMode::kRandom, 0, 1, order), Index());
}

TEST(RandomOrder, PlayingComesFirstAndTheLastPlaceKeepsItsEntry) {
  for (size_t count : {1u, 2u, 3u, 5u, 50u}) {
    for (size_t playing = 0; playing < count; ++playing) {
      for (uint64_t seed = 0; seed < 20; ++seed) {
        RandomOrder order(SeededRandom(seed));
        order.Next(count, playing);
        ASSERT_EQ(Sorted(order.Order()), Counted(count));
        ASSERT_EQ(order.Order().front(), playing);
        if (playing + 1 < count) {
          ASSERT_EQ(order.Order().back(), count - 1);
        } else if (count > 1) {
          ASSERT_EQ(order.Order().back(), 0u);  // What the exchange put there.
        }
      }
    }
  }
}

TEST(RandomOrder, EveryOrderOfWhatIsShuffledIsEquallyLikely) {
  // With a playing entry the two places in between, without one all four.
  RandomSource random = SeededRandom(7);
  for (const Index playing : {Index(1), Index(), Index(4)}) {
    std::map<Order, int> seen;
    const int rounds = 24000;
    for (int i = 0; i < rounds; ++i) {
      RandomOrder order([&](uint32_t bound) { return random(bound); });
      order.Next(4, playing);
      ++seen[order.Order()];
    }
    const size_t kinds = playing == Index(1) ? 2 : 24;
    ASSERT_EQ(seen.size(), kinds);
    for (const auto& [order, times] : seen)
      EXPECT_NEAR(times, rounds / static_cast<int>(kinds), 5 * 110);  // Over five deviations.
  }
}

TEST(RandomOrder, NextGivesEveryEntryOnceThenANewOrder) {
  RandomOrder order(SeededRandom(3));
  constexpr size_t kCount = 40;
  Index playing = 11;
  for (int round = 0; round < 3; ++round) {
    std::set<size_t> played;
    Order first_order;
    for (size_t step = 1; step <= kCount; ++step) {
      const Index next = order.Next(kCount, playing);
      ASSERT_TRUE(next);
      EXPECT_NE(*next, *playing);
      // Looked at in the last round only: looking makes the whole order, else it grows with the steps.
      if (round == 2) {
        if (step == 1) first_order = order.Order();
        EXPECT_EQ(order.Order(), first_order);
        EXPECT_EQ(*next, first_order[step % kCount]);
      }
      EXPECT_EQ(order.Position(), step);
      played.insert(*next);
      playing = next;
    }
    EXPECT_EQ(played.size(), kCount);
  }
}

TEST(RandomOrder, PreviousTakesBackNextAndWrapsBelowTheFirst) {
  RandomOrder order(SeededRandom(5));
  const Index start = 2;
  const Index one = order.Next(5, start);
  const Index two = order.Next(5, one);
  EXPECT_EQ(order.Previous(5, two), one);
  EXPECT_EQ(order.Previous(5, one), start);
  EXPECT_EQ(order.Position(), 0u);
  const Index last = order.Previous(5, start);
  EXPECT_EQ(last, Index(order.Order()[4]));
  EXPECT_EQ(order.Position(), 4u);
  EXPECT_EQ(order.Next(5, 4), start) << "past the last place comes the first";
}

TEST(RandomOrder, IsRebuiltWhenTheCountChangesOrItIsForgotten) {
  RandomOrder order(SeededRandom(5));
  order.Next(30, 2);
  const Order before = order.Order();
  order.Next(31, 7);
  EXPECT_EQ(Sorted(order.Order()), Counted(31));
  EXPECT_EQ(order.Order().front(), 7u);
  EXPECT_EQ(order.Position(), 1u);
  order.Reset();
  order.Next(31, 3);
  EXPECT_EQ(order.Order().front(), 3u);
  EXPECT_EQ(order.Next(0, {}), Index());
}

}  // namespace
