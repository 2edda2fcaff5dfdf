// SPDX-License-Identifier: MIT
//
// melorin-cli devices: the sound devices of this machine, as the settings name them.
#include "cli/commands.h"
#include "cli/result_text.h"
#include "doc/settings_values.h"
#include "platform/text.h"
#include "playback/device_capabilities.h"
#include "playback/open_device.h"

namespace melorin {
namespace {

constexpr OptionSpec kOptions[] = {{"--formats"}};
constexpr DeviceKind kKinds[] = {DeviceKind::kWaveOut, DeviceKind::kDirectSound, DeviceKind::kKernelStreaming,
                                 DeviceKind::kAsio};

int PrintFormats(const CommandContext& context, const DeviceInfo& device) {
  DeviceCapabilities found;
  const HRESULT result = QueryDeviceCapabilities(device.id, &found);
  if (FAILED(result)) return context.Fail(Utf8FromGbk(device.name_gbk), ResultText(result));
  for (const std::string& line : DescribeCapabilitiesGbk(found))
    context.console.Write("format\t" + Utf8FromGbk(line) + "\n");
  return kExitDone;
}

int RunDevices(const CommandContext& context, const Arguments& arguments) {
  int exit_code = kExitDone;
  for (const DeviceKind kind : kKinds) {
    const auto number = static_cast<int32_t>(kind);
    context.console.Write("kind\t" + std::to_string(number) + "\t" + Utf8FromGbk(DeviceKindNameGbk(number)) +
                          "\n");
    for (const DeviceInfo& device : ListDevices(kind)) {
      context.console.Write("device\t" + FormatSetting(device.id) + "\t" +
                            PrintableLine(Utf8FromGbk(device.name_gbk)) + "\n");
      if (arguments.Has("--formats") && PrintFormats(context, device) != kExitDone) exit_code = kExitFailed;
    }
  }
  return exit_code;
}

}  // namespace

constexpr Command kDevicesCommand = {
    "devices",
    "[--formats]",
    "Lists the kinds of sound device and the devices of each that this machine has",
    "\nOne record a line, fields parted by tabs; devices follow their kind, formats their device:\n"
    "  kind NUMBER NAME   device IDENTIFIER NAME   format TEXT\n\n"
    "The identifier is what the setting \"DeviceType\" holds. --formats asks each device what it can play, "
    "which\n"
    "loads the drivers of ASIO devices.\n",
    0,
    0,
    kOptions,
    RunDevices};

}  // namespace melorin
