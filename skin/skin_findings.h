// SPDX-License-Identifier: MIT
//
// Collects findings about a skin. Nothing that a hostile file can hold makes them large. Thread: one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "skin/skin_reader.h"

namespace melorin {

class SkinFindings {
 public:
  /// Null: nobody wants them.
  explicit SkinFindings(std::vector<SkinFinding>* out) : out_(out) {}

  bool Wanted() const { return out_ != nullptr && out_->size() < kMostSkinFindings; }
  void Add(SkinFinding::Kind kind, std::string path, std::string text) {
    if (Wanted()) out_->push_back({kind, std::move(path), std::move(text)});
  }

 private:
  std::vector<SkinFinding>* const out_;
};

/// A value or name from the file for a finding: control characters replaced, long ones cut.
std::string ShownText(std::string_view utf8);
/// The same in quotation marks.
std::string QuotedText(std::string_view utf8);

}  // namespace melorin
