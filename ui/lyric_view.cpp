// SPDX-License-Identifier: MIT
#include "ui/lyric_view.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "doc/keys.h"
#include "lyrics/lrc_text.h"
#include "lyrics/shown_text.h"
#include "platform/text.h"
#include "skin/bitmap_draw.h"
#include "skin/skin_layout.h"

namespace melorin {
namespace {

constexpr int32_t kMargin = 8;
constexpr int32_t kLeastFont = 6;
constexpr int32_t kLargestFont = 72;
constexpr int32_t kMostInterval = 200;
/// Sideways, between two lines: in characters.
constexpr int32_t kGapCharacters = 3;
/// The whole of a line in LineAtTime's measure.
constexpr int32_t kWhole = 1 << 16;
/// The last line of a lyric is shown for so long.
constexpr int32_t kLastLineMs = 60000;

/// Of 255 for each row of distance from the current one.
constexpr int32_t kPaleStep = 18;
constexpr int32_t kMostPale = 130;
/// How long a line takes to become light, at most a third of the line.
constexpr int32_t kLightMs = 360;

constexpr int32_t kDragDistance = 3;
constexpr int32_t kRowsOfANotch = 2;
/// After so long the lyric goes back to where the song is.
constexpr int32_t kBrowseMs = 3000;
constexpr int32_t kNoticeMs = 1500;
constexpr double kGlideMs = 60;
constexpr uint32_t kLongestTickMs = 100;
constexpr uint32_t kDisplayMs = 15;
constexpr uint32_t kNoticeTickMs = 120;
/// Colours that change and lines that fill are no moving edges for the eye.
constexpr int64_t kFillMs = 30;
/// Reports of the position come more often.
constexpr int64_t kLongestWaitMs = 1000;
constexpr int64_t kNever = INT32_MAX;

SkinColour ColourOf(const SettingsColour& colour) {
  return static_cast<SkinColour>(colour.value & 0xFFFFFF);
}

int32_t PixelsOf(const FontRecord& font) {
  return std::clamp(std::abs(std::clamp(font.height, -kLargestFont, kLargestFont)), kLeastFont, kLargestFont);
}

std::vector<std::string> LinesOf(std::string_view plain_gbk) {
  std::vector<std::string> lines;
  while (!plain_gbk.empty()) {
    const size_t end = std::min(plain_gbk.find_first_of("\r\n"), plain_gbk.size());
    lines.emplace_back(plain_gbk.substr(0, end));
    const bool two = plain_gbk.substr(end).starts_with("\r\n");
    plain_gbk.remove_prefix(std::min(end + (two ? 2 : 1), plain_gbk.size()));
  }
  // Empty lines at either end are of the file, not of the lyric.
  while (!lines.empty() && TrimSpaces(lines.back()).empty())
    lines.pop_back();
  const auto first = std::find_if(lines.begin(), lines.end(),
                                  [](const std::string& line) { return !TrimSpaces(line).empty(); });
  lines.erase(lines.begin(), first);
  return lines;
}

/// How long until pixels that come evenly, one after the other, are one more; `left_ms` of `length_ms` are
/// still to go.
int64_t UntilNextPixel(int64_t left_ms, int64_t length_ms, int64_t pixels) {
  if (pixels <= 0) return kNever;
  // Those still to come; the last of them is there at the very end.
  const int64_t to_come = std::clamp<int64_t>((left_ms * pixels + length_ms - 1) / length_ms, 1, pixels + 1);
  return left_ms - (to_come - 1) * length_ms / pixels;
}

std::string TimeText(int32_t ms) {
  char text[32];
  const int32_t seconds = std::max(ms, 0) / 1000;
  std::snprintf(text, sizeof(text), "%02d:%02d", static_cast<int>(seconds / 60),
                static_cast<int>(seconds % 60));
  return text;
}

}  // namespace

// ---- what is shown

void LyricView::SetLook(const LyricSettings& look) {
  const bool other_texts = look.char_set != look_.char_set;
  look_ = look;
  told_width_ = 0;
  if (other_texts) MakeTexts();
  Forget();
}

void LyricView::SetLyric(ShownLyric lyric) {
  if (lyric.doc != lyric_.doc) {
    drag_ = Drag::kNone;
    offset_ = offset_goal_ = 0;
  }
  lyric_ = std::move(lyric);
  MakeTexts();
  Forget();
  ValueChanged();
}

void LyricView::MakeTexts() {
  texts_.clear();
  if (IsTimed()) {
    texts_.reserve(lyric_.doc->Lines().size());
    for (const LyricLine& line : lyric_.doc->Lines())
      texts_.push_back(ShownTextGbk(line.text_gbk, look_.char_set));
  } else if (lyric_.doc) {
    texts_ = LinesOf(ShownTextGbk(lyric_.doc->plain_text_gbk, look_.char_set));
  }
  if (!lyric_.doc)
    for (const std::string& text : {lyric_.title_gbk, lyric_.message_gbk})
      if (!text.empty()) texts_.push_back(text);
}

void LyricView::Forget() {
  laid_out_ = false;
  masks_.clear();
  Repaint();
}

void LyricView::OnPlaced() {
  Forget();
}

void LyricView::SetPosition(int32_t position_ms, int32_t duration_ms, bool runs, uint32_t now_ms) {
  clock_.Set(position_ms, runs, now_ms);
  duration_ms_ = std::max(duration_ms, 0);
  Show(now_ms);
}

void LyricView::ShowNotice(std::string text_gbk, uint32_t now_ms) {
  notice_gbk_ = std::move(text_gbk);
  notice_since_ = now_ms;
  Repaint();
  Show(now_ms);
}

const std::string& LyricView::LineGbk() const {
  static const std::string nothing;
  if (!IsTimed()) return nothing;
  const auto position = lyric_.doc->LineAtTime(clock_.At(now_ms_), kWhole, 0);
  const bool lit = position && position->index < texts_.size() && position->progress >= 0;
  return lit ? texts_[position->index] : nothing;
}

std::u16string LyricView::Value() const {
  if (IsTimed()) return Utf16FromGbk(LineGbk());
  std::string text;
  for (size_t i = 0; i < std::min<size_t>(texts_.size(), 2); ++i)
    text += (i > 0 ? " " : "") + texts_[i];
  return Utf16FromGbk(text);
}

// ---- times and places

void LyricView::EnsureLayout(const PaintContext& context) {
  LyricLayout::Measures measures;
  const int32_t pixels = PixelsOf(look_.font) * context.scale;
  measures.sideways = IsSideways();
  measures.room = std::max(Place().Width() - 2 * kMargin, 1) * context.scale;
  // Chinese needs air.
  measures.row_height = pixels + (pixels + 3) / 4;
  measures.interval = measures.sideways ? pixels * kGapCharacters
                                        : std::clamp(look_.row_interval, 0, kMostInterval) * context.scale;
  if (laid_out_ && measures == measures_ && context.text == text_ && context.scale == scale_) return;
  measures_ = measures;
  text_ = context.text;
  scale_ = context.scale;
  const std::string face(look_.font.FaceGbk());
  const bool same_style =
      style_.font_gbk == face && style_.pixels == pixels && style_.weight == look_.font.weight;
  style_ = {face, pixels, look_.font.weight, 0xFFFFFF, kAlignLeft | kAlignVCentre, false};
  if (!same_style || !laid_out_) widths_.SetStyle(text_, style_);
  layout_.Make(texts_, widths_, measures_);
  masks_.clear();
  laid_out_ = true;
  text_pixels_ = TextPixels();
  shown_ = StateAt(now_ms_);
  const int32_t width = (layout_.NaturalWidth() + scale_ - 1) / scale_ + 2 * kMargin;
  if (on_width_ && lyric_.doc && width != told_width_) {
    told_width_ = width;
    on_width_(width);
  }
}

int32_t LyricView::HalfView() const {
  return (IsSideways() ? Place().Width() : Place().Height()) * scale_ / 2;
}

int32_t LyricView::WayAt(int32_t time_ms, State* state) const {
  const int32_t total = layout_.Total();
  const int32_t half = HalfView();
  state->line = texts_.size();
  if (!IsTimed()) {
    // What finds place in the view stands in its middle.
    if (total <= 2 * half || !lyric_.doc) return total / 2;
    const int64_t scroll = total - 2 * half;
    const int64_t time = std::clamp(time_ms, 0, duration_ms_);
    return half + static_cast<int32_t>(duration_ms_ > 0 ? scroll * time / duration_ms_ : 0);
  }
  const auto position = lyric_.doc->LineAtTime(time_ms, kWhole, 0);
  if (!position || position->index >= layout_.Lines().size()) return total;
  const LyricLayout::Line& line = layout_.Lines()[position->index];
  const int32_t part = std::clamp(position->progress, -kWhole, kWhole);
  const auto of = [part](int32_t pixels) {
    return static_cast<int32_t>(static_cast<int64_t>(pixels) * part / kWhole);
  };
  if (part >= 0) {
    state->line = position->index;
    state->sung = look_.karaoke_mode != 0 ? of(line.width) : 0;
    const int32_t light = std::clamp((position->end_ms - position->start_ms) / 3, 1, kLightMs);
    const int64_t since = static_cast<int64_t>(time_ms) - position->start_ms;
    state->lit = look_.fade_hilight != 0
                     ? static_cast<int32_t>(std::clamp<int64_t>(since * 255 / light, 0, 255))
                     : 255;
  }
  return line.start + of(line.extent);
}

int32_t LyricView::TimeAt(int32_t way) const {
  const auto& lines = lyric_.doc->Lines();
  const size_t index = layout_.LineAt(way);
  const LyricLayout::Line& place = layout_.Lines()[index];
  const int64_t start = lines[index].time_ms;
  const int64_t end = index + 1 < lines.size() ? int64_t{lines[index + 1].time_ms} : start + kLastLineMs;
  const int64_t part = std::clamp(way - place.start, 0, place.extent);
  const int64_t time = start + (end - start) * part / place.extent;
  // Not to the very end, where the next song would begin.
  const int64_t last = duration_ms_ > 1000 ? duration_ms_ - 1000 : INT32_MAX;
  return static_cast<int32_t>(std::clamp<int64_t>(time, 0, last));
}

int32_t LyricView::OwnWay() const {
  State state;
  return WayAt(clock_.At(now_ms_), &state);
}

LyricView::State LyricView::StateAt(uint32_t now_ms) const {
  State state;
  if (!laid_out_) return state;
  state.way = WayAt(clock_.At(now_ms), &state);
  if (drag_ == Drag::kLines) {
    state.way = drag_way_;
    if (IsTimed()) state.target_ms = TimeAt(drag_way_);
  } else {
    const int32_t half = IsTimed() || layout_.Total() <= 2 * HalfView() ? 0 : HalfView();
    state.way = std::clamp(state.way + static_cast<int32_t>(std::lround(offset_)), half,
                           std::max(layout_.Total() - half, half));
  }
  state.notice = !notice_gbk_.empty();
  return state;
}

// ---- motion

void LyricView::Show(uint32_t now_ms) {
  now_ms_ = now_ms;
  if (!notice_gbk_.empty() && static_cast<int32_t>(now_ms - notice_since_) >= kNoticeMs) notice_gbk_.clear();
  const State state = StateAt(now_ms);
  if (state != shown_) {
    const State before = std::exchange(shown_, state);
    RepaintChange(before);
    if (state.line != before.line) ValueChanged();
  }
  ScheduleTick();
}

void LyricView::RepaintChange(const State& before) {
  const auto has_labels = [](const State& state) { return state.notice || state.target_ms >= 0; };
  if (!laid_out_ || has_labels(before) || has_labels(shown_)) {
    Repaint();
  } else if (shown_.line != before.line || shown_.way != before.way) {
    RepaintPart(text_pixels_);
  } else {
    SkinRect area;
    if (shown_.sung != before.sung) area = SungPixels(before.sung, shown_.sung);
    if (shown_.lit != before.lit) {
      if (shown_.line > 0) area = Union(area, LinePixels(shown_.line - 1));
      if (look_.karaoke_mode == 0) area = Union(area, LinePixels(shown_.line));
    }
    RepaintPart(area);
  }
}

void LyricView::Glide(uint32_t elapsed_ms) {
  if (offset_goal_ != 0 && IsTimed() && drag_ == Drag::kNone &&
      static_cast<int32_t>(now_ms_ - moved_ms_) >= kBrowseMs)
    offset_goal_ = 0;
  if (offset_ == offset_goal_) return;
  offset_ += (offset_goal_ - offset_) * (1 - std::exp(-static_cast<double>(elapsed_ms) / kGlideMs));
  if (std::abs(offset_goal_ - offset_) < 0.5) offset_ = offset_goal_;
}

void LyricView::OnTick(uint32_t now_ms) {
  const uint32_t elapsed = std::min(now_ms - now_ms_, kLongestTickMs);
  now_ms_ = now_ms;
  if (std::exchange(moved_, false)) moved_ms_ = now_ms;
  Glide(elapsed);
  Show(now_ms);
}

/// How long the song goes on until the lyric looks different.
int64_t LyricView::NextChangeMs() const {
  const int32_t time = clock_.At(now_ms_);
  if (!IsTimed()) {
    const int32_t scroll = layout_.Total() - 2 * HalfView();
    if (time < 0 || time >= duration_ms_) return kNever;
    return UntilNextPixel(duration_ms_ - time, duration_ms_, scroll);
  }
  const auto position = lyric_.doc->LineAtTime(time, kWhole, 0);
  if (!position || position->index >= layout_.Lines().size()) return kNever;
  const LyricLayout::Line& line = layout_.Lines()[position->index];
  const int64_t length = std::max(int64_t{position->end_ms} - position->start_ms, int64_t{1});
  // Before the first line, what comes before its start is as long and as high as the line itself.
  const bool before_first = position->progress < 0;
  const int64_t left = (before_first ? int64_t{position->start_ms} : int64_t{position->end_ms}) - time;
  const int64_t wait = UntilNextPixel(left, length, line.extent);
  if (look_.karaoke_mode == 0 || before_first) return wait;
  return std::min(wait, std::max(UntilNextPixel(left, length, line.width), kFillMs));
}

uint32_t LyricView::TickFor(const State& state) const {
  if (!laid_out_) return 0;
  if (offset_ != offset_goal_) return kDisplayMs;
  const bool follows = clock_.Runs() && drag_ != Drag::kLines && lyric_.doc;
  const bool waits = state.notice || (offset_ != 0 && IsTimed());
  if (!follows) return waits ? kNoticeTickMs : 0;
  int64_t wait = NextChangeMs();
  if (waits) wait = std::min<int64_t>(wait, kNoticeTickMs);
  if (state.lit > 0 && state.lit < 255) wait = std::min(wait, kFillMs);
  if (wait == kNever) return 0;
  // One more, since a timer may be early by that.
  return static_cast<uint32_t>(std::clamp<int64_t>(wait + 1, kDisplayMs, kLongestWaitMs));
}

void LyricView::ScheduleTick() {
  const uint32_t tick = TickFor(shown_);
  if (tick == tick_ms_) return;
  tick_ms_ = tick;
  TickChanged();
}

// ---- painting

void LyricView::PaintGround(const PaintContext& context) const {
  const uint32_t ground = PixelOf(ColourOf(look_.bkgnd_color));
  if (look_.transparent == 0) {
    FillArea(context.target, context.clip, ground);
  } else if (look_.trans_skin == 0) {
    FillArea(context.target, context.clip, ScalePixel(ground, 128));
  }
}

void LyricView::Paint(const PaintContext& context) {
  PaintGround(context);
  EnsureLayout(context);
  ScheduleTick();
  if (layout_.Lines().empty()) {
    PaintNotice(context);
    return;
  }
  const int32_t half = HalfView();
  const std::vector<LyricLayout::Line>& lines = layout_.Lines();
  const size_t first = layout_.LineAt(shown_.way - half);
  size_t end = first;
  for (; end < lines.size() && lines[end].start < shown_.way + half + 1; ++end)
    ForRows(end, end == shown_.line ? shown_.sung : 0, [&](const PlacedRow& row) { PaintRow(context, row); });
  const size_t first_row = lines[first].first_row;
  const size_t end_row = end < lines.size() ? lines[end].first_row : layout_.RowCount();
  std::erase_if(masks_, [&](const auto& mask) { return mask.first < first_row || mask.first >= end_row; });
  PaintTarget(context);
  PaintNotice(context);
}

template <class Act>
void LyricView::ForRows(size_t index, int32_t sung, Act act) const {
  const LyricLayout::Line& line = layout_.Lines()[index];
  const SkinRect place = ScaledPosition(Place(), scale_);
  const int32_t gap = measures_.interval / 2;
  if (IsSideways()) {
    const int32_t x = place.left + place.Width() / 2 + line.start - shown_.way + gap;
    act({line.first_row, x, place.top + (place.Height() - measures_.row_height) / 2, sung});
    return;
  }
  int32_t y = place.top + place.Height() / 2 + line.start - shown_.way + gap;
  for (size_t row = line.first_row; row < line.first_row + line.rows; ++row) {
    const int32_t width = layout_.RowAt(row).width;
    const int32_t margin = kMargin * scale_;
    const int32_t spare = place.Width() - 2 * margin - width;
    // A message stands in the middle, however the lyric is aligned.
    const int32_t align = lyric_.doc ? look_.text_align : 1;
    act({row, place.left + margin + (align == 0 ? 0 : align == 2 ? spare : spare / 2), y, sung});
    sung = std::max(sung - width, 0);
    y += measures_.row_height;
  }
}

int32_t LyricView::MaskWidth(size_t row) const {
  // Some letters reach out of their own width.
  return layout_.RowAt(row).width + measures_.row_height / 2;
}

SkinRect LyricView::RowPixels(const PlacedRow& row) const {
  return {row.x, row.y, row.x + MaskWidth(row.row), row.y + measures_.row_height};
}

SkinRect LyricView::LinePixels(size_t line) const {
  SkinRect all;
  if (line < layout_.Lines().size())
    ForRows(line, 0, [&](const PlacedRow& row) { all = Union(all, RowPixels(row)); });
  return all;
}

SkinRect LyricView::SungPixels(int32_t from, int32_t to) const {
  SkinRect all;
  if (shown_.line >= layout_.Lines().size()) return all;
  ForRows(shown_.line, 0, [&](const PlacedRow& row) {
    const auto [first, last] = std::minmax({std::max(from, 0), std::max(to, 0)});
    const SkinRect turned = {row.x + first, row.y, row.x + last, row.y + measures_.row_height};
    all = Union(all, Intersection(turned, RowPixels(row)));
    from -= layout_.RowAt(row.row).width;
    to -= layout_.RowAt(row.row).width;
  });
  return all;
}

SkinRect LyricView::TextPixels() const {
  SkinRect all;
  for (size_t line = 0; line < layout_.Lines().size(); ++line)
    all = Union(all, LinePixels(line));
  const SkinRect place = ScaledPosition(Place(), scale_);
  return IsSideways() ? SkinRect{place.left, all.top, place.right, all.bottom}
                      : SkinRect{all.left, place.top, all.right, place.bottom};
}

LyricView::Ink LyricView::InkOf(size_t line, int32_t distance) const {
  Ink ink;
  const SkinColour text = ColourOf(look_.text_color);
  const SkinColour light = ColourOf(look_.hilight_color);
  ink.colour = text;
  if (!lyric_.doc) {
    if (line == 0 && !lyric_.title_gbk.empty()) ink.colour = light;
    return ink;
  }
  if (!IsTimed()) return ink;
  if (line == shown_.line && look_.karaoke_mode == 0)
    ink.colour = MixColours(text, light, static_cast<uint32_t>(shown_.lit));
  if (line + 1 == shown_.line) ink.colour = MixColours(light, text, static_cast<uint32_t>(shown_.lit));
  if (look_.fade_index != 0) {
    const int32_t rows = distance * kPaleStep / std::max(measures_.row_height + measures_.interval, 1);
    ink.alpha = static_cast<uint32_t>(255 - std::clamp(rows - kPaleStep / 2, 0, kMostPale));
  }
  return ink;
}

const LyricView::Mask& LyricView::MaskOf(const PaintContext& context, size_t row) {
  Mask& mask = masks_[row];
  if (!mask.cover.empty()) return mask;
  const LyricLayout::Row& part = layout_.RowAt(row);
  mask.width = MaskWidth(row);
  mask.height = measures_.row_height;
  if (sheet_.width < mask.width || sheet_.height < mask.height)
    sheet_ = Bitmap(std::max(sheet_.width, mask.width), std::max(sheet_.height, mask.height));
  const SkinRect area = {0, 0, mask.width, mask.height};
  FillArea(sheet_, area, 0xFF000000, Combine::kReplace);
  const std::string_view text = std::string_view(texts_[part.line]).substr(part.begin, part.size);
  if (context.text) context.text->Draw(sheet_, area, text, style_);
  mask.cover.reserve(static_cast<size_t>(mask.width) * static_cast<size_t>(mask.height));
  for (int32_t y = 0; y < mask.height; ++y) {
    const uint32_t* pixels = sheet_.Row(y);
    for (int32_t x = 0; x < mask.width; ++x)
      mask.cover.push_back(static_cast<uint8_t>(pixels[x] >> 8));
  }
  return mask;
}

void LyricView::PaintRow(const PaintContext& context, const PlacedRow& placed) {
  const SkinRect place = Intersection(ScaledPosition(Place(), context.scale), BitmapBounds(context.target));
  const LyricLayout::Row& part = layout_.RowAt(placed.row);
  const SkinRect seen = Intersection(RowPixels(placed), Intersection(place, context.clip));
  if (part.width <= 0 || seen.IsEmpty()) return;
  const Mask& mask = MaskOf(context, placed.row);
  const auto [row, x, y, sung] = placed;
  const int32_t middle = place.top + place.Height() / 2;
  const int32_t distance = IsSideways() ? 0 : std::abs(y + measures_.row_height / 2 - middle);
  const Ink ink = InkOf(part.line, distance);
  const uint32_t usual = PixelOf(ink.colour);
  const uint32_t light = PixelOf(ColourOf(look_.hilight_color));
  // Rows fade in and out at the edges rather than being cut.
  const int32_t edge = !lyric_.doc ? 0 : measures_.row_height / (look_.fade_index != 0 ? 1 : 2);
  const bool sideways = IsSideways();
  const auto nearness = [&](int32_t from_edge) {
    return static_cast<uint32_t>(edge == 0 ? 255 : std::clamp(from_edge * 255 / edge, 0, 255));
  };
  const int32_t turn = std::clamp(x + sung, seen.left, seen.right);
  for (int32_t at_y = seen.top; at_y < seen.bottom; ++at_y) {
    const uint8_t* cover = mask.cover.data() + static_cast<ptrdiff_t>(at_y - y) * mask.width - x;
    uint32_t* target = context.target.Row(at_y);
    uint32_t alpha = ink.alpha;
    if (!sideways) alpha = alpha * nearness(std::min(at_y - place.top + 1, place.bottom - at_y)) / 255;
    const auto paint = [&](int32_t from, int32_t to, uint32_t pixel) {
      for (int32_t at_x = from; at_x < to; ++at_x) {
        if (cover[at_x] == 0) continue;
        uint32_t part_alpha = alpha;
        if (sideways)
          part_alpha = part_alpha * nearness(std::min(at_x - place.left + 1, place.right - at_x)) / 255;
        DrawCoverage(target[at_x], pixel, cover[at_x] * part_alpha / 255);
      }
    };
    paint(seen.left, turn, light);
    paint(turn, seen.right, usual);
  }
}

void LyricView::PaintLabel(const PaintContext& context, const SkinRect& around, int32_t align,
                           const std::string& text_gbk) const {
  if (!context.text) return;
  constexpr int32_t kLabelPixels = 12;
  constexpr int32_t kPadding = 6;
  TextStyle style;
  style.pixels = kLabelPixels * context.scale;
  style.colour = ColourOf(look_.bkgnd_color);
  style.align = kAlignCentre | kAlignVCentre;
  const int32_t width = context.text->WidthOf(text_gbk, style) + 2 * kPadding * context.scale;
  const int32_t height = (kLabelPixels + kPadding) * context.scale;
  SkinRect label = CentredIn(around, width, height);
  if (align == kAlignRight) label = {around.right - width, label.top, around.right, label.bottom};
  label = Intersection(label, ScaledPosition(Place(), context.scale));
  FillArea(context.target, label, PixelOf(ColourOf(look_.hilight_color)));
  context.text->Draw(context.target, label, text_gbk, style);
}

void LyricView::PaintTarget(const PaintContext& context) const {
  if (shown_.target_ms < 0) return;
  const SkinRect place = ScaledPosition(Place(), context.scale);
  const uint32_t pixel = ScalePixel(PixelOf(ColourOf(look_.hilight_color)), 160);
  const std::string time = TimeText(shown_.target_ms);
  const int32_t x = place.left + place.Width() / 2;
  const int32_t y = place.top + place.Height() / 2;
  const int32_t margin = kMargin * context.scale / 2;
  if (IsSideways()) {
    const int32_t reach = measures_.row_height;
    FillArea(context.target, Intersection({x, y - reach, x + context.scale, y + reach}, place), pixel);
    PaintLabel(context, {place.left, y + reach, place.right, y + 2 * reach}, kAlignCentre, time);
  } else {
    FillArea(context.target, {place.left + margin, y, place.right - margin, y + context.scale}, pixel);
    PaintLabel(context, {place.left, y - 1, place.right - margin, y + context.scale + 1}, kAlignRight, time);
  }
}

void LyricView::PaintNotice(const PaintContext& context) const {
  if (notice_gbk_.empty()) return;
  const SkinRect place = ScaledPosition(Place(), context.scale);
  const int32_t margin = 2 * kMargin * context.scale;
  PaintLabel(context, {place.left, place.bottom - 2 * margin, place.right, place.bottom - margin / 2},
             kAlignCentre, notice_gbk_);
}

// ---- the mouse

bool LyricView::CanDrag() const {
  if (!lyric_.doc) return false;
  if (IsTimed()) return look_.drag_lyric != 0;
  return laid_out_ && layout_.Total() > 2 * HalfView();
}

bool LyricView::TakesPointAt(int32_t x, int32_t y) const {
  return CanDrag() && Control::TakesPointAt(x, y);
}

void LyricView::OnPress(const Pointer& pointer) {
  if (!laid_out_ || !CanDrag()) return;
  drag_ = Drag::kPressed;
  pressed_at_ = pointer;
  drag_from_ = shown_.way;
}

void LyricView::OnDrag(const Pointer& pointer) {
  const int32_t moved = IsSideways() ? pointer.x - pressed_at_.x : pointer.y - pressed_at_.y;
  if (drag_ == Drag::kPressed && std::abs(moved) >= kDragDistance) drag_ = Drag::kLines;
  if (drag_ != Drag::kLines) return;
  const int32_t half = IsTimed() ? 0 : HalfView();
  drag_way_ = std::clamp(drag_from_ - moved * scale_, half, std::max(layout_.Total() - 1 - half, half));
  Show(now_ms_);
}

void LyricView::OnRelease(const Pointer&) {
  if (std::exchange(drag_, Drag::kNone) != Drag::kLines) return;
  if (IsTimed()) {
    offset_ = offset_goal_ = 0;
    const int32_t target = TimeAt(drag_way_);
    clock_.Set(target, clock_.Runs(), now_ms_);
    Show(now_ms_);
    actions_.SeekToLyric(static_cast<uint32_t>(target));
    return;
  }
  offset_ = offset_goal_ = drag_way_ - OwnWay();
  Show(now_ms_);
}

void LyricView::OnCancel() {
  drag_ = Drag::kNone;
  Show(now_ms_);
}

void LyricView::OnDoubleClick(const Pointer& pointer) {
  drag_ = Drag::kNone;
  if (!laid_out_ || !IsTimed() || look_.drag_lyric == 0) return;
  const int32_t from_middle = IsSideways() ? pointer.x - Place().left - Place().Width() / 2
                                           : pointer.y - Place().top - Place().Height() / 2;
  const int32_t way = shown_.way + from_middle * scale_;
  if (way < 0 || way >= layout_.Total()) return;
  const int32_t target = TimeAt(layout_.Lines()[layout_.LineAt(way)].start);
  offset_goal_ = 0;
  actions_.SeekToLyric(static_cast<uint32_t>(target));
}

void LyricView::MoveBy(int32_t pixels) {
  const int32_t own = OwnWay();
  const int32_t half = IsTimed() ? 0 : HalfView();
  const int32_t last = std::max(layout_.Total() - half, half);
  if (!IsTimed() && layout_.Total() <= 2 * half) return;
  offset_goal_ =
      std::clamp(own + offset_goal_ + pixels, static_cast<double>(half), static_cast<double>(last)) - own;
  moved_ = true;
  ScheduleTick();
}

bool LyricView::OnWheel(const Pointer& pointer, int32_t notches) {
  if (!laid_out_ || !lyric_.doc) return false;
  if (pointer.ctrl) {
    if (IsTimed()) actions_.MoveLyric(notches > 0);
    return true;
  }
  MoveBy(-notches * kRowsOfANotch * (measures_.row_height + (IsSideways() ? 0 : measures_.interval)));
  return true;
}

bool LyricView::OnKey(const KeyPress& key) {
  const bool back = key.key == (IsSideways() ? kKeyLeft : kKeyUp);
  const bool on = key.key == (IsSideways() ? kKeyRight : kKeyDown);
  if ((!back && !on) || key.ctrl || key.shift || key.alt || !TakesFocus()) return false;
  const auto& lines = lyric_.doc->Lines();
  const int32_t now = clock_.At(now_ms_);
  const auto position = lyric_.doc->LineAtTime(now, kWhole, 0);
  const bool before_first = position->progress < 0;
  size_t line = position->index;
  if (back) {
    if (line == 0) return true;
    --line;
  } else if (!before_first && ++line >= lines.size()) {
    return true;
  }
  actions_.SeekToLyric(static_cast<uint32_t>(std::max(lines[line].time_ms, 0)));
  return true;
}

bool LyricView::OnContextMenu(const Pointer& pointer) {
  actions_.ShowLyricMenu(pointer.x, pointer.y);
  return true;
}

}  // namespace melorin
