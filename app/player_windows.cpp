// SPDX-License-Identifier: MIT
#include "app/player_windows.h"

#include "app/program_folders.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

MenuKind MenuOf(SkinWindow kind) {
  switch (kind) {
    case SkinWindow::kPlaylist:
      return MenuKind::kListEntry;
    case SkinWindow::kLyric:
      return MenuKind::kLyric;
    case SkinWindow::kEqualizer:
      return MenuKind::kEqualizer;
    case SkinWindow::kPlayer:
    case SkinWindow::kMini:
      break;
  }
  return MenuKind::kMain;
}

}  // namespace

PlayerWindows::PlayerWindows(HINSTANCE instance, Player& player, PlayerMenus& menus, PlayerWindowsHost& host,
                             const WindowViews& views)
    : player_(player),
      menus_(menus),
      host_(host),
      views_(views),
      text_(CreateTextPainter()),
      group_(instance, *this, player.Values(), views) {
  menus_.SetWindows(&group_);
}

PlayerWindows::~PlayerWindows() {
  StopDrops();
  menus_.SetWindows(nullptr);
}

bool PlayerWindows::Create(HWND owner) {
  DressViews(ScaleOfDpi(ScreenDpi()));
  return group_.Create(owner);
}

void PlayerWindows::WearSkin() {
  DressViews(wardrobe_.Scale());
  group_.OnSkinChanged();
}

void PlayerWindows::OnScaleChanged(int32_t scale) {
  DressViews(scale);
  group_.OnSkinChanged();
}

void PlayerWindows::DressViews(int32_t scale) {
  const std::string& name = player_.Values().skin.package_name_gbk;
  if (!wardrobe_.Wear(name.empty() ? std::string() : JoinPath(SkinFolderGbk(), name), scale)) {
    player_.Report(u"无法读取皮肤：" + Utf16FromGbk(name));
    wardrobe_.Wear({}, scale);
  }
  for (WindowView* view : views_)
    view->Wear(wardrobe_, text_.get());
}

// ---- files from elsewhere

void PlayerWindows::StartDrops() {
  FileDropHandler& self = *this;
  drops_.emplace(self);
  for (const WindowView* view : views_)
    drops_->Add(view->Kind(), group_.Window(view->Kind()).Handle());
}

void PlayerWindows::OnFilesOver(SkinWindow kind, std::optional<POINT> point) {
  const int32_t scale = wardrobe_.Scale();
  host_.HoldFiles(kind, point ? std::optional(std::pair<int32_t, int32_t>(point->x / scale, point->y / scale))
                              : std::nullopt);
}

void PlayerWindows::OnFilesLetGo(SkinWindow kind, POINT point, std::vector<std::u16string> paths) {
  const int32_t scale = wardrobe_.Scale();
  host_.DropFiles(kind, point.x / scale, point.y / scale, std::move(paths));
}

void PlayerWindows::ShowContextMenu(SkinWindow kind, POINT screen) {
  menus_.ShowMenuAt(MenuOf(kind), group_.Window(kind).Handle(), screen);
}

}  // namespace melorin
