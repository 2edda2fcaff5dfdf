// SPDX-License-Identifier: MIT
//
// A filter waits for its own last result, and a band for the band below, so done one after the other the
// bands leave the processor idle most of the time. Here all bands are under way at once, each on a sample of
// its own: in step t band k works on sample t - 2k. A register holds two bands by two channels, and five are
// enough for everything. No register needs another's result of the same step, nor of the step before; so two
// steps overlap.
//
//   register p:   band 2p, left and right: sample t - 4p  |  band 2p + 1, left and right: sample t - 4p - 2
//
// A block begins and ends with steps in which only some bands have a sample. The others' histories are held
// back by a mask there, so that nothing is left in the pipeline between two blocks.
#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

#include "playback/effects/equalizer_filters.h"

namespace melorin {
namespace {

constexpr size_t kSkew = 2;  // Samples that a band is behind the band below.
constexpr uint32_t kBandsInRegister = 2;

inline __m128 Load(const EqualizerFilters::Values& values, size_t pair) {
  return _mm_loadu_ps(values[kBandsInRegister * pair]);
}

inline void Store(EqualizerFilters::Values& values, size_t pair, __m128 value) {
  _mm_storeu_ps(values[kBandsInRegister * pair], value);
}

inline __m128 Select(__m128 mask, __m128 yes, __m128 no) {
  return _mm_or_ps(_mm_and_ps(mask, yes), _mm_andnot_ps(mask, no));
}

// The upper band of the register below hands over to the lower band of this one, which hands over to the
// upper.
inline __m128 HandOver(__m128 below, __m128 own) {
  return _mm_shuffle_ps(below, own, _MM_SHUFFLE(1, 0, 3, 2));
}

template <size_t kPairs, bool kMoving>
class Pipeline {
 public:
  Pipeline(EqualizerFilters& filters, float* samples, size_t frames, const float* weights)
      : filters_(filters),
        samples_(samples),
        frames_(frames),
        weights_(weights),
        behind_(kSkew * (filters.bands - 1)) {
    for (size_t p = 0; p < kPairs; ++p) {
      alpha_[p] = Load(filters.alpha, p);
      beta_[p] = Load(filters.beta, p);
      pull_[p] = Load(filters.pull, p);
      gain_[p] = Load(filters.gain, p);
      gain_move_[p] = Load(filters.gain_move, p);
      w1_[p] = Load(filters.w1, p);
      rise_[p] = _mm_sub_ps(w1_[p], Load(filters.w2, p));
      for (size_t parity = 0; parity < kSkew; ++parity)
        signal_[parity][p] = weight_[parity][p] = _mm_setzero_ps();
    }
  }

  void Run() {
    const size_t steps = frames_ + behind_;
    size_t t = 0;
    for (; t < std::min(behind_, steps); ++t)
      PartStep(t);
    if (t + 1 < frames_) t = FullSteps(t);
    for (; t < steps; ++t)
      PartStep(t);
    for (size_t p = 0; p < kPairs; ++p) {
      Store(filters_.w1, p, w1_[p]);
      Store(filters_.w2, p, _mm_sub_ps(w1_[p], rise_[p]));
    }
  }

 private:
  using Registers = __m128[kPairs];
  using Index = std::make_index_sequence<kPairs>;

  static __m128 Read(const float* frame, bool mono) {
    return mono ? _mm_load_ss(frame) : _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(frame));
  }
  // The last band's output; it is the upper one of its register when their number is even.
  static void Write(float* frame, bool mono, bool upper, __m128 last) {
    if (upper) last = _mm_movehl_ps(last, last);
    if (mono)
      _mm_store_ss(frame, last);
    else
      _mm_storel_pi(reinterpret_cast<__m64*>(frame), last);
  }

  // What the register works on next, of a signal or of the weights that go with it.
  template <size_t kPair>
  static __m128 Next(const Registers& values, __m128 first) {
    if constexpr (kPair == 0)
      return _mm_movelh_ps(first, values[0]);
    else
      return HandOver(values[kPair - 1], values[kPair]);
  }

  // One register's part of one step, which changes its signal and weight, w and its rise.
  template <size_t kPair>
  void Work(Registers& signal, Registers& weight, __m128 sample, __m128 sample_weight, __m128& w,
            __m128& rise) {
    const __m128 s = Next<kPair>(signal, sample);
    __m128 gain = gain_[kPair];
    if constexpr (kMoving) {
      weight[kPair] = Next<kPair>(weight, sample_weight);
      gain = _mm_add_ps(gain, _mm_mul_ps(gain_move_[kPair], weight[kPair]));
    }
    const __m128 rest = _mm_set1_ps(EqualizerFilters::kNumeratorRest);
    const __m128 past = _mm_add_ps(_mm_mul_ps(rest, _mm_sub_ps(w, rise)), rise);
    rise = _mm_sub_ps(_mm_add_ps(_mm_mul_ps(alpha_[kPair], s), _mm_mul_ps(beta_[kPair], rise)),
                      _mm_mul_ps(pull_[kPair], w));
    w = _mm_add_ps(w, rise);
    signal[kPair] = _mm_add_ps(s, _mm_mul_ps(gain, _mm_add_ps(rise, past)));
  }

  // Two steps of one register at a time: the second needs the first's history only.
  template <size_t kPair>
  void WorkTwice(const __m128 (&sample)[kSkew], const __m128 (&sample_weight)[kSkew]) {
    __m128 w = w1_[kPair];
    __m128 rise = rise_[kPair];
    Work<kPair>(signal_[0], weight_[0], sample[0], sample_weight[0], w, rise);
    Work<kPair>(signal_[1], weight_[1], sample[1], sample_weight[1], w, rise);
    w1_[kPair] = w;
    rise_[kPair] = rise;
  }

  // Calls a function with each register's number from the last down, since each takes what the one below has
  // left. Spelt out by the pack: a loop is not unrolled by every compiler.
  template <class Function, size_t... kAt>
  static void ForEach(Function function, std::index_sequence<kAt...>) {
    (function(std::integral_constant<size_t, kPairs - 1 - kAt>{}), ...);
  }

  // Steps from t on in which every band has a sample, two by two; returns the first that is left.
  size_t FullSteps(size_t t) {
    const size_t stride = filters_.channels;
    const bool mono = stride == 1;
    const bool upper = filters_.bands % kBandsInRegister == 0;
    const float* in = samples_ + t * stride;
    float* out = samples_ + (t - behind_) * stride;
    for (; t + 1 < frames_; t += kSkew, in += kSkew * stride, out += kSkew * stride) {
      const __m128 sample[kSkew] = {Read(in, mono), Read(in + stride, mono)};
      __m128 weight[kSkew] = {};
      if constexpr (kMoving)
        for (size_t i = 0; i < kSkew; ++i)
          weight[i] = _mm_set1_ps(weights_[t + i]);
      ForEach([&]<size_t kPair>(std::integral_constant<size_t, kPair>) { WorkTwice<kPair>(sample, weight); },
              Index{});
      Write(out, mono, upper, signal_[0][kPairs - 1]);
      Write(out + stride, mono, upper, signal_[1][kPairs - 1]);
    }
    return t;
  }

  void PartStep(size_t t) {
    const size_t stride = filters_.channels;
    const bool mono = stride == 1;
    __m128 sample = _mm_setzero_ps();
    __m128 sample_weight = _mm_setzero_ps();
    if (t < frames_) {
      sample = Read(samples_ + t * stride, mono);
      if constexpr (kMoving) sample_weight = _mm_set1_ps(weights_[t]);
    }
    Registers& signal = signal_[t % kSkew];
    ForEach(
        [&]<size_t kPair>(std::integral_constant<size_t, kPair>) {
          __m128 w = w1_[kPair];
          __m128 rise = rise_[kPair];
          Work<kPair>(signal, weight_[t % kSkew], sample, sample_weight, w, rise);
          const int32_t lower = WorksOn(kBandsInRegister * kPair, t) ? -1 : 0;
          const int32_t upper = WorksOn(kBandsInRegister * kPair + 1, t) ? -1 : 0;
          const __m128 mask = _mm_castsi128_ps(_mm_set_epi32(upper, upper, lower, lower));
          w1_[kPair] = Select(mask, w, w1_[kPair]);
          rise_[kPair] = Select(mask, rise, rise_[kPair]);
        },
        Index{});
    if (t >= behind_)
      Write(samples_ + (t - behind_) * stride, mono, filters_.bands % kBandsInRegister == 0,
            signal[kPairs - 1]);
  }

  // Whether the band has a sample of this block in step t.
  bool WorksOn(size_t band, size_t t) const { return t >= kSkew * band && t - kSkew * band < frames_; }

  EqualizerFilters& filters_;
  float* samples_;
  size_t frames_;
  const float* weights_;
  size_t behind_;  // By how many samples the last band is.
  Registers alpha_, beta_, pull_, gain_, gain_move_;
  Registers w1_, rise_;
  // What each band put out, and the weight of the frame it did so for, in the last even and the last odd
  // step.
  Registers signal_[kSkew], weight_[kSkew];
};

template <size_t kPairs>
void RunPairs(EqualizerFilters& filters, float* samples, size_t frames, const float* weights) {
  if (weights)
    Pipeline<kPairs, true>(filters, samples, frames, weights).Run();
  else
    Pipeline<kPairs, false>(filters, samples, frames, weights).Run();
}

}  // namespace

void RunEqualizerVector(EqualizerFilters& filters, float* samples, size_t frames, const float* weights) {
  static constexpr std::array<EqualizerRoutine, 5> kRoutines = {RunPairs<1>, RunPairs<2>, RunPairs<3>,
                                                                RunPairs<4>, RunPairs<5>};
  if (filters.bands == 0 || filters.channels == 0 || frames == 0) return;
  kRoutines[(filters.bands - 1) / kBandsInRegister](filters, samples, frames, weights);
}

}  // namespace melorin
