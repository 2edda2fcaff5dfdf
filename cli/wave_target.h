// SPDX-License-Identifier: MIT
//
// Where decoded samples go: a Wave file that appears under its name only when it is whole, or standard
// output.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "cli/console.h"
#include "platform/com.h"
#include "sound/sound_library.h"

namespace melorin {

/// One stream of PCM. Destroyed without a successful Finish, it leaves nothing behind.
class WaveTarget {
 public:
  virtual ~WaveTarget() = default;
  virtual HRESULT Write(std::span<const uint8_t> pcm) = 0;
  virtual HRESULT Finish() = 0;
};

/// What Finish answers when the file is whole but could not be put in the place of the old one (the
/// platform's "access denied").
inline constexpr HRESULT kTargetKept = static_cast<HRESULT>(0x80070005);

/// Writes beside `path_gbk`, through the library's Wave output, and Finish swaps the file in.
/// E_FAIL when the file cannot be created.
HRESULT CreateWaveFileTarget(const SoundLibrary& library, const std::string& path_gbk,
                             const WAVEFORMATEX& format, std::unique_ptr<WaveTarget>* out);

/// Writes to standard output, as programs at the other end of a pipe expect it: the length is not known when
/// the header goes out, so both sizes in it are 0xFFFFFFFF.
HRESULT CreateWaveStreamTarget(Console& console, const WAVEFORMATEX& format,
                               std::unique_ptr<WaveTarget>* out);

}  // namespace melorin
