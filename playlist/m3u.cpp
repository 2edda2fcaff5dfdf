// SPDX-License-Identifier: MIT
//
// Reading is one pass over the bytes; lines are found before text is converted, which is right for both
// encodings: no byte of a character of several is a line end, a comma or "#".
#include "playlist/m3u.h"

#include <charconv>
#include <string_view>
#include <utility>

#include "doc/xml_scan.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kInfo = "#EXTINF:";

bool BeginsWithNoCase(std::string_view line, std::string_view upper) {
  return line.size() >= upper.size() && EqualNoCaseUtf8(line.substr(0, upper.size()), upper);
}

bool IsBlank(std::string_view line) {
  return line.find_first_not_of(" \t") == std::string_view::npos;
}

class Reader {
 public:
  Reader(M3uText text, const ListReading& reading, Playlist& list)
      : text_(text), reading_(reading), list_(list) {}

  void Line(std::string_view line) {
    if (IsBlank(line)) return;
    if (line[0] == '#' && (!info_pending_ || BeginsWithNoCase(line, "#EXT"))) {
      if (BeginsWithNoCase(line, kInfo)) Info(line.substr(kInfo.size()));
    } else {
      Entry(line);
      title_.clear();
      duration_ms_ = kUnknownDuration;
      info_pending_ = false;
    }
  }

 private:
  void Convert(std::string_view text, std::string& out) const {
    out.clear();
    if (text_ == M3uText::kUtf8)
      AppendGbkFromUtf8(text, out);
    else
      out.append(text);
  }

  /// Every character up to the comma counts as a digit, whatever it is: "-1" gives -29. Lists rely on the
  /// negative duration. The arithmetic wraps.
  void Info(std::string_view text) {
    while (!text.empty() && text[0] == ' ')
      text.remove_prefix(1);
    const size_t comma = text.find(',');
    if (comma == std::string_view::npos) return;
    uint32_t seconds = 0;
    for (const char c : text.substr(0, comma))
      seconds = seconds * 10 + static_cast<uint32_t>(static_cast<signed char>(c)) - '0';
    duration_ms_ = static_cast<int32_t>(seconds * 1000);
    Convert(text.substr(comma + 1), title_);
    info_pending_ = true;
  }

  void Entry(std::string_view line) {
    Convert(line, path_);
    ResolveEntry(reading_, path_);
    if (reading_.read_sheet && HasExtension(path_, "cue")) {
      // A list of a sheet's tracks names the sheet once for each of them; they are here after the first.
      if (path_ != sheet_) AppendSheet(list_, path_, reading_.read_sheet);
      sheet_ = path_;
      return;
    }
    sheet_.clear();
    if (!TakesEntry(reading_, path_)) return;
    if (title_.empty()) title_ = EntryFileName(path_);
    // Copied, for a copy takes exactly the memory it needs.
    list_.Append(ItemCache::Obtain(std::string(path_), std::string(title_), duration_ms_, 0));
  }

  M3uText text_;
  const ListReading& reading_;
  Playlist& list_;
  std::string path_;   // Used again for each entry.
  std::string sheet_;  // The entry before, when it was a sheet.
  std::string title_;
  int32_t duration_ms_ = kUnknownDuration;
  bool info_pending_ = false;
};

void AppendConverted(M3uText text, std::string_view gbk, std::string& out) {
  if (text == M3uText::kUtf8)
    AppendUtf8FromGbk(gbk, out);
  else
    out.append(gbk);
}

}  // namespace

ListReadResult ReadM3u(std::span<const uint8_t> bytes, M3uText text, const ListReading& reading,
                       Playlist& list) {
  ListReadResult result;
  std::string_view rest(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (rest.empty() || (text == M3uText::kUtf8 && rest.size() < kByteOrderMark.size())) return result;
  if (rest.starts_with(kByteOrderMark)) {
    rest.remove_prefix(kByteOrderMark.size());
    text = M3uText::kUtf8;
  }
  result.recognised = true;
  result.complete = true;
  if (reading.name_only) return result;
  const size_t before = list.Size();
  Reader reader(text, reading, list);
  const char* const end = rest.data() + rest.size();
  for (const char* p = rest.data(); p != end;) {
    const char* const stop = xml::FindEither(p, end, '\r', '\n');
    if (stop != p) reader.Line({p, static_cast<size_t>(stop - p)});
    p = stop == end ? end : stop + 1;
  }
  result.entries = list.Size() - before;
  return result;
}

std::string WriteM3u(const Playlist& list, M3uText text, const RelativeBase& base) {
  std::string out;
  out.reserve(64 + list.Size() * 128);
  if (text == M3uText::kUtf8) out += kByteOrderMark;
  out += "#EXTM3U\r\n";
  for (const ItemRef& item : list.Items()) {
    const std::string_view path = base.Shorten(item->PathGbk());
    const bool has_info = item->DurationMs() >= 0 && !item->TitleGbk().empty();
    if (has_info) {
      char number[16];
      const auto seconds = std::to_chars(number, number + sizeof number, item->DurationMs() / 1000);
      out.append(kInfo).append(number, seconds.ptr).append(",");
      const size_t title_at = out.size();
      AppendConverted(text, item->TitleGbk(), out);
      for (size_t i = title_at; i < out.size(); ++i)
        if (out[i] == '\r' || out[i] == '\n') out[i] = ' ';
      out += "\r\n";
    }
    const bool comment = path.starts_with('#') && (!has_info || BeginsWithNoCase(path, "#EXT"));
    AppendConverted(text, comment || IsBlank(path) ? std::string_view(item->PathGbk()) : path, out);
    out += "\r\n";
  }
  return out;
}

}  // namespace melorin
