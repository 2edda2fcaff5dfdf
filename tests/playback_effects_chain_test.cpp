// SPDX-License-Identifier: MIT
//
// The whole effects chain: what it leaves alone, what it counts, where it puts things in time.
#include <thread>

#include "playback/effects/resampler.h"
#include "playback_effects_fakes.h"

namespace melorin {
namespace {

using namespace effects_test;

EffectSettings EverythingOn() {
  EffectSettings on;
  on.equalizer.values = {6, -5, 4, -3, 2, -1, 2, -3, 4, -5, 6};
  on.surround = 70;
  on.balance = -30;
  on.volume = 80;
  on.gain = TrackGain{-3.0, std::nullopt};
  on.extra_gain_db = 12;
  return on;
}

/// Differs from frame to frame, and goes far beyond full scale.
float Wild(uint64_t frame, uint16_t channel) {
  return static_cast<float>((frame * 7919 + channel * 104729u) % 20011) / 4000.0f - 2.5f;
}

TEST(EffectsChain, WithNothingOnSamplesPassBitForBit) {
  // Track lengths around a block, the look-ahead (440 frames) and the sum of both.
  for (const uint64_t frames : {0u, 1u, 439u, 440u, 441u, 1095u, 1096u, 1097u, 1535u, 1536u, 1537u, 5000u}) {
    SCOPED_TRACE(frames);
    const Signal signal{.frames = frames, .sample = Wild};
    const auto chain = MakeChain(signal, {.resample_rate = signal.rate});
    SignalChain source(signal);
    HRESULT end = E_FAIL;
    EXPECT_EQ(Drain(*chain, &end), Drain(source));
    EXPECT_EQ(end, S_FALSE);
    EXPECT_FALSE(chain->IsResampling());
    EXPECT_EQ(chain->BlockBytes(), source.BlockBytes());
    EXPECT_EQ(chain->SourceBits(), 24);
    EXPECT_EQ(chain->DurationMs(), source.DurationMs());
  }
}

TEST(EffectsChain, EffectsNeitherShiftNorLengthenTheSound) {
  const Signal signal{.frames = 20000,
                      .sample = [](uint64_t frame, uint16_t) { return frame % 1000 == 500 ? 0.9f : 0.0f; }};
  const auto chain = MakeChain(signal);
  const ComPtr<SoundBuffer> block = MakeBlock(*chain);
  std::vector<float> out;
  for (int i = 0; i < 6; ++i)
    ASSERT_EQ(Pull(*chain, *block, out), S_OK);
  chain->Set({.extra_gain_db = 12});  // The limiter takes it down again.
  while (Pull(*chain, *block, out) == S_OK) {
  }
  ASSERT_EQ(out.size(), 2u * 20000);
  for (size_t frame = 0; frame < 20000; ++frame)
    ASSERT_EQ(out[frame * 2] > 0.0f, frame % 1000 == 500) << frame;
  EXPECT_EQ(out[500 * 2], 0.9f);
  EXPECT_NEAR(out[19500 * 2], 1.0f, 1e-6);
}

TEST(EffectsChain, AfterEverythingWasOnItComesBackToTheExactSamples) {
  constexpr uint64_t kFrames = 44100 * 5;
  const Signal signal{.frames = kFrames, .sample = Wild};
  const auto chain = MakeChain(signal, {.effects = EverythingOn()});
  const ComPtr<SoundBuffer> block = MakeBlock(*chain);
  std::vector<float> out;
  for (int i = 0; i < 20; ++i)
    ASSERT_EQ(Pull(*chain, *block, out), S_OK);
  EXPECT_LE(*std::max_element(out.begin(), out.end()), 1.0f);
  chain->Set({});
  while (Pull(*chain, *block, out) == S_OK) {
  }
  ASSERT_EQ(out.size(), kFrames * 2);
  // The release of the limiter takes up to 2.1 s.
  for (size_t frame = 3 * 44100; frame < kFrames; ++frame)
    ASSERT_EQ(out[frame * 2], Wild(frame, 0)) << frame;
}

TEST(EffectsChain, AFailureComesAfterWhatWasDecoded) {
  for (const bool resampling : {false, true}) {
    const Signal signal{.frames = 3000, .sample = Wild, .end = E_UNEXPECTED};
    const auto chain = MakeChain(
        signal, {.resample_rate = resampling ? 22050u : 0u, .scan_gain = true, .effects = EverythingOn()});
    HRESULT end = S_OK;
    const size_t samples = Drain(*chain, &end).size();
    EXPECT_NEAR(static_cast<double>(samples), resampling ? 3000.0 : 6000.0, resampling ? 2 : 0);
    EXPECT_EQ(end, E_UNEXPECTED);
    const ComPtr<SoundBuffer> block = MakeBlock(*chain);
    EXPECT_EQ(chain->NextBlock(*block), E_UNEXPECTED);
    EXPECT_FALSE(chain->ScannedGain()) << "a part of a track is not measured";
    EXPECT_EQ(chain->Seek(0), S_OK);
    EXPECT_EQ(Drain(*chain).size(), samples);
  }
}

TEST(EffectsChain, SeekIsExactAndForgetsWhatWasBefore) {
  const Signal signal{.frames = 44100, .sample = [](uint64_t frame, uint16_t channel) {
                        return frame < 22050 ? 0.9f : Wild(frame, channel) / 10;
                      }};
  for (const EffectSettings& effects : {EffectSettings{}, EverythingOn()}) {
    const auto chain = MakeChain(signal, {.effects = effects});
    ASSERT_EQ(chain->Seek(500), S_OK);
    const std::vector<float> fresh = Drain(*chain);
    ASSERT_EQ(fresh.size(), 2u * 22050);
    ASSERT_EQ(chain->Seek(0), S_OK);
    const ComPtr<SoundBuffer> block = MakeBlock(*chain);
    std::vector<float> before;
    for (int i = 0; i < 3; ++i)
      Pull(*chain, *block, before);
    ASSERT_EQ(chain->Seek(500), S_OK);
    EXPECT_EQ(Drain(*chain), fresh);
    EXPECT_EQ(chain->Seek(1000), E_INVALIDARG);
    EXPECT_EQ(chain->NextBlock(*block), S_FALSE);
  }
  // A source that cannot seek goes on, and so does what is held back.
  Signal fixed = signal;
  fixed.seekable = false;
  const auto chain = MakeChain(fixed);
  const ComPtr<SoundBuffer> block = MakeBlock(*chain);
  std::vector<float> out;
  Pull(*chain, *block, out);
  EXPECT_EQ(chain->Seek(0), E_NOTIMPL);
  while (Pull(*chain, *block, out) == S_OK) {
  }
  EXPECT_EQ(out.size(), 2u * 44100);
}

TEST(EffectsChain, WhatIsSetBeforeTheFirstBlockCountsFromItsFirstFrame) {
  const Signal signal{.frames = 5000,
                      .sample = [](uint64_t frame, uint16_t channel) { return Wild(frame, channel) / 4; }};
  std::vector<EffectSettings> settings(6, EffectSettings{});
  settings[0] = EverythingOn();
  settings[1].equalizer.values = {2, -12, 3, 4};
  settings[2].surround = 60;
  settings[3].volume = -1;
  settings[4].gain = TrackGain{-6, std::nullopt};
  for (const EffectSettings& effects : settings) {
    const std::vector<float> wanted = Drain(*MakeChain(signal, {.effects = effects}));
    const auto chain = MakeChain(signal, {.effects = {.extra_gain_db = -20}});
    chain->Set(effects);
    EXPECT_EQ(Drain(*chain), wanted);
    // Before a seek and after it, from whatever was on.
    chain->Seek(0);
    chain->Set(EverythingOn());
    const ComPtr<SoundBuffer> block = MakeBlock(*chain);
    ASSERT_EQ(chain->NextBlock(*block), S_OK);
    chain->Set(effects);
    chain->Seek(0);
    EXPECT_EQ(Drain(*chain), wanted);
    chain->Seek(0);
    chain->Set({});
    chain->Set(effects);
    EXPECT_EQ(Drain(*chain), wanted);
  }
}

TEST(EffectsChain, ResamplesToTheRateAskedForOrNotAtAll) {
  struct Case {
    uint32_t in, out, delivered;
  };
  const Case cases[] = {{44100, 48000, 48000}, {48000, 44100, 44100}, {44100, 768000, 768000},
                        {8000, 11025, 11025},  {44100, 0, 44100},     {44100, 768001, 44100},
                        {44100, 44100, 44100}, {192000, 8000, 8000}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.in << " to " << c.out);
    const Signal signal{.rate = c.in, .frames = c.in / 2, .sample = [in = c.in](uint64_t frame, uint16_t) {
                          return static_cast<float>(
                              0.5 * std::sin(2 * std::numbers::pi * 440.0 * static_cast<double>(frame) / in));
                        }};
    const auto chain = MakeChain(signal, {.resample_rate = c.out});
    EXPECT_EQ(chain->SampleRate(), c.delivered);
    EXPECT_EQ(chain->IsResampling(), c.delivered != c.in);
    EXPECT_EQ(chain->BlockBytes(), BlockFrames(c.delivered) * 8);
    EXPECT_EQ(chain->DurationMs(), 500u);
    const std::vector<float> out = Drain(*chain);
    EXPECT_NEAR(static_cast<double>(out.size()), c.delivered, 2);
    // It lies where it should, and goes on to the end.
    for (const size_t frame : {c.delivered / 8, c.delivered / 4, c.delivered / 2 - c.delivered / 40})
      EXPECT_NEAR(out[frame * 2],
                  0.5 * std::sin(2 * std::numbers::pi * 440.0 * static_cast<double>(frame) / c.delivered),
                  0.005);
  }
}

TEST(EffectsChain, SoundsTheSameInBlocksOfAnyLength) {
  const Signal signal{.frames = 20000, .sample = Wild};
  for (const uint32_t rate : {0u, 48000u}) {
    const auto chain_of = [&](uint32_t block_ms) {
      return MakeChain(signal, {.resample_rate = rate, .block_ms = block_ms, .effects = EverythingOn()});
    };
    const std::vector<float> wanted = Drain(*chain_of(kShortestBlockMs));
    for (const uint32_t buffer_ms : {0u, 300u, 400u, 10000u}) {
      const uint32_t block_ms = BlockMsFor(buffer_ms);
      const auto chain = chain_of(block_ms);
      EXPECT_EQ(chain->BlockBytes(), BlockFrames(chain->SampleRate(), block_ms) * 8);
      EXPECT_LE(4 * block_ms, std::max(buffer_ms, 100u));
      const std::vector<float> out = Drain(*chain);
      ASSERT_EQ(out.size(), wanted.size());
      float difference = 0;  // The equalizer's histories are rounded between two blocks.
      for (size_t i = 0; i < out.size(); ++i)
        difference = std::max(difference, std::fabs(out[i] - wanted[i]));
      EXPECT_LT(difference, 1e-6f) << block_ms << " ms";
    }
  }
}

TEST(EffectsChain, SurvivesEveryLayoutAndRateWithEverythingOn) {
  for (const uint32_t rate : {1u, 100u, 8000u, 44100u, 768000u})
    for (uint16_t channels = 1; channels <= 8; ++channels) {
      if (rate != 44100 && channels != 2 && channels != 8) continue;
      SCOPED_TRACE(testing::Message() << rate << " Hz, " << channels << " channels");
      const uint64_t frames = std::min(rate, 1500u) + 77;
      const Signal signal{.rate = rate, .channels = channels, .frames = frames, .sample = Wild};
      for (const uint32_t to : {0u, rate / 2 + 1}) {
        const auto chain =
            MakeChain(signal, {.resample_rate = to, .scan_gain = true, .effects = EverythingOn()});
        const std::vector<float> out = Drain(*chain);
        EXPECT_EQ(out.size() % channels, 0u);
        if (!chain->IsResampling()) {
          EXPECT_EQ(out.size(), frames * channels);
        }
        for (const float sample : out)
          ASSERT_TRUE(std::fabs(sample) <= 1.0f) << sample;
      }
    }
}

TEST(EffectsChain, HostileValuesAreCut) {
  constexpr double kNever = std::numeric_limits<double>::quiet_NaN();
  constexpr double kHuge = std::numeric_limits<double>::infinity();
  const int32_t low = std::numeric_limits<int32_t>::min();
  const int32_t high = std::numeric_limits<int32_t>::max();
  std::vector<EffectSettings> settings(5);
  settings[0] = {.surround = high,
                 .balance = low,
                 .volume = high,
                 .gain = TrackGain{kHuge, 0.0},
                 .extra_gain_db = kHuge};
  settings[1] = {.surround = low,
                 .balance = high,
                 .volume = low,
                 .gain = TrackGain{kNever, kNever},
                 .extra_gain_db = kNever};
  settings[2] = {.surround = 100, .extra_gain_db = 1e300};
  settings[2].equalizer.values.fill(high);
  settings[3].gain = TrackGain{-1e300, -1.0};
  settings[3].equalizer.values.fill(low);
  settings[4] = {};
  // Floats of a file may be anything that is finite; then a plain track part shows that nothing was poisoned.
  const Signal signal{.frames = 44100 * 4, .sample = [](uint64_t frame, uint16_t channel) {
                        return frame < 4000 ? (frame % 3 ? 3e38f : -3e38f) : Wild(frame, channel) / 5;
                      }};
  const auto chain = MakeChain(signal);
  const ComPtr<SoundBuffer> block = MakeBlock(*chain);
  std::vector<float> out;
  for (const EffectSettings& s : settings) {
    ASSERT_EQ(chain->Seek(0), S_OK);
    chain->Set(s);
    out.clear();
    while (Pull(*chain, *block, out) == S_OK) {
    }
    ASSERT_EQ(out.size(), 2u * 44100 * 4);
    // The last second: the limiter has let go by then, whatever came.
    for (size_t i = out.size() - 2 * 44100; i < out.size(); ++i)
      ASSERT_TRUE(std::isfinite(out[i]) && std::fabs(out[i]) <= 1.0f) << i;
  }
}

TEST(EffectsChain, MeasuresOnlyAWholeTrackAndKeepsThat) {
  const Signal signal{.frames = 44100 * 3, .sample = [](uint64_t frame, uint16_t) {
                        return static_cast<float>(0.1 * std::sin(2 * std::numbers::pi * 1000.0 *
                                                                 static_cast<double>(frame) / 44100));
                      }};
  // -20 dBFS in two channels: -20 LUFS and what the weighting does at 1 kHz, so about +2 dB.
  const auto chain =
      MakeChain(signal, {.resample_rate = 48000, .scan_gain = true, .effects = EverythingOn()});
  const ComPtr<SoundBuffer> block = MakeBlock(*chain);
  std::vector<float> out;
  EXPECT_FALSE(chain->ScannedGain());
  Pull(*chain, *block, out);
  ASSERT_EQ(chain->Seek(1000), S_OK);
  Drain(*chain);
  EXPECT_FALSE(chain->ScannedGain()) << "a part was left out";
  ASSERT_EQ(chain->Seek(0), S_OK);
  Pull(*chain, *block, out);
  ASSERT_EQ(chain->Seek(0), S_OK);
  Drain(*chain);
  const std::optional<TrackGain> measured = chain->ScannedGain();
  ASSERT_TRUE(measured);
  EXPECT_NEAR(measured->gain_db, 2.0, 0.2) << "of the track, not of what the effects make of it";
  // What the stream does at the end of a track, and what a user may do after.
  chain->Seek(0);
  EXPECT_EQ(chain->ScannedGain(), measured);
  Pull(*chain, *block, out);
  chain->Seek(2000);
  Drain(*chain);
  EXPECT_EQ(chain->ScannedGain(), measured);

  const auto not_asked = MakeChain(signal);
  Drain(*not_asked);
  EXPECT_FALSE(not_asked->ScannedGain());
}

TEST(EffectsChain, RefusesWhatItCannotPlay) {
  std::unique_ptr<EffectsChain> chain;
  EXPECT_EQ(EffectsChain::Create(nullptr, {}, nullptr), E_POINTER);
  EXPECT_EQ(EffectsChain::Create(nullptr, {}, &chain), E_INVALIDARG);
  EXPECT_EQ(EffectsChain::Create(std::make_unique<SignalChain>(Signal{.channels = 9}), {}, &chain),
            E_INVALIDARG);
  EXPECT_EQ(chain, nullptr);
  const auto made = MakeChain({.frames = 10});
  ComPtr<SoundBuffer> tiny;
  CreateSoundBuffer(tiny.Receive(), 4);
  EXPECT_EQ(made->NextBlock(*tiny), E_INVALIDARG);
}

}  // namespace
}  // namespace melorin
