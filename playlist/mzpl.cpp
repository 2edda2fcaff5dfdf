// SPDX-License-Identifier: MIT
//
// Both directions are streams. Reading listens to the parser, which forgets each element when it has ended;
// writing prints each item as it comes. So a list of any length takes no more memory than its items.
#include "playlist/mzpl.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "doc/xml_document.h"
#include "doc/xml_printer.h"
#include "platform/text.h"
#include "playlist/packed_tags.h"
#include "playlist/tag_rules.h"
#include "playlist/written_items.h"

namespace melorin {
namespace {

constexpr int32_t kVersion = 3;
constexpr std::string_view kGenerator = "Melorin -- 4.2.0";
constexpr std::string_view kGain = "replaygain_track_gain";
constexpr size_t kLeastItemBytes = sizeof("<item file=\"a\"/>") - 1;
/// More tags than this are not compared with each other.
constexpr size_t kMostLookedUp = 64;

/// "44100,2,16,192", the last one in thousands; white space may precede each number. Nothing when one is
/// missing.
std::optional<StreamFormat> ParseFormat(std::string_view text) {
  int32_t numbers[4];
  for (int i = 0; i < 4; ++i) {
    const size_t comma = i < 3 ? text.find(',') : text.size();
    if (comma == std::string_view::npos) return std::nullopt;
    const std::string_view number = text.substr(0, comma);
    const size_t digit = number.find_first_not_of(" \t\r\n+-");
    if (digit == std::string_view::npos || number[digit] < '0' || number[digit] > '9') return std::nullopt;
    numbers[i] = ParseDecimal(number);
    text.remove_prefix(i < 3 ? comma + 1 : comma);
  }
  StreamFormat format;
  format.sample_rate = static_cast<uint32_t>(numbers[0]);
  format.channels = static_cast<uint16_t>(numbers[1]);
  format.bits = static_cast<uint16_t>(numbers[2]);
  format.bit_rate = static_cast<uint32_t>(numbers[3]) * 1000;
  return format;
}

class Reader final : public XmlParseObserver {
 public:
  Reader(size_t file_bytes, const ListReading& reading, Playlist& list)
      : file_bytes_(file_bytes), reading_(reading), list_(list) {}

  bool Recognised() const { return recognised_; }

  void OnElementStart(std::string_view name, XmlElement& element) override {
    if (stopped_) return;
    if (name == "mzplaylist") {
      if (!inside_items_) Root(element);
    } else if (name == "items") {
      inside_items_ = true;
      const int32_t count = ParseDecimal(element.Attribute("count"));
      if (count > 0) ReserveEntries(list_, static_cast<size_t>(count), file_bytes_, kLeastItemBytes);
    } else if (name == "item") {
      if (inside_items_) Item(element);
    } else if (item_ && name == "fmt") {
      Format(element);
    } else if (item_ && name == "tag") {
      Tags(element);
    }
  }

  void OnElementEnd(std::string_view name) override {
    if (name == "item") {
      item_.Reset();
    } else if (name == "items") {
      inside_items_ = false;
    }
  }

  bool DropsElements() const override { return true; }
  bool Stops() const override { return stopped_; }

 private:
  static void ToGbk(std::string_view utf8, std::string& out) {
    out.clear();
    AppendGbkFromUtf8(utf8, out);
  }

  void Root(const XmlElement& element) {
    const std::string_view text = element.Attribute("version");
    version_ = text.empty() ? -1 : ParseDecimal(text);
    recognised_ = version_ != -1 && version_ <= kVersion;
    if (recognised_) {
      if (const auto title = element.Attribute("title"); !title.empty()) list_.SetName(GbkFromUtf8(title));
    }
    stopped_ = !recognised_ || reading_.name_only;
  }

  void Item(const XmlElement& element) {
    item_.Reset();
    gains_ = 0;
    const std::string_view file = element.Attribute("file");
    if (file.empty()) return;
    ToGbk(file, path_);
    ResolveEntry(reading_, path_);
    if (!TakesEntry(reading_, path_)) return;
    ToGbk(element.Attribute("title"), title_);
    if (title_.empty()) title_ = EntryFileName(path_);
    const std::string_view length = element.Attribute("len");
    duration_ms_ = length.empty() ? kUnknownDuration : ParseDecimal(length);
    const auto subtrack = static_cast<uint32_t>(std::max(ParseDecimal(element.Attribute("subtk")), 0));
    // Copied, for a copy takes exactly the memory it needs.
    item_ = ItemCache::Obtain(std::string(path_), std::string(title_), duration_ms_, subtrack);
    const std::string_view stamp = element.Attribute("ftm");
    if (!stamp.empty()) item_->SetTimeStamp(ParseHexadecimal(stamp));
    index_ = list_.Size();
    list_.Append(item_);
  }

  void Format(const XmlElement& element) {
    if (const std::string_view codec = element.Attribute("cod"); !codec.empty()) {
      if (codec != codec_) {
        codec_ = codec;
        ToGbk(codec, codec_gbk_);
      }
      item_->SetCodec(codec_gbk_);
    }
    if (const auto format = ParseFormat(element.Attribute("wfx"))) item_->SetFormat(*format);
    const std::string_view gain = element.Attribute("rpg");
    // An item has one such element; of a file that was made to take long no more than these are looked at.
    constexpr int kMostGains = 8;
    if (!gain.empty() && gains_++ < kMostGains) item_->SetTag(kGain, gain);
  }

  void Tags(const XmlElement& element) {
    packed_.clear();
    for (const XmlAttribute* tag = element.FirstAttribute(); tag; tag = element.NextAttribute(*tag))
      if (!tag->Value().empty()) AppendPackedTag(packed_, tag->Name(), tag->Value());
    if (version_ == 1) MoveToSubtrack();
    AddTags(*item_, packed_);
  }

  /// Files of version 1 kept the track of a sheet's entry in the tag "Tracknumber" only. An item's subtrack
  /// is its identity, so the entry becomes another item.
  void MoveToSubtrack() {
    if (item_->Subtrack() != 0 || !HasExtension(item_->PathGbk(), "cue")) return;
    uint32_t number = item_->SubtrackNumber();
    for (PackedTagReader tag(packed_); tag.Next();)
      if (EqualNoCaseUtf8(tag.Name(), "Tracknumber"))
        number = static_cast<uint32_t>(std::max(ParseDecimal(tag.Value()), 0));
    if (number == 0) return;
    ItemRef track = ItemCache::Obtain(item_->PathGbk(), title_, duration_ms_, number);
    if (item_->TimeStamp() != 0) track->SetTimeStamp(item_->TimeStamp());
    if (!item_->CodecGbk().empty()) track->SetCodec(item_->CodecGbk());
    if (item_->Format() != StreamFormat()) track->SetFormat(item_->Format());
    if (const std::string gain = item_->TagValue(kGain); !gain.empty()) track->SetTag(kGain, gain);
    list_.Remove(index_);
    list_.Insert(index_, track);
    item_ = std::move(track);
  }

  size_t file_bytes_;
  const ListReading& reading_;
  Playlist& list_;
  int32_t version_ = -1;
  bool recognised_ = false;
  bool stopped_ = false;
  bool inside_items_ = false;
  // The entry that is being read.
  ItemRef item_;
  size_t index_ = 0;
  int gains_ = 0;
  std::string title_;
  int32_t duration_ms_ = kUnknownDuration;
  std::string path_;    ///< Used again for each entry.
  std::string packed_;  ///< As packed_tags.h has it.
  std::string codec_;   ///< Most entries have the codec of the entry before.
  std::string codec_gbk_;
};

class Writer {
 public:
  Writer(XmlOutput& sink, const RelativeBase& base, size_t count, bool save_tags)
      : printer_(sink), base_(base), written_(count), save_tags_(save_tags) {}

  void Header(const Playlist& list) {
    printer_.Text("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<mzplaylist");
    GbkAttribute("title", list.NameGbk());
    NumberAttribute("version", kVersion);
    Attribute("generator", kGenerator);
    printer_.Text(">\r\n\t<items");
    if (list.IsEmpty()) {
      printer_.Text("/>\r\n</mzplaylist>\r\n");
      return;
    }
    NumberAttribute("count", static_cast<int64_t>(list.Size()));
    printer_.Text(">\r\n");
  }
  void Footer() { printer_.Text("\t</items>\r\n</mzplaylist>\r\n"); }

  void Item(const PlayListItem& item) {
    const bool whole = written_.Add(&item);
    printer_.Text("\t\t<item");
    GbkAttribute("file", base_.Shorten(item.PathGbk()));
    if (item.Subtrack() != 0) NumberAttribute("subtk", item.Subtrack());
    if (whole && !item.TitleGbk().empty()) GbkAttribute("title", item.TitleGbk());
    if (whole && item.DurationMs() > 0) NumberAttribute("len", item.DurationMs());
    bool open = false;
    if (whole && save_tags_) {
      if (item.TimeStamp() != 0) NumberAttribute("ftm", item.TimeStamp(), 16);
      const std::string tags = item.PackedTags();
      Format(item, tags, open);
      Tags(tags, open);
    }
    printer_.Text(open ? "\t\t</item>\r\n" : "/>\r\n");
  }

 private:
  /// Begins the item's content with its first child.
  void OpenItem(bool& open) {
    if (!open) printer_.Text(">\r\n");
    open = true;
  }

  void Format(const PlayListItem& item, std::string_view tags, bool& open) {
    std::string_view gain;
    for (PackedTagReader tag(tags); tag.Next();)
      if (IsGain(tag.Name())) gain = tag.Value();
    const std::string_view format = FormatText(item.Format());
    const bool has_format = format != "0,0,0,0";
    if (item.CodecGbk().empty() && !has_format && gain.empty()) return;
    OpenItem(open);
    printer_.Text("\t\t\t<fmt");
    if (!item.CodecGbk().empty()) GbkAttribute("cod", item.CodecGbk());
    if (has_format) Attribute("wfx", format);
    if (!gain.empty()) Attribute("rpg", gain);
    printer_.Text("/>\r\n");
  }

  std::string_view FormatText(const StreamFormat& format) {
    char* at = format_text_;
    char* const end = format_text_ + sizeof format_text_;
    at = std::to_chars(at, end, static_cast<int32_t>(format.sample_rate)).ptr;
    for (const uint32_t number : {uint32_t{format.channels}, uint32_t{format.bits}, format.bit_rate / 1000}) {
      *at++ = ',';
      at = std::to_chars(at, end, number).ptr;
    }
    return {format_text_, static_cast<size_t>(at - format_text_)};
  }

  static bool IsGain(std::string_view name) {
    return name.size() == kGain.size() && EqualNoCaseUtf8(name, kGain);
  }
  static bool IsWritten(const PackedTagReader& tag) {
    return !tag.Value().empty() && HasTagNameLength(tag.Name()) && IsXmlName(tag.Name()) &&
           !IsGain(tag.Name());
  }
  /// Whether one of the tags that follow takes its place.
  static bool IsReplaced(PackedTagReader tag) {
    const std::string_view name = tag.Name();
    for (size_t i = 0; i < kMostLookedUp && tag.Next(); ++i)
      if (tag.Name() == name && !tag.Value().empty()) return true;
    return false;
  }

  void Tags(std::string_view tags, bool& open) {
    bool tag_open = false;
    for (PackedTagReader tag(tags); tag.Next();) {
      if (!IsWritten(tag) || IsReplaced(tag)) continue;
      OpenItem(open);
      if (!tag_open) printer_.Text("\t\t\t<tag");
      tag_open = true;
      Attribute(tag.Name(), tag.Value());
    }
    if (tag_open) printer_.Text("/>\r\n");
  }

  void Attribute(std::string_view name, std::string_view value_utf8) {
    printer_.Text(" ");
    printer_.Text(name);
    printer_.Text("=\"");
    printer_.Escaped(value_utf8);
    printer_.Text("\"");
  }
  void GbkAttribute(std::string_view name, std::string_view value_gbk) {
    scratch_.clear();
    AppendUtf8FromGbk(value_gbk, scratch_);
    Attribute(name, scratch_);
  }
  void NumberAttribute(std::string_view name, int64_t value, int base = 10) {
    char text[24];
    const char* end = std::to_chars(text, text + sizeof text, value, base).ptr;
    Attribute(name, {text, static_cast<size_t>(end - text)});
  }

  XmlPrinter printer_;
  const RelativeBase& base_;
  WrittenItems written_;
  bool save_tags_;
  std::string scratch_;
  char format_text_[64];
};

}  // namespace

ListReadResult ReadMzpl(std::span<const uint8_t> bytes, const ListReading& reading, Playlist& list) {
  const size_t before = list.Size();
  Reader reader(bytes.size(), reading, list);
  XmlDocument document;
  document.SetObserver(&reader);
  document.Parse(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), kCodePageUtf8);
  ListReadResult result;
  result.recognised = reader.Recognised();
  result.complete = result.recognised && document.Error() == XmlError::kNone;
  result.entries = list.Size() - before;
  return result;
}

std::string WriteMzpl(const Playlist& list, const RelativeBase& base, bool save_tags) {
  XmlStringOutput out;
  {
    Writer writer(out, base, list.Size(), save_tags);
    writer.Header(list);
    for (const ItemRef& item : list.Items())
      writer.Item(*item);
    if (!list.IsEmpty()) writer.Footer();
  }
  if (out.Failed()) throw std::bad_alloc();
  return out.TakeText();
}

}  // namespace melorin
