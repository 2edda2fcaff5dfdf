// SPDX-License-Identifier: MIT
#include "app/lyric_service.h"

#include <algorithm>
#include <utility>

#include "app/component_runtime.h"
#include "lyrics/lyric_tags.h"
#include "platform/file.h"
#include "platform/text.h"
#include "playlist/item_info.h"

namespace melorin {
namespace {

/// A file that was found is the song's own from this score on; below it the song's tags are believed more.
constexpr int kSureScore = 6;
constexpr size_t kLongestName = 120;
constexpr int kMostNumbers = 999;

/// The first name of that kind that no file has.
std::string FreePath(const std::string& folder, const std::string& name) {
  std::string path = JoinPath(folder, name + ".lrc");
  for (int number = 2; FileExists(path) && number <= kMostNumbers; ++number)
    path = JoinPath(folder, name + " (" + std::to_string(number) + ").lrc");
  return path;
}

}  // namespace

bool HasText(const LyricDoc& doc) {
  return !doc.Lines().empty() || doc.plain_text_gbk.find_first_not_of(" \t\r\n") != std::string::npos;
}

std::string LyricFileNameGbk(const std::string& text_gbk) {
  std::u16string name = Utf16FromGbk(text_gbk);
  for (char16_t& c : name)
    if (c < u' ' || std::u16string_view(u"\\/:*?\"<>|").find(c) != std::u16string_view::npos) c = u'_';
  if (name.size() > kLongestName) {
    name.resize(kLongestName);
    if ((name.back() & 0xFC00) == 0xD800) name.pop_back();
  }
  while (!name.empty() && (name.back() == u' ' || name.back() == u'.'))
    name.pop_back();
  return name.empty() ? "_" : GbkFromUtf16(name);
}

LyricService::LyricService(const SoundLibrary& library, std::string associations_gbk, PostFunction post)
    : library_(library),
      associations_gbk_(std::move(associations_gbk)),
      post_(std::move(post)),
      finder_(associations_) {}

void LyricService::Stop() {
  *alive_ = false;
  {
    const Lock lock(lock_);
    stop_ = true;
  }
  wake_.Set();
  thread_.Join();
}

void LyricService::Push(std::function<void()> task) {
  {
    const Lock lock(lock_);
    if (stop_) return;
    tasks_.push_back(std::move(task));
  }
  // The first one starts the thread: a player without songs needs none.
  if (!thread_.Running() && !thread_.Start([this] { Run(); })) {
    const Lock lock(lock_);
    tasks_.clear();
    return;
  }
  wake_.Set();
}

void LyricService::Run() {
  const ComponentRuntime runtime;
  for (;;) {
    std::function<void()> task;
    {
      const Lock lock(lock_);
      if (!tasks_.empty()) {
        task = std::move(tasks_.front());
        tasks_.pop_front();
      } else if (stop_) {
        break;
      }
    }
    if (!task) {
      wake_.Wait();
      continue;
    }
    try {
      if (!std::exchange(associations_read_, true)) associations_.Load(associations_gbk_);
      task();
    } catch (...) {
      // Memory has run out; what the task was to bring does not come.
    }
  }
  WriteWaiting();
}

void LyricService::Post(std::function<void()> task) {
  post_([alive = alive_, task = std::move(task)] {
    if (*alive) task();
  });
}

// ---- loading

void LyricService::Load(LoadRequest request, LoadFunction done) {
  const size_t load = ++load_;
  Push([this, load, request = std::move(request), done = std::move(done)] {
    {
      const Lock lock(lock_);
      if (stop_ || load != load_) return;
    }
    LoadedLyric lyric = Read(request);
    Post([this, load, lyric = std::move(lyric), done]() mutable {
      if (load == load_) done(std::move(lyric));
    });
  });
}

LoadedLyric LyricService::Read(const LoadRequest& request) {
  const PlayListItem& item = *request.item;
  // Another song plays: the one before may be written to.
  WriteWaiting();
  if (request.forget) finder_.Forget();
  LoadedLyric lyric;
  lyric.associated = !associations_.Find(item.PathGbk(), item.Subtrack()).empty();
  const auto finish = [&](LyricSource source, std::shared_ptr<LyricDoc> doc) {
    if (request.trim) doc->TrimAll();
    lyric.source = source;
    lyric.doc = std::move(doc);
    return lyric;
  };

  const LyricMatch match = finder_.Find(item, request.search);
  auto of_file = std::make_shared<LyricDoc>();
  LyricEncoding encoding = LyricEncoding::kGbk;
  const bool timed = !match.path_gbk.empty() && LoadLyricFile(*of_file, match.path_gbk, {}, &encoding);
  const bool found = timed || HasText(*of_file);
  if (found) {
    lyric.path_gbk = match.path_gbk;
    lyric.encoding = encoding;
  }
  const bool sure = timed && match.score >= kSureScore;
  if (sure && !request.save_tags) return finish(LyricSource::kFile, std::move(of_file));

  auto of_tags = std::make_shared<LyricDoc>();
  ItemInfo info;
  if (const auto waits = waiting_.find(item.PathGbk()); waits != waiting_.end() && item.Subtrack() == 0) {
    of_tags->Parse(waits->second.text);
  } else if (SUCCEEDED(ReadItemInfo(library_, item.PathGbk(), item.Subtrack(), &info))) {
    LyricFromTags(*of_tags, info.tags);
    if (sure && !HasText(*of_tags)) WriteTags(item, of_file->Write(request.merge), request.tag_kinds);
  }
  // Timed lines go before text; of these, the song's own before a file that may be another's.
  const bool tags_win = HasText(*of_tags) && !sure && (!found || !of_tags->Lines().empty());
  if (tags_win) {
    lyric.path_gbk.clear();
    lyric.encoding = LyricEncoding::kGbk;
    return finish(LyricSource::kTags, std::move(of_tags));
  }
  if (found) return finish(LyricSource::kFile, std::move(of_file));
  return lyric;
}

// ---- associations

void LyricService::Associate(const ItemRef& item, std::string lyric_path_gbk,
                             std::function<void(bool)> done) {
  Push([this, item, path = std::move(lyric_path_gbk), done = std::move(done)] {
    const bool saved = WriteAssociation(*item, path);
    Post([done, saved] { done(saved); });
  });
}

bool LyricService::WriteAssociation(const PlayListItem& item, const std::string& lyric_path_gbk) {
  associations_.Set(item.PathGbk(), item.Subtrack(), lyric_path_gbk);
  return associations_.Save(associations_gbk_);
}

// ---- saving

void LyricService::Save(SaveRequest request, std::function<void(SaveResult)> done) {
  Push([this, request = std::move(request), done = std::move(done)] {
    SaveResult result = Write(request);
    Post([done, result = std::move(result)] { done(result); });
  });
}

LyricService::SaveResult LyricService::Write(const SaveRequest& request) {
  SaveResult result;
  const PlayListItem& item = *request.item;
  result.associated = !associations_.Find(item.PathGbk(), item.Subtrack()).empty();
  if (request.mode != LyricSaveMode::kTags) {
    std::string path = request.path_gbk;
    const bool is_new = path.empty();
    if (is_new) {
      MakeDirectory(request.folder_gbk);
      path = request.overwrite ? JoinPath(request.folder_gbk, request.name_gbk + ".lrc")
                               : FreePath(request.folder_gbk, request.name_gbk);
    }
    result.file_failed = !SaveLyricFile(*request.doc, path, request.merge, request.encoding);
    if (!result.file_failed) {
      result.path_gbk = path;
      if (is_new && request.associate) {
        WriteAssociation(item, path);
        result.associated = true;
      }
    }
  }
  if (request.mode != LyricSaveMode::kFile)
    result.tags = WriteTags(item, request.doc->Write(request.merge), request.tag_kinds);
  return result;
}

TagWrite LyricService::WriteTags(const PlayListItem& item, std::u16string text, uint32_t kinds) {
  // A track of a sheet has no tags of its own.
  if (item.Subtrack() != 0) return TagWrite::kNotSupported;
  const TagWrite result = WriteLyricTag(item.PathGbk(), text, kinds);
  if (result == TagWrite::kInUse)
    waiting_[item.PathGbk()] = {std::move(text), kinds};
  else
    waiting_.erase(item.PathGbk());
  return result;
}

void LyricService::WriteWaiting() {
  std::erase_if(waiting_, [](const auto& entry) {
    return WriteLyricTag(entry.first, entry.second.text, entry.second.kinds) != TagWrite::kInUse;
  });
}

}  // namespace melorin
