// SPDX-License-Identifier: MIT
//
// The settings file: that nothing is forgotten on the way out and back, what each kind of value takes and
// refuses, and what foreign files can do.
#include "doc/settings.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "doc/profile.h"
#include "doc/settings_keys.h"
#include "doc/settings_location.h"
#include "doc/settings_serial.h"
#include "doc/settings_values.h"
#include "doc/xml_document.h"
#include "platform/file.h"
#include "platform/folders.h"

namespace melorin {
namespace {

/// A folder of one test.
class SettingsFiles : public testing::Test {
 protected:
  void SetUp() override {
    folder_ =
        std::filesystem::path(TempDirectory()) /
        (std::string("melorin_settings_") + testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Path(const std::string& name = "a.xml") const { return (folder_ / name).string(); }
  std::string Write(std::string_view text, const std::string& name = "a.xml") const {
    std::ofstream(Path(name), std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
    return Path(name);
  }
  /// Writes a document whose root holds `content`.
  std::string WriteRoot(const std::string& root, const std::string& content) const {
    return Write("<?xml version=\"1.0\" encoding=\"UTF-8\"?><" + root + ">" + content + "</" + root + ">");
  }
  static std::string Bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::filesystem::path folder_;
};

/// Changes every setting to a value that no other key has.
class Changer {
 public:
  bool Section(std::string_view name) {
    section_ = name;
    return true;
  }
  void operator()(std::string_view key, int32_t& value) {
    value = ++number_;
    // One key for two settings: the values agree after a load, so they must before.
    if (key == "Fade_Windows") value = 7777;
  }
  void operator()(std::string_view, SettingsRect& value) {
    value = {-++number_, ++number_, ++number_, ++number_};
  }
  void operator()(std::string_view, FadeTimes& value) {
    for (int32_t& duration : value)
      duration = ++number_;
  }
  void operator()(std::string_view, SettingsColour& value) {
    value.value = static_cast<uint32_t>(++number_) * 0x10203u & 0xFFFFFF;
  }
  void operator()(std::string_view, FontRecord& value) {
    auto* bytes = reinterpret_cast<uint8_t*>(&value);
    for (size_t i = 0; i < sizeof value - FontRecord::kFaceBytes; ++i)
      bytes[i] = static_cast<uint8_t>(++number_);
    value.SetFaceGbk("\xCB\xCE\xCC\xE5&<\"" + std::to_string(++number_));
  }
  void operator()(std::string_view key, std::string& value) {
    value = "\xB1\xF3\\\xC4\xE3 '\"<&>\t" + std::string(section_) + std::string(key);
  }
  void operator()(std::string_view, GUID& value) {
    ++number_;
    value = {0x89ABCDEF, 0x1234, 0xFEDC, {1, 2, 0x80, 4, 5, 6, 0xFF, static_cast<uint8_t>(number_)}};
  }
  void operator()(std::string_view, std::vector<KeyBinding>& value) {
    value.clear();
    for (uint16_t i = 0; i < 12; ++i)
      value.push_back({++number_, {i, 65535}, {static_cast<uint16_t>(60000 + i), 1}});
  }
  void operator()(std::string_view key, std::vector<std::string>& value) {
    value.assign(3, {});
    (*this)(key, value[0]);
    value[2] = "last";
  }
  void operator()(std::string_view, EqualizerBands& value) {
    for (int32_t& band : value.values)
      band = -++number_;
  }

 private:
  std::string_view section_;
  int32_t number_ = 1000;
};

std::string Written(const XmlElement& root) {
  XmlStringOutput out;
  root.Print(out, 0, true);
  return out.Text();
}
std::string Written(Settings& settings) {
  auto root = NewXmlElement("melorin");
  EXPECT_TRUE(settings.Serialize(*root, true));
  return Written(*root);
}

/// Sections with their keys as they stand in files that exist.
constexpr std::string_view kOrder =
    "Player: MiniMode TopMost LyricTopMost LyricVisible EqualizerVisible PlayListVisible PlayerWnd LyricWnd "
    "EqualizerWnd PlayListWnd TopMost2 LyricTopMost2 LyricVisible2 PlayerWnd2 LyricWnd2 OpaqueWhenActive "
    "AlphaPercent PlayMode PlayLists ActiveList PlayingItem PlayingTime PlayingFile Mute Volume Balance "
    "ShowElapsedTime\n"
    "General: StartupMinimize HideMinimize Fade_Windows ShowHotKeyInTips TipsOnOpen MenuTips MenuBarPlayList "
    "Snap_Windows TitleSlideInterval CheckUpdateDays LastMessageVer LastCheckedDay ClearListOnCmd "
    "DefaultListOnCmd strDefaultList AppIconFile MP3ReadTagPriority MP3WriteTagType\n"
    "Playback: AutoPlay ContinuePlay StopWhenFail TracksInterval ThreadPriority SoundFadeMode FadeDuration "
    "AutoGain AutoScanGain SkipScanGain\n"
    "Device: DeviceType OutputBits BufferDuration HardwareBuffer CreatePrimary ResampleRate HQResample "
    "Dither\n"
    "HotKey: Global KeyMap_Count KeyMap_0\n"
    "Visual: Type FramesPerSec SpectrumTopColor SpectrumBtmColor SpectrumMidColor SpectrumPeakColor "
    "SpectrumWide BlurSpeed Blur BlurScopeColor\n"
    "Lyric: ScrollMode CharSet TextAlign RowInterval FadeIndex FadeHilight KaraokeMode Transparent TransSkin "
    "Font TextColor HilightColor BkgndColor AutoLoadLyric AutoSaveLyricTag AutoVisible AutoWidth "
    "AutoWidthOnlyVert DragLyric SaveCompress TrimSpaces LyricSaveMode AddInIndex UseProxy ProxyAddr "
    "ProxyPort AutoDownLoad AutoAssociate AutoSelectDownload OverWrite SameFileTitle SaveToSoundFolder "
    "DownLoadFolder NewLineAfterTag Folders_Count Folders_0 Folders_1\n"
    "PlayList: ItemTips DisableDelFile EnableDragDrop ReadInfoMode TitleNumber IgnoreBadFiles "
    "SaveRelativePath SaveTags TagFormat TagTitleFormat DefTitleFormat Font Color_Text Color_Hilight "
    "Color_Bkgnd Color_Number Color_Duration Color_Bkgnd2\n"
    "Convert: WriterIndex OutputBits ResampleRate Equalizer Surround Folder OverWrite AddToPlayList "
    "ThreadPriority\n"
    "Equalizer: Profile ProfileLast Surround Custom Current\n"
    "Skin: PackageName\n"
    "Plugin: Folder Modules_Count\n"
    "Histroy: LastActivePage SplitOnLists SoundPath PlayListPath Folder TagPattern CheckSubFolder EQCProfile "
    "LRCProfile PLCProfile\n";

TEST(SettingsOrder, SectionsAndKeysStandAsInFilesThatExist) {
  Settings settings;
  settings.hot_key.key_map.resize(1);
  auto root = NewXmlElement("melorin");
  ASSERT_TRUE(settings.Serialize(*root, true));
  std::string order;
  for (const XmlElement* section = root->FirstChildElement(); section;
       section = section->NextSiblingElement()) {
    order.append(section->Name()).append(":");
    for (auto* attribute = section->FirstAttribute(); attribute;
         attribute = section->NextAttribute(*attribute))
      order.append(" ").append(attribute->Name());
    order += "\n";
  }
  EXPECT_EQ(order, kOrder);
}

TEST_F(SettingsFiles, EverySettingComesBackFromTheFile) {
  Settings changed;
  Changer changer;
  VisitSettings(changer, changed);
  ASSERT_TRUE(changed.Save(Path(), "1.2.3"));
  Settings loaded;
  ASSERT_EQ(loaded.Load(Path()), LoadResult::kLoaded);
  EXPECT_EQ(Written(loaded), Written(changed));
  ASSERT_TRUE(loaded.Save(Path("b.xml"), "1.2.3"));
  EXPECT_EQ(Bytes(Path("b.xml")), Bytes(Path()));
  const std::string head =
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n"
      "<melorin \r\n\tversion=\"1.2.3\">\r\n\t<Player \r\n\t\tMiniMode=\"";
  EXPECT_EQ(Bytes(Path()).substr(0, head.size()), head);
  // Whatever the changer did not reach would come back as it is by default.
  Settings defaults;
  const std::string before = Written(defaults);
  size_t same_lines = 0;
  std::set<std::string> lines;
  std::istringstream old_text(before), new_text(Written(changed));
  for (std::string line; std::getline(old_text, line);)
    if (line.find('=') != std::string::npos) lines.insert(line);
  for (std::string line; std::getline(new_text, line);)
    same_lines += lines.count(line);
  EXPECT_EQ(same_lines, 0u);
}

TEST_F(SettingsFiles, DefaultsComeBackUnchangedAndAreUnderstood) {
  Settings settings;
  ASSERT_TRUE(settings.Save(Path(), ""));
  Settings loaded;
  ASSERT_EQ(loaded.Load(Path()), LoadResult::kLoaded);
  EXPECT_EQ(Written(loaded), Written(settings));
  XmlDocument document;
  ASSERT_TRUE(document.LoadFile(Path(), -1));
  EXPECT_TRUE(document.RootElement()->FirstAttribute() == nullptr);
  EXPECT_EQ(NotUnderstood(*document.RootElement()), std::vector<std::string>());
}

TEST_F(SettingsFiles, OfTheTwoFadeSettingsTheSecondIsStored) {
  Settings settings;
  settings.general.fade_windows_first = 5;
  settings.general.fade_windows = 6;
  ASSERT_TRUE(settings.Save(Path(), ""));
  Settings loaded;
  ASSERT_EQ(loaded.Load(Path()), LoadResult::kLoaded);
  EXPECT_EQ(loaded.general.fade_windows_first, 6);
  EXPECT_EQ(loaded.general.fade_windows, 6);
}

/// Reads a text over a value and writes the outcome, so that one table shows both directions.
template <class Value>
std::string Reread(std::string_view text, Value value) {
  ParseSetting(text, &value);
  return FormatSetting(value);
}

struct ValueCase {
  std::string_view text;
  std::string_view want;  ///< Empty: refused, the value stays.
};

template <class Value>
void CheckValues(const Value& start, std::initializer_list<ValueCase> cases) {
  for (const ValueCase& c : cases) {
    SCOPED_TRACE(std::string(c.text.substr(0, 100)));
    EXPECT_EQ(Reread(c.text, start), c.want.empty() ? FormatSetting(start) : std::string(c.want));
  }
}

TEST(SettingsValues, EachKindTakesAndRefuses) {
  CheckValues<int32_t>(5, {{"", ""},
                           {"12", "12"},
                           {" \t-7x", "-7"},
                           {"+3", "3"},
                           {"x", "0"},
                           {"- 1", "0"},
                           {"2147483648", "2147483647"},
                           {"-99999999999999999999999", "-2147483648"}});
  CheckValues(SettingsRect{1, 2, 3, 4}, {{"", ""},
                                         {"5,6,7,8", "5,6,7,8"},
                                         {" 5, 6,\n-7,+8,9", "5,6,-7,8"},
                                         {"5,6,7", ""},
                                         {"5,6,7,", ""},
                                         {"5 ,6,7,8", ""},
                                         {"5;6;7;8", ""}});
  CheckValues(FadeTimes{1, 2, 3, 4}, {{"5,6,7,8", "5,6,7,8"}, {"5,6,7", ""}});
  CheckValues(SettingsColour{0x332211}, {{"#ff0000", "#ff0000"},
                                         {"#FF00aB", "#ff00ab"},
                                         {"#1 2 3", "#010203"},
                                         {"#0102034", "#010203"},
                                         {"#0102", ""},
                                         {"#01020g", "#010200"},
                                         {"#0102g0", ""},
                                         {"#fff", ""},
                                         {"#0x1122", ""},
                                         {" #010203", ""},
                                         {"010203", ""},
                                         {"", ""}});
  SettingsColour red;
  ASSERT_TRUE(ParseSetting("#ff0000", &red));
  EXPECT_EQ(red.value, 0x0000FFu);
  CheckValues(KeyBinding{1, {2, 3}, {4, 5}}, {{"9:a(8,7),g(6,5)", "9:a(8,7),g(6,5)"},
                                              {"9:a(8,7),g(6,5", "9:a(8,7),g(6,5)"},
                                              {"9:a( 8, 65537),g(-1,5)", "9:a(8,1),g(65535,5)"},
                                              {"9:a(8,7),g(6)", ""},
                                              {"9:a(8,7), g(6,5)", ""},
                                              {"9:A(8,7),g(6,5)", ""},
                                              {"", ""}});
  EqualizerBands bands;
  bands.values = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -11};
  EXPECT_EQ(FormatSetting(bands), "-11:1,2,3,4,5,6,7,8,9,10");
  CheckValues(bands, {{"12:0,1,2,3,4,5,6,7,8,-9", "12:0,1,2,3,4,5,6,7,8,-9"},
                      {"0,1,2,3,4,5,6,7,8,9", ""},
                      {"12:0,1,2,3,4,5,6,7,8", ""}});
  const GUID id = {0x00010000, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
  CheckValues(id, {{"{89abCDef-1234-5678-9ABC-def012345678}", "{89ABCDEF-1234-5678-9ABC-DEF012345678}"},
                   {"89abcdef-1234-5678-9abc-def012345678", ""},
                   {"{89abcdef-1234-5678-9abc-def012345678} ", ""},
                   {"{89abcdef-1234-5678-9abcd-ef012345678}", ""},
                   {"{89abcdeg-1234-5678-9abc-def012345678}", ""},
                   {"", ""}});
}

std::string Base64(std::string_view bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    uint32_t three = 0;
    for (size_t k = 0; k < 3; ++k)
      three = three << 8 | (i + k < bytes.size() ? static_cast<uint8_t>(bytes[i + k]) : 0u);
    for (size_t k = 0; k < 4; ++k)
      text += i + k > bytes.size() ? '=' : kDigits[three >> (18 - 6 * k) & 63];
  }
  return text;
}

TEST(SettingsValues, FontsAreTakenAsTextAndAsTheRecordItself) {
  const FontRecord start = DefaultFont(-12);
  const std::string head = "1,2,3,4,5,6,7,8,9,10,11,12,13,";
  CheckValues(start, {{head + "Arial", head + "Arial"},
                      {head + "  \xE5\xAE\x8B\xE4\xBD\x93", head + "\xE5\xAE\x8B\xE4\xBD\x93"},
                      {head + "Times New Roman", head + "Times"},
                      {head, ""},
                      {head + "  ", ""},
                      {"1,2,3,4,5,6,7,8,9,10,11,12,Arial", ""},
                      {"", ""}});
  // A name of 33 bytes would be cut within its last character.
  FontRecord font = start;
  std::string name = "x";
  for (int i = 0; i < 16; ++i)
    name += "\xE5\xAE\x8B";
  ASSERT_TRUE(ParseSetting(head + name, &font));
  EXPECT_EQ(font.FaceGbk().size(), 31u);
  EXPECT_EQ(Reread(FormatSetting(font), start), FormatSetting(font));
  // Hangul take four bytes each; no half of one may stay.
  ASSERT_TRUE(ParseSetting(head + "x한글한글한글한글", &font));
  EXPECT_EQ(FormatSetting(font), head + "x한글한글한글한");
  const std::string full(32, 'f');
  ASSERT_TRUE(ParseSetting(head + full + "g", &font));
  EXPECT_EQ(font.FaceGbk(), full);

  std::string record(reinterpret_cast<const char*>(&start), sizeof start);
  record[0] = 77;
  const std::string fields = FormatSetting(start);
  const std::string want = "77" + fields.substr(fields.find(','));
  FontRecord other;
  ASSERT_TRUE(ParseSetting("BASE64:" + Base64(record), &other));
  EXPECT_EQ(other.height & 0xFF, 77);
  EXPECT_EQ(other.FaceGbk(), start.FaceGbk());
  std::string wide = record.substr(0, 28);
  for (const char16_t unit : std::u16string(u"微软雅黑"))
    wide.append({static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)});
  wide.resize(92, '\0');
  FontRecord from_wide;
  ASSERT_TRUE(ParseSetting("base64:" + Base64(wide), &from_wide));
  EXPECT_EQ(from_wide, other);
  for (const std::string& text : {Base64(record.substr(1)), Base64(record + "x"), std::string("rubbish!"),
                                  std::string(), std::string(1 << 20, 'A'), Base64(wide + wide)})
    EXPECT_FALSE(ParseSetting("base64:" + text, &other)) << text.substr(0, 100);
}

TEST_F(SettingsFiles, WhatIsMissingOrMalformedStaysAsItWas) {
  Settings settings;
  settings.player.player_wnd = {1, 2, 3, 4};
  settings.player.volume = 33;
  settings.player.playing_file_gbk = "kept";
  settings.device.output_bits = 24;
  const std::string before = Written(settings);
  WriteRoot("melorin",
            "<Player PlayerWnd='5,6,7' Volume='' PlayingFile='' volume='9'/><HotKey KeyMap_Count='0'/>"
            "<Lyric Folders_Count='-1' Folders_0='x' TextColor='red' Font='Arial'/>"
            "<Device DeviceType='DirectSound'/><device OutputBits='8'/>");
  ASSERT_EQ(settings.Load(Path()), LoadResult::kLoaded);
  EXPECT_EQ(Written(settings), before);
}

TEST_F(SettingsFiles, ListsTakeTheirCountAndNoMoreThanIsReasonable) {
  Settings settings;
  WriteRoot("melorin_config",
            "<HotKey KeyMap_Count='2' KeyMap_0='7:a(1,2),g(3,4)' KeyMap_2='8:a(1,2),g(3,4)'/>"
            "<Lyric Folders_Count='3' Folders_1='a' Folders_1='b'/><Lyric Folders_Count='1'/>"
            "<Plugin Modules_Count='2147483647' Modules_5='m'/>");
  ASSERT_EQ(settings.Load(Path()), LoadResult::kLoaded);
  EXPECT_EQ(settings.hot_key.key_map, (std::vector<KeyBinding>{{7, {1, 2}, {3, 4}}, {}}));
  EXPECT_EQ(settings.lyric.folders_gbk, (std::vector<std::string>{"", "a", ""}));
  EXPECT_EQ(settings.plugin.modules_gbk.size(), kMaxMissingEntries);
  EXPECT_EQ(settings.plugin.modules_gbk[5], "m");
}

TEST_F(SettingsFiles, LongListsComeBackWholeAndSoon) {
  Settings settings;
  settings.plugin.modules_gbk.assign(50000, "m");
  settings.plugin.modules_gbk.back() = "last";
  ASSERT_TRUE(settings.Save(Path(), ""));
  Settings loaded;
  ASSERT_EQ(loaded.Load(Path()), LoadResult::kLoaded);
  EXPECT_EQ(loaded.plugin.modules_gbk, settings.plugin.modules_gbk);
}

TEST_F(SettingsFiles, ForeignAndDamagedFilesLeaveAllAsItWasAndCanBeKeptAside) {
  const std::string section = "<Player Volume='1'/>";
  const std::string whole = "<melorin>" + section + "</melorin>";
  struct {
    const char* name;
    std::string text;
    LoadResult want;
  } const cases[] = {
      {"own root", whole, LoadResult::kLoaded},
      {"general root", "<melorin_config>" + section + "</melorin_config>", LoadResult::kLoaded},
      {"another root", "<Melorin>" + section + "</Melorin>", LoadResult::kForeignOrDamaged},
      {"no element", "<!-- melorin -->", LoadResult::kForeignOrDamaged},
      {"cut off", whole.substr(0, whole.size() - 3), LoadResult::kForeignOrDamaged},
      {"empty", "", LoadResult::kForeignOrDamaged},
      {"binary", std::string("\0\xFF\x7FMZ", 5), LoadResult::kForeignOrDamaged},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Settings settings;
    EXPECT_EQ(settings.Load(Write(c.text)), c.want);
    EXPECT_EQ(settings.player.volume, c.want == LoadResult::kLoaded ? 1 : 80);
  }
  Settings settings;
  EXPECT_EQ(settings.Load(Path("none.xml")), LoadResult::kMissing);
  Write("first");
  EXPECT_EQ(KeepAside(Path()), Path("a.xml.bad"));
  Write("second");
  EXPECT_EQ(KeepAside(Path()), Path("a.xml.bad2"));
  EXPECT_EQ(Bytes(Path("a.xml.bad")), "first");
  EXPECT_EQ(Bytes(Path("a.xml.bad2")), "second");
  EXPECT_EQ(KeepAside(Path()), "");
}

TEST_F(SettingsFiles, HugeValuesAreTakenOrRefusedButNeverHang) {
  const std::string megabyte(1 << 20, '7');
  std::string keys;
  for (int i = 0; i < 100000; ++i)
    keys += " k" + std::to_string(i * 7919 % 100000) + "='1'";
  WriteRoot("melorin", "<Player Volume='" + megabyte + "' PlayerWnd='1,2,3," + megabyte + "' PlayingFile='" +
                           megabyte + "'/><Plugin Modules_Count='" + megabyte + "'" + keys +
                           "/><Lyric Font='base64:" + megabyte + "' TextColor='#" + megabyte + "'/>");
  Settings settings;
  ASSERT_EQ(settings.Load(Path()), LoadResult::kLoaded);
  EXPECT_EQ(settings.player.volume, 2147483647);
  EXPECT_EQ(settings.player.player_wnd.bottom, 2147483647);
  EXPECT_EQ(settings.player.playing_file_gbk, megabyte);
  EXPECT_EQ(settings.plugin.modules_gbk.size(), kMaxMissingEntries);
  EXPECT_EQ(settings.lyric.font, Settings().lyric.font);
  EXPECT_EQ(settings.lyric.text_color.value, 0x777777u);
  ASSERT_TRUE(settings.Save(Path("b.xml"), ""));
  XmlDocument document;
  ASSERT_TRUE(document.LoadFile(Path(), -1));
  EXPECT_EQ(NotUnderstood(*document.RootElement()).size(), 1000u);
}

TEST(SettingsFindings, SayWhatAReaderWouldSkip) {
  XmlDocument document;
  ASSERT_TRUE(
      document.Parse("<melorin><Player Volume='9' Colour='1' PlayerWnd='1,2' Volume='8'/><History/>"
                     "<HotKey KeyMap_Count='1' KeyMap_0='?' KeyMap_1='1:a(1,1),g(1,1)'/><Player/>"
                     "<General Fade_Windows='on' MenuTips='-1' TipsOnOpen='yes'><b/></General></melorin>",
                     65001));
  EXPECT_EQ(NotUnderstood(*document.RootElement()),
            (std::vector<std::string>{
                "Player.PlayerWnd: the value is malformed", "Player.Colour: no such key",
                "Player.Volume: no such key", "General.Fade_Windows: the value is malformed",
                "General.TipsOnOpen: the value is malformed", "HotKey.KeyMap_0: the value is malformed",
                "HotKey.KeyMap_1: no such key", "History: no such section",
                "Player: a second section of that name", "General.b: sections hold no elements"}));
}

TEST(SettingsRegistry, TheProbeIsAskedForTheKeyAndRemembered) {
  std::string asked;
  const Settings settings([&asked](const char* key) {
    asked = key;
    return true;
  });
  EXPECT_EQ(asked, "SOFTWARE\\Quorvant");
  EXPECT_TRUE(settings.registry_writable);
  EXPECT_FALSE(Settings(RegistryProbe()).registry_writable);
}

TEST_F(SettingsFiles, LieBesideTheProgramWhereThatCanBeWritten) {
  EXPECT_EQ(DataFolder(folder_.string(), Path("user")), folder_.string());
  EXPECT_FALSE(DirectoryExists(Path("user")));
  const std::string elsewhere = JoinPath(Path("user"), "Melorin");
  EXPECT_EQ(DataFolder(Path("none"), Path("user")), elsewhere);
  EXPECT_TRUE(IsWritableFolder(elsewhere));
  EXPECT_EQ(DataFolder(Path("none"), ""), Path("none"));
  EXPECT_EQ(SettingsPath(elsewhere), JoinPath(elsewhere, "melorin.xml"));
  Settings settings;
  FillFolders(settings, elsewhere);
  EXPECT_EQ(settings.lyric.down_load_folder_gbk, JoinPath(elsewhere, "Lyrics"));
  settings.lyric.down_load_folder_gbk = "own";
  FillFolders(settings, elsewhere);
  EXPECT_EQ(settings.lyric.down_load_folder_gbk, "own");
}

TEST_F(SettingsFiles, ProfilesHoldTheirGroupAndTakeItFromAnyConfiguration) {
  Settings changed;
  Changer changer;
  VisitSettings(changer, changed);
  EqualizerCurve curve = changed.equalizer;
  LyricLook lyric = changed.lyric;
  PlayListLook list = changed.play_list;
  // As on a first start, when the folder for profiles is not there.
  ASSERT_TRUE(SaveProfile(FirstProfilePath<EqualizerCurve>(folder_.string()), curve));
  ASSERT_TRUE(SaveProfile(Path("eq"), curve));
  ASSERT_TRUE(SaveProfile(Path("lyric"), lyric));
  ASSERT_TRUE(SaveProfile(Path("list"), list));
  EXPECT_EQ(
      Bytes(Path("eq")),
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<melorin_eq>\r\n\t<Equalizer \r\n"
      "\t\tCustom=\"" +
          FormatSetting(curve.custom) + "\"\r\n\t/>\r\n</melorin_eq>\r\n");
  EqualizerCurve curve2;
  LyricLook lyric2;
  PlayListLook list2;
  ASSERT_EQ(LoadProfile(Path("eq"), &curve2), LoadResult::kLoaded);
  ASSERT_EQ(LoadProfile(Path("lyric"), &lyric2), LoadResult::kLoaded);
  ASSERT_EQ(LoadProfile(Path("list"), &list2), LoadResult::kLoaded);
  ASSERT_TRUE(SaveProfile(Path("eq2"), curve2));
  ASSERT_TRUE(SaveProfile(Path("lyric2"), lyric2));
  ASSERT_TRUE(SaveProfile(Path("list2"), list2));
  EXPECT_EQ(Bytes(Path("eq2")), Bytes(Path("eq")));
  EXPECT_EQ(Bytes(Path("lyric2")), Bytes(Path("lyric")));
  EXPECT_EQ(Bytes(Path("list2")), Bytes(Path("list")));

  // Another kind's file, and a whole configuration with one value missing and one malformed.
  EXPECT_EQ(LoadProfile(Path("eq"), &lyric2), LoadResult::kForeignOrDamaged);
  EXPECT_EQ(lyric2.text_color, lyric.text_color);
  WriteRoot("melorin_config",
            "<Equalizer Custom='1,2,3,4,5,6,7,8,9,10'/><Player Volume='1'/>"
            "<Lyric HilightColor='#010203' RowInterval='99'/>");
  EXPECT_EQ(LoadProfile(Path(), &curve2), LoadResult::kLoaded);
  EXPECT_EQ(curve2.custom, curve.custom);
  EXPECT_EQ(LoadProfile(Path(), &lyric2), LoadResult::kLoaded);
  EXPECT_EQ(lyric2.hilight_color.value, 0x030201u);
  EXPECT_EQ(lyric2.text_color, lyric.text_color);
  EXPECT_EQ(lyric2.font, lyric.font);

  EXPECT_EQ(FirstProfilePath<PlayListLook>("d"), JoinPath(JoinPath("d", "Profile"), "1.mzpl_cfg"));
}

}  // namespace
}  // namespace melorin
