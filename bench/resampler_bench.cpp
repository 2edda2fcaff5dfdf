// SPDX-License-Identifier: MIT
//
// 44100 to 48000 Hz, stereo floats in blocks of 4608 frames: the player's resampler, the library below it,
// and others. The counters are "x_realtime", how many seconds of sound a second of work converts, and
// "SNR_dB", what a tone of 1 kHz keeps.
#include <benchmark/benchmark.h>
#include <samplerate.h>
#include <soxr.h>
#include <speex/speex_resampler.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "playback/effects/resampler.h"

namespace melorin {
namespace {

constexpr uint32_t kIn = 44100;
constexpr uint32_t kOut = 48000;
constexpr size_t kBlock = 4608;
constexpr size_t kOutRoom = 2 * kBlock;

/// One block in, as many frames out as there are.
class Converter {
 public:
  virtual ~Converter() = default;
  virtual size_t Convert(const float* in, float* out) = 0;
};

class Melorin final : public Converter {
 public:
  explicit Melorin(ResampleQuality quality) : resampler_(Resampler::Create(kIn, kOut, 2, quality, kBlock)) {}
  size_t Convert(const float* in, float* out) override {
    Resampler::Count count;
    if (!resampler_->Process(in, kBlock, out, kOutRoom, &count)) return 0;
    return count.out_frames;
  }

 private:
  std::unique_ptr<Resampler> resampler_;
};

class Soxr final : public Converter {
 public:
  explicit Soxr(unsigned long recipe) {
    const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    engine_ = soxr_create(kIn, kOut, 2, nullptr, &samples, &quality, &runtime);
  }
  ~Soxr() override { soxr_delete(engine_); }
  size_t Convert(const float* in, float* out) override {
    size_t taken = 0;
    size_t got = 0;
    soxr_process(engine_, in, kBlock, &taken, out, kOutRoom, &got);
    return got;
  }

 private:
  soxr_t engine_;
};

class Speex final : public Converter {
 public:
  explicit Speex(int quality) : engine_(speex_resampler_init(2, kIn, kOut, quality, nullptr)) {}
  ~Speex() override { speex_resampler_destroy(engine_); }
  size_t Convert(const float* in, float* out) override {
    spx_uint32_t taken = kBlock;
    spx_uint32_t got = kOutRoom;
    speex_resampler_process_interleaved_float(engine_, in, &taken, out, &got);
    return got;
  }

 private:
  SpeexResamplerState* engine_;
};

class SampleRate final : public Converter {
 public:
  explicit SampleRate(int type) {
    int error = 0;
    engine_ = src_new(type, 2, &error);
  }
  ~SampleRate() override { src_delete(engine_); }
  size_t Convert(const float* in, float* out) override {
    SRC_DATA data = {};
    data.data_in = in;
    data.data_out = out;
    data.input_frames = kBlock;
    data.output_frames = kOutRoom;
    data.src_ratio = static_cast<double>(kOut) / kIn;
    src_process(engine_, &data);
    return static_cast<size_t>(data.output_frames_gen);
  }

 private:
  SRC_STATE* engine_;
};

class Linear final : public Converter {
 public:
  size_t Convert(const float* in, float* out) override {
    size_t got = 0;
    for (; place_ < kBlock; place_ += kStep, ++got) {
      const auto at = static_cast<size_t>(place_);
      const auto part = static_cast<float>(place_ - static_cast<double>(at));
      for (size_t channel = 0; channel < 2; ++channel) {
        const float left = at == 0 ? last_[channel] : in[(at - 1) * 2 + channel];
        out[got * 2 + channel] = left + part * (in[at * 2 + channel] - left);
      }
    }
    place_ -= kBlock;
    last_[0] = in[kBlock * 2 - 2];
    last_[1] = in[kBlock * 2 - 1];
    return got;
  }

 private:
  static constexpr double kStep = static_cast<double>(kIn) / kOut;
  double place_ = 0;
  float last_[2] = {};
};

std::vector<float> Tone(size_t frames) {
  std::vector<float> tone(frames * 2);
  for (size_t i = 0; i < tone.size(); ++i)
    tone[i] =
        static_cast<float>(0.99 * std::sin(2 * std::numbers::pi * 1000 * static_cast<double>(i / 2) / kIn));
  return tone;
}

/// The middle of the left channel against the tone that fits it best.
double Snr(Converter& converter) {
  constexpr size_t kBlocks = 12;
  const std::vector<float> in = Tone(kBlock * kBlocks);
  std::vector<float> out(kOutRoom * 2);
  std::vector<double> left;
  for (size_t block = 0; block < kBlocks; ++block) {
    const size_t got = converter.Convert(in.data() + block * kBlock * 2, out.data());
    for (size_t i = 0; i < got; ++i)
      left.push_back(out[i * 2]);
  }
  double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0;
  const auto angle = [](size_t i) { return 2 * std::numbers::pi * 1000 * static_cast<double>(i) / kOut; };
  for (size_t i = left.size() / 4; i < left.size() * 3 / 4; ++i) {
    const double s = std::sin(angle(i)), c = std::cos(angle(i));
    ss += s * s, cc += c * c, sc += s * c, ys += left[i] * s, yc += left[i] * c;
  }
  const double a = (ys * cc - yc * sc) / (ss * cc - sc * sc);
  const double b = (yc * ss - ys * sc) / (ss * cc - sc * sc);
  double tone = 0, rest = 0;
  for (size_t i = left.size() / 4; i < left.size() * 3 / 4; ++i) {
    const double fit = a * std::sin(angle(i)) + b * std::cos(angle(i));
    tone += fit * fit;
    rest += (left[i] - fit) * (left[i] - fit);
  }
  return 10 * std::log10(tone / rest);
}

void Run(benchmark::State& state, Converter& converter) {
  const double snr = Snr(converter);
  const std::vector<float> in = Tone(kBlock);
  std::vector<float> out(kOutRoom * 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(converter.Convert(in.data(), out.data()));
    benchmark::ClobberMemory();
  }
  state.counters["x_realtime"] =
      benchmark::Counter(static_cast<double>(kBlock) / kIn, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["SNR_dB"] = snr;
}

template <typename Kind, typename... Arguments>
void RunNew(benchmark::State& state, Arguments... arguments) {
  Kind converter(arguments...);
  Run(state, converter);
}

void BM_MelorinFast(benchmark::State& state) {
  RunNew<Melorin>(state, ResampleQuality::kFast);
}
void BM_MelorinHigh(benchmark::State& state) {
  RunNew<Melorin>(state, ResampleQuality::kHigh);
}
void BM_Soxr16Bit(benchmark::State& state) {
  RunNew<Soxr>(state, static_cast<unsigned long>(SOXR_16_BITQ));
}
void BM_SoxrHq(benchmark::State& state) {
  RunNew<Soxr>(state, static_cast<unsigned long>(SOXR_HQ));
}
void BM_SoxrVhq(benchmark::State& state) {
  RunNew<Soxr>(state, static_cast<unsigned long>(SOXR_VHQ));
}
void BM_Speexdsp8(benchmark::State& state) {
  RunNew<Speex>(state, 8);
}
void BM_Speexdsp10(benchmark::State& state) {
  RunNew<Speex>(state, 10);
}
void BM_SamplerateMedium(benchmark::State& state) {
  RunNew<SampleRate>(state, static_cast<int>(SRC_SINC_MEDIUM_QUALITY));
}
void BM_SamplerateBest(benchmark::State& state) {
  RunNew<SampleRate>(state, static_cast<int>(SRC_SINC_BEST_QUALITY));
}
void BM_Linear(benchmark::State& state) {
  RunNew<Linear>(state);
}
BENCHMARK(BM_MelorinFast);
BENCHMARK(BM_MelorinHigh);
BENCHMARK(BM_Soxr16Bit);
BENCHMARK(BM_SoxrHq);
BENCHMARK(BM_SoxrVhq);
BENCHMARK(BM_Speexdsp8);
BENCHMARK(BM_Speexdsp10);
BENCHMARK(BM_SamplerateMedium);
BENCHMARK(BM_SamplerateBest);
BENCHMARK(BM_Linear);

}  // namespace
}  // namespace melorin

BENCHMARK_MAIN();
