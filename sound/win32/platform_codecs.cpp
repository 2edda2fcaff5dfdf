// SPDX-License-Identifier: MIT
//
// Windows half of platform_codecs.h: the sources. The decoders are in files of their own.
#include "sound/platform_codecs.h"

#include <new>

#include "sound/win32/component_runtime.h"
#include "sound/win32/producers.h"

namespace melorin {
namespace {

HRESULT Create(std::initializer_list<MakeProducer> producers, SoundSource** out) {
  try {
    return CreatePlatformSource(producers, out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

HRESULT CreateGraphSource(SoundSource** out) {
  if (!KeepComponentRuntime()) return E_OUTOFMEMORY;
  return Create({MakeGraphProducer}, out);
}

HRESULT CreateWindowsMediaSource(SoundSource** out) {
  if (!KeepComponentRuntime()) return E_OUTOFMEMORY;
  return Create({MakeWindowsMediaProducer, MakeGraphProducer}, out);
}

HRESULT CreateCdSource(SoundSource** out) {
  return Create({MakeCdProducer}, out);
}

}  // namespace melorin
