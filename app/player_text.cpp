// SPDX-License-Identifier: MIT
#include "app/player_text.h"

#include <algorithm>

#include "playback/output_device.h"

namespace melorin {
std::u16string ToText(uint32_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

uint32_t StepPosition(uint32_t position_ms, int32_t step_ms, uint32_t duration_ms) {
  const int64_t last = duration_ms > 0 ? int64_t{duration_ms} - 1 : 0;
  return static_cast<uint32_t>(std::clamp(int64_t{position_ms} + step_ms, int64_t{0}, last));
}

std::u16string_view FileNameOf(std::u16string_view path) {
  const size_t separator = path.find_last_of(u"\\/:");
  return separator == std::u16string_view::npos ? path : path.substr(separator + 1);
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
