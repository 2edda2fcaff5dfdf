// SPDX-License-Identifier: MIT
//
// See sound_library.h.
#include "sound/sound_library.h"

#include <new>
#include <utility>

#include "platform/file.h"
#include "platform/text.h"
#include "sound/builtin_entries.h"
#include "sound/exports.h"
#include "sound/reader_patterns.h"
#include "sound/registry.h"
#include "sound/text_out.h"

namespace melorin {
namespace {

constexpr uint32_t kShareReadWrite = STGM_SHARE_DENY_NONE;

/// "mzp_*.dll", letters in any case. Not by the platform's own matching, which also looks at the short names.
bool IsAddInName(std::string_view name_gbk) {
  constexpr std::string_view kPrefix = "mzp_";
  constexpr std::string_view kSuffix = ".dll";
  return name_gbk.size() >= kPrefix.size() + kSuffix.size() &&
         EqualNoCaseGbk(name_gbk.substr(0, kPrefix.size()), kPrefix) &&
         EqualNoCaseGbk(name_gbk.substr(name_gbk.size() - kSuffix.size()), kSuffix);
}

GUID SubtypeOf(const WAVEFORMATEX& format) {
  constexpr size_t kExtraSize = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);
  if (format.wFormatTag == WAVE_FORMAT_EXTENSIBLE && format.cbSize >= kExtraSize)
    return reinterpret_cast<const WAVEFORMATEXTENSIBLE&>(format).SubFormat;
  return WaveSubtype(format.wFormatTag);
}

HRESULT OpenWithReader(SoundReader& reader, const WideChar* path, uint32_t flags, ComPtr<SoundSource>& out) {
  ComPtr<SoundSource> source;
  HRESULT result = reader.CreateSource(source.Receive());
  if (FAILED(result)) return result;
  if (!source) return E_FAIL;

  ComPtr<SoundFileSource> file_source;
  if (SUCCEEDED(source->QueryInterface(kIidSoundFileSource, file_source.ReceiveVoid())) && file_source) {
    result = file_source->OpenFile(path, flags);
  } else {
    ComPtr<IStream> stream;
    result = CreateStreamOnFile(path, STGM_READWRITE | kShareReadWrite, stream.Receive());
    if (FAILED(result)) result = CreateStreamOnFile(path, STGM_READ | kShareReadWrite, stream.Receive());
    if (FAILED(result)) return result;
    result = source->Open(stream.get(), flags);
  }
  if (SUCCEEDED(result)) out = std::move(source);
  return result;
}

template <class Entries, class GetText>
std::vector<std::u16string> Texts(const Entries& entries, GetText&& get_text) {
  std::vector<std::u16string> texts;
  texts.reserve(entries.size());
  for (const auto& entry : entries) {
    TaskText text;
    if (FAILED(get_text(*entry.object, text.Receive()))) *text.Receive() = nullptr;
    texts.emplace_back(text.get());
  }
  return texts;
}

template <class Entries>
std::vector<std::u16string> Names(const Entries& entries) {
  return Texts(entries, [](auto& object, WideChar** out) { return object.GetName(out); });
}

}  // namespace

struct SoundLibrary::Impl {
  Registry registry;
  std::vector<AddInFailure> failures;

  void AddBuiltIns(const SoundLibrary& library) {
    registry.Add(CreateMpegReader(OnModuleSearchPath("mp3PRO.dll")));
    registry.Add(CreateWaveReader());
    registry.Add(CreateWindowsMediaReader());
    registry.Add(CreateCdAudioReader());
    registry.Add(CreateCueReader(library));
    registry.Add(CreateGraphReader(u"AIFF 音频文件(*.aif;*.aifc;*.aiff)"));
    registry.Add(CreateGraphReader(u"AU 音频文件(*.au;*.snd)"));
    registry.Add(CreateMpegDecoderEntry());
    registry.Add(CreateDmoDecoderEntry());
    registry.Add(CreateWaveOutputEntry());
  }

  void AddAddIns(const std::string& folder_gbk) {
    for (const DirectoryEntry& file : ListDirectory(folder_gbk)) {
      if (file.is_directory || !IsAddInName(file.name_gbk)) continue;
      const HRESULT result = registry.AddModule(JoinPath(folder_gbk, file.name_gbk));
      if (FAILED(result)) failures.push_back({file.name_gbk, result});
    }
  }

  void Clear() {
    registry.Clear();
    failures.clear();
  }
};

SoundLibrary::SoundLibrary() : impl_(std::make_unique<Impl>()) {}
SoundLibrary::~SoundLibrary() {
  Shutdown();
}

HRESULT SoundLibrary::Start(const std::string& add_in_folder_gbk) {
  try {
    impl_->Clear();
    impl_->AddBuiltIns(*this);
    if (!add_in_folder_gbk.empty()) impl_->AddAddIns(add_in_folder_gbk);
    impl_->registry.Add(CreateGraphReader(u""));
    impl_->registry.Add(CreateAcmDecoderEntry());
    impl_->registry.BuildExtensionLists();
    return S_OK;
  } catch (const std::bad_alloc&) {
    impl_->Clear();
    return E_OUTOFMEMORY;
  }
}

void SoundLibrary::Shutdown() {
  impl_->Clear();
}

bool SoundLibrary::CanPlay(std::u16string_view path) const {
  const auto extension = ExtensionOf(path);
  if (!extension || extension->size() >= kMaxExtension) return false;
  const std::u16string pattern = ExtensionPattern(*extension);
  for (const auto& reader : impl_->registry.readers)
    if (reader.extensions.find(pattern) != std::u16string::npos) return true;
  return false;
}

HRESULT SoundLibrary::OpenSource(const WideChar* path, uint32_t flags, SoundSource** out,
                                 size_t* reader_index) const {
  if (!path || !out) return E_POINTER;
  *out = nullptr;
  try {
    const auto extension = ExtensionOf(AsChar16(path));
    if (!extension) return E_NOTIMPL;
    if (extension->size() >= kMaxExtension) return S_OK;
    const std::u16string pattern = ExtensionPattern(*extension);
    const auto& readers = impl_->registry.readers;
    for (size_t i = 0; i < readers.size(); ++i) {
      if (readers[i].extensions.find(pattern) == std::u16string::npos) continue;
      ComPtr<SoundSource> source;
      if (FAILED(OpenWithReader(*readers[i].object, path, flags, source))) continue;
      if (reader_index) *reader_index = i;
      *out = source.Detach();
      return S_OK;
    }
    return E_NOTIMPL;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT SoundLibrary::CreateDecoder(const WAVEFORMATEX& in, WAVEFORMATEX* out, SoundDecoder** decoder) const {
  if (!out || !decoder) return E_POINTER;
  *decoder = nullptr;
  const GUID subtype = SubtypeOf(in);
  const WAVEFORMATEX wanted = *out;
  for (const auto& entry : impl_->registry.decoders) {
    if (entry.object->CanDecode(&subtype) != S_OK) continue;
    ComPtr<SoundDecoder> made;
    if (FAILED(entry.object->CreateDecoder(made.Receive())) || !made) continue;
    *out = wanted;
    if (FAILED(made->SetFormat(&in, out))) continue;
    *decoder = made.Detach();
    return S_OK;
  }
  *out = wanted;
  return E_NOTIMPL;
}

HRESULT SoundLibrary::CreateOutput(std::u16string_view name, SoundOutput** out) const {
  if (!out) return E_POINTER;
  *out = nullptr;
  for (const auto& entry : impl_->registry.outputs) {
    TaskText entry_name;
    if (FAILED(entry.object->GetName(entry_name.Receive()))) continue;
    if (entry_name.get() == name) return entry.object->CreateOutput(out);
  }
  return E_NOTIMPL;
}

std::vector<FileFilter> SoundLibrary::FileFilters() const {
  std::vector<FileFilter> filters;
  for (const std::u16string& description : ReaderDescriptions())
    if (const auto parsed = ParseDescription(description))
      filters.push_back({GbkFromUtf16(parsed->label), GbkFromUtf16(parsed->patterns)});
  return filters;
}

std::string SoundLibrary::OpenDialogFilter() const {
  const std::vector<FileFilter> filters = FileFilters();
  std::string all;
  std::string entries;
  for (const FileFilter& filter : filters) {
    if (!all.empty()) all += ';';
    all += filter.patterns_gbk;
    entries += filter.label_gbk + '(' + filter.patterns_gbk + ')' + '\0' + filter.patterns_gbk + '\0';
  }
  return GbkFromUtf8("所有支持的音频文件") + '\0' + all + '\0' + entries + '\0';
}

std::vector<std::u16string> SoundLibrary::ReaderNames() const {
  return Names(impl_->registry.readers);
}

std::vector<std::u16string> SoundLibrary::ReaderDescriptions() const {
  return Texts(impl_->registry.readers,
               [](auto& object, WideChar** out) { return object.GetDescription(out); });
}

std::vector<std::u16string> SoundLibrary::DecoderNames() const {
  return Names(impl_->registry.decoders);
}
std::vector<std::u16string> SoundLibrary::OutputNames() const {
  return Names(impl_->registry.outputs);
}

const std::vector<AddInFailure>& SoundLibrary::AddInFailures() const {
  return impl_->failures;
}

}  // namespace melorin
