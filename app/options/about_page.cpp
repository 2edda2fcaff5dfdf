// SPDX-License-Identifier: MIT
//
// 关于: the program, its version and the libraries in it.
#include <windows.h>

#include <commctrl.h>

#include "app/options/check_list.h"
#include "app/options/page_window.h"

namespace melorin {
namespace {

struct LibraryInUse {
  const char16_t* name;
  const char16_t* purpose;
  const char16_t* licence;
};
constexpr LibraryInUse kLibraries[] = {
    {u"libmpg123", u"MPEG 音频解码", u"LGPL 2.1"},
    {u"soxr", u"采样率转换", u"LGPL 2.1 或更新版本"},
    {u"libebur128", u"响度测量", u"MIT"},
    {u"kissfft", u"频谱分析", u"BSD (3 条款)"},
    {u"libpng", u"皮肤图片", u"libpng 2"},
    {u"zlib", u"数据压缩", u"zlib"},
    {u"GCC 运行库", u"C++ 标准库和线程", u"GPL 3 (附运行库例外)、MIT"},
};

class AboutPage final : public OptionsPage {
 public:
  void Build(PageWindow& page) override {
    page.Group(u"Melorin");
    page.Note(u"Melorin 音频播放器 " + page.Host().Version() + u"\n以 MIT 许可证发布。");

    page.Group(u"使用的程序库");
    libraries_.Add(page, {}, 110, {{L"名称", 76}, {L"用途", 88}, {L"许可证"}}, false);
    for (const LibraryInUse& library : kLibraries)
      libraries_.Append({library.name, library.purpose, library.licence});
    page.Note(u"以 LGPL 发布的程序库，其源代码和重新链接的方法随程序的源代码提供。");
  }
  bool HasDefaults() const override { return false; }

 private:
  CheckList libraries_;
};

}  // namespace

std::unique_ptr<OptionsPage> MakeAboutPage() {
  return std::make_unique<AboutPage>();
}

}  // namespace melorin
