// SPDX-License-Identifier: MIT
//
// Real add-in modules: found, called, chosen when they should be, and kept apart when they fail.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "sound/sound_buffer.h"
#include "sound/sound_library.h"
#include "sound/text_out.h"
#include "tags/tag_set.h"

namespace melorin {
namespace {

std::string AddInFolder() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return JoinPath(PathDirectory(GbkFromUtf16(AsChar16(path))), "test_addins");
}

std::span<const uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

/// "MZT1", four samples, and an ID3v1 tag behind them.
std::string TestFile() {
  std::string tag = "TAGSong";
  tag.resize(128, '\0');
  return "MZT1" + std::string("\1\0\2\0\3\0\4\0", 8) + tag;
}

std::string SmallWaveFile() {
  return std::string(
             "RIFF\x2C\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1F\0\0\x80\x3E\0\0\2\0\x10\0data\x8\0\0\0", 44) +
         std::string("\1\0\2\0\3\0\4\0", 8);
}

class AddIns : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = AddInFolder();
    ASSERT_TRUE(WriteFileSafely(JoinPath(folder_, "mzp_x.dll"), Bytes("no module at all")));
    ASSERT_TRUE(MakeDirectory(JoinPath(folder_, "mzp_folder.dll")));
    ASSERT_EQ(library_.Start(folder_), S_OK);
  }

  /// Opens a file of these bytes; the name of the reader that took it.
  std::u16string Open(const char* name, const std::string& bytes) {
    source_.Reset();
    const std::string path = JoinPath(TempDirectory(), name);
    EXPECT_TRUE(WriteFileSafely(path, Bytes(bytes)));
    size_t reader = 0;
    const std::u16string path16 = Utf16FromGbk(path);
    const HRESULT result = library_.OpenSource(AsWide(path16.c_str()), 0, source_.Receive(), &reader);
    return FAILED(result) ? u"refused" : library_.ReaderDescriptions()[reader];
  }

  std::string folder_;
  SoundLibrary library_;
  ComPtr<SoundSource> source_;
};

TEST_F(AddIns, StandBetweenTheBuiltInEntriesAndTheLastOnes) {
  const std::vector<std::u16string> descriptions = library_.ReaderDescriptions();
  ASSERT_EQ(descriptions.size(), 10u);
  EXPECT_EQ(descriptions[7], u"Test(*.MZT)");
  EXPECT_EQ(descriptions[8], u"Test Wave(*.wav)");
  EXPECT_EQ(descriptions[9], u"");
  EXPECT_EQ(library_.DecoderNames(),
            (std::vector<std::u16string>{u"MPEG Audio Decoder (mpg123)", u"DMO Audio Decoders",
                                         u"Test Decoder", u"ACM Audio Decoders"}));
  EXPECT_TRUE(library_.CanPlay(u"a.mzt"));
}

TEST_F(AddIns, FailOneByOne) {
  std::map<std::string, HRESULT> failures;
  for (const AddInFailure& failure : library_.AddInFailures())
    failures[failure.file_gbk] = failure.result;
  EXPECT_EQ(failures, (std::map<std::string, HRESULT>{{"mzp_fails.dll", E_UNEXPECTED},
                                                      {"mzp_mute.dll", E_NOINTERFACE},
                                                      {"mzp_unknown.dll", E_NOTIMPL},
                                                      {"mzp_x.dll", E_FAIL}}));
  for (const wchar_t* name : {L"mzp_fails.dll", L"mzp_mute.dll", L"mzp_unknown.dll", L"other_name.dll"})
    EXPECT_EQ(GetModuleHandleW(name), nullptr) << "left loaded";
  EXPECT_NE(GetModuleHandleW(L"mzp_test.dll"), nullptr);
}

TEST_F(AddIns, GetAFileOnlyWhenTheBuiltInReaderRefusesIt) {
  EXPECT_EQ(Open("melorin_addin.wav", SmallWaveFile()), u"Wave 音频文件(*.wav)");
  EXPECT_EQ(Open("melorin_addin.wav", TestFile()), u"Test Wave(*.wav)");
  EXPECT_EQ(Open("melorin_addin.wav", "neither of them"), u"refused");
  EXPECT_EQ(Open("melorin_addin.MZT", TestFile()), u"Test(*.MZT)");
}

TEST_F(AddIns, CallThePlayerBack) {
  for (const char* name : {"melorin_addin.wav", "melorin_addin.mzt"}) {
    SCOPED_TRACE(name);
    Open(name, TestFile());
    ASSERT_TRUE(source_);
    TaskText codec;
    EXPECT_EQ(source_->GetCodecName(codec.Receive()), S_OK);
    EXPECT_EQ(std::u16string(codec.get()), u"ADPCM|ADPCM Audio");
    ComPtr<TagSet> tags;
    ASSERT_EQ(source_->QueryInterface(kIidTagSet, tags.ReceiveVoid()), S_OK);
    TaskText title;
    EXPECT_EQ(tags->GetValue(L"Title", title.Receive()), S_OK);
    EXPECT_EQ(std::u16string(title.get()), u"Song");
    const auto packet = MemorySoundBuffer::Create(100);
    ASSERT_EQ(source_->Read(packet.get()), S_OK);
    uint8_t* data = nullptr;
    uint32_t length = 0;
    packet->GetData(&data, &length);
    ASSERT_EQ(length, 8u);
    EXPECT_EQ(data[6], 4);
    EXPECT_EQ(source_->Read(packet.get()), S_FALSE);
  }
}

TEST_F(AddIns, AreUnloadedAfterTheirObjectsAreGone) {
  Open("melorin_addin.mzt", TestFile());
  ASSERT_TRUE(source_);
  const std::u16string path = Utf16FromGbk(JoinPath(folder_, "mzp_test.dll"));
  const HMODULE module = LoadLibraryW(AsWide(path.c_str()));
  ASSERT_NE(module, nullptr);
  const auto live_objects =
      reinterpret_cast<int (*)()>(reinterpret_cast<void (*)()>(GetProcAddress(module, "mzpTestLiveObjects")));
  ASSERT_NE(live_objects, nullptr);
  EXPECT_EQ(live_objects(), 5) << "add-in, two readers, decoder entry, source; the unknown one is released";
  source_.Reset();
  EXPECT_EQ(live_objects(), 4);
  library_.Shutdown();
  EXPECT_EQ(live_objects(), 0);
  FreeLibrary(module);
  EXPECT_EQ(GetModuleHandleW(L"mzp_test.dll"), nullptr);
}

}  // namespace
}  // namespace melorin
