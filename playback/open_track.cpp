// SPDX-License-Identifier: MIT
#include "playback/open_track.h"

#include "playback/device_format.h"
#include "playback/effects/tagged_gain.h"
#include "playback/source_chain.h"
#include "playback/watched_device.h"

namespace melorin {

ChainOptions MakeChainOptions(const PlaybackSettings& settings, const std::optional<TrackGain>& gain) {
  ChainOptions options;
  options.resample_rate = settings.resample_rate;
  options.quality = settings.hq_resample ? ResampleQuality::kHigh : ResampleQuality::kFast;
  options.block_ms = BlockMsFor(settings.buffer_duration);
  options.scan_gain = settings.auto_scan_gain && !(settings.skip_scan_gain && gain);
  options.effects.equalizer = settings.equalizer;
  options.effects.surround = settings.surround;
  if (settings.auto_gain) options.effects.gain = gain;
  return options;
}

std::optional<TrackGain> KnownGain(SoundSource* source, const PlaybackSettings& settings) {
  std::optional<TrackGain> gain;
  if (source) gain = ReadTrackGain(*source);
  return gain ? gain : settings.listed_gain;
}

HRESULT OpenForChain(std::unique_ptr<PlaybackChain> chain, const PlaybackSettings& settings, void* window,
                     Clock& clock, ComPtr<PlaybackStream>* out, DeviceFactory* factory) {
  if (!out) return E_INVALIDARG;
  out->Reset();
  if (!chain || chain->BlockBytes() == 0) return E_INVALIDARG;
  const WAVEFORMATEX format = MakePcmFormat(chain->Channels(), chain->SampleRate(),
                                            ChooseOutputBits(settings.output_bits, chain->SourceBits()));
  const BufferPlan plan = PlanBuffer(format, settings.buffer_duration, chain->BlockBytes());

  std::unique_ptr<DeviceFactory> platform;
  if (!factory) {
    platform = CreatePlatformDeviceFactory(window);
    if (!platform) return E_OUTOFMEMORY;
    factory = platform.get();
  }
  ComPtr<OutputDevice> device;
  HRESULT result = OpenDevice(*factory, settings, format, plan, device.Receive());
  if (FAILED(result)) return result;
  device = WatchDevice(std::move(device), format, clock);
  if (!device) return E_OUTOFMEMORY;
  *out = PlaybackStream::Create(std::move(chain), std::move(device), format, settings.dither, clock, &result);
  return result;
}

HRESULT OpenForTrack(const SoundLibrary& library, const WideChar* path, uint32_t flags,
                     const PlaybackSettings& settings, void* window, Clock& clock,
                     ComPtr<PlaybackStream>* out, DeviceFactory* factory, OpenStep* failed_at) {
  if (failed_at) *failed_at = OpenStep::kSource;
  if (!out) return E_INVALIDARG;
  out->Reset();
  if (!path || !*path) return E_INVALIDARG;
  std::unique_ptr<SourceChain> decoded;
  HRESULT result = SourceChain::Open(library, path, flags, &decoded);
  if (FAILED(result)) return result;
  const ChainOptions options = MakeChainOptions(settings, KnownGain(decoded->Source(), settings));
  std::unique_ptr<EffectsChain> chain;
  result = EffectsChain::Create(std::move(decoded), options, &chain);
  if (FAILED(result)) return result;
  if (failed_at) *failed_at = OpenStep::kDevice;
  return OpenForChain(std::move(chain), settings, window, clock, out, factory);
}

}  // namespace melorin
