// SPDX-License-Identifier: MIT
#include "skin/skin_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/file.h"
#include "platform/text.h"
#include "skin/image_file.h"
#include "skin/skin_elements.h"
#include "skin/skin_findings.h"
#include "skin/skin_layout.h"

namespace melorin {

namespace {

using Kind = SkinFinding::Kind;

/// Of the pixels behind a text, so many may be too near its colour: edges and ornaments.
constexpr size_t kPoorPixelsPerCent = 5;
constexpr uint32_t kMostlyOpaque = 128;
constexpr int32_t kStates = 4;
constexpr int32_t kScrollButtons = 2;
constexpr int32_t kBands = 10;
/// "00:00"
constexpr int32_t kLeastLedDigits = 5;

/// Of a component of sRGB.
double LinearLight(uint32_t component) {
  const double value = component / 255.0;
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

/// Relative luminance, 0 to 1. Source: WCAG 2.2, "relative luminance".
double Luminance(uint32_t red, uint32_t green, uint32_t blue) {
  static const std::array<double, 256> linear = [] {
    std::array<double, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i)
      table[i] = LinearLight(i);
    return table;
  }();
  return 0.2126 * linear[red & 255] + 0.7152 * linear[green & 255] + 0.0722 * linear[blue & 255];
}

double Luminance(SkinColour colour) {
  const auto bits = static_cast<uint32_t>(colour);
  return Luminance(bits, bits >> 8, bits >> 16);
}

double Ratio(double a, double b) {
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

/// The contrast that all but the poorest pixels of `area` have to `colour`; nothing when the bitmap is
/// transparent there.
std::optional<double> ContrastOver(const Bitmap& bitmap, const SkinRect& area, SkinColour colour) {
  const double own = Luminance(colour);
  std::vector<float> ratios;
  for (int32_t y = std::max(area.top, 0); y < std::min(area.bottom, bitmap.height); ++y) {
    for (int32_t x = std::max(area.left, 0); x < std::min(area.right, bitmap.width); ++x) {
      const uint32_t pixel = bitmap.Row(y)[x];
      const uint32_t alpha = pixel >> 24;
      if (alpha < kMostlyOpaque) continue;
      const auto component = [&](int shift) { return std::min(255u, (pixel >> shift & 255) * 255 / alpha); };
      ratios.push_back(static_cast<float>(Ratio(own, Luminance(component(16), component(8), component(0)))));
    }
  }
  if (ratios.empty()) return std::nullopt;
  const auto at = ratios.begin() + static_cast<ptrdiff_t>(ratios.size() * kPoorPixelsPerCent / 100);
  std::nth_element(ratios.begin(), at, ratios.end());
  return *at;
}

std::string Pixels(int32_t width, int32_t height) {
  return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

/// "name@2x.ext"
std::string DoubleName(std::string_view name_gbk) {
  const std::string_view extension = PathExtension(name_gbk);
  const size_t stem = name_gbk.size() - (extension.empty() ? 0 : extension.size() + 1);
  return std::string(name_gbk.substr(0, stem)).append("@2x").append(name_gbk.substr(stem));
}

/// What is known about the images of a package. Only their sizes are kept.
class ImageFacts {
 public:
  enum class State { kGood, kMissing, kUnreadable };
  struct Fact {
    State state = State::kMissing;
    int32_t width = 0;
    int32_t height = 0;
  };

  ImageFacts(SkinPackage& package, SkinColour transparent) : package_(package), transparent_(transparent) {}

  const Fact& Of(const std::string& name_gbk) {
    const auto [place, added] = facts_.try_emplace(name_gbk);
    if (added) {
      Bitmap bitmap;
      place->second.state = Load(name_gbk, bitmap);
      place->second.width = bitmap.width;
      place->second.height = bitmap.height;
    }
    return place->second;
  }
  State Load(const std::string& name_gbk, Bitmap& out) {
    std::vector<uint8_t> bytes;
    if (!package_.Read(name_gbk, bytes)) return State::kMissing;
    if (DecodeImage(bytes, transparent_, out)) return State::kGood;
    out = {};
    return State::kUnreadable;
  }

 private:
  SkinPackage& package_;
  const SkinColour transparent_;
  std::map<std::string, Fact> facts_;
};

/// Checks one window: the visitor of its elements.
class WindowCheck {
 public:
  WindowCheck(std::string path, const std::string& image_gbk, ImageFacts& images, SkinFindings& findings)
      : path_(std::move(path)), images_(images), findings_(findings) {
    if (!image_gbk.empty()) images.Load(image_gbk, background_);
  }

  template <class Window>
  void Own(const Window& window) {
    CheckAttributes(path_, window);
    if constexpr (!std::is_same_v<Window, SkinPlayerWindow>) CheckSize(window);
    if constexpr (std::is_same_v<Window, SkinEqualizerWindow>) CheckBands(window);
  }

  template <class Type>
  void Element(std::string_view name, const std::optional<Type>& slot, SkinNeed) {
    if (!slot) return;
    const std::string path = path_ + "/" + std::string(name);
    CheckAttributes(path, *slot);
    Check(path, *slot);
  }

 private:
  /// The visitor of one element's attributes: its images and its position.
  class AttributeCheck {
   public:
    AttributeCheck(WindowCheck& window, const std::string& path, bool inside)
        : window_(window), path_(path), inside_(inside) {}
    void Rect(std::string_view name, const SkinRect& rect, SkinNeed) {
      if (inside_) window_.CheckInside(path_ + "@" + std::string(name), rect);
    }
    void Image(std::string_view name, const std::string& image_gbk, SkinNeed) {
      if (!image_gbk.empty()) window_.CheckImage(path_ + "@" + std::string(name), image_gbk);
    }
    void Text(std::string_view, const std::string&) {}
    void Align(std::string_view, int32_t) {}
    void Flag(std::string_view, bool) {}
    void Colour(std::string_view, SkinColour) {}
    void Integer(std::string_view, int32_t) {}

   private:
    WindowCheck& window_;
    const std::string& path_;
    const bool inside_;
  };

  template <class Type>
  void CheckAttributes(const std::string& path, const Type& element) {
    constexpr bool kWindow =
        std::is_same_v<Type, SkinPlayerWindow> || std::is_base_of_v<SkinToolWindow, Type>;
    AttributeCheck check(*this, path, !kWindow);
    VisitSkinAttributes(element, check);
  }

  void Poor(const std::string& path, std::string text) { findings_.Add(Kind::kPoor, path, std::move(text)); }

  void CheckImage(const std::string& path, const std::string& name_gbk) {
    const auto fact = images_.Of(name_gbk);
    const std::string name = QuotedText(Utf8FromGbk(name_gbk));
    if (fact.state == ImageFacts::State::kMissing)
      findings_.Add(Kind::kMissing, path, "The package has no file " + name + ".");
    else if (fact.state == ImageFacts::State::kUnreadable)
      findings_.Add(Kind::kInvalid, path, name + " is no BMP or PNG image that the player can read.");
    const auto& twice = images_.Of(DoubleName(name_gbk));
    const std::string twice_name = QuotedText(Utf8FromGbk(DoubleName(name_gbk)));
    if (twice.state == ImageFacts::State::kUnreadable)
      findings_.Add(Kind::kInvalid, path, twice_name + " is no BMP or PNG image that the player can read.");
    else if (twice.state == ImageFacts::State::kGood && fact.state == ImageFacts::State::kGood &&
             (twice.width != fact.width * 2 || twice.height != fact.height * 2))
      Poor(path, twice_name + " has " + Pixels(twice.width, twice.height) + " where twice " + name + ", " +
                     Pixels(fact.width * 2, fact.height * 2) + ", is expected.");
  }

  void CheckInside(const std::string& path, const SkinRect& rect) {
    if (background_.IsEmpty() || rect.IsEmpty()) return;
    if (rect.left < 0 || rect.top < 0 || rect.right > background_.width || rect.bottom > background_.height)
      Poor(path, "The position reaches out of the window, whose bitmap has " +
                     Pixels(background_.width, background_.height) + ".");
  }

  /// Null unless the image can be read.
  const ImageFacts::Fact* Good(const std::string& name_gbk) {
    if (name_gbk.empty()) return nullptr;
    const ImageFacts::Fact& fact = images_.Of(name_gbk);
    return fact.state == ImageFacts::State::kGood ? &fact : nullptr;
  }

  /// The image must divide into that many cells.
  bool CheckCells(const std::string& path, const ImageFacts::Fact& fact, int32_t columns, int32_t rows) {
    if (fact.width % columns == 0 && fact.height % rows == 0) return true;
    Poor(path, "An image of " + Pixels(fact.width, fact.height) + " cannot be divided into " +
                   std::to_string(columns) + " equal columns and " + std::to_string(rows) +
                   (rows == 1 ? " row." : " rows."));
    return false;
  }

  /// Bitmaps are drawn in the middle of their place, and what sticks out is cut.
  void CheckFits(const std::string& path, const ImageFacts::Fact& fact, int32_t columns, int32_t rows,
                 int32_t width, int32_t height) {
    if (width <= 0 || height <= 0) return;
    const int32_t cell_width = fact.width / columns;
    const int32_t cell_height = fact.height / rows;
    if (cell_width > width || cell_height > height)
      Poor(path, "A cell of " + Pixels(cell_width, cell_height) + " is larger than its place of " +
                     Pixels(width, height) + "; what sticks out is cut.");
  }

  /// A bar must reach from one end of its slider to the other, but may be thinner.
  void CheckBar(const std::string& path, const std::string& image_gbk, const SkinSlider& slider) {
    const auto* fact = Good(image_gbk);
    const int32_t width = slider.position.Width();
    const int32_t height = slider.position.Height();
    if (fact == nullptr || slider.position.IsEmpty()) return;
    if (fact->width > width || fact->height > height ||
        (slider.vertical ? fact->height != height : fact->width != width))
      Poor(path, "The image has " + Pixels(fact->width, fact->height) + " where the slider has " +
                     Pixels(width, height) + ": it must be as " + (slider.vertical ? "high" : "wide") +
                     ", and no " + (slider.vertical ? "wider." : "higher."));
  }

  void CheckSize(const SkinToolWindow& window) {
    if (background_.IsEmpty()) return;
    const SkinRect& rect = window.resize_rect;
    if (!rect.IsEmpty() &&
        (rect.left < 0 || rect.top < 0 || rect.right > background_.width || rect.bottom > background_.height))
      Poor(path_ + "@resize_rect", "The rectangle reaches out of the window's bitmap, which has " +
                                       Pixels(background_.width, background_.height) + ".");
    if (window.position.IsEmpty()) return;
    const int32_t width = window.position.Width();
    const int32_t height = window.position.Height();
    if (rect.IsEmpty() ? width != background_.width || height != background_.height
                       : width < background_.width || height < background_.height)
      Poor(path_ + "@position",
           "The window has " + Pixels(width, height) + " here and its bitmap " +
               Pixels(background_.width, background_.height) +
               (rect.IsEmpty() ? "; without resize_rect they must be the same." : "; it cannot be smaller."));
  }

  void CheckBands(const SkinEqualizerWindow& window) {
    if (background_.IsEmpty() || !window.eqfactor || window.eqfactor->position.IsEmpty()) return;
    const SkinRect& first = window.eqfactor->position;
    const int32_t end = first.left + kBands * first.Width() + (kBands - 1) * window.eq_interval;
    if (end > background_.width || window.eq_interval < 0)
      Poor(path_ + "@eq_interval", "The ten sliders end at " + std::to_string(end) +
                                       " pixels from the left, in a window of " +
                                       std::to_string(background_.width) + ".");
  }

  void Check(const std::string& path, const SkinButton& button) {
    const auto* fact = Good(button.image);
    if (fact == nullptr || button.position.IsEmpty()) return;
    const int32_t width = button.position.Width();
    const int32_t height = button.position.Height();
    const int32_t cells = std::clamp((fact->width * 2 + width) / (width * 2), 1, kStates);
    if (fact->width == cells * width && (fact->height <= height || fact->height == height * 2)) return;
    Poor(path + "@image", "An image of " + Pixels(fact->width, fact->height) +
                              " is not made of 1 to 4 cells, in 1 or 2 rows, of the position's " +
                              Pixels(width, height) + ".");
  }

  void Check(const std::string& path, const SkinSlider& slider) {
    const SkinRect& position = slider.position;
    CheckBar(path + "@bar_image", slider.bar_image, slider);
    CheckBar(path + "@fill_image", slider.fill_image, slider);
    const auto* thumb = Good(slider.thumb_image);
    if (thumb != nullptr && CheckCells(path + "@thumb_image", *thumb, kStates, 1))
      CheckFits(path + "@thumb_image", *thumb, kStates, 1, position.Width(), position.Height());
  }

  void Check(const std::string& path, const SkinLed& led) {
    const auto* fact = Good(led.image);
    if (fact == nullptr || !CheckCells(path + "@image", *fact, kLedCells, 1) || led.position.IsEmpty())
      return;
    const int32_t digit = fact->width / kLedCells;
    if (digit * kLeastLedDigits > led.position.Width() || fact->height > led.position.Height())
      Poor(path + "@position", "Five digits of " + Pixels(digit, fact->height) + " do not fit into " +
                                   Pixels(led.position.Width(), led.position.Height()) + ".");
  }

  void Check(const std::string& path, const SkinText& text) {
    const SkinRect& position = text.position;
    if (text.font_size <= 0)
      Poor(path + "@font_size", "The height of characters must be more than 0 pixels.");
    else if (!position.IsEmpty() && text.font_size > position.Height())
      Poor(path + "@font_size", "Characters of " + std::to_string(text.font_size) +
                                    " pixels do not fit into a position " +
                                    std::to_string(position.Height()) + " pixels high.");
    CheckContrast(path, text);
  }

  void CheckContrast(const std::string& path, const SkinText& text) {
    std::optional<double> contrast;
    if (text.background != kNoColour) {
      contrast = ContrastRatio(text.colour, text.background);
    } else {
      if (background_.IsEmpty() || text.position.IsEmpty()) return;
      contrast = ContrastOver(background_, text.position, text.colour);
    }
    if (!contrast) {
      Poor(path + "@position",
           "The window is transparent behind this text, so that nobody knows whether it "
           "can be read.");
    } else if (*contrast < kLeastTextContrast) {
      const int tenths = static_cast<int>(*contrast * 10);
      Poor(path + "@color", "The text is hard to read: its contrast to what is behind it is " +
                                std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) +
                                ":1, and should be 4.5:1 or more.");
    }
  }

  void Check(const std::string&, const SkinArea&) {}

  void Check(const std::string& path, const SkinTitle& title) {
    const SkinRect& position = title.text.position;
    if (title.image.empty())
      Check(path, title.text);
    else if (const auto* fact = Good(title.image))
      CheckFits(path + "@image", *fact, 1, 1, position.Width(), position.Height());
  }

  void Check(const std::string& path, const SkinToolbar& toolbar) {
    const auto* fact = Good(toolbar.image);
    if (fact != nullptr && CheckCells(path + "@image", *fact, kToolbarButtons, kToolbarRows))
      CheckFits(path + "@image", *fact, kToolbarButtons, kToolbarRows,
                toolbar.position.Width() / kToolbarButtons, toolbar.position.Height());
  }

  void Check(const std::string& path, const SkinScrollBar& bar) {
    if (const auto* buttons = Good(bar.buttons_image))
      CheckCells(path + "@buttons_image", *buttons, kStates, kScrollButtons);
    const auto* thumb = Good(bar.thumb_image);
    if (thumb == nullptr || !CheckCells(path + "@thumb_image", *thumb, kStates, 1)) return;
    if (bar.thumb_resize_center < 0 || bar.thumb_resize_center > thumb->height)
      Poor(path + "@thumb_resize_center", "The part that grows must lie within the thumb, which is " +
                                              std::to_string(thumb->height) + " pixels high.");
  }

  const std::string path_;
  Bitmap background_;
  ImageFacts& images_;
  SkinFindings& findings_;
};

}  // namespace

double ContrastRatio(SkinColour a, SkinColour b) {
  return Ratio(Luminance(a), Luminance(b));
}

void CheckSkin(const SkinDescription& skin, SkinPackage& package, std::vector<SkinFinding>* findings_out) {
  SkinFindings findings(findings_out);
  ImageFacts images(package, skin.transparent_colour);
  VisitSkinWindows(skin, [&](std::string_view name, const auto& window, bool mini) {
    if (!window || !findings.Wanted()) return;
    WindowCheck check(std::string(kSkinRoot) + "/" + std::string(name), window->image, images, findings);
    check.Own(*window);
    VisitSkinElements(*window, mini, check);
  });
}

}  // namespace melorin
