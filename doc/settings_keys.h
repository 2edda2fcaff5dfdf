// SPDX-License-Identifier: MIT
//
// The table of sections and keys, in the order of the file: the one place that says which setting has which
// key. A visitor is called with the key and the setting, const or not; what it does with them (reading,
// writing, listing) is its own business. Names are spelt as they are in files that exist.
#pragma once

#include "doc/settings.h"

namespace melorin {

template <class Visitor, class Values>
void VisitPlayerKeys(Visitor& visit, Values& s) {
  visit("MiniMode", s.mini_mode);
  visit("TopMost", s.top_most);
  visit("LyricTopMost", s.lyric_top_most);
  visit("LyricVisible", s.lyric_visible);
  visit("EqualizerVisible", s.equalizer_visible);
  visit("PlayListVisible", s.play_list_visible);
  visit("PlayerWnd", s.player_wnd);
  visit("LyricWnd", s.lyric_wnd);
  visit("EqualizerWnd", s.equalizer_wnd);
  visit("PlayListWnd", s.play_list_wnd);
  visit("TopMost2", s.top_most2);
  visit("LyricTopMost2", s.lyric_top_most2);
  visit("LyricVisible2", s.lyric_visible2);
  visit("PlayerWnd2", s.player_wnd2);
  visit("LyricWnd2", s.lyric_wnd2);
  visit("OpaqueWhenActive", s.opaque_when_active);
  visit("AlphaPercent", s.alpha_percent);
  visit("PlayMode", s.play_mode);
  visit("PlayLists", s.play_lists);
  visit("ActiveList", s.active_list);
  visit("PlayingItem", s.playing_item);
  visit("PlayingTime", s.playing_time);
  visit("PlayingFile", s.playing_file_gbk);
  visit("Mute", s.mute);
  visit("Volume", s.volume);
  visit("Balance", s.balance);
  visit("ShowElapsedTime", s.show_elapsed_time);
}

template <class Visitor, class Values>
void VisitGeneralKeys(Visitor& visit, Values& s) {
  visit("StartupMinimize", s.startup_minimize);
  visit("HideMinimize", s.hide_minimize);
  // Twice under one name: the second is what a file holds, and both get it back.
  visit("Fade_Windows", s.fade_windows_first);
  visit("ShowHotKeyInTips", s.show_hot_key_in_tips);
  visit("TipsOnOpen", s.tips_on_open);
  visit("MenuTips", s.menu_tips);
  visit("MenuBarPlayList", s.menu_bar_play_list);
  visit("Fade_Windows", s.fade_windows);
  visit("Snap_Windows", s.snap_windows);
  visit("TitleSlideInterval", s.title_slide_interval);
  visit("CheckUpdateDays", s.check_update_days);
  visit("LastMessageVer", s.last_message_ver);
  visit("LastCheckedDay", s.last_checked_day);
  visit("ClearListOnCmd", s.clear_list_on_cmd);
  visit("DefaultListOnCmd", s.default_list_on_cmd);
  visit("strDefaultList", s.str_default_list_gbk);
  visit("AppIconFile", s.app_icon_file_gbk);
  visit("MP3ReadTagPriority", s.mp3_read_tag_priority);
  visit("MP3WriteTagType", s.mp3_write_tag_type);
}

template <class Visitor, class Values>
void VisitPlaybackKeys(Visitor& visit, Values& s) {
  visit("AutoPlay", s.auto_play);
  visit("ContinuePlay", s.continue_play);
  visit("StopWhenFail", s.stop_when_fail);
  visit("TracksInterval", s.tracks_interval);
  visit("ThreadPriority", s.thread_priority);
  visit("SoundFadeMode", s.sound_fade_mode);
  visit("FadeDuration", s.fade_duration);
  visit("AutoGain", s.auto_gain);
  visit("AutoScanGain", s.auto_scan_gain);
  visit("SkipScanGain", s.skip_scan_gain);
}

template <class Visitor, class Values>
void VisitDeviceKeys(Visitor& visit, Values& s) {
  visit("DeviceType", s.device_type);
  visit("OutputBits", s.output_bits);
  visit("BufferDuration", s.buffer_duration);
  visit("HardwareBuffer", s.hardware_buffer);
  visit("CreatePrimary", s.create_primary);
  visit("ResampleRate", s.resample_rate);
  visit("HQResample", s.hq_resample);
  visit("Dither", s.dither);
}

template <class Visitor, class Values>
void VisitHotKeyKeys(Visitor& visit, Values& s) {
  visit("Global", s.global);
  visit("KeyMap", s.key_map);
}

template <class Visitor, class Values>
void VisitVisualKeys(Visitor& visit, Values& s) {
  visit("Type", s.type);
  visit("FramesPerSec", s.frames_per_sec);
  visit("SpectrumTopColor", s.spectrum_top_color);
  visit("SpectrumBtmColor", s.spectrum_btm_color);
  visit("SpectrumMidColor", s.spectrum_mid_color);
  visit("SpectrumPeakColor", s.spectrum_peak_color);
  visit("SpectrumWide", s.spectrum_wide);
  visit("BlurSpeed", s.blur_speed);
  visit("Blur", s.blur);
  visit("BlurScopeColor", s.blur_scope_color);
}

/// What a lyric profile holds as well.
template <class Visitor, class Values>
void VisitLyricLook(Visitor& visit, Values& s) {
  visit("Font", s.font);
  visit("TextColor", s.text_color);
  visit("HilightColor", s.hilight_color);
  visit("BkgndColor", s.bkgnd_color);
}

template <class Visitor, class Values>
void VisitLyricKeys(Visitor& visit, Values& s) {
  visit("ScrollMode", s.scroll_mode);
  visit("CharSet", s.char_set);
  visit("TextAlign", s.text_align);
  visit("RowInterval", s.row_interval);
  visit("FadeIndex", s.fade_index);
  visit("FadeHilight", s.fade_hilight);
  visit("KaraokeMode", s.karaoke_mode);
  visit("Transparent", s.transparent);
  visit("TransSkin", s.trans_skin);
  VisitLyricLook(visit, s);
  visit("AutoLoadLyric", s.auto_load_lyric);
  visit("AutoSaveLyricTag", s.auto_save_lyric_tag);
  visit("AutoVisible", s.auto_visible);
  visit("AutoWidth", s.auto_width);
  visit("AutoWidthOnlyVert", s.auto_width_only_vert);
  visit("DragLyric", s.drag_lyric);
  visit("SaveCompress", s.save_compress);
  visit("TrimSpaces", s.trim_spaces);
  visit("LyricSaveMode", s.lyric_save_mode);
  visit("AddInIndex", s.add_in_index);
  visit("UseProxy", s.use_proxy);
  visit("ProxyAddr", s.proxy_addr_gbk);
  visit("ProxyPort", s.proxy_port);
  visit("AutoDownLoad", s.auto_down_load);
  visit("AutoAssociate", s.auto_associate);
  visit("AutoSelectDownload", s.auto_select_download);
  visit("OverWrite", s.over_write);
  visit("SameFileTitle", s.same_file_title);
  visit("SaveToSoundFolder", s.save_to_sound_folder);
  visit("DownLoadFolder", s.down_load_folder_gbk);
  visit("NewLineAfterTag", s.new_line_after_tag);
  visit("Folders", s.folders_gbk);
}

/// What a playlist profile holds as well.
template <class Visitor, class Values>
void VisitPlayListLook(Visitor& visit, Values& s) {
  visit("Font", s.font);
  visit("Color_Text", s.color_text);
  visit("Color_Hilight", s.color_hilight);
  visit("Color_Bkgnd", s.color_bkgnd);
  visit("Color_Number", s.color_number);
  visit("Color_Duration", s.color_duration);
  visit("Color_Bkgnd2", s.color_bkgnd2);
}

template <class Visitor, class Values>
void VisitPlayListKeys(Visitor& visit, Values& s) {
  visit("ItemTips", s.item_tips);
  visit("DisableDelFile", s.disable_del_file);
  visit("EnableDragDrop", s.enable_drag_drop);
  visit("ReadInfoMode", s.read_info_mode);
  visit("TitleNumber", s.title_number);
  visit("IgnoreBadFiles", s.ignore_bad_files);
  visit("SaveRelativePath", s.save_relative_path);
  visit("SaveTags", s.save_tags);
  visit("TagFormat", s.tag_format);
  visit("TagTitleFormat", s.tag_title_format_gbk);
  visit("DefTitleFormat", s.def_title_format_gbk);
  VisitPlayListLook(visit, s);
}

template <class Visitor, class Values>
void VisitConvertKeys(Visitor& visit, Values& s) {
  visit("WriterIndex", s.writer_index);
  visit("OutputBits", s.output_bits);
  visit("ResampleRate", s.resample_rate);
  visit("Equalizer", s.equalizer);
  visit("Surround", s.surround);
  visit("Folder", s.folder_gbk);
  visit("OverWrite", s.over_write);
  visit("AddToPlayList", s.add_to_play_list);
  visit("ThreadPriority", s.thread_priority);
}

/// What an equalizer profile holds as well.
template <class Visitor, class Values>
void VisitEqualizerCurve(Visitor& visit, Values& s) {
  visit("Custom", s.custom);
}

template <class Visitor, class Values>
void VisitEqualizerKeys(Visitor& visit, Values& s) {
  visit("Profile", s.profile);
  visit("ProfileLast", s.profile_last);
  visit("Surround", s.surround);
  VisitEqualizerCurve(visit, s);
  visit("Current", s.current);
}

template <class Visitor, class Values>
void VisitHistoryKeys(Visitor& visit, Values& s) {
  visit("LastActivePage", s.last_active_page);
  visit("SplitOnLists", s.split_on_lists);
  visit("SoundPath", s.sound_path_gbk);
  visit("PlayListPath", s.play_list_path_gbk);
  visit("Folder", s.folder_gbk);
  visit("TagPattern", s.tag_pattern_gbk);
  visit("CheckSubFolder", s.check_sub_folder);
  visit("EQCProfile", s.eqc_profile_gbk);
  visit("LRCProfile", s.lrc_profile_gbk);
  visit("PLCProfile", s.plc_profile_gbk);
}

/// `visit.Section(name)` comes before a section's keys; false skips them.
template <class Visitor, class Values>
void VisitSettings(Visitor& visit, Values& s) {
  if (visit.Section("Player")) VisitPlayerKeys(visit, s.player);
  if (visit.Section("General")) VisitGeneralKeys(visit, s.general);
  if (visit.Section("Playback")) VisitPlaybackKeys(visit, s.playback);
  if (visit.Section("Device")) VisitDeviceKeys(visit, s.device);
  if (visit.Section("HotKey")) VisitHotKeyKeys(visit, s.hot_key);
  if (visit.Section("Visual")) VisitVisualKeys(visit, s.visual);
  if (visit.Section("Lyric")) VisitLyricKeys(visit, s.lyric);
  if (visit.Section("PlayList")) VisitPlayListKeys(visit, s.play_list);
  if (visit.Section("Convert")) VisitConvertKeys(visit, s.convert);
  if (visit.Section("Equalizer")) VisitEqualizerKeys(visit, s.equalizer);
  if (visit.Section("Skin")) visit("PackageName", s.skin.package_name_gbk);
  if (visit.Section("Plugin")) {
    visit("Folder", s.plugin.folder_gbk);
    visit("Modules", s.plugin.modules_gbk);
  }
  if (visit.Section("Histroy")) VisitHistoryKeys(visit, s.history);
}

}  // namespace melorin
