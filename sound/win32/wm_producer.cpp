// SPDX-License-Identifier: MIT
//
// PCM from the Windows Media runtime's synchronous reader. The runtime is an optional part of Windows, so it
// is loaded by name.
#include <windows.h>

#include <wmsdkidl.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "sound/exports.h"
#include "sound/text_out.h"
#include "sound/win32/producers.h"

namespace melorin {
namespace {

constexpr GUID kMediaAudio = {0x73647561, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
constexpr GUID kWaveFormat = {0x05589F81, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};
constexpr HRESULT kNoMoreSamples = static_cast<HRESULT>(0xC00D0BCF);
constexpr uint64_t kUnitsPerMs = 10000;

using CreateSyncReaderFunction = HRESULT(WINAPI*)(IUnknown*, DWORD, IWMSyncReader**);

CreateSyncReaderFunction LoadRuntime() {
  // Never unloaded: readers of it may live as long as the player.
  static const HMODULE module = LoadLibraryW(L"wmvcore.dll");
  if (!module) return nullptr;
  return reinterpret_cast<CreateSyncReaderFunction>(
      reinterpret_cast<void (*)()>(GetProcAddress(module, "WMCreateSyncReader")));
}

/// The wave format of a stream's or output's properties; false when it is something else.
bool FormatOf(IWMMediaProps& props, WAVEFORMATEX& out) {
  DWORD size = 0;
  if (FAILED(props.GetMediaType(nullptr, &size)) || size < sizeof(WM_MEDIA_TYPE)) return false;
  // Words, so that the record is aligned.
  std::vector<uint64_t> block((size + 7) / 8);
  auto* type = reinterpret_cast<WM_MEDIA_TYPE*>(block.data());
  if (FAILED(props.GetMediaType(type, &size))) return false;
  if (!SameGuid(type->majortype, kMediaAudio) || !SameGuid(type->formattype, kWaveFormat) ||
      !type->pbFormat || type->cbFormat < sizeof(WAVEFORMATEX))
    return false;
  std::memcpy(&out, type->pbFormat, sizeof out);
  return true;
}

class WindowsMediaProducer final : public PcmProducer {
 public:
  explicit WindowsMediaProducer(CreateSyncReaderFunction create) : create_(create) {}
  ~WindowsMediaProducer() override {
    if (reader_) reader_->Close();
  }
  HRESULT Open(const std::u16string& path, PcmInfo& info) override;
  HRESULT Read(uint8_t* to, uint32_t capacity, uint32_t* got) override;
  HRESULT Seek(uint32_t milliseconds) override;

 private:
  HRESULT ChooseOutput(PcmInfo& info);
  bool ChooseFormat(DWORD output, WAVEFORMATEX& format);
  void ReadHeader(PcmInfo& info);

  CreateSyncReaderFunction create_;
  ComPtr<IWMSyncReader> reader_;
  WORD stream_ = 0;
  ComPtr<INSSBuffer> sample_;
  uint32_t offset_ = 0;  ///< Of the sample's first byte not handed out.
};

HRESULT WindowsMediaProducer::Open(const std::u16string& path, PcmInfo& info) {
  HRESULT result = create_(nullptr, 0, reader_.Receive());
  if (FAILED(result)) return result;
  result = reader_->Open(AsWide(path.c_str()));
  if (SUCCEEDED(result)) result = ChooseOutput(info);
  if (SUCCEEDED(result)) ReadHeader(info);
  return result;
}

/// 16-bit PCM among the formats that the output can be set to.
bool WindowsMediaProducer::ChooseFormat(DWORD output, WAVEFORMATEX& format) {
  DWORD count = 0;
  if (FAILED(reader_->GetOutputFormatCount(output, &count))) return false;
  for (DWORD i = 0; i < count; ++i) {
    ComPtr<IWMOutputMediaProps> props;
    if (FAILED(reader_->GetOutputFormat(output, i, props.Receive()))) continue;
    if (FormatOf(*props, format) && format.wBitsPerSample == 16 && format.nAvgBytesPerSec != 0 &&
        (format.wFormatTag == WAVE_FORMAT_PCM || format.wFormatTag == WAVE_FORMAT_EXTENSIBLE) &&
        SUCCEEDED(reader_->SetOutputProps(output, props.get())))
      return true;
  }
  return false;
}

HRESULT WindowsMediaProducer::ChooseOutput(PcmInfo& info) {
  DWORD outputs = 0;
  if (FAILED(reader_->GetOutputCount(&outputs))) return E_FAIL;
  for (DWORD output = 0; output < outputs; ++output) {
    ComPtr<IWMOutputMediaProps> props;
    WAVEFORMATEX format{};
    if (FAILED(reader_->GetOutputProps(output, props.Receive())) || !FormatOf(*props, format)) continue;
    if (FAILED(reader_->GetStreamNumberForOutput(output, &stream_)) || !ChooseFormat(output, format))
      continue;
    info.format = format;
    info.format.wFormatTag = WAVE_FORMAT_PCM;
    info.format.cbSize = 0;
    for (DWORD other = 0; other < outputs; ++other) {
      WORD number = 0;
      if (FAILED(reader_->GetStreamNumberForOutput(other, &number))) continue;
      WMT_STREAM_SELECTION selection = number == stream_ ? WMT_ON : WMT_OFF;
      reader_->SetStreamsSelected(1, &number, &selection);
    }
    reader_->SetReadStreamSamples(stream_, FALSE);
    return S_OK;
  }
  return E_FAIL;
}

void WindowsMediaProducer::ReadHeader(PcmInfo& info) {
  ComPtr<IWMHeaderInfo> header;
  if (SUCCEEDED(reader_->QueryInterface(__uuidof(IWMHeaderInfo), header.ReceiveVoid()))) {
    const auto number = [&](const WCHAR* name, uint64_t& value) {
      WORD stream = 0;
      WORD size = sizeof value;
      WMT_ATTR_DATATYPE type{};
      value = 0;
      return SUCCEEDED(
          header->GetAttributeByName(&stream, name, &type, reinterpret_cast<BYTE*>(&value), &size));
    };
    const auto text = [&](const WCHAR* name, const char* field) {
      WORD stream = 0;
      WORD size = 0;
      WMT_ATTR_DATATYPE type{};
      if (FAILED(header->GetAttributeByName(&stream, name, &type, nullptr, &size)) || type != WMT_TYPE_STRING)
        return;
      std::u16string value(size / 2 + 1u, u'\0');
      if (FAILED(
              header->GetAttributeByName(&stream, name, &type, reinterpret_cast<BYTE*>(value.data()), &size)))
        return;
      value.resize(std::char_traits<char16_t>::length(value.c_str()));
      if (!value.empty()) info.tags.Add(field, Utf8FromUtf16(value));
    };
    uint64_t value = 0;
    if (number(L"Duration", value)) info.duration_ms = static_cast<uint32_t>(value / kUnitsPerMs);
    if (number(L"Seekable", value)) info.seekable = static_cast<uint32_t>(value) != 0;
    if (number(L"Bitrate", value)) info.bitrate = static_cast<uint32_t>(value);
    text(L"Title", "Title");
    text(L"Author", "Artist");
    text(L"WM/AlbumTitle", "Album");
    text(L"WM/Year", "Date");
    text(L"WM/Genre", "Genre");
    text(L"Description", "Comment");
    text(L"WM/TrackNumber", "Tracknumber");
    text(L"WM/Lyrics", "Lyrics");
  }
  ComPtr<IWMProfile> profile;
  ComPtr<IWMStreamConfig> config;
  ComPtr<IWMMediaProps> props;
  WAVEFORMATEX coded{};
  if (SUCCEEDED(reader_->QueryInterface(__uuidof(IWMProfile), profile.ReceiveVoid())) &&
      SUCCEEDED(profile->GetStreamByNumber(stream_, config.Receive())) &&
      SUCCEEDED(config->QueryInterface(__uuidof(IWMMediaProps), props.ReceiveVoid())) &&
      FormatOf(*props, coded)) {
    const GUID subtype = WaveSubtype(coded.wFormatTag);
    TaskText name;
    if (SUCCEEDED(GetSoundCodecName(&subtype, name.Receive()))) info.codec_name = name.get();
  }
}

HRESULT WindowsMediaProducer::Read(uint8_t* to, uint32_t capacity, uint32_t* got) {
  *got = 0;
  for (;;) {
    if (sample_) {
      BYTE* data = nullptr;
      DWORD length = 0;
      if (SUCCEEDED(sample_->GetBufferAndLength(&data, &length)) && offset_ < length) {
        *got = std::min<uint32_t>(capacity, length - offset_);
        std::memcpy(to, data + offset_, *got);
        offset_ += *got;
        return S_OK;
      }
      sample_.Reset();
    }
    offset_ = 0;
    QWORD time = 0;
    QWORD duration = 0;
    DWORD flags = 0;
    const HRESULT result =
        reader_->GetNextSample(stream_, sample_.Receive(), &time, &duration, &flags, nullptr, nullptr);
    if (result == kNoMoreSamples) return S_FALSE;
    if (FAILED(result)) return E_FAIL;
  }
}

HRESULT WindowsMediaProducer::Seek(uint32_t milliseconds) {
  sample_.Reset();
  return SUCCEEDED(reader_->SetRange(milliseconds * kUnitsPerMs, 0)) ? S_OK : E_FAIL;
}

}  // namespace

std::unique_ptr<PcmProducer> MakeWindowsMediaProducer() {
  const CreateSyncReaderFunction create = LoadRuntime();
  if (!create) return nullptr;
  return std::make_unique<WindowsMediaProducer>(create);
}

}  // namespace melorin
