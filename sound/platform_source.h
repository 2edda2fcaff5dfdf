// SPDX-License-Identifier: MIT
//
// A source whose PCM a part of the platform produces from a file name: the media graph, the Windows Media
// runtime, a CD drive. PlatformSource is the SoundFileSource in front; a PcmProducer is such a part.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sound/interfaces.h"
#include "tags/tag_set.h"

namespace melorin {

/// What a producer tells about the file that it opened.
struct PcmInfo {
  WAVEFORMATEX format{};  ///< PCM, without an extension.
  uint32_t duration_ms = 0;
  bool seekable = false;
  uint32_t bitrate = 0;       ///< Of the file, bits per second; 0: that of the PCM.
  std::u16string codec_name;  ///< "short|long"; empty: that of PCM.
  TagFields tags;             ///< Used when the file itself carries no tag that the player reads.
};

/// Thread: one at a time, with or without an apartment of the component runtime.
class PcmProducer {
 public:
  virtual ~PcmProducer() = default;
  /// At most once. After a failure the object is only destroyed.
  virtual HRESULT Open(const std::u16string& path, PcmInfo& info) = 0;
  virtual HRESULT Start() { return S_OK; }
  virtual HRESULT Pause() { return S_OK; }
  virtual HRESULT Stop() { return S_OK; }
  /// Waits for data; S_FALSE with `got` 0 at the end, else at least one byte. E_FAIL when the platform fails.
  virtual HRESULT Read(uint8_t* to, uint32_t capacity, uint32_t* got) = 0;
  /// To a time before the end.
  virtual HRESULT Seek(uint32_t milliseconds) = 0;
};

/// Makes a producer; null when memory runs out or the platform lacks the part.
using MakeProducer = std::unique_ptr<PcmProducer> (*)();

/// A source that tries the producers in order when a file is opened. Open over a stream gives E_NOTIMPL.
HRESULT CreatePlatformSource(std::vector<MakeProducer> producers, SoundSource** out);

}  // namespace melorin
