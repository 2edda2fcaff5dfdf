// SPDX-License-Identifier: MIT
//
// A folder with a sheet and audio files for tests of CUE playback, and audio of a known content.
#pragma once

#include <fstream>
#include <random>
#include <string>

#include "platform/text.h"
#include "sound/sheet_tracks.h"
#include "sound/sound_library.h"
#include "sound/wave_file.h"
#include "tests/sound_test_files.h"

namespace melorin::test {

/// A folder of its own, gone with the object. No two have one name: tests run side by side.
class ScratchFolder {
 public:
  explicit ScratchFolder(const char* name)
      : path_(std::filesystem::temp_directory_path() /
              ("melorin_" + std::to_string(std::random_device()()) + "_" + name)) {
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string Path(const std::string& name) const { return (path_ / name).string(); }
  void Write(const std::string& name, const Bytes& bytes) const {
    std::ofstream(path_ / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  void Write(const std::string& name, const std::string& text) const {
    Write(name, Bytes(text.begin(), text.end()));
  }
  void Remove(const std::string& name) const { std::filesystem::remove(path_ / name); }

 private:
  std::filesystem::path path_;
};

/// A Wave file of noise, 16 bits.
inline Bytes NoiseWave(uint32_t rate, uint16_t channels, uint32_t frames) {
  const auto stream = StreamOf({});
  WAVEFORMATEX format{};
  format.wFormatTag = WAVE_FORMAT_PCM;
  format.nChannels = channels;
  format.nSamplesPerSec = rate;
  format.wBitsPerSample = 16;
  format.nBlockAlign = static_cast<WORD>(channels * 2);
  format.nAvgBytesPerSec = rate * format.nBlockAlign;
  Bytes samples(size_t{frames} * format.nBlockAlign);
  uint32_t random = 1;
  for (uint8_t& byte : samples) {
    random = random * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(random >> 24);
  }
  WaveWriter writer;
  writer.Open(stream.get(), format);
  writer.Write(samples.data(), static_cast<uint32_t>(samples.size()));
  writer.Close();
  return stream->Content();
}

/// "mm:ss:ff"
inline std::string CueTime(uint32_t frames) {
  char text[32];
  std::snprintf(text, sizeof text, "%02u:%02u:%02u", static_cast<unsigned>(frames / 4500),
                static_cast<unsigned>(frames / 75 % 60), static_cast<unsigned>(frames % 75));
  return text;
}

/// A sheet over one file whose tracks begin there.
inline std::string SheetOf(const std::string& file, const std::vector<uint32_t>& starts) {
  std::string sheet = "FILE \"" + file + "\" WAVE\r\n";
  for (size_t i = 0; i < starts.size(); ++i)
    sheet += "TRACK " + std::to_string(i + 1) + " AUDIO\r\n  INDEX 01 " + CueTime(starts[i]) + "\r\n";
  return sheet;
}

inline ComPtr<SoundSource> OpenFrom(const SoundLibrary& library, const std::string& path,
                                    uint32_t flags = 0) {
  ComPtr<SoundSource> source;
  const std::u16string wide = Utf16FromGbk(path);
  if (FAILED(library.OpenSource(AsWide(wide.c_str()), flags, source.Receive()))) return nullptr;
  return source;
}

}  // namespace melorin::test
