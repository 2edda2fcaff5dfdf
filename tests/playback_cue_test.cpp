// SPDX-License-Identifier: MIT
//
// Tracks of a sheet through the playback chain: one after the other they are the whole file.
#include <gtest/gtest.h>

#include <cstring>

#include "playback/source_chain.h"
#include "tests/cue_test_files.h"

namespace melorin {
namespace {

/// What the chain delivers until its end, after a seek when `from_ms` is given.
std::vector<float> Play(const SoundLibrary& library, const std::string& path, uint32_t flags,
                        std::optional<uint32_t> from_ms = std::nullopt) {
  std::vector<float> played;
  std::unique_ptr<SourceChain> chain;
  if (FAILED(SourceChain::Open(library, AsWide(Utf16FromGbk(path).c_str()), flags, &chain))) return played;
  const auto block = test::BufferOf(chain->BlockBytes());
  EXPECT_EQ(chain->NotifyStart(), S_OK);
  if (from_ms) {
    // Something is in the chain before it is sought.
    EXPECT_EQ(chain->NextBlock(*block), S_OK);
    EXPECT_EQ(chain->Seek(*from_ms), S_OK);
  }
  while (chain->NextBlock(*block) == S_OK) {
    uint8_t* data = nullptr;
    uint32_t bytes = 0;
    block->GetData(&data, &bytes);
    const size_t at = played.size();
    played.resize(at + bytes / sizeof(float));
    std::memcpy(played.data() + at, data, bytes);
  }
  return played;
}

TEST(CuePlayback, TracksInARowAreTheWholeFile) {
  const test::ScratchFolder folder("cue_playback");
  SoundLibrary library;
  ASSERT_EQ(library.Start(""), S_OK);
  std::vector<std::string> files = {"noise.wav"};
  folder.Write("noise.wav", test::NoiseWave(48000, 2, 48000 * 4 + 5));
  const auto corpus = test::CorpusFolder();
  for (const char* name : {"tag__sample.id3v11.mp3", "deadbeef__cbr_rhytm_30sec.mp3"}) {
    if (corpus.empty()) break;
    folder.Write(name, test::FileBytes(corpus / "mp3" / name));
    files.emplace_back(name);
  }
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    folder.Write("s.cue", test::SheetOf(file, {0, 101, 167}));
    const auto whole = Play(library, folder.Path(file), 0);
    std::vector<float> joined;
    for (const uint32_t number : {1u, 2u, 3u}) {
      const auto track = Play(library, folder.Path("s.cue"), SubtrackFlags(number));
      const auto part = Play(library, folder.Path("s.cue"), SubtrackFlags(number), 333);
      ASSERT_LT(part.size(), track.size());
      EXPECT_TRUE(std::equal(part.rbegin(), part.rend(), track.rbegin()))
          << "from the midst of track " << number;
      joined.insert(joined.end(), track.begin(), track.end());
    }
    EXPECT_EQ(joined.size(), whole.size());
    EXPECT_TRUE(joined == whole);
  }
}

}  // namespace
}  // namespace melorin
