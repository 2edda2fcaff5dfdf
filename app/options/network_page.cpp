// SPDX-License-Identifier: MIT
//
// 网络: settings of what asks the network. Nothing of the player does so today; they are kept and can be
// edited.
#include "app/options/page_window.h"

namespace melorin {
namespace {

bool UsesProxy(const Settings& settings) {
  return settings.lyric.use_proxy != 0;
}

class NetworkPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Plain();
    page.Note(u"此版本不会访问网络。以下设置会保留在设置文件中，供具有联网功能的版本使用。");

    page.Group(u"歌词下载", 2);
    page.CheckBox(u"没有歌词时自动下载", kLyricPart(&LyricSettings::auto_down_load));
    page.CheckBox(u"自动选择最匹配的结果", kLyricPart(&LyricSettings::auto_select_download));
    page.Number(u"歌词搜索插件序号:", kLyricPart(&LyricSettings::add_in_index), {0, 99, 1}).WholeRow();

    page.Group(u"代理服务器", 2);
    page.CheckBox(u"使用代理服务器", kLyricPart(&LyricSettings::use_proxy)).WholeRow();
    page.TextField(u"地址:", kLyricPart(&LyricSettings::proxy_addr_gbk)).EnabledWhen(UsesProxy);
    page.Number(u"端口:", kLyricPart(&LyricSettings::proxy_port), {1, 65535, 1}).EnabledWhen(UsesProxy);

    page.Group(u"版本更新");
    page.Number(u"检查更新的间隔:", kGeneralPart(&GeneralSettings::check_update_days), {0, 365, 1},
                u"天(0 为不检查)");
  }
};

}  // namespace

std::unique_ptr<OptionsPage> MakeNetworkPage() {
  return std::make_unique<NetworkPage>();
}

}  // namespace melorin
