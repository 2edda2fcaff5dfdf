// SPDX-License-Identifier: MIT
//
// Code pages through iconv. A descriptor is opened once for each thread and code page, since opening one
// costs more than converting a title.
#include "platform/text_tables.h"

#include <iconv.h>

#include <cerrno>
#include <map>
#include <string>

#include "platform/text.h"

namespace melorin {
namespace {

class Converter {
 public:
  Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
  ~Converter() {
    if (IsOpen()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  bool IsOpen() const { return handle_ != InvalidHandle(); }

  /// Calls on_bad(input, left) at what cannot be converted; it returns the number of bytes to skip.
  template <class OnBad>
  std::string Convert(std::string_view bytes, OnBad on_bad) {
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    std::string out;
    std::string input(bytes);
    char* in = input.data();
    size_t left = input.size();
    char block[512];
    while (left != 0) {
      char* to = block;
      size_t room = sizeof block;
      const size_t result = iconv(handle_, &in, &left, &to, &room);
      out.append(block, sizeof block - room);
      if (result == static_cast<size_t>(-1) && errno != E2BIG) {
        const size_t skip = std::min(left, on_bad(in, left, out));
        in += skip;
        left -= skip;
      }
    }
    return out;
  }

 private:
  static iconv_t InvalidHandle() { return reinterpret_cast<iconv_t>(static_cast<intptr_t>(-1)); }
  iconv_t handle_;
};

/// Code pages whose iconv name is not "CP" and the number.
std::string IconvName(int code_page) {
  switch (code_page) {
    case 20127:
      return "ASCII";
    case 28591:
      return "ISO-8859-1";
    case 54936:
      return "GB18030";
    case 51949:
      return "EUC-KR";
    default:
      return "CP" + std::to_string(code_page);
  }
}

Converter& ToUtf16(int code_page) {
  thread_local std::map<int, Converter> converters;
  auto found = converters.find(code_page);
  if (found == converters.end()) {
    found = converters.try_emplace(code_page, "UTF-16LE", IconvName(code_page).c_str()).first;
    if (!found->second.IsOpen() && code_page != kCodePageGbk) {
      converters.erase(found);
      return ToUtf16(kCodePageGbk);
    }
  }
  return found->second;
}

void SetTrue(bool* flag) {
  if (flag) *flag = true;
}

}  // namespace

std::u16string Utf16FromCodePage(int code_page, std::string_view bytes, bool* lossy) {
  if (code_page == kCodePageUtf8) return Utf16FromUtf8(bytes, lossy);
  const std::string raw =
      ToUtf16(code_page).Convert(bytes, [&](const char* in, size_t left, std::string& out) {
        SetTrue(lossy);
        out.append("\xFD\xFF", 2);
        // A lead byte takes its trail byte along when that one could not stand for itself.
        const bool pair = left >= 2 && IsGbkLead(static_cast<unsigned char>(in[0])) &&
                          static_cast<unsigned char>(in[1]) >= 0x80;
        return pair ? size_t{2} : size_t{1};
      });
  std::u16string out(raw.size() / 2, u'\0');
  for (size_t i = 0; i < out.size(); ++i)
    out[i] = static_cast<char16_t>(static_cast<unsigned char>(raw[2 * i]) |
                                   (static_cast<unsigned char>(raw[2 * i + 1]) << 8));
  return out;
}

}  // namespace melorin
