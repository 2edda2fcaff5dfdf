// SPDX-License-Identifier: MIT
//
// File associations in a key of the test's own: they can be taken back whatever happened in between.
#include <gtest/gtest.h>
#include <shlwapi.h>

#include <map>
#include <string>

#include "app/file_associations.h"
#include "app/options/file_types.h"
#include "platform/com.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr wchar_t kRoot[] = L"Software\\MelorinTest";

/// All values below a key, "path|name" to text.
void Read(HKEY key, const std::wstring& path, std::map<std::wstring, std::wstring>& all) {
  all[path];
  for (DWORD i = 0;; ++i) {
    wchar_t name[256];
    wchar_t text[512] = {};
    DWORD name_size = 256;
    DWORD size = sizeof text - sizeof(wchar_t);
    if (RegEnumValueW(key, i, name, &name_size, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) !=
        ERROR_SUCCESS)
      break;
    all[path + L'|' + name] = text;
  }
  for (DWORD i = 0;; ++i) {
    wchar_t name[256];
    if (RegEnumKeyW(key, i, name, 256) != ERROR_SUCCESS) break;
    HKEY child = nullptr;
    ASSERT_EQ(RegOpenKeyExW(key, name, 0, KEY_READ, &child), ERROR_SUCCESS);
    Read(child, path + L'\\' + name, all);
    RegCloseKey(child);
  }
}

class AppAssociations : public ::testing::Test {
 protected:
  AppAssociations() { SHDeleteKeyW(HKEY_CURRENT_USER, kRoot); }
  ~AppAssociations() override { SHDeleteKeyW(HKEY_CURRENT_USER, kRoot); }

  using Values = std::map<std::wstring, std::wstring>;
  Values All() const {
    Values all;
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, kRoot, 0, KEY_READ, &key) != ERROR_SUCCESS) return all;
    Read(key, L"", all);
    RegCloseKey(key);
    return all;
  }
  void Set(const std::wstring& path, const wchar_t* name, const wchar_t* text) const {
    const std::wstring whole = std::wstring(kRoot) + path;
    ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, whole.c_str(), name, REG_SZ, text,
                              static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
  }
  void Remove(const std::wstring& path, const wchar_t* name) const {
    const std::wstring whole = std::wstring(kRoot) + path;
    RegDeleteKeyValueW(HKEY_CURRENT_USER, whole.c_str(), name);
  }

  FileAssociations files_{HKEY_CURRENT_USER, u"Software\\MelorinTest", u"C:\\音乐\\melorin.exe"};
};

TEST_F(AppAssociations, ATypeIsOursWithIconAndCommands) {
  EXPECT_FALSE(files_.IsOurs(u"mp3"));
  ASSERT_TRUE(files_.Associate(u"mp3", u"MPEG 音频文件"));
  EXPECT_TRUE(files_.IsOurs(u"mp3"));
  EXPECT_FALSE(files_.IsOurs(u"wav"));
  const Values all = All();
  EXPECT_EQ(all.at(L"\\.mp3|"), L"Melorin.mp3");
  EXPECT_TRUE(all.contains(L"\\.mp3\\OpenWithProgids|Melorin.mp3"));
  EXPECT_EQ(all.at(L"\\Melorin.mp3|"), L"MPEG 音频文件");
  EXPECT_EQ(all.at(L"\\Melorin.mp3\\DefaultIcon|"), L"C:\\音乐\\melorin.exe,0");
  EXPECT_EQ(all.at(L"\\Melorin.mp3\\shell\\open\\command|"), L"\"C:\\音乐\\melorin.exe\" \"%1\"");
  EXPECT_EQ(all.at(L"\\Melorin.mp3\\shell\\enqueue\\command|"), L"\"C:\\音乐\\melorin.exe\" /add \"%1\"");
}

TEST_F(AppAssociations, TakingBackLeavesTheRegistryAsItWas) {
  Set(L"\\.mp3", nullptr, L"Other.mp3");
  Set(L"\\.mp3", L"Content Type", L"audio/mpeg");
  Set(L"\\.mp3\\OpenWithProgids", L"Other.mp3", L"");
  Set(L"\\.ogg", L"PerceivedType", L"audio");
  Set(L"\\Other.mp3\\shell\\open\\command", nullptr, L"other.exe %1");
  const Values before = All();
  for (const char16_t* extension : {u"mp3", u"ogg", u"wav"}) {
    ASSERT_TRUE(files_.Associate(extension, u"音频"));
    ASSERT_TRUE(files_.Associate(extension, u"音频"));  // Twice keeps what there was at first.
  }
  for (const char16_t* extension : {u"mp3", u"ogg", u"wav", u"never"})
    EXPECT_TRUE(files_.Restore(extension));
  EXPECT_EQ(All(), before);
}

TEST_F(AppAssociations, WhatHappenedInBetweenIsRespected) {
  struct Case {
    const char* name;
    const wchar_t* before;   ///< The default of ".mp3" at first; null: none.
    const wchar_t* between;  ///< What somebody makes of ours; null: removes it.
    const wchar_t* after;    ///< Null: none.
  };
  const Case cases[] = {
      {"another program takes it", L"Other.mp3", L"Third.mp3", L"Third.mp3"},
      {"the user removes ours", L"Other.mp3", nullptr, L"Other.mp3"},
      {"the user empties ours", L"Other.mp3", L"", L"Other.mp3"},
      {"removed, and nothing was there", nullptr, nullptr, nullptr},
      {"taken, and nothing was there", nullptr, L"Third.mp3", L"Third.mp3"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SHDeleteKeyW(HKEY_CURRENT_USER, kRoot);
    Set(L"\\.mp3", L"Content Type", L"audio/mpeg");
    if (c.before) Set(L"\\.mp3", nullptr, c.before);
    ASSERT_TRUE(files_.Associate(u"mp3", u"音频"));
    if (c.between) {
      Set(L"\\.mp3", nullptr, c.between);
    } else {
      Remove(L"\\.mp3", nullptr);
    }
    EXPECT_FALSE(files_.IsOurs(u"mp3"));
    ASSERT_TRUE(files_.Restore(u"mp3"));
    Values want = {{L"", L""}, {L"\\.mp3", L""}, {L"\\.mp3|Content Type", L"audio/mpeg"}};
    if (c.after) want[L"\\.mp3|"] = c.after;
    EXPECT_EQ(All(), want);
  }
  // Taken by another, then ours again: that other one comes back.
  Set(L"\\.mp3", nullptr, L"Other.mp3");
  ASSERT_TRUE(files_.Associate(u"mp3", u"音频"));
  Set(L"\\.mp3", nullptr, L"Third.mp3");
  ASSERT_TRUE(files_.Associate(u"mp3", u"音频"));
  ASSERT_TRUE(files_.Restore(u"mp3"));
  EXPECT_EQ(All().at(L"\\.mp3|"), L"Third.mp3");
}

TEST(AppFileTypes, ExtensionsOfReadersOnceEach) {
  const std::vector<FileType> types =
      FileTypesOf({{GbkFromUtf8("MPEG 音频文件"), "*.MP3;*.mp2"}, {"Other", "*.mp3;*.a\\b;*.;*.*;x;*.flac"}});
  std::u16string all;
  for (const FileType& type : types)
    all += type.extension + u' ';
  EXPECT_EQ(all, u"mp3 mp2 flac mzpl mzbl m3u m3u8 ");
  EXPECT_EQ(types[0].description, u"MPEG 音频文件");
}

}  // namespace
}  // namespace melorin
