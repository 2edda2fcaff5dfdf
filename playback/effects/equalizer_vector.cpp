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
      : filters_(filters), in_(samples), out_(samples), frames_(frames), weights_(weights) {
    for (size_t p = 0; p < kPairs; ++p) {
      alpha_[p] = Load(filters.alpha, p);
      gamma_[p] = Load(filters.gamma, p);
      minus_beta_[p] = Load(filters.minus_beta, p);
      gain_[p] = Load(filters.gain, p);
      gain_move_[p] = Load(filters.gain_move, p);
      w1_[p] = Load(filters.w1, p);
      w2_[p] = Load(filters.w2, p);
      for (size_t parity = 0; parity < kSkew; ++parity)
        signal_[parity][p] = weight_[parity][p] = _mm_setzero_ps();
    }
  }

  void Run() {
    const size_t behind = kSkew * (filters_.bands - 1);  // The last band; even.
    const size_t steps = frames_ + behind;
    size_t t = 0;
    for (; t < std::min(behind, steps); ++t)
      PartStep(t);
    for (; t + 1 < frames_; t += 2) {
      // The histories change places instead of being moved.
      FullStep(signal_[0], weight_[0], w1_, w2_, t);
      FullStep(signal_[1], weight_[1], w2_, w1_, t + 1);
    }
    for (; t < steps; ++t)
      PartStep(t);
    for (size_t p = 0; p < kPairs; ++p) {
      Store(filters_.w1, p, w1_[p]);
      Store(filters_.w2, p, w2_[p]);
    }
  }

 private:
  using Registers = __m128[kPairs];
  using Index = std::make_index_sequence<kPairs>;

  __m128 Read() {
    const __m128 zero = _mm_setzero_ps();
    const __m128 sample =
        filters_.channels == 1 ? _mm_load_ss(in_) : _mm_loadl_pi(zero, reinterpret_cast<const __m64*>(in_));
    in_ += filters_.channels;
    return sample;
  }
  void Write(__m128 last) {
    if (filters_.bands % kBandsInRegister == 0) last = _mm_movehl_ps(last, last);
    if (filters_.channels == 1)
      _mm_store_ss(out_, last);
    else
      _mm_storel_pi(reinterpret_cast<__m64*>(out_), last);
    out_ += filters_.channels;
  }

  // One register of one step; the new history is returned.
  template <size_t kPair>
  inline __m128 Work(Registers& signal, Registers& weight, __m128 w1, __m128 w2, __m128 sample,
                     __m128 sample_weight) {
    __m128 gain = gain_[kPair];
    __m128 s;
    if constexpr (kPair == 0)
      s = _mm_movelh_ps(sample, signal[0]);
    else
      s = HandOver(signal[kPair - 1], signal[kPair]);
    if constexpr (kMoving) {
      if constexpr (kPair == 0)
        weight[0] = _mm_movelh_ps(sample_weight, weight[0]);
      else
        weight[kPair] = HandOver(weight[kPair - 1], weight[kPair]);
      gain = _mm_add_ps(gain, _mm_mul_ps(gain_move_[kPair], weight[kPair]));
    }
    const __m128 w = _mm_add_ps(_mm_add_ps(_mm_mul_ps(alpha_[kPair], s), _mm_mul_ps(gamma_[kPair], w1)),
                                _mm_mul_ps(minus_beta_[kPair], w2));
    const __m128 numerator = _mm_set1_ps(EqualizerFilters::kNumerator);
    signal[kPair] = _mm_add_ps(s, _mm_mul_ps(gain, _mm_add_ps(w, _mm_mul_ps(numerator, w2))));
    return w;
  }

  // Spelt out by the pack: the loop is not unrolled by every compiler. From the last register down, since
  // each takes what the one below has left.
  template <size_t... kAt>
  inline void WorkAll(Registers& signal, Registers& weight, const Registers& w1, const Registers& w2,
                      Registers& out, __m128 sample, __m128 sample_weight, std::index_sequence<kAt...>) {
    ((out[kPairs - 1 - kAt] = Work<kPairs - 1 - kAt>(signal, weight, w1[kPairs - 1 - kAt],
                                                     w2[kPairs - 1 - kAt], sample, sample_weight)),
     ...);
  }

  inline void FullStep(Registers& signal, Registers& weight, const Registers& w1, Registers& w2, size_t t) {
    const __m128 sample = Read();
    const __m128 sample_weight = kMoving ? _mm_set1_ps(weights_[t]) : sample;
    WorkAll(signal, weight, w1, w2, w2, sample, sample_weight, Index{});
    Write(signal[kPairs - 1]);
  }

  void PartStep(size_t t) {
    const bool has_sample = t < frames_;
    const __m128 sample = has_sample ? Read() : _mm_setzero_ps();
    const __m128 sample_weight = kMoving && has_sample ? _mm_set1_ps(weights_[t]) : _mm_setzero_ps();
    Registers w;
    WorkAll(signal_[t % kSkew], weight_[t % kSkew], w1_, w2_, w, sample, sample_weight, Index{});
    for (size_t p = 0; p < kPairs; ++p) {
      const int32_t lower = WorksOn(kBandsInRegister * p, t) ? -1 : 0;
      const int32_t upper = WorksOn(kBandsInRegister * p + 1, t) ? -1 : 0;
      const __m128 mask = _mm_castsi128_ps(_mm_set_epi32(upper, upper, lower, lower));
      w2_[p] = Select(mask, w1_[p], w2_[p]);
      w1_[p] = Select(mask, w[p], w1_[p]);
    }
    if (WorksOn(filters_.bands - 1, t)) Write(signal_[t % kSkew][kPairs - 1]);
  }

  // Whether the band has a sample of this block in step t.
  bool WorksOn(size_t band, size_t t) const { return t >= kSkew * band && t - kSkew * band < frames_; }

  EqualizerFilters& filters_;
  const float* in_;
  float* out_;
  size_t frames_;
  const float* weights_;
  Registers alpha_, gamma_, minus_beta_, gain_, gain_move_;
  Registers w1_, w2_;
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
