// SPDX-License-Identifier: MIT
//
// Command lines: options, numbers, names, ranges of time, and what the program answers to a wrong line.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/decode_range.h"

namespace melorin {
namespace {

std::string Joined(const Arguments& arguments) {
  std::string text;
  for (const auto& operand : arguments.operands)
    text += operand + ";";
  for (const auto& [name, value] : arguments.options)
    text += name + "=" + value + ";";
  return text;
}

TEST(CliArguments, SortsOptionsFromOperands) {
  constexpr OptionSpec kOptions[] = {{"--bits", true}, {"--compact"}};
  struct Case {
    std::vector<std::string> in;
    std::string_view want;
    std::string_view error;
  };
  const Case cases[] = {
      {{"a.mp3", "--bits", "24", "b.wav"}, "a.mp3;b.wav;--bits=24;", ""},
      {{"--bits=", "a"}, "a;--bits=;", ""},
      {{"--bits=1=2", "--compact"}, "--bits=1=2;--compact=;", ""},
      {{"-", "--", "--compact", "--"}, "-;--compact;--;", ""},
      {{"--bits", "--compact"}, "--bits=--compact;", ""},
      {{"a", "--bits"}, "", "--bits needs a value"},
      {{"--compact=yes"}, "", "--compact takes no value"},
      {{"--bit", "8"}, "", "unknown option --bit"},
      {{"-b"}, "", "unknown option -b"},
  };
  for (const Case& c : cases) {
    Arguments arguments;
    std::string error;
    EXPECT_EQ(ParseArguments(c.in, kOptions, &arguments, &error), c.error.empty());
    EXPECT_EQ(error, c.error);
    if (c.error.empty()) {
      EXPECT_EQ(Joined(arguments), c.want);
    }
  }
}

TEST(CliArguments, TheLastOfARepeatedOptionCounts) {
  constexpr OptionSpec kOptions[] = {{"--bits", true}};
  Arguments arguments;
  std::string error;
  const std::vector<std::string> line = {"--bits", "8", "--bits", "24"};
  ASSERT_TRUE(ParseArguments(line, kOptions, &arguments, &error));
  ASSERT_NE(arguments.Value("--bits"), nullptr);
  EXPECT_EQ(*arguments.Value("--bits"), "24");
}

TEST(CliArguments, NumbersAreDecimalAndWhole) {
  EXPECT_EQ(ParseNumber("0"), 0U);
  EXPECT_EQ(ParseNumber("4294967295"), 4294967295U);
  for (const std::string_view text : {"", " 1", "1 ", "+1", "-1", "1.5", "0x10", "4294967296", "12ms"})
    EXPECT_FALSE(ParseNumber(text)) << text;
}

TEST(CliArguments, NamesBecomeGbk) {
  std::string error;
  EXPECT_EQ(PathFromArgument("音乐/a.mp3", &error), "\xD2\xF4\xC0\xD6/a.mp3");
  EXPECT_EQ(PathFromArgument("a/\xF0\x9F\x8E\xB5.mp3", &error), "a/\x94\x39\xC1\x39.mp3");
  EXPECT_FALSE(PathFromArgument("\xD2\xF4.mp3", &error));
  EXPECT_EQ(error, "\xEF\xBF\xBD\xEF\xBF\xBD.mp3: the name is not valid UTF-8");
}

TEST(CliDecodeRange, FollowingRangesShareNoFrameAndLeaveNoneOut) {
  for (const uint32_t rate : {8000U, 11025U, 44100U, 48000U, 192000U}) {
    uint64_t end = 0;
    for (uint32_t ms = 0; ms < 3000; ms += 7) {
      const FrameRange range = RangeOfTimes(ms, 7, rate);
      ASSERT_EQ(range.first, end);
      end = range.end;
    }
    EXPECT_EQ(RangeOfTimes(1000, 1500, rate).end, rate * 5 / 2);
  }
  EXPECT_EQ(RangeOfTimes(4294967295, 4294967295, 384000).end, 3298534882560U);
}

TEST(CliDecodeRange, CutsEveryBlockSizeToTheSameFrames) {
  const FrameRange range{100, 350};
  for (const size_t block : {1U, 7U, 64U, 100U, 250U, 1000U}) {
    for (const uint64_t start : {0U, 50U, 100U}) {
      RangeCutter cutter(range, start);
      uint64_t position = start;
      uint64_t kept = 0;
      while (!cutter.Done()) {
        const auto part = cutter.Next(block);
        if (part.frames > 0 && kept == 0) {
          EXPECT_EQ(position + part.skip_frames, 100U);
        }
        ASSERT_LE(part.skip_frames + part.frames, block);
        kept += part.frames;
        position += block;
      }
      EXPECT_EQ(kept, 250U) << block;
    }
  }
}

class RecordingConsole final : public Console {
 public:
  bool Write(std::string_view bytes) override {
    out.append(bytes);
    return true;
  }
  bool Flush() override { return healthy; }
  void Message(std::string_view utf8) override { messages.emplace_back(utf8); }
  void Progress(std::string_view) override {}

  std::string out;
  std::vector<std::string> messages;
  bool healthy = true;
};

TEST(CliCommandLine, WrongUsageIsOneLineAndExitCode2) {
  const std::vector<std::vector<std::string>> lines = {
      {},
      {"frobnicate"},
      {"info"},
      {"xml"},
      {"xml", "a", "b"},
      {"xml", "a", "--fancy"},
      {"decode", "a"},
      {"decode", "a", "b", "c"},
      {"decode", "a", "b", "--bits", "12"},
      {"decode", "a", "b", "--bits", "x"},
      {"decode", "a", "b", "--dither", "5"},
      {"decode", "a", "b", "--start", "-1"},
      {"decode", "a", "b", "--length"},
      {"decode", "a", "b", "--rate", "0"},
      {"decode", "a", "b", "--rate", "768001"},
      {"decode", "a", "b", "--hq=1"},
      {"decode", "a", "b", "--eq", "0:1,2,3,4,5,6,7,8,9"},
      {"decode", "a", "b", "--eq", "0:1,2,3,4,5,6,7,8,9,10,11"},
      {"decode", "a", "b", "--eq", "0:1,2,3,4,5,6,7,8,9,10.5"},
      {"decode", "a", "b", "--gain", "loud"},
      {"decode", "a", "b", "--gain", "1e3"},
      {"decode", "a", "b", "--gain", "1.2.3"},
      {"decode", "a", "b", "--gain", "61"},
      {"decode", "a", "b", "--surround=101"},
      {"formats", "extra"},
  };
  for (const auto& line : lines) {
    RecordingConsole console;
    EXPECT_EQ(RunCommandLine({console, ""}, line), kExitUsage);
    EXPECT_EQ(console.out, "");
    ASSERT_EQ(console.messages.size(), 1U);
    EXPECT_EQ(console.messages[0].find('\n'), std::string::npos);
    EXPECT_EQ(console.messages[0].find("?  "), std::string::npos) << "a line break was in it";
  }
}

TEST(CliCommandLine, HelpNamesEveryCommandAndOption) {
  RecordingConsole console;
  const std::vector<std::string> line = {"--help"};
  EXPECT_EQ(RunCommandLine({console, ""}, line), kExitDone);
  for (const char* word : {"info FILE", "decode FILE OUT.wav", "--bits", "--dither", "formats", "xml FILE"})
    EXPECT_NE(console.out.find(word), std::string::npos) << word;
}

TEST(CliCommandLine, LostOutputIsAFailure) {
  RecordingConsole console;
  console.healthy = false;
  const std::vector<std::string> line = {"--version"};
  EXPECT_EQ(RunCommandLine({console, ""}, line), kExitFailed);
  EXPECT_EQ(console.messages.size(), 1U);
}

TEST(CliCommandLine, ANameWithALineBreakStaysOneLine) {
  RecordingConsole console;
  const std::vector<std::string> line = {"xml", "no\nsuch\x1B file.xml"};
  EXPECT_EQ(RunCommandLine({console, ""}, line), kExitFailed);
  ASSERT_EQ(console.messages.size(), 1U);
  EXPECT_EQ(console.messages[0], "melorin-cli: no?such? file.xml: no such file (error 2)");
}

}  // namespace
}  // namespace melorin
