// SPDX-License-Identifier: MIT
//
// LyricDesk: the lyric window's brain. It has the lyric of what plays found, keeps the window's view in step
// with the player, and carries the commands of lyrics out.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "app/dialogs/lyric_editor.h"
#include "app/lyric_service.h"
#include "app/player.h"
#include "ui/command_handler.h"
#include "ui/lyric_window_view.h"
#include "ui/window_services.h"

namespace melorin {

/// What the desk needs of the window around its view. Thread: the UI thread.
class LyricDeskHost {
 public:
  /// In front of which window dialogs are shown.
  virtual HWND DialogOwner() = 0;
  /// LineGbk() is another.
  virtual void LineChanged() = 0;
  /// There is a lyric, and the settings say that the window is to be seen then. It may be already.
  virtual void ShowLyricWindow() = 0;
  /// The settings say that the window is as wide as its longest line: 1x pixels.
  virtual void SetLyricWidth(int32_t width) = 0;
  /// Of what the commands and menus show of lyrics something has changed.
  virtual void LyricCommandsChanged() {}
  /// A lyric file that the user chooses, beginning in that folder.
  virtual std::optional<std::u16string> AskForLyricFile(const std::u16string& folder);

 protected:
  ~LyricDeskHost() = default;
};

/// Thread: the UI thread.
class LyricDesk final : public CommandHandler, private LyricActions, private LyricEditorHost {
 public:
  /// All must outlive the desk. The player's settings must have been loaded.
  LyricDesk(Player& player, WindowServices& services, LyricDeskHost& host);
  ~LyricDesk();
  LyricDesk(const LyricDesk&) = delete;
  LyricDesk& operator=(const LyricDesk&) = delete;

  LyricWindowView& View() { return view_; }

  // ---- CommandHandler: all commands of lyrics but those that show the window or keep it on top

  bool Handles(CommandId command) const override;
  void Execute(CommandId command) override;
  bool IsEnabled(CommandId command) const override;
  bool IsChecked(CommandId command) const override;

  // ---- what the player brings

  void SettingsChanged();
  /// Another track, or none. To be called also when the state of playing changes; the same track is not read
  /// again.
  void OnTrackChanged();
  /// About four times a second while playing, and after seeks.
  void OnTick();

  /// The line that is sung, as the window shows it; empty when there is none.
  const std::string& LineGbk() const { return line_gbk_; }
  const LoadedLyric& Lyric() const { return lyric_; }
  /// A search is under way.
  bool IsLoading() const { return loading_; }
  bool IsEditing() const { return editor_.IsOpen(); }

  /// Before the program ends: asks about a lyric that is being edited. False: it must not end now; `again` is
  /// called, once, if the user only wanted it to be saved first.
  bool MayClose(std::function<void()> again = {});
  /// Closes the editor without asking; nothing is looked for any more. What is to be saved still is, at the
  /// latest when the desk is destroyed: by then the player has left its track, whose tags can be written.
  void Close();

 private:
  // LyricActions
  void SeekToLyric(uint32_t position_ms) override;
  void MoveLyric(bool earlier) override;
  void ShowLyricMenu(int32_t x, int32_t y) override;

  // LyricEditorHost
  std::optional<int32_t> EditedPosition() override;
  bool IsEditedPlaying() override;
  void PlayOrPauseEdited() override;
  void SeekEdited(int32_t position_ms) override;
  void OnEdited(const std::u16string& text) override;
  void SaveEdited(const std::u16string& text) override;
  void OnEditorClosed() override;

  LyricSettings& Look() const { return player_.Values().lyric; }
  bool IsTimed() const { return lyric_.doc && !lyric_.doc->Lines().empty(); }
  bool IsSame(const ItemRef& item) const { return item_ && item_.get() == item.get(); }
  std::string SongGbk() const;
  void Load(bool wanted, bool forget);
  void Take(LoadedLyric lyric);
  const std::shared_ptr<const LyricDoc>& ShownDoc() const;
  void UpdateView();
  void ShowLyric();
  void UpdateLine();
  void ChangeLook(int32_t LyricSettings::*value, int32_t to);
  void Associate();
  void Dissociate();
  void Edit();
  void Save();
  void Copy();
  void OpenFolder();
  void Tell(const std::u16string& text);
  uint32_t TagKinds() const;
  LyricService::SaveRequest RequestFor(const ItemRef& item, const LoadedLyric& lyric,
                                       std::shared_ptr<const LyricDoc> doc) const;
  /// True: all of it was saved. Tells the user.
  bool TakeSaved(const ItemRef& item, LoadedLyric& lyric, const LyricService::SaveResult& result);

  Player& player_;
  WindowServices& services_;
  LyricDeskHost& host_;
  LyricService service_;
  LyricWindowView view_;
  ItemRef item_;  ///< Of what plays; null: none.
  LoadedLyric lyric_;
  bool loading_ = false;
  std::string line_gbk_;
  /// What the user has moved and not saved, ms, by song; for this session.
  std::unordered_map<std::string, int32_t> moved_;

  LyricEditor editor_;
  ItemRef edited_item_;                    ///< Whose lyric is being edited.
  LoadedLyric edited_;                     ///< As it was.
  std::function<void()> when_closed_;      ///< What was put off for the editor.
  std::shared_ptr<const LyricDoc> draft_;  ///< As it is in the editor; null before the first change.
};

}  // namespace melorin
