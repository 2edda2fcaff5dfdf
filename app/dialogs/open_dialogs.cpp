// SPDX-License-Identifier: MIT
#include "app/dialogs/open_dialogs.h"

#include <commdlg.h>
#include <shlobj.h>

#include <cwchar>

#include "platform/com.h"

namespace melorin {
namespace {

/// UTF-16 units for the names of the chosen files, some thousands of them.
constexpr DWORD kNamesCapacity = 256 * 1024;

}  // namespace

std::vector<std::u16string> AskForFiles(HWND owner, const std::u16string& patterns) {
  std::vector<wchar_t> names(kNamesCapacity);
  OPENFILENAMEW request{};
  request.lStructSize = sizeof(request);
  request.hwndOwner = owner;
  // Names and patterns in turn, each ended by a zero; another zero ends them all.
  constexpr char16_t kEnd = 0;
  std::u16string filter = u"音频文件和播放列表";
  filter.append(1, kEnd).append(patterns).append(1, kEnd);
  filter.append(u"所有文件").append(1, kEnd).append(u"*.*").append(1, kEnd);
  request.lpstrFilter = AsWide(filter.c_str());
  request.lpstrFile = names.data();
  request.nMaxFile = kNamesCapacity;
  request.lpstrTitle = L"打开文件";
  request.Flags =
      OFN_EXPLORER | OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  if (!GetOpenFileNameW(&request)) return {};
  // One file is its path; several are their folder and then their names, each ended by a zero.
  const std::u16string first = AsChar16(names.data());
  const wchar_t* name = names.data() + first.size() + 1;
  if (*name == 0) return {first};
  std::vector<std::u16string> paths;
  for (; *name != 0; name += std::wcslen(name) + 1)
    paths.push_back(first + (first.ends_with(u'\\') ? u"" : u"\\") + AsChar16(name));
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
  return found ? std::u16string(AsChar16(path)) : std::u16string();
}

}  // namespace melorin
