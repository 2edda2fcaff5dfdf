// SPDX-License-Identifier: MIT
//
// The four functions that the executable exports for add-in modules, undecorated and with the platform's
// standard calling convention. Thread: any. Nothing throws.
#pragma once

#include "sound/interfaces.h"
#include "tags/tag_set.h"

extern "C" {

/// A new owning buffer of that capacity and length 0. Its block is capacity rounded down to a multiple of 16,
/// plus 16 bytes. E_INVALIDARG for a capacity of 0.
HRESULT STDMETHODCALLTYPE CreateSoundBuffer(melorin::SoundBuffer** out, uint32_t capacity);

/// Opens a file as a buffered byte stream. `mode` holds STGM flags: write or read-write asks for read and
/// write access, else read only; share-deny-none (0x40) shares reading and writing, else reading only; create
/// (0x1000) creates or truncates. E_FAIL when it cannot be opened.
HRESULT STDMETHODCALLTYPE CreateStreamOnFile(const melorin::WideChar* path, uint32_t mode, IStream** out);

/// Reads the tags of a stream as a source does when it opens. `extent`, when given, receives the offset of
/// the first audio byte and the number of audio bytes between the tags (the low 32 bits of each).
HRESULT STDMETHODCALLTYPE CreateStdContent(IStream* stream, uint32_t flags, melorin::TagSet** out,
                                           uint32_t* extent);

/// Names a format as "short|long". E_OUTOFMEMORY for an unknown tag of the two families.
HRESULT STDMETHODCALLTYPE GetSoundCodecName(const GUID* subtype, melorin::WideChar** out);

}  // extern "C"
