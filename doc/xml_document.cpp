// SPDX-License-Identifier: MIT
//
// Loading and saving documents, and giving their memory back.
#include "doc/xml_document.h"

#include <cstring>
#include <new>

#include "doc/xml_factory.h"
#include "platform/file.h"

namespace melorin {

XmlDocument::~XmlDocument() {
  ReleaseChildren();
}

void XmlDocument::ReleaseChildren() {
  if (only_arena_) {
    first_child_ = last_child_ = nullptr;  // Nothing below owns anything; the arena takes it all.
  } else {
    DestroyChildren();
  }
  only_arena_ = true;
  arena_.Reset();
}

std::unique_ptr<XmlNode> XmlDocument::Clone() const {
  try {
    std::unique_ptr<XmlDocument> copy(new XmlDocument);
    copy->file_name_ = file_name_;
    copy->error_ = error_;
    copy->code_page_ = code_page_;
    const XmlFactory factory(copy.get());
    for (const XmlNode* node = FirstChild(); node != nullptr; node = node->NextSibling()) {
      XmlNode* const child = factory.CopyTree(*node);
      if (child == nullptr) return nullptr;
      copy->Append(child);
    }
    return copy;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool XmlDocument::LoadFile(const std::string& path_gbk, int code_page) {
  Clear();
  error_ = XmlError::kNone;
  code_page_ = code_page;
  try {
    file_name_ = path_gbk;
    MappedFile file;
    if (!file.Open(path_gbk)) {
      SetError(XmlError::kOpenFile);
      return false;
    }
    const auto bytes = file.Bytes();
    const char* const begin = reinterpret_cast<const char*>(bytes.data());
    Parse(begin, begin + bytes.size(), code_page);
  } catch (const std::bad_alloc&) {
    SetError(XmlError::kOutOfMemory);
  }
  return error_ == XmlError::kNone;
}

bool XmlDocument::Parse(const char* text, ptrdiff_t length, int code_page) {
  return Parse(text, text + (length < 0 ? std::strlen(text) : static_cast<size_t>(length)), code_page) !=
         nullptr;
}

bool XmlDocument::Parse(std::string_view text, int code_page) {
  return Parse(text.data(), text.data() + text.size(), code_page) != nullptr;
}

bool XmlDocument::SaveFile(const std::string& path_gbk, bool attributes_on_new_lines) {
  try {
    if (!path_gbk.empty()) file_name_ = path_gbk;
    XmlFileOutput file;
    if (!file.Open(file_name_)) return false;
    Print(file, 0, attributes_on_new_lines);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool XmlDocument::SaveFileSafely(const std::string& path_gbk, bool attributes_on_new_lines) {
  try {
    if (!path_gbk.empty()) file_name_ = path_gbk;
    XmlStringOutput memory;
    Print(memory, 0, attributes_on_new_lines);
    if (memory.Failed()) return false;
    const std::string& text = memory.Text();
    return WriteFileSafely(file_name_, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace melorin
