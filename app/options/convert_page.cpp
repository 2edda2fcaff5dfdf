// SPDX-License-Identifier: MIT
//
// 格式转换: what converting tracks to other files makes. Nothing of the player does so today; the settings
// are kept and can be edited.
#include "app/options/choice_lists.h"
#include "app/options/page_window.h"

namespace melorin {
namespace {

std::vector<ChoiceItem> WriterChoices(const SoundLibrary& library) {
  std::vector<ChoiceItem> items;
  for (std::u16string& name : library.OutputNames())
    items.push_back({std::move(name), static_cast<int32_t>(items.size())});
  return items;
}

class ConvertPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Plain();
    page.Note(u"此版本不能转换格式。以下设置会保留在设置文件中，供具有转换功能的版本使用。");

    page.Group(u"输出格式");
    page.Choice(u"输出方式:", kConvertPart(&ConvertSettings::writer_index),
                WriterChoices(page.Host().Library()));
    page.Choice(u"采样位数:", kConvertPart(&ConvertSettings::output_bits), BitsChoices());
    page.Choice(u"采样率:", kConvertPart(&ConvertSettings::resample_rate), RateChoices());

    page.Group(u"音效", 2);
    page.CheckBox(u"应用均衡器", kConvertPart(&ConvertSettings::equalizer));
    page.CheckBox(u"应用环绕声", kConvertPart(&ConvertSettings::surround));

    page.Group(u"输出文件", 2);
    page.Folder(u"文件夹:", kConvertPart(&ConvertSettings::folder_gbk)).WholeRow();
    page.CheckBox(u"覆盖已有的文件", kConvertPart(&ConvertSettings::over_write));
    page.CheckBox(u"转换后添加到播放列表", kConvertPart(&ConvertSettings::add_to_play_list));

    page.Group(u"性能");
    page.Choice(u"线程优先级:", kConvertPart(&ConvertSettings::thread_priority), PriorityChoices());
  }
};

}  // namespace

std::unique_ptr<OptionsPage> MakeConvertPage() {
  return std::make_unique<ConvertPage>();
}

}  // namespace melorin
