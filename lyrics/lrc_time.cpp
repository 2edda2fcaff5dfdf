// SPDX-License-Identifier: MIT
#include "lyrics/lrc_time.h"

#include <algorithm>
#include <limits>

namespace melorin {

namespace {

/// Far beyond every time, and far from overflowing.
constexpr int64_t kLargest = 1'000'000'000'000;

template <class Char>
class Scanner {
 public:
  explicit Scanner(std::basic_string_view<Char> text) : at_(text.data()), end_(at_ + text.size()) {}

  bool Take(char wanted) {
    if (at_ == end_ || *at_ != static_cast<Char>(wanted)) return false;
    ++at_;
    return true;
  }
  std::optional<int64_t> Integer() {
    const bool negative = TakeSign();
    const Char* const digits = at_;
    const int64_t value = Digits();
    if (at_ == digits) return std::nullopt;
    return negative ? -value : value;
  }
  std::optional<int64_t> Thousandths() {
    const bool negative = TakeSign();
    const Char* const whole = at_;
    int64_t value = Digits() * 1000;
    const Char* const whole_end = at_;
    const Char* const fraction = Take('.') ? at_ : whole_end;
    for (int unit = 100; IsDigit(); ++at_, unit /= 10)
      value += (*at_ - '0') * unit;
    const Char* const fraction_end = at_;
    if (whole == whole_end && fraction == fraction_end) return std::nullopt;
    if (const int64_t exponent = Exponent(); exponent != 0)
      value = FirstDigits(whole, whole_end, fraction, fraction_end, whole_end - whole + exponent + 3);
    return negative ? -value : value;
  }

 private:
  bool IsDigit() const { return at_ != end_ && *at_ >= '0' && *at_ <= '9'; }
  /// What is beyond 32 bits with a sign may come out as any other number that is.
  int64_t Digits() {
    constexpr uint32_t kBeyond = 400'000'000;
    uint32_t value = 0;
    for (; IsDigit(); ++at_)
      value = value < kBeyond ? value * 10 + static_cast<uint32_t>(*at_ - '0') : 10 * kBeyond;
    return value;
  }
  /// And the white space before it.
  bool TakeSign() {
    while (at_ != end_ && (*at_ == ' ' || (*at_ >= '\t' && *at_ <= '\r')))
      ++at_;
    if (Take('-')) return true;
    Take('+');
    return false;
  }
  int64_t Exponent() {
    if (!Take('e') && !Take('E')) return 0;
    if (!IsDigit() && at_ != end_ && *at_ != '-' && *at_ != '+') return 0;
    return Integer().value_or(0);
  }
  /// The first `count` digits of the two rows, as a number; zeros follow them.
  static int64_t FirstDigits(const Char* first, const Char* first_end, const Char* second,
                             const Char* second_end, int64_t count) {
    int64_t value = 0;
    for (; count > 0 && value < kLargest; --count) {
      if (first == first_end) {
        first = second;
        first_end = second_end;
        second = second_end;
      }
      if (first == first_end && value == 0) break;
      value = value * 10 + (first != first_end ? *first++ - '0' : 0);
    }
    return std::min(value, kLargest);
  }

  const Char* at_;
  const Char* end_;
};

bool Fits(int64_t number) {
  return number >= std::numeric_limits<int32_t>::min() && number <= std::numeric_limits<int32_t>::max();
}

template <class Char>
std::optional<int32_t> Time(std::basic_string_view<Char> tag) {
  Scanner<Char> scanner(tag);
  const auto minutes = scanner.Integer();
  if (!minutes || !scanner.Take(':')) return std::nullopt;
  const auto thousandths = scanner.Thousandths();
  if (!thousandths) return std::nullopt;
  const int64_t time_ms = *minutes * 60000 + *thousandths;
  if (!Fits(time_ms)) return std::nullopt;
  return static_cast<int32_t>(time_ms);
}

template <class Char>
int32_t FirstInteger(std::basic_string_view<Char> text) {
  const int64_t number = Scanner<Char>(text).Integer().value_or(0);
  return static_cast<int32_t>(
      std::clamp<int64_t>(number, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

/// With zeros in front, or a sign that counts as one of the characters, as the C library's "%0*d" does it.
void AppendPadded(bool negative, uint32_t number, size_t width, std::u16string& out) {
  char16_t digits[10];
  size_t count = 0;
  do {
    digits[count++] = static_cast<char16_t>(u'0' + number % 10);
    number /= 10;
  } while (number != 0);
  if (negative) out += u'-';
  const size_t used = count + (negative ? 1 : 0);
  if (used < width) out.append(width - used, u'0');
  while (count != 0)
    out += digits[--count];
}

}  // namespace

std::optional<int32_t> ScanTime(std::u16string_view tag) {
  return Time(tag);
}
std::optional<int32_t> ScanTime(std::string_view tag) {
  return Time(tag);
}
int32_t ScanInteger(std::u16string_view text) {
  return FirstInteger(text);
}
int32_t ScanInteger(std::string_view text) {
  return FirstInteger(text);
}

void AppendTime(int32_t time_ms, std::u16string& out) {
  const bool negative = time_ms < 0;
  const uint32_t size = negative ? 0u - static_cast<uint32_t>(time_ms) : static_cast<uint32_t>(time_ms);
  const uint32_t minutes = size / 60000;
  const uint32_t hundredths = (size % 60000 + 5) / 10;
  out += u'[';
  AppendPadded(negative && minutes != 0, minutes, 2, out);
  out += u':';
  AppendPadded(negative && size % 60000 != 0, hundredths / 100, 2, out);
  out += u'.';
  AppendPadded(false, hundredths % 100, 2, out);
  out += u']';
}

}  // namespace melorin
