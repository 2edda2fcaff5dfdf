// SPDX-License-Identifier: MIT
//
// FileDrops: files that are dragged from other programs over the player's windows and dropped there, by the
// system's drag and drop. Unlike the message WM_DROPFILES it also tells where the files are while they are
// held, so that a window can show where they would go.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/com_ptr.h"
#include "ui/window_view.h"

namespace melorin {

/// What the player does with the files. Points: pixels of the window's client area. Thread: the UI thread.
class FileDropHandler {
 public:
  /// Files are held over a point of the window. Nothing: no longer.
  virtual void OnFilesOver(SkinWindow kind, std::optional<POINT> point) = 0;
  /// They were let go there; OnFilesOver is not called for it. The program they come from waits meanwhile.
  virtual void OnFilesLetGo(SkinWindow kind, POINT point, std::vector<std::u16string> paths) = 0;

 protected:
  ~FileDropHandler() = default;
};

/// The paths that a WM_DROPFILES or CF_HDROP has.
std::vector<std::u16string> DroppedPaths(HDROP drop);

class FileDropTarget;

/// Thread: the UI thread, in the component runtime's apartment.
class FileDrops {
 public:
  /// The handler must outlive this.
  explicit FileDrops(FileDropHandler& handler);
  /// To be gone before the windows are.
  ~FileDrops();
  FileDrops(const FileDrops&) = delete;
  FileDrops& operator=(const FileDrops&) = delete;

  /// From now on the window takes files; WM_DROPFILES no longer comes to it then. False: the system does not
  /// let it, and all is as it was.
  bool Add(SkinWindow kind, HWND window);

 private:
  struct Entry {
    HWND window;
    ComPtr<FileDropTarget> target;
  };

  FileDropHandler& handler_;
  const HRESULT runtime_;
  std::vector<Entry> entries_;
};

}  // namespace melorin
