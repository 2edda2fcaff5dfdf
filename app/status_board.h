// SPDX-License-Identifier: MIT
//
// StatusBoard: what the windows, the task bar and "/status" tell of the player, gathered from where it is
// known.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "app/delayed_task.h"
#include "app/player.h"
#include "app/status_report.h"
#include "app/window_group.h"
#include "ui/player_status.h"

namespace melorin {

/// Thread: the UI thread.
class StatusBoard {
 public:
  /// The player must outlive this. `changed`: a message has had its time.
  StatusBoard(const Player& player, std::function<void()> changed)
      : player_(player),
        message_end_([this] {
          message_.clear();
          changed_();
        }),
        changed_(std::move(changed)) {}

  /// Shows a message in the place of the title for a while.
  void Tell(const std::u16string& text);
  /// The message that is shown, or was last.
  const std::u16string& LastMessage() const { return last_message_; }

  PlayerStatus Status(const WindowGroup& windows, std::string lyric_gbk) const;
  PlayerStatusReport Report(const WindowGroup& windows, const std::string& lyric_gbk) const;
  /// "竹影乐团 - 雨过河岸 - Melorin"
  std::u16string Caption() const;

 private:
  std::u16string TitleOrName() const;
  std::u16string StateText() const;

  const Player& player_;
  std::u16string message_;
  std::u16string last_message_;
  DelayedTask message_end_;
  const std::function<void()> changed_;
};

}  // namespace melorin
