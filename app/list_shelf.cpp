// SPDX-License-Identifier: MIT
#include "app/list_shelf.h"

#include <algorithm>
#include <utility>

#include "app/player_text.h"
#include "platform/file.h"
#include "platform/text.h"
#include "playlist/list_file.h"
#include "ui/short_text.h"

namespace melorin {

// ---- showing

void ListShelf::WhenLoaded(size_t index, std::function<void(const ComPtr<Playlist>&)> use) {
  if (index >= Count()) return;
  const ComPtr<Playlist> list = Data().Lists().At(index);
  player_.LoadList(list, [this, list, use = std::move(use)](bool loaded) {
    // It may have been deleted meanwhile.
    if (!Data().IndexOf(list.get())) return;
    if (loaded) {
      use(list);
    } else {
      player_.Report(u"无法读取播放列表：" + Utf16FromGbk(list->NameGbk()));
    }
  });
}

void ListShelf::Show(size_t index) {
  if (index >= Count()) return;
  wanted_ = Data().Lists().At(index).get();
  WhenLoaded(index, [this](const ComPtr<Playlist>& list) {
    if (wanted_ != list.get()) return;
    wanted_ = nullptr;
    const size_t now = *Data().IndexOf(list.get());
    if (now == Shown()) return;
    Data().Show(now);
    player_.ListShown();
  });
}

void ListShelf::AdoptShown() {
  PlayerControl& control = player_.Control();
  if (Data().HasLists() && !Data().IndexOf(control.PlayingList().get()))
    control.SetPlayingList(Data().ActiveList(), std::nullopt);
}

// ---- new, renamed, deleted, moved

std::u16string ListShelf::FreshName() const {
  const auto is_taken = [this](const std::u16string& name) {
    const std::string name_gbk = GbkFromUtf16(name);
    for (size_t i = 0; i < Count(); ++i)
      if (EqualNoCaseGbk(Data().Lists().At(i)->NameGbk(), name_gbk)) return true;
    return false;
  };
  const std::u16string name = u"新列表";
  if (!is_taken(name)) return name;
  for (uint32_t number = 2;; ++number)
    if (std::u16string numbered = name + u" " + ToText(number); !is_taken(numbered)) return numbered;
}

void ListShelf::NewList() {
  if (!Data().HasLists()) return;
  const auto name = dialogs_.AskForText(u"新建播放列表", u"列表名称(&N)：", FreshName());
  if (!name) return;
  Data().Show(Data().AddList(Playlist::Create(GbkFromUtf16(*name))));
  wanted_ = nullptr;
  player_.ListsEdited();
}

void ListShelf::Rename(size_t index) {
  if (index >= Count()) return;
  const ComPtr<Playlist> list = Data().Lists().At(index);
  const std::u16string old = Utf16FromGbk(list->NameGbk());
  const auto name = dialogs_.AskForText(u"重命名播放列表", u"列表名称(&N)：", old);
  // While the dialog was open the lists may have changed.
  const std::optional<size_t> now = Data().IndexOf(list.get());
  if (!name || *name == old || !now) return;
  WhenLoaded(*now, [this, name_gbk = GbkFromUtf16(*name)](const ComPtr<Playlist>& loaded) {
    Data().RenameList(*Data().IndexOf(loaded.get()), name_gbk);
    player_.ListsEdited();
  });
}

void ListShelf::Delete(size_t index) {
  if (index >= Count()) return;
  const ComPtr<Playlist> list = Data().Lists().At(index);
  const bool may_have_entries = !list->IsLoaded() || !list->IsEmpty();
  if (may_have_entries &&
      !dialogs_.Confirm(u"删除播放列表“" + ShortText(Utf16FromGbk(list->NameGbk()), kShortName) +
                        u"”？\n列表中的文件不会被删除。"))
    return;
  const std::optional<size_t> now = Data().IndexOf(list.get());
  if (!now) return;
  if (*now != Shown() || Count() == 1) {
    Remove(list);
    return;
  }
  // The neighbour is shown then, so it has to be read first.
  const size_t neighbour = *now + 1 < Count() ? *now + 1 : *now - 1;
  WhenLoaded(neighbour, [this, list](const ComPtr<Playlist>& next) {
    Data().Show(*Data().IndexOf(next.get()));
    Remove(list);
  });
}

void ListShelf::Remove(const ComPtr<Playlist>& list) {
  const std::optional<size_t> index = Data().IndexOf(list.get());
  if (!index) return;
  Data().RemoveList(*index);
  states_.Forget(*list);
  if (wanted_ == list.get()) wanted_ = nullptr;
  PlayerControl& control = player_.Control();
  if (control.PlayingList().get() == list.get()) {
    // What plays goes on, and nothing follows.
    control.SetPlayingList({}, std::nullopt);
    if (!control.HasTrack()) AdoptShown();
  }
  player_.ListsEdited();
}

void ListShelf::Move(size_t index, size_t to) {
  if (index >= Count() || to >= Count() || index == to) return;
  Data().MoveList(index, to);
  player_.ListsEdited();
}

// ---- list files

void ListShelf::OpenListFiles() {
  if (!Data().HasLists()) return;
  for (const std::u16string& path : dialogs_.AskForListFiles()) {
    player_.ReadListFile(GbkFromUtf16(path), [this, path](ComPtr<Playlist> read) {
      if (!read) {
        player_.Report(u"无法读取播放列表文件：" + path);
        return;
      }
      Data().Show(Data().AddList(std::move(read)));
      wanted_ = nullptr;
      player_.ListsEdited();
    });
  }
}

void ListShelf::SaveListFile(size_t index) {
  WhenLoaded(index, [this](const ComPtr<Playlist>& list) {
    const auto path = dialogs_.AskWhereToSave(Utf16FromGbk(list->NameGbk()));
    if (!path) return;
    const std::string path_gbk = FullPath(GbkFromUtf16(*path));
    if (SavePlaylist(*list, path_gbk, Data().ListOptions())) {
      player_.Tell(u"已保存 " + ToText(static_cast<uint32_t>(list->Size())) + u" 首到 " +
                   std::u16string(FileNameOf(*path)));
    } else {
      player_.Report(u"无法保存播放列表：" + *path);
    }
  });
}

}  // namespace melorin
