// SPDX-License-Identifier: MIT
//
// Composes the built-in tune and writes it as a 16-bit stereo Wave file: make_demo_tune OUT.wav
//
// Ten bars in D major, plucked bells over soft pads with a slow echo, 20 seconds with the fade. Every run of
// it gives the same samples: no clock, no random source. Runs on the build machine.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr double kTau = 2 * std::numbers::pi;
constexpr double kBeat = 0.5;     // Seconds; 120 beats a minute.
constexpr double kLength = 20.5;  // Seconds in all.
constexpr double kFade = 3.0;
constexpr double kPeak = 0.7079;  // -3 dBFS.

struct Stereo {
  std::vector<double> left = std::vector<double>(static_cast<size_t>(kLength * kRate));
  std::vector<double> right = std::vector<double>(static_cast<size_t>(kLength * kRate));
};

double Frequency(int note) {
  return 440.0 * std::pow(2.0, (note - 69) / 12.0);
}

/// Partials of a struck bar, each dying at its own pace.
void AddBell(Stereo& out, double start, int note, double loudness, double pan) {
  struct Partial {
    double ratio, level, seconds;
  };
  static constexpr Partial kPartials[] = {
      {1, 1, 1.3}, {2.0, 0.32, 0.8}, {2.99, 0.16, 0.45}, {5.4, 0.07, 0.16}};
  const auto first = static_cast<size_t>(start * kRate);
  const size_t count =
      std::min(out.left.size() - std::min(first, out.left.size()), static_cast<size_t>(3 * kRate));
  const double left = std::cos((pan + 1) * std::numbers::pi / 4);
  const double right = std::sin((pan + 1) * std::numbers::pi / 4);
  for (size_t i = 0; i < count; ++i) {
    const double t = static_cast<double>(i) / kRate;
    double sample = 0;
    for (const Partial& p : kPartials) {
      const double frequency = Frequency(note) * p.ratio;
      if (frequency < 16000)
        sample += p.level * std::exp(-t / p.seconds * 2.2) * std::sin(kTau * frequency * t);
    }
    // Four milliseconds of attack: soft, without a click; the tail is cut where it is all but silent.
    sample *= loudness * std::min(1.0, t / 0.004) * std::min(1.0, (3.0 - t) / 0.2);
    out.left[first + i] += sample * left;
    out.right[first + i] += sample * right;
  }
}

/// Two detuned voices a side that swell and fall over the chord's time.
void AddPad(Stereo& out, double start, double seconds, int note, double loudness) {
  const auto first = static_cast<size_t>(start * kRate);
  if (first >= out.left.size()) return;
  const size_t count = std::min(out.left.size() - first, static_cast<size_t>((seconds + 0.8) * kRate));
  const double f = Frequency(note);
  for (size_t i = 0; i < count; ++i) {
    const double t = static_cast<double>(i) / kRate;
    const double swell = std::min({1.0, t / 0.6, (seconds + 0.8 - t) / 0.8});
    const double shape = 0.5 - 0.5 * std::cos(std::numbers::pi * std::max(0.0, swell));
    const auto voice = [&](double detune) {
      const double phase = kTau * f * detune * t;
      return std::sin(phase) + 0.25 * std::sin(2 * phase) + 0.08 * std::sin(3 * phase);
    };
    out.left[first + i] += loudness * shape * (voice(0.9985) + voice(1.0004));
    out.right[first + i] += loudness * shape * (voice(1.0015) + voice(0.9996));
  }
}

/// The echo of one side comes back on the other.
void AddEcho(Stereo& out) {
  const auto delay = static_cast<size_t>(kBeat * 0.75 * kRate);
  for (size_t i = delay; i < out.left.size(); ++i) {
    out.left[i] += 0.28 * out.right[i - delay];
    out.right[i] += 0.28 * out.left[i - delay];
  }
}

void Compose(Stereo& out) {
  // Dmaj7, Bm7, Gmaj7, A, twice, then G and a D to rest on; two beats of melody a quarter, 0 is a rest.
  struct Bar {
    int bass;
    int chord[3];
    int melody[8];
  };
  static constexpr Bar kBars[] = {
      {50, {57, 61, 66}, {78, 0, 81, 0, 85, 83, 81, 0}}, {47, {54, 57, 62}, {78, 0, 74, 0, 76, 78, 0, 0}},
      {43, {55, 59, 66}, {74, 0, 78, 0, 83, 81, 78, 0}}, {45, {57, 61, 64}, {76, 0, 0, 73, 76, 0, 81, 0}},
      {50, {57, 61, 66}, {86, 0, 85, 81, 0, 78, 81, 0}}, {47, {54, 57, 62}, {83, 0, 81, 78, 0, 74, 78, 0}},
      {43, {55, 59, 62}, {79, 0, 78, 0, 76, 74, 0, 71}}, {45, {57, 61, 64}, {73, 0, 76, 0, 81, 0, 79, 0}},
      {43, {55, 59, 66}, {78, 0, 74, 0, 71, 0, 74, 0}},  {50, {57, 62, 66}, {74, 0, 0, 81, 86, 0, 0, 0}},
  };
  double start = 0.05;
  int step = 0;
  for (const Bar& bar : kBars) {
    const double seconds = 4 * kBeat;
    AddPad(out, start, seconds, bar.bass, 0.10);
    for (int note : bar.chord)
      AddPad(out, start, seconds, note, 0.045);
    AddBell(out, start, bar.bass + 12, 0.35, 0);
    for (int i = 0; i < 8; ++i, ++step) {
      const double at = start + i * kBeat / 2;
      if (bar.melody[i] != 0)
        AddBell(out, at, bar.melody[i], i % 4 == 0 ? 0.62 : 0.48, 0.45 * std::sin(step * 0.7));
      // A quiet broken chord under the melody, on the offbeats.
      if (i % 2 == 1) AddBell(out, at, bar.chord[(i / 2) % 3] + 12, 0.14, i % 4 == 1 ? -0.6 : 0.6);
    }
    start += seconds;
  }
}

void FadeAndLevel(Stereo& out) {
  double peak = 0;
  const size_t count = out.left.size();
  const auto fade = static_cast<size_t>(kFade * kRate);
  for (size_t i = 0; i < count; ++i) {
    const size_t left = count - 1 - i;
    const double gain =
        left < fade
            ? 0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(left) / static_cast<double>(fade))
            : 1;
    out.left[i] *= gain;
    out.right[i] *= gain;
    peak = std::max({peak, std::abs(out.left[i]), std::abs(out.right[i])});
  }
  for (size_t i = 0; i < count; ++i) {
    out.left[i] *= kPeak / peak;
    out.right[i] *= kPeak / peak;
  }
}

void Put(std::vector<uint8_t>& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i)
    out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

std::vector<uint8_t> WaveFile(const Stereo& sound) {
  std::vector<uint8_t> out;
  const auto bytes = static_cast<uint32_t>(sound.left.size() * 4);
  const auto text = [&](const char* name) { out.insert(out.end(), name, name + 4); };
  text("RIFF");
  Put(out, 36 + bytes, 4);
  text("WAVE");
  text("fmt ");
  Put(out, 16, 4);
  Put(out, 1, 2);
  Put(out, 2, 2);
  Put(out, kRate, 4);
  Put(out, kRate * 4, 4);
  Put(out, 4, 2);
  Put(out, 16, 2);
  text("data");
  Put(out, bytes, 4);
  for (size_t i = 0; i < sound.left.size(); ++i) {
    for (double sample : {sound.left[i], sound.right[i]})
      Put(out, static_cast<uint16_t>(static_cast<int16_t>(std::lround(sample * 32767))), 2);
  }
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_demo_tune OUT.wav\n");
    return 2;
  }
  Stereo sound;
  Compose(sound);
  AddEcho(sound);
  FadeAndLevel(sound);
  const std::vector<uint8_t> bytes = WaveFile(sound);
  std::FILE* file = std::fopen(argv[1], "wb");
  const bool written = file && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  if (!file || std::fclose(file) != 0 || !written) {
    std::fprintf(stderr, "make_demo_tune: cannot write %s\n", argv[1]);
    return 1;
  }
}
