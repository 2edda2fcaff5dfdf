// SPDX-License-Identifier: MIT
//
// 插件: add-in modules, and what can be played with those that are loaded.
#include <algorithm>

#include "app/options/add_in_choice.h"
#include "app/options/check_list.h"
#include "app/options/page_task.h"
#include "app/options/page_window.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr size_t kMostModules = 500;

std::vector<std::string> ListModules(const std::string& folder_gbk) {
  std::vector<std::string> names;
  for (DirectoryEntry& entry : ListDirectoryUpTo(folder_gbk, kMostModules))
    if (!entry.is_directory && IsAddInFileName(entry.name_gbk)) names.push_back(std::move(entry.name_gbk));
  std::sort(names.begin(), names.end());
  return names;
}

class PluginPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page_ = &page;
    task_ = std::make_unique<PageTask>(page.Host());
    page.Group(u"插件");
    PageItem& folder = page.Folder(u"插件文件夹:", kPluginPart(&PluginSettings::folder_gbk));
    // Looked into when it is chosen, not for every letter of its name.
    SendMessageW(folder.Window(), EM_SETREADONLY, TRUE, 0);
    page.AddButtonTo(folder, u"默认", [this] { UseStandardFolder(); });
    modules_.Add(page, {}, 76, {{L"插件", 150}, {L"状态"}}, true,
                 [this](size_t row, bool checked) { OnToggled(row, checked); });
    page.Note(u"此版本启动时总是载入程序所在文件夹下 AddIn 中的全部插件。以上选择会保留在设置文件中。");

    page.Group(u"可播放的格式");
    readers_.Add(page, {}, 88, {{L"名称", 110}, {L"文件类型"}}, false);
    for (const FileFilter& filter : page.Host().Library().FileFilters())
      readers_.Append({Utf16FromGbk(filter.label_gbk), Utf16FromGbk(filter.patterns_gbk)});
  }

  void OnFirstShown() override {
    was_shown_ = true;
    OnRefresh();
  }

  void OnRefresh() override {
    if (!was_shown_) return;
    const std::string folder = AddInFolder(page_->Values().plugin, page_->Host().AddInFolderGbk());
    // The folder may lie on a network.
    task_->Run<std::vector<std::string>>(
        [folder](const std::atomic<bool>&) { return ListModules(folder); },
        [this](std::vector<std::string> names) { ShowModules(std::move(names)); });
  }

  void OnChanged(SettingsPart) override { OnRefresh(); }

  void OnReset() override {
    page_->Values().plugin.modules_gbk.clear();
    page_->Changed(SettingsPart::kPlugin);
  }

 private:
  void ShowModules(std::vector<std::string> names) {
    if (names != names_) {
      names_ = std::move(names);
      modules_.Clear();
      for (const std::string& name : names_)
        modules_.Append({Utf16FromGbk(name), {}});
    }
    for (size_t i = 0; i < names_.size(); ++i) {
      modules_.SetCell(i, 1, StateOf(names_[i]));
      modules_.Check(i, IsAddInEnabled(page_->Values().plugin, names_[i]));
    }
  }

  std::u16string StateOf(const std::string& name) const {
    for (const AddInFailure& failure : page_->Host().Library().AddInFailures())
      if (EqualNoCaseGbk(PathFileName(failure.file_gbk), name)) return u"无法载入";
    return IsAddInEnabled(page_->Values().plugin, name) ? u"已启用" : u"未启用";
  }

  void UseStandardFolder() {
    page_->Values().plugin.folder_gbk.clear();
    page_->Changed(SettingsPart::kPlugin);
    page_->Refresh();
  }

  void OnToggled(size_t row, bool checked) {
    if (row >= names_.size()) return;
    EnableAddIn(page_->Values().plugin, names_, names_[row], checked);
    page_->Changed(SettingsPart::kPlugin);
  }

  PageWindow* page_ = nullptr;
  CheckList modules_;
  CheckList readers_;
  std::vector<std::string> names_;
  bool was_shown_ = false;
  std::unique_ptr<PageTask> task_;  ///< Last: it ends before what it brings results to.
};

}  // namespace

std::unique_ptr<OptionsPage> MakePluginPage() {
  return std::make_unique<PluginPage>();
}

}  // namespace melorin
