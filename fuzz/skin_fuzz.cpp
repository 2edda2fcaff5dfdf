// SPDX-License-Identifier: MIT
//
// Any bytes as a skin description: what is found stays bounded and is the same twice, and what is read does
// not depend on whether somebody wants the findings.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "skin/skin_reader.h"
#include "skin/skin_values.h"

namespace {

bool WithinReach(const melorin::SkinRect& rect) {
  for (const int32_t side : {rect.left, rect.top, rect.right, rect.bottom})
    if (side < -melorin::kFarthestSkinPixel || side > melorin::kFarthestSkinPixel) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  melorin::SkinDescription skin;
  std::vector<melorin::SkinFinding> findings;
  const melorin::SkinReadResult result = melorin::ReadSkinDescription({data, size}, skin, &findings);
  if (findings.size() > melorin::kMostSkinFindings) std::abort();
  for (const melorin::SkinFinding& finding : findings)
    if (finding.path.size() > 500 || finding.text.empty() || finding.text.size() > 500) std::abort();
  // Nobody draws a whole skin, so that no author hears nothing.
  if (result != melorin::SkinReadResult::kRead && findings.empty()) std::abort();
  if (result == melorin::SkinReadResult::kRead && skin.version != 2) std::abort();
  if (skin.playlist_window && !WithinReach(skin.playlist_window->resize_rect)) std::abort();
  if (skin.player_window && skin.player_window->info && !WithinReach(skin.player_window->info->position))
    std::abort();

  melorin::SkinDescription again;
  if (melorin::ReadSkinDescription({data, size}, again) != result) std::abort();
  if (again.name_gbk != skin.name_gbk || again.mini_window.has_value() != skin.mini_window.has_value())
    std::abort();
  return 0;
}
