// SPDX-License-Identifier: MIT
//
// What the sound library registers, in which order, and whom it gives a file or a format to.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "sound/builtin_entries.h"
#include "sound/registry.h"
#include "sound/sound_buffer.h"
#include "sound/sound_library.h"
#include "sound_fakes.h"

namespace melorin {
namespace {

using namespace testing_fakes;

const char16_t* const kReaders[] = {u"MPEG Audio Reader",
                                    u"Wave Audio Reader",
                                    u"Window Media Audio Reader",
                                    u"CD Audio Reader",
                                    u"CUE Reader",
                                    u"DirectShow Audio Reader",
                                    u"DirectShow Audio Reader",
                                    u"DirectShow Audio Reader"};
const char16_t* const kDescriptions[] = {u"MPEG 音频文件(*.mp3;*.mp2;*.mp1;*.mpa)",
                                         u"Wave 音频文件(*.wav)",
                                         u"Window Media 文件(*.wma;*.wmv;*.asf)",
                                         u"CD 数字音轨(*.cda)",
                                         u"CUE 文件(*.cue)",
                                         u"AIFF 音频文件(*.aif;*.aifc;*.aiff)",
                                         u"AU 音频文件(*.au;*.snd)",
                                         u""};

class Library : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(library_.Start(""), S_OK); }
  SoundLibrary library_;
};

TEST_F(Library, ListsItsEntriesInTheFixedOrder) {
  EXPECT_EQ(library_.ReaderNames(), std::vector<std::u16string>(std::begin(kReaders), std::end(kReaders)));
  EXPECT_EQ(library_.ReaderDescriptions(),
            std::vector<std::u16string>(std::begin(kDescriptions), std::end(kDescriptions)));
  EXPECT_EQ(library_.DecoderNames(),
            (std::vector<std::u16string>{u"MPEG Audio Decoder (mpg123)", u"DMO Audio Decoders",
                                         u"ACM Audio Decoders"}));
  EXPECT_EQ(library_.OutputNames(), (std::vector<std::u16string>{u"Wave 文件输出"}));
}

TEST_F(Library, PlaysByExtensionAlone) {
  struct Case {
    const char16_t* path;
    bool plays;
  };
  const std::u16string long_name = u"a." + std::u16string(260, u'x');
  const Case cases[] = {
      {u"song.MP3", true}, {u"C:\\歌\\a.b.Wav", true}, {u"track01.cda", true}, {u"x.aiff", true},
      {u"x.snd", true},    {u"song.mp3x", false},      {u"song.mp", false},    {u"song", false},
      {u"song.", false},   {u"dir.mp3/song", false},   {u"", false},           {long_name.c_str(), false}};
  for (const Case& c : cases)
    EXPECT_EQ(library_.CanPlay(c.path), c.plays) << Utf8FromUtf16(c.path);
}

TEST_F(Library, RefusesWhatNoReaderTakes) {
  ComPtr<SoundSource> source;
  EXPECT_EQ(library_.OpenSource(nullptr, 0, source.Receive()), E_POINTER);
  EXPECT_EQ(library_.OpenSource(AsWide(u"a.mp3"), 0, nullptr), E_POINTER);
  for (const char16_t* path : {u"no extension", u"a.unknown", u"missing.wav", u"a.cue", u"a.cda"})
    EXPECT_EQ(library_.OpenSource(AsWide(path), 0, source.Receive()), E_NOTIMPL) << Utf8FromUtf16(path);
  const std::u16string long_name = u"a." + std::u16string(260, u'x');
  EXPECT_EQ(library_.OpenSource(AsWide(long_name.c_str()), 0, source.Receive()), S_OK);
  EXPECT_FALSE(source);
}

TEST_F(Library, MakesTheOpenDialogFilter) {
  const std::string filter = library_.OpenDialogFilter();
  const std::string all = GbkFromUtf8("所有支持的音频文件");
  EXPECT_EQ(filter.substr(0, all.size() + 7), all + std::string("\0*.mp3;", 7));
  EXPECT_NE(filter.find(GbkFromUtf8("AU 音频文件(*.au;*.snd)") + '\0' + "*.au;*.snd" + '\0'),
            std::string::npos);
  EXPECT_EQ(filter.substr(filter.size() - 2), std::string(2, '\0'));
  // Pairs of texts: one for all, and one a reader that has patterns.
  EXPECT_EQ(std::count(filter.begin(), filter.end(), '\0'), 2 * 8 + 1);
  EXPECT_EQ(library_.FileFilters().size(), 7u);
}

TEST_F(Library, ChoosesADecoderByFormat) {
  const WAVEFORMATEX mpeg = {WAVE_FORMAT_MPEGLAYER3, 2, 44100, 16000, 1, 16, 0};
  const WAVEFORMATEX unknown = {0x7FFF, 2, 44100, 16000, 1, 16, 0};
  WAVEFORMATEX out{};
  out.wFormatTag = WAVE_FORMAT_PCM;
  ComPtr<SoundDecoder> decoder;
  ASSERT_EQ(library_.CreateDecoder(mpeg, &out, decoder.Receive()), S_OK);
  EXPECT_EQ(out.wBitsPerSample, 32) << "the built-in decoder goes before the platform's";
  decoder.Reset();
  out = {};
  out.wFormatTag = WAVE_FORMAT_PCM;
  EXPECT_EQ(library_.CreateDecoder(unknown, &out, decoder.Receive()), E_NOTIMPL);
  EXPECT_EQ(out.nChannels, 0) << "left as it came";
}

TEST_F(Library, ReportsAddInFilesItCannotLoad) {
  const std::string folder = JoinPath(TempDirectory(), "melorin_no_modules");
  ASSERT_TRUE(MakeDirectory(folder));
  const std::string text = "not a module";
  const std::span bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
  for (const char* name : {"MZP_bad.DLL", "other.dll", "mzp_note.txt"})
    ASSERT_TRUE(WriteFileSafely(JoinPath(folder, name), bytes));
  ASSERT_EQ(library_.Start(folder), S_OK);
  ASSERT_EQ(library_.AddInFailures().size(), 1u);
  EXPECT_EQ(library_.AddInFailures()[0].file_gbk, "MZP_bad.DLL");
  EXPECT_EQ(library_.AddInFailures()[0].result, E_FAIL);
  EXPECT_EQ(library_.ReaderNames().size(), 8u);
  library_.Shutdown();
  EXPECT_TRUE(library_.ReaderNames().empty());
  EXPECT_FALSE(library_.CanPlay(u"a.wav"));
}

TEST(Registry, TakesTheKnownKindsOfAnAddInAndReleasesTheRest) {
  Registry registry;
  auto* extension = new FakeExtension();
  struct Offer {
    GUID kind;
    IUnknown* object;
  };
  const Offer offers[] = {
      {kIidSoundReader, new FakeReader(u"A(*.AAA)")},
      {WaveSubtype(1), new FakeReader(u"unknown kind")},
      {kIidSoundDecoderEntry, new FakeReader(u"not what it says")},
      {kIidSoundReader, nullptr},
      {kIidSoundExtension, extension},
      {kIidSoundReader, new FakeReader(u"no brackets")},
  };
  ASSERT_EQ(g_live_objects, 5);
  EXPECT_EQ(registry.AddEntries(nullptr,
                                [&](uint32_t index, GUID* kind, IUnknown** object) {
                                  if (index >= std::size(offers)) return E_FAIL;
                                  *kind = offers[index].kind;
                                  *object = offers[index].object;
                                  return S_OK;
                                }),
            S_OK);
  EXPECT_EQ(g_live_objects, 3);
  ASSERT_EQ(registry.readers.size(), 2u);
  EXPECT_EQ(registry.readers[1].index, 5u);
  EXPECT_TRUE(registry.decoders.empty());
  EXPECT_EQ(extension->registered, 1);
  EXPECT_EQ(registry.extensions[0].extra, extension);
  registry.BuildExtensionLists();
  EXPECT_EQ(registry.readers[0].extensions, u";*.aaa;");
  EXPECT_EQ(registry.readers[1].extensions, u"");
  registry.Clear();
  EXPECT_EQ(g_live_objects, 0);
}

/// The rules of the component runtime that every object follows: identities count, and what is not answered
/// is nulled.
void ExpectIdentities(IUnknown& object, const GUID& own) {
  object.AddRef();
  const ULONG before = object.Release();
  for (const GUID& iid : {IID_IUnknown, own}) {
    void* out = nullptr;
    ASSERT_EQ(object.QueryInterface(iid, &out), S_OK);
    EXPECT_EQ(static_cast<IUnknown*>(out)->Release(), before);
  }
  void* out = &object;
  EXPECT_EQ(object.QueryInterface(WaveSubtype(0x1234), &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
}

TEST(BuiltInEntries, CountTheirReferencesAndCheckTheirOutPointers) {
  const SoundLibrary library;
  for (const auto& reader :
       {CreateMpegReader(true), CreateMpegReader(false), CreateWaveReader(), CreateWindowsMediaReader(),
        CreateCdAudioReader(), CreateCueReader(library), CreateGraphReader(u"")}) {
    ExpectIdentities(*reader, kIidSoundReader);
    EXPECT_EQ(reader->CreateSource(nullptr), E_POINTER);
    EXPECT_EQ(reader->GetName(nullptr), E_POINTER);
    EXPECT_EQ(reader->GetDescription(nullptr), E_POINTER);
    ComPtr<SoundSource> source;
    if (FAILED(reader->CreateSource(source.Receive()))) continue;
    ExpectIdentities(*source, kIidSoundSource);
    EXPECT_EQ(source->Open(nullptr, 0), E_POINTER);
    EXPECT_EQ(source->Read(nullptr), E_POINTER);
    EXPECT_EQ(source->GetFormat(nullptr), E_POINTER);
    EXPECT_EQ(source->GetDuration(nullptr), E_POINTER);
    EXPECT_EQ(source->GetCodecName(nullptr), E_POINTER);
  }
  for (const auto& entry : {CreateMpegDecoderEntry(), CreateDmoDecoderEntry(), CreateAcmDecoderEntry()}) {
    ExpectIdentities(*entry, kIidSoundDecoderEntry);
    EXPECT_EQ(entry->CreateDecoder(nullptr), E_POINTER);
    EXPECT_EQ(entry->GetName(nullptr), E_POINTER);
    ComPtr<SoundDecoder> decoder;
    if (FAILED(entry->CreateDecoder(decoder.Receive()))) continue;
    ExpectIdentities(*decoder, kIidSoundDecoder);
    EXPECT_EQ(decoder->ProcessOutput(nullptr), E_POINTER);
  }
  ExpectIdentities(*CreateWaveOutputEntry(), kIidSoundOutputEntry);
}

TEST(WaveOutput, WritesAFileThatTheWaveReaderTakes) {
  SoundLibrary library;
  ASSERT_EQ(library.Start(""), S_OK);
  ComPtr<SoundOutput> output;
  EXPECT_EQ(library.CreateOutput(u"Wave", output.Receive()), E_NOTIMPL);
  ASSERT_EQ(library.CreateOutput(u"Wave 文件输出", output.Receive()), S_OK);
  const std::u16string path = Utf16FromGbk(TempDirectory() + "melorin_output.wav");
  const WAVEFORMATEX pcm = {WAVE_FORMAT_PCM, 1, 8000, 16000, 2, 16, 0};
  const uint8_t samples[] = {1, 0, 2, 0, 3, 0};
  EXPECT_EQ(output->Open(nullptr, &pcm), E_POINTER);
  ASSERT_EQ(output->Open(AsWide(path.c_str()), &pcm), S_OK);
  EXPECT_EQ(output->Write(samples, sizeof samples), S_OK);
  EXPECT_EQ(output->Write(samples, 2), S_OK);
  ASSERT_EQ(output->Close(), S_OK);

  ComPtr<SoundSource> source;
  ASSERT_EQ(library.OpenSource(AsWide(path.c_str()), 0, source.Receive()), S_OK);
  const auto packet = MemorySoundBuffer::Create(100);
  ASSERT_EQ(source->Read(packet.get()), S_OK);
  uint8_t* data = nullptr;
  uint32_t length = 0;
  packet->GetData(&data, &length);
  EXPECT_EQ(std::vector<uint8_t>(data, data + length), (std::vector<uint8_t>{1, 0, 2, 0, 3, 0, 1, 0}));
}

TEST(Registry, EndsAnEnumerationThatNeverFails) {
  Registry registry;
  EXPECT_EQ(registry.AddEntries(nullptr, [](uint32_t, GUID*, IUnknown**) { return S_OK; }), E_NOTIMPL);
}

TEST(PlatformSource, TriesItsProducersAndStopsAtTheEnd) {
  ComPtr<SoundSource> source;
  ASSERT_EQ(CreatePlatformSource(
                {[]() -> std::unique_ptr<PcmProducer> { return nullptr; },
                 []() -> std::unique_ptr<PcmProducer> { return std::make_unique<FakeProducer>(false, 0); },
                 []() -> std::unique_ptr<PcmProducer> { return std::make_unique<FakeProducer>(true, 160); }},
                source.Receive()),
            S_OK);
  uint32_t value = 0;
  EXPECT_EQ(source->GetDuration(&value), E_FAIL) << "not opened yet";
  EXPECT_EQ(source->Open(nullptr, 0), E_POINTER);
  ComPtr<SoundFileSource> file;
  ASSERT_EQ(source->QueryInterface(kIidSoundFileSource, file.ReceiveVoid()), S_OK);
  ASSERT_EQ(file->OpenFile(AsWide(u"no such file.au"), 0), S_OK);
  EXPECT_EQ(source->GetDuration(&value), S_OK);
  EXPECT_EQ(value, 10u);
  EXPECT_EQ(source->GetReadSize(&value), S_OK);
  EXPECT_EQ(value, 800u);
  TaskText name;
  EXPECT_EQ(source->GetCodecName(name.Receive()), S_OK);
  EXPECT_EQ(std::u16string(name.get()), u"PCM|PCM Audio");
  ComPtr<TagSet> tags;
  ASSERT_EQ(source->QueryInterface(kIidTagSet, tags.ReceiveVoid()), S_OK);
  TaskText title;
  EXPECT_EQ(tags->GetValue(AsWide(u"Title"), title.Receive()), S_OK);
  EXPECT_EQ(std::u16string(title.get()), u"fake");

  const auto packet = MemorySoundBuffer::Create(64);
  size_t total = 0;
  while (source->Read(packet.get()) == S_OK) {
    packet->GetData(nullptr, &value);
    total += value;
  }
  EXPECT_EQ(total, 160u);
  ASSERT_EQ(source->Seek(9), S_OK);
  ASSERT_EQ(source->Read(packet.get()), S_OK);
  packet->GetData(nullptr, &value);
  EXPECT_EQ(value, 16u);
  ASSERT_EQ(source->Seek(1), S_OK);
  EXPECT_EQ(source->Seek(10), E_INVALIDARG);
  EXPECT_EQ(source->Read(packet.get()), S_FALSE) << "left at the end";
  packet->GetData(nullptr, &value);
  EXPECT_EQ(value, 0u);
}

}  // namespace
}  // namespace melorin
