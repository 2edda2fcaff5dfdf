// SPDX-License-Identifier: MIT
//
// Lyric files. They are GBK text; files in UTF-8 and UTF-16 are recognised besides.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "lyrics/lyric_doc.h"

namespace melorin {

/// No lyric is larger; what is, is not read.
inline constexpr size_t kLargestLyricBytes = 1u << 20;

enum class LyricEncoding {
  kGbk,
  kUtf8,      ///< Without a byte-order mark.
  kUtf8Mark,  ///< With one, as are the next two.
  kUtf16LittleEndian,
  kUtf16BigEndian,
};

/// Which encoding the bytes of a file are in. Never anything but kGbk for a file that reads well as GBK. The
/// rule stands in lrc_encoding.cpp.
LyricEncoding DetectLyricEncoding(std::span<const uint8_t> bytes);

struct LyricLoadOptions {
  /// Recognise UTF-8 and UTF-16. False: everything is GBK.
  bool detect_encoding = true;
};

/// Conversion stops at the first zero character. False for a file that is missing, empty, too large to be a
/// lyric, or without a timed line. `encoding`, when given, is for SaveLyricFile.
bool LoadLyricFile(LyricDoc& doc, const std::string& path_gbk, const LyricLoadOptions& options = {},
                   LyricEncoding* encoding = nullptr);
/// The same from bytes.
bool ParseLyricBytes(LyricDoc& doc, std::span<const uint8_t> bytes, const LyricLoadOptions& options = {},
                     LyricEncoding* encoding = nullptr);

/// Writes the file beside its place and swaps it in; true when all bytes were written. GBK has no mark, and
/// what code page 936 cannot hold is written in the four-byte forms of GB18030.
bool SaveLyricFile(const LyricDoc& doc, const std::string& path_gbk, bool merge,
                   LyricEncoding encoding = LyricEncoding::kGbk);

}  // namespace melorin
