// SPDX-License-Identifier: MIT
#include "platform/folders.h"

#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <cstdio>

#include "platform/com_ptr.h"
#include "platform/file.h"
#include "platform/win32/wide_path.h"

namespace melorin {
namespace {

/// The longest name that the system can give.
constexpr DWORD kLongestPath = 32768;

std::string FolderName(const wchar_t* name) {
  bool lossy = false;
  std::string folder = GbkName(name, lossy);
  if (lossy) return {};
  while (folder.size() > 3 && FindLastGbk(folder, '\\') == folder.size() - 1)
    folder.pop_back();
  return folder;
}

}  // namespace

std::string ProgramFolder() {
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = 0;
  // A name that does not fit is cut and fills the buffer.
  while ((length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) ==
             path.size() &&
         length < kLongestPath)
    path.resize(path.size() * 2);
  path.resize(length);
  bool lossy = false;
  return std::string(PathDirectory(GbkName(path.c_str(), lossy)));
}

std::string UserDataFolder() {
  // The variable comes first: whoever starts the program can send its data elsewhere with it.
  std::wstring variable(kLongestPath, L'\0');
  const DWORD length = GetEnvironmentVariableW(L"APPDATA", variable.data(), kLongestPath);
  if (length != 0 && length < kLongestPath) return FolderName(variable.c_str());
  PWSTR known = nullptr;
  std::string folder;
  if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_RoamingAppData, 0, nullptr, &known)))
    folder = FolderName(known);
  CoTaskMemFree(known);
  return folder;
}

bool IsWritableFolder(const std::string& folder_gbk) {
  if (!DirectoryExists(folder_gbk)) return false;
  char name[48];
  std::snprintf(name, sizeof name, "melorin-%lx-%lx.tmp", GetCurrentProcessId(), GetTickCount());
  const std::wstring path = WidePath(JoinPath(folder_gbk, name));
  if (path.empty()) return false;
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}

std::string ResolveShortcut(const std::string& path_gbk) {
  const std::wstring path = WidePath(path_gbk);
  ComPtr<IShellLinkW> link;
  ComPtr<IPersistFile> file;
  if (path.empty() ||
      FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                              link.ReceiveVoid())) ||
      FAILED(link->QueryInterface(IID_IPersistFile, file.ReceiveVoid())) ||
      FAILED(file->Load(path.c_str(), STGM_READ | STGM_SHARE_DENY_NONE)))
    return {};
  // A target that has moved shall not be hunted for through the whole disk; its old name is still of use for
  // the check below, so the answer does not matter.
  link->Resolve(nullptr, SLR_NO_UI | SLR_NOSEARCH | SLR_NOTRACK | SLR_NOUPDATE);
  std::wstring target(kLongestPath, L'\0');
  if (link->GetPath(target.data(), static_cast<int>(kLongestPath), nullptr, 0) != S_OK) return {};
  bool lossy = false;
  std::string target_gbk = GbkName(target.c_str(), lossy);
  if (lossy || (!FileExists(target_gbk) && !DirectoryExists(target_gbk))) return {};
  return target_gbk;
}

}  // namespace melorin
