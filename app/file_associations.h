// SPDX-License-Identifier: MIT
//
// Which program the system opens a type of file with, as the registry has it:
//
//   .mp3                 (default) = "Melorin.mp3", "Melorin.Before" = what stood there before
//   .mp3\OpenWithProgids "Melorin.mp3"
//   Melorin.mp3          (default) = "MPEG 音频文件", DefaultIcon, shell\open, shell\enqueue
//
// Everything can be taken back: what another program had is put back, and what is not ours is never touched.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace melorin {

/// Thread: one at a time. Functions that write return false when the registry refuses.
class FileAssociations {
 public:
  /// `root` with `classes` names the key that holds extensions and types; `program`: the path of the program
  /// that files are given to.
  FileAssociations(HKEY root, std::u16string classes, std::u16string program);
  /// The user's own part of the registry, and this program.
  static FileAssociations OfUser();

  /// Extensions come without their dot. True when files of that type are opened with this program, be it at
  /// another place.
  bool IsOurs(std::u16string_view extension) const;
  /// Writes our type anew and makes it the extension's. What the extension had is kept for Restore, also when
  /// it is associated twice.
  bool Associate(std::u16string_view extension, std::u16string_view description);
  /// Puts back what the extension had before, unless another program has taken it since, and removes our
  /// type.
  bool Restore(std::u16string_view extension);

 private:
  HKEY root_;
  std::u16string classes_;
  std::u16string program_;
};

}  // namespace melorin
