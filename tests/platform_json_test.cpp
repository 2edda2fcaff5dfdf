// SPDX-License-Identifier: MIT
//
// JSON output: valid whatever the bytes are.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/json_writer.h"
#include "platform/text.h"

namespace melorin {
namespace {

using std::string_view_literals::operator""sv;

TEST(JsonWriter, EscapesWhatJsonDoesNotHoldAsItIs) {
  struct Case {
    std::string_view in;
    std::string_view want;
  };
  const Case cases[] = {
      {""sv, R"("")"},
      {"C:\\音乐\\\"a\".mp3"sv, R"("C:\\音乐\\\"a\".mp3")"},
      {"a\r\n\tb"sv, R"("a\r\n\tb")"},
      {"\0\x01\x1F\x7F"sv, R"("\u0000\u0001\u001f\u007f")"},
      {"\xF0\x9F\x8E\xB5"sv, "\"\xF0\x9F\x8E\xB5\""},
  };
  for (const Case& c : cases) {
    JsonWriter json;
    json.String(c.in);
    EXPECT_EQ(json.Text(), c.want);
  }
}

TEST(JsonWriter, PutsCommasBetweenMembersAndElementsOnly) {
  JsonWriter json;
  json.BeginObject().Key("a").Number(-5).Key("b").BeginArray().EndArray().Key("c").BeginArray();
  json.BeginObject().EndObject().BeginObject().Key("d").String("e").EndObject().Number(9000000000).EndArray();
  json.Key("f").Number(0).EndObject();
  EXPECT_EQ(json.Text(), R"({"a":-5,"b":[],"c":[{},{"d":"e"},9000000000],"f":0})");
}

TEST(WellFormedUtf8, ReplacesEachMalformedSequenceOnce) {
  // U+FFFD is written as "?" here.
  struct Case {
    std::string_view in;
    std::string_view want;
  };
  const Case cases[] = {
      {"\xC4\xE3\xBA\xC3"sv, "???"},                               // GBK
      {"a\xE4\xBD"sv, "a?"},                                       // cut off at the end
      {"\xE4\xBD\x61"sv, "?a"},                                    // cut off by a letter
      {"\xC0\x80\xE0\x80\x80"sv, "?????"},                         // overlong
      {"\xED\xA0\x80"sv, "???"},                                   // surrogate
      {"\xF4\x90\x80\x80\xF5"sv, "?????"},                         // above U+10FFFF
      {"\xF0\x90\x8D"sv, "?"},                                     // three of four bytes
      {"\x80\xBFok\xFF"sv, "??ok?"},                               // stray continuations
      {"\xED\x9F\xBF\xEE\x80\x80"sv, "\xED\x9F\xBF\xEE\x80\x80"},  // the neighbours of the surrogates
  };
  for (const Case& c : cases) {
    std::string out;
    AppendWellFormedUtf8(c.in, out);
    std::string want;
    for (const char letter : c.want)
      letter == '?' ? want += "\xEF\xBF\xBD" : want += letter;
    EXPECT_EQ(out, want);
  }
}

TEST(WellFormedUtf8, AgreesWithTheValidatorOnEveryPairAndTripleOfInterestingBytes) {
  const unsigned char bytes[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC1,
                                 0xC2, 0xDF, 0xE0, 0xE1, 0xED, 0xEF, 0xF0, 0xF1, 0xF4, 0xF5};
  for (const unsigned char a : bytes) {
    for (const unsigned char b : bytes) {
      for (const unsigned char c : bytes) {
        const std::string in = {static_cast<char>(a), static_cast<char>(b), static_cast<char>(c)};
        std::string out;
        AppendWellFormedUtf8(in, out);
        ASSERT_TRUE(IsValidUtf8(out));
        ASSERT_EQ(out == in, IsValidUtf8(in)) << int{a} << ' ' << int{b} << ' ' << int{c};
      }
    }
  }
}

}  // namespace
}  // namespace melorin
