// SPDX-License-Identifier: MIT
//
// LRC text from a lyric.
#include <string>
#include <unordered_map>
#include <vector>

#include "lyrics/lrc_text.h"
#include "lyrics/lrc_time.h"
#include "lyrics/lyric_doc.h"
#include "platform/text.h"

namespace melorin {

namespace {

constexpr std::u16string_view kBreak = u"\r\n";

void AppendHeader(std::u16string_view tag, std::string_view value_gbk, std::u16string& out) {
  out.append(tag).append(Utf16FromGbk(value_gbk)).append(u"]\r\n");
}

/// Lines of one text, with all their times.
struct SharedLine {
  std::string_view text_gbk;
  std::vector<int32_t> times_ms;
};

/// In the order in which the texts first occur. A text that would need more tags than a line can be read back
/// with begins another line.
std::vector<SharedLine> Share(const std::vector<LyricLine>& lines) {
  constexpr size_t kRoomOfTag = 16;
  std::vector<SharedLine> shared;
  std::unordered_map<std::string_view, size_t> places;
  for (const LyricLine& line : lines) {
    if (IsBracketed(line.text_gbk)) continue;
    const auto [place, is_new] = places.try_emplace(line.text_gbk, shared.size());
    const size_t room = line.text_gbk.size() < kLongestLrcLine ? kLongestLrcLine - line.text_gbk.size() : 0;
    if (!is_new && (shared[place->second].times_ms.size() + 1) * kRoomOfTag > room)
      place->second = shared.size();
    if (place->second == shared.size()) shared.push_back({line.text_gbk, {}});
    shared[place->second].times_ms.push_back(line.time_ms);
  }
  return shared;
}

}  // namespace

std::u16string LyricDoc::Write(bool merge) const {
  std::u16string out;
  AppendHeader(u"[ti:", title_gbk, out);
  AppendHeader(u"[ar:", artist_gbk, out);
  AppendHeader(u"[al:", album_gbk, out);
  AppendHeader(u"[by:", by_gbk, out);
  out += kBreak;
  if (merge) {
    for (const SharedLine& line : Share(lines_)) {
      for (auto time = line.times_ms.rbegin(); time != line.times_ms.rend(); ++time)
        AppendTime(*time, out);
      out.append(Utf16FromGbk(line.text_gbk)).append(kBreak);
    }
  } else {
    for (const LyricLine& line : lines_) {
      if (IsBracketed(line.text_gbk)) continue;
      AppendTime(line.time_ms, out);
      out.append(Utf16FromGbk(line.text_gbk)).append(kBreak);
    }
  }
  out += Utf16FromGbk(plain_text_gbk);
  return out;
}

}  // namespace melorin
