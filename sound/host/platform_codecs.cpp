// SPDX-License-Identifier: MIT
//
// Host half of platform_codecs.h: none of these parts is there.
#include "sound/platform_codecs.h"

namespace melorin {

HRESULT CreateGraphSource(SoundSource**) {
  return E_NOTIMPL;
}
HRESULT CreateWindowsMediaSource(SoundSource**) {
  return E_NOTIMPL;
}
HRESULT CreateCdSource(SoundSource**) {
  return E_NOTIMPL;
}
HRESULT CreateDmoDecoder(SoundDecoder**) {
  return E_NOTIMPL;
}
HRESULT CreateAcmDecoder(SoundDecoder**) {
  return E_NOTIMPL;
}

}  // namespace melorin
