// SPDX-License-Identifier: MIT
//
// Reading the description of the built-in skin: what choosing a skin waits for, and what the list of skins
// does once a package. Beside it a parser of the same text alone.
#include <benchmark/benchmark.h>

#include <pugixml.hpp>
#include <string>
#include <vector>

#include "skin/skin_package.h"
#include "skin/skin_reader.h"

namespace melorin {
namespace {

std::vector<uint8_t> Description() {
  std::unique_ptr<SkinPackage> package;
  std::vector<uint8_t> bytes;
  if (OpenSkinPackage(kDefaultSkinName, &package) == SkinPackageResult::kOpened)
    package->Read(kSkinFileName, bytes);
  return bytes;
}

void Report(benchmark::State& state, const std::vector<uint8_t>& bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

void ReadDescription(benchmark::State& state) {
  const std::vector<uint8_t> bytes = Description();
  for (auto _ : state) {
    SkinDescription skin;
    if (ReadSkinDescription(bytes, skin) != SkinReadResult::kRead) return state.SkipWithError("not read");
    benchmark::DoNotOptimize(skin);
  }
  Report(state, bytes);
}
BENCHMARK(ReadDescription);

void ReadDescriptionWithFindings(benchmark::State& state) {
  const std::vector<uint8_t> bytes = Description();
  std::vector<SkinFinding> findings;
  for (auto _ : state) {
    SkinDescription skin;
    if (ReadSkinDescription(bytes, skin, &findings) != SkinReadResult::kRead)
      return state.SkipWithError("not read");
    benchmark::DoNotOptimize(skin);
  }
  Report(state, bytes);
}
BENCHMARK(ReadDescriptionWithFindings);

void PugixmlParsesOnly(benchmark::State& state) {
  const std::vector<uint8_t> bytes = Description();
  for (auto _ : state) {
    pugi::xml_document document;
    if (!document.load_buffer(bytes.data(), bytes.size())) return state.SkipWithError("not parsed");
    benchmark::DoNotOptimize(document.first_child());
  }
  Report(state, bytes);
}
BENCHMARK(PugixmlParsesOnly);

}  // namespace
}  // namespace melorin

BENCHMARK_MAIN();
