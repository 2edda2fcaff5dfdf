// SPDX-License-Identifier: MIT
//
// Sound objects for tests that count how many of them are alive.
#pragma once

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/com_ptr.h"
#include "sound/platform_source.h"
#include "sound/text_out.h"

namespace melorin::testing_fakes {

inline int g_live_objects = 0;

/// An object of one interface that only answers its identifier.
template <class Interface>
class Fake : public ComObject<Interface> {
 public:
  explicit Fake(const GUID& iid) : iid_(iid) { ++g_live_objects; }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, iid_)) return E_NOINTERFACE;
    this->AddRef();
    *out = static_cast<Interface*>(this);
    return S_OK;
  }

 protected:
  ~Fake() override { --g_live_objects; }

 private:
  GUID iid_;
};

class FakeReader final : public Fake<SoundReader> {
 public:
  explicit FakeReader(const char16_t* description) : Fake(kIidSoundReader), description_(description) {}
  HRESULT STDMETHODCALLTYPE CreateSource(SoundSource**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetName(WideChar** name) override { return HandOutText(u"fake", name); }
  HRESULT STDMETHODCALLTYPE GetDescription(WideChar** text) override {
    return HandOutText(description_, text);
  }

 private:
  const char16_t* description_;
};

class FakeExtension final : public Fake<SoundExtension> {
 public:
  FakeExtension() : Fake(kIidSoundExtension) {}
  HRESULT STDMETHODCALLTYPE Reserved() override { return E_UNEXPECTED; }
  HRESULT STDMETHODCALLTYPE Register(void** token) override {
    ++registered;
    *token = this;
    return S_OK;
  }
  int registered = 0;
};

/// Produces `total` bytes that count up, in pieces of at most `piece`; fails to open when told so.
class FakeProducer final : public PcmProducer {
 public:
  FakeProducer(bool opens, uint32_t total) : opens_(opens), total_(total) {}
  HRESULT Open(const std::u16string&, PcmInfo& info) override {
    if (!opens_) return E_FAIL;
    info.format = {WAVE_FORMAT_PCM, 1, 8000, 16000, 2, 16, 0};
    info.duration_ms = total_ / 16;
    info.seekable = true;
    info.tags.Add("Title", "fake");
    return S_OK;
  }
  HRESULT Read(uint8_t* to, uint32_t capacity, uint32_t* got) override {
    *got = std::min({capacity, total_ - position_, 100u});
    for (uint32_t i = 0; i < *got; ++i)
      to[i] = static_cast<uint8_t>(position_++);
    return *got ? S_OK : S_FALSE;
  }
  HRESULT Seek(uint32_t milliseconds) override {
    position_ = milliseconds * 16;
    return S_OK;
  }

 private:
  bool opens_;
  uint32_t total_;
  uint32_t position_ = 0;
};

}  // namespace melorin::testing_fakes
