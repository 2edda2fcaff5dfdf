// SPDX-License-Identifier: MIT
//
// CountedChoosers: knows whether one of the dialogs that it opens is open. Such a dialog has a message loop
// of its own, so the options dialog may be closed, even the player ended, before the page that asked gets its
// answer: until then the page must not be destroyed.
#pragma once

#include "app/options/choosers.h"

namespace melorin {

class CountedChoosers final : public Choosers {
 public:
  explicit CountedChoosers(Choosers& choosers) : choosers_(choosers) {}

  bool IsAsking() const { return depth_ > 0; }

  std::optional<SettingsColour> Colour(HWND owner, SettingsColour now) override {
    const Depth depth(depth_);
    return choosers_.Colour(owner, now);
  }
  std::optional<FontRecord> Font(HWND owner, const FontRecord& now) override {
    const Depth depth(depth_);
    return choosers_.Font(owner, now);
  }
  std::optional<std::string> Folder(HWND owner, const std::string& now_gbk) override {
    const Depth depth(depth_);
    return choosers_.Folder(owner, now_gbk);
  }
  std::optional<std::string> File(HWND owner, const FileQuestion& question) override {
    const Depth depth(depth_);
    return choosers_.File(owner, question);
  }
  void Tell(HWND owner, const std::u16string& text) override {
    const Depth depth(depth_);
    choosers_.Tell(owner, text);
  }

 private:
  class Depth {
   public:
    explicit Depth(int& depth) : depth_(depth) { ++depth_; }
    ~Depth() { --depth_; }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

   private:
    int& depth_;
  };

  Choosers& choosers_;
  int depth_ = 0;
};

}  // namespace melorin
