// SPDX-License-Identifier: MIT
//
// The field collection and the tag object around it.
#include "tags/tag_set.h"

#include <cstring>
#include <new>

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "platform/thread.h"

namespace melorin {

namespace {

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && EqualNoCaseUtf8(a, b);
}

HRESULT TextOut(const std::string& utf8, WideChar** out) {
  *out = CopyText(Utf16FromUtf8(utf8).c_str());
  return *out ? S_OK : E_OUTOFMEMORY;
}

class TagObject final : public ComObject<TagSet> {
 public:
  TagObject(TagFields fields, uint32_t flags) : fields_(std::move(fields)), flags_(flags) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, kIidTagSet)) return E_NOINTERFACE;
    *out = static_cast<TagSet*>(this);
    AddRef();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetCount(uint32_t* count) override {
    if (!count) return E_POINTER;
    const Lock lock(mutex_);
    *count = static_cast<uint32_t>(fields_.size());
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetField(uint32_t index, WideChar** name, WideChar** value) override {
    if (name) *name = nullptr;
    if (value) *value = nullptr;
    const Lock lock(mutex_);
    if (index >= fields_.size()) return E_INVALIDARG;
    try {
      if (name && FAILED(TextOut(fields_.name(index), name))) return E_OUTOFMEMORY;
      if (value && FAILED(TextOut(fields_.value(index), value))) throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
      if (name) CoTaskMemFree(std::exchange(*name, nullptr));
      return E_OUTOFMEMORY;
    }
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetValue(const WideChar* name, WideChar** value) override {
    if (!name || !value) return E_POINTER;
    *value = nullptr;
    try {
      const std::string wanted = Utf8FromUtf16(AsChar16(name));
      const Lock lock(mutex_);
      const std::string* found = fields_.Find(wanted);
      return found ? TextOut(*found, value) : S_FALSE;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  HRESULT STDMETHODCALLTYPE SetValue(const WideChar* name, const WideChar* value) override {
    if (!name || !value) return E_POINTER;
    if (*name == 0) return E_INVALIDARG;
    try {
      const std::string name_utf8 = Utf8FromUtf16(AsChar16(name));
      const std::string value_utf8 = Utf8FromUtf16(AsChar16(value));
      const Lock lock(mutex_);
      fields_.Set(name_utf8, value_utf8, false);
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  HRESULT STDMETHODCALLTYPE GetFlags(uint32_t* flags) override {
    if (!flags) return E_POINTER;
    *flags = flags_;
    return S_OK;
  }

 private:
  CriticalSection mutex_;
  TagFields fields_;
  const uint32_t flags_;
};

}  // namespace

void TagFields::Set(std::string_view name, std::string_view value_utf8, bool keep_longer) {
  if (name.empty()) return;
  for (size_t i = names_.size(); i-- > 0;) {
    if (!SameName(names_[i], name)) continue;
    if (!keep_longer || value_utf8.size() > values_[i].size()) values_[i] = value_utf8;
    return;
  }
  Add(name, value_utf8);
}

void TagFields::Add(std::string_view name, std::string_view value_utf8) {
  if (name.empty()) return;
  // Both lists have room before either grows: a failing allocation must not leave them of different length.
  if (names_.size() == names_.capacity()) names_.reserve(names_.empty() ? 16 : names_.size() * 2);
  if (values_.capacity() < names_.capacity()) values_.reserve(names_.capacity());
  std::string name_copy(name);
  std::string value_copy(value_utf8);
  names_.push_back(std::move(name_copy));
  values_.push_back(std::move(value_copy));
}

const std::string* TagFields::Find(std::string_view name) const {
  for (size_t i = names_.size(); i-- > 0;)
    if (SameName(names_[i], name)) return &values_[i];
  return nullptr;
}

void TagFields::Clear() {
  names_.clear();
  values_.clear();
}

HRESULT CreateTagSet(TagFields fields, uint32_t flags, TagSet** out) {
  if (!out) return E_POINTER;
  *out = new (std::nothrow) TagObject(std::move(fields), flags);
  return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace melorin
