// SPDX-License-Identifier: MIT
#include "playlist/info_reader.h"

#include <new>
#include <utility>

#include "platform/text.h"

namespace melorin {
namespace {

constexpr int kLowestPriority = -2;
constexpr size_t kMostFailures = 50000;

}  // namespace

ReadInfoMode ReadInfoModeFrom(int32_t value) {
  return value >= 0 && value <= 2 ? static_cast<ReadInfoMode>(value) : ReadInfoMode::kWhenShown;
}

InfoReader::InfoReader(ReadFunction read, StampFunction stamp, NotifyFunction notify)
    : read_(std::move(read)), stamp_(std::move(stamp)), notify_(std::move(notify)) {}

InfoReader::~InfoReader() {
  Stop();
}

bool InfoReader::Start() {
  if (thread_.Running()) return true;
  {
    const Lock lock(lock_);
    stop_ = false;
  }
  if (!thread_.Start([this] { Run(); })) return false;
  thread_.SetPriority(kLowestPriority);
  return true;
}

void InfoReader::Stop() {
  {
    const Lock lock(lock_);
    stop_ = true;
  }
  wake_.Set();
  thread_.Join();
  Clear();
}

void InfoReader::Enqueue(const ItemRef& item, Again again) {
  {
    const Lock lock(lock_);
    EnqueueAt(queue_.end(), item, again);
  }
  wake_.Set();
}

void InfoReader::EnqueueShown(std::span<const ItemRef> items) {
  {
    const Lock lock(lock_);
    for (size_t i = items.size(); i-- > 0;)
      EnqueueAt(queue_.begin(), items[i], Again::kNo);
  }
  wake_.Set();
}

void InfoReader::EnqueueAt(Queue::const_iterator place, const ItemRef& item, Again again) {
  const auto [known, is_new] = known_.try_emplace(item.get(), queue_.end());
  if (is_new) {
    const uint32_t stamp = item->DurationMs() == kUnknownDuration ? 0 : item->TimeStamp();
    try {
      known->second = queue_.insert(place, Entry{item, stamp, again});
    } catch (const std::bad_alloc&) {
      known_.erase(known);
      throw;
    }
  } else if (known->second != queue_.end()) {
    if (again == Again::kYes) known->second->again = again;
    if (place != queue_.end()) queue_.splice(place, queue_, known->second);
  }
}

void InfoReader::Clear() {
  Queue dropped;
  const Lock lock(lock_);
  for (const Entry& entry : queue_)
    known_.erase(entry.item.get());
  dropped.splice(dropped.end(), queue_);  // A swap might take away what end() is.
}

size_t InfoReader::Waiting() const {
  const Lock lock(lock_);
  return queue_.size();
}

std::vector<InfoReader::Outcome> InfoReader::Drain() {
  std::vector<Result> results;
  {
    const Lock lock(lock_);
    results.swap(results_);
    notified_ = false;
    for (const Result& result : results)
      known_.erase(result.item.get());
  }
  std::vector<Outcome> outcomes;
  outcomes.reserve(results.size());
  for (Result& result : results) {
    if (SUCCEEDED(result.result)) ApplyItemInfo(*result.item, result.info);
    outcomes.push_back({std::move(result.item), result.result});
  }
  return outcomes;
}

void InfoReader::Run() {
  for (;;) {
    Entry entry;
    {
      const Lock lock(lock_);
      if (stop_) return;
    }
    if (!TakeNext(entry)) {
      wake_.Wait();
      continue;
    }
    try {
      Process(entry);
    } catch (const std::bad_alloc&) {
      Finish(entry.item.get());
    }
  }
}

bool InfoReader::TakeNext(Entry& entry) {
  const Lock lock(lock_);
  if (queue_.empty()) return false;
  entry = std::move(queue_.front());
  queue_.pop_front();
  known_.find(entry.item.get())->second = queue_.end();
  return true;
}

void InfoReader::Process(const Entry& entry) {
  const PlayListItem& item = *entry.item;
  if (item.HasOneReference()) return Finish(&item);
  const uint32_t stamp = stamp_(item.PathGbk());
  std::string key = LowerGbk(item.PathGbk()) + '|' + std::to_string(item.Subtrack());
  if (IsSettled(entry, key, stamp)) return Finish(&item);

  Result result;
  result.item = entry.item;
  result.result = read_(item.PathGbk(), item.Subtrack(), &result.info);
  if (FAILED(result.result)) {
    if (failures_.size() >= kMostFailures) failures_.clear();
    failures_[std::move(key)] = stamp;
  } else {
    failures_.erase(key);
  }
  Deliver(std::move(result));
}

bool InfoReader::IsSettled(const Entry& entry, const std::string& key, uint32_t stamp) const {
  if (entry.again == Again::kYes) return false;
  if (entry.known_stamp != 0 && entry.known_stamp == stamp) return true;
  const auto failure = failures_.find(key);
  return failure != failures_.end() && failure->second == stamp;
}

void InfoReader::Finish(const PlayListItem* item) {
  const Lock lock(lock_);
  known_.erase(item);
}

void InfoReader::Deliver(Result result) {
  bool notify = false;
  {
    const Lock lock(lock_);
    results_.push_back(std::move(result));
    notify = !std::exchange(notified_, true);
  }
  if (notify && notify_) notify_();
}

}  // namespace melorin
