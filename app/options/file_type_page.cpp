// SPDX-License-Identifier: MIT
//
// 文件关联: which files the system opens with the player.
#include <windows.h>

#include <shlobj.h>

#include "app/file_associations.h"
#include "app/options/check_list.h"
#include "app/options/file_types.h"
#include "app/options/page_window.h"
#include "platform/com.h"

namespace melorin {
namespace {

class FileTypePage final : public OptionsPage {
 public:
  ~FileTypePage() override { TellSystem(); }

  void Build(PageWindow& page) override {
    page_ = &page;
    types_ = PlayableFileTypes(page.Host().Library());
    page.Plain();
    page.Note(u"双击选中类型的文件时用 Melorin 播放。取消选中后，原来的关联会恢复。");
    list_.Add(page, {}, 182, {{L"扩展名", 80}, {L"类型"}}, true,
              [this](size_t row, bool checked) { Set(row, checked); });
    page.Buttons({{u"全选", [this] { SetAll(true); }}, {u"全不选", [this] { SetAll(false); }}});
    page.Note(
        u"只对当前用户有效。Windows 8 及更新的系统会记住用户另行选择的默认程序；"
        u"如果双击文件后没有打开 Melorin，请在系统的“默认应用”中选择它。");
    for (const FileType& type : types_)
      list_.Append({u"." + type.extension, type.description});
  }

  void OnRefresh() override {
    for (size_t i = 0; i < types_.size(); ++i)
      list_.Check(i, associations_.IsOurs(types_[i].extension));
  }
  bool HasDefaults() const override { return false; }

 private:
  void Set(size_t row, bool checked) {
    if (row >= types_.size()) return;
    const bool done = Write(types_[row], checked);
    TellSystem();
    if (!done) {
      page_->Chooser().Tell(page_->Window(), u"无法写入注册表。");
      OnRefresh();
    }
  }

  void SetAll(bool checked) {
    bool done = true;
    for (const FileType& type : types_)
      if (associations_.IsOurs(type.extension) != checked) done = Write(type, checked) && done;
    TellSystem();
    OnRefresh();
    if (!done) page_->Chooser().Tell(page_->Window(), u"无法写入注册表。");
  }

  bool Write(const FileType& type, bool checked) {
    changed_ = true;
    return checked ? associations_.Associate(type.extension, type.description)
                   : associations_.Restore(type.extension);
  }

  /// The shell shows icons and opens files by what it has read before, until it hears of a change.
  void TellSystem() {
    if (std::exchange(changed_, false)) SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
  }

  PageWindow* page_ = nullptr;
  CheckList list_;
  std::vector<FileType> types_;
  FileAssociations associations_ = FileAssociations::OfUser();
  bool changed_ = false;
};

}  // namespace

std::unique_ptr<OptionsPage> MakeFileTypePage() {
  return std::make_unique<FileTypePage>();
}

}  // namespace melorin
