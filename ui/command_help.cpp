// SPDX-License-Identifier: MIT
#include "ui/command_help.h"

namespace melorin {

std::u16string_view CommandHelp(CommandId command) {
  switch (command) {
    case CommandId::kModeSingle:
      return u"播放完当前曲目后停止";
    case CommandId::kModeRepeatOne:
      return u"反复播放当前曲目";
    case CommandId::kModeInOrder:
      return u"播放到列表末尾后停止";
    case CommandId::kModeRepeatAll:
      return u"播放到列表末尾后从头开始";
    case CommandId::kModeRandom:
      return u"每首播放一次，次序随机";
    case CommandId::kOpenFile:
    case CommandId::kOpenFolder:
      return u"添加到列表并立即播放";
    case CommandId::kMiniMode:
      return u"换成一条小窗口，浮在其他窗口之上";
    case CommandId::kAddList:
      return u"把列表文件中的曲目添加到当前列表";
    case CommandId::kOpenList:
      return u"把列表文件作为新的列表打开";
    case CommandId::kSaveList:
      return u"把当前列表写入列表文件";
    case CommandId::kDeleteList:
      return u"只删除列表，不删除磁盘上的文件";
    case CommandId::kRemoveSelected:
    case CommandId::kRemoveAll:
      return u"只从列表中移除，不删除磁盘上的文件";
    case CommandId::kRemoveDuplicates:
      return u"同一文件只保留第一个";
    case CommandId::kRemoveMissing:
      return u"移除文件已经不存在的曲目";
    case CommandId::kDeleteFiles:
      return u"从磁盘上删除选中曲目的文件";
    case CommandId::kLocateInList:
      return u"显示并选中正在播放的曲目";
    case CommandId::kReloadInfo:
      return u"重新读取选中曲目的标签和时长";
    case CommandId::kLyricAssociate:
      return u"为当前曲目指定歌词文件";
    case CommandId::kLyricDissociate:
      return u"不再使用指定的歌词文件";
    case CommandId::kLyricReload:
      return u"重新查找并读取当前曲目的歌词";
    case CommandId::kLyricKaraoke:
      return u"当前行随演唱逐字变色";
    case CommandId::kEqualizerReset:
      return u"所有频段回到 0 分贝";
    case CommandId::kEqualizerLoadProfile:
      return u"从文件载入均衡器曲线";
    case CommandId::kEqualizerSaveProfile:
      return u"把均衡器曲线写入文件";
    default:
      return {};
  }
}

}  // namespace melorin
