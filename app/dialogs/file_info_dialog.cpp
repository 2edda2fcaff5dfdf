// SPDX-License-Identifier: MIT
#include "app/dialogs/file_info_dialog.h"

#include <commctrl.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/dialogs/dialog_template.h"
#include "app/message_queue.h"
#include "app/player_text.h"
#include "app/worker.h"
#include "platform/com.h"
#include "platform/text.h"
#include "playlist/item_info.h"
#include "ui/time_text.h"

namespace melorin {
namespace {

constexpr WORD kListView = 100;
constexpr WORD kCopyButton = 101;
constexpr UINT kReadMessage = WM_APP;

/// What a worker found out; the dialog deletes it.
struct FileReport {
  HRESULT result = S_OK;
  ItemInfo info;
  int64_t size = -1;
};

using Lines = std::vector<std::pair<std::u16string, std::u16string>>;

std::u16string Grouped(int64_t number) {
  std::string text = std::to_string(number);
  for (size_t at = text.size(); at > 3;)
    text.insert(at -= 3, 1, ',');
  return Utf16FromUtf8(text);
}

std::u16string SizeText(int64_t bytes) {
  constexpr int64_t kMega = 1 << 20;
  constexpr int64_t kKilo = 1 << 10;
  const int64_t unit = bytes >= kMega ? kMega : kKilo;
  const auto tenths = static_cast<uint32_t>(bytes / unit * 10 + bytes % unit * 10 / unit);
  return ToText(tenths / 10) + u"." + ToText(tenths % 10) + (unit == kMega ? u" MB" : u" KB") + u"（" +
         Grouped(bytes) + u" 字节）";
}

/// Tags that the player shows under a Chinese name; others keep theirs.
std::u16string TagLabel(const std::string& name) {
  static constexpr std::pair<const char*, const char16_t*> kLabels[] = {
      {"Title", u"标题"},       {"Artist", u"艺术家"}, {"Album", u"专辑"},
      {"Tracknumber", u"音轨"}, {"Genre", u"流派"},    {"Date", u"日期"},
      {"Year", u"年份"},        {"Comment", u"备注"},  {"Composer", u"作曲"}};
  for (const auto& [tag, label] : kLabels)
    if (EqualNoCaseUtf8(tag, name)) return label;
  return Utf16FromUtf8(name);
}

/// One line; a list view shows no others.
std::u16string OneLine(std::u16string text) {
  constexpr size_t kLongest = 1000;
  if (text.size() > kLongest) text.resize(kLongest);
  for (char16_t& c : text)
    if (c < u' ') c = u' ';
  return text;
}

Lines Describe(const PlayListItem& item, const FileReport* report) {
  Lines lines;
  const auto add = [&lines](std::u16string label, std::u16string value) {
    if (!value.empty()) lines.emplace_back(std::move(label), OneLine(std::move(value)));
  };
  add(u"文件", Utf16FromGbk(item.PathGbk()));
  if (item.Subtrack() > 0) add(u"曲目", ToText(item.Subtrack()));
  if (report && report->size >= 0) add(u"大小", SizeText(report->size));
  const bool read = report && SUCCEEDED(report->result);
  std::u16string codec = Utf16FromGbk(read ? report->info.codec_gbk : item.CodecGbk());
  if (const size_t bar = codec.find(u'|'); bar != std::u16string::npos) codec = codec.substr(bar + 1);
  add(u"编码", codec);
  const int32_t duration = read ? report->info.duration_ms : item.DurationMs();
  if (duration >= 0) add(u"时长", TimeText(static_cast<uint32_t>(duration / 1000)));
  const StreamFormat& format = read ? report->info.format : item.Format();
  if (format.sample_rate > 0) add(u"采样率", ToText(format.sample_rate) + u" Hz");
  if (format.channels > 0)
    add(u"声道", format.channels == 1   ? u"单声道"
                 : format.channels == 2 ? u"立体声"
                                        : ToText(format.channels) + u" 声道");
  if (format.bits > 0) add(u"位深", ToText(format.bits) + u" 位");
  if (format.bit_rate >= 1000) add(u"比特率", ToText((format.bit_rate + 500) / 1000) + u" kbps");
  const TagFields tags = read ? report->info.tags : item.Tags();
  for (size_t i = 0; i < tags.size(); ++i)
    add(TagLabel(tags.name(i)), Utf16FromUtf8(tags.value(i)));
  if (report && FAILED(report->result)) add(u"读取", DescribeFailure(report->result, false));
  return lines;
}

class InfoDialog {
 public:
  InfoDialog(const SoundLibrary& library, ItemRef item) : library_(library), item_(std::move(item)) {}

  void Run(HWND owner) {
    DialogTemplate dialog(u"文件属性", 300, 210);
    dialog
        .Add(WC_LISTVIEWW, {}, kListView,
             WS_BORDER | WS_TABSTOP | LVS_REPORT | LVS_NOSORTHEADER | LVS_SHOWSELALWAYS, {7, 7, 286, 176})
        .Add(L"BUTTON", u"复制(&C)", kCopyButton, WS_TABSTOP | BS_PUSHBUTTON, {7, 189, 54, 15})
        .Add(L"BUTTON", u"关闭", IDCANCEL, WS_TABSTOP | BS_DEFPUSHBUTTON, {239, 189, 54, 15});
    dialog.Run(owner, Procedure, this);
  }

 private:
  static INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) noexcept try {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrW(dialog, DWLP_USER, lparam);
      reinterpret_cast<InfoDialog*>(lparam)->Start(dialog);
      return TRUE;
    }
    auto* self = reinterpret_cast<InfoDialog*>(GetWindowLongPtrW(dialog, DWLP_USER));
    return self && self->Take(message, wparam, lparam) ? TRUE : FALSE;
  } catch (...) {
    // Memory has run out.
    EndDialog(dialog, IDCANCEL);
    return TRUE;
  }

  void Start(HWND dialog) {
    dialog_ = dialog;
    list_ = GetDlgItem(dialog, kListView);
    ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_LABELTIP);
    RECT client{};
    GetClientRect(list_, &client);
    const int first = client.right / 4;
    AddColumn(0, u"项目", first);
    AddColumn(1, u"内容", client.right - first - GetSystemMetrics(SM_CXVSCROLL));
    Show(Describe(*item_, nullptr));
    CentreDialog(dialog);
    worker_.Start(
        [this, dialog, path = item_->PathGbk(), subtrack = item_->Subtrack()](const std::atomic<bool>& stop) {
          auto report = std::make_unique<FileReport>();
          report->result = ReadItemInfo(library_, path, subtrack, &report->info);
          WIN32_FILE_ATTRIBUTE_DATA data{};
          const std::u16string wide = Utf16FromGbk(path);
          if (GetFileAttributesExW(AsWide(wide.c_str()), GetFileExInfoStandard, &data))
            report->size = static_cast<int64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
          if (stop) return;
          if (PostMessageW(dialog, kReadMessage, 0, reinterpret_cast<LPARAM>(report.get())))
            (void)report.release();
        });
  }

  bool Take(UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
      case kReadMessage: {
        const std::unique_ptr<FileReport> report(reinterpret_cast<FileReport*>(lparam));
        Show(Describe(*item_, report.get()));
        return true;
      }
      case WM_COMMAND:
        if (LOWORD(wparam) == IDCANCEL) Close();
        if (LOWORD(wparam) == kCopyButton) Copy();
        return true;
      case WM_NOTIFY: {
        const auto* header = reinterpret_cast<const NMHDR*>(lparam);
        if (header->hwndFrom != list_ || header->code != LVN_KEYDOWN) return false;
        const auto* key = reinterpret_cast<const NMLVKEYDOWN*>(lparam);
        if (key->wVKey == 'C' && GetKeyState(VK_CONTROL) < 0) Copy();
        return true;
      }
      default:
        return false;
    }
  }

  void Close() {
    worker_.Stop();
    // What it has posted since would be nobody's.
    TakeMessages(dialog_, kReadMessage, kReadMessage,
                 [](const MSG& message) { delete reinterpret_cast<FileReport*>(message.lParam); });
    EndDialog(dialog_, IDCANCEL);
  }

  void AddColumn(int index, std::u16string text, int width) {
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    column.cx = width;
    column.pszText = reinterpret_cast<wchar_t*>(text.data());
    ListView_InsertColumn(list_, index, &column);
  }

  void Show(Lines lines) {
    lines_ = std::move(lines);
    SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
    ListView_DeleteAllItems(list_);
    for (size_t i = 0; i < lines_.size(); ++i) {
      LVITEMW row{};
      row.mask = LVIF_TEXT;
      row.iItem = static_cast<int>(i);
      row.pszText = reinterpret_cast<wchar_t*>(lines_[i].first.data());
      ListView_InsertItem(list_, &row);
      row.iSubItem = 1;
      row.pszText = reinterpret_cast<wchar_t*>(lines_[i].second.data());
      ListView_SetItem(list_, &row);
    }
    SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list_, nullptr, TRUE);
  }

  /// What is selected, or else everything.
  void Copy() const {
    const bool all = ListView_GetSelectedCount(list_) == 0;
    std::u16string text;
    for (size_t i = 0; i < lines_.size(); ++i) {
      if (!all && ListView_GetItemState(list_, static_cast<int>(i), LVIS_SELECTED) == 0) continue;
      text += lines_[i].first + u"：" + lines_[i].second + u"\r\n";
    }
    const size_t bytes = (text.size() + 1) * sizeof(char16_t);
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (!memory) return;
    std::memcpy(GlobalLock(memory), text.c_str(), bytes);
    GlobalUnlock(memory);
    bool taken = false;
    if (OpenClipboard(dialog_)) {
      EmptyClipboard();
      taken = SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
      CloseClipboard();
    }
    if (!taken) GlobalFree(memory);
  }

  const SoundLibrary& library_;
  const ItemRef item_;
  HWND dialog_ = nullptr;
  HWND list_ = nullptr;
  Lines lines_;
  Worker worker_;
};

}  // namespace

void ShowFileInfo(HWND owner, const SoundLibrary& library, const ItemRef& item) {
  const INITCOMMONCONTROLSEX classes = {sizeof(classes), ICC_LISTVIEW_CLASSES};
  InitCommonControlsEx(&classes);
  InfoDialog(library, item).Run(owner);
}

}  // namespace melorin
