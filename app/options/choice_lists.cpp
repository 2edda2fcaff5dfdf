// SPDX-License-Identifier: MIT
#include "app/options/choice_lists.h"

#include <string>

#include "playback/device_capabilities.h"

namespace melorin {
namespace {

std::u16string WithUnit(uint32_t number, const char16_t* unit) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end()) + unit;
}

}  // namespace

std::vector<ChoiceItem> PriorityChoices() {
  return {{u"实时", THREAD_PRIORITY_TIME_CRITICAL}, {u"最高", THREAD_PRIORITY_HIGHEST},
          {u"较高", THREAD_PRIORITY_ABOVE_NORMAL},  {u"普通", THREAD_PRIORITY_NORMAL},
          {u"较低", THREAD_PRIORITY_BELOW_NORMAL},  {u"最低", THREAD_PRIORITY_LOWEST},
          {u"空闲", THREAD_PRIORITY_IDLE}};
}

std::vector<ChoiceItem> BitsChoices() {
  std::vector<ChoiceItem> items = {{u"与音源相同", 0}};
  for (const uint16_t bits : kOutputBits)
    items.push_back({WithUnit(bits, u" 比特"), bits});
  return items;
}

std::vector<ChoiceItem> RateChoices() {
  constexpr uint32_t kLeast = 22050;
  std::vector<ChoiceItem> items = {{u"不转换", 0}};
  for (const uint32_t rate : kUsualRates)
    if (rate >= kLeast) items.push_back({WithUnit(rate, u" Hz"), static_cast<int32_t>(rate)});
  return items;
}

}  // namespace melorin
