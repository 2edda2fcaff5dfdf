// SPDX-License-Identifier: MIT
//
// What the built-in readers and file sources have in common: the object plumbing, and the answers that are
// the same for every source over a file.
#pragma once

#include <new>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"
#include "sound/sample_seek.h"
#include "tags/tag_set.h"

namespace melorin {

/// Base of the sources that parse a file's container themselves.
class FileSource : public ComObject<SoundSource, SampleSeekable> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (SameGuid(iid, kIidTagSet)) return tags_ ? tags_->QueryInterface(iid, out) : E_NOINTERFACE;
    if (SameGuid(iid, kIidSampleSeekable))
      *out = static_cast<SampleSeekable*>(this);
    else if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, kIidSoundSource))
      *out = static_cast<SoundSource*>(this);
    else
      return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE IsSeekable(uint32_t* yes) override {
    if (!yes) return E_POINTER;
    *yes = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Start() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Pause() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Stop() override { return S_OK; }

 protected:
  ComPtr<TagSet> tags_;
};

/// For CreateNamedReader: makes an unopened source of that class.
template <class Source>
HRESULT CreateFileSource(SoundSource** out) {
  *out = new (std::nothrow) Source;
  return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace melorin
