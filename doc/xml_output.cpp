// SPDX-License-Identifier: MIT
//
// The two sinks.
#include "doc/xml_output.h"

#include <cstring>
#include <new>
#include <stdexcept>

namespace melorin {

bool XmlFileOutput::Open(const std::string& path_gbk) {
  Close();
  try {
    stream_ = OpenStreamForWriting(path_gbk);
  } catch (const std::bad_alloc&) {
    stream_ = nullptr;
  }
  return stream_ != nullptr;
}

bool XmlFileOutput::Close() {
  if (stream_ == nullptr) return true;
  const bool failed_before = std::ferror(stream_) != 0;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  return closed && !failed_before;
}

bool XmlFileOutput::PutChar(char c) {
  return stream_ != nullptr && std::fputc(static_cast<unsigned char>(c), stream_) != EOF;
}

bool XmlFileOutput::Write(const char* text, ptrdiff_t length) {
  if (stream_ == nullptr) return false;
  const size_t bytes = length < 0 ? std::strlen(text) : static_cast<size_t>(length);
  return bytes == 0 || std::fwrite(text, 1, bytes, stream_) == bytes;
}

bool XmlStringOutput::PutChar(char c) {
  return Write(&c, 1);
}

bool XmlStringOutput::Write(const char* text, ptrdiff_t length) {
  const size_t bytes = length < 0 ? std::strlen(text) : static_cast<size_t>(length);
  try {
    text_.append(text, bytes);
  } catch (const std::bad_alloc&) {
    failed_ = true;
    return false;
  } catch (const std::length_error&) {
    failed_ = true;
    return false;
  }
  return true;
}

}  // namespace melorin
