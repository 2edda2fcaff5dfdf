// SPDX-License-Identifier: MIT
//
// InfoReader: reads what the files of list entries say of themselves, on a thread of its own, so that the UI
// thread never waits for a disk.
//
//   UI thread                          worker
//   Enqueue, EnqueueShown  ──queue──▶  looks at the time stamp, reads the file
//   Drain  ◀──results──                calls `notify` when there are results to be drained
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/com.h"
#include "platform/thread.h"
#include "playlist/item_info.h"
#include "playlist/play_list_item.h"

namespace melorin {

/// Values of the setting "ReadInfoMode": when the files of a list's entries are read. A file that is played
/// is opened anyway, and its item then gets what it says in every mode.
enum class ReadInfoMode : int32_t {
  kWhenShown = 0,   ///< When the entry comes into view in the list window.
  kAsAdded = 1,     ///< When it is added to a list, and those in view first.
  kWhenPlayed = 2,  ///< Only then; for lists on slow disks and networks.
};
/// Out of range: kWhenShown.
ReadInfoMode ReadInfoModeFrom(int32_t value);

/// Thread: the UI thread, but for what the worker calls.
class InfoReader {
 public:
  /// Reads one file. Worker.
  using ReadFunction = std::function<HRESULT(const std::string& path_gbk, uint32_t subtrack, ItemInfo* out)>;
  /// FileTimeStamp. Worker.
  using StampFunction = std::function<uint32_t(const std::string& path_gbk)>;
  /// Says that Drain has something; not again before Drain was called. It must not wait: it posts a message.
  /// Who gets it may let some 50 ms pass before it drains, so that many results make one repaint. Worker; it
  /// may still come while Stop runs.
  using NotifyFunction = std::function<void()>;

  InfoReader(ReadFunction read, StampFunction stamp, NotifyFunction notify);
  ~InfoReader();  ///< Stops.
  InfoReader(const InfoReader&) = delete;
  InfoReader& operator=(const InfoReader&) = delete;

  /// Starts the worker, at the lowest priority that still gets its turn. False when there is none to be had.
  /// The queue may be filled before.
  bool Start();
  /// Drops the queue and ends the worker; waits for the one file that is being read, no longer. Results may
  /// be drained afterwards, and the reader may be started again.
  void Stop();

  enum class Again : bool {
    kNo,   ///< Leaves out files that did not change since they were read, or could not be read.
    kYes,  ///< Reads in any case: the user asks for it.
  };
  /// Behind what is waiting. An item that waits already keeps its place; one that nobody but the queue holds
  /// when its turn comes is not read.
  void Enqueue(const ItemRef& item, Again again = Again::kNo);
  /// In front of everything, the first of them first: entries that came into view. Ask when the view moves,
  /// not whenever it is painted: each time costs a look at the file's time stamp.
  void EnqueueShown(std::span<const ItemRef> items);
  void Clear();            ///< Drops what is waiting.
  size_t Waiting() const;  ///< How many files are still to be looked at.

  struct Outcome {
    ItemRef item;
    HRESULT result = S_OK;
  };
  /// Puts the results into their items and returns these. Items that could not be read stay as they are.
  std::vector<Outcome> Drain();

 private:
  struct Entry {
    ItemRef item;
    uint32_t known_stamp = 0;  ///< Of the item's information; 0: it has none.
    Again again = Again::kNo;
  };
  using Queue = std::list<Entry>;
  struct Result {
    ItemRef item;
    HRESULT result = S_OK;
    ItemInfo info;
  };

  void Run();
  bool TakeNext(Entry& entry);
  void Process(const Entry& entry);
  /// True when the file need not be read.
  bool IsSettled(const Entry& entry, const std::string& key, uint32_t stamp) const;
  void Finish(const PlayListItem* item);
  void Deliver(Result result);
  void EnqueueAt(Queue::const_iterator place, const ItemRef& item, Again again);

  const ReadFunction read_;
  const StampFunction stamp_;
  const NotifyFunction notify_;
  Thread thread_;
  Event wake_{Event::Mode::kAutoReset};

  /// The worker's own: the stamps of files that could not be read, by path and subtrack.
  std::unordered_map<std::string, uint32_t> failures_;

  mutable CriticalSection lock_;  ///< Guards everything below.
  bool stop_ = false;
  bool notified_ = false;
  Queue queue_;
  /// Items that wait, with their place; those that are being read or wait to be drained have the end.
  std::unordered_map<const PlayListItem*, Queue::iterator> known_;
  std::vector<Result> results_;
};

}  // namespace melorin
