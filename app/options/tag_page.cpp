// SPDX-License-Identifier: MIT
//
// 标签: which tags of MPEG files count, and which are written.
#include "app/options/page_window.h"

namespace melorin {
namespace {

class TagPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Group(u"MP3 文件");
    page.Choice(u"读取标签的优先顺序:", kGeneralPart(&GeneralSettings::mp3_read_tag_priority),
                {{u"ID3v2 > APEv2 > ID3v1", 0}, {u"APEv2 > ID3v2 > ID3v1", 1}});
    page.Note(u"一个文件有多种标签时，排在前面的标签优先。已读入列表的曲目可用“重新读取信息”更新。");

    page.Group(u"写入 MP3 标签时使用的类型", 3);
    page.BitBox(u"ID3v2", kGeneralPart(&GeneralSettings::mp3_write_tag_type), 8);
    page.BitBox(u"APEv2", kGeneralPart(&GeneralSettings::mp3_write_tag_type), 4);
    page.BitBox(u"ID3v1", kGeneralPart(&GeneralSettings::mp3_write_tag_type), 1);
  }
};

}  // namespace

std::unique_ptr<OptionsPage> MakeTagPage() {
  return std::make_unique<TagPage>();
}

}  // namespace melorin
