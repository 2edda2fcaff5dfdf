// SPDX-License-Identifier: MIT
//
// The texts of the commands. A command keeps its access key in every menu that has it, so the keys are chosen
// for the main menu first and then for the menus of the lists, the lyrics and the equalizer.
#include "ui/command_table.h"

#include <algorithm>

namespace melorin {
namespace {

using Id = CommandId;

constexpr Command kCommands[] = {
    {Id::kPlayPause, u"播放/暂停(&P)", nullptr, true},
    {Id::kPlay, u"播放(&L)", nullptr, true},
    {Id::kPause, u"暂停(&A)", nullptr, true},
    {Id::kStop, u"停止(&S)", nullptr, true},
    {Id::kPrevious, u"上一首(&B)", nullptr, true},
    {Id::kNext, u"下一首(&N)", nullptr, true},
    {Id::kSeekForward, u"快进(&F)", nullptr, true},
    {Id::kSeekBackward, u"快退(&R)", nullptr, true},
    {Id::kVolumeUp, u"增大音量(&U)", nullptr, true},
    {Id::kVolumeDown, u"减小音量(&D)", nullptr, true},
    {Id::kMute, u"静音(&M)", nullptr, true},
    {Id::kElapsedTime, u"显示已播放时间(&E)", nullptr, true},
    {Id::kModeSingle, u"单曲播放(&S)", nullptr, true},
    {Id::kModeRepeatOne, u"单曲循环(&I)", nullptr, true},
    {Id::kModeInOrder, u"顺序播放(&N)", nullptr, true},
    {Id::kModeRepeatAll, u"循环播放(&C)", nullptr, true},
    {Id::kModeRandom, u"随机播放(&R)", nullptr, true},
    {Id::kModeNext, u"切换播放模式(&M)", u"播放模式", true},

    {Id::kOpenFile, u"打开文件(&F)...", nullptr, true},
    {Id::kOpenFolder, u"打开文件夹(&D)...", nullptr, true},
    {Id::kFileProperties, u"文件属性(&R)...", nullptr, true},
    {Id::kShowPlayList, u"显示播放列表(&L)", u"播放列表", true},
    {Id::kShowLyric, u"显示歌词(&Y)", u"歌词", true},
    {Id::kShowEqualizer, u"显示均衡器(&Q)", u"均衡器", true},
    {Id::kMiniMode, u"迷你模式(&I)", nullptr, true},
    {Id::kTopMost, u"总在最前(&T)", nullptr, true},
    {Id::kMainMenu, u"主菜单(&M)", nullptr, true},
    {Id::kOptions, u"选项(&O)...", nullptr, true},
    {Id::kAbout, u"关于(&A)...", nullptr, false},
    {Id::kShowHide, u"显示/隐藏(&H)", nullptr, true},
    {Id::kMinimize, u"最小化(&Z)", nullptr, true},
    {Id::kExit, u"退出(&X)", nullptr, true},

    {Id::kAddFiles, u"添加文件(&F)...", nullptr, true},
    {Id::kAddFolder, u"添加文件夹(&D)...", nullptr, true},
    {Id::kAddList, u"添加列表文件(&L)...", nullptr, true},
    {Id::kNewList, u"新建列表(&N)", nullptr, true},
    {Id::kOpenList, u"打开列表(&O)...", nullptr, true},
    {Id::kSaveList, u"保存列表(&S)...", nullptr, true},
    {Id::kRenameList, u"重命名列表(&M)", nullptr, true},
    {Id::kDeleteList, u"删除列表(&D)", nullptr, true},
    {Id::kPreviousList, u"上一个列表(&P)", nullptr, true},
    {Id::kNextList, u"下一个列表(&T)", nullptr, true},
    {Id::kPlaySelected, u"播放选中曲目(&L)", nullptr, true},
    {Id::kRemoveSelected, u"移除选中曲目(&S)", nullptr, true},
    {Id::kRemoveAll, u"清空列表(&A)", nullptr, true},
    {Id::kRemoveDuplicates, u"移除重复曲目(&D)", nullptr, true},
    {Id::kRemoveMissing, u"移除失效曲目(&M)", nullptr, true},
    {Id::kDeleteFiles, u"删除文件(&E)...", nullptr, true},
    {Id::kUndo, u"撤消(&U)", nullptr, true},
    {Id::kRedo, u"重做(&R)", nullptr, true},
    {Id::kCut, u"剪切(&T)", nullptr, true},
    {Id::kCopy, u"复制(&C)", nullptr, true},
    {Id::kPaste, u"粘贴(&P)", nullptr, true},
    {Id::kSelectAll, u"全选(&A)", nullptr, true},
    {Id::kSelectInverse, u"反向选择(&I)", nullptr, true},
    {Id::kSelectNone, u"取消选择(&N)", nullptr, true},
    {Id::kMoveSelectedUp, u"上移(&W)", nullptr, true},
    {Id::kMoveSelectedDown, u"下移(&D)", nullptr, true},
    {Id::kSortTitle, u"按标题排序(&T)", nullptr, true},
    {Id::kSortArtist, u"按艺术家排序(&A)", nullptr, true},
    {Id::kSortAlbum, u"按专辑排序(&B)", nullptr, true},
    {Id::kSortTrackNumber, u"按音轨号排序(&N)", nullptr, true},
    {Id::kSortDuration, u"按时长排序(&D)", nullptr, true},
    {Id::kSortPath, u"按文件路径排序(&P)", nullptr, true},
    {Id::kReverseList, u"反转顺序(&R)", nullptr, true},
    {Id::kShuffleList, u"随机乱序(&S)", nullptr, true},
    {Id::kFindInList, u"查找(&F)...", nullptr, true},
    {Id::kFindNext, u"查找下一个(&N)", nullptr, true},
    {Id::kLocateInList, u"定位当前曲目(&J)", nullptr, true},
    {Id::kOpenFileFolder, u"打开所在文件夹(&O)", nullptr, true},
    {Id::kReloadInfo, u"重新读取信息(&I)", nullptr, true},

    {Id::kLyricAssociate, u"关联歌词(&A)...", nullptr, true},
    {Id::kLyricDissociate, u"取消关联(&D)", nullptr, true},
    {Id::kLyricReload, u"重新载入歌词(&R)", nullptr, true},
    {Id::kLyricEdit, u"编辑歌词(&E)...", nullptr, true},
    {Id::kLyricSave, u"保存歌词(&S)", nullptr, true},
    {Id::kLyricCopy, u"复制歌词(&C)", nullptr, true},
    {Id::kLyricOpenFolder, u"打开歌词所在文件夹(&P)", nullptr, true},
    {Id::kLyricEarlier, u"歌词提前 0.5 秒(&F)", nullptr, true},
    {Id::kLyricLater, u"歌词推后 0.5 秒(&B)", nullptr, true},
    {Id::kLyricVertical, u"歌词纵向滚动(&V)", nullptr, true},
    {Id::kLyricHorizontal, u"歌词横向滚动(&H)", nullptr, true},
    {Id::kLyricAlignLeft, u"歌词左对齐(&L)", nullptr, true},
    {Id::kLyricAlignCentre, u"歌词居中(&C)", nullptr, true},
    {Id::kLyricAlignRight, u"歌词右对齐(&R)", nullptr, true},
    {Id::kLyricKaraoke, u"卡拉 OK 模式(&K)", nullptr, true},
    {Id::kLyricTopMost, u"歌词窗口总在最前(&T)", nullptr, true},

    {Id::kEqualizerOn, u"启用均衡器(&E)", nullptr, true},
    {Id::kEqualizerReset, u"重置均衡器(&R)", nullptr, true},
    {Id::kEqualizerLoadProfile, u"载入均衡器配置(&L)...", nullptr, true},
    {Id::kEqualizerSaveProfile, u"保存均衡器配置(&S)...", nullptr, true},

    {Id::kVisualNone, u"关闭视觉效果(&N)", nullptr, true},
    {Id::kVisualSpectrum, u"频谱分析(&S)", nullptr, true},
    {Id::kVisualScope, u"示波器(&O)", nullptr, true},
    {Id::kVisualBlurredScope, u"模糊示波器(&B)", nullptr, true},
    {Id::kVisualNext, u"切换视觉效果(&V)", u"视觉效果", true},
};

/// Bits that are no modifiers may stand in a settings file.
constexpr uint32_t Packed(const KeyStroke& key) {
  constexpr uint32_t kModifiers = 15;
  return key.key == 0 ? 0 : (key.modifiers & kModifiers) << 16 | key.key;
}

CommandId CommandOf(const KeyBinding& binding) {
  const auto id = static_cast<CommandId>(binding.command);
  return FindCommand(id) ? id : CommandId::kNone;
}

void FindConflictsOf(std::span<const KeyBinding> map, KeyStroke KeyBinding::*key, bool global,
                     std::vector<KeyConflict>& conflicts) {
  struct Holder {
    uint32_t packed;
    CommandId command;
  };
  std::vector<Holder> holders;
  for (const KeyBinding& binding : map) {
    const uint32_t packed = Packed(binding.*key);
    const CommandId command = CommandOf(binding);
    if (packed == 0 || command == CommandId::kNone) continue;
    const auto holder = std::find_if(holders.begin(), holders.end(),
                                     [&](const Holder& other) { return other.packed == packed; });
    if (holder == holders.end()) {
      holders.push_back({packed, command});
    } else if (holder->command != command) {
      conflicts.push_back({holder->command, command, binding.*key, global});
    }
  }
}

}  // namespace

std::span<const Command> Commands() {
  return kCommands;
}

const Command* FindCommand(CommandId id) {
  const auto found =
      std::find_if(std::begin(kCommands), std::end(kCommands), [&](const Command& c) { return c.id == id; });
  return found == std::end(kCommands) ? nullptr : found;
}

std::u16string PlainCommandText(std::u16string_view menu_text) {
  std::u16string text(menu_text);
  if (text.ends_with(u"...")) text.resize(text.size() - 3);
  constexpr size_t kKeyLength = 4;  // "(&S)"
  if (text.size() >= kKeyLength && text.ends_with(u')') && text.substr(text.size() - kKeyLength, 2) == u"(&")
    text.resize(text.size() - kKeyLength);
  return text;
}

KeyBinding FindBinding(std::span<const KeyBinding> map, CommandId command) {
  for (const KeyBinding& binding : map)
    if (binding.command == static_cast<int32_t>(command)) return binding;
  return {static_cast<int32_t>(command), {}, {}};
}

CommandId CommandOfKey(std::span<const KeyBinding> map, const KeyStroke& application) {
  const uint32_t packed = Packed(application);
  if (packed == 0) return CommandId::kNone;
  for (const KeyBinding& binding : map) {
    if (Packed(binding.application) != packed) continue;
    const CommandId command = CommandOf(binding);
    if (command != CommandId::kNone) return command;
  }
  return CommandId::kNone;
}

std::vector<KeyConflict> FindKeyConflicts(std::span<const KeyBinding> map) {
  std::vector<KeyConflict> conflicts;
  FindConflictsOf(map, &KeyBinding::application, false, conflicts);
  FindConflictsOf(map, &KeyBinding::global, true, conflicts);
  return conflicts;
}

}  // namespace melorin
