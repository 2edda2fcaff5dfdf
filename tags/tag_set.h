// SPDX-License-Identifier: MIT
//
// Named text fields of an audio file: TagFields is the collection, TagSet the interface under which every
// source hands it out and add-in modules see it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/com.h"

namespace melorin {

inline constexpr GUID kIidTagSet = {
    0x7AD84E00, 0x5FEF, 0x4481, {0xB5, 0x32, 0xFB, 0xBD, 0x67, 0x7E, 0x67, 0xC2}};

/// Kinds of tag, as the flags that the tag scan reports.
inline constexpr uint32_t kTagId3v1 = 1;
inline constexpr uint32_t kTagLyrics3v2 = 2;
inline constexpr uint32_t kTagApeV2 = 4;
inline constexpr uint32_t kTagId3v2 = 8;

/// An ordered collection of (name, value) pairs, held as two parallel lists. Names are compared without case,
/// values are UTF-8. The same name may occur more than once.
class TagFields {
 public:
  /// Searches from the last entry to the first for the name. Found: replaces the value, with keep_longer only
  /// if the new value is longer in bytes than the stored one. Not found: appends. An empty name is ignored.
  void Set(std::string_view name, std::string_view value_utf8, bool keep_longer);
  /// Appends without looking. An empty name is ignored.
  void Add(std::string_view name, std::string_view value_utf8);
  /// The value of the last entry of that name, null when there is none. Valid until the next change.
  const std::string* Find(std::string_view name) const;
  void Clear();

  size_t size() const { return names_.size(); }
  const std::string& name(size_t i) const { return names_[i]; }
  const std::string& value(size_t i) const { return values_[i]; }
  void SetValueAt(size_t i, std::string value_utf8) { values_[i] = std::move(value_utf8); }

 private:
  std::vector<std::string> names_;
  std::vector<std::string> values_;
};

/// The tags of an opened file. Text passes as UTF-16 in task memory. Thread: any, with one lock per object.
struct TagSet : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetCount(uint32_t* count) = 0;
  /// Either text pointer may be null. E_INVALIDARG past the last.
  virtual HRESULT STDMETHODCALLTYPE GetField(uint32_t index, WideChar** name, WideChar** value) = 0;
  /// S_FALSE with a null text when there is no such field.
  virtual HRESULT STDMETHODCALLTYPE GetValue(const WideChar* name, WideChar** value) = 0;
  /// Replaces the last field of that name or appends one; changes the object only, never the file.
  virtual HRESULT STDMETHODCALLTYPE SetValue(const WideChar* name, const WideChar* value) = 0;
  /// Which kinds of tag were read (kTagId3v1 …).
  virtual HRESULT STDMETHODCALLTYPE GetFlags(uint32_t* flags) = 0;
};

/// Makes a tag object of these fields. E_OUTOFMEMORY when memory runs out. Thread: any.
HRESULT CreateTagSet(TagFields fields, uint32_t flags, TagSet** out);

}  // namespace melorin
