// SPDX-License-Identifier: MIT
//
// The factories of the built-in readers, decoder entries and output entries. The registry calls them at
// start-up in its fixed order; nobody else needs the classes behind them. Each hands out an object with one
// reference, or null when memory runs out; such an object is then simply not registered.
//
// Entries that stand on a part of the platform exist in every build, under the same name and at the same
// place of the list. Where the platform lacks the part, their sources and decoders refuse with E_NOTIMPL, so
// that the registry goes on to the next one.
#pragma once

#include <string_view>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"

namespace melorin {

class SoundLibrary;

/// "MPEG Audio Reader". With `mp3pro` its description names "*.mp3pro" too; nothing else differs.
ComPtr<SoundReader> CreateMpegReader(bool mp3pro);
/// "Wave Audio Reader".
ComPtr<SoundReader> CreateWaveReader();
/// "Window Media Audio Reader": the platform's Windows Media runtime, else its media graph.
ComPtr<SoundReader> CreateWindowsMediaReader();
/// "CD Audio Reader": the digital samples of a CD track that a ".cda" file names.
ComPtr<SoundReader> CreateCdAudioReader();
/// "CUE Reader": one track of a sheet, out of the audio file that the sheet names. `library` opens that file
/// and makes its decoder; it must outlive the reader and the opening of its sources, not the sources.
ComPtr<SoundReader> CreateCueReader(const SoundLibrary& library);
/// "DirectShow Audio Reader" with the given description: plays a file through the platform's media graph.
ComPtr<SoundReader> CreateGraphReader(std::u16string_view description);

/// "MPEG Audio Decoder (mpg123)".
ComPtr<SoundDecoderEntry> CreateMpegDecoderEntry();
/// "DMO Audio Decoders": the platform's media objects.
ComPtr<SoundDecoderEntry> CreateDmoDecoderEntry();
/// "ACM Audio Decoders": the platform's audio compression manager.
ComPtr<SoundDecoderEntry> CreateAcmDecoderEntry();

/// The name by which the library hands it out.
inline constexpr char16_t kWaveOutputName[] = u"Wave 文件输出";
/// Writes PCM to a Wave file.
ComPtr<SoundOutputEntry> CreateWaveOutputEntry();

}  // namespace melorin
