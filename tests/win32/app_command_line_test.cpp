// SPDX-License-Identifier: MIT
//
// What the player understands of its command line, and that a command line survives the way to another
// instance; and what is told of the player to scripts.
#include <gtest/gtest.h>

#include "app/command_line.h"
#include "app/event_log.h"
#include "app/player_text.h"
#include "app/single_instance.h"
#include "app/status_report.h"

namespace melorin {
namespace {

using Arguments = std::vector<std::u16string>;

TEST(AppCommandLine, JoinedArgumentsSplitIntoTheSame) {
  const Arguments cases[] = {
      {u"a.mp3"},
      {u"D:\\音乐\\一 首.mp3", u"/volume=30"},
      {u"ends with\\", u"next"},
      {u"quote\"inside", u"back\\\"slash", u"two\\\\", u"two spaced\\\\"},
      {u"", u"after an empty one"},
      {},
  };
  for (const Arguments& arguments : cases) {
    const std::u16string line = JoinArguments(arguments);
    SCOPED_TRACE(std::string(line.begin(), line.end()));
    EXPECT_EQ(SplitCommandLine(line, false), arguments);
  }
}

TEST(AppCommandLine, TheProgramsNameIsLeftOut) {
  EXPECT_EQ(SplitCommandLine(u"\"C:\\Program Files\\melorin.exe\" x y", true), (Arguments{u"x", u"y"}));
}

TEST(AppCommandLine, TellsSwitchesFromPaths) {
  const CommandLine line = ParseArguments({u"/ADD", u"-volume=30", u"/Seek=1500", u"/device=WaveOut",
                                           u"/home/a.mp3", u"C:\\b.mp3", u"/x.mp3", u"/log=C:\\日志.txt",
                                           u"/autoclose", u"/mode=4", u"/data=D:\\数据", u"/list=新 列表"});
  EXPECT_TRUE(line.add);
  EXPECT_TRUE(line.auto_close);
  EXPECT_FALSE(line.exit);
  EXPECT_EQ(line.volume, 30);
  EXPECT_EQ(line.seek_ms, 1500u);
  EXPECT_EQ(line.device, CommandLine::Device::kWaveOut);
  EXPECT_EQ(line.log_path, u"C:\\日志.txt");
  EXPECT_EQ(line.mode, 4);
  EXPECT_EQ(line.data_folder, u"D:\\数据");
  EXPECT_EQ(line.list_name, u"新 列表");
  EXPECT_EQ(line.paths, (Arguments{u"/home/a.mp3", u"C:\\b.mp3", u"/x.mp3"}));
  EXPECT_TRUE(line.problems.empty());
}

TEST(AppCommandLine, BadSwitchesAreNamedAndTheRestIsCarriedOut) {
  for (const char16_t* bad :
       {u"/volume=101", u"/volume=", u"/volume=-1", u"/seek=4294967296", u"/seek=1x", u"/device=tape",
        u"/log=", u"/mode=5", u"/list=", u"/nonsense", u"/nonsense=1"}) {
    const CommandLine line = ParseArguments({bad, u"a.mp3"});
    ASSERT_EQ(line.problems.size(), 1u);
    EXPECT_NE(line.problems[0].find(bad), std::u16string::npos);
    EXPECT_EQ(line.paths, Arguments{u"a.mp3"});
  }
}

TEST(AppCommandLine, OnlyPathsAreMadeAbsolute) {
  const Arguments full = FullArguments({u"a.mp3", u"/pause", u"/seek=5"});
  ASSERT_EQ(full.size(), 3u);
  EXPECT_GT(full[0].size(), 5u);
  EXPECT_TRUE(full[0].ends_with(u"\\a.mp3"));
  EXPECT_EQ(full[1], u"/pause");
  EXPECT_EQ(full[2], u"/seek=5");
}

TEST(AppText, TimesAndPositionsStayWithinTheTrack) {
  EXPECT_EQ(StepPosition(300, -1000, 20000), 0u);
  EXPECT_EQ(StepPosition(19500, 1000, 20000), 19999u);
  EXPECT_EQ(StepPosition(0, 5000, 0), 0u);
}

TEST(AppLog, EntriesAreJson) {
  EXPECT_EQ(LogEntry("opened").Add("file", u"a\"b\\晨").Add("ms", 5).Json(),
            "{\"event\":\"opened\",\"file\":\"a\\\"b\\\\晨\",\"ms\":5}");
}

TEST(AppStatus, OneLineOfJson) {
  EXPECT_EQ(FormatNotRunning(), "{\"state\":\"not_running\"}");
  PlayerStatusReport report;
  report.state = ShownState::kPlaying;
  report.list = u"默认";
  report.index = 7;
  report.file = u"C:\\音乐\\a\n.mp3";
  report.title = u"晨露";
  report.position_ms = 1;
  report.duration_ms = 0xFFFFFFFF;
  report.volume = 80;
  report.mute = true;
  report.lyric = u"\"一行\"";
  report.windows = {"player", "playlist"};
  report.lists = {u"默认", u"古典"};
  report.entries = 12;
  report.mode = 3;
  EXPECT_EQ(FormatStatus(report),
            R"({"state":"playing","list":"默认","index":7,"file":"C:\\音乐\\a\n.mp3","title":"晨露",)"
            R"("position_ms":1,"duration_ms":4294967295,"volume":80,"mute":true,"lyric":"\"一行\"",)"
            R"("windows":["player","playlist"],"lists":["默认","古典"],"entries":12,"mode":3,"skin":""})");
  EXPECT_NE(FormatStatus({}).find(R"("state":"stopped","list":"","index":null,)"), std::string::npos);
  // Names of any length find place in the answer.
  PlayerStatusReport long_names;
  long_names.list = long_names.title = long_names.lyric = std::u16string(100000, u'\u4E00');
  long_names.file = std::u16string(32767, u'\u4E00');
  long_names.lists.assign(1000, std::u16string(100000, u'\1'));
  EXPECT_LT(FormatStatus(long_names).size(), size_t{InstanceBlock::kAnswerCapacity});
}

}  // namespace
}  // namespace melorin
