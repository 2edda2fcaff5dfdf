// SPDX-License-Identifier: MIT
//
// Buffers, byte streams, codec names and descriptions.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/file.h"
#include "platform/text.h"
#include "sound/cda_file.h"
#include "sound/exports.h"
#include "sound/reader_patterns.h"
#include "sound/sound_buffer.h"
#include "sound/text_out.h"
#include "tests/sound_test_files.h"

namespace melorin {
namespace {

std::u16string TempPath(const char* name) {
  return Utf16FromGbk(TempDirectory() + "melorin_sound_" + name);
}

ComPtr<IStream> OpenStream(const std::u16string& path, uint32_t mode) {
  ComPtr<IStream> stream;
  CreateStreamOnFile(AsWide(path.c_str()), mode, stream.Receive());
  return stream;
}

void WriteFileBytes(const std::u16string& path, const std::string& bytes) {
  ASSERT_TRUE(
      WriteFileSafely(GbkFromUtf16(path), {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}));
}

std::string ReadFileBytes(const std::u16string& path) {
  MappedFile file;
  if (!file.Open(GbkFromUtf16(path))) return "(cannot be read)";
  return {file.Bytes().begin(), file.Bytes().end()};
}

/// The rules of the component runtime that every object follows.
void ExpectIdentities(IUnknown& object, std::initializer_list<GUID> own) {
  object.AddRef();
  const ULONG before = object.Release();
  void* out = nullptr;
  for (const GUID& iid : own) {
    ASSERT_EQ(object.QueryInterface(iid, &out), S_OK);
    EXPECT_EQ(static_cast<IUnknown*>(out)->Release(), before);
  }
  ASSERT_EQ(object.QueryInterface(IID_IUnknown, &out), S_OK);
  EXPECT_EQ(static_cast<IUnknown*>(out)->Release(), before);
  out = &object;
  EXPECT_EQ(object.QueryInterface(WaveSubtype(0x1234), &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
}

/// The operation's place in its interface, which the compilers of both builds keep in the member pointer.
template <class Operation>
size_t Slot(Operation operation) {
  uintptr_t place = 0;
  std::memcpy(&place, &operation, sizeof place);
  return (place - 1) / sizeof(void*);
}

/// Add-ins are built against these numbers, with other compilers and long ago.
TEST(Interfaces, KeepTheirOperationsInTheirSlots) {
  const size_t ascending[] = {Slot(&SoundBuffer::SetLength),
                              Slot(&SoundBuffer::GetCapacity),
                              Slot(&SoundBuffer::GetData),
                              Slot(&SoundSource::Open),
                              Slot(&SoundSource::IsSeekable),
                              Slot(&SoundSource::GetDuration),
                              Slot(&SoundSource::GetFormat),
                              Slot(&SoundSource::GetReadSize),
                              Slot(&SoundSource::GetCodecName),
                              Slot(&SoundSource::GetBitrate),
                              Slot(&SoundSource::GetBitsPerSample),
                              Slot(&SoundSource::Start),
                              Slot(&SoundSource::Pause),
                              Slot(&SoundSource::Stop),
                              Slot(&SoundSource::Read),
                              Slot(&SoundSource::Seek),
                              Slot(&SoundFileSource::OpenFile),
                              Slot(&SoundDecoder::SetFormat),
                              Slot(&SoundDecoder::GetBufferSizes),
                              Slot(&SoundDecoder::AcceptsInput),
                              Slot(&SoundDecoder::HasOutput),
                              Slot(&SoundDecoder::ProcessInput),
                              Slot(&SoundDecoder::ProcessOutput),
                              Slot(&SoundDecoder::Flush),
                              Slot(&SoundReader::CreateSource),
                              Slot(&SoundReader::GetName),
                              Slot(&SoundReader::GetDescription),
                              Slot(&SoundDecoderEntry::CreateDecoder),
                              Slot(&SoundDecoderEntry::GetName),
                              Slot(&SoundDecoderEntry::CanDecode),
                              Slot(&SoundExtension::Reserved),
                              Slot(&SoundExtension::Register),
                              Slot(&SoundAddIn::GetEntry)};
  EXPECT_EQ(std::vector<size_t>(std::begin(ascending), std::end(ascending)),
            (std::vector<size_t>{3, 4, 5,                                          // SoundBuffer
                                 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16,  // SoundSource and file
                                 3, 4, 5, 6, 7, 8, 9,                              // SoundDecoder
                                 3, 4, 5, 3, 4, 5, 3, 4,  3}));                    // the others
}

TEST(SoundBuffer, KeepsItsLengthWithinItsCapacity) {
  ComPtr<SoundBuffer> buffer;
  EXPECT_EQ(CreateSoundBuffer(nullptr, 1), E_POINTER);
  EXPECT_EQ(CreateSoundBuffer(buffer.Receive(), 0), E_INVALIDARG);
  ASSERT_EQ(CreateSoundBuffer(buffer.Receive(), 1), S_OK);
  uint8_t* data = nullptr;
  uint32_t length = 99;
  uint32_t capacity = 0;
  EXPECT_EQ(buffer->GetData(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(buffer->GetCapacity(nullptr), E_POINTER);
  ASSERT_EQ(buffer->GetData(&data, &length), S_OK);
  ASSERT_EQ(buffer->GetCapacity(&capacity), S_OK);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(capacity, 1u);
  std::memset(data, 0x5A, 16);  // The block has 16 bytes; the sanitizer watches.
  EXPECT_EQ(buffer->SetLength(1), S_OK);
  EXPECT_EQ(buffer->SetLength(2), E_FAIL);
  buffer->GetData(nullptr, &length);
  EXPECT_EQ(length, 1u);
  ExpectIdentities(*buffer, {kIidSoundBuffer});
}

TEST(SoundBuffer, WrapsABlockOfTheCaller) {
  uint8_t block[4] = {1, 2, 3, 4};
  auto buffer = MemorySoundBuffer::Wrap(block, 4, 9);
  uint8_t* data = nullptr;
  uint32_t length = 0;
  buffer->GetData(&data, &length);
  EXPECT_EQ(data, block);
  EXPECT_EQ(length, 4u);
  buffer.Reset();
  EXPECT_EQ(block[3], 4);
}

TEST(ByteStream, AnswersArgumentsAsStreamsDo) {
  const std::u16string path = TempPath("args.bin");
  WriteFileBytes(path, "0123456789");
  EXPECT_EQ(CreateStreamOnFile(AsWide(path.c_str()), 0, nullptr), E_POINTER);
  ComPtr<IStream> stream;
  EXPECT_EQ(CreateStreamOnFile(nullptr, 0, stream.Receive()), E_POINTER);
  EXPECT_EQ(CreateStreamOnFile(AsWide(TempPath("missing.bin").c_str()), 0, stream.Receive()), E_FAIL);
  EXPECT_EQ(CreateStreamOnFile(AsWide(TempPath("\x81\x30.bin").c_str()), 0, stream.Receive()), E_FAIL);
  const std::u16string half_character = {u'a', 0xD83C, 0};
  EXPECT_EQ(
      CreateStreamOnFile(AsWide(half_character.c_str()), STGM_READWRITE | STGM_CREATE, stream.Receive()),
      E_FAIL)
      << "a name that is no text";

  stream = OpenStream(path, STGM_READ | STGM_SHARE_DENY_NONE);
  ASSERT_TRUE(stream);
  ExpectIdentities(*stream, {IID_IStream, IID_ISequentialStream});
  char bytes[16];
  ULONG count = 7;
  EXPECT_EQ(stream->Read(nullptr, 1, &count), E_INVALIDARG);
  EXPECT_EQ(stream->Write(nullptr, 1, &count), E_INVALIDARG);
  EXPECT_EQ(stream->Read(bytes, 0, nullptr), S_OK);
  EXPECT_EQ(stream->Write("x", 1, &count), E_FAIL) << "opened read only";
  EXPECT_EQ(count, 0u);
  ASSERT_EQ(stream->Read(bytes, 16, &count), S_OK);
  EXPECT_EQ(std::string(bytes, count), "0123456789");
  EXPECT_EQ(stream->Read(bytes, 16, &count), S_FALSE);
  EXPECT_EQ(count, 0u);

  LARGE_INTEGER move;
  move.QuadPart = -11;
  EXPECT_EQ(stream->Seek(move, STREAM_SEEK_END, nullptr), E_INVALIDARG);
  move.QuadPart = INT64_MAX;
  EXPECT_EQ(stream->Seek(move, STREAM_SEEK_CUR, nullptr), E_INVALIDARG);
  EXPECT_EQ(stream->Clone(nullptr), E_NOTIMPL);
  EXPECT_EQ(stream->Commit(0), E_NOTIMPL);

  STATSTG stat;
  ASSERT_EQ(stream->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(std::u16string(AsChar16(stat.pwcsName)), path);
  CoTaskMemFree(stat.pwcsName);
  EXPECT_EQ(stat.cbSize.QuadPart, 10u);
  EXPECT_EQ(stat.grfMode, STGM_READ | STGM_SHARE_DENY_NONE);
}

TEST(ByteStream, SharesAsItsModeSays) {
  const std::u16string path = TempPath("share.bin");
  WriteFileBytes(path, "abc");
  auto first = OpenStream(path, STGM_READWRITE | STGM_SHARE_DENY_NONE);
  ASSERT_TRUE(first);
  EXPECT_TRUE(OpenStream(path, STGM_READ | STGM_SHARE_DENY_NONE));
  ASSERT_TRUE(OpenStream(path, STGM_READWRITE | STGM_SHARE_DENY_NONE | STGM_CREATE));
  first.Reset();
  EXPECT_EQ(ReadFileBytes(path), "") << "truncated by the last one";
}

/// Random operations against a string that does the same. Sizes go around the buffer's, so that every branch
/// of the transfers is taken many times.
TEST(ByteStream, BehavesLikeAnArrayOfBytes) {
  const std::u16string path = TempPath("model.bin");
  std::mt19937 generator(20261);
  const auto random = [&generator] { return static_cast<uint32_t>(generator()); };
  for (int round = 0; round < 20; ++round) {
    auto stream = OpenStream(path, STGM_READWRITE | STGM_CREATE);
    ASSERT_TRUE(stream);
    std::string model;
    size_t position = 0;
    const auto some_size = [&] {
      const uint32_t kind = random() % 4;
      return kind == 0   ? random() % 8
             : kind == 1 ? 65530 + random() % 12
                         : random() % (kind == 2 ? 3000 : 150000);
    };
    for (int step = 0; step < 120; ++step) {
      const uint32_t what = random() % 10;
      const uint32_t size = static_cast<uint32_t>(some_size());
      ULONG count = 0;
      if (what < 4) {
        std::string data(size, '\0');
        for (char& c : data)
          c = static_cast<char>(random());
        ASSERT_EQ(stream->Write(data.data(), size, &count), S_OK);
        ASSERT_EQ(count, size);
        if (size == 0) continue;
        if (model.size() < position + size) model.resize(position + size);
        model.replace(position, size, data);
        position += size;
      } else if (what < 8) {
        std::string data(size, '\0');
        const size_t want = position < model.size() ? std::min<size_t>(size, model.size() - position) : 0;
        ASSERT_EQ(stream->Read(data.data(), size, &count), want || !size ? S_OK : S_FALSE);
        ASSERT_EQ(count, want);
        ASSERT_EQ(data.substr(0, want), want ? model.substr(position, want) : "");
        position += want;
      } else if (what == 8) {
        const DWORD origin = random() % 3;
        const auto target = static_cast<int64_t>(random() % (model.size() + 100));
        const int64_t base = origin == STREAM_SEEK_SET   ? 0
                             : origin == STREAM_SEEK_CUR ? static_cast<int64_t>(position)
                                                         : static_cast<int64_t>(model.size());
        LARGE_INTEGER move;
        move.QuadPart = target - base;
        ULARGE_INTEGER now;
        ASSERT_EQ(stream->Seek(move, origin, &now), S_OK);
        ASSERT_EQ(now.QuadPart, static_cast<uint64_t>(target));
        position = static_cast<size_t>(target);
      } else if (random() % 4 == 0) {
        ULARGE_INTEGER to;
        to.QuadPart = random() % (model.size() + 1000);
        ASSERT_EQ(stream->SetSize(to), S_OK);
        model.resize(static_cast<size_t>(to.QuadPart));
      } else {
        STATSTG stat;
        ASSERT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
        ASSERT_EQ(stat.cbSize.QuadPart, model.size());
      }
    }
    stream.Reset();
    ASSERT_EQ(ReadFileBytes(path), model) << "round " << round;
  }
  DeleteFileAt(GbkFromUtf16(path));
}

TEST(StdContent, HandsOutTheTagsAndTheirExtentOrNothing) {
  test::Bytes file(500, 0x55);
  test::Bytes tag(128);
  std::memcpy(tag.data(), "TAGSong", 7);
  tag[127] = 255;
  file.insert(file.end(), tag.begin(), tag.end());
  const auto stream = test::StreamOf(file);
  ComPtr<TagSet> tags;
  uint32_t extent[2] = {7, 7};
  EXPECT_EQ(CreateStdContent(nullptr, 0, tags.Receive(), nullptr), E_POINTER);
  EXPECT_EQ(CreateStdContent(stream.get(), 0, nullptr, extent), E_POINTER);
  ASSERT_EQ(CreateStdContent(stream.get(), 0, tags.Receive(), extent), S_OK);
  EXPECT_EQ(extent[0], 0u);
  EXPECT_EQ(extent[1], 500u);
  TaskText title;
  EXPECT_EQ(tags->GetValue(AsWide(u"title"), title.Receive()), S_OK);
  EXPECT_EQ(std::u16string(title.get()), u"Song");
  ExpectIdentities(*tags, {kIidTagSet});
  EXPECT_EQ(tags.Detach()->Release(), 0u) << "one reference is the caller's";
  // Only the asked kinds are looked for: to the others the tag is audio.
  ASSERT_EQ(CreateStdContent(stream.get(), kTagApeV2, tags.Receive(), extent), S_OK);
  EXPECT_EQ(extent[1], 628u);
}

TEST(CodecName, NamesFormats) {
  struct Case {
    GUID subtype;
    HRESULT want;
    const char16_t* name;
  };
  const Case cases[] = {
      {WaveSubtype(0x1), S_OK, u"PCM|PCM Audio"},
      {WaveSubtype(0x55), S_OK, u"MP3|MPEG-1 Layer 3 Audio"},
      {WaveSubtype(0x50), S_OK, u"MPA|MPEG-1 Audio"},
      {WaveSubtype(352), S_OK, u"WMA|Window Media Audio V7"},
      {WaveSubtype(353), S_OK, u"WMA|Window Media Audio V8"},
      {WaveSubtype(354), S_OK, u"WMA|Window Media Audio V9"},
      {WaveSubtype(0x63616172), S_OK, u"AAC|AAC RealAudio"},
      {WaveSubtype(355), E_OUTOFMEMORY, nullptr},
      {DvdSubtype(0xE06D802C), S_OK, u"AC3|Dolby AC3 Audio"},
      {DvdSubtype(0x1), E_OUTOFMEMORY, nullptr},
      {kIidSoundBuffer, S_OK, u"{GUID}|%s{59EFF8B9-938C-4A26-82F2-95CB84CDC837}"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.subtype.Data1);
    TaskText name;
    EXPECT_EQ(GetSoundCodecName(&c.subtype, name.Receive()), c.want);
    EXPECT_EQ(std::u16string(name.get()), c.name ? c.name : u"");
    EXPECT_EQ(static_cast<bool>(name), c.name != nullptr);
  }
  EXPECT_EQ(GetSoundCodecName(&cases[0].subtype, nullptr), E_POINTER);
}

TEST(ReaderPatterns, SplitDescriptionsAndPaths) {
  const auto parsed = ParseDescription(u"Wave 音频文件(*.wav;*.W64)");
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->label, u"Wave 音频文件");
  EXPECT_EQ(parsed->patterns, u"*.wav;*.W64");
  EXPECT_EQ(ExtensionList(parsed->patterns), u";*.wav;*.w64;");
  for (const char16_t* text : {u"", u"no brackets", u"open(*.a", u"closed*.a)", u")wrong order("})
    EXPECT_FALSE(ParseDescription(text)) << Utf8FromUtf16(text);
  EXPECT_FALSE(ExtensionOf(u"name"));
  EXPECT_EQ(ExtensionPattern(*ExtensionOf(u"a.b/歌.MP3")), u";*.mp3;");
}

TEST(CdaFile, TellsWhereTheTrackLies) {
  std::string bytes("RIFF\x24\0\0\0CDDAfmt \x18\0\0\0\x01\0\x03\0", 24);
  bytes += std::string("\x78\x56\x34\x12\x96\0\0\0\xE8\x03\0\0\0\0\0\0\0\0\0\0", 20);
  const auto span = [&] { return std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()); };
  const auto track = ParseCda(span());
  ASSERT_TRUE(track);
  EXPECT_EQ(track->number, 3);
  EXPECT_EQ(track->start_sector, 150u);
  EXPECT_EQ(track->sectors, 1000u);
  for (size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(ParseCda(span().first(size)));
  bytes[35] = '\x7F';
  EXPECT_FALSE(ParseCda(span())) << "more sectors than a disc has";
}

}  // namespace
}  // namespace melorin
