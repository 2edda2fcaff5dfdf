// SPDX-License-Identifier: MIT
#include "playback/win32/ks_filters.h"

#include <mmreg.h>

#include <ksmedia.h>

#include <algorithm>
#include <cstring>
#include <span>

#include "platform/com.h"

namespace melorin {

namespace {

constexpr GUID kCategoryAudio = {STATIC_KSCATEGORY_AUDIO};
constexpr GUID kCategoryRender = {STATIC_KSCATEGORY_RENDER};
constexpr GUID kPinProperties = {STATIC_KSPROPSETID_Pin};
constexpr GUID kStandardInterfaces = {STATIC_KSINTERFACESETID_Standard};

/// No machine has as many; a driver that says so is mistaken.
constexpr DWORD kMaxInterfaces = 256;
constexpr ULONG kMaxPins = 256;
constexpr DWORD kMaxPathBytes = 64 << 10;
constexpr size_t kMaxNameUnits = 256;
constexpr uint32_t kReplyBytes = 64 << 10;

/// The characters before the first NUL; a half one at the end is left out.
std::u16string TextOf(const uint8_t* bytes, size_t size) {
  std::u16string text(size / 2, u'\0');
  std::memcpy(text.data(), bytes, text.size() * 2);
  text.resize(std::min(text.find(u'\0'), text.size()));
  return text;
}

KSP_PIN PinQuestion(ULONG id, ULONG pin) {
  KSP_PIN question = {};
  question.Property = KsQuestion(kPinProperties, id, KSPROPERTY_TYPE_GET);
  question.PinId = pin;
  return question;
}

template <class Value>
bool PinHas(KsControl& control, ULONG property, ULONG pin, std::initializer_list<Value> wanted) {
  Value value = {};
  return control.GetValue(PinQuestion(property, pin), &value) == ERROR_SUCCESS &&
         std::find(wanted.begin(), wanted.end(), value) != wanted.end();
}

DWORD GetPinItems(KsControl& control, ULONG property, ULONG pin, std::span<const uint8_t>* reply) {
  const KSP_PIN question = PinQuestion(property, pin);
  return control.Get({reinterpret_cast<const uint8_t*>(&question), sizeof question}, reply);
}

}  // namespace

KsFilters::KsFilters(const KsApi& api)
    : api_(api),
      set_(api.GetClassDevs(&kCategoryAudio, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE)) {}

KsFilters::~KsFilters() {
  if (set_ != INVALID_HANDLE_VALUE) api_.DestroyDeviceInfoList(set_);
}

std::optional<KsFilter> KsFilters::Next() {
  if (set_ == INVALID_HANDLE_VALUE) return {};
  while (next_ < kMaxInterfaces) {
    SP_DEVICE_INTERFACE_DATA device = {};
    device.cbSize = sizeof device;
    if (!api_.EnumDeviceInterfaces(set_, nullptr, &kCategoryAudio, next_++, &device)) return {};
    if (!IsRenderer(device)) continue;
    const std::u16string path = Path(device);
    if (path.empty()) continue;
    KsFilter filter;
    filter.handle = KsHandle(
        api_, api_.OpenFile(reinterpret_cast<const wchar_t*>(path.c_str()), GENERIC_READ | GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED, nullptr));
    if (!filter.handle) continue;
    filter.pins = RenderPins(filter.handle.get());
    if (filter.pins.empty()) continue;
    filter.name = FriendlyName(device);
    if (filter.name.empty()) filter.name = path;
    return filter;
  }
  return {};
}

bool KsFilters::IsRenderer(SP_DEVICE_INTERFACE_DATA& device) const {
  SP_DEVICE_INTERFACE_DATA alias = {};
  alias.cbSize = sizeof alias;
  return api_.GetDeviceInterfaceAlias(set_, &device, &kCategoryRender, &alias) &&
         (alias.Flags & SPINT_REMOVED) == 0;
}

std::u16string KsFilters::Path(SP_DEVICE_INTERFACE_DATA& device) const {
  using Detail = SP_DEVICE_INTERFACE_DETAIL_DATA_W;
  DWORD bytes = 0;
  api_.GetDeviceInterfaceDetail(set_, &device, nullptr, 0, &bytes, nullptr);
  if (bytes < sizeof(Detail) || bytes > kMaxPathBytes) return {};
  std::vector<uint8_t> memory(bytes);
  auto* detail = reinterpret_cast<Detail*>(memory.data());
  detail->cbSize = sizeof(Detail);
  if (!api_.GetDeviceInterfaceDetail(set_, &device, detail, bytes, nullptr, nullptr)) return {};
  return TextOf(memory.data() + offsetof(Detail, DevicePath), bytes - offsetof(Detail, DevicePath));
}

std::u16string KsFilters::FriendlyName(SP_DEVICE_INTERFACE_DATA& device) const {
  const HKEY key = api_.OpenDeviceInterfaceRegKey(set_, &device, 0, KEY_QUERY_VALUE);
  if (!key || key == INVALID_HANDLE_VALUE) return {};
  uint8_t name[kMaxNameUnits * 2] = {};
  DWORD bytes = sizeof name;
  DWORD type = 0;
  const LSTATUS result = api_.QueryValue(key, L"FriendlyName", nullptr, &type, name, &bytes);
  api_.CloseKey(key);
  if (result != ERROR_SUCCESS || type != REG_SZ) return {};
  return TextOf(name, std::min<size_t>(bytes, sizeof name));
}

std::vector<KsRenderPin> KsFilters::RenderPins(HANDLE filter) const {
  std::vector<KsRenderPin> pins;
  KsControl control(api_, filter, kReplyBytes);
  ULONG count = 0;
  if (control.GetValue(KsQuestion(kPinProperties, KSPROPERTY_PIN_CTYPES, KSPROPERTY_TYPE_GET), &count) !=
      ERROR_SUCCESS)
    return pins;
  for (ULONG pin = 0; pin < std::min(count, kMaxPins); ++pin) {
    if (!PinHas(control, KSPROPERTY_PIN_DATAFLOW, pin, {KSPIN_DATAFLOW_IN})) continue;
    if (!PinHas(control, KSPROPERTY_PIN_COMMUNICATION, pin,
                {KSPIN_COMMUNICATION_SINK, KSPIN_COMMUNICATION_BOTH}))
      continue;
    std::span<const uint8_t> reply;
    if (GetPinItems(control, KSPROPERTY_PIN_INTERFACES, pin, &reply) != ERROR_SUCCESS ||
        !KsAnswerHasIdentifier(reply, kStandardInterfaces, KSINTERFACE_STANDARD_STREAMING))
      continue;
    if (GetPinItems(control, KSPROPERTY_PIN_DATARANGES, pin, &reply) != ERROR_SUCCESS) continue;
    std::vector<KsAudioRange> ranges = ParseKsDataRanges(reply);
    if (std::none_of(ranges.begin(), ranges.end(), KsRangeTakesPcm)) continue;
    pins.push_back({pin, std::move(ranges)});
  }
  return pins;
}

}  // namespace melorin
