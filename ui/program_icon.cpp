// SPDX-License-Identifier: MIT
//
// The same drawing as tools/make_icon.py: a rounded square with a drop whose inside holds a wave, from signed
// distances in a square of -1 to 1.
#include "ui/program_icon.h"

#include <algorithm>
#include <cmath>

#include "skin/bitmap_draw.h"

namespace melorin {
namespace {

constexpr int32_t kLargest = 256;

struct Ink {
  double red;
  double green;
  double blue;
};
constexpr Ink kTop = {38, 166, 148};
constexpr Ink kBottom = {17, 94, 110};
constexpr Ink kLight = {250, 252, 252};
constexpr Ink kDark = {20, 84, 98};

struct Bar {
  double x;
  double half_height;
};
constexpr Bar kBars[] = {{-0.26, 0.07}, {-0.09, 0.2}, {0.09, 0.27}, {0.26, 0.12}};
constexpr double kBarRadius = 0.055;
constexpr double kDropMiddle = 0.14;
constexpr double kDropRadius = 0.46;
constexpr double kTipHeight = 0.92;  ///< Above the drop's middle.

double RoundedBox(double x, double y, double half, double radius) {
  const double dx = std::abs(x) - half + radius;
  const double dy = std::abs(y) - half + radius;
  return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) - radius;
}

/// A circle with a point on top: the tangents from the tip touch it where sin(angle) = radius / distance.
double Drop(double x, double y) {
  constexpr double kSine = kDropRadius / kTipHeight;
  const double cosine = std::sqrt(1 - kSine * kSine);
  const double circle = std::hypot(x, y - kDropMiddle) - kDropRadius;
  const double below_tip = y - kDropMiddle + kTipHeight;
  const double cone =
      std::max(std::abs(x) * cosine - below_tip * kSine, below_tip - kTipHeight * cosine * cosine);
  return std::min(circle, std::max(cone, -below_tip));
}

double Upright(double x, double y, const Bar& bar) {
  const double nearest = std::clamp(y, kDropMiddle - bar.half_height, kDropMiddle + bar.half_height);
  return std::hypot(x - bar.x, y - nearest) - kBarRadius;
}

Ink Mix(const Ink& a, const Ink& b, double part) {
  return {a.red + (b.red - a.red) * part, a.green + (b.green - a.green) * part,
          a.blue + (b.blue - a.blue) * part};
}

uint32_t Byte(double value) {
  return static_cast<uint32_t>(value + 0.5);
}

}  // namespace

Bitmap ProgramIcon(int32_t size) {
  size = std::clamp(size, 1, kLargest);
  Bitmap icon(size, size);
  const double unit = 2.0 / size;
  const auto covered = [&](double distance) { return std::clamp(0.5 - distance / unit, 0.0, 1.0); };
  for (int32_t row = 0; row < size; ++row) {
    const double y = (row + 0.5) * unit - 1;
    for (int32_t column = 0; column < size; ++column) {
      const double x = (column + 0.5) * unit - 1;
      Ink ink = Mix(kTop, kBottom, (y + 1) / 2);
      ink = Mix(ink, kLight, covered(Drop(x, y)));
      for (const Bar& bar : kBars)
        ink = Mix(ink, kDark, covered(Upright(x, y, bar)));
      const uint32_t opaque = 0xFF000000u | Byte(ink.red) << 16 | Byte(ink.green) << 8 | Byte(ink.blue);
      icon.Row(row)[column] = ScalePixel(opaque, Byte(covered(RoundedBox(x, y, 0.96, 0.36)) * 255));
    }
  }
  return icon;
}

}  // namespace melorin
