// SPDX-License-Identifier: MIT
#include "playback/effects/track_gain.h"

#include <gtest/gtest.h>

#include <cmath>

namespace melorin {
namespace {

TEST(TrackGain, ReadsWhatTagsHold) {
  struct {
    std::u16string text;
    std::optional<double> gain;
    std::optional<double> peak;
  } const cases[] = {
      {u"-6.54 dB", -6.54, {}},
      {u"+1.2dB", 1.2, 1.2},
      {u"3,5 DB", 3.5, 3.5},
      {u"  -0.5", -0.5, {}},
      {u"\u2212"
       u"4.00 dB",
       -4,
       {}},
      {u".5", 0.5, 0.5},
      {u"7.", 7, 7},
      {u"0", 0, {}},
      {u"60", 60, 60},
      {u"60.01 dB", {}, 60.01},
      {u"-60.01 dB", {}, {}},
      {u"100", {}, 100},
      {u"100.1", {}, {}},
      {u"0.988553", 0.988553, 0.988553},
      {u"0.98855300000000002747", 0.988553, 0.988553},
      {u"1.2.3", 1.2, 1.2},
      {u"", {}, {}},
      {u"dB", {}, {}},
      {u"-", {}, {}},
      {u"+-1", {}, {}},
      {u"--1", {}, {}},
      {u".", {}, {}},
      {u"-,dB", {}, {}},
      {u"nan", {}, {}},
      {u"inf dB", {}, {}},
      {u"1e5", 1, 1},
      {u"0x10", 0, {}},
      {u"\uFF11 dB", {}, {}},
      {std::u16string(u"\0"
                      u"1",
                      2),
       {},
       {}},
      {std::u16string(100000, u'9'), {}, {}},
      {std::u16string(100000, u' '), {}, {}},
      {std::u16string(100000, u'-'), {}, {}},
  };
  for (const auto& c : cases) {
    const std::string shown(c.text.begin(),
                            c.text.begin() + static_cast<long>(std::min<size_t>(c.text.size(), 24)));
    EXPECT_EQ(ParseGainDb(c.text), c.gain) << shown;
    EXPECT_EQ(ParsePeak(c.text), c.peak) << shown;
  }
}

TEST(TrackGain, WritesWhatItReads) {
  EXPECT_EQ(FormatGainDb(-6.54), u"-6.54 dB");
  EXPECT_EQ(FormatGainDb(1.2), u"1.20 dB");
  EXPECT_EQ(FormatGainDb(-0.001), u"0.00 dB");
  EXPECT_EQ(FormatGainDb(-51.996), u"-52.00 dB");
  EXPECT_EQ(FormatPeak(0.9885531), u"0.988553");
  EXPECT_EQ(FormatPeak(1), u"1.000000");
  for (int hundredths = -6000; hundredths <= 6000; hundredths += 7)
    EXPECT_EQ(ParseGainDb(FormatGainDb(hundredths / 100.0)), hundredths / 100.0);
}

TEST(TrackGain, TheFactorNeverLetsThePeakClip) {
  EXPECT_DOUBLE_EQ(GainFactor({.gain_db = 0, .peak = {}}), 1);
  EXPECT_NEAR(GainFactor({.gain_db = -6.02, .peak = 1.0}), 0.5, 1e-4);
  EXPECT_NEAR(GainFactor({.gain_db = 6.02, .peak = {}}), 2, 1e-3);
  EXPECT_DOUBLE_EQ(GainFactor({.gain_db = 6.02, .peak = 0.8}), 1.25);
  EXPECT_DOUBLE_EQ(GainFactor({.gain_db = 0, .peak = 1.25}), 0.8);
  EXPECT_NEAR(GainFactor({.gain_db = 6.02, .peak = 0.0}), 2, 1e-3);
}

}  // namespace
}  // namespace melorin
