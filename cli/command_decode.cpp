// SPDX-License-Identifier: MIT
//
// melorin-cli decode: a track through the player's own chain and conversion, into a Wave file.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "cli/commands.h"
#include "cli/decode_options.h"
#include "cli/decode_range.h"
#include "cli/interrupt.h"
#include "cli/result_text.h"
#include "cli/wave_target.h"
#include "platform/clock.h"
#include "platform/com_ptr.h"
#include "platform/file.h"
#include "platform/text.h"
#include "playback/device_format.h"
#include "playback/dither_shaper.h"
#include "playback/effects/tagged_gain.h"
#include "playback/sample_convert.h"
#include "playback/source_chain.h"
#include "sound/exports.h"

namespace melorin {
namespace {

constexpr uint32_t kProgressEveryMs = 200;

/// The gain as it is applied, which the peak may hold back.
std::string GainFact(const TrackGain& gain, const char* origin) {
  char text[64];
  std::snprintf(text, sizeof(text), ", gain %+.2f dB %s", 20 * std::log10(GainFactor(gain)), origin);
  return text;
}

/// One run of the command: the opened track, where it goes, and how far it is.
class DecodeJob {
 public:
  DecodeJob(const CommandContext& context, const DecodeOptions& options, std::string in_name,
            std::string out_name)
      : context_(context), options_(options), in_name_(std::move(in_name)), out_name_(std::move(out_name)) {}

  int Run(const SoundLibrary& library, const std::string& in_path,
          const std::optional<std::string>& out_path);

 private:
  int CheckTarget(const std::string& out_path) const;
  int OpenChain(const SoundLibrary& library, const std::string& in_path);
  int OpenSource(const SoundLibrary& library, const std::string& in_path,
                 std::unique_ptr<SourceChain>* out) const;
  int MeasureGain(std::unique_ptr<SourceChain> decoded, std::optional<TrackGain>* gain);
  int OpenTarget(const SoundLibrary& library, const std::optional<std::string>& out_path);
  uint64_t SkipBySeeking(uint64_t first_frame);
  int Pump();
  int WriteBlock(SoundBuffer& block, RangeCutter& cutter);
  int WriteFailed(HRESULT result) const;
  void ShowProgress(const char* what, const PlaybackChain& chain, uint64_t frames);
  void Report() const;

  const CommandContext& context_;
  const DecodeOptions& options_;
  std::string in_name_;
  std::string out_name_;
  std::unique_ptr<EffectsChain> chain_;
  WAVEFORMATEX format_ = {};
  std::unique_ptr<DitherShaper> dither_;
  std::unique_ptr<WaveTarget> target_;
  InterruptWatch interrupt_;
  std::string gain_fact_;  ///< For the report.
  uint64_t frames_written_ = 0;
  uint32_t started_ms_ = 0;
  uint32_t shown_ms_ = 0;
};

int DecodeJob::Run(const SoundLibrary& library, const std::string& in_path,
                   const std::optional<std::string>& out_path) {
  started_ms_ = shown_ms_ = SystemClock().TickMs();
  if (const int failed = out_path ? CheckTarget(*out_path) : kExitDone) return failed;
  if (const int failed = OpenChain(library, in_path)) return failed;
  format_ = MakePcmFormat(chain_->Channels(), chain_->SampleRate(),
                          ChooseOutputBits(options_.bits, chain_->SourceBits()));
  if (options_.dither != 0) {
    DitherParameters parameters;
    parameters.channels = format_.nChannels;
    parameters.sample_rate = format_.nSamplesPerSec;
    parameters.bits = format_.wBitsPerSample;
    parameters.type = static_cast<int32_t>(options_.dither) - 1;
    dither_ = DitherShaper::Create(parameters);
    if (!dither_) return context_.Fail(ResultText(E_OUTOFMEMORY));
  }
  if (const int failed = OpenTarget(library, out_path)) return failed;
  if (const int failed = Pump()) return failed;
  // The input may be the very file that is replaced now.
  chain_.reset();
  if (const HRESULT result = target_->Finish(); FAILED(result)) return WriteFailed(result);
  Report();
  return kExitDone;
}

int DecodeJob::OpenChain(const SoundLibrary& library, const std::string& in_path) {
  std::unique_ptr<SourceChain> decoded;
  if (const int failed = OpenSource(library, in_path, &decoded)) return failed;
  ChainOptions chain = options_.chain;
  if (options_.auto_gain) {
    chain.effects.gain = ReadTrackGain(*decoded->Source());
    const char* origin = "of the tags";
    if (!chain.effects.gain) {
      if (const int failed = MeasureGain(std::move(decoded), &chain.effects.gain)) return failed;
      origin = "measured";
      // Opened again: not every source can be brought back to its start.
      if (const int failed = OpenSource(library, in_path, &decoded)) return failed;
    }
    gain_fact_ = chain.effects.gain ? GainFact(*chain.effects.gain, origin) : ", too quiet for a gain";
  }
  const HRESULT result = EffectsChain::Create(std::move(decoded), chain, &chain_);
  if (FAILED(result)) return context_.Fail(ResultText(result));
  if (options_.chain.resample_rate != 0 && chain_->SampleRate() != options_.chain.resample_rate)
    return context_.Fail(in_name_, "cannot be resampled to that rate");
  return kExitDone;
}

int DecodeJob::OpenSource(const SoundLibrary& library, const std::string& in_path,
                          std::unique_ptr<SourceChain>* out) const {
  const HRESULT result =
      SourceChain::Open(library, AsWide(Utf16FromGbk(in_path).c_str()), options_.open_flags, out);
  return FAILED(result) ? context_.Fail(in_name_, OpenFailureText(library, in_path, result)) : kExitDone;
}

/// Plays the track unheard, to its end.
int DecodeJob::MeasureGain(std::unique_ptr<SourceChain> decoded, std::optional<TrackGain>* gain) {
  std::unique_ptr<EffectsChain> chain;
  ComPtr<SoundBuffer> block;
  HRESULT result = EffectsChain::Create(std::move(decoded), {.scan_gain = true}, &chain);
  if (SUCCEEDED(result)) result = CreateSoundBuffer(block.Receive(), chain->BlockBytes());
  if (FAILED(result)) return context_.Fail(ResultText(result));
  uint64_t frames = 0;
  result = chain->NotifyStart();
  while (result == S_OK && !interrupt_.Interrupted()) {
    result = chain->NextBlock(*block);
    frames += chain->BlockBytes() / sizeof(float) / chain->Channels();
    ShowProgress("measuring", *chain, frames);
  }
  chain->NotifyStop();
  if (interrupt_.Interrupted()) return context_.Fail(in_name_, "broken off");
  if (FAILED(result))
    return context_.Fail(in_name_, "its loudness cannot be measured: " + ResultText(result));
  *gain = chain->ScannedGain();
  return kExitDone;
}

/// Before the input is opened, since that may be the very file.
int DecodeJob::CheckTarget(const std::string& out_path) const {
  if (out_path.empty()) return context_.Fail("OUT.wav has no name");
  if (DirectoryExists(out_path)) return context_.Fail(out_name_, "is a folder");
  if (FileExists(out_path)) {
    // Swapping a device for a file would be a nasty surprise.
    if (!IsOrdinaryFile(out_path)) return context_.Fail(out_name_, "is something else than a file");
    if (!File().Open(out_path, File::Access::kReadWrite, File::Share::kReadWrite, File::Create::kMustExist))
      return context_.Fail(out_name_, "is in use, or may not be written");
  }
  const std::string folder(PathDirectory(out_path));
  if (!folder.empty() && !DirectoryExists(folder))
    return context_.Fail(out_name_, "its folder does not exist");
  return kExitDone;
}

int DecodeJob::OpenTarget(const SoundLibrary& library, const std::optional<std::string>& out_path) {
  // More than two channels need the layout that says which speaker each is for.
  const WAVEFORMATEXTENSIBLE extensible = MakeExtensible(format_);
  const WAVEFORMATEX& written = format_.nChannels > 2 ? extensible.Format : format_;
  if (!out_path) {
    const HRESULT result = CreateWaveStreamTarget(context_.console, written, &target_);
    return FAILED(result) ? WriteFailed(result) : kExitDone;
  }
  const HRESULT result = CreateWaveFileTarget(library, *out_path, written, &target_);
  return FAILED(result) ? context_.Fail(out_name_, "cannot be created: " + ResultText(result)) : kExitDone;
}

/// Samples that need no decoding are skipped by a seek to the whole second before the start, which is exact;
/// all else is decoded and dropped, since a seek in compressed audio is only near. Returns the frame arrived
/// at.
uint64_t DecodeJob::SkipBySeeking(uint64_t first_frame) {
  WAVEFORMATEX* source_format = nullptr;
  if (options_.ChangesSound()) return 0;
  if (options_.start_ms < 1000 || FAILED(chain_->Source()->GetFormat(&source_format))) return 0;
  const bool exact =
      source_format->wFormatTag == WAVE_FORMAT_PCM &&
      source_format->nAvgBytesPerSec == source_format->nSamplesPerSec * source_format->nBlockAlign;
  CoTaskMemFree(source_format);
  const uint64_t frame = first_frame - first_frame % chain_->SampleRate();
  const uint32_t whole_seconds_ms = options_.start_ms / 1000 * 1000;
  return exact && SUCCEEDED(chain_->Seek(whole_seconds_ms)) ? frame : 0;
}

int DecodeJob::Pump() {
  const FrameRange range = RangeOfTimes(options_.start_ms, options_.length_ms, chain_->SampleRate());
  ComPtr<SoundBuffer> block;
  if (FAILED(CreateSoundBuffer(block.Receive(), chain_->BlockBytes())))
    return context_.Fail(ResultText(E_OUTOFMEMORY));
  RangeCutter cutter(range, SkipBySeeking(range.first));
  HRESULT result = chain_->NotifyStart();
  while (SUCCEEDED(result) && !cutter.Done() && !interrupt_.Interrupted()) {
    result = chain_->NextBlock(*block);
    if (result != S_OK) break;
    if (const int failed = WriteBlock(*block, cutter)) return failed;
    ShowProgress("decoding", *chain_, frames_written_);
  }
  chain_->NotifyStop();
  if (interrupt_.Interrupted()) return context_.Fail(in_name_, "broken off");
  if (FAILED(result)) {
    const uint64_t at_ms = options_.start_ms + frames_written_ * 1000 / chain_->SampleRate();
    return context_.Fail(in_name_, "broken off at " + std::to_string(at_ms) + " ms: " + ResultText(result));
  }
  if (frames_written_ == 0 && options_.start_ms != 0 && !cutter.Done())
    return context_.Fail(in_name_,
                         "--start " + std::to_string(options_.start_ms) + " lies at or past the end");
  return kExitDone;
}

int DecodeJob::WriteBlock(SoundBuffer& block, RangeCutter& cutter) {
  uint8_t* data = nullptr;
  uint32_t bytes = 0;
  block.GetData(&data, &bytes);
  const size_t channels = format_.nChannels;
  const RangeCutter::Part part = cutter.Next(bytes / (sizeof(float) * channels));
  if (part.frames == 0) return kExitDone;
  uint8_t* const samples = data + part.skip_frames * channels * sizeof(float);
  const auto float_bytes = static_cast<uint32_t>(part.frames * channels * sizeof(float));
  const uint32_t converted = dither_ ? dither_->Convert(samples, float_bytes)
                                     : ConvertSamples(samples, float_bytes, format_.wBitsPerSample);
  if (const HRESULT result = target_->Write({samples, converted}); FAILED(result)) return WriteFailed(result);
  frames_written_ += part.frames;
  return kExitDone;
}

int DecodeJob::WriteFailed(HRESULT result) const {
  const std::string reason = result == E_FAIL        ? "is the disk full?"
                             : result == kTargetKept ? "it is in use, or its folder may not be written"
                                                     : ResultText(result);
  return context_.Fail(out_name_, "cannot be written: " + reason);
}

void DecodeJob::ShowProgress(const char* what, const PlaybackChain& chain, uint64_t frames) {
  const uint32_t now_ms = SystemClock().TickMs();
  if (now_ms - shown_ms_ < kProgressEveryMs) return;
  shown_ms_ = now_ms;
  const uint32_t duration_ms = chain.DurationMs();
  const bool known = duration_ms != 0 && duration_ms != UINT32_MAX;
  context_.console.Progress(in_name_ + ": " + what + " " + std::to_string(frames / chain.SampleRate()) +
                            (known ? " of " + std::to_string(duration_ms / 1000) : "") + " s");
}

void DecodeJob::Report() const {
  const uint32_t spent_ms = std::max(SystemClock().TickMs() - started_ms_, uint32_t{1});
  char facts[160];
  std::snprintf(facts, sizeof(facts), "%llu frames, %u Hz, %u channels, %u bits, %.3f s in %.3f s",
                static_cast<unsigned long long>(frames_written_),
                static_cast<unsigned>(format_.nSamplesPerSec), static_cast<unsigned>(format_.nChannels),
                static_cast<unsigned>(format_.wBitsPerSample),
                static_cast<double>(frames_written_) / format_.nSamplesPerSec, spent_ms / 1000.0);
  context_.console.Message(PrintableLine(out_name_) + ": " + facts + gain_fact_);
}

int RunDecode(const CommandContext& context, const Arguments& arguments) {
  DecodeOptions options;
  std::string error;
  if (!ReadDecodeOptions(arguments, &options, &error)) return context.FailUsage(error);
  const std::string& in_name = arguments.operands[0];
  const std::string& out_name = arguments.operands[1];
  const auto in_path = PathFromArgument(in_name, &error);
  if (!in_path) return context.Fail(error);
  std::optional<std::string> out_path;
  if (out_name != "-") {
    out_path = PathFromArgument(out_name, &error);
    if (!out_path) return context.Fail(error);
  }
  SoundLibrary library;
  if (!context.StartSoundLibrary(library)) return kExitFailed;
  const int exit_code = DecodeJob(context, options, in_name, out_path ? out_name : "standard output")
                            .Run(library, *in_path, out_path);
  library.Shutdown();
  return exit_code;
}

}  // namespace

constexpr Command kDecodeCommand = {
    "decode",
    "FILE OUT.wav [--track N] [--bits N] [--dither N] [--start MS] [--length MS]\n"
    "        [--rate HZ [--hq]] [--gain auto|DB] [--eq P:B0,...,B9] [--surround[=LEVEL]]",
    "Decodes a sound file to a Wave file, through the same chain and conversion as playing",
    "\n--track   the track of a CUE sheet by its number; without it the first one\n"
    "--bits    8, 16, 24 or 32; without it the file's own width, 16 for compressed ones\n"
    "--dither  0 off (the default), 1 triangular, 2 with first-order error feedback, 3 noise shaping for the "
    "rate,\n"
    "          4 the alternative shapers at 44100 and 48000 Hz\n"
    "--start, --length   milliseconds, rounded down to frames; exact for every format\n"
    "--rate    resamples to that rate; --hq does it in high quality\n"
    "--gain    decibels, or \"auto\": the gain of the tags, measured in a first pass where they have none\n"
    "--eq      the equalizer's preamplifier and ten bands from the lowest up, -12 to 12 dB each\n"
    "--surround   widens the stage; LEVEL is 0 to 100, 50 without it\n\n"
    "OUT.wav is written beside its place and swapped in when it is whole; it may be FILE itself. A decode "
    "that\n"
    "fails, or is broken off by Ctrl+C, leaves what was there. OUT \"-\" is standard output, with 0xFFFFFFFF "
    "for\n"
    "the sizes that are not known yet. Progress goes to standard error.\n",
    2,
    2,
    kDecodeOptions,
    RunDecode};

}  // namespace melorin
