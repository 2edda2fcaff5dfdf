// SPDX-License-Identifier: MIT
//
// The hand-over between instances: several senders, a first instance that dies, a mapping that lies.
// Instances are threads here, since the mutexes belong to threads.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

#include "app/single_instance.h"

namespace melorin {
namespace {

using Role = SingleInstance::Role;

std::u16string UniqueName() {
  static int number = 0;
  const std::string name =
      "MelorinTest" + std::to_string(GetCurrentProcessId()) + "." + std::to_string(++number);
  return std::u16string(name.begin(), name.end());
}

TEST(AppSingleInstance, EverySenderIsHeardOnce) {
  const std::u16string name = UniqueName();
  SingleInstance first(name);
  ASSERT_EQ(first.Enter(u""), Role::kFirst);
  std::mutex lock;
  std::multiset<std::u16string> heard;
  ASSERT_TRUE(first.Listen([&](std::u16string text) {
    const std::lock_guard hold(lock);
    std::string answer(text.begin(), text.end());
    heard.insert(std::move(text));
    return answer;
  }));
  std::multiset<std::u16string> sent;
  std::atomic<int> handed_over{0};
  std::vector<std::thread> senders;
  for (char16_t c = u'a'; c < u'i'; ++c) {
    const std::u16string text(1000u * (c - u'a'), c);
    sent.insert(text);
    senders.emplace_back([&, text] {
      SingleInstance second(name);
      if (second.Enter(text) != Role::kHandedOver) return;
      ++handed_over;
      // Each gets the answer to its own.
      EXPECT_EQ(second.Answer(), std::string(text.begin(), text.end()));
    });
  }
  for (std::thread& sender : senders)
    sender.join();
  first.StopListening();
  EXPECT_EQ(handed_over, 8);
  EXPECT_EQ(heard, sent);
}

TEST(AppSingleInstance, ADeadFirstInstanceIsReplaced) {
  const std::u16string name = UniqueName();
  // Kept alive beyond its thread: the mutex is then abandoned, as after a crash.
  SingleInstance dead(name);
  std::thread([&] { ASSERT_EQ(dead.Enter(u""), Role::kFirst); }).join();
  SingleInstance next(name);
  EXPECT_EQ(next.Enter(u"x"), Role::kFirst);
}

TEST(AppSingleInstance, AFirstInstanceThatEndsWhileAskedIsReplaced) {
  const std::u16string name = UniqueName();
  std::thread sender;
  std::atomic<Role> role{Role::kNotTaken};
  {
    SingleInstance first(name);
    ASSERT_EQ(first.Enter(u""), Role::kFirst);
    std::atomic<bool> asked{false};
    ASSERT_TRUE(first.Listen([&](std::u16string) {
      asked = true;
      return std::nullopt;
    }));
    sender = std::thread([&] {
      SingleInstance second(name);
      role = second.Enter(u"x");
    });
    while (!asked)
      Sleep(1);
  }
  sender.join();
  EXPECT_EQ(role, Role::kFirst);
}

TEST(AppSingleInstance, ASilentFirstInstanceIsNotWaitedForLongerThanAsked) {
  const std::u16string name = UniqueName();
  SingleInstance first(name);
  ASSERT_EQ(first.Enter(u""), Role::kFirst);
  std::thread([&] {
    SingleInstance second(name);
    const DWORD start = GetTickCount();
    EXPECT_EQ(second.Enter(u"x", 200), Role::kNotTaken);
    EXPECT_LT(GetTickCount() - start, 2000u);
    SingleInstance third(name);
    EXPECT_EQ(third.Enter(std::u16string(InstanceBlock::kCapacity + 1, u'x')), Role::kNotTaken);
  }).join();
}

TEST(AppSingleInstance, LengthsInTheMappingAreNotTrusted) {
  auto block = std::make_unique<InstanceBlock>();
  block->length = 0xFFFFFFFF;
  std::fill(std::begin(block->text), std::end(block->text), u'x');
  EXPECT_EQ(ReadHandedOver(*block).size(), InstanceBlock::kCapacity);
  block->text[3] = u'\0';
  EXPECT_EQ(ReadHandedOver(*block), u"xxx");
  block->answer_length = 0xFFFFFFFF;
  EXPECT_EQ(ReadAnswer(*block).size(), InstanceBlock::kAnswerCapacity);
}

TEST(AppSingleInstance, ALateAnswerIsNotTakenForThatOfTheNext) {
  const std::u16string name = UniqueName();
  SingleInstance first(name);
  ASSERT_EQ(first.Enter(u""), Role::kFirst);
  std::atomic<bool> slow{true};
  ASSERT_TRUE(first.Listen([&](std::u16string text) {
    while (slow)
      Sleep(1);
    return std::string(text.begin(), text.end());
  }));
  std::thread([&] {
    SingleInstance second(name);
    EXPECT_EQ(second.Enter(u"given up", 100), Role::kNotTaken);
    EXPECT_EQ(second.Answer(), "");
    std::thread release([&] {
      Sleep(100);
      slow = false;
    });
    SingleInstance third(name);
    EXPECT_EQ(third.Enter(u"next"), Role::kHandedOver);
    EXPECT_EQ(third.Answer(), "next");
    SingleInstance fourth(name);
    EXPECT_EQ(fourth.Enter(u""), Role::kHandedOver);
    EXPECT_EQ(fourth.Answer(), "");
    SingleInstance fifth(name);
    EXPECT_EQ(fifth.Enter(std::u16string(InstanceBlock::kCapacity, u'x')), Role::kHandedOver);
    EXPECT_EQ(fifth.Answer().size(), InstanceBlock::kCapacity);
    release.join();
  }).join();
  first.StopListening();
}

}  // namespace
}  // namespace melorin
