// SPDX-License-Identifier: MIT
//
// PageTask: work that a page has done on a thread of its own, with the results brought back to the UI thread,
// unless the page is gone by then or has asked for something else since.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "app/options/options_host.h"
#include "app/worker.h"

namespace melorin {

/// Thread: the UI thread. The destructor waits for what is under way, which is told to end early.
class PageTask {
 public:
  explicit PageTask(OptionsHost& host) : host_(host) {}
  PageTask(const PageTask&) = delete;
  PageTask& operator=(const PageTask&) = delete;

  /// `work` runs on the thread, `done` gets its result on the UI thread. Ends what ran before.
  template <class Result>
  void Run(std::function<Result(const std::atomic<bool>& stop)> work, std::function<void(Result)> done) {
    RunSteps(
        [work = std::move(work), done = std::move(done)](const std::atomic<bool>& stop, const Post& post) {
          auto result = std::make_shared<Result>(work(stop));
          post([result, done] { done(std::move(*result)); });
        });
  }

  /// Brings something to the UI thread while the work goes on. Thread: the work's.
  using Post = std::function<void(std::function<void()>)>;
  void RunSteps(std::function<void(const std::atomic<bool>& stop, const Post& post)> work) {
    worker_.Stop();
    ticket_ = std::make_shared<int>();
    worker_.Start([&host = host_, ticket = std::weak_ptr<int>(ticket_),
                   work = std::move(work)](const std::atomic<bool>& stop) {
      work(stop, [&host, ticket](std::function<void()> step) {
        host.PostTask([ticket, step = std::move(step)] {
          if (!ticket.expired()) step();
        });
      });
    });
  }

 private:
  OptionsHost& host_;
  std::shared_ptr<int> ticket_;  ///< Of the work whose results are wanted.
  Worker worker_;
};

}  // namespace melorin
