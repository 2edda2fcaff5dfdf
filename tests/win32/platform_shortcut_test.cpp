// SPDX-License-Identifier: MIT
//
// Real shortcut files, made by the shell itself.
#include <gtest/gtest.h>

#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include "platform/com_ptr.h"
#include "platform/file.h"
#include "platform/folders.h"
#include "platform/win32/wide_path.h"

namespace melorin {
namespace {

class ShortcutTest : public testing::Test {
 protected:
  ShortcutTest() : folder_(TempDirectory() + "melorin_shortcut_\xD6\xD0\x95\x5C") {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    MakeDirectory(folder_);
  }
  ~ShortcutTest() override { CoUninitialize(); }

  std::string Path(const char* name) const { return JoinPath(folder_, name); }

  std::string MakeLink(const char* name, const std::string& target) const {
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    const std::string path = Path(name);
    EXPECT_HRESULT_SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                              link.ReceiveVoid()));
    EXPECT_HRESULT_SUCCEEDED(link->SetPath(WidePath(target).c_str()));
    EXPECT_HRESULT_SUCCEEDED(link->QueryInterface(IID_IPersistFile, file.ReceiveVoid()));
    EXPECT_HRESULT_SUCCEEDED(file->Save(WidePath(path).c_str(), TRUE));
    return path;
  }

  const std::string folder_;
};

TEST_F(ShortcutTest, LeadsToItsTarget) {
  const std::string target = Path("\xB8\xE8\x81\x5C.mp3");
  ASSERT_TRUE(WriteFileSafely(target, {}));
  const std::string link = MakeLink("\xBF\xEC\xBD\xDD.lnk", target);
  EXPECT_EQ(ResolveShortcut(link), target);
  EXPECT_EQ(ResolveShortcut(MakeLink("folder.lnk", folder_)), folder_);

  DeleteFileAt(target);
  EXPECT_EQ(ResolveShortcut(link), "") << "the target is gone";
}

TEST_F(ShortcutTest, OtherFilesLeadNowhere) {
  const std::string text = Path("text.lnk");
  const std::string_view words = "not a shortcut at all";
  ASSERT_TRUE(WriteFileSafely(text, {reinterpret_cast<const uint8_t*>(words.data()), words.size()}));
  const std::string empty = Path("empty.lnk");
  ASSERT_TRUE(WriteFileSafely(empty, {}));
  EXPECT_EQ(ResolveShortcut(text), "");
  EXPECT_EQ(ResolveShortcut(empty), "");
  EXPECT_EQ(ResolveShortcut(Path("missing.lnk")), "");
  EXPECT_EQ(ResolveShortcut(""), "");
}

}  // namespace
}  // namespace melorin
