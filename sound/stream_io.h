// SPDX-License-Identifier: MIT
//
// Whole transfers over IStream, which may deliver less than asked, and the packet read that all sources
// share. Thread: the stream's user.
#pragma once

#include "platform/com.h"
#include "sound/interfaces.h"

namespace melorin {

/// Reads until `count` bytes are there or the stream ends; the bytes read, or -1 on a stream error.
int64_t ReadUpTo(IStream& stream, uint8_t* data, uint32_t count);
/// S_OK only when exactly `count` bytes were read; E_FAIL otherwise.
HRESULT ReadExactly(IStream& stream, void* data, uint32_t count);
/// S_OK only when exactly `count` bytes were written; `written` (may be null) tells how many were.
HRESULT WriteExactly(IStream& stream, const void* data, uint32_t count, uint32_t* written);
/// To an offset from the start.
HRESULT SeekTo(IStream& stream, int64_t offset);
/// The stream's size in bytes, -1 when it cannot tell.
int64_t StreamSize(IStream& stream);

/// Fills the packet from the stream's position with at most its capacity and at most `left` bytes and sets
/// its length, which `delivered` receives too. S_FALSE with length 0 when nothing was left or the stream has
/// ended early, E_FAIL on a stream error.
HRESULT ReadPacket(IStream& stream, SoundBuffer& packet, uint64_t left, uint32_t* delivered);

}  // namespace melorin
