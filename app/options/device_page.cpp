// SPDX-License-Identifier: MIT
//
// 音频设备: what the sound comes out of, and in which form.
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <utility>

#include "app/options/choice_lists.h"
#include "app/options/device_tree.h"
#include "app/options/page_task.h"
#include "app/options/page_window.h"
#include "platform/com.h"
#include "platform/text.h"
#include "playback/device_capabilities.h"

namespace melorin {
namespace {

bool Resamples(const Settings& settings) {
  return settings.device.resample_rate != 0;
}
bool IsDirectSound(const Settings& settings) {
  return ParseDeviceId(settings.device.device_type).kind == static_cast<int32_t>(DeviceKind::kDirectSound);
}

class DevicePage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page_ = &page;
    task_ = std::make_unique<PageTask>(page.Host());
    page.Group(u"输出设备");
    PageWindow::CustomSpec tree{WC_TREEVIEWW};
    tree.style = WS_TABSTOP | TVS_SHOWSELALWAYS | TVS_DISABLEDRAGDROP | TVS_FULLROWSELECT;
    tree.ex_style = WS_EX_CLIENTEDGE;
    tree.height = 82;
    tree.on_notify = [this](NMHDR& header) { return OnTreeNotify(header); };
    PageItem& item = page.Custom({}, tree);
    tree_ = item.Window();
    PageWindow::CustomSpec lines{WC_LISTBOXW};
    lines.style = WS_TABSTOP | WS_VSCROLL | LBS_NOSEL | LBS_NOINTEGRALHEIGHT;
    lines.ex_style = WS_EX_CLIENTEDGE;
    lines.width = 104;
    lines.height = 82;
    capabilities_ = page.AddCustomTo(item, lines);

    page.Group(u"输出格式", 2);
    page.Choice(u"输出位数:", kDevicePart(&DeviceSettings::output_bits), BitsChoices());
    page.Choice(u"抖动:", kDevicePart(&DeviceSettings::dither),
                {{u"无", 0}, {u"三角抖动", 1}, {u"一阶噪声整形", 2}, {u"噪声整形", 3}, {u"噪声整形 2", 4}});
    page.Choice(u"转换采样率:", kDevicePart(&DeviceSettings::resample_rate), RateChoices());
    page.CheckBox(u"高质量转换", kDevicePart(&DeviceSettings::hq_resample)).EnabledWhen(Resamples);

    page.Group(u"缓冲", 2);
    page.Number(u"缓冲时长:", kDevicePart(&DeviceSettings::buffer_duration), {100, 10000, 100}, u"毫秒")
        .WholeRow();
    page.CheckBox(u"使用硬件缓冲", kDevicePart(&DeviceSettings::hardware_buffer)).EnabledWhen(IsDirectSound);
    page.CheckBox(u"创建主缓冲", kDevicePart(&DeviceSettings::create_primary)).EnabledWhen(IsDirectSound);

    page.Plain();
    page.Note(u"提示: 上述所有参数设置都在重新播放时才会生效。");
    page.Note(
        u"注意: 对于某些声卡驱动或操作系统,Kernel Streaming和ASIO不支持音量调节,甚至可能无法正常播放声音。");
  }

  void OnFirstShown() override {
    ShowLine(u"正在查找设备…");
    // Drivers take their time, and some do not answer at all.
    task_->Run<std::vector<DeviceKindEntry>>(
        [](const std::atomic<bool>& stop) { return ListDeviceKinds(&stop); },
        [this](std::vector<DeviceKindEntry> kinds) {
          kinds_ = std::move(kinds);
          listed_ = true;
          FillTree();
          OnRefresh();
        });
  }

  void OnRefresh() override {
    if (!listed_) return;
    const DeviceInfo* device = FindDevice(kinds_, page_->Values().device.device_type);
    const bool before = std::exchange(filling_, true);
    SendMessageW(tree_, TVM_SELECTITEM, TVGN_CARET,
                 reinterpret_cast<LPARAM>(device ? ItemOf(device) : nullptr));
    filling_ = before;
    ShowCapabilities(device);
  }

  void OnReset() override {
    page_->Values().device.device_type = page_->Defaults().device.device_type;
    page_->Changed(SettingsPart::kDevice);
  }

 private:
  struct Answer {
    HRESULT result = E_FAIL;
    DeviceCapabilities capabilities;
  };

  HTREEITEM Insert(HTREEITEM parent, const std::string& name_gbk, const DeviceInfo* device) {
    std::u16string name = Utf16FromGbk(name_gbk);
    TVINSERTSTRUCTW insert{};
    insert.hParent = parent;
    insert.hInsertAfter = TVI_LAST;
    insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_STATE;
    insert.item.pszText = reinterpret_cast<wchar_t*>(name.data());
    insert.item.lParam = reinterpret_cast<LPARAM>(device);
    insert.item.stateMask = TVIS_BOLD | TVIS_EXPANDED;
    insert.item.state = device ? 0 : TVIS_EXPANDED;
    return reinterpret_cast<HTREEITEM>(
        SendMessageW(tree_, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&insert)));
  }

  void FillTree() {
    items_.clear();
    for (const DeviceKindEntry& kind : kinds_) {
      const HTREEITEM parent = Insert(TVI_ROOT, kind.name_gbk, nullptr);
      for (const DeviceInfo& device : kind.devices)
        items_.push_back({&device, Insert(parent, device.name_gbk, &device)});
      SendMessageW(tree_, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(parent));
    }
  }

  HTREEITEM ItemOf(const DeviceInfo* device) const {
    const auto found = std::find_if(items_.begin(), items_.end(),
                                    [&](const TreeItem& item) { return item.device == device; });
    return found == items_.end() ? nullptr : found->handle;
  }

  LRESULT OnTreeNotify(NMHDR& header) {
    if (header.code == static_cast<UINT>(TVN_ITEMEXPANDINGW)) {
      const auto& expanding = reinterpret_cast<const NMTREEVIEWW&>(header);
      return expanding.action == TVE_COLLAPSE ? TRUE : FALSE;
    }
    if (header.code != static_cast<UINT>(TVN_SELCHANGEDW) || filling_) return 0;
    const auto* device =
        reinterpret_cast<const DeviceInfo*>(reinterpret_cast<const NMTREEVIEWW&>(header).itemNew.lParam);
    if (!device) return 0;
    page_->Values().device.device_type = device->id;
    page_->Changed(SettingsPart::kDevice);
    ShowCapabilities(device);
    return 0;
  }

  void ShowCapabilities(const DeviceInfo* device) {
    if (device == described_ && described_once_) return;
    described_ = device;
    described_once_ = true;
    if (!device) return ShowLine(u"没有找到所设置的设备");
    ShowLine(u"正在询问设备…");
    task_->Run<Answer>(
        [id = device->id](const std::atomic<bool>& stop) {
          Answer answer;
          answer.result = QueryDeviceCapabilities(id, &answer.capabilities, &stop);
          return answer;
        },
        [this](const Answer& answer) { ShowAnswer(answer); });
  }

  void ShowAnswer(const Answer& answer) const {
    if (answer.result == kDeviceBusy) return ShowLine(u"设备正在使用中");
    if (FAILED(answer.result)) return ShowLine(u"设备没有回答");
    SendMessageW(capabilities_, LB_RESETCONTENT, 0, 0);
    for (const std::string& line : DescribeCapabilitiesGbk(answer.capabilities))
      AddLine(Utf16FromGbk(line));
  }

  void ShowLine(const std::u16string& line) const {
    SendMessageW(capabilities_, LB_RESETCONTENT, 0, 0);
    AddLine(line);
  }

  void AddLine(const std::u16string& line) const {
    SendMessageW(capabilities_, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(line.c_str()));
  }

  struct TreeItem {
    const DeviceInfo* device;
    HTREEITEM handle;
  };

  PageWindow* page_ = nullptr;
  HWND tree_ = nullptr;
  HWND capabilities_ = nullptr;
  std::vector<DeviceKindEntry> kinds_;
  std::vector<TreeItem> items_;
  const DeviceInfo* described_ = nullptr;
  bool described_once_ = false;
  bool listed_ = false;
  bool filling_ = false;
  std::unique_ptr<PageTask> task_;  ///< Last: it ends before what it brings results to.
};

}  // namespace

std::unique_ptr<OptionsPage> MakeDevicePage() {
  return std::make_unique<DevicePage>();
}

}  // namespace melorin
