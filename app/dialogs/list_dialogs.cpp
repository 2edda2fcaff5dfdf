// SPDX-License-Identifier: MIT
#include "app/dialogs/list_dialogs.h"

#include <objbase.h>
#include <shlobj.h>
#include <shobjidl.h>

#include <string_view>
#include <utility>

#include "app/dialogs/file_info_dialog.h"
#include "app/dialogs/text_prompt.h"
#include "platform/com_ptr.h"
#include "platform/file.h"
#include "platform/text.h"
#include "playlist/list_storage.h"

namespace melorin {
namespace {

constexpr DWORD kSubFolderBox = 1;
constexpr wchar_t kListPatterns[] = L"*.mzpl;*.m3u;*.m3u8;*.mzbl";
constexpr wchar_t kListsName[] = L"播放列表";
constexpr wchar_t kAllName[] = L"所有文件";

/// Label and patterns, which the dialog only points to.
using Filters = std::vector<std::pair<std::u16string, std::u16string>>;

struct TaskMemoryText {
  wchar_t* text = nullptr;
  ~TaskMemoryText() { CoTaskMemFree(text); }
};

std::u16string PathOf(IShellItem& item) {
  TaskMemoryText path;
  return SUCCEEDED(item.GetDisplayName(SIGDN_FILESYSPATH, &path.text)) ? std::u16string(AsChar16(path.text))
                                                                       : std::u16string();
}

/// One of the system's dialogs for files.
template <class Interface>
class FileDialog {
 public:
  FileDialog(const CLSID& kind, const wchar_t* title) {
    if (FAILED(CoCreateInstance(kind, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                                dialog_.ReceiveVoid())))
      return;
    dialog_->SetTitle(title);
  }
  Interface* operator->() const { return dialog_.get(); }
  explicit operator bool() const { return static_cast<bool>(dialog_); }

  void Options(FILEOPENDIALOGOPTIONS more) {
    FILEOPENDIALOGOPTIONS options = 0;
    dialog_->GetOptions(&options);
    dialog_->SetOptions(options | more | FOS_FORCEFILESYSTEM | FOS_NOCHANGEDIR);
  }
  void SetFilters(const Filters& filters) {
    std::vector<COMDLG_FILTERSPEC> specs;
    for (const auto& [label, patterns] : filters)
      specs.push_back({AsWide(label.c_str()), AsWide(patterns.c_str())});
    dialog_->SetFileTypes(static_cast<UINT>(specs.size()), specs.data());
  }
  void BeginIn(const std::u16string& folder) {
    if (folder.empty()) return;
    ComPtr<IShellItem> item;
    if (SUCCEEDED(
            SHCreateItemFromParsingName(AsWide(folder.c_str()), nullptr, IID_IShellItem, item.ReceiveVoid())))
      dialog_->SetFolder(item.get());
  }
  bool Show(HWND owner) { return SUCCEEDED(dialog_->Show(owner)); }
  std::u16string Result() {
    ComPtr<IShellItem> item;
    return SUCCEEDED(dialog_->GetResult(item.Receive())) ? PathOf(*item.get()) : std::u16string();
  }

 private:
  ComPtr<Interface> dialog_;
};

std::u16string FolderOf(const std::u16string& path) {
  return Utf16FromGbk(PathDirectory(GbkFromUtf16(path)));
}

std::vector<std::u16string> AskForMany(HWND owner, const wchar_t* title, const Filters& filters,
                                       std::u16string& folder) {
  FileDialog<IFileOpenDialog> dialog(CLSID_FileOpenDialog, title);
  if (!dialog) return {};
  dialog.Options(FOS_ALLOWMULTISELECT | FOS_FILEMUSTEXIST);
  dialog.SetFilters(filters);
  dialog.BeginIn(folder);
  if (!dialog.Show(owner)) return {};
  ComPtr<IShellItemArray> items;
  DWORD count = 0;
  if (FAILED(dialog->GetResults(items.Receive())) || FAILED(items->GetCount(&count))) return {};
  std::vector<std::u16string> paths;
  for (DWORD i = 0; i < count; ++i) {
    ComPtr<IShellItem> item;
    if (FAILED(items->GetItemAt(i, item.Receive()))) continue;
    if (std::u16string path = PathOf(*item.get()); !path.empty()) paths.push_back(std::move(path));
  }
  if (!paths.empty()) folder = FolderOf(paths.front());
  return paths;
}

}  // namespace

std::vector<std::u16string> SystemListDialogs::AskForFiles() {
  Filters filters;
  std::u16string all;
  for (const FileFilter& filter : library_.FileFilters()) {
    all += (all.empty() ? u"" : u";") + Utf16FromGbk(filter.patterns_gbk);
    filters.emplace_back(Utf16FromGbk(filter.label_gbk), Utf16FromGbk(filter.patterns_gbk));
  }
  filters.insert(filters.begin(), {u"所有可播放的文件", all + u";*.cue;" + AsChar16(kListPatterns)});
  filters.emplace_back(AsChar16(kListsName), AsChar16(kListPatterns));
  filters.emplace_back(AsChar16(kAllName), u"*.*");
  std::u16string folder = Utf16FromGbk(settings_.history.sound_path_gbk);
  std::vector<std::u16string> paths = AskForMany(Owner(), L"添加文件", filters, folder);
  if (!paths.empty()) settings_.history.sound_path_gbk = GbkFromUtf16(folder);
  return paths;
}

std::optional<std::u16string> SystemListDialogs::AskForFolder() {
  FileDialog<IFileOpenDialog> dialog(CLSID_FileOpenDialog, L"添加文件夹");
  if (!dialog) return std::nullopt;
  dialog.Options(FOS_PICKFOLDERS);
  dialog.BeginIn(Utf16FromGbk(settings_.history.sound_path_gbk));
  ComPtr<IFileDialogCustomize> more;
  if (SUCCEEDED(dialog->QueryInterface(IID_IFileDialogCustomize, more.ReceiveVoid())))
    more->AddCheckButton(kSubFolderBox, L"包括子文件夹", settings_.history.check_sub_folder != 0);
  if (!dialog.Show(Owner())) return std::nullopt;
  BOOL checked = TRUE;
  if (more && SUCCEEDED(more->GetCheckButtonState(kSubFolderBox, &checked)))
    settings_.history.check_sub_folder = checked ? 1 : 0;
  std::u16string folder = dialog.Result();
  if (folder.empty()) return std::nullopt;
  settings_.history.sound_path_gbk = GbkFromUtf16(folder);
  return folder;
}

std::vector<std::u16string> SystemListDialogs::AskForListFiles() {
  return AskForMany(Owner(), L"打开播放列表",
                    {{AsChar16(kListsName), AsChar16(kListPatterns)}, {AsChar16(kAllName), u"*.*"}},
                    list_folder_);
}

std::optional<std::u16string> SystemListDialogs::AskWhereToSave(const std::u16string& name) {
  FileDialog<IFileSaveDialog> dialog(CLSID_FileSaveDialog, L"保存播放列表");
  if (!dialog) return std::nullopt;
  dialog.Options(FOS_OVERWRITEPROMPT | FOS_PATHMUSTEXIST);
  dialog.SetFilters(
      {{u"Melorin 播放列表", u"*.mzpl"}, {u"M3U 播放列表（UTF-8）", u"*.m3u8"}, {u"M3U 播放列表", u"*.m3u"}});
  dialog->SetDefaultExtension(L"mzpl");
  dialog.BeginIn(list_folder_);
  std::u16string file_name = name;
  for (char16_t& c : file_name)
    if (c < u' ' || std::u16string_view(u"\\/:*?\"<>|").find(c) != std::u16string_view::npos) c = u'_';
  dialog->SetFileName(AsWide(file_name.c_str()));
  if (!dialog.Show(Owner())) return std::nullopt;
  std::u16string path = dialog.Result();
  if (path.empty()) return std::nullopt;
  list_folder_ = FolderOf(path);
  return path;
}

std::optional<std::u16string> SystemListDialogs::AskForText(const std::u16string& title,
                                                            const std::u16string& label,
                                                            const std::u16string& text) {
  return PromptForText(Owner(), title, label, text);
}

bool SystemListDialogs::Confirm(const std::u16string& question) {
  return MessageBoxW(Owner(), AsWide(question.c_str()), L"Melorin", MB_OKCANCEL | MB_ICONQUESTION) == IDOK;
}

void SystemListDialogs::ShowProperties(const ItemRef& item) {
  ShowFileInfo(Owner(), library_, item);
}

}  // namespace melorin
