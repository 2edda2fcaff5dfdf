// SPDX-License-Identifier: MIT
//
// Wave files and Wave streams.
#include "cli/wave_target.h"

#include <new>

#include "platform/com_ptr.h"
#include "platform/file.h"
#include "platform/text.h"
#include "sound/builtin_entries.h"
#include "sound/wave_file.h"

namespace melorin {
namespace {

class WaveFileTarget final : public WaveTarget {
 public:
  WaveFileTarget(ComPtr<SoundOutput> output, std::string final_path, std::string part_path)
      : output_(std::move(output)), final_path_(std::move(final_path)), part_path_(std::move(part_path)) {}
  ~WaveFileTarget() override {
    output_.Reset();
    if (!finished_) DeleteFileAt(part_path_);
  }

  HRESULT Write(std::span<const uint8_t> pcm) override {
    return output_->Write(pcm.data(), static_cast<uint32_t>(pcm.size()));
  }
  HRESULT Finish() override {
    const HRESULT result = output_->Close();
    output_.Reset();
    if (FAILED(result)) return result;
    finished_ = ReplaceFileAt(part_path_, final_path_);
    return finished_ ? S_OK : kTargetKept;
  }

 private:
  ComPtr<SoundOutput> output_;
  std::string final_path_;
  std::string part_path_;
  bool finished_ = false;
};

class WaveStreamTarget final : public WaveTarget {
 public:
  explicit WaveStreamTarget(Console& console) : console_(console) {}
  HRESULT WriteHeader(const WAVEFORMATEX& format) {
    return Write(WaveHeader(format, 0xFFFFFFFF, 0xFFFFFFFF));
  }
  HRESULT Write(std::span<const uint8_t> pcm) override {
    return console_.Write({reinterpret_cast<const char*>(pcm.data()), pcm.size()}) ? S_OK : E_FAIL;
  }
  HRESULT Finish() override { return console_.Flush() ? S_OK : E_FAIL; }

 private:
  Console& console_;
};

/// A name beside the file that is not taken; empty when there is none.
std::string PartPath(const std::string& path_gbk) {
  for (int i = 0; i < 100; ++i) {
    std::string candidate = path_gbk + (i == 0 ? ".part" : ".part" + std::to_string(i));
    if (!FileExists(candidate) && !DirectoryExists(candidate)) return candidate;
  }
  return {};
}

}  // namespace

HRESULT CreateWaveFileTarget(const SoundLibrary& library, const std::string& path_gbk,
                             const WAVEFORMATEX& format, std::unique_ptr<WaveTarget>* out) try {
  const std::string part_path = PartPath(path_gbk);
  if (part_path.empty()) return E_FAIL;
  ComPtr<SoundOutput> output;
  HRESULT result = library.CreateOutput(kWaveOutputName, output.Receive());
  if (FAILED(result)) return result;
  SoundOutput& opened = *output;
  auto target = std::make_unique<WaveFileTarget>(std::move(output), path_gbk, part_path);
  result = opened.Open(AsWide(Utf16FromGbk(part_path).c_str()), &format);
  if (SUCCEEDED(result)) *out = std::move(target);
  return result;
} catch (const std::bad_alloc&) {
  return E_OUTOFMEMORY;
}

HRESULT CreateWaveStreamTarget(Console& console, const WAVEFORMATEX& format,
                               std::unique_ptr<WaveTarget>* out) try {
  auto target = std::make_unique<WaveStreamTarget>(console);
  const HRESULT result = target->WriteHeader(format);
  if (SUCCEEDED(result)) *out = std::move(target);
  return result;
} catch (const std::bad_alloc&) {
  return E_OUTOFMEMORY;
}

}  // namespace melorin
