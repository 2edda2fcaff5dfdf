// SPDX-License-Identifier: MIT
#include "app/dialogs/open_dialogs.h"

#include <commdlg.h>
#include <shlobj.h>

#include "platform/text.h"

namespace melorin {
namespace {

/// UTF-16 units for the names of the chosen files, some thousands of them.
constexpr DWORD kNamesCapacity = 256 * 1024;

std::u16string Utf16(const wchar_t* text) {
  return std::u16string(reinterpret_cast<const char16_t*>(text));
}

}  // namespace

std::vector<std::u16string> AskForFiles(HWND owner) {
  std::vector<wchar_t> names(kNamesCapacity);
  OPENFILENAMEW request{};
  request.lStructSize = sizeof(request);
  request.hwndOwner = owner;
  // The player opens any file by its extension; one that it cannot play is told by name.
  request.lpstrFilter =
      L"音频文件和播放列表\0*.mp3;*.mp2;*.mp1;*.wav;*.aif;*.aiff;*.au;*.snd;*.wma;*.cue;*.m3u;*.m3u8;*.mzpl;"
      L"*.mzbl\0所有文件\0*.*\0";
  request.lpstrFile = names.data();
  request.nMaxFile = kNamesCapacity;
  request.lpstrTitle = L"打开文件";
  request.Flags =
      OFN_EXPLORER | OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  if (!GetOpenFileNameW(&request)) return {};
  // One file is its path; several are their folder and then their names, each ended by a zero.
  const std::u16string first = Utf16(names.data());
  const wchar_t* name = names.data() + first.size() + 1;
  if (*name == 0) return {first};
  std::vector<std::u16string> paths;
  for (; *name != 0; name += Utf16(name).size() + 1)
    paths.push_back(first + (first.ends_with(u'\\') ? u"" : u"\\") + Utf16(name));
  return paths;
}

std::u16string AskForFolder(HWND owner) {
  BROWSEINFOW request{};
  request.hwndOwner = owner;
  request.lpszTitle = L"选择要播放的文件夹";
  request.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
  PIDLIST_ABSOLUTE const folder = SHBrowseForFolderW(&request);
  if (!folder) return {};
  wchar_t path[MAX_PATH] = {};
  const bool found = SHGetPathFromIDListW(folder, path) != FALSE;
  CoTaskMemFree(folder);
  return found ? Utf16(path) : std::u16string();
}

}  // namespace melorin
