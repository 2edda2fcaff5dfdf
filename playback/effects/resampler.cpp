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
/// Beyond it the filters grow long and nothing that plays needs it.
constexpr uint32_t kMaxRatio = 256;
/// The library's queues grow with the largest piece that is handed over, so the pieces are small and even.
constexpr size_t kPieceFrames = 1024;

struct DeleteSoxr {
  void operator()(soxr* engine) const { soxr_delete(engine); }
};
using Engine = std::unique_ptr<soxr, DeleteSoxr>;

Engine MakeEngine(uint32_t in_rate, uint32_t out_rate, uint16_t channels, ResampleQuality quality) {
  const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
  const soxr_quality_spec_t recipe =
      soxr_quality_spec(quality == ResampleQuality::kHigh ? SOXR_VHQ : SOXR_MQ, 0);
  const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  Engine engine(soxr_create(in_rate, out_rate, channels, &error, &samples, &recipe, &one_thread));
  return error ? nullptr : std::move(engine);
}

}  // namespace

struct Resampler::State {
  Engine engine;
  size_t piece_frames = 0;
  uint16_t channels = 0;
  bool may_hold_output = false;
  bool ended = false;
};

std::unique_ptr<Resampler> Resampler::Create(uint32_t in_rate, uint32_t out_rate, uint16_t channels,
                                             ResampleQuality quality, size_t max_in_frames) {
  if (in_rate == 0 || out_rate == 0 || in_rate > kMaxRate || out_rate > kMaxRate || in_rate == out_rate ||
      channels == 0 || channels > kMaxChannels || max_in_frames == 0)
    return nullptr;
  if (in_rate / out_rate >= kMaxRatio || out_rate / in_rate >= kMaxRatio) return nullptr;
  std::unique_ptr<State> state(new (std::nothrow) State);
  if (!state) return nullptr;
  state->engine = MakeEngine(in_rate, out_rate, channels, quality);
  if (!state->engine) return nullptr;
  state->piece_frames = std::min(max_in_frames, kPieceFrames);
  state->channels = channels;
  return std::unique_ptr<Resampler>(new (std::nothrow) Resampler(std::move(state)));
}

Resampler::Resampler(std::unique_ptr<State> state) : state_(std::move(state)) {}

Resampler::~Resampler() = default;

bool Resampler::Process(const float* in, size_t in_frames, float* out, size_t out_capacity, Count* count) {
  *count = {};
  State& s = *state_;
  const bool end = in_frames == 0;
  if (s.ended && !end) return false;
  s.ended = end;
  float nothing = 0;
  // Input goes in only when no output is left inside: otherwise the library would take it all the same, and
  // its queues would grow as long as the track is.
  while (count->out_frames < out_capacity) {
    const size_t want = out_capacity - count->out_frames;
    const size_t piece = s.may_hold_output ? 0 : std::min(in_frames - count->in_frames, s.piece_frames);
    if (!end && !s.may_hold_output && piece == 0) break;
    const float* from = end ? nullptr : piece > 0 ? in + count->in_frames * s.channels : &nothing;
    size_t got = 0;
    if (soxr_process(s.engine.get(), from, piece, nullptr, out + count->out_frames * s.channels, want, &got))
      return false;
    count->in_frames += piece;
    count->out_frames += got;
    s.may_hold_output = got == want;
    if (end && got < want) break;
  }
  return true;
}

bool Resampler::Clear() {
  state_->may_hold_output = false;
  state_->ended = false;
  return soxr_clear(state_->engine.get()) == nullptr;
}

}  // namespace melorin
