// SPDX-License-Identifier: MIT
#include "ui/lyric_window_view.h"

#include <memory>
#include <utility>

namespace melorin {

LoadedSkin* LyricWindowView::Build(SkinWardrobe& wardrobe, Frame* frame) {
  lyric_view_ = nullptr;
  const auto [window, skin] = wardrobe.Find(&SkinDescription::lyric_window);
  if (!window) return nullptr;
  BuildTools(*window, u"歌词", frame);
  AddButton("ontop", window->ontop, CommandId::kLyricTopMost, true);
  if (!window->lyric) return skin;
  lyric_view_ = Add("lyric", std::make_unique<LyricView>(actions_), window->lyric->position,
                    kAlignCentre | kAlignVCentre);
  lyric_view_->SetName(u"歌词");
  lyric_view_->SetWidthListener([this](int32_t width) {
    if (on_width_) on_width_(width + Width() - lyric_view_->Place().Width());
  });
  lyric_view_->SetLook(look_);
  lyric_view_->SetLyric(lyric_);
  lyric_view_->SetPosition(position_ms_, duration_ms_, runs_, now_ms_);
  return skin;
}

bool LyricWindowView::OnWindowWheel(int32_t notches) {
  return lyric_view_ && lyric_view_->OnWheel({}, notches);
}

void LyricWindowView::SetLook(const LyricSettings& look) {
  look_ = look;
  if (lyric_view_) lyric_view_->SetLook(look_);
}

void LyricWindowView::SetLyric(ShownLyric lyric) {
  lyric_ = std::move(lyric);
  if (lyric_view_) lyric_view_->SetLyric(lyric_);
}

void LyricWindowView::SetPosition(int32_t position_ms, int32_t duration_ms, bool runs, uint32_t now_ms) {
  position_ms_ = position_ms;
  duration_ms_ = duration_ms;
  runs_ = runs;
  now_ms_ = now_ms;
  if (lyric_view_) lyric_view_->SetPosition(position_ms, duration_ms, runs, now_ms);
}

void LyricWindowView::ShowNotice(std::string text_gbk, uint32_t now_ms) {
  if (lyric_view_) lyric_view_->ShowNotice(std::move(text_gbk), now_ms);
}

}  // namespace melorin
