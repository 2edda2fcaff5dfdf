// SPDX-License-Identifier: MIT
//
// What stands in each menu. Lines between groups are put where they make sense after everything else, so a
// group may be empty.
#include "ui/menu.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "ui/short_text.h"

namespace melorin {
namespace {

using Id = CommandId;

/// Names may hold "&", which menus would take for the mark of a key.
std::u16string Escaped(std::u16string_view name) {
  std::u16string text;
  for (const char16_t c : ShortText(name, kShortName)) {
    if (c == u'&') text += c;
    // A tab would begin the hot key's text.
    text += c < u' ' ? u' ' : c;
  }
  return text;
}

/// The first nine and the tenth are chosen by their digits.
std::u16string Numbered(size_t index, std::u16string_view name) {
  std::u16string text;
  if (index < 10) {
    text += u'&';
    text += static_cast<char16_t>(u'0' + (index + 1) % 10);
    text += u' ';
  }
  return text + Escaped(name);
}

/// "撤消 排序(&U)".
std::u16string WithAction(std::u16string text, const std::u16string& action) {
  if (action.empty()) return text;
  const size_t key = text.find(u"(&");
  return text.insert(key == std::u16string::npos ? text.size() : key, u" " + Escaped(action));
}

class Builder {
 public:
  explicit Builder(const MenuSource& source) : source_(source) {}

  Builder& Line() {
    line_due_ = !menu_.empty();
    return *this;
  }

  Builder& Add(Id command) {
    if (const Command* row = FindCommand(command)) Append(Item(command, row->text));
    return *this;
  }
  template <class... More>
  Builder& Add(Id first, More... more) {
    Add(first);
    return Add(more...);
  }

  Builder& Default(Id command) {
    Add(command);
    menu_.back().is_default = true;
    return *this;
  }

  /// Commands of which one is in force.
  template <class... Ids>
  Builder& Radio(Ids... commands) {
    for (const Id command : {commands...}) {
      Add(command);
      menu_.back().radio = true;
    }
    return *this;
  }

  Builder& WithAction(Id command, const std::u16string& action) {
    Add(command);
    std::u16string text(FindCommand(command)->text);
    menu_.back().text = KeyBehind(command, melorin::WithAction(std::move(text), action));
    return *this;
  }

  /// One of a number of things of which one is in use; `text` as in menus.
  Builder& Choice(Id command, std::u16string text, bool in_use) {
    MenuItem item;
    item.command = command;
    item.text = std::move(text);
    item.enabled = IsEnabled(command);
    item.checked = in_use;
    item.radio = true;
    Append(std::move(item));
    return *this;
  }

  /// Nothing when it would be empty.
  Builder& Sub(const char16_t* text, Menu children) {
    if (children.empty()) return *this;
    MenuItem item;
    item.text = text;
    item.children = std::move(children);
    Append(std::move(item));
    return *this;
  }

  Menu Take() { return std::move(menu_); }

 private:
  bool IsEnabled(Id command) const { return source_.target && source_.target->IsEnabled(command); }

  std::u16string KeyBehind(Id command, std::u16string text) const {
    const KeyBinding keys = FindBinding(source_.keys, command);
    const std::u16string key = KeyText(keys.application.key != 0 ? keys.application : keys.global);
    return key.empty() ? text : text + u'\t' + key;
  }

  MenuItem Item(Id command, std::u16string text) const {
    MenuItem item;
    item.command = command;
    item.text = KeyBehind(command, std::move(text));
    item.enabled = IsEnabled(command);
    item.checked = source_.target && source_.target->IsChecked(command);
    return item;
  }

  void Append(MenuItem item) {
    if (line_due_) menu_.emplace_back();
    line_due_ = false;
    menu_.push_back(std::move(item));
  }

  const MenuSource& source_;
  Menu menu_;
  bool line_due_ = false;
};

/// How many of `names` have a command: those from `first` up to `end`.
size_t CountWithin(const std::vector<std::u16string>& names, Id first, Id end) {
  return std::min(names.size(), static_cast<size_t>(OffsetFrom(end, first, INT32_MAX)));
}

void AddLists(const MenuSource& source, Builder& builder) {
  for (size_t i = 0; i < CountWithin(source.lists, Id::kShowListFirst, Id::kCopyToListFirst); ++i)
    builder.Choice(Plus(Id::kShowListFirst, static_cast<int32_t>(i)), Numbered(i, source.lists[i]),
                   i == source.shown_list);
}

void AddPresets(const MenuSource& source, Builder& builder) {
  for (size_t i = 0; i < CountWithin(source.presets, Id::kEqualizerPresetFirst, Id::kShowListFirst); ++i)
    builder.Choice(Plus(Id::kEqualizerPresetFirst, static_cast<int32_t>(i)), Escaped(source.presets[i]),
                   i == source.preset_in_use);
}

Menu SkinMenu(const MenuSource& source) {
  Builder builder(source);
  for (size_t i = 0; i < CountWithin(source.skins, Id::kSkinFirst, Id::kDynamicEnd); ++i)
    builder.Choice(Plus(Id::kSkinFirst, static_cast<int32_t>(i)), Numbered(i, source.skins[i]),
                   i == source.skin_in_use);
  return builder.Take();
}

Menu CopyToListMenu(const MenuSource& source) {
  Builder builder(source);
  for (size_t i = 0; i < CountWithin(source.lists, Id::kCopyToListFirst, Id::kSkinFirst); ++i) {
    if (i == source.shown_list) continue;
    builder.Choice(Plus(Id::kCopyToListFirst, static_cast<int32_t>(i)), Numbered(i, source.lists[i]), false);
  }
  return builder.Take();
}

Menu OpacityMenu(const MenuSource& source) {
  Builder builder(source);
  for (int32_t percent = 100; percent >= 10; percent -= 10) {
    const auto digit = static_cast<char16_t>(u'0' + percent / 10 % 10);
    std::u16string text = percent == 100 ? u"100" : std::u16string{digit, u'0'};
    text += u"%(&";
    text += digit;
    text += u')';
    builder.Choice(Plus(Id::kOpacityFirst, percent), std::move(text), percent == source.opacity);
  }
  return builder.Take();
}

Menu ControlMenu(const MenuSource& source) {
  return Builder(source)
      .Add(Id::kSeekForward, Id::kSeekBackward)
      .Line()
      .Add(Id::kVolumeUp, Id::kVolumeDown, Id::kMute)
      .Line()
      .Add(Id::kElapsedTime)
      .Take();
}

Menu ModeMenu(const MenuSource& source) {
  return Builder(source)
      .Radio(Id::kModeSingle, Id::kModeRepeatOne, Id::kModeInOrder, Id::kModeRepeatAll, Id::kModeRandom)
      .Take();
}

Menu VisualMenu(const MenuSource& source) {
  return Builder(source)
      .Radio(Id::kVisualNone, Id::kVisualSpectrum, Id::kVisualScope, Id::kVisualBlurredScope)
      .Take();
}

Menu EqualizerMenu(const MenuSource& source) {
  Builder builder(source);
  builder.Add(Id::kEqualizerOn, Id::kEqualizerReset).Line();
  AddPresets(source, builder);
  return builder.Line().Add(Id::kEqualizerLoadProfile, Id::kEqualizerSaveProfile).Take();
}

Menu LyricMenu(const MenuSource& source) {
  return Builder(source)
      .Add(Id::kLyricAssociate, Id::kLyricDissociate, Id::kLyricReload)
      .Line()
      .Add(Id::kLyricEdit, Id::kLyricSave, Id::kLyricCopy, Id::kLyricOpenFolder)
      .Line()
      .Add(Id::kLyricEarlier, Id::kLyricLater)
      .Line()
      .Radio(Id::kLyricVertical, Id::kLyricHorizontal)
      .Sub(u"对齐方式(&G)",
           Builder(source).Radio(Id::kLyricAlignLeft, Id::kLyricAlignCentre, Id::kLyricAlignRight).Take())
      .Add(Id::kLyricKaraoke, Id::kLyricTopMost)
      .Take();
}

Menu MainMenu(const MenuSource& source) {
  Builder lists(source);
  AddLists(source, lists);
  return Builder(source)
      .Default(Id::kPlayPause)
      .Add(Id::kStop, Id::kPrevious, Id::kNext)
      .Sub(u"播放控制(&C)", ControlMenu(source))
      .Sub(u"播放模式(&M)", ModeMenu(source))
      .Line()
      .Add(Id::kOpenFile, Id::kOpenFolder, Id::kLocateInList, Id::kFileProperties)
      .Line()
      .Add(Id::kShowPlayList, Id::kShowLyric, Id::kShowEqualizer, Id::kMiniMode, Id::kTopMost)
      .Line()
      .Sub(u"播放列表(&W)", lists.Take())
      .Sub(u"歌词(&G)", LyricMenu(source))
      .Sub(u"均衡器(&E)", EqualizerMenu(source))
      .Sub(u"视觉效果(&U)", VisualMenu(source))
      .Sub(u"皮肤(&K)", SkinMenu(source))
      .Sub(u"透明度(&V)", OpacityMenu(source))
      .Line()
      .Add(Id::kOptions, Id::kAbout)
      .Line()
      .Add(Id::kMinimize, Id::kExit)
      .Take();
}

Menu TrayMenu(const MenuSource& source) {
  return Builder(source)
      .Default(Id::kShowHide)
      .Line()
      .Add(Id::kPlayPause, Id::kStop, Id::kPrevious, Id::kNext)
      .Sub(u"播放模式(&M)", ModeMenu(source))
      .Line()
      .Add(Id::kShowLyric, Id::kMiniMode)
      .Line()
      .Add(Id::kOptions)
      .Line()
      .Add(Id::kExit)
      .Take();
}

Menu ListListsMenu(const MenuSource& source) {
  Builder builder(source);
  builder.Add(Id::kNewList, Id::kOpenList, Id::kSaveList)
      .Line()
      .Add(Id::kRenameList, Id::kDeleteList)
      .Line()
      .Add(Id::kPreviousList, Id::kNextList)
      .Line();
  AddLists(source, builder);
  return builder.Take();
}

Menu ListEntryMenu(const MenuSource& source) {
  return Builder(source)
      .Default(Id::kPlaySelected)
      .Line()
      .Add(Id::kCut, Id::kCopy, Id::kPaste)
      .Sub(u"复制到列表(&Y)", CopyToListMenu(source))
      .Line()
      .Add(Id::kMoveSelectedUp, Id::kMoveSelectedDown)
      .Line()
      .Add(Id::kRemoveSelected, Id::kDeleteFiles)
      .Line()
      .Add(Id::kReloadInfo, Id::kOpenFileFolder, Id::kFileProperties)
      .Take();
}

Menu ListEditMenu(const MenuSource& source) {
  return Builder(source)
      .WithAction(Id::kUndo, source.undo_action)
      .WithAction(Id::kRedo, source.redo_action)
      .Line()
      .Add(Id::kCut, Id::kCopy, Id::kPaste)
      .Line()
      .Add(Id::kSelectAll, Id::kSelectInverse, Id::kSelectNone)
      .Line()
      .Add(Id::kMoveSelectedUp, Id::kMoveSelectedDown)
      .Take();
}

}  // namespace

Menu BuildMenu(MenuKind kind, const MenuSource& source) {
  Builder builder(source);
  switch (kind) {
    case MenuKind::kMain:
      return MainMenu(source);
    case MenuKind::kTray:
      return TrayMenu(source);
    case MenuKind::kListAdd:
      return builder.Add(Id::kAddFiles, Id::kAddFolder, Id::kAddList).Take();
    case MenuKind::kListRemove:
      return builder.Add(Id::kRemoveSelected, Id::kRemoveAll)
          .Line()
          .Add(Id::kRemoveDuplicates, Id::kRemoveMissing)
          .Line()
          .Add(Id::kDeleteFiles)
          .Take();
    case MenuKind::kListLists:
      return ListListsMenu(source);
    case MenuKind::kListSort:
      return builder
          .Add(Id::kSortTitle, Id::kSortArtist, Id::kSortAlbum, Id::kSortTrackNumber, Id::kSortDuration,
               Id::kSortPath)
          .Line()
          .Add(Id::kReverseList, Id::kShuffleList)
          .Take();
    case MenuKind::kListFind:
      return builder.Add(Id::kFindInList, Id::kFindNext).Line().Add(Id::kLocateInList).Take();
    case MenuKind::kListEdit:
      return ListEditMenu(source);
    case MenuKind::kListMode:
      return ModeMenu(source);
    case MenuKind::kListEntry:
      return ListEntryMenu(source);
    case MenuKind::kListTab:
      return builder.Add(Id::kNewList, Id::kOpenList, Id::kSaveList)
          .Line()
          .Add(Id::kRenameList, Id::kDeleteList)
          .Take();
    case MenuKind::kLyric: {
      Menu menu = LyricMenu(source);
      Menu more = builder.Add(Id::kShowLyric, Id::kOptions).Take();
      menu.emplace_back();
      menu.insert(menu.end(), more.begin(), more.end());
      return menu;
    }
    case MenuKind::kEqualizer:
      return EqualizerMenu(source);
    case MenuKind::kVisual:
      return VisualMenu(source);
  }
  return {};
}

}  // namespace melorin
