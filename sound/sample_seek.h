// SPDX-License-Identifier: MIT
//
// How a part of a file is played from one exact sample to another: what the built-in sources and decoders
// tell each other for that. Interfaces of our own, which no add-in needs to have.
#pragma once

#include "sound/interfaces.h"

namespace melorin {

inline constexpr GUID kIidSampleSeekable = {
    0x413EC346, 0xF036, 0x445A, {0xBF, 0x96, 0x01, 0xC2, 0x62, 0xBE, 0x65, 0xEE}};
inline constexpr GUID kIidLeadInTeller = {
    0x520CCD77, 0xA5FA, 0x4280, {0x94, 0xC2, 0x41, 0x59, 0x0A, 0x96, 0x7F, 0xB6}};

/// A source that knows which sample its packets begin with. "Sample" is one of each channel here, counted
/// from the first one that the file's bytes decode to; what a decoder leaves out at the file's start counts.
struct SampleSeekable : IUnknown {
  /// Moves to a packet at or before the sample, so far before it that a decoder which was flushed makes the
  /// very samples of a decode without a break by the time it comes to the one wanted. `landed` is the first
  /// sample that it makes; 0 means the file's start, where it leaves its lead-in out.
  /// E_INVALIDARG past the end (the position is then undefined), E_NOTIMPL when the format does not allow it.
  virtual HRESULT STDMETHODCALLTYPE SeekToSample(uint64_t sample, uint64_t* landed) = 0;
};

/// A decoder that leaves out samples at the file's start, which its encoder put there.
struct LeadInTeller : IUnknown {
  /// How many, known once the first samples of the file's start have come out; 0 before that.
  virtual HRESULT STDMETHODCALLTYPE GetLeadIn(uint32_t* samples) = 0;
};

}  // namespace melorin
