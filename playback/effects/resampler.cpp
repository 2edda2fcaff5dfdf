// SPDX-License-Identifier: MIT
#include "playback/effects/resampler.h"

#include <soxr.h>

#include <algorithm>
#include <new>
#include <numeric>

namespace melorin {
namespace {

constexpr uint32_t kMaxRate = 768000;
constexpr uint16_t kMaxChannels = 8;
/// Beyond it the filters and their queues grow long, and nothing that plays needs it.
constexpr uint32_t kMaxRatio = 256;
/// The engine is handed pieces of one length and asked for one length of output, whatever the caller's blocks
/// are: then its queues need no more room in one round than in another.
constexpr size_t kPieceFrames = 1024;
constexpr size_t kMinPieceFrames = 64;
constexpr size_t kMaxPieceFrames = 4096;
constexpr size_t kHeldFrames = 1024;
/// So much silence, counted at either rate, makes each queue of a new engine longer than pieces ever will.
/// Found by counting allocations over all pairs of the usual rates: a quarter less, and some pairs allocate
/// later.
constexpr size_t kPrimeFrames = 32768;
constexpr size_t kMaxPrimeFrames = size_t{1} << 18;

struct DeleteSoxr {
  void operator()(soxr* engine) const { soxr_delete(engine); }
};
using Engine = std::unique_ptr<soxr, DeleteSoxr>;

Engine MakeEngine(uint32_t in_rate, uint32_t out_rate, uint16_t channels, ResampleQuality quality) {
  const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
  const soxr_quality_spec_t recipe =
      soxr_quality_spec(quality == ResampleQuality::kHigh ? SOXR_VHQ : SOXR_HQ, 0);
  const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  Engine engine(soxr_create(in_rate, out_rate, channels, &error, &samples, &recipe, &one_thread));
  return error ? nullptr : std::move(engine);
}

/// As much as makes about kPieceFrames of output, within bounds.
size_t PieceFor(uint32_t in_rate, uint32_t out_rate) {
  const uint64_t frames = uint64_t{kPieceFrames} * in_rate / out_rate;
  return static_cast<size_t>(std::clamp<uint64_t>(frames, kMinPieceFrames, kMaxPieceFrames));
}

std::unique_ptr<float[]> Silence(size_t samples) {
  return std::unique_ptr<float[]>(new (std::nothrow) float[samples]());
}

}  // namespace

struct Resampler::State {
  Engine engine;
  uint16_t channels = 0;

  std::unique_ptr<float[]> piece;  ///< Input until there is enough for the engine.
  size_t piece_frames = 0;
  size_t piece_filled = 0;

  std::unique_ptr<float[]> held;  ///< Output of the engine that the caller has not fetched yet.
  size_t held_begin = 0;
  size_t held_end = 0;
  bool engine_holds_more = false;

  uint32_t in_rate = 0;
  uint32_t out_rate = 0;
  uint64_t taken = 0;  ///< Frames of the signal.
  uint64_t given = 0;  ///< Frames of its output, until it ends.
  uint64_t owed = 0;   ///< Frames of its output that are to come when it has ended.
  bool ended = false;

  // A whole number of periods of the two rates, so that the signal behind it lies where it would lie without.
  size_t prime_in = 0;
  size_t prime_out = 0;
  size_t prime_step = 0;
  size_t unwanted = 0;  ///< Output of the silence that is still to come.

  size_t Samples(size_t frames) const { return frames * channels; }

  void PlanPriming() {
    const uint32_t divisor = std::gcd(in_rate, out_rate);
    const uint32_t in_period = in_rate / divisor;
    const uint64_t wanted =
        std::clamp<uint64_t>(uint64_t{kPrimeFrames} * in_rate / out_rate, kPrimeFrames, kMaxPrimeFrames);
    const size_t periods = static_cast<size_t>((wanted + in_period - 1) / in_period);
    prime_step = static_cast<size_t>(wanted);
    prime_in = periods * in_period;
    prime_out = periods * (out_rate / divisor);
  }

  /// Sends silence through a new engine, so that its queues have their size before the signal comes.
  bool Prime() {
    piece_filled = held_begin = held_end = 0;
    engine_holds_more = ended = false;
    taken = given = owed = 0;
    unwanted = prime_out;
    const std::unique_ptr<float[]> in = Silence(Samples(prime_step));
    const std::unique_ptr<float[]> out = Silence(Samples(kPrimeFrames));
    if (!in || !out) return false;
    size_t left = prime_in;
    size_t got = 0;
    while (left > 0 || got == kPrimeFrames) {
      const size_t frames = got == kPrimeFrames ? 0 : std::min(left, prime_step);
      if (soxr_process(engine.get(), in.get(), frames, nullptr, out.get(), kPrimeFrames, &got)) return false;
      left -= frames;
      unwanted -= got;
    }
    return true;
  }

  /// Fills `held`, which is empty.
  bool Run(size_t frames) {
    size_t got = 0;
    if (soxr_process(engine.get(), piece.get(), frames, nullptr, held.get(), kHeldFrames, &got)) return false;
    engine_holds_more = got == kHeldFrames;
    held_begin = std::min(got, unwanted);
    unwanted -= held_begin;
    size_t wanted = got - held_begin;
    if (ended) {
      wanted = static_cast<size_t>(std::min<uint64_t>(wanted, owed));
      owed -= wanted;
    } else {
      given += wanted;
    }
    held_end = held_begin + wanted;
    return true;
  }

  bool RunPiece() {
    piece_filled = 0;
    return Run(piece_frames);
  }

  void End() {
    const uint64_t all = (taken * out_rate + in_rate / 2) / in_rate;
    owed = all - std::min(all, given);
    ended = true;
  }
};

std::unique_ptr<Resampler> Resampler::Create(uint32_t in_rate, uint32_t out_rate, uint16_t channels,
                                             ResampleQuality quality, size_t max_in_frames) {
  if (in_rate == 0 || out_rate == 0 || in_rate > kMaxRate || out_rate > kMaxRate || in_rate == out_rate ||
      channels == 0 || channels > kMaxChannels || max_in_frames == 0)
    return nullptr;
  if (in_rate > uint64_t{out_rate} * kMaxRatio || out_rate > uint64_t{in_rate} * kMaxRatio) return nullptr;
  std::unique_ptr<State> state(new (std::nothrow) State);
  if (!state) return nullptr;
  state->engine = MakeEngine(in_rate, out_rate, channels, quality);
  state->channels = channels;
  state->in_rate = in_rate;
  state->out_rate = out_rate;
  state->piece_frames = std::min(PieceFor(in_rate, out_rate), max_in_frames);
  state->piece = Silence(state->Samples(state->piece_frames));
  state->held = Silence(state->Samples(kHeldFrames));
  if (!state->engine || !state->piece || !state->held) return nullptr;
  state->PlanPriming();
  if (!state->Prime()) return nullptr;
  return std::unique_ptr<Resampler>(new (std::nothrow) Resampler(std::move(state)));
}

Resampler::Resampler(std::unique_ptr<State> state) : state_(std::move(state)) {}

Resampler::~Resampler() = default;

bool Resampler::Process(const float* in, size_t in_frames, float* out, size_t out_capacity, Count* count) {
  *count = {};
  State& s = *state_;
  const bool end = in_frames == 0;
  if (s.ended && !end) return false;
  while (true) {
    const size_t fetched = std::min(s.held_end - s.held_begin, out_capacity - count->out_frames);
    std::copy_n(s.held.get() + s.Samples(s.held_begin), s.Samples(fetched),
                out + s.Samples(count->out_frames));
    s.held_begin += fetched;
    count->out_frames += fetched;
    if (s.held_begin < s.held_end || count->out_frames == out_capacity) return true;

    // More goes in only when nothing is left inside: the engine would take it all the same, and its queues
    // would grow as long as the track is.
    if (s.engine_holds_more) {
      if (!s.Run(0)) return false;
      continue;
    }
    if (end) {
      // Silence pushes the rest out. The engine's own way does the same, but grows its queues.
      if (!s.ended) s.End();
      if (s.owed == 0) return true;
      std::fill(s.piece.get() + s.Samples(s.piece_filled), s.piece.get() + s.Samples(s.piece_frames), 0.0f);
    } else {
      const size_t taken = std::min(s.piece_frames - s.piece_filled, in_frames - count->in_frames);
      std::copy_n(in + s.Samples(count->in_frames), s.Samples(taken),
                  s.piece.get() + s.Samples(s.piece_filled));
      s.piece_filled += taken;
      s.taken += taken;
      count->in_frames += taken;
      if (s.piece_filled < s.piece_frames) return true;
    }
    if (!s.RunPiece()) return false;
  }
}

bool Resampler::Clear() {
  return soxr_clear(state_->engine.get()) == nullptr && state_->Prime();
}

}  // namespace melorin
