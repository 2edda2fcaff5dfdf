// SPDX-License-Identifier: MIT
//
// PlaylistView: the rows of the list that is shown. It asks for the rows in view only, so that a list of
// 100,000 entries costs what a short one does.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ui/control.h"
#include "ui/list_look.h"
#include "ui/list_selection.h"

namespace melorin {

/// Where the user is in a list: kept for each list while another one is shown.
struct PlaylistPlace {
  ListSelection selection;
  int32_t scroll = 0;  ///< 1x pixels from the top of the first row.
};

/// The list that is shown. Thread: the UI thread.
class PlaylistSource {
 public:
  virtual size_t Count() const = 0;
  virtual std::string TitleGbk(size_t index) const = 0;     ///< Without the number.
  virtual std::string DurationGbk(size_t index) const = 0;  ///< "4:29"; empty while it is not known.
  virtual std::u16string Tip(size_t index) const = 0;       ///< Empty for none.
  virtual bool IsFailed(size_t index) const = 0;            ///< It could not be played.
  virtual std::optional<size_t> Playing() const = 0;
  virtual bool ShowsNumbers() const = 0;
  virtual bool AllowsDrag() const = 0;
  virtual PlaylistPlace& Place() = 0;

 protected:
  ~PlaylistSource() = default;
};

/// What the mouse and the keys ask for. Each may change the list before it returns. Thread: the UI thread.
class PlaylistActions {
 public:
  virtual void PlayEntry(size_t index) = 0;
  virtual void RemoveSelected() = 0;
  /// The selected entries are to stand before the entry `before`; as copies with `copy`.
  virtual void MoveSelected(size_t before, bool copy) = 0;
  /// Or at the end of the list of that tab.
  virtual void MoveSelectedToList(size_t tab, bool copy) = 0;
  virtual void SelectionChanged() = 0;
  /// Other rows have come into view, up to but not including `end`.
  virtual void RowsShown(size_t first, size_t end) = 0;
  /// At a point of the window, over the selected entries or over none.
  virtual void ShowEntryMenu(int32_t x, int32_t y) = 0;

 protected:
  ~PlaylistActions() = default;
};

/// What is beside the rows and takes dragged entries: the tabs.
class EntryDropTarget {
 public:
  /// Entries are dragged over that point of the window. True when they may be dropped there.
  virtual bool DragEntriesOver(int32_t x, int32_t y) = 0;
  virtual void EndEntryDrag() = 0;
  /// The tab at the point.
  virtual std::optional<size_t> TabAt(int32_t x, int32_t y) const = 0;

 protected:
  ~EntryDropTarget() = default;
};

class PlaylistView final : public Control {
 public:
  /// Both must outlive the view.
  PlaylistView(PlaylistSource& source, PlaylistActions& actions) : source_(source), actions_(actions) {}

  void SetLook(const ListLook& look);
  /// May be null.
  void SetDropTarget(EntryDropTarget* target) { drop_target_ = target; }
  /// Called when position or range of the scroll bar are other ones.
  void SetScrollListener(std::function<void()> listener) { on_scroll_ = std::move(listener); }
  void SetEmptyHint(std::string text_gbk);

  // ---- what has changed

  /// Entries came, went or moved, or another list is shown.
  void ListChanged();
  /// Titles, durations or colours of entries may be other ones.
  void EntriesChanged();
  /// The selection was changed from outside.
  void SelectionChanged();

  // ---- scrolling; 1x pixels

  int32_t Scroll() const { return source_.Place().scroll; }
  int32_t ContentHeight() const;
  int32_t LargestScroll() const;
  int32_t RowHeight() const { return look_.row_height; }
  /// At once, as the scroll bar does it.
  void ScrollTo(int32_t scroll);
  /// Gliding.
  void ScrollBy(int32_t pixels);
  /// Brings the row into view; in the middle when it was out of it.
  void Reveal(size_t index);
  /// The rows in view, whole or in part.
  size_t FirstRow() const;
  size_t EndRow() const;

  // ---- places

  std::optional<size_t> RowAt(int32_t x, int32_t y) const;
  /// Cut by nothing: it may reach out of the view.
  SkinRect RowPlace(size_t index) const;
  /// Before which row something would be put that is dropped at the point.
  size_t InsertIndexAt(int32_t y) const;

  // ---- files that are dragged here from elsewhere

  /// Shows where they would be put, and scrolls while they are held at the upper or lower edge. Nothing: they
  /// are held over the rows no longer.
  void HoldFiles(std::optional<Pointer> at);
  std::optional<size_t> DropLine() const { return drop_line_; }
  bool IsDragging() const { return drag_ == Drag::kEntries; }

  // ---- Control

  void Paint(const PaintContext& context) override;
  void OnPress(const Pointer& pointer) override;
  void OnDrag(const Pointer& pointer) override;
  void OnRelease(const Pointer& pointer) override;
  void OnCancel() override;
  void OnHover(const Pointer& pointer) override { last_pointer_ = pointer; }
  void OnDoubleClick(const Pointer& pointer) override;
  bool OnWheel(const Pointer& pointer, int32_t notches) override;
  bool OnContextMenu(const Pointer& pointer) override;
  std::u16string TipAt(int32_t x, int32_t y) const override;
  bool TakesFocus() const override { return true; }
  bool OnKey(const KeyPress& key) override;
  ControlRole Role() const override { return ControlRole::kList; }
  std::u16string Value() const override;
  size_t PartCount() const override { return EndRow() - FirstRow(); }
  std::u16string PartName(size_t part) const override;
  SkinRect PartPlace(size_t part) const override;
  bool IsPartSelected(size_t part) const override;
  void DoPart(size_t part) override;
  uint32_t TickMs() const override;
  void OnTick(uint32_t now_ms) override;

  /// How many rows' texts and pictures are kept.
  size_t CachedRows() const { return cache_.size(); }

 private:
  enum class Drag { kNone, kPressed, kEntries };
  /// How a row looks beside its texts; one that looks the same is not painted again.
  struct RowLook {
    bool selected = false;
    bool list_focused = false;
    bool has_focus = false;
    bool playing = false;
    bool failed = false;
    int32_t number_width = 0;
    int32_t duration_width = 0;
    bool operator==(const RowLook&) const = default;
  };
  struct Row {
    bool known = false;
    std::string title_gbk;
    std::string duration_gbk;
    RowLook look;
    Bitmap picture;  ///< Smooth scrolling only copies it.
  };

  ListSelection& Selection() { return source_.Place().selection; }
  const ListSelection& Selection() const { return source_.Place().selection; }
  void OnPlaced() override;
  void Scrolled();
  void SetScroll(int32_t scroll);
  void KeepCacheOfView();
  Row& RowOf(size_t index);
  RowLook LookOf(size_t index) const;
  void PaintRow(const PaintContext& context, size_t index);
  void DrawRow(const PaintContext& context, size_t index, const Row& row) const;
  void PaintDropLine(const PaintContext& context) const;
  void MeasureColumns(const PaintContext& context);
  void SelectionMoved(size_t focus);
  void StepFocus(const KeyPress& key, int64_t target);
  void DragTo(const Pointer& pointer);
  void EndDrag();
  void ShowDropLine(std::optional<size_t> before);
  void AutoScroll(uint32_t elapsed_ms);
  /// Pixels; negative at the upper one.
  int32_t BeyondEdge() const;

  PlaylistSource& source_;
  PlaylistActions& actions_;
  ListLook look_;
  EntryDropTarget* drop_target_ = nullptr;
  std::function<void()> on_scroll_;
  std::string empty_hint_gbk_;

  std::vector<Row> cache_;  ///< Of the rows from cache_first_ on.
  size_t cache_first_ = 0;
  size_t shown_first_ = 0;  ///< What RowsShown was told last.
  size_t shown_end_ = 0;
  size_t measured_digits_ = 0;  ///< What number_width_ was measured for.
  int32_t number_width_ = 0;
  size_t measured_duration_ = 0;
  int32_t duration_width_ = 0;  ///< Of the longest that was seen; columns do not jump while scrolling.

  Drag drag_ = Drag::kNone;
  Pointer pressed_at_;
  Pointer last_pointer_;
  bool click_on_release_ = false;  ///< A selected row was pressed: it may be dragged with the others.
  std::optional<size_t> drop_line_;
  bool holds_files_ = false;

  std::optional<int32_t> glide_to_;
  uint32_t ticked_ms_ = 0;
  bool ticking_ = false;
  int32_t auto_scroll_rest_ = 0;  ///< Thousandths of a pixel.
};

}  // namespace melorin
