// SPDX-License-Identifier: MIT
//
// See cue_sheet.h.
#include "sound/cue_sheet.h"

#include <algorithm>
#include <limits>

#include "platform/text.h"
#include "tags/legacy_text.h"

namespace melorin {
namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\0';
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back()))
    text.remove_suffix(1);
  return text;
}

/// Takes the first word off the text.
std::string_view TakeWord(std::string_view& text) {
  text = Trim(text);
  const auto* const end = std::find_if(text.data(), text.data() + text.size(), IsBlank);
  const std::string_view word = text.substr(0, static_cast<size_t>(end - text.data()));
  text = Trim(text.substr(word.size()));
  return word;
}

/// One line of the text after the other; CR, LF and both together end a line.
std::string_view TakeLine(std::string_view& text) {
  const size_t end = std::min(text.find_first_of("\r\n"), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

/// The argument of a command that has one: what stands between the first quotation mark and the last (titles
/// hold such marks themselves), or up to the line's end.
std::string_view TextArgument(std::string_view rest) {
  rest = Trim(rest);
  if (rest.empty() || rest.front() != '"') return rest;
  rest.remove_prefix(1);
  const size_t close = rest.rfind('"');
  return Trim(close == std::string_view::npos ? rest : rest.substr(0, close));
}

/// FILE "name" TYPE, FILE name TYPE, FILE name: a name without quotation marks may hold blanks, so only a
/// known type is taken off it.
std::string_view FileArgument(std::string_view rest) {
  rest = Trim(rest);
  if (rest.empty() || rest.front() == '"') return TextArgument(rest);
  const size_t blank = rest.find_last_of(" \t");
  if (blank == std::string_view::npos) return rest;
  const std::string_view last = rest.substr(blank + 1);
  for (const std::string_view type :
       {"WAVE", "MP3", "AIFF", "BINARY", "MOTOROLA", "FLAC", "APE", "WV", "TTA", "TAK"})
    if (EqualNoCaseUtf8(last, type)) return Trim(rest.substr(0, blank));
  return rest;
}

/// Digits only; none when there is none or the value is above `most`.
std::optional<uint32_t> Number(std::string_view digits, uint32_t most) {
  uint64_t value = 0;
  if (digits.empty()) return std::nullopt;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') return std::nullopt;
    value = value * 10 + static_cast<uint64_t>(digit - '0');
    if (value > most) return std::nullopt;
  }
  return static_cast<uint32_t>(value);
}

/// "mm:ss:ff" in frames. Minutes have any number of digits; fields left out at the end are 0; seconds above
/// 59 and frames above 74 are counted as they stand.
std::optional<uint32_t> Position(std::string_view text) {
  constexpr uint32_t kUnits[] = {60 * kCueFramesPerSecond, kCueFramesPerSecond, 1};
  constexpr uint32_t kMostMinutes = 99999;
  constexpr uint32_t kMostOthers = 9999;
  uint32_t frames = 0;
  for (size_t field = 0; field < std::size(kUnits); ++field) {
    const size_t colon = std::min(text.find(':'), text.size());
    const auto value = Number(Trim(text.substr(0, colon)), field == 0 ? kMostMinutes : kMostOthers);
    if (!value) return std::nullopt;
    frames += *value * kUnits[field];
    if (colon == text.size()) return frames;
    text.remove_prefix(colon + 1);
  }
  return std::nullopt;
}

struct Keyword {
  std::string_view word;
  CueField field;
};
constexpr Keyword kCommands[] = {
    {"TITLE", CueField::kTitle},
    {"PERFORMER", CueField::kPerformer},
    {"SONGWRITER", CueField::kSongwriter},
    {"CATALOG", CueField::kCatalog},
    {"ISRC", CueField::kIsrc},
};
constexpr Keyword kRemarks[] = {
    {"DATE", CueField::kDate},
    {"YEAR", CueField::kDate},
    {"GENRE", CueField::kGenre},
    {"COMMENT", CueField::kComment},
    {"COMPOSER", CueField::kComposer},
    {"REPLAYGAIN_ALBUM_GAIN", CueField::kAlbumGain},
    {"REPLAYGAIN_ALBUM_PEAK", CueField::kAlbumPeak},
    {"REPLAYGAIN_TRACK_GAIN", CueField::kTrackGain},
    {"REPLAYGAIN_TRACK_PEAK", CueField::kTrackPeak},
};

template <size_t kSize>
std::optional<CueField> FieldOf(const Keyword (&keywords)[kSize], std::string_view word) {
  for (const Keyword& keyword : keywords)
    if (EqualNoCaseUtf8(word, keyword.word)) return keyword.field;
  return std::nullopt;
}

class Parser {
 public:
  explicit Parser(CueSheet& sheet) : sheet_(sheet) {}

  void Run() {
    std::string_view rest = *sheet_.text;
    while (!rest.empty() && !full_)
      TakeCommand(TakeLine(rest));
    EndTrack();
    NumberTracks();
  }

 private:
  void TakeCommand(std::string_view line) {
    const std::string_view word = TakeWord(line);
    if (word.empty()) return;
    if (EqualNoCaseUtf8(word, "REM")) {
      // REM lines that no ripper makes are free text.
      const std::string_view key = TakeWord(line);
      if (const auto field = FieldOf(kRemarks, key)) SetText(*field, line);
    } else if (const auto field = FieldOf(kCommands, word)) {
      SetText(*field, line);
    } else if (EqualNoCaseUtf8(word, "FILE")) {
      BeginFile(FileArgument(line));
    } else if (EqualNoCaseUtf8(word, "TRACK")) {
      BeginTrack(line);
    } else if (EqualNoCaseUtf8(word, "INDEX")) {
      TakeIndex(line);
    }
  }

  void SetText(CueField field, std::string_view line) {
    const std::string_view text = TextArgument(line);
    if (text.empty()) return;
    (in_track_texts_ ? track_.own : album_)[field] = text;
  }

  /// The track that has begun may go on: some sheets name the file of its INDEX 01 only after its title.
  void BeginFile(std::string_view name) {
    in_track_texts_ = false;
    has_file_ = false;
    if (name.empty()) return;
    for (file_ = 0; file_ < sheet_.files.size(); ++file_)
      if (EqualNoCaseUtf8(sheet_.files[file_], name)) break;
    has_file_ = true;
    if (file_ < sheet_.files.size()) return;
    if (file_ < kMaxCueTracks)
      sheet_.files.push_back(name);
    else
      has_file_ = false;
  }

  void BeginTrack(std::string_view line) {
    EndTrack();
    track_ = {};
    track_.stated_number = Number(TakeWord(line), 0xFFFF).value_or(0);
    const std::string_view type = TakeWord(line);
    track_.audio = type.empty() || EqualNoCaseUtf8(type, "AUDIO");
    track_.album = album_;
    in_track_ = in_track_texts_ = true;
    lowest_index_ = std::numeric_limits<uint32_t>::max();
  }

  void TakeIndex(std::string_view line) {
    const auto number = Number(TakeWord(line), 99);
    const auto position = Position(line);
    if (!in_track_ || !has_file_ || !number || !position) return;
    // INDEX 01 is where the music begins; a pregap only counts when that is missing.
    const bool better = *number == 1 || (lowest_index_ != 1 && *number < lowest_index_);
    if (!better) return;
    lowest_index_ = *number;
    track_.file = file_;
    track_.start = *position;
  }

  void EndTrack() {
    if (in_track_ && lowest_index_ != std::numeric_limits<uint32_t>::max()) {
      track_.number = track_.stated_number;
      sheet_.tracks.push_back(track_);
      full_ = sheet_.tracks.size() >= kMaxCueTracks;
    }
    in_track_ = in_track_texts_ = false;
  }

  void NumberTracks() {
    std::vector<uint32_t> numbers;
    for (const CueTrack& track : sheet_.tracks)
      numbers.push_back(track.number);
    std::sort(numbers.begin(), numbers.end());
    const bool unique = std::adjacent_find(numbers.begin(), numbers.end()) == numbers.end();
    if (unique && (numbers.empty() || numbers.front() > 0)) return;
    uint32_t next = 1;
    for (CueTrack& track : sheet_.tracks)
      track.number = next++;
  }

  CueSheet& sheet_;
  CueTexts album_;
  CueTrack track_;
  size_t file_ = 0;
  uint32_t lowest_index_ = 0;
  bool has_file_ = false;
  bool in_track_ = false;
  bool in_track_texts_ = false;
  bool full_ = false;
};

std::string Utf8FromUtf16Bytes(std::span<const uint8_t> bytes, bool big_endian) {
  std::u16string text;
  text.reserve(bytes.size() / 2);
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const unsigned high = bytes[big_endian ? i : i + 1];
    const unsigned low = bytes[big_endian ? i + 1 : i];
    text += static_cast<char16_t>(high << 8 | low);
  }
  return Utf8FromUtf16(text);
}

enum class Reading { kUtf8, kGbk, kWestern };

Reading VoteOfLines(std::string_view text) {
  using Kind = LegacyEvidence::Kind;
  size_t utf8 = 0;
  size_t gbk = 0;
  size_t western = 0;
  for (std::string_view rest = text; !rest.empty();) {
    const LegacyEvidence evidence = WeighLegacy(TakeLine(rest));
    if (evidence.kind == Kind::kUtf8) ++utf8;
    if (evidence.kind == Kind::kGbk || (evidence.kind == Kind::kScored && evidence.score > 0)) ++gbk;
    if (evidence.kind == Kind::kWestern || (evidence.kind == Kind::kScored && evidence.score <= 0)) ++western;
  }
  if (utf8 > 0 && IsValidUtf8(text)) return Reading::kUtf8;
  if (gbk >= utf8 && gbk >= western) return Reading::kGbk;
  return utf8 >= western ? Reading::kUtf8 : Reading::kWestern;
}

}  // namespace

std::string DecodeCueText(std::span<const uint8_t> bytes) {
  const auto begins = [&](std::initializer_list<uint8_t> mark) {
    return bytes.size() >= mark.size() && std::equal(mark.begin(), mark.end(), bytes.begin());
  };
  if (begins({0xFF, 0xFE})) return Utf8FromUtf16Bytes(bytes.subspan(2), false);
  if (begins({0xFE, 0xFF})) return Utf8FromUtf16Bytes(bytes.subspan(2), true);
  const bool marked = begins({0xEF, 0xBB, 0xBF});
  if (marked) bytes = bytes.subspan(3);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (IsAscii(text)) return std::string(text);
  switch (marked ? Reading::kUtf8 : VoteOfLines(text)) {
    case Reading::kUtf8:
      return IsValidUtf8(text) ? std::string(text) : Utf8FromUtf16(Utf16FromUtf8(text));
    case Reading::kGbk:
      return Utf8FromGbk(text);
    case Reading::kWestern:
      break;
  }
  return Utf8FromCodePage(1252, text);
}

CueSheet ParseCueSheet(std::span<const uint8_t> bytes) {
  CueSheet sheet;
  if (bytes.size() > kMaxCueBytes) bytes = {};
  sheet.text = std::make_shared<const std::string>(DecodeCueText(bytes));
  Parser(sheet).Run();
  return sheet;
}

std::optional<size_t> CueSheet::FindTrack(uint32_t number) const {
  for (size_t i = 0; i < tracks.size(); ++i)
    if (tracks[i].audio && (number == 0 || tracks[i].number == number)) return i;
  return std::nullopt;
}

std::optional<uint32_t> CueSheet::EndOf(size_t track) const {
  std::optional<uint32_t> end;
  const CueTrack& self = tracks[track];
  for (const CueTrack& other : tracks)
    if (other.file == self.file && other.start > self.start && (!end || other.start < *end))
      end = other.start;
  return end;
}

uint32_t CueDurationMs(uint32_t start, std::optional<uint32_t> end, uint32_t file_ms) {
  const auto to_ms = [](uint32_t frames) { return uint64_t{frames} * 1000 / kCueFramesPerSecond; };
  const uint64_t start_ms = to_ms(start);
  const uint64_t end_ms = end ? to_ms(*end) : file_ms;
  return static_cast<uint32_t>(end_ms - std::min(start_ms, end_ms));
}

}  // namespace melorin
