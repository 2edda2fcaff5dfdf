// SPDX-License-Identifier: MIT
//
// Folding of names. A part of a name becomes a row of words: runs of letters and digits of one kind of
// script. What is no letter separates words, but for apostrophes, and is gone then. From the words are taken
// - guests: "feat. X" and what follows, "(with X)";
// - brackets: those that say nothing of the words and times (official video, film songs, remasters) are
//   dropped, those that name a version set a flag, and what else they say is kept apart as extra text;
// - the same at the end without brackets, by a shorter list of words that titles seldom end with
//   ("Title Live", "晴天伴奏").
// A bracket in front of a name ("【周杰伦】晴天") is a part of its own unless it says such a thing.
#include <algorithm>
#include <iterator>

#include "lyrics/hanzi_fold.h"
#include "lyrics/name_parts.h"
#include "lyrics/name_similarity.h"
#include "platform/text.h"

namespace melorin {
namespace {

/// Longer than any file name; tags may hold anything.
constexpr size_t kMostUnits = 512;
constexpr size_t kNone = std::u16string_view::npos;

enum class Meaning : uint8_t {
  kNothing,   ///< Changes neither words nor times: "official".
  kFiller,    ///< Says nothing by itself: "version".
  kLive,      ///< kVersionLive.
  kNoVoice,   ///< kVersionNoVoice.
  kLanguage,  ///< One of the languages.
};

struct KnownWord {
  std::u16string_view word;
  Meaning meaning;
  bool ends_names = false;  ///< Counts without brackets, too, at the end of a name.
  uint16_t language = 0;
};

constexpr KnownWord kLatinWords[] = {
    {u"official", Meaning::kNothing, true},
    {u"video", Meaning::kNothing},
    {u"audio", Meaning::kNothing},
    {u"mv", Meaning::kNothing, true},
    {u"lyric", Meaning::kNothing},
    {u"lyrics", Meaning::kNothing},
    {u"hd", Meaning::kNothing},
    {u"hq", Meaning::kNothing},
    {u"explicit", Meaning::kNothing},
    {u"clean", Meaning::kNothing},
    {u"remaster", Meaning::kNothing, true},
    {u"remastered", Meaning::kNothing, true},
    {u"original", Meaning::kNothing},
    {u"album", Meaning::kNothing},
    {u"single", Meaning::kNothing},
    {u"bonus", Meaning::kNothing},
    {u"ost", Meaning::kNothing, true},
    {u"soundtrack", Meaning::kNothing},
    {u"theme", Meaning::kNothing},
    {u"mono", Meaning::kNothing},
    {u"stereo", Meaning::kNothing},
    {u"deluxe", Meaning::kNothing},
    {u"edition", Meaning::kNothing},
    {u"flac", Meaning::kNothing},
    {u"mp3", Meaning::kNothing},
    {u"lrc", Meaning::kNothing},
    {u"version", Meaning::kFiller},
    {u"ver", Meaning::kFiller},
    {u"the", Meaning::kFiller},
    {u"at", Meaning::kFiller},
    {u"in", Meaning::kFiller},
    {u"from", Meaning::kFiller},
    {u"track", Meaning::kFiller},
    {u"music", Meaning::kFiller},
    {u"live", Meaning::kLive, true},
    {u"acoustic", Meaning::kLive, true},
    {u"unplugged", Meaning::kLive, true},
    {u"demo", Meaning::kLive, true},
    {u"remix", Meaning::kLive, true},
    {u"rmx", Meaning::kLive, true},
    {u"mix", Meaning::kLive},
    {u"dj", Meaning::kLive},
    {u"edit", Meaning::kLive, true},
    {u"radio", Meaning::kLive},
    {u"extended", Meaning::kLive},
    {u"session", Meaning::kLive},
    {u"sessions", Meaning::kLive},
    {u"piano", Meaning::kLive},
    {u"orchestral", Meaning::kLive},
    {u"cover", Meaning::kLive, true},
    {u"reprise", Meaning::kLive, true},
    {u"mashup", Meaning::kLive},
    {u"nightcore", Meaning::kLive},
    {u"slowed", Meaning::kLive},
    {u"rehearsal", Meaning::kLive},
    {u"alternate", Meaning::kLive},
    {u"concert", Meaning::kLive},
    {u"acapella", Meaning::kLive},
    {u"instrumental", Meaning::kNoVoice, true},
    {u"karaoke", Meaning::kNoVoice, true},
    {u"inst", Meaning::kNoVoice, true},
    {u"offvocal", Meaning::kNoVoice, true},
    {u"backing", Meaning::kNoVoice},
    {u"mandarin", Meaning::kLanguage, false, kVersionMandarin},
    {u"chinese", Meaning::kLanguage, false, kVersionMandarin},
    {u"cantonese", Meaning::kLanguage, false, kVersionCantonese},
    {u"english", Meaning::kLanguage, false, kVersionEnglish},
    {u"japanese", Meaning::kLanguage, false, kVersionJapanese},
    {u"korean", Meaning::kLanguage, false, kVersionKorean},
    {u"spanish", Meaning::kLanguage, false, kVersionOtherLanguage},
    {u"french", Meaning::kLanguage, false, kVersionOtherLanguage},
    {u"german", Meaning::kLanguage, false, kVersionOtherLanguage},
};

/// Looked for inside of words, in simplified characters; of several at one place the first in the list.
constexpr KnownWord kHanWords[] = {
    {u"主题曲", Meaning::kNothing},
    {u"主题歌", Meaning::kNothing},
    {u"片头曲", Meaning::kNothing},
    {u"片尾曲", Meaning::kNothing},
    {u"插曲", Meaning::kNothing},
    {u"推广曲", Meaning::kNothing},
    {u"宣传曲", Meaning::kNothing},
    {u"广告曲", Meaning::kNothing},
    {u"原声", Meaning::kNothing},
    {u"官方", Meaning::kNothing},
    {u"完整版", Meaning::kNothing},
    {u"原版", Meaning::kNothing},
    {u"专辑版", Meaning::kNothing},
    {u"单曲版", Meaning::kNothing},
    {u"高清", Meaning::kNothing},
    {u"无损", Meaning::kNothing},
    {u"歌词", Meaning::kNothing},
    {u"演唱会", Meaning::kLive},
    {u"音乐节", Meaning::kLive},
    {u"现场", Meaning::kLive},
    {u"翻唱", Meaning::kLive, true},
    {u"翻自", Meaning::kLive},
    {u"不插电", Meaning::kLive},
    {u"钢琴", Meaning::kLive},
    {u"吉他", Meaning::kLive},
    {u"弹唱", Meaning::kLive},
    {u"清唱", Meaning::kLive},
    {u"重唱", Meaning::kLive},
    {u"合唱", Meaning::kLive},
    {u"男声", Meaning::kLive},
    {u"女声", Meaning::kLive},
    {u"童声", Meaning::kLive},
    {u"慢摇", Meaning::kLive},
    {u"舞曲", Meaning::kLive},
    {u"加速", Meaning::kLive},
    {u"减速", Meaning::kLive},
    {u"抖音", Meaning::kLive},
    {u"铃声", Meaning::kLive},
    {u"片段", Meaning::kLive},
    {u"剪辑", Meaning::kLive},
    {u"混音", Meaning::kLive},
    {u"试听", Meaning::kLive},
    {u"ライブ", Meaning::kLive},
    {u"伴奏", Meaning::kNoVoice, true},
    {u"纯音乐", Meaning::kNoVoice, true},
    {u"轻音乐", Meaning::kNoVoice},
    {u"消音", Meaning::kNoVoice},
    {u"卡拉", Meaning::kNoVoice},
    {u"カラオケ", Meaning::kNoVoice},
    {u"国语", Meaning::kLanguage, false, kVersionMandarin},
    {u"普通话", Meaning::kLanguage, false, kVersionMandarin},
    {u"中文", Meaning::kLanguage, false, kVersionMandarin},
    {u"粤语", Meaning::kLanguage, false, kVersionCantonese},
    {u"闽南语", Meaning::kLanguage, false, kVersionHokkien},
    {u"台语", Meaning::kLanguage, false, kVersionHokkien},
    {u"英文", Meaning::kLanguage, false, kVersionEnglish},
    {u"英语", Meaning::kLanguage, false, kVersionEnglish},
    {u"日文", Meaning::kLanguage, false, kVersionJapanese},
    {u"日语", Meaning::kLanguage, false, kVersionJapanese},
    {u"日本语", Meaning::kLanguage, false, kVersionJapanese},
    {u"韩文", Meaning::kLanguage, false, kVersionKorean},
    {u"韩语", Meaning::kLanguage, false, kVersionKorean},
};
constexpr char16_t kEdition = u'版';

/// Artists that say nothing.
constexpr std::u16string_view kNobody[] = {
    u"unknownartist", u"unknown",    u"variousartists", u"various", u"va",
    u"群星",          u"未知艺术家", u"未知歌手",       u"佚名",    u"未知"};

enum class Kind : uint8_t { kSeparator, kApostrophe, kJoint, kWord, kHan, kSkipped };

Kind KindOf(char16_t c) {
  if (c < 0x80) {
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) return Kind::kWord;
    if (c == '\'' || c == '`') return Kind::kApostrophe;
    return c == '&' || c == '+' || c == '/' || c == ',' || c == ';' ? Kind::kJoint : Kind::kSeparator;
  }
  if (c == 0x2019 || c == 0x2018 || c == 0xB4 || c == 0x2BC) return Kind::kApostrophe;
  if (c == 0x3001 || c == 0xD7) return Kind::kJoint;
  if (c < 0xC0 || c == 0xF7) return Kind::kSeparator;
  if (c >= 0x300 && c <= 0x36F) return Kind::kSkipped;  // Marks of their own.
  if (c < 0x2000) return Kind::kWord;
  if (c >= 0x2150 && c <= 0x24FF) return Kind::kWord;  // Roman and circled numbers.
  if (c < 0x2E80) return Kind::kSeparator;
  if (c == 0x3005 || c == 0x3006 || c == 0x3007) return Kind::kHan;
  if (c < 0x3041) return Kind::kSeparator;
  if (c == 0x3099 || c == 0x309A || c == 0xFF9E || c == 0xFF9F || c == 0x30FB) return Kind::kSkipped;
  if (c >= 0xD83C && c <= 0xD83E) return Kind::kSeparator;  // Half of a picture.
  if (c >= 0xE000 && c < 0xF900) return Kind::kSeparator;
  if (c >= 0xFB50 && c < 0xFF66) return Kind::kSeparator;
  if (c >= 0xFFE0) return Kind::kSeparator;
  return Kind::kHan;
}

/// Kana with the sound mark that follows it as a character of its own; 0 when it takes none.
char16_t WithSoundMark(char16_t kana, char16_t mark) {
  const bool half = mark == 0x309A || mark == 0xFF9F;
  const char16_t base = kana >= 0x30A1 ? static_cast<char16_t>(kana - 0x60) : kana;
  const bool h_row = base >= 0x306F && base <= 0x307B && base % 3 == 0;
  if (half) return h_row ? static_cast<char16_t>(kana + 2) : u'\0';
  if (base == 0x3046) return static_cast<char16_t>(kana + 0x4E);
  const bool voiced = h_row || (base >= 0x304B && base <= 0x3061 && base % 2 == 1) ||
                      (base >= 0x3064 && base <= 0x3068 && base % 2 == 0);
  return voiced ? static_cast<char16_t>(kana + 1) : u'\0';
}

struct Word {
  std::u16string text;
  bool is_han = false;
  bool joint_before = false;  ///< "&" or the like stands between this word and the one before.
  bool space_before = false;
};
using Words = std::vector<Word>;

Words WordsOf(std::u16string_view text) {
  Words words;
  bool open = false;
  bool joint = false;
  bool space = false;
  char16_t last = 0;
  for (char16_t c : text) {
    c = FoldForComparing(c);
    // The low half of a character goes with its high half.
    const bool low = c >= 0xDC00 && c <= 0xDFFF;
    if (low && last >= 0xD83C && last <= 0xD83E) continue;
    last = c;
    const Kind kind = KindOf(c);
    if (kind == Kind::kApostrophe) continue;
    if (kind == Kind::kSkipped) {
      if (c != 0x30FB && open && words.back().is_han)
        if (const char16_t voiced = WithSoundMark(words.back().text.back(), c))
          words.back().text.back() = voiced;
      continue;
    }
    if (kind == Kind::kSeparator || kind == Kind::kJoint) {
      open = false;
      joint = joint || kind == Kind::kJoint;
      space = space || IsSpace(c);
      continue;
    }
    const bool is_han = kind == Kind::kHan;
    if (!open || words.back().is_han != is_han) {
      words.push_back({{}, is_han, joint && !words.empty(), space});
      joint = space = false;
    }
    open = true;
    if (c == 0xDF)
      words.back().text += u"ss";
    else if (c == 0xE6 || c == 0xC6)
      words.back().text += u"ae";
    else if (c == 0x153 || c == 0x152)
      words.back().text += u"oe";
    else
      words.back().text += c;
  }
  return words;
}

std::u16string Joined(const Words& words) {
  std::u16string text;
  for (const Word& word : words)
    text += word.text;
  return text;
}

const KnownWord* KnownLatin(std::u16string_view word) {
  const auto found = std::find_if(std::begin(kLatinWords), std::end(kLatinWords),
                                  [&](const KnownWord& one) { return one.word == word; });
  return found == std::end(kLatinWords) ? nullptr : found;
}

bool IsYear(std::u16string_view word) {
  return word.size() == 4 && (word.starts_with(u"19") || word.starts_with(u"20")) &&
         std::all_of(word.begin(), word.end(), [](char16_t c) { return c >= '0' && c <= '9'; });
}

bool IsGuestWord(std::u16string_view word) {
  return word == u"feat" || word == u"ft" || word == u"featuring";
}

/// What a bracket or an end says.
struct Said {
  uint16_t versions = 0;
  bool anything = false;  ///< A known word that is no filler.
  std::u16string rest;    ///< What is no known word.
};

void Take(const KnownWord& known, Said& said) {
  if (known.meaning != Meaning::kFiller) said.anything = true;
  if (known.meaning == Meaning::kLive) said.versions |= kVersionLive;
  if (known.meaning == Meaning::kNoVoice) said.versions |= kVersionNoVoice;
  said.versions |= known.language;
}

void ReadHan(std::u16string_view word, Said& said) {
  for (size_t i = 0; i < word.size();) {
    const auto found = std::find_if(std::begin(kHanWords), std::end(kHanWords), [&](const KnownWord& one) {
      return word.substr(i).starts_with(one.word);
    });
    if (found != std::end(kHanWords)) {
      Take(*found, said);
      i += found->word.size();
    } else {
      if (word[i] != kEdition) said.rest += word[i];
      ++i;
    }
  }
}

Said ReadBracket(const Words& words) {
  Said said;
  if (words.empty()) return said;
  const std::u16string& first = words.front().text;
  if (IsGuestWord(first) || ((first == u"with" || first == u"w" || first == u"prod") && words.size() > 1)) {
    said.anything = true;
    return said;
  }
  for (const Word& word : words) {
    if (word.is_han)
      ReadHan(word.text, said);
    else if (const KnownWord* known = KnownLatin(word.text))
      Take(*known, said);
    else
      said.rest += word.text;
  }
  if (!said.anything)
    said.rest = Joined(words);  // Fillers are words like others then.
  else if (said.versions == 0)
    said.rest.clear();
  return said;
}

/// "晴天伴奏", "晴天粤语版": takes the end off the last word, which keeps a unit at least.
void TakeHanEnd(Words& words, Said& said) {
  std::u16string& text = words.back().text;
  std::u16string_view body = text;
  const bool edition = body.ends_with(kEdition);
  if (edition) body.remove_suffix(1);
  // "DJ版"
  if (edition && body.empty() && words.size() > 2) {
    const KnownWord* known = KnownLatin(words[words.size() - 2].text);
    if (!known || known->meaning == Meaning::kFiller) return;
    Take(*known, said);
    words.resize(words.size() - 2);
    return;
  }
  for (const KnownWord& known : kHanWords) {
    if (!body.ends_with(known.word) || !(known.ends_names || edition)) continue;
    const bool all = body.size() == known.word.size();
    if (all && words.size() == 1) continue;
    Take(known, said);
    text.resize(body.size() - known.word.size());
    if (all) words.pop_back();
    return;
  }
}

/// Takes "Live", "Remastered 2011", "Radio Edit" and the like off the end. `may_be_all`: a part that says
/// nothing else goes altogether.
Said TakeEnd(Words& words, bool may_be_all) {
  Said said;
  if (words.empty()) return said;
  if (may_be_all) {
    Said all = ReadBracket(words);
    if (all.anything && all.rest.empty()) {
      const bool guests =
          IsGuestWord(words.front().text) || words.front().text == u"with" || words.front().text == u"w";
      if (!guests) {
        words.clear();
        return all;
      }
    }
  }
  if (words.back().is_han) {
    TakeHanEnd(words, said);
    return said;
  }
  size_t begin = words.size();
  bool sure = false;
  bool bare = true;  // Nothing but fillers and years so far.
  while (begin > 1) {
    const Word& word = words[begin - 1];
    const KnownWord* known = word.is_han ? nullptr : KnownLatin(word.text);
    if (!known && !IsYear(word.text)) break;
    if (known && word.text == u"the") break;
    --begin;
    if (!known || known->meaning == Meaning::kFiller) continue;
    sure = sure || known->ends_names || (bare && begin + 1 < words.size());
    bare = false;
  }
  if (!sure) return said;
  for (size_t i = begin; i < words.size(); ++i)
    if (const KnownWord* known = KnownLatin(words[i].text)) Take(*known, said);
  words.resize(begin);
  return said;
}

/// Builds a FoldedName part by part.
class Folder {
 public:
  /// `lead`: the first part of a file's name, which a track number may begin.
  void AddPart(std::u16string_view text, bool lead, bool is_number) {
    std::u16string plain;
    std::u16string extra;
    bool at_start = true;
    for (size_t i = 0; i < text.size(); ++i) {
      const char16_t closing = ClosingBracket(text[i]);
      const size_t end = closing != 0 ? text.find(closing, i + 1) : kNone;
      if (end == kNone) {
        plain += text[i];
        at_start = at_start && IsSpace(text[i]);
        continue;
      }
      const Words words = WordsOf(text.substr(i + 1, end - i - 1));
      const Said said = ReadBracket(words);
      if (!said.anything && at_start && !WordsOf(text.substr(end + 1)).empty() && !words.empty()) {
        Finish(words, {}, lead, false);
        lead = false;
      } else {
        name_.versions |= said.versions;
        extra += said.rest;
        plain += u' ';
      }
      i = end;
    }
    Words words = WordsOf(plain);
    for (size_t i = 1; i < words.size(); ++i) {
      if (!IsGuestWord(words[i].text)) continue;
      words.resize(i);
      break;
    }
    if (!is_number) {
      const auto said_parts = std::count_if(name_.parts.begin(), name_.parts.end(),
                                            [](const FoldedName::Part& part) { return !part.is_number; });
      const Said said = TakeEnd(words, said_parts >= 2 && !keep_);
      name_.versions |= said.versions;
    }
    if (words.empty() && (name_.parts.empty() || keep_)) {
      // Nothing but brackets or signs: they are the name then.
      if (!extra.empty()) {
        words.push_back({std::move(extra), false, false, false});
        extra.clear();
      } else {
        Word all;
        for (const char16_t c : text)
          if (!IsSpace(c)) all.text += FoldForComparing(c);
        if (!all.text.empty()) words.push_back(std::move(all));
      }
    }
    Finish(words, extra, lead, is_number);
  }
  /// The next part is kept whatever it says.
  void KeepNext() { keep_ = true; }
  FoldedName& Name() { return name_; }

 private:
  void Finish(const Words& words, std::u16string_view extra, bool lead, bool is_number) {
    keep_ = false;
    name_.extras += extra;
    if (words.empty()) {
      if (!name_.parts.empty()) name_.parts.back().extra_end = static_cast<uint16_t>(name_.extras.size());
      return;
    }
    FoldedName::Part part;
    part.is_number = is_number;
    if (words.size() > 1) {
      const std::u16string& first = words.front().text;
      if (first == u"the") part.article = 3;
      const bool digits = first.size() <= 2 && std::all_of(first.begin(), first.end(),
                                                           [](char16_t c) { return c >= '0' && c <= '9'; });
      if (lead && digits && words[1].space_before) part.number = static_cast<uint8_t>(first.size());
    }
    const size_t begin = name_.text.size();
    for (size_t i = 0; i < words.size(); ++i) {
      const std::u16string& word = words[i].text;
      const bool between = i > 0 && i + 1 < words.size();
      // "Simon and Garfunkel" is "Simon & Garfunkel".
      const bool joins = between && (word == u"and" || word == u"x" || word == u"vs");
      if ((joins || words[i].joint_before) && name_.text.size() > begin &&
          (name_.joints.empty() || name_.joints.back() != name_.text.size()))
        name_.joints.push_back(static_cast<uint16_t>(name_.text.size()));
      if (!joins) name_.text += word;
    }
    part.end = static_cast<uint16_t>(name_.text.size());
    part.extra_end = static_cast<uint16_t>(name_.extras.size());
    name_.parts.push_back(part);
  }

  FoldedName name_;
  bool keep_ = false;
};

std::u16string CutText(std::string_view gbk) {
  // A unit takes at most four bytes.
  std::u16string text = Utf16FromGbk(gbk.substr(0, kMostUnits * 4));
  if (text.size() > kMostUnits) text.resize(kMostUnits);
  return text;
}

void AddName(Folder& folder, std::u16string_view text) {
  bool lead = true;
  for (const NamePart& part : SplitName(text)) {
    folder.AddPart(part.text, lead, part.is_number);
    lead = false;
  }
}

}  // namespace

FoldedName FoldName(std::string_view base_name_gbk) {
  Folder folder;
  AddName(folder, CutText(base_name_gbk));
  return std::move(folder.Name());
}

FoldedName FoldSong(const SongKey& key) {
  const FoldedName base = FoldName(key.base_name);
  Folder folder;
  const std::u16string artist = CutText(key.artist);
  if (!Trim(artist).empty()) folder.AddPart(artist, false, false);
  FoldedName& name = folder.Name();
  const bool nobody =
      name.text.empty() || std::find(std::begin(kNobody), std::end(kNobody), name.text) != std::end(kNobody);
  if (nobody) name = {};
  const std::u16string title = CutText(key.title);
  if (nobody) {
    AddName(folder, title);  // It may say "Artist - Title".
  } else {
    name.is_song = true;
    const size_t artist_end = name.text.size();
    name.versions = 0;  // Of the song, not of who sings it.
    // All parts of an artist are one: "(G)I-DLE".
    name.parts = {{name.parts.back()}};
    name.parts.front().article = 0;
    if (artist_end > 3 && name.text.starts_with(u"the") && WordsOf(artist).front().text == u"the")
      name.parts.front().article = 3;
    bool first = true;
    for (const NamePart& part : SplitName(title)) {
      // "Artist - Title" as the title of a song by that artist.
      const bool repeated = first && SplitName(title).size() > 1 && Joined(WordsOf(part.text)) == name.text;
      if (!repeated) {
        if (first) folder.KeepNext();
        folder.AddPart(part.text, false, part.is_number);
        first = false;
      }
    }
  }
  name.base = base.text;
  return std::move(name);
}

}  // namespace melorin
