// SPDX-License-Identifier: MIT
//
// ListTabs: the lists as tabs above the rows. Skins have no bitmaps for them, so they are painted in the
// playlist's colours.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ui/control.h"
#include "ui/list_look.h"
#include "ui/playlist_view.h"

namespace melorin {

/// Thread: the UI thread.
class ListTabsSource {
 public:
  virtual size_t TabCount() const = 0;
  virtual std::string TabNameGbk(size_t tab) const = 0;
  virtual std::u16string TabTip(size_t tab) const = 0;
  virtual size_t ShownTab() const = 0;
  virtual std::optional<size_t> PlayingTab() const = 0;

 protected:
  ~ListTabsSource() = default;
};

/// What the mouse and the keys ask for; each may change the tabs before it returns. Thread: the UI thread.
class ListTabsActions {
 public:
  virtual void ShowTab(size_t tab) = 0;
  /// The tab is to stand where `to` is: its index afterwards.
  virtual void MoveTab(size_t tab, size_t to) = 0;
  virtual void RenameTab(size_t tab) = 0;
  virtual void DeleteTab(size_t tab) = 0;
  virtual void NewTab() = 0;
  /// At a point of the window.
  virtual void ShowTabMenu(size_t tab, int32_t x, int32_t y) = 0;

 protected:
  ~ListTabsActions() = default;
};

class ListTabs final : public Control, public EntryDropTarget {
 public:
  /// Both must outlive the control.
  ListTabs(ListTabsSource& source, ListTabsActions& actions) : source_(source), actions_(actions) {}

  /// What the control likes to be high, 1x pixels.
  static int32_t HeightFor(const ListLook& look) { return look.row_height + 6; }
  void SetLook(const ListLook& look);
  /// Lists came, went, moved, have other names, or another one is shown or played.
  void TabsChanged();

  /// Empty when it is out of view.
  SkinRect TabPlace(size_t tab) const;
  SkinRect NewButtonPlace() const;

  // ---- EntryDropTarget

  bool DragEntriesOver(int32_t x, int32_t y) override;
  void EndEntryDrag() override;
  std::optional<size_t> TabAt(int32_t x, int32_t y) const override;

  // ---- Control

  void Paint(const PaintContext& context) override;
  void OnPress(const Pointer& pointer) override;
  void OnDrag(const Pointer& pointer) override;
  void OnRelease(const Pointer& pointer) override;
  void OnCancel() override;
  void OnHover(const Pointer& pointer) override;
  void OnLeave() override;
  void OnDoubleClick(const Pointer& pointer) override;
  bool OnWheel(const Pointer& pointer, int32_t notches) override;
  bool OnMiddleClick(const Pointer& pointer) override;  ///< Deletes the tab under it.
  bool OnContextMenu(const Pointer& pointer) override;
  std::u16string TipAt(int32_t x, int32_t y) const override;
  bool TakesFocus() const override { return true; }
  bool OnKey(const KeyPress& key) override;
  ControlRole Role() const override { return ControlRole::kTabs; }
  std::u16string Value() const override;
  size_t PartCount() const override { return source_.TabCount(); }
  std::u16string PartName(size_t part) const override;
  SkinRect PartPlace(size_t part) const override { return TabPlace(part); }
  bool IsPartSelected(size_t part) const override { return part == source_.ShownTab(); }
  void DoPart(size_t part) override { actions_.ShowTab(part); }

 private:
  enum class Hot { kNone, kTab, kNew, kBack, kForward };
  struct Spot {
    Hot hot = Hot::kNone;
    size_t tab = 0;
    bool operator==(const Spot&) const = default;
  };

  void OnPlaced() override;
  void Measure(TextPainter* text, int32_t scale);
  void RevealShown();
  void SetScroll(int32_t scroll);
  int32_t ContentWidth() const { return edges_.empty() ? 0 : edges_.back(); }
  bool Overflows() const;
  SkinRect Strip() const;  ///< Where tabs are seen.
  SkinRect ArrowPlace(bool forward) const;
  Spot SpotAt(int32_t x, int32_t y) const;
  void SetHovered(Spot spot);
  size_t DropPlace(int32_t x) const;
  void PaintTab(const PaintContext& context, size_t tab);
  void PaintArrow(const PaintContext& context, bool forward);
  void PaintNewButton(const PaintContext& context);

  ListTabsSource& source_;
  ListTabsActions& actions_;
  ListLook look_;
  std::vector<int32_t> edges_;  ///< Right ends of the tabs, from the first one's left.
  bool measured_ = false;       ///< With the fonts; before, by an estimate.
  int32_t scroll_ = 0;
  bool reveal_ = true;
  Spot hovered_;
  Spot pressed_;
  int32_t pressed_x_ = 0;
  std::optional<size_t> drop_before_;  ///< A tab is dragged: before which one it would stand.
  std::optional<size_t> entry_target_;
};

}  // namespace melorin
