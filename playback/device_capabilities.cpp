// SPDX-License-Identifier: MIT
#include "playback/device_capabilities.h"

#include <cstdarg>
#include <cstdio>

#include "platform/text.h"

namespace melorin {

namespace {

std::string Line(const char* format_utf8, ...) __attribute__((format(printf, 1, 2)));

std::string Line(const char* format_utf8, ...) {
  char text[96];
  va_list values;
  va_start(values, format_utf8);
  std::vsnprintf(text, sizeof text, format_utf8, values);
  va_end(values);
  return GbkFromUtf8(text);
}

std::string ChannelsUtf8(unsigned channels) {
  switch (channels) {
    case 0:
      return {};
    case 1:
      return "单声道";
    case 2:
      return "立体声";
    default:
      return std::to_string(channels) + " 声道";
  }
}

/// The settings page shows whole numbers; what a device answers may be anything.
int AsInt(uint32_t value) {
  return value <= 0x7FFFFFFF ? static_cast<int>(value) : 0x7FFFFFFF;
}

}  // namespace

std::vector<std::string> DescribeCapabilitiesGbk(const DeviceCapabilities& capabilities) {
  std::vector<std::string> lines;
  if (capabilities.max_rate > 0) {
    std::string line = Line("%d - %d Hz %s", AsInt(capabilities.min_rate), AsInt(capabilities.max_rate),
                            ChannelsUtf8(capabilities.max_channels).c_str());
    if (line.back() == ' ') line.pop_back();
    lines.push_back(std::move(line));
  }
  if (capabilities.max_bits > 0)
    lines.push_back(Line("%d - %d 比特", capabilities.min_bits, capabilities.max_bits));
  if (capabilities.buffer_frames > 0) lines.push_back(Line("%d Samples", AsInt(capabilities.buffer_frames)));
  for (const uint32_t rate : capabilities.rates)
    lines.push_back(Line("%6d Hz", AsInt(rate)));
  for (const uint16_t bits : capabilities.bits)
    lines.push_back(Line(" %2d 比特", bits));
  return lines;
}

}  // namespace melorin
