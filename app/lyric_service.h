// SPDX-License-Identifier: MIT
//
// LyricService: finds, reads and saves lyrics on a thread of its own, so that the UI thread never waits for a
// disk.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "lyrics/lyric_associations.h"
#include "lyrics/lyric_doc.h"
#include "lyrics/lyric_file.h"
#include "lyrics/lyric_finder.h"
#include "lyrics/lyric_tag_writer.h"
#include "platform/thread.h"
#include "playlist/play_list_item.h"
#include "sound/sound_library.h"

namespace melorin {

/// Where a lyric came from.
enum class LyricSource { kNone, kFile, kTags };

/// There is something to be read in it.
bool HasText(const LyricDoc& doc);

/// The lyric of a song.
struct LoadedLyric {
  LyricSource source = LyricSource::kNone;
  /// Null without a lyric. With timed lines or, failing these, with plain text.
  std::shared_ptr<const LyricDoc> doc;
  std::string path_gbk;  ///< Of the file, when it is from one.
  LyricEncoding encoding = LyricEncoding::kGbk;
  bool associated = false;  ///< The user has chosen a file for the song, be it there or not.
};

/// The setting "LyricSaveMode".
enum class LyricSaveMode { kFile = 0, kTags = 1, kFileAndTags = 2 };
inline LyricSaveMode LyricSaveModeFrom(int32_t value) {
  return value >= 0 && value <= 2 ? static_cast<LyricSaveMode>(value) : LyricSaveMode::kFile;
}

/// Thread: the UI thread; `done` functions are called there, through `post`.
class LyricService {
 public:
  using PostFunction = std::function<void(std::function<void()>)>;

  /// The library must outlive the service. `associations_gbk`: see LyricAssociationsPath.
  LyricService(const SoundLibrary& library, std::string associations_gbk, PostFunction post);
  ~LyricService() { Stop(); }
  LyricService(const LyricService&) = delete;
  LyricService& operator=(const LyricService&) = delete;

  struct LoadRequest {
    ItemRef item;
    LyricSearch search;
    bool merge = false;      ///< The setting "SaveCompress", for what goes into tags.
    uint32_t tag_kinds = 0;  ///< The setting "MP3WriteTagType".
    bool save_tags = false;  ///< The setting "AutoSaveLyricTag": from a file into tags that have none.
    bool trim = true;        ///< The setting "TrimSpaces".
    bool forget = false;     ///< Look at the folders anew.
  };
  using LoadFunction = std::function<void(LoadedLyric)>;
  /// A load that is asked for later takes the place of this one: its `done` is never called then.
  void Load(LoadRequest request, LoadFunction done);
  /// Nothing that is under way is wanted any more.
  void CancelLoads() { ++load_; }

  /// From now on that file is the song's lyric; an empty path: the search decides. `done` gets whether it
  /// will be known at the next start too.
  void Associate(const ItemRef& item, std::string lyric_path_gbk, std::function<void(bool)> done);

  struct SaveRequest {
    std::shared_ptr<const LyricDoc> doc;
    ItemRef item;
    LyricSaveMode mode = LyricSaveMode::kFile;
    bool merge = false;      ///< The setting "SaveCompress".
    uint32_t tag_kinds = 0;  ///< The setting "MP3WriteTagType".
    /// The file that is written. Empty: a new one in that folder, made when it is not there.
    std::string path_gbk;
    std::string folder_gbk;
    std::string name_gbk;    ///< Of the new file, without extension.
    bool overwrite = false;  ///< An old file of that name; else the new one is given a number.
    bool associate = false;  ///< A new file with the song.
    LyricEncoding encoding = LyricEncoding::kGbk;
  };
  struct SaveResult {
    bool file_failed = false;
    TagWrite tags = TagWrite::kDone;  ///< kInUse: they are written when the song is not played any more.
    std::string path_gbk;             ///< Of the file that was written; empty: none was.
    bool associated = false;
  };
  void Save(SaveRequest request, std::function<void(SaveResult)> done);

  /// What was asked for is still carried out, but loads; no `done` is called any more. Tags that wait are
  /// written if the songs are not open any more.
  void Stop();

 private:
  void Push(std::function<void()> task);
  void Run();
  void Post(std::function<void()> task);
  // On the thread:
  LoadedLyric Read(const LoadRequest& request);
  bool WriteAssociation(const PlayListItem& item, const std::string& lyric_path_gbk);
  SaveResult Write(const SaveRequest& request);
  TagWrite WriteTags(const PlayListItem& item, std::u16string text, uint32_t kinds);
  void WriteWaiting();

  const SoundLibrary& library_;
  const std::string associations_gbk_;
  const PostFunction post_;
  std::atomic<size_t> load_{0};  ///< Which load is wanted.
  /// For tasks on their way to the UI thread: false when the service is gone.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);

  // The thread's.
  LyricAssociations associations_;
  LyricFinder finder_;
  bool associations_read_ = false;
  /// Texts for tags of songs that are being played, by path.
  struct WaitingTag {
    std::u16string text;
    uint32_t kinds = 0;
  };
  std::map<std::string, WaitingTag> waiting_;

  CriticalSection lock_;
  std::deque<std::function<void()>> tasks_;
  bool stop_ = false;
  Event wake_{Event::Mode::kAutoReset};
  Thread thread_;
};

/// A file name of any text: what names cannot hold becomes "_", and it is cut to a sensible length. Never
/// empty.
std::string LyricFileNameGbk(const std::string& text_gbk);

}  // namespace melorin
