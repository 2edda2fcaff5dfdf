// SPDX-License-Identifier: MIT
//
// Reading the tags of 2,000 files, beside TagLib and beside nothing but opening, reading both edges and
// closing. The files are made by the benchmark: an ID3v2.3 tag with six texts and padding, in every fourth
// file a picture of 60 KB as well, 100 KB of audio frames, in every third file an APE tag, and an ID3v1 tag.
#include <benchmark/benchmark.h>
#include <fileref.h>
#include <tag.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/file.h"
#include "tags/tag_scan.h"
#include "tests/tags_build.h"

namespace {

using namespace melorin;
using namespace tag_build;

constexpr int kFiles = 2000;

std::string AudioFrames() {
  // MPEG-1 layer 3, 128 kbit/s, 44.1 kHz: 417 bytes a frame.
  const std::string frame = "\xFF\xFB\x90\x00"s + std::string(413, '\0');
  std::string audio;
  while (audio.size() < 100000)
    audio += frame;
  return audio;
}

std::string TaggedFile(int i) {
  const std::string number = std::to_string(i);
  std::string frames = Frame(3, "TIT2", "\1\xFF\xFE\x60\x4F\x7D\x59"s) +
                       Frame(3, "TPE1", "\0Artist "s + number) +
                       Frame(3, "TALB", "\0\xC4\xE3\xBA\xC3 "s + number) + Frame(3, "TRCK", "\0"s + number) +
                       Frame(3, "TYER", "\0002001"s) + Frame(3, "TCON", "\0(17)"s);
  if (i % 4 == 0) frames += Frame(3, "APIC", "\0image/jpeg\0\3\0"s + std::string(60000, '\x11'));
  frames += std::string(1000, '\0');
  std::string tail;
  if (i % 3 == 0) tail = Ape({ApeItem("Title", "Title"), ApeItem("REPLAYGAIN_TRACK_GAIN", "-6.20 dB")});
  return Id3v2(3, frames) + AudioFrames() + tail +
         Id3v1{"Title", "Artist " + number, "Album", "2001"}.Build();
}

/// The files, made once and deleted at the end.
class Files {
 public:
  Files() {
    const std::string folder = TempDirectory() + "melorin_tags_bench";
    MakeDirectory(folder);
    for (int i = 0; i < kFiles; ++i) {
      paths_.push_back(JoinPath(folder, std::to_string(i) + ".mp3"));
      const std::string bytes = TaggedFile(i);
      File file;
      if (file.Open(paths_.back(), File::Access::kReadWrite, File::Share::kRead, File::Create::kAlways))
        file.Write(Bytes(bytes));
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

class FileByteSource final : public ByteSource {
 public:
  explicit FileByteSource(File& file) : file_(file) {}
  int64_t Size() override { return file_.Size(); }
  size_t ReadAt(int64_t offset, std::span<uint8_t> data) override {
    const int64_t got = file_.ReadAt(offset, data);
    return got > 0 ? static_cast<size_t>(got) : 0;
  }

 private:
  File& file_;
};

/// Runs `body` over all files; it returns false when it did not find what is there.
template <class Body>
void OverFiles(benchmark::State& state, Body body) {
  const std::vector<std::string>& paths = Paths();
  for (auto _ : state) {
    for (const std::string& path : paths) {
      if (!body(path)) {
        state.SkipWithError("a file was not read as it was written");
        return;
      }
    }
  }
  const auto files = static_cast<double>(state.iterations()) * kFiles;
  state.counters["per_file"] =
      benchmark::Counter(files, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

bool OpenForReading(File& file, const std::string& path) {
  return file.Open(path, File::Access::kRead, File::Share::kRead, File::Create::kMustExist);
}

void BareCalls(benchmark::State& state) {
  OverFiles(state, [](const std::string& path) {
    File file;
    std::array<uint8_t, 4096> edge;
    if (!OpenForReading(file, path)) return false;
    const int64_t size = file.Size();
    return file.ReadAt(0, edge) == 4096 && file.ReadAt(size - 4096, edge) == 4096;
  });
}

void MelorinTags(benchmark::State& state) {
  OverFiles(state, [](const std::string& path) {
    File file;
    if (!OpenForReading(file, path)) return false;
    FileByteSource source(file);
    TagFields fields;
    const TagScan scan = ReadTags(source, 0, fields);
    return (scan.flags & kTagId3v1) != 0 && *fields.Find("Genre") == "Rock";
  });
}

void TagLibTags(benchmark::State& state) {
  OverFiles(state, [](const std::string& path) {
    const TagLib::FileRef file(path.c_str(), false);
    return !file.isNull() && file.tag()->genre() == "Rock" && !file.tag()->title().isEmpty() &&
           !file.tag()->artist().isEmpty();
  });
}

BENCHMARK(BareCalls)->Unit(benchmark::kMillisecond);
BENCHMARK(MelorinTags)->Unit(benchmark::kMillisecond);
BENCHMARK(TagLibTags)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
