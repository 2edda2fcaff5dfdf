// SPDX-License-Identifier: MIT
//
// Opening 2,000 MP3 files for duration and tags, as adding a folder to a list does: our reader, TagLib, and
// nothing but opening, reading and closing. The files are made by the benchmark: a third each constant bit
// rate, Xing header, VBRI header; an ID3v2 tag in all, with a picture of 60 KB in every fourth, APE in every
// third, ID3v1 in every second. One iteration is all files; the counter is microseconds a file.
#include <benchmark/benchmark.h>
#include <fileref.h>
#include <tag.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "sound/builtin_entries.h"
#include "sound/exports.h"
#include "tags/tag_set.h"
#include "tests/mpeg_builder.h"
#include "tests/tags_build.h"

namespace {

using namespace melorin;
using namespace tag_build;

constexpr int kFiles = 2000;
constexpr int kFrames = 200;

std::string AudioFrames(int i) {
  const test::FrameSpec spec{};
  const test::FrameSpec faster{.bitrate_index = 11};
  std::vector<uint8_t> audio;
  if (i % 3 == 1) test::Append(audio, test::XingFrame(spec, 36, 7, kFrames, 0));
  if (i % 3 == 2) test::Append(audio, test::VbriFrame(spec, kFrames, 1, 2, 50, {20000, 20000, 20000, 20000}));
  test::Append(audio, test::Frames(spec, kFrames / 2));
  test::Append(audio, test::Frames(i % 3 ? faster : spec, kFrames / 2));
  return std::string(audio.begin(), audio.end());
}

std::string FileOf(int i) {
  const std::string number = std::to_string(i);
  std::string frames = Frame(3, "TIT2", "\0Title "s + number) + Frame(3, "TPE1", "\0Artist "s + number) +
                       Frame(3, "TALB", "\0Album "s + number) + Frame(3, "TRCK", "\0"s + number);
  if (i % 4 == 0) frames += Frame(3, "APIC", "\0image/jpeg\0\3\0"s + std::string(60000, '\x11'));
  frames += std::string(1000, '\0');
  std::string tail;
  if (i % 3 == 0) tail += Ape({ApeItem("Title", "Title"), ApeItem("REPLAYGAIN_TRACK_GAIN", "-6.20 dB")});
  if (i % 2 == 0) tail += Id3v1{"Title", "Artist " + number, "Album", "2001"}.Build();
  return Id3v2(3, frames) + AudioFrames(i) + tail;
}

/// The files, made once and deleted at the end.
class Files {
 public:
  Files() {
    const std::string folder = TempDirectory() + "melorin_open_bench";
    MakeDirectory(folder);
    for (int i = 0; i < kFiles; ++i) {
      paths_.push_back(JoinPath(folder, std::to_string(i) + ".mp3"));
      File file;
      if (file.Open(paths_.back(), File::Access::kReadWrite, File::Share::kRead, File::Create::kAlways))
        file.Write(Bytes(FileOf(i)));
    }
  }
  ~Files() {
    for (const std::string& path : paths_)
      DeleteFileAt(path);
  }
  const std::vector<std::string>& Paths() const { return paths_; }

 private:
  std::vector<std::string> paths_;
};

const std::vector<std::string>& Paths() {
  static const Files files;
  return files.Paths();
}

void Report(benchmark::State& state) {
  using benchmark::Counter;
  state.counters["s_per_file"] = Counter(kFiles, Counter::kIsIterationInvariantRate | Counter::kInvert);
}

void Ours(benchmark::State& state) {
  const auto& paths = Paths();
  const auto reader = CreateMpegReader(false);
  for (auto _ : state) {
    for (const std::string& path : paths) {
      const std::u16string wide = Utf16FromGbk(path);
      ComPtr<IStream> stream;
      ComPtr<SoundSource> source;
      if (FAILED(CreateStreamOnFile(AsWide(wide.c_str()), STGM_SHARE_DENY_NONE, stream.Receive())) ||
          FAILED(reader->CreateSource(source.Receive())) || FAILED(source->Open(stream.get(), 0))) {
        state.SkipWithError("a file was refused");
        return;
      }
      uint32_t duration = 0;
      source->GetDuration(&duration);
      ComPtr<TagSet> tags;
      source->QueryInterface(kIidTagSet, tags.ReceiveVoid());
      WideChar* title = nullptr;
      tags->GetValue(AsWide(u"Title"), &title);
      benchmark::DoNotOptimize(duration);
      benchmark::DoNotOptimize(title);
      CoTaskMemFree(title);
    }
  }
  Report(state);
}
BENCHMARK(Ours)->Unit(benchmark::kMillisecond);

void TagLibFileRef(benchmark::State& state) {
  const auto& paths = Paths();
  for (auto _ : state) {
    for (const std::string& path : paths) {
      const TagLib::FileRef file(path.c_str(), true, TagLib::AudioProperties::Average);
      benchmark::DoNotOptimize(file.audioProperties()->lengthInMilliseconds());
      const TagLib::String title = file.tag()->title();
      benchmark::DoNotOptimize(title.size());
    }
  }
  Report(state);
}
BENCHMARK(TagLibFileRef)->Unit(benchmark::kMillisecond);

/// `both_ends`: the file's end as well, and its size to find it.
void Bare(benchmark::State& state, bool both_ends) {
  const auto& paths = Paths();
  std::vector<uint8_t> window(64 * 1024);
  for (auto _ : state) {
    for (const std::string& path : paths) {
      File file;
      file.Open(path, File::Access::kRead, File::Share::kReadWrite, File::Create::kMustExist);
      benchmark::DoNotOptimize(file.ReadAt(0, std::span(window).first(32 * 1024)));
      if (both_ends) benchmark::DoNotOptimize(file.ReadAt(file.Size() - 4096, std::span(window).first(4096)));
    }
  }
  Report(state);
}
BENCHMARK_CAPTURE(Bare, open_read_close, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Bare, both_ends, true)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
