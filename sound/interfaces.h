// SPDX-License-Identifier: MIT
//
// The decoding interfaces that readers, decoders and add-in modules are built from, with their identifiers
// and their operations in slot order. A SoundReader makes SoundSources, which parse a container and hand out
// compressed packets; a SoundDecoderEntry makes SoundDecoders, which turn packets into PCM; packets and PCM
// travel in SoundBuffers.
//
// Rules for all of them: out-pointers are checked first and give E_POINTER when null; results are S_OK,
// S_FALSE (nothing more), E_INVALIDARG, E_OUTOFMEMORY, E_FAIL, E_NOTIMPL; text and format records handed out
// are task memory that the receiver frees with CoTaskMemFree; nothing throws. Objects start with one
// reference. Thread: an object is used by one thread at a time; reference counts may be changed from any
// thread.
#pragma once

#include "platform/com.h"

namespace melorin {

inline constexpr GUID kIidSoundBuffer = {
    0x59EFF8B9, 0x938C, 0x4A26, {0x82, 0xF2, 0x95, 0xCB, 0x84, 0xCD, 0xC8, 0x37}};
inline constexpr GUID kIidSoundSource = {
    0xCD9B9C14, 0xE641, 0x4A8E, {0xB7, 0x0F, 0xC9, 0x68, 0x99, 0x2D, 0xA4, 0x82}};
inline constexpr GUID kIidSoundReader = {
    0xFCB1CF67, 0x3F85, 0x474A, {0xB2, 0xCF, 0x9B, 0xD2, 0x48, 0xFE, 0x7C, 0x28}};
inline constexpr GUID kIidSoundDecoder = {
    0xCC94B115, 0xA1A7, 0x4362, {0x95, 0x23, 0x41, 0x23, 0xE2, 0xA0, 0xB3, 0xC7}};
inline constexpr GUID kIidSoundDecoderEntry = {
    0x686D6670, 0xFDAF, 0x4FBD, {0xA8, 0x1A, 0xFB, 0x05, 0xD6, 0xF9, 0xEF, 0xB1}};
inline constexpr GUID kIidSoundFileSource = {
    0x64FCCA84, 0xF2FD, 0x4DAA, {0xBB, 0x7F, 0xAF, 0xE9, 0xEF, 0xF0, 0xCF, 0xC0}};
inline constexpr GUID kIidSoundOutputEntry = {
    0x5954A909, 0x9E02, 0x4650, {0x99, 0x5E, 0xF7, 0x53, 0x5E, 0xE2, 0xBD, 0x8B}};
/// The fourth kind of object that an add-in may offer.
inline constexpr GUID kIidSoundExtension = {
    0xE556821A, 0xC088, 0x46D1, {0x98, 0x55, 0x8F, 0x44, 0xF6, 0xC0, 0xD3, 0xC2}};

/// A block of bytes with a capacity and a valid length.
struct SoundBuffer : IUnknown {
  /// E_FAIL when length is above the capacity; then the length stays.
  virtual HRESULT STDMETHODCALLTYPE SetLength(uint32_t length) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetCapacity(uint32_t* capacity) = 0;
  /// Writes the non-null ones of both; E_POINTER only when both are null.
  virtual HRESULT STDMETHODCALLTYPE GetData(uint8_t** data, uint32_t* length) = 0;
};

/// A parsed container that hands out packets.
struct SoundSource : IUnknown {
  /// Takes a reference to the stream, reads the tags, finds the audio data. E_FAIL when there is none. Bit 0
  /// of flags asks an MPEG source for a full scan of the file's frames; other sources ignore it.
  virtual HRESULT STDMETHODCALLTYPE Open(IStream* stream, uint32_t flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE IsSeekable(uint32_t* yes) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDuration(uint32_t* milliseconds) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetFormat(WAVEFORMATEX** format) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetReadSize(uint32_t* bytes) = 0;   ///< Preferred packet size.
  virtual HRESULT STDMETHODCALLTYPE GetCodecName(WideChar** name) = 0;  ///< "short|long"
  virtual HRESULT STDMETHODCALLTYPE GetBitrate(uint32_t* bits_per_second) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetBitsPerSample(uint16_t* bits) = 0;  ///< Of the PCM that comes of it.
  virtual HRESULT STDMETHODCALLTYPE Start() = 0;
  virtual HRESULT STDMETHODCALLTYPE Pause() = 0;
  virtual HRESULT STDMETHODCALLTYPE Stop() = 0;
  /// Fills the packet from the current position; S_FALSE and length 0 when nothing is left.
  virtual HRESULT STDMETHODCALLTYPE Read(SoundBuffer* packet) = 0;
  /// E_INVALIDARG at or past the end.
  virtual HRESULT STDMETHODCALLTYPE Seek(uint32_t milliseconds) = 0;
};

/// A source that must open the file itself.
struct SoundFileSource : SoundSource {
  virtual HRESULT STDMETHODCALLTYPE OpenFile(const WideChar* path, uint32_t flags) = 0;
};

/// Turns packets into PCM: SetFormat once, then ProcessInput and ProcessOutput in turn; Flush after a seek.
struct SoundDecoder : IUnknown {
  /// `out` comes with the wanted format tag (and, for PCM, may be completed to any depth the decoder makes);
  /// the decoder fills the rest. E_INVALIDARG when it does not take `in`.
  virtual HRESULT STDMETHODCALLTYPE SetFormat(const WAVEFORMATEX* in, WAVEFORMATEX* out) = 0;
  /// Either pointer may be null.
  virtual HRESULT STDMETHODCALLTYPE GetBufferSizes(uint32_t* in_bytes, uint32_t* out_bytes) = 0;
  virtual HRESULT STDMETHODCALLTYPE AcceptsInput() = 0;  ///< S_OK: wants input, S_FALSE: does not.
  virtual HRESULT STDMETHODCALLTYPE HasOutput() = 0;     ///< S_OK: output is pending, S_FALSE: none.
  virtual HRESULT STDMETHODCALLTYPE ProcessInput(SoundBuffer* packet) = 0;
  /// Length 0 when nothing was pending.
  virtual HRESULT STDMETHODCALLTYPE ProcessOutput(SoundBuffer* pcm) = 0;
  virtual HRESULT STDMETHODCALLTYPE Flush() = 0;
  virtual ~SoundDecoder() = default;
};

struct SoundReader : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateSource(SoundSource** out) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetName(WideChar** name) = 0;
  /// Filter text of the open dialog: "label(*.a;*.b)", or empty.
  virtual HRESULT STDMETHODCALLTYPE GetDescription(WideChar** text) = 0;
};

struct SoundDecoderEntry : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateDecoder(SoundDecoder** out) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetName(WideChar** name) = 0;
  /// S_OK when willing to try the format, E_INVALIDARG when not.
  virtual HRESULT STDMETHODCALLTYPE CanDecode(const GUID* subtype) = 0;
};

/// Where decoded PCM goes when it is not played: made by an output entry, written block by block.
struct SoundOutput : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Open(const WideChar* path, const WAVEFORMATEX* format) = 0;
  virtual HRESULT STDMETHODCALLTYPE Write(const uint8_t* data, uint32_t bytes) = 0;
  /// Brings the file up to date and closes it; the last Release does the same, without telling the result.
  virtual HRESULT STDMETHODCALLTYPE Close() = 0;
};

struct SoundOutputEntry : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateOutput(SoundOutput** out) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetName(WideChar** name) = 0;
};

/// The fourth kind of object that an add-in may offer. The registry keeps it for the player's life and calls
/// Register once; what the object does with that is its own affair.
struct SoundExtension : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Reserved() = 0;  ///< Holds the slot; never called.
  /// `token` belongs to the object; the registry only keeps it.
  virtual HRESULT STDMETHODCALLTYPE Register(void** token) = 0;
};

/// What an add-in module's entry point hands out.
struct SoundAddIn : IUnknown {
  /// S_OK with kind and object for index 0, 1, 2, …; a failure after the last.
  virtual HRESULT STDMETHODCALLTYPE GetEntry(uint32_t index, GUID* kind, IUnknown** object) = 0;
};
using GetSoundAddInFunction = HRESULT(STDMETHODCALLTYPE*)(SoundAddIn** out);

/// {tag-0000-0010-8000-00AA00389B71}: the platform's wave-format subtype family.
constexpr GUID WaveSubtype(uint32_t tag) {
  return {tag, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}
/// {tag-DB46-11CF-B4D1-00805F6CBBEA}: the platform's MPEG-2 and DVD family.
constexpr GUID DvdSubtype(uint32_t tag) {
  return {tag, 0xDB46, 0x11CF, {0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}};
}

}  // namespace melorin
