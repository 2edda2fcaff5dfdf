// SPDX-License-Identifier: MIT
//
// The built-in skin as the programs carry it.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "skin/image_file.h"
#include "skin/skin_elements.h"
#include "skin/skin_layout.h"
#include "skin/skin_package.h"
#include "skin/skin_reader.h"

namespace melorin {
namespace {

struct Size {
  int32_t width = 0;
  int32_t height = 0;
  bool operator==(const Size&) const = default;
};
void PrintTo(const Size& size, std::ostream* out) {
  *out << size.width << " x " << size.height;
}

class DefaultSkin : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(OpenSkinPackage(kDefaultSkinName, &package_), SkinPackageResult::kOpened);
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(package_->Read(kSkinFileName, bytes));
    ASSERT_EQ(ReadSkinDescription(bytes, skin_, &findings_), SkinReadResult::kRead);
  }

  /// Of an image; nothing when it cannot be read.
  Size SizeOf(const std::string& name) {
    std::vector<uint8_t> bytes;
    Bitmap image;
    if (!package_->Read(name, bytes) || !DecodeImage(bytes, kNoColour, image)) return {};
    return {image.width, image.height};
  }

  std::unique_ptr<SkinPackage> package_;
  SkinDescription skin_;
  std::vector<SkinFinding> findings_;
};

/// What an element takes of the package and of its window.
struct ElementFacts {
  std::vector<std::string> images;
  std::optional<SkinRect> position;

  void Rect(const char* name, const SkinRect& rect, SkinNeed) {
    if (std::string_view(name) == "position") position = rect;
  }
  void Image(const char*, const std::string& name, SkinNeed) {
    if (!name.empty()) images.push_back(name);
  }
  void Align(const char*, int32_t) {}
  void Flag(const char*, bool) {}
  void Colour(const char*, SkinColour) {}
  void Integer(const char*, int32_t) {}
  void Text(const char*, const std::string&) {}
};

/// All elements of a window, as facts.
struct ElementList {
  std::map<std::string, ElementFacts> elements;

  template <class Kind>
  void Element(const char* name, const std::optional<Kind>& element, SkinNeed) {
    if (element) VisitSkinAttributes(*element, elements[name]);
  }
};

TEST_F(DefaultSkin, GivesItsAuthorsNothingToLookAt) {
  for (const SkinFinding& finding : findings_)
    ADD_FAILURE() << finding.path << ": " << finding.text;
  EXPECT_EQ(skin_.name_gbk, "Melorin");
}

TEST_F(DefaultSkin, HasFiveWindowsWhoseControlsLieInsideThem) {
  VisitSkinWindows(skin_, [&](const char* name, const auto& window, bool mini) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(window);
    const Size size = SizeOf(window->image);
    ElementList list;
    VisitSkinElements(*window, mini, list);
    for (const auto& [element, facts] : list.elements) {
      SCOPED_TRACE(element);
      if (!facts.position) continue;
      EXPECT_FALSE(facts.position->IsEmpty());
      EXPECT_GE(facts.position->left, 0);
      EXPECT_GE(facts.position->top, 0);
      EXPECT_LE(facts.position->right, size.width);
      EXPECT_LE(facts.position->bottom, size.height);
    }
  });
  const SkinEqualizerWindow& equalizer = *skin_.equalizer_window;
  const int32_t step = equalizer.eqfactor->position.Width() + equalizer.eq_interval;
  EXPECT_LE(equalizer.eqfactor->position.right + 9 * step, SizeOf(equalizer.image).width);
}

TEST_F(DefaultSkin, HasEveryImageAtBothScales) {
  VisitSkinWindows(skin_, [&](const char* name, const auto& window, bool mini) {
    ASSERT_TRUE(window);
    ElementList list;
    VisitSkinElements(*window, mini, list);
    VisitSkinAttributes(*window, list.elements[name]);
    for (const auto& [element, facts] : list.elements) {
      for (const std::string& image : facts.images) {
        SCOPED_TRACE(image);
        const Size once = SizeOf(image);
        EXPECT_GT(once.width, 0);
        std::string twice = image;
        twice.insert(twice.rfind('.'), "@2x");
        EXPECT_EQ(SizeOf(twice), (Size{2 * once.width, 2 * once.height}));
      }
    }
  });
  EXPECT_EQ(SizeOf("thumbnail.png"), SizeOf(skin_.player_window->image));
}

TEST_F(DefaultSkin, ButtonsHaveACellForEveryState) {
  const auto check = [&](const std::optional<SkinButton>& button, int32_t rows) {
    ASSERT_TRUE(button);
    SCOPED_TRACE(button->image);
    EXPECT_EQ(SizeOf(button->image), (Size{button->position.Width() * 4, button->position.Height() * rows}));
  };
  const SkinPlayerWindow& player = *skin_.player_window;
  for (size_t i = 0; i < kSkinPlayerButtons; ++i) {
    const auto button = static_cast<SkinPlayerButton>(i);
    const bool toggles = button == SkinPlayerButton::kMute || button == SkinPlayerButton::kLyric ||
                         button == SkinPlayerButton::kEqualizer || button == SkinPlayerButton::kPlaylist;
    check(player.buttons[i], toggles ? 2 : 1);
    if (skin_.mini_window->buttons[i]) check(skin_.mini_window->buttons[i], toggles ? 2 : 1);
  }
  check(skin_.lyric_window->ontop, 2);
  check(skin_.equalizer_window->enabled, 2);
  const SkinToolbar& toolbar = *skin_.playlist_window->toolbar;
  EXPECT_EQ(SizeOf(toolbar.image),
            (Size{toolbar.position.Width(), toolbar.position.Height() * kToolbarRows}));
  EXPECT_EQ(toolbar.position.Width() % kToolbarButtons, 0);
}

}  // namespace
}  // namespace melorin
