// SPDX-License-Identifier: MIT
//
// Synchronised lyrics, after section 4.9 of the informal standards of 2.3.0 and 2.4.0: encoding, language,
// format of the times, content type, a description, and then texts with a time each.
#include "tags/id3v2_lyrics.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "platform/text.h"
#include "tags/id3v2_text.h"
#include "tags/legacy_text.h"
#include "tags/tag_bytes.h"

namespace melorin {

namespace {

constexpr size_t kHeaderSize = 6;
constexpr size_t kTimeSize = 4;
constexpr char kMilliseconds = 2;
constexpr char kLyrics = 1;
constexpr size_t kLongestLrc = 1u << 20;

/// A text as it lies in the frame.
struct Piece {
  std::string_view bytes;
  uint32_t time_ms = 0;
};

std::vector<Piece> SplitPieces(std::string_view bytes, Id3Encoding encoding) {
  std::vector<Piece> pieces;
  size_t room = kLongestLrc;
  while (!bytes.empty()) {
    bool terminated = false;
    const std::string_view text = TakeTerminated(bytes, encoding, terminated);
    if (!terminated || bytes.size() < kTimeSize || text.size() + kTimeSize > room) break;
    room -= text.size() + kTimeSize;
    pieces.push_back({text, BigEndian32({reinterpret_cast<const uint8_t*>(bytes.data()), kTimeSize})});
    bytes.remove_prefix(kTimeSize);
  }
  return pieces;
}

std::string Joined(const std::vector<Piece>& pieces, std::string_view separator) {
  std::string joined;
  for (const Piece& piece : pieces)
    joined.append(piece.bytes).append(separator);
  return joined;
}

/// The first mark decides for all: many programs write one in front of the first text only.
bool IsBigEndian(std::string_view description, const std::vector<Piece>& pieces) {
  const auto marked = [](std::string_view text) -> std::optional<bool> {
    if (text.starts_with("\xFE\xFF")) return true;
    if (text.starts_with("\xFF\xFE")) return false;
    return std::nullopt;
  };
  if (const auto order = marked(description)) return *order;
  for (const Piece& piece : pieces)
    if (const auto order = marked(piece.bytes)) return *order;
  return LooksBigEndian(Joined(pieces, {}));
}

/// The texts in UTF-8. Encodings that tags state wrongly are weighed over all texts, as a syllable says
/// little.
std::vector<std::string> DecodePieces(std::string_view description, const std::vector<Piece>& pieces,
                                      Id3Encoding encoding, bool neighbours_gbk) {
  std::vector<std::string> texts;
  texts.reserve(pieces.size());
  if (encoding == Id3Encoding::kUtf16 || encoding == Id3Encoding::kUtf16BigEndian) {
    const bool big = encoding == Id3Encoding::kUtf16BigEndian || IsBigEndian(description, pieces);
    for (const Piece& piece : pieces)
      texts.push_back(DecodeUtf16(piece.bytes, big));
    return texts;
  }
  const std::string all = Joined(pieces, "\n");
  const bool is_utf8 = encoding == Id3Encoding::kUtf8 && IsValidUtf8(all);
  const LegacyEvidence evidence = is_utf8 ? LegacyEvidence{} : WeighLegacy(all);
  for (const Piece& piece : pieces)
    texts.push_back(is_utf8 ? std::string(piece.bytes) : DecodeLegacy(piece.bytes, evidence, neighbours_gbk));
  return texts;
}

void BeginLine(uint32_t time_ms, std::string& lrc) {
  if (!lrc.empty()) lrc += "\r\n";
  char tag[32];
  std::snprintf(tag, sizeof tag, "[%02u:%02u.%03u]", static_cast<unsigned>(time_ms / 60000),
                static_cast<unsigned>(time_ms / 1000 % 60), static_cast<unsigned>(time_ms % 1000));
  lrc += tag;
}

bool IsBreak(char letter) {
  return letter == '\r' || letter == '\n';
}

/// One break of a line, of whatever kind; false when the text does not begin with one.
bool TakeBreak(std::string_view& text) {
  const size_t size = text.starts_with("\r\n") ? 2 : text.starts_with('\n') || text.starts_with('\r') ? 1 : 0;
  text.remove_prefix(size);
  return size != 0;
}

/// Text of one line; answers how much of `text` that is.
size_t AppendWords(std::string_view text, std::string& lrc) {
  const size_t length = std::min(text.find_first_of("\r\n"), text.size());
  for (const char letter : text.substr(0, length))
    lrc += letter == '[' ? '(' : letter == ']' ? ')' : letter;
  return length;
}

}  // namespace

std::string LrcOfSyncedLyrics(std::string_view payload, bool neighbours_gbk) {
  if (payload.size() <= kHeaderSize || static_cast<unsigned char>(payload[0]) > 3) return {};
  const auto encoding = static_cast<Id3Encoding>(payload[0]);
  if (payload[4] != kMilliseconds || payload[5] != kLyrics) return {};
  payload.remove_prefix(kHeaderSize);
  bool terminated = false;
  const std::string_view description = TakeTerminated(payload, encoding, terminated);
  const std::vector<Piece> pieces = SplitPieces(payload, encoding);
  const std::vector<std::string> texts = DecodePieces(description, pieces, encoding, neighbours_gbk);
  const bool syllables = std::any_of(texts.begin(), texts.end(), [](const std::string& text) {
    return !text.empty() && (IsBreak(text.front()) || IsBreak(text.back()));
  });

  std::string lrc;
  bool line_is_due = true;
  for (size_t i = 0; i < texts.size() && lrc.size() < kLongestLrc; ++i) {
    if (pieces[i].time_ms > uint32_t{std::numeric_limits<int32_t>::max()}) continue;
    std::string_view text = texts[i];
    line_is_due = TakeBreak(text) || line_is_due || !syllables;
    if (text.empty() && syllables && line_is_due) continue;
    if (line_is_due) BeginLine(pieces[i].time_ms, lrc);
    text.remove_prefix(AppendWords(text, lrc));
    line_is_due = TakeBreak(text);
    // More lines in one text have one time, and so belong to one line.
    while (!text.empty()) {
      lrc += ' ';
      text.remove_prefix(AppendWords(text, lrc));
      line_is_due = TakeBreak(text);
    }
  }
  if (!lrc.empty()) lrc += "\r\n";
  return lrc;
}

bool HasTimeTags(std::string_view utf8) {
  const auto digit = [&](size_t i) { return i < utf8.size() && utf8[i] >= '0' && utf8[i] <= '9'; };
  for (size_t i = utf8.find('['); i != std::string_view::npos; i = utf8.find('[', i + 1)) {
    if (i != 0 && utf8[i - 1] != '\n' && utf8[i - 1] != '\r') continue;
    size_t at = i + 1;
    while (digit(at))
      ++at;
    if (at > i + 1 && at < utf8.size() && utf8[at] == ':' && digit(at + 1)) return true;
  }
  return false;
}

}  // namespace melorin
