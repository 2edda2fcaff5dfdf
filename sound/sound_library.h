// SPDX-License-Identifier: MIT
//
// The registry of everything that can open or decode audio. Filled once at start-up from the built-in classes
// and from the add-in modules, in a fixed order that is also the order of preference; only read afterwards.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com_ptr.h"
#include "sound/interfaces.h"

namespace melorin {

/// One reader's part of the open dialog.
struct FileFilter {
  std::string label_gbk;     ///< "MPEG 音频文件"
  std::string patterns_gbk;  ///< "*.mp3;*.mp2;*.mp1;*.mpa"
};

/// An add-in module that could not be used.
struct AddInFailure {
  std::string file_gbk;
  HRESULT result;
};

/// Thread: Start and Shutdown on the UI thread while nobody else uses the object; the rest from any thread in
/// between.
class SoundLibrary {
 public:
  SoundLibrary();
  ~SoundLibrary();
  SoundLibrary(const SoundLibrary&) = delete;
  SoundLibrary& operator=(const SoundLibrary&) = delete;

  /// Registers the built-in entries, then loads "mzp_*.dll" from the folder. A module that fails is noted in
  /// AddInFailures and skipped; a folder that is not there is no failure.
  HRESULT Start(const std::string& add_in_folder_gbk);
  void Shutdown();

  /// True when some reader's extension list holds the path's extension.
  bool CanPlay(std::u16string_view path) const;
  /// Tries the matching readers in order; E_NOTIMPL when none takes the file. `reader_index`, when given,
  /// receives the place in ReaderNames of the reader that took it.
  HRESULT OpenSource(const WideChar* path, uint32_t flags, SoundSource** out,
                     size_t* reader_index = nullptr) const;
  /// Offers the format to the decoder entries in order and takes the first whose decoder accepts it. `out`
  /// comes with the wanted format tag (WAVE_FORMAT_PCM) and is completed. E_NOTIMPL when none does.
  HRESULT CreateDecoder(const WAVEFORMATEX& in, WAVEFORMATEX* out, SoundDecoder** decoder) const;

  /// Of the first output entry of that name. E_NOTIMPL when there is none.
  HRESULT CreateOutput(std::u16string_view name, SoundOutput** out) const;

  std::vector<FileFilter> FileFilters() const;
  /// Text for the platform's open dialog: "all playable files", then one entry a reader, each as
  /// label NUL patterns NUL, with a NUL at the end.
  std::string OpenDialogFilter() const;
  std::vector<std::u16string> ReaderNames() const;
  std::vector<std::u16string> ReaderDescriptions() const;
  std::vector<std::u16string> DecoderNames() const;
  std::vector<std::u16string> OutputNames() const;
  const std::vector<AddInFailure>& AddInFailures() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace melorin
