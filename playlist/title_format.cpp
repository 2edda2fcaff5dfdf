// SPDX-License-Identifier: MIT
//
// The formatter. A list of 100,000 entries is sorted by its titles, so texts go straight into the result.
#include "playlist/title_format.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "doc/settings.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr TitlePlaceholder kPlaceholders[] = {
    {u'F', u"filetitle", u"文件名"}, {u'E', u"fileext", u"扩展名"}, {u'P', u"filepath", u"文件路径"},
    {u'C', u"codec", u"编码格式"},   {u'A', u"Artist", u"艺术家"},  {u'T', u"Title", u"标题"},
    {u'L', u"Album", u"专辑名"},     {u'G', u"Genre", u"流派"},     {u'I', u"Tracknumber", u"音轨号"},
    {u'Y', u"Date", u"年代"},        {u'D', u"Comment", u"备注"},
};

constexpr std::u16string_view kFileNamePatterns[] = {
    u"%(Genre)\\%(Album)\\%(Title)",        u"%(Artist)\\%(Album)\\%(Title)",
    u"%(Album)\\%(TrackNumber).%(Title)",   u"%(Artist)\\%(Title)",
    u"%(TrackNumber).%(Artist) - %(Title)", u"%(Artist) - %(TrackNumber).%(Title)",
};

constexpr std::u16string_view kUnknownOpen = u"(未知";

/// The file's name without folder and extension.
std::string_view FileTitle(std::string_view path_gbk) {
  const std::string_view name = PathFileName(path_gbk);
  return name.substr(0, FindLastGbk(name, '.'));
}

bool IsAsciiText(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
}

/// Puts a title together.
class TitleWriter {
 public:
  TitleWriter(std::u16string_view pattern, const PlayListItem& item) : rest_(pattern), item_(item) {}

  FormattedTitle Run() {
    for (;;) {
      const size_t percent = rest_.find(u'%');
      // One at the very end is text like any other.
      if (percent == std::u16string_view::npos || percent + 1 == rest_.size()) break;
      title_.text += rest_.substr(0, percent);
      const char16_t c = rest_[percent + 1];
      rest_.remove_prefix(percent + 2);
      if (c == u'(')
        NamedTag();
      else
        Letter(c);
    }
    title_.text += rest_;
    return std::move(title_);
  }

 private:
  void NamedTag() {
    const size_t close = rest_.find(u')');
    if (close == std::u16string_view::npos || close == 0) return;
    const std::u16string_view name = rest_.substr(0, close);
    rest_.remove_prefix(close + 1);
    if (!Tag(name)) Unknown(name);
  }

  void Letter(char16_t c) {
    const std::string& path = item_.PathGbk();
    switch (c) {
      case u'F':
        Gbk(FileTitle(path));
        return;
      case u'E':
        Gbk(PathExtension(path));
        return;
      case u'P':
        Gbk(path);
        return;
      case u'C': {
        const std::string_view codec = item_.CodecGbk();
        if (!Gbk(codec.substr(0, FindFirstBar(codec)))) title_.text += u"N/A";
        return;
      }
      default:
        break;
    }
    const auto row = std::find_if(std::begin(kPlaceholders), std::end(kPlaceholders),
                                  [c](const TitlePlaceholder& p) { return p.letter == c; });
    if (row == std::end(kPlaceholders))
      title_.text += c;
    else if (!Tag(row->field)) {
      if (c == u'I')
        title_.text += u'0';
      else
        Unknown(row->description);
    }
  }

  /// The bar between a codec's short and long name. No trail byte may be taken for it.
  static size_t FindFirstBar(std::string_view gbk) {
    for (size_t i = 0; i < gbk.size(); i += IsGbkLead(static_cast<unsigned char>(gbk[i])) ? 2 : 1)
      if (gbk[i] == '|') return i;
    return std::string_view::npos;
  }

  bool Tag(std::u16string_view name) {
    // Names are ASCII as a rule and short, so that they need no memory of their own.
    const std::string value =
        item_.TagValue(IsAsciiText(name) ? std::string(name.begin(), name.end()) : Utf8FromUtf16(name));
    return Found(value, [&value] { return Utf16FromUtf8(value); });
  }
  bool Gbk(std::string_view value) {
    return Found(value, [value] { return Utf16FromGbk(value); });
  }
  bool Found(std::string_view value, auto&& converted) {
    if (value.empty()) return false;
    ++title_.found;
    if (IsAscii(value))
      title_.text.append(value.begin(), value.end());
    else
      title_.text += converted();
    return true;
  }

  void Unknown(std::u16string_view what) { title_.text.append(kUnknownOpen).append(what).append(1, u')'); }

  std::u16string_view rest_;
  const PlayListItem& item_;
  FormattedTitle title_;
};

}  // namespace

FormattedTitle FormatTitle(std::u16string_view pattern, const PlayListItem& item) {
  return TitleWriter(pattern, item).Run();
}

std::span<const TitlePlaceholder> TitlePlaceholders() {
  return kPlaceholders;
}

std::span<const std::u16string_view> FileNamePatterns() {
  return kFileNamePatterns;
}

TitleSettings TitleSettingsFrom(const PlayListSettings& settings) {
  return {Utf16FromGbk(settings.def_title_format_gbk), Utf16FromGbk(settings.tag_title_format_gbk),
          settings.tag_format != 0, settings.title_number != 0};
}

std::u16string EntryTitle(const PlayListItem& item, const TitleSettings& settings) {
  if (settings.use_tag_pattern)
    if (FormattedTitle title = FormatTitle(settings.tag_pattern, item); title.found != 0)
      return std::move(title.text);
  if (FormattedTitle title = FormatTitle(settings.default_pattern, item); title.found != 0)
    return std::move(title.text);
  const std::string& own = item.TitleGbk();
  return Utf16FromGbk(own.empty() ? FileTitle(item.PathGbk()) : std::string_view(own));
}

std::u16string NumberedTitle(const PlayListItem& item, size_t index, const TitleSettings& settings) {
  std::u16string title = EntryTitle(item, settings);
  if (!settings.number) return title;
  const std::string number = std::to_string(index + 1) + ".";
  title.insert(title.begin(), number.begin(), number.end());
  return title;
}

}  // namespace melorin
