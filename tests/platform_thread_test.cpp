// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>

#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "platform/thread.h"

namespace melorin {
namespace {

TEST(Event, AutoResetLetsOneThrough) {
  Event event(Event::Mode::kAutoReset);
  event.Set();
  EXPECT_TRUE(event.Wait(0));
  EXPECT_FALSE(event.Wait(0));
  Event manual(Event::Mode::kManualReset);
  manual.Set();
  EXPECT_TRUE(manual.Wait(0));
  EXPECT_TRUE(manual.Wait(0));
  manual.Reset();
  const uint32_t start = SystemClock().TickMs();
  EXPECT_FALSE(manual.Wait(30));
  EXPECT_GE(SystemClock().TickMs() - start, 25u);
}

TEST(Thread, RunsWithAnAlignedStack) {
  Event done(Event::Mode::kManualReset);
  std::atomic<uintptr_t> misalignment{1};
  Thread thread;
  ASSERT_TRUE(thread.Start([&] {
    alignas(16) volatile float block[4] = {};
    misalignment = reinterpret_cast<uintptr_t>(&block) % 16;
    done.Set();
  }));
  EXPECT_TRUE(thread.SetPriority(2));
  EXPECT_FALSE(thread.SetPriority(77));
  EXPECT_TRUE(done.Wait(5000));
  thread.Join();
  EXPECT_FALSE(thread.Running());
  EXPECT_EQ(misalignment, 0u);
}

class Counted final : public ComObject<IUnknown> {
 public:
  explicit Counted(int& alive) : alive_(alive) { ++alive_; }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }

 private:
  ~Counted() override { --alive_; }
  int& alive_;
};

TEST(ComPtr, ReleasesExactlyOnce) {
  int alive = 0;
  {
    auto first = ComPtr<Counted>::Adopt(new Counted(alive));
    ComPtr<Counted> second = first;
    const ComPtr<Counted>& alias = second;
    second = alias;  // Assigning to itself must not drop the object.
    first.Reset();
    ComPtr<Counted> third = std::move(second);
    EXPECT_EQ(alive, 1);
    Counted* raw = third.Detach();
    EXPECT_EQ(raw->Release(), 0u);
  }
  EXPECT_EQ(alive, 0);
}

}  // namespace
}  // namespace melorin
