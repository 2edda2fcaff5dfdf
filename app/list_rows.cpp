// SPDX-License-Identifier: MIT
#include "app/list_rows.h"

#include <algorithm>

#include "app/player_text.h"
#include "platform/text.h"
#include "ui/short_text.h"
#include "ui/time_text.h"

namespace melorin {
namespace {

constexpr size_t kLongestTip = 300;

std::u16string CountText(const char16_t* before, size_t count) {
  return before + ToText(static_cast<uint32_t>(count)) + u" 首";
}

/// "42:07", "8:42:10", "3 天 4:05:06"; TimeText takes what fits into 32 bits.
std::u16string LongTime(uint64_t milliseconds) {
  constexpr uint64_t kDay = 24ull * 60 * 60 * 1000;
  std::u16string text;
  if (milliseconds >= kDay) text = ToText(static_cast<uint32_t>(milliseconds / kDay)) + u" 天 ";
  return text + TimeText(static_cast<uint32_t>(milliseconds % kDay / 1000));
}

}  // namespace

Playlist* ListRows::List() const {
  const Session& session = player_.Data();
  return session.HasLists() ? session.ActiveList().get() : nullptr;
}

void ListRows::Update() {
  titles_ = player_.Data().Titles();
}

void ListRows::SetFailed(const ItemRef& item, bool failed) {
  if (!item) return;
  if (failed) {
    failed_.emplace(item.get(), item);
  } else {
    failed_.erase(item.get());
  }
}

PlaylistPlace& ListRows::Place() {
  return List() ? states_.Of(player_.Data().ActiveList()).place : nowhere_;
}

std::string ListRows::TitleGbk(size_t index) const {
  return GbkFromUtf16(EntryTitle(*List()->At(index), titles_));
}

std::string ListRows::DurationGbk(size_t index) const {
  const int32_t duration = List()->At(index)->DurationMs();
  return duration < 0 ? std::string() : GbkFromUtf16(TimeText(static_cast<uint32_t>(duration / 1000)));
}

std::u16string ListRows::Tip(size_t index) const {
  if (player_.Data().Values().play_list.item_tips == 0) return {};
  const PlayListItem& item = *List()->At(index);
  std::u16string text = DescribeEntry(item, EntryTitle(item, titles_));
  if (IsFailed(index)) text += u"\n上次未能播放";
  return text;
}

std::optional<size_t> ListRows::Playing() const {
  const PlayerControl& control = player_.Control();
  return control.PlayingList().get() == List() ? control.PlayingIndex() : std::nullopt;
}

std::string ListRows::TabNameGbk(size_t tab) const {
  return player_.Data().Lists().At(tab)->NameGbk();
}

std::u16string ListRows::TabTip(size_t tab) const {
  const Playlist& list = *player_.Data().Lists().At(tab);
  std::u16string tip = ShortText(Utf16FromGbk(list.NameGbk()), kLongestTip);
  if (list.IsLoaded()) tip += u"\n" + CountText(u"共 ", list.Size());
  return tip;
}

std::optional<size_t> ListRows::PlayingTab() const {
  const PlayerControl& control = player_.Control();
  if (!control.HasTrack()) return std::nullopt;
  return player_.Data().IndexOf(control.PlayingList().get());
}

std::string ListRows::InfoGbk() {
  const Playlist* list = List();
  if (!list) return {};
  const ListSelection& selection = Place().selection;
  const bool of_selection = selection.SelectedCount() > 1;
  uint64_t total = 0;
  bool all_known = true;
  for (size_t i = 0; i < list->Size(); ++i) {
    if (of_selection && !selection.IsSelected(i)) continue;
    const int32_t duration = list->At(i)->DurationMs();
    if (duration >= 0) {
      total += static_cast<uint64_t>(duration);
    } else {
      all_known = false;
    }
  }
  std::u16string text = of_selection
                            ? CountText(u"已选 ", selection.SelectedCount()) + CountText(u" / ", list->Size())
                            : CountText(u"共 ", list->Size());
  // A plus: there are more whose files were not read yet.
  if (total > 0) text += u"    " + LongTime(total) + (all_known ? u"" : u"+");
  return GbkFromUtf16(text);
}

std::u16string DescribeFormat(const PlayListItem& item) {
  const StreamFormat& format = item.Format();
  std::u16string text = Utf16FromGbk(item.CodecGbk());
  text.resize(std::min(text.find(u'|'), text.size()));
  const auto append = [&text](const std::u16string& part) { text += (text.empty() ? u"" : u"  ") + part; };
  if (format.bit_rate >= 1000) append(ToText((format.bit_rate + 500) / 1000) + u" kbps");
  if (format.sample_rate > 0) append(ToText(format.sample_rate) + u" Hz");
  if (format.channels == 1) append(u"单声道");
  if (format.channels == 2) append(u"立体声");
  if (format.channels > 2) append(ToText(format.channels) + u" 声道");
  return text;
}

std::u16string DescribeEntry(const PlayListItem& item, const std::u16string& title) {
  std::u16string text = title;
  const auto line = [&text](const char16_t* name, const std::u16string& value) {
    if (!value.empty()) text += u"\n" + (name + value);
  };
  line(u"艺术家：", Utf16FromUtf8(item.TagValue("Artist")));
  line(u"专辑：", Utf16FromUtf8(item.TagValue("Album")));
  if (item.DurationMs() >= 0) line(u"时长：", TimeText(static_cast<uint32_t>(item.DurationMs() / 1000)));
  line(u"格式：", DescribeFormat(item));
  line(u"文件：", Utf16FromGbk(item.PathGbk()));
  return text;
}

}  // namespace melorin
