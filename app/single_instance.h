// SPDX-License-Identifier: MIT
//
// One running player a session. The first instance owns a named mutex for its life and listens; a later one
// puts its command line into a named shared mapping, sets an event and waits until the first has taken it and
// put an answer beside it.
//
// The mapping can be written by any program of the user: what is read from it is bounded and never trusted. A
// first instance that dies at any point leaves its mutex abandoned, and the next one takes its place.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "app/win_handle.h"
#include "platform/thread.h"

namespace melorin {

/// What the shared mapping holds. `length` counts UTF-16 units, `answer_length` bytes.
struct InstanceBlock {
  static constexpr uint32_t kVersion = 0x40200;
  static constexpr uint32_t kCapacity = 131072;
  static constexpr uint32_t kAnswerCapacity = 262144;

  uint32_t version;
  uint32_t thread_id;
  uint32_t length;
  char16_t text[kCapacity];
  /// Counts the command lines, so that nobody takes the answer to one that was given up for an answer to the
  /// next.
  uint32_t request;
  uint32_t answered_request;
  uint32_t answer_length;
  char answer[kAnswerCapacity];
};

/// Reads a handed-over command line: at most the capacity, up to the first NUL.
std::u16string ReadHandedOver(const InstanceBlock& block);
/// Reads an answer: at most the capacity.
std::string ReadAnswer(const InstanceBlock& block);

/// Thread: the UI thread, which owns the mutex.
class SingleInstance {
 public:
  enum class Role {
    kFirst,        ///< Nobody else runs (or who ran has died meanwhile): go on.
    kHandedOver,   ///< The running instance has taken the command line.
    kNotTaken,     ///< It did not within the time, or the command line is too long.
    kUnavailable,  ///< The named objects cannot be made: go on alone.
  };

  /// `name` is part of the objects' names; tests use their own.
  explicit SingleInstance(std::u16string name = u"Melorin");
  ~SingleInstance();

  /// Becomes the first instance, or hands `command_line` to it and waits at most timeout_ms in all.
  Role Enter(const std::u16string& command_line, uint32_t timeout_ms = 5000);

  /// After kHandedOver: what the running instance answered, UTF-8; mostly nothing.
  const std::string& Answer() const { return answer_; }

  /// Takes a command line and gives the answer to it, which may be empty; none when it is not taken. An
  /// answer above the capacity counts as empty: a part of it would be of no use.
  using Take = std::function<std::optional<std::string>(std::u16string)>;
  /// First instance: calls `take` for each command line that comes in, from a thread of its own; the sender
  /// waits for its answer. Command lines that came before are not lost. One that is not taken (the window is
  /// closing) leaves its sender waiting, who takes this instance's place when it has gone.
  bool Listen(Take take);
  /// No call comes after this returned.
  void StopListening();

 private:
  bool CreateObjects();
  Role HandOver(const std::u16string& command_line, uint32_t timeout_ms);
  bool WaitForVersion(uint32_t deadline_ms) const;
  Role WaitUntilTaken(uint32_t request, uint32_t deadline_ms) const;
  void GiveAnswer(uint32_t request, const std::string& answer);

  std::u16string name_;
  WinHandle owner_;    // mutex, held by the first instance
  WinHandle sender_;   // mutex, held by the instance that hands over
  WinHandle command_;  // auto-reset: the mapping holds a command line
  WinHandle taken_;    // auto-reset: it has been read
  WinHandle quit_;     // manual-reset, unnamed: ends the listener
  WinHandle mapping_;
  MappedView<InstanceBlock> block_;
  bool owns_ = false;
  std::string answer_;
  Thread listener_;
};

}  // namespace melorin
