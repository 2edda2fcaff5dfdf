// SPDX-License-Identifier: MIT
//
// CommandHandler: a part of the player that carries out some of the commands. CommandRouter asks them in
// turn.
#pragma once

#include <vector>

#include "ui/command_table.h"

namespace melorin {

/// Thread: the UI thread.
class CommandHandler : public CommandTarget {
 public:
  virtual bool Handles(CommandId command) const = 0;

 protected:
  ~CommandHandler() = default;
};

/// The first handler that takes a command has it; commands that none takes do nothing and are disabled.
class CommandRouter final : public CommandTarget {
 public:
  /// The handler must outlive the router.
  void Add(CommandHandler& handler) { handlers_.push_back(&handler); }

  bool Handles(CommandId command) const { return Find(command) != nullptr; }
  void Execute(CommandId command) override {
    if (CommandHandler* handler = Find(command); handler && handler->IsEnabled(command))
      handler->Execute(command);
  }
  bool IsEnabled(CommandId command) const override {
    const CommandHandler* handler = Find(command);
    return handler && handler->IsEnabled(command);
  }
  bool IsChecked(CommandId command) const override {
    const CommandHandler* handler = Find(command);
    return handler && handler->IsChecked(command);
  }

 private:
  CommandHandler* Find(CommandId command) const {
    for (CommandHandler* handler : handlers_)
      if (handler->Handles(command)) return handler;
    return nullptr;
  }

  std::vector<CommandHandler*> handlers_;
};

}  // namespace melorin
