// SPDX-License-Identifier: MIT
//
// Effects that are switched on, off and changed while a tone plays make no click.
#include <thread>

#include "playback/device_format.h"
#include "playback_count_allocations.h"
#include "playback_effects_fakes.h"
#include "playback_sim.h"

namespace melorin {
namespace {

using namespace effects_test;

constexpr int kChanges = 1000;
constexpr double kHearableDb = -80;

struct EffectCase {
  const char* name;
  std::function<void(EffectSettings&, Dice&)> change;
};

void ChangeGain(EffectSettings& settings, Dice& dice) {
  // Up to full scale, not above: what the limiter does is another case.
  settings.gain = TrackGain{dice.Roll(-20, 9) * 1.0, std::nullopt};
}
void ChangeBand(EffectSettings& settings, Dice& dice, size_t band) {
  settings.equalizer.values[band] = dice.Roll(-12, 3);
}

std::vector<EffectCase> Cases() {
  std::vector<EffectCase> cases = {
      {"gain", ChangeGain},
      {"extra gain", [](EffectSettings& s, Dice& d) { s.extra_gain_db = d.Roll(-30, 9); }},
      {"surround", [](EffectSettings& s, Dice& d) { s.surround = d.Roll(1, 100); }},
      {"balance", [](EffectSettings& s, Dice& d) { s.balance = d.Roll(-100, 100); }},
      {"volume", [](EffectSettings& s, Dice& d) { s.volume = d.Roll(-1, 100); }},
      {"all",
       [](EffectSettings& s, Dice& d) {
         s.gain = TrackGain{d.Roll(-20, 0) * 1.0, std::nullopt};
         s.surround = d.Roll(0, 100);
         s.balance = d.Roll(-100, 100);
         s.volume = d.Roll(-1, 100);
         for (int32_t& value : s.equalizer.values)
           value = d.Roll(-12, 1);
       }},
      {"equalizer",
       [](EffectSettings& s, Dice& d) {
         for (int32_t& value : s.equalizer.values)
           value = d.Roll(-12, 12);
       }},
      // The tone goes 12 dB over full scale and is held down.
      {"gain that the limiter holds", [](EffectSettings& s, Dice& d) { s.extra_gain_db = d.Roll(0, 24); }},
  };
  static constexpr const char* kBandNames[] = {"31 Hz", "62 Hz", "125 Hz", "250 Hz", "500 Hz", "1 kHz",
                                               "2 kHz", "4 kHz", "8 kHz",  "16 kHz", "preamp"};
  for (size_t band = 0; band <= EqualizerBands::kBands; ++band)
    cases.push_back({kBandNames[band],
                     [band](EffectSettings& s, Dice& d) { s.equalizer.values[band] = d.Roll(-12, 12); }});
  return cases;
}

/// Both channels in one, so that one ear is enough; the right one softer, or what surround does to the two
/// would cancel out.
double Mixed(const float* frame) {
  return static_cast<double>(frame[0]) + 0.5 * static_cast<double>(frame[1]);
}

TEST(EffectClicks, TheEarHearsAHardSwitch) {
  // A step of 1 % of the tone at its peak.
  constexpr uint32_t kRate = 44100;
  const Signal tone = Tone(kRate, 1);
  ClickEar ear(kRate);
  double before = 0;
  double after = 0;
  for (uint64_t i = 0; i < kRate; ++i) {
    const float gain = i < kRate / 2 + 5 ? 1.0f : 1.01f;
    const size_t at = static_cast<size_t>(i % (tone.loop.size() / 2)) * 2;
    const float frame[] = {tone.loop[at] * gain, tone.loop[at + 1] * gain};
    const double residue = std::fabs(ear.Next(Mixed(frame)));
    if (i > kRate / 10) (i < kRate / 2 ? before : after) = std::max(i < kRate / 2 ? before : after, residue);
  }
  EXPECT_LT(Decibels(before), -105) << "the tone itself";
  EXPECT_GT(Decibels(after), -70);
}

struct ToneCase {
  EffectCase effect;
  uint32_t hz = 1000;
  uint32_t rate = 22050;
  ChainOptions options = {};
};

std::vector<ToneCase> ToneCases() {
  std::vector<ToneCase> cases;
  for (const EffectCase& effect : Cases()) {
    const std::string_view name = effect.name;
    // The lower rate is quicker, but has no 16 kHz.
    cases.push_back({effect, 1000, name == "16 kHz" ? 44100u : 22050u});
    if (name == "all" || name == "equalizer") cases.push_back({effect, 10000, 44100});
    if (name != "all") continue;
    cases.push_back({effect, 50});
    cases.push_back({effect, 1000, 22050, {.resample_rate = 32000, .scan_gain = true}});
  }
  return cases;
}

TEST(EffectClicks, NoneWhateverIsChanged) {
  for (const ToneCase& tone : ToneCases()) {
    const EffectCase& c = tone.effect;
    SCOPED_TRACE(testing::Message() << c.name << ", tone of " << tone.hz << " Hz");
    const auto chain = MakeChain(Tone(tone.rate, uint64_t{tone.rate} * 3600, tone.hz), tone.options);
    const uint32_t rate = chain->SampleRate();
    const ComPtr<SoundBuffer> block = MakeBlock(*chain);
    Dice dice(7);
    ClickEar ear(rate, tone.hz);
    EffectSettings settings;
    std::vector<float> out;
    double residue = 0;
    double peak = 0;
    uint64_t heard = 0;
    for (int change = 0; change < kChanges; ++change) {
      // Every fourth switches off; some come while the one before is still under way.
      if (dice.Roll(0, 3) == 0)
        settings = {};
      else
        c.change(settings, dice);
      chain->Set(settings);
      out.clear();
      for (int blocks = dice.Roll(0, 2) == 0 ? 2 : 1; blocks > 0; --blocks)
        ASSERT_EQ(Pull(*chain, *block, out), S_OK);
      for (size_t i = 0; i < out.size(); i += 2) {
        const double left = std::fabs(ear.Next(Mixed(&out[i])));
        if (++heard > rate / 10) residue = std::max(residue, left);  // The tone begins with a corner.
        peak = std::max<double>(peak, std::fabs(out[i]));
      }
    }
    EXPECT_LT(Decibels(residue), kHearableDb);
    EXPECT_GT(peak, 0.1);
    EXPECT_LE(peak, 1.0);
    RecordProperty(c.name, std::to_string(Decibels(residue)));
  }
}

/// What a CountingChain has counted.
struct Counts {
  std::atomic<uint32_t> blocks{0};
  std::atomic<uint32_t> allocations{0};  ///< Of the decode thread, after the first block.
};

/// Counts the blocks that are asked of it, and what they take from the heap.
class CountingChain final : public PlaybackChain {
 public:
  CountingChain(std::unique_ptr<PlaybackChain> inner, Counts& counts)
      : inner_(std::move(inner)), counts_(counts) {}
  uint32_t NativeBlockBytes() const override { return inner_->NativeBlockBytes(); }
  uint32_t ResampledBlockBytes() const override { return inner_->ResampledBlockBytes(); }
  bool IsResampling() const override { return inner_->IsResampling(); }
  uint32_t SampleRate() const override { return inner_->SampleRate(); }
  uint16_t Channels() const override { return inner_->Channels(); }
  uint16_t SourceBits() const override { return inner_->SourceBits(); }
  uint32_t DurationMs() const override { return inner_->DurationMs(); }
  HRESULT NextBlock(SoundBuffer& block) override {
    const uint32_t before = CanCountAllocations() ? t_allocations : 0;
    const HRESULT result = inner_->NextBlock(block);
    if (CanCountAllocations() && counts_.blocks > 0) counts_.allocations += t_allocations - before;
    ++counts_.blocks;
    return result;
  }
  HRESULT Seek(uint32_t position_ms) override { return inner_->Seek(position_ms); }
  HRESULT NotifyStart() override { return inner_->NotifyStart(); }
  HRESULT NotifyPause() override { return inner_->NotifyPause(); }
  HRESULT NotifyStop() override { return inner_->NotifyStop(); }
  SoundSource* Source() const override { return inner_->Source(); }
  TrackEffects* Effects() override { return inner_->Effects(); }

 private:
  std::unique_ptr<PlaybackChain> inner_;
  Counts& counts_;
};

// A sudden gain takes it up to 12 dB over full scale. With half the look-ahead it would be heard.
TEST(EffectClicks, TheLimitersOnsetOnABassToneIsSoft) {
  constexpr uint32_t kRate = 44100;
  const auto chain = MakeChain(Tone(kRate, uint64_t{kRate} * 60, 100));
  const ComPtr<SoundBuffer> block = MakeBlock(*chain);
  ClickEar ear(kRate, 700, true);
  Dice dice(3);
  double residue = 0;
  for (int change = 0; change < 200; ++change) {
    EffectSettings settings;
    settings.extra_gain_db = dice.Roll(0, 24);
    chain->Set(settings);
    std::vector<float> out;
    for (int blocks = 0; blocks < 10; ++blocks)
      ASSERT_EQ(Pull(*chain, *block, out), S_OK);
    for (size_t i = 0; i < out.size(); i += 2) {
      const double left = std::fabs(ear.Next(static_cast<double>(out[i])));
      if (change > 0) residue = std::max(residue, left);  // The tone begins with a corner.
    }
  }
  EXPECT_LT(Decibels(residue), kHearableDb);
  EXPECT_GT(Decibels(residue), -120) << "something is heard";
  RecordProperty("residue_db", std::to_string(Decibels(residue)));
}

// A thread of the user's changes everything while the decode thread works, as fast as it decodes. The track
// is measured and resampled as well.
TEST(EffectClicks, NoneFromTheUsersThreadWhileAStreamPlays) {
  constexpr uint32_t kSourceRate = 22050;
  constexpr uint32_t kRate = 24000;
  sim::SimClock clock;
  sim::Journal journal(clock);
  journal.SetQuiet(true);
  sim::DeviceSetup setup;
  const WAVEFORMATEX format = MakePcmFormat(2, kRate, 32);
  setup.bytes_per_second = format.nAvgBytesPerSec;
  setup.buffer_bytes = format.nAvgBytesPerSec;
  const auto device = ComPtr<sim::SimDevice>::Adopt(new sim::SimDevice(clock, journal, setup, 'A'));
  Counts counts;
  HRESULT status = E_FAIL;
  auto stream = PlaybackStream::Create(
      std::make_unique<CountingChain>(MakeChain(Tone(kSourceRate, uint64_t{kSourceRate} * 3600),
                                                {.resample_rate = kRate, .scan_gain = true}),
                                      counts),
      ComPtr<OutputDevice>::Share(device.get()), format, 0, clock, &status, clock.Starter());
  ASSERT_EQ(status, S_OK);
  stream->SetFade(0, nullptr);
  ASSERT_EQ(stream->Play(), S_OK);

  std::atomic<bool> done{false};
  std::atomic<bool> stop{false};
  std::thread user([&, effects = stream->Chain().Effects()] {
    Dice dice(99);
    const std::vector<EffectCase> cases = Cases();
    const auto one = [&](size_t index, EffectSettings& s) { cases[index].change(s, dice); };
    for (int change = 0; change < kChanges && !stop; ++change) {
      EffectSettings settings;
      if (dice.Roll(0, 3) != 0) one(static_cast<size_t>(dice.Roll(0, 6)), settings);
      if (dice.Roll(0, 3) == 0) ChangeBand(settings, dice, static_cast<size_t>(dice.Roll(0, 10)));
      const uint32_t seen = counts.blocks;
      effects->Set(settings);
      while (counts.blocks == seen && !stop)
        std::this_thread::yield();
    }
    done = true;
  });
  for (int round = 0; round < 2000 && !done; ++round)
    clock.Advance(100);
  EXPECT_TRUE(done);
  stop = true;
  user.join();
  EXPECT_GE(counts.blocks, uint32_t{kChanges});
  EXPECT_EQ(counts.allocations, 0u);
  stream.Reset();

  const std::vector<uint8_t> bytes = device->Captured();
  ClickEar ear(kRate);
  double residue = 0;
  for (size_t i = 0; i + 8 <= bytes.size(); i += 8) {
    int32_t samples[2];
    std::memcpy(samples, bytes.data() + i, 8);
    const float frame[] = {static_cast<float>(samples[0]) / 2147483648.0f,
                           static_cast<float>(samples[1]) / 2147483648.0f};
    const double left = std::fabs(ear.Next(Mixed(frame)));
    if (i / 8 > kRate / 10) residue = std::max(residue, left);
  }
  EXPECT_GT(bytes.size(), size_t{kChanges} * 500 * 8);
  EXPECT_LT(Decibels(residue), kHearableDb);
}

}  // namespace
}  // namespace melorin
