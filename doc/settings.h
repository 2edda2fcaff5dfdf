// SPDX-License-Identifier: MIT
//
// All settings of the player: one object with one part a section of the settings file, its defaults, and the
// way to the file and back. Flags are numbers as in the file: 0 is off, anything else on. Texts are GBK.
// Thread: the UI thread; everything else gets copies.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "doc/settings_types.h"
#include "platform/com.h"
#include "platform/registry.h"

namespace melorin {

class XmlElement;

/// Entries of lyric.folders that stand for a folder depending on the song: "<歌曲所在文件夹>", the song's
/// own, and "<歌词下载文件夹>", lyric.down_load_folder_gbk.
inline constexpr char kSongFolderEntryGbk[] = "<\xB8\xE8\xC7\xFA\xCB\xF9\xD4\xDA\xCE\xC4\xBC\xFE\xBC\xD0>";
inline constexpr char kDownloadFolderEntryGbk[] =
    "<\xB8\xE8\xB4\xCA\xCF\xC2\xD4\xD8\xCE\xC4\xBC\xFE\xBC\xD0>";

// The defaults of every setting stand here, beside its name. An empty value in a settings file leaves a
// setting as it is, so a text that a user may want to be empty is empty by default.

struct PlayerSettings {
  int32_t mini_mode = 0;
  int32_t top_most = 0;
  int32_t lyric_top_most = 0;
  int32_t lyric_visible = 1;
  int32_t equalizer_visible = 0;
  int32_t play_list_visible = 1;
  SettingsRect player_wnd;
  SettingsRect lyric_wnd;
  SettingsRect equalizer_wnd;
  SettingsRect play_list_wnd;
  // "2": the same while the mini player is shown, which floats over other windows.
  int32_t top_most2 = 1;
  int32_t lyric_top_most2 = 1;
  int32_t lyric_visible2 = 0;
  SettingsRect player_wnd2;
  SettingsRect lyric_wnd2;
  int32_t opaque_when_active = 1;
  int32_t alpha_percent = 100;  ///< Opacity of the windows.
  int32_t play_mode = 3;        ///< A PlayMode: the list over and over.
  int32_t play_lists = 0;       ///< How many lists the storage folder holds.
  int32_t active_list = 0;
  int32_t playing_item = -1;  ///< Index in the active list; -1: none.
  int32_t playing_time = 0;   ///< ms into playing_file.
  std::string playing_file_gbk;
  int32_t mute = 0;
  int32_t volume = 80;  ///< 0 to 100.
  int32_t balance = 0;  ///< -100 to 100.
  int32_t show_elapsed_time = 1;
};

struct GeneralSettings {
  int32_t startup_minimize = 0;
  int32_t hide_minimize = 0;
  /// Fading windows in and out. The file has one key for the two: the second is stored, and both get it.
  int32_t fade_windows_first = 1;
  int32_t show_hot_key_in_tips = 1;
  int32_t tips_on_open = 1;
  int32_t menu_tips = 1;
  int32_t menu_bar_play_list = 1;
  int32_t fade_windows = 1;
  int32_t snap_windows = 1;
  int32_t title_slide_interval = 200;  ///< ms between two steps of a title that is too long for its place.
  int32_t check_update_days = 0;       ///< 0: never asks the network by itself.
  int32_t last_message_ver = 0;
  int32_t last_checked_day = 0;
  int32_t clear_list_on_cmd = 0;
  int32_t default_list_on_cmd = 0;
  std::string str_default_list_gbk;
  std::string app_icon_file_gbk;
  int32_t mp3_read_tag_priority = 0;  ///< 0: ID3v2 > APEv2 > ID3v1; 1: APEv2 > ID3v2 > ID3v1.
  int32_t mp3_write_tag_type = 9;     ///< A sum: 8 ID3v2, 4 APEv2, 1 ID3v1.
};

struct PlaybackOptions {
  int32_t auto_play = 0;      ///< Goes on playing when the player is started …
  int32_t continue_play = 1;  ///< … at the place where it was ended.
  int32_t stop_when_fail = 0;
  int32_t tracks_interval = 0;  ///< Seconds.
  int32_t thread_priority = 2;
  int32_t sound_fade_mode = 15;  ///< 1 play, 2 pause, 4 seek, 8 stop.
  FadeTimes fade_duration = {300, 500, 800, 800};
  int32_t auto_gain = 0;
  int32_t auto_scan_gain = 0;
  int32_t skip_scan_gain = 1;  ///< Files whose gain is known are not scanned again.
};

struct DeviceSettings {
  /// Packed device identifier (see playback/device_format.h): DirectSound, the system's default device.
  GUID device_type = {0x00010000, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
  int32_t output_bits = 0;        ///< 8, 16, 24, 32; 0: the source's own width.
  int32_t buffer_duration = 400;  ///< ms; so long the equalizer takes to be heard.
  int32_t hardware_buffer = 0;
  int32_t create_primary = 0;
  int32_t resample_rate = 0;  ///< Hz; 0: the source's own.
  int32_t hq_resample = 1;
  int32_t dither = 0;  ///< 0 to 4, see PlaybackSettings.
};

/// The usual keys in the player's windows; globally the keyboard's media keys only, which nobody types.
std::vector<KeyBinding> DefaultKeyMap();

struct HotKeySettings {
  int32_t global = 1;
  std::vector<KeyBinding> key_map = DefaultKeyMap();
};

struct VisualSettings {
  int32_t type = 1;  ///< 0 none, 1 spectrum, 2 scope, 3 blurred scope.
  int32_t frames_per_sec = 30;
  SettingsColour spectrum_top_color = {0x00E8A33D};
  SettingsColour spectrum_btm_color = {0x00B86A1E};
  SettingsColour spectrum_mid_color = {0x00D98A2C};
  SettingsColour spectrum_peak_color = {0x00808080};
  int32_t spectrum_wide = 1;
  int32_t blur_speed = 2;
  int32_t blur = 1;
  SettingsColour blur_scope_color = {0x00D98A2C};
  bool operator==(const VisualSettings&) const = default;
};

/// "微软雅黑", of which the system takes another where it lacks it.
FontRecord DefaultFont(int32_t height);

// What a profile holds as well (see doc/profile.h) is the base of its section.

struct LyricLook {
  FontRecord font = DefaultFont(-16);
  SettingsColour text_color = {0x00737373};
  SettingsColour hilight_color = {0x00B85C00};
  SettingsColour bkgnd_color = {0x00FAFAFA};
};

struct LyricSettings : LyricLook {
  int32_t scroll_mode = 0;  ///< 0 upwards, 1 sideways.
  int32_t char_set = 0;     ///< 0 as the lyric has it, 1 simplified, 2 traditional.
  int32_t text_align = 1;   ///< 0 left, 1 centre, 2 right.
  int32_t row_interval = 6;
  int32_t fade_index = 1;    ///< Lines far from the current one pale.
  int32_t fade_hilight = 1;  ///< The current line changes colour gradually.
  int32_t karaoke_mode = 0;
  int32_t transparent = 0;
  int32_t trans_skin = 0;
  int32_t auto_load_lyric = 1;
  int32_t auto_save_lyric_tag = 0;
  int32_t auto_visible = 0;
  int32_t auto_width = 0;
  int32_t auto_width_only_vert = 1;
  int32_t drag_lyric = 1;
  int32_t save_compress = 0;
  int32_t trim_spaces = 1;
  int32_t lyric_save_mode = 0;
  int32_t add_in_index = 0;
  int32_t use_proxy = 0;
  std::string proxy_addr_gbk;
  int32_t proxy_port = 8080;
  int32_t auto_down_load = 1;
  int32_t auto_associate = 1;
  int32_t auto_select_download = 1;
  int32_t over_write = 0;
  int32_t same_file_title = 1;
  int32_t save_to_sound_folder = 0;
  std::string down_load_folder_gbk;  ///< Empty until FillFolders.
  int32_t new_line_after_tag = 0;
  std::vector<std::string> folders_gbk = {kSongFolderEntryGbk, kDownloadFolderEntryGbk};
};

struct PlayListLook {
  FontRecord font = DefaultFont(-12);
  SettingsColour color_text = {0x00333333};
  SettingsColour color_hilight = {0x00B85C00};
  SettingsColour color_bkgnd = {0x00FFFFFF};
  SettingsColour color_number = {0x00646464};
  SettingsColour color_duration = {0x00646464};
  SettingsColour color_bkgnd2 = {0x00F7F4F2};  ///< Of every second row.
};

struct PlayListSettings : PlayListLook {
  int32_t item_tips = 1;
  int32_t disable_del_file = 0;
  int32_t enable_drag_drop = 1;
  int32_t read_info_mode = 0;  ///< When the background reads files; see playlist/info_reader.h.
  int32_t title_number = 1;
  int32_t ignore_bad_files = 0;
  int32_t save_relative_path = 0;
  int32_t save_tags = 1;
  int32_t tag_format = 0;  ///< Titles of files with tags are made by tag_title_format.
  std::string tag_title_format_gbk = "%(Artist) - %(Title)";
  std::string def_title_format_gbk = "%(Artist) - %(Title)";
};

struct ConvertSettings {
  int32_t writer_index = 0;
  int32_t output_bits = 0;
  int32_t resample_rate = 0;
  int32_t equalizer = 0;
  int32_t surround = 0;
  std::string folder_gbk;
  int32_t over_write = 0;
  int32_t add_to_play_list = 0;
  int32_t thread_priority = 0;
};

struct EqualizerCurve {
  EqualizerBands custom;  ///< The user's own curve.
};

struct EqualizerSettings : EqualizerCurve {
  int32_t profile = 0;
  int32_t profile_last = 0;
  int32_t surround = 0;
  EqualizerBands current;  ///< What sounds.
};

struct SkinSettings {
  std::string package_name_gbk;  ///< Empty: the built-in skin.
};

struct PluginSettings {
  std::string folder_gbk;
  std::vector<std::string> modules_gbk;
};

struct HistorySettings {
  int32_t last_active_page = 0;
  int32_t split_on_lists = 0;
  std::string sound_path_gbk;
  std::string play_list_path_gbk;
  std::string folder_gbk;
  std::string tag_pattern_gbk;
  int32_t check_sub_folder = 1;
  std::string eqc_profile_gbk;
  std::string lrc_profile_gbk;
  std::string plc_profile_gbk;
};

enum class LoadResult {
  kLoaded,
  kMissing,           ///< No such file: a first start.
  kForeignOrDamaged,  ///< It cannot be read, is no XML, or its root is another's. See KeepAside.
};

/// Opens the named key of the local machine's registry for reading and writing and closes it again; true when
/// that succeeded.
using RegistryProbe = std::function<bool(const char* key)>;

struct Settings {
  static constexpr char kName[] = "melorin";
  static constexpr char kRegistryKey[] = "SOFTWARE\\Quorvant";

  PlayerSettings player;
  GeneralSettings general;
  PlaybackOptions playback;
  DeviceSettings device;
  HotKeySettings hot_key;
  VisualSettings visual;
  LyricSettings lyric;
  PlayListSettings play_list;
  ConvertSettings convert;
  EqualizerSettings equalizer;
  SkinSettings skin;
  PluginSettings plugin;
  HistorySettings history;

  /// Whether the probe succeeded: the user may write what all users share (file associations for all).
  bool registry_writable = false;

  /// The defaults. An empty probe: the registry is not asked.
  explicit Settings(const RegistryProbe& probe = CanWriteMachineKey);

  /// Reads a settings file over these values. Whatever is missing, empty or malformed leaves its setting as
  /// it is and is not reported; any other result than kLoaded leaves all as they are.
  LoadResult Load(const std::string& path_gbk);
  /// Writes the file whole or not at all, beside its place and swapped in. `version` becomes an attribute of
  /// the root unless it is empty. False leaves the old file as it was.
  bool Save(const std::string& path_gbk, std::string_view version) const;

  /// The one way between these values and the tree, in the order of the file. Writing appends the sections to
  /// `root`; reading takes them from it. False only when memory runs out, which leaves values half taken.
  bool Serialize(XmlElement& root, bool writing);
};

/// What a reader would skip in the tree of a settings file: sections and keys that do not exist and values
/// that do not parse, each as one line "Section.Key: why" (UTF-8). At most 1000.
std::vector<std::string> NotUnderstood(const XmlElement& root);

/// Moves the file out of the way, so that the next save cannot destroy it: to "<name>.bad", or
/// "<name>.bad2" and on when that exists. Returns the new path, empty when that failed.
std::string KeepAside(const std::string& path_gbk);

}  // namespace melorin
