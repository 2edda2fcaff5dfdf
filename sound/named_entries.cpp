// SPDX-License-Identifier: MIT
//
// See named_entries.h.
#include "sound/named_entries.h"

#include <new>
#include <string>
#include <utility>

#include "sound/text_out.h"

namespace melorin {
namespace {

class NamedReader final : public ComObject<SoundReader> {
 public:
  NamedReader(std::u16string_view name, std::u16string_view description, CreateSourceFunction create)
      : name_(name), description_(description), create_(std::move(create)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundReader)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundReader*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CreateSource(SoundSource** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    return create_(out);
  }
  HRESULT STDMETHODCALLTYPE GetName(WideChar** name) override { return HandOutText(name_.c_str(), name); }
  HRESULT STDMETHODCALLTYPE GetDescription(WideChar** text) override {
    return HandOutText(description_.c_str(), text);
  }

 private:
  std::u16string name_;
  std::u16string description_;
  CreateSourceFunction create_;
};

class NamedDecoderEntry final : public ComObject<SoundDecoderEntry> {
 public:
  NamedDecoderEntry(std::u16string_view name, CreateDecoderFunction create) : name_(name), create_(create) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidSoundDecoderEntry)) return E_NOINTERFACE;
    AddRef();
    *out = static_cast<SoundDecoderEntry*>(this);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE CreateDecoder(SoundDecoder** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    return create_(out);
  }
  HRESULT STDMETHODCALLTYPE GetName(WideChar** name) override { return HandOutText(name_.c_str(), name); }
  HRESULT STDMETHODCALLTYPE CanDecode(const GUID* subtype) override { return subtype ? S_OK : E_POINTER; }

 private:
  std::u16string name_;
  CreateDecoderFunction create_;
};

}  // namespace

ComPtr<SoundReader> CreateNamedReader(std::u16string_view name, std::u16string_view description,
                                      CreateSourceFunction create) {
  try {
    return ComPtr<SoundReader>::Adopt(new NamedReader(name, description, std::move(create)));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

ComPtr<SoundDecoderEntry> CreateNamedDecoderEntry(std::u16string_view name, CreateDecoderFunction create) {
  try {
    return ComPtr<SoundDecoderEntry>::Adopt(new NamedDecoderEntry(name, create));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace melorin
