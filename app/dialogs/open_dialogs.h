// SPDX-License-Identifier: MIT
//
// The system's dialogs that choose files and folders to play.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace melorin {

/// Full paths of the files that the user chose; empty when it was cancelled. Thread: the UI thread.
/// `patterns`: what can be opened, "*.mp3;*.wav".
std::vector<std::u16string> AskForFiles(HWND owner, const std::u16string& patterns);
/// A folder's full path; empty when it was cancelled.
std::u16string AskForFolder(HWND owner);

}  // namespace melorin
