// SPDX-License-Identifier: MIT
//
// Real files: duration, rate and channels as other tools see them, or as the reader's rules have it; and
// broken files of all kinds, cut everywhere, which must end in an answer.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <string_view>

#include "tests/sound_test_files.h"

namespace melorin {
namespace {

using test::Bytes;

/// Fields of one line of comma-separated values, with quotes.
std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (const char c : line) {
    if (c == '"')
      quoted = !quoted;
    else if (c == ',' && !quoted)
      fields.emplace_back();
    else
      fields.back() += c;
  }
  return fields;
}

/// A file for which the reader's answer is not that of the tools. 0: refused.
struct Exception {
  const char* file;
  uint32_t ms;
  const char* reason;
};
constexpr char kMonoXing[] = "the Xing header is looked for where stereo files have it";
constexpr char kInfo[] = "a header called Info is an ordinary frame";
constexpr char kMode[] = "a change of the channel mode moves the start";
constexpr char kFree[] = "free format";
constexpr char kNoRate[] = "no byte rate: the duration is unknown";
constexpr Exception kExceptions[] = {
    {"deadbeef__tone1sec_id3v1.mp3", 367, kMonoXing},
    {"deadbeef__vbr_rhytm_30sec_lamehdr.mp3", 9560, kMonoXing},
    {"fuzzcorp__vbr-head.mp3", 279, kMonoXing},
    {"mutagen__audacious-trailing-id32-apev2.mp3", 319, kMonoXing},
    {"taglib__mpeg2.mp3", 2048, kMonoXing},
    {"tinytag__synced_lyrics_milliseconds.mp3", 58, kMonoXing},
    {"tinytag__vbr44.mp3", 2288, kMonoXing},
    {"tinytag__vbr8.mp3", 2376, kMonoXing},
    {"taglib__lame_cbr.mp3", 486, kInfo},
    {"taglib__toc_many_children.mp3", 78, kInfo},
    {"tinytag__chinese_id3.mp3", 30, kInfo},
    {"tinytag__mpeg1_32khz_cbr.mp3", 180, kInfo},
    {"fuzzcorp__test27.mp2", 528, kMode},
    {"lofty-rs__full_test.mp1", 384, kMode},
    {"minimp3__l2-fl10.mp2", 1152, kMode},
    {"minimp3__l3-he_mode.mp3", 3056, kMode},
    {"minimp3__l2-nonstandard-fl1_fl2_ff.mp2", 0, kFree},
    {"minimp3__l3-he_free.mp3", 0, kFree},
    {"lofty-rs__junk.mp3", 0, "no two frames in a row"},
    {"taglib__compressed_id3_frame.mp3", 0, "a tag without sound"},
    {"hound__nonstandard-01.wav", 0, "chunks before the format"},
    {"scipy__test-8000Hz-be-3ch-5S-24bit.wav", 0, "RIFX"},
    {"mediafile__mpeglayer3.wav", 0xFFFFFFFF, kNoRate},
    {"tinytag__adpcm_no_byterate.wav", 0xFFFFFFFF, kNoRate},
    {"tinytag__mp3_audio.wav", 0xFFFFFFFF, kNoRate},
};

TEST(SoundCorpus, FilesAnswerAsOtherToolsOrAsTheRulesHaveIt) {
  const auto corpus = test::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus";
  std::map<std::string_view, const Exception*> exceptions;
  for (const Exception& e : kExceptions)
    exceptions[e.file] = &e;
  std::ifstream list(corpus / "expected.csv");
  std::string line;
  std::getline(list, line);
  const auto columns = Fields(line);
  const auto column = [&](const char* name) {
    return static_cast<size_t>(std::find(columns.begin(), columns.end(), name) - columns.begin());
  };
  int seen = 0;
  while (std::getline(list, line)) {
    const auto fields = Fields(line);
    const std::string& kind = fields[column("kind")];
    const std::string& file = fields[column("file")];
    if (kind != "mp3" && kind != "wav") continue;
    SCOPED_TRACE(file);
    ++seen;
    const auto reader = kind == "mp3" ? CreateMpegReader(false) : CreateWaveReader();
    const auto source = test::OpenWith(reader, test::FileBytes(corpus / kind / file));
    const auto exception = exceptions.find(file);
    if (exception != exceptions.end() && exception->second->ms == 0) {
      EXPECT_FALSE(source);
      continue;
    }
    if (!source) {
      ADD_FAILURE() << "refused";
      continue;
    }
    const uint32_t ms = test::DurationOf(*source);
    if (exception != exceptions.end()) {
      EXPECT_EQ(ms, exception->second->ms) << exception->second->reason;
    } else {
      // Delay and padding are sound to us, as to two of the tools: one MPEG frame and a tenth are allowed.
      bool agrees = false;
      std::string said;
      for (const char* tool : {"ms_ffprobe", "ms_mutagen", "ms_mediainfo"}) {
        const std::string& text = fields[column(tool)];
        said += text + " ";
        if (!text.empty()) agrees |= std::abs(std::stod(text) - ms) <= 30;
      }
      EXPECT_TRUE(agrees) << "{\"" << file << "\", " << ms << ", \"" << said << "\"},";
    }
    const WAVEFORMATEX format = test::FormatOf(*source);
    const auto agree = [&](uint32_t value, const char* one, const char* other) {
      const std::string text = std::to_string(value);
      return fields[column(one)] == text || fields[column(other)] == text;
    };
    EXPECT_TRUE(agree(format.nSamplesPerSec, "rate_ffprobe", "rate_mutagen")) << format.nSamplesPerSec;
    // Mono first and two channels later: the later ones count.
    if (file != "minimp3__l3-he_mode.mp3") {
      EXPECT_TRUE(agree(format.nChannels, "ch_ffprobe", "ch_mutagen")) << format.nChannels;
    }
  }
  EXPECT_GT(seen, 100);
}

/// Opens, reads, seeks; true when it opened.
bool Exercise(const ComPtr<SoundReader>& reader, const Bytes& bytes, uint32_t flags) {
  const auto source = test::OpenWith(reader, bytes, flags);
  if (!source) return false;
  const uint32_t duration = test::DurationOf(*source);
  const auto packet = test::BufferOf(1000);
  for (const uint32_t ms : {0u, duration / 3, duration - 1, duration, 0xFFFFFFFFu}) {
    source->Seek(ms);
    source->Read(packet.get());
  }
  WideChar* name = nullptr;
  source->GetCodecName(&name);
  CoTaskMemFree(name);
  return true;
}

TEST(SoundCorpus, BrokenAndCutFilesEndInAnAnswer) {
  const auto corpus = test::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << "no corpus";
  const auto mpeg = CreateMpegReader(false);
  const auto wave = CreateWaveReader();
  int tried = 0;
  for (const char* folder : {"malformed", "mp3", "wav", "aiff_au"}) {
    for (const auto& entry : std::filesystem::directory_iterator(corpus / folder)) {
      if (!entry.is_regular_file()) continue;
      const Bytes whole = test::FileBytes(entry.path());
      Exercise(mpeg, whole, 1);
      Exercise(wave, whole, 0);
      // Cut at every 97th byte; a long file's sound is alike all over, so from 40 kB on in larger steps.
      for (size_t length = 0; length < whole.size(); length += length < 40000 ? 97 : 9700) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length));
        Exercise(mpeg, cut, 0);
        if (whole.size() > 4 && whole[0] == 'R') Exercise(wave, cut, 0);
        ++tried;
      }
    }
  }
  EXPECT_GT(tried, 1000);
}

}  // namespace
}  // namespace melorin
