// SPDX-License-Identifier: MIT
#include "app/player_text.h"

#include <algorithm>

#include "playback/output_device.h"

namespace melorin {
namespace {

std::u16string TwoDigits(uint32_t number) {
  return {static_cast<char16_t>(u'0' + number / 10), static_cast<char16_t>(u'0' + number % 10)};
}

}  // namespace

std::u16string ToText(uint32_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

std::u16string FormatTime(uint32_t milliseconds) {
  const uint32_t seconds = milliseconds / 1000;
  const uint32_t hours = seconds / 3600;
  const uint32_t minutes = seconds / 60 % 60;
  const std::u16string tail = u":" + TwoDigits(seconds % 60);
  return hours ? ToText(hours) + u":" + TwoDigits(minutes) + tail : ToText(minutes) + tail;
}

uint32_t StepPosition(uint32_t position_ms, int32_t step_ms, uint32_t duration_ms) {
  const int64_t last = duration_ms > 0 ? int64_t{duration_ms} - 1 : 0;
  return static_cast<uint32_t>(std::clamp(int64_t{position_ms} + step_ms, int64_t{0}, last));
}

std::u16string_view FileNameOf(std::u16string_view path) {
  const size_t separator = path.find_last_of(u"\\/:");
  return separator == std::u16string_view::npos ? path : path.substr(separator + 1);
}

std::u16string PlayModeText(PlayMode mode) {
  static constexpr std::u16string_view kTexts[] = {u"单曲播放", u"单曲循环", u"顺序播放", u"循环播放",
                                                   u"随机播放"};
  return std::u16string(kTexts[static_cast<size_t>(mode)]);
}

std::u16string DescribeFailure(HRESULT result, bool device) {
  if (result == E_OUTOFMEMORY) return u"内存不足";
  if (device && result == kDeviceBusy) return u"音频输出设备正被占用";
  if (device && result == kDeviceTimedOut) return u"音频输出设备没有响应";
  if (device) return u"无法打开音频输出设备";
  if (result == E_NOTIMPL) return u"不支持的文件格式，或文件已损坏";
  return u"无法打开文件";
}

}  // namespace melorin
