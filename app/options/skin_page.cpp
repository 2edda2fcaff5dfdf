// SPDX-License-Identifier: MIT
//
// 皮肤: the skins that there are, with pictures. The list is read and the pictures are made on a thread.
#include <windows.h>

#include <commctrl.h>
#include <shellapi.h>

#include <algorithm>

#include "app/gdi.h"
#include "app/options/page_task.h"
#include "app/options/page_window.h"
#include "platform/com.h"
#include "platform/file.h"
#include "platform/text.h"
#include "skin/skin_list.h"

namespace melorin {
namespace {

/// A picture on the colour of a window's inside, for an image list.
GdiObject<HBITMAP> BitmapOf(const Bitmap& picture, int width, int height) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  GdiObject<HBITMAP> bitmap(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  if (!bitmap) return bitmap;
  const COLORREF ground = GetSysColor(COLOR_WINDOW);
  const uint32_t back[] = {GetBValue(ground), GetGValue(ground), GetRValue(ground)};
  auto* pixels = static_cast<uint32_t*>(bits);
  const int left = (width - picture.width) / 2;
  const int top = (height - picture.height) / 2;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const int from_x = x - left;
      const int from_y = y - top;
      const bool inside = from_x >= 0 && from_x < picture.width && from_y >= 0 && from_y < picture.height;
      const uint32_t pixel = inside ? picture.Row(from_y)[from_x] : 0;
      const uint32_t rest = 255 - (pixel >> 24);
      uint32_t mixed = 0xFF000000;
      for (unsigned channel = 0; channel < 3; ++channel) {
        const uint32_t value = ((pixel >> (8 * channel)) & 0xFF) + (back[channel] * rest + 127) / 255;
        mixed |= std::min<uint32_t>(value, 255) << (8 * channel);
      }
      pixels[y * width + x] = mixed;
    }
  return bitmap;
}

/// Keeps Return for the list, which activates an entry by it; to the dialog it would be the button "关闭".
LRESULT CALLBACK TakeReturn(HWND list, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR id, DWORD_PTR) {
  const LRESULT result = DefSubclassProc(list, message, wparam, lparam);
  if (message == WM_NCDESTROY) RemoveWindowSubclass(list, TakeReturn, id);
  if (message != WM_GETDLGCODE || lparam == 0) return result;
  const auto* key = reinterpret_cast<const MSG*>(lparam);
  return key->message == WM_KEYDOWN && key->wParam == VK_RETURN ? result | DLGC_WANTMESSAGE : result;
}

class SkinPage final : public OptionsPage {
 public:
  ~SkinPage() override {
    task_.reset();
    if (images_) ImageList_Destroy(images_);
  }

  void Build(PageWindow& page) override {
    page_ = &page;
    task_ = std::make_unique<PageTask>(page.Host());
    width_ = page.Font().X(88);
    height_ = page.Font().Y(48);
    page.Plain();
    PageWindow::CustomSpec list{WC_LISTVIEWW};
    list.style =
        WS_TABSTOP | LVS_ICON | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_AUTOARRANGE | LVS_SHAREIMAGELISTS;
    list.ex_style = WS_EX_CLIENTEDGE;
    list.height = 214;
    list.on_notify = [this](NMHDR& header) { return OnListNotify(header); };
    list_ = page.Custom({}, list).Window();
    SetWindowSubclass(list_, TakeReturn, 0, 0);
    SendMessageW(list_, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_DOUBLEBUFFER, LVS_EX_DOUBLEBUFFER);
    SendMessageW(list_, LVM_SETICONSPACING, 0,
                 MAKELPARAM(static_cast<WORD>(width_ + page.Font().X(10)),
                            static_cast<WORD>(height_ + page.Font().Y(30))));
    about_ = page.Note(u" ").Window();
    buttons_ = page.Buttons({{u"使用", [this] { Use(Selected()); }},
                             {u"刷新", [this] { Read(); }},
                             {u"打开皮肤文件夹", [this] { OpenFolder(); }}})
                   .Windows();
    EnableWindow(buttons_[0], FALSE);
  }

  void OnFirstShown() override { Read(); }
  void OnRefresh() override { ShowAbout(); }
  bool HasDefaults() const override { return true; }
  void OnReset() override { UsePackage(page_->Defaults().skin.package_name_gbk); }

 private:
  void Read() {
    ShowText(about_, u"正在读取皮肤…");
    const std::string folder = page_->Host().SkinFolderGbk();
    const int32_t width = width_;
    const int32_t height = height_;
    task_->RunSteps([this, folder, width, height](const std::atomic<bool>& stop, const PageTask::Post& post) {
      const auto skins = std::make_shared<std::vector<SkinListEntry>>(ListSkins(folder));
      post([this, skins] { ShowSkins(*skins); });
      for (size_t i = 0; i < skins->size() && !stop; ++i) {
        const auto picture = std::make_shared<Bitmap>(SkinThumbnail((*skins)[i], width, height));
        post([this, i, picture] { ShowPicture(i, *picture); });
      }
    });
  }

  void ShowSkins(const std::vector<SkinListEntry>& skins) {
    skins_ = skins;
    SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0);
    SendMessageW(list_, LVM_SETIMAGELIST, LVSIL_NORMAL, 0);
    if (images_) ImageList_Destroy(images_);
    images_ = ImageList_Create(width_, height_, ILC_COLOR32, static_cast<int>(skins_.size()), 1);
    const GdiObject<HBITMAP> empty = BitmapOf({}, width_, height_);
    for (size_t i = 0; i < skins_.size(); ++i)
      ImageList_Add(images_, empty.get(), nullptr);
    SendMessageW(list_, LVM_SETIMAGELIST, LVSIL_NORMAL, reinterpret_cast<LPARAM>(images_));
    for (size_t i = 0; i < skins_.size(); ++i) {
      std::u16string name = Utf16FromGbk(skins_[i].name_gbk);
      LVITEMW item{};
      item.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_STATE;
      item.iItem = static_cast<int>(i);
      item.iImage = static_cast<int>(i);
      item.pszText = reinterpret_cast<wchar_t*>(name.data());
      item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
      item.state = InUse(i) ? item.stateMask : 0;
      SendMessageW(list_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
    ShowAbout();
  }

  void ShowPicture(size_t row, const Bitmap& picture) {
    if (row >= skins_.size()) return;
    const GdiObject<HBITMAP> bitmap = BitmapOf(picture, width_, height_);
    ImageList_Replace(images_, static_cast<int>(row), bitmap.get(), nullptr);
    SendMessageW(list_, LVM_REDRAWITEMS, row, static_cast<LPARAM>(row));
  }

  bool InUse(size_t row) const {
    return EqualNoCaseGbk(skins_[row].package_name_gbk, page_->Values().skin.package_name_gbk);
  }

  size_t Selected() const {
    const LRESULT row = SendMessageW(list_, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED);
    return row < 0 ? skins_.size() : static_cast<size_t>(row);
  }

  void ShowAbout() {
    const size_t row = Selected();
    EnableWindow(buttons_[0], row < skins_.size() && !InUse(row));
    if (row >= skins_.size()) return ShowText(about_, skins_.empty() ? u"" : u"双击一个皮肤即可使用。");
    const SkinListEntry& skin = skins_[row];
    std::u16string text = Utf16FromGbk(skin.name_gbk);
    if (!skin.author_gbk.empty()) text += u"    作者: " + Utf16FromGbk(skin.author_gbk);
    if (InUse(row)) text += u"    (正在使用)";
    ShowText(about_, text);
  }

  LRESULT OnListNotify(NMHDR& header) {
    if (header.code == static_cast<UINT>(LVN_ITEMCHANGED)) ShowAbout();
    if (header.code == static_cast<UINT>(LVN_ITEMACTIVATE) || header.code == static_cast<UINT>(NM_DBLCLK))
      Use(Selected());
    return 0;
  }

  void Use(size_t row) {
    if (row < skins_.size()) UsePackage(skins_[row].package_name_gbk);
  }
  void UsePackage(const std::string& package_name_gbk) {
    std::string& in_use = page_->Values().skin.package_name_gbk;
    if (in_use == package_name_gbk) return;
    in_use = package_name_gbk;
    page_->Changed(SettingsPart::kSkin);
    ShowAbout();
  }

  void OpenFolder() {
    const std::string folder = page_->Host().SkinFolderGbk();
    if (!MakeDirectory(folder)) return page_->Chooser().Tell(page_->Window(), u"无法创建皮肤文件夹。");
    ShellExecuteW(page_->Window(), L"open", AsWide(Utf16FromGbk(folder).c_str()), nullptr, nullptr,
                  SW_SHOWNORMAL);
  }

  PageWindow* page_ = nullptr;
  HWND list_ = nullptr;
  HWND about_ = nullptr;
  std::vector<HWND> buttons_;
  HIMAGELIST images_ = nullptr;
  int width_ = 0;
  int height_ = 0;
  std::vector<SkinListEntry> skins_;
  std::unique_ptr<PageTask> task_;
};

}  // namespace

std::unique_ptr<OptionsPage> MakeSkinPage() {
  return std::make_unique<SkinPage>();
}

}  // namespace melorin
