// SPDX-License-Identifier: MIT
//
// Where XML is written to: the abstract sink, one over a C stream and one over memory. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

namespace melorin {

class XmlOutput {
 public:
  virtual ~XmlOutput() = default;
  /// True when the byte was written.
  virtual bool PutChar(char c) = 0;
  /// Writes `length` bytes; -1 means up to the terminating NUL, 0 writes nothing and succeeds. True when all
  /// bytes were written.
  virtual bool Write(const char* text, ptrdiff_t length) = 0;
};

/// A file, written through the C stream functions.
class XmlFileOutput final : public XmlOutput {
 public:
  XmlFileOutput() = default;
  ~XmlFileOutput() override { Close(); }
  XmlFileOutput(const XmlFileOutput&) = delete;
  XmlFileOutput& operator=(const XmlFileOutput&) = delete;

  /// Opens with mode "wb": an existing file is emptied. False when the file cannot be created.
  bool Open(const std::string& path_gbk);
  /// False when the stream reports an error, also one of an earlier write that was only buffered.
  bool Close();
  bool PutChar(char c) override;
  bool Write(const char* text, ptrdiff_t length) override;

 private:
  std::FILE* stream_ = nullptr;
};

/// A text in memory.
class XmlStringOutput final : public XmlOutput {
 public:
  bool PutChar(char c) override;
  /// False also when memory runs out.
  bool Write(const char* text, ptrdiff_t length) override;
  const std::string& Text() const { return text_; }
  std::string TakeText() { return std::move(text_); }
  /// True when any write failed.
  bool Failed() const { return failed_; }

 private:
  std::string text_;
  bool failed_ = false;
};

/// Opens a file for writing in binary mode by its GBK path; null when it cannot be created. The two builds
/// differ in how a path reaches the C library.
std::FILE* OpenStreamForWriting(const std::string& path_gbk);

}  // namespace melorin
