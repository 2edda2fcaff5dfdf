// SPDX-License-Identifier: MIT
#include "app/options/choosers.h"

#include <windows.h>

#include <shobjidl.h>

#include <commdlg.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "platform/com.h"
#include "platform/com_ptr.h"
#include "platform/file.h"
#include "platform/text.h"

namespace melorin {
namespace {

std::wstring Wide(const std::u16string& text) {
  return {text.begin(), text.end()};
}
std::wstring WideOfGbk(const std::string& gbk) {
  return Wide(Utf16FromGbk(gbk));
}

LOGFONTW LogFontOf(const FontRecord& record) {
  LOGFONTW font{};
  font.lfHeight = record.height;
  font.lfWidth = record.width;
  font.lfEscapement = record.escapement;
  font.lfOrientation = record.orientation;
  font.lfWeight = record.weight;
  font.lfItalic = record.italic;
  font.lfUnderline = record.underline;
  font.lfStrikeOut = record.strike_out;
  font.lfCharSet = record.char_set;
  font.lfOutPrecision = record.out_precision;
  font.lfClipPrecision = record.clip_precision;
  font.lfQuality = record.quality;
  font.lfPitchAndFamily = record.pitch_and_family;
  const std::wstring face = WideOfGbk(std::string(record.FaceGbk()));
  const size_t length = std::min(face.size(), std::size(font.lfFaceName) - 1);
  std::copy_n(face.begin(), length, font.lfFaceName);
  return font;
}

FontRecord RecordOf(const LOGFONTW& font) {
  FontRecord record;
  record.height = font.lfHeight;
  record.width = font.lfWidth;
  record.escapement = font.lfEscapement;
  record.orientation = font.lfOrientation;
  record.weight = font.lfWeight;
  record.italic = font.lfItalic;
  record.underline = font.lfUnderline;
  record.strike_out = font.lfStrikeOut;
  record.char_set = font.lfCharSet;
  record.out_precision = font.lfOutPrecision;
  record.clip_precision = font.lfClipPrecision;
  record.quality = font.lfQuality;
  record.pitch_and_family = font.lfPitchAndFamily;
  record.SetFaceGbk(GbkFromUtf16(AsChar16(font.lfFaceName)));
  return record;
}

/// "歌词外观配置 (*.mzlr_cfg)\0*.mzlr_cfg\0所有文件 (*.*)\0*.*\0", as the platform wants it.
std::wstring FilterOf(const FileQuestion& question) {
  std::u16string patterns = u"*." + question.extensions;
  for (size_t at = 0; (at = patterns.find(u';', at)) != std::u16string::npos; at += 3)
    patterns.replace(at, 1, u";*.");
  std::u16string filter = question.kind + u" (" + patterns + u')';
  filter += u'\0';
  filter += patterns;
  filter += u'\0';
  filter += u"所有文件 (*.*)";
  filter += u'\0';
  filter += u"*.*";
  filter += u'\0';
  return Wide(filter);
}

class SystemDialogs final : public Choosers {
 public:
  std::optional<SettingsColour> Colour(HWND owner, SettingsColour now) override {
    CHOOSECOLORW choice{};
    choice.lStructSize = sizeof choice;
    choice.hwndOwner = owner;
    choice.rgbResult = now.value & 0x00FFFFFF;
    choice.lpCustColors = custom_.data();
    choice.Flags = CC_RGBINIT | CC_FULLOPEN | CC_ANYCOLOR;
    if (!ChooseColorW(&choice)) return std::nullopt;
    return SettingsColour{choice.rgbResult};
  }

  std::optional<FontRecord> Font(HWND owner, const FontRecord& now) override {
    LOGFONTW font = LogFontOf(now);
    CHOOSEFONTW choice{};
    choice.lStructSize = sizeof choice;
    choice.hwndOwner = owner;
    choice.lpLogFont = &font;
    choice.Flags = CF_SCREENFONTS | CF_INITTOLOGFONTSTRUCT | CF_NOVERTFONTS | CF_FORCEFONTEXIST;
    if (!ChooseFontW(&choice)) return std::nullopt;
    return RecordOf(font);
  }

  std::optional<std::string> Folder(HWND owner, const std::string& now_gbk) override {
    ComPtr<IFileOpenDialog> dialog;
    if (FAILED(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER, IID_IFileOpenDialog,
                                reinterpret_cast<void**>(dialog.Receive()))))
      return std::nullopt;
    DWORD options = 0;
    dialog->GetOptions(&options);
    dialog->SetOptions(options | FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM);
    ComPtr<IShellItem> item;
    if (!now_gbk.empty() &&
        SUCCEEDED(SHCreateItemFromParsingName(WideOfGbk(now_gbk).c_str(), nullptr, IID_IShellItem,
                                              reinterpret_cast<void**>(item.Receive()))))
      dialog->SetFolder(item.get());
    if (FAILED(dialog->Show(owner))) return std::nullopt;
    ComPtr<IShellItem> chosen;
    if (FAILED(dialog->GetResult(chosen.Receive()))) return std::nullopt;
    wchar_t* name = nullptr;
    if (FAILED(chosen->GetDisplayName(SIGDN_FILESYSPATH, &name))) return std::nullopt;
    std::string path = GbkFromUtf16(AsChar16(name));
    CoTaskMemFree(name);
    return path;
  }

  std::optional<std::string> File(HWND owner, const FileQuestion& question) override {
    const std::wstring filter = FilterOf(question);
    const std::wstring title = Wide(question.title);
    const std::wstring extension = Wide(question.extensions.substr(0, question.extensions.find(u';')));
    const std::wstring folder = WideOfGbk(std::string(PathDirectory(question.now_gbk)));
    constexpr size_t kLongest = 4096;
    std::wstring path = WideOfGbk(std::string(PathFileName(question.now_gbk)));
    path.resize(kLongest);

    OPENFILENAMEW choice{};
    choice.lStructSize = sizeof choice;
    choice.hwndOwner = owner;
    choice.lpstrFilter = filter.c_str();
    choice.lpstrFile = path.data();
    choice.nMaxFile = kLongest;
    choice.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
    choice.lpstrTitle = title.c_str();
    choice.lpstrDefExt = extension.c_str();
    choice.Flags = OFN_EXPLORER | OFN_NOCHANGEDIR | OFN_HIDEREADONLY;
    choice.Flags |= question.save ? OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST : OFN_FILEMUSTEXIST;
    const BOOL chosen = question.save ? GetSaveFileNameW(&choice) : GetOpenFileNameW(&choice);
    if (!chosen) return std::nullopt;
    return GbkFromUtf16(AsChar16(path.c_str()));
  }

  void Tell(HWND owner, const std::u16string& text) override {
    MessageBoxW(owner, AsWide(text.c_str()), L"Melorin", MB_OK | MB_ICONWARNING);
  }

 private:
  std::array<COLORREF, 16> custom_ = {};  ///< What the user has mixed.
};

}  // namespace

Choosers& SystemChoosers() {
  static SystemDialogs dialogs;
  return dialogs;
}

}  // namespace melorin
