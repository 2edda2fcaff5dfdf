// SPDX-License-Identifier: MIT
//
// The tracks named on the command line or dropped on the window, in order, and which one is current. A
// stand-in for the playlist: no modes, no titles.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace melorin {

/// Thread: the UI thread.
class TrackList {
 public:
  void Replace(std::vector<std::u16string> paths) {
    paths_ = std::move(paths);
    current_.reset();
  }
  void Append(std::vector<std::u16string> paths) {
    for (std::u16string& path : paths)
      paths_.push_back(std::move(path));
  }

  size_t Size() const { return paths_.size(); }
  std::optional<size_t> Current() const { return current_; }
  const std::u16string& Path(size_t index) const { return paths_[index]; }
  void Select(size_t index) { current_ = index; }

  /// The entry after the current one, the first when there is none yet; none behind the last.
  std::optional<size_t> Next() const {
    const size_t index = current_ ? *current_ + 1 : 0;
    return index < paths_.size() ? std::optional(index) : std::nullopt;
  }
  std::optional<size_t> Previous() const {
    return current_ && *current_ > 0 ? std::optional(*current_ - 1) : std::nullopt;
  }

 private:
  std::vector<std::u16string> paths_;
  std::optional<size_t> current_;
};

}  // namespace melorin
