// SPDX-License-Identifier: MIT
//
// Reading what files say into items: once from a real file, and the background worker with readers of the
// test's own.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "platform/file.h"
#include "playlist/info_reader.h"
#include "playlist/item_info.h"
#include "sound/sound_library.h"
#include "tests/tags_build.h"

namespace {

using namespace melorin;

ItemRef Item(const std::string& path, uint32_t subtrack = 0) {
  return ItemCache::Obtain(path, "", kUnknownDuration, subtrack);
}

/// Stands for the disk: answers for files, says what was read, and can be held at a file.
class Disk {
 public:
  std::unique_ptr<InfoReader> NewReader() {
    return std::make_unique<InfoReader>([this](const std::string& path, uint32_t subtrack,
                                               ItemInfo* out) { return Read(path, subtrack, out); },
                                        [this](const std::string& path) { return Stamp(path); },
                                        [this] { notified_.Set(); });
  }

  HRESULT Read(const std::string& path, uint32_t subtrack, ItemInfo* out) {
    {
      const Lock lock(lock_);
      order_ += path + (subtrack ? std::to_string(subtrack) : "") + " ";
    }
    at_file_.Set();
    if (path == "held") go_on_.Wait();
    if (path.starts_with("bad")) return E_FAIL;
    out->duration_ms = 5000;
    out->codec_gbk = "MP3|MPEG";
    out->time_stamp = Stamp(path);
    out->tags.Add("Title", path);
    return S_OK;
  }
  uint32_t Stamp(const std::string& path) {
    const Lock lock(lock_);
    const auto found = stamps_.find(path);
    return found == stamps_.end() ? 7 : found->second;
  }
  void SetStamp(const std::string& path, uint32_t stamp) {
    const Lock lock(lock_);
    stamps_[path] = stamp;
  }

  std::string TakeOrder() {
    const Lock lock(lock_);
    return std::exchange(order_, {});
  }
  /// Drains until at least that many came; their paths, "!" behind those that failed.
  std::string DrainAll(InfoReader& reader, size_t count) {
    std::string drained;
    while (count > 0) {
      if (!notified_.Wait(10000)) return drained + "(nothing more came)";
      for (const auto& outcome : reader.Drain()) {
        drained += outcome.item->PathGbk() + (FAILED(outcome.result) ? "! " : " ");
        count -= count > 0 ? 1 : 0;
      }
    }
    return drained;
  }
  /// Until the worker has looked at everything, also at what it leaves out.
  void WaitUntilIdle(InfoReader& reader) {
    const ItemRef last = Item("last");
    reader.Enqueue(last, InfoReader::Again::kYes);
    while (DrainAll(reader, 1).find("last") == std::string::npos) {
    }
    const Lock lock(lock_);
    order_.erase(order_.find("last "), 5);
  }

  Event notified_{Event::Mode::kAutoReset};
  Event at_file_{Event::Mode::kAutoReset};
  Event go_on_{Event::Mode::kManualReset};

 private:
  CriticalSection lock_;
  std::string order_;
  std::map<std::string, uint32_t> stamps_;
};

TEST(InfoReader, ShownEntriesComeFirstAndResultsGoIntoTheItems) {
  Disk disk;
  const auto reader = disk.NewReader();
  const std::vector<ItemRef> items = {Item("held"), Item("a"), Item("b"), Item("c"), Item("d", 3)};
  ASSERT_TRUE(reader->Start());
  reader->Enqueue(items[0]);
  disk.at_file_.Wait();
  for (const ItemRef& item : items)
    reader->Enqueue(item);
  reader->EnqueueShown(std::vector<ItemRef>{items[2], items[4]});
  reader->EnqueueShown(std::vector<ItemRef>{items[3]});
  EXPECT_EQ(reader->Waiting(), 4u);
  EXPECT_EQ(items[1]->DurationMs(), kUnknownDuration);
  disk.go_on_.Set();
  EXPECT_EQ(disk.DrainAll(*reader, 5), "held c b d a ");
  EXPECT_EQ(disk.TakeOrder(), "held c b d3 a ");
  EXPECT_EQ(items[4]->DurationMs(), 5000);
  EXPECT_EQ(items[4]->CodecGbk(), "MP3|MPEG");
  EXPECT_EQ(items[4]->TimeStamp(), 7u);
  EXPECT_EQ(items[4]->TagValue("Title"), "d");
  EXPECT_EQ(items[4]->TitleGbk(), "") << "the formatter's";
}

TEST(InfoReader, ReadsAgainOnlyWhatChanged) {
  Disk disk;
  const auto reader = disk.NewReader();
  const ItemRef good = Item("good");
  const ItemRef bad = Item("bad");
  const auto enqueue_both = [&] {
    reader->Enqueue(good);
    reader->Enqueue(bad);
    disk.WaitUntilIdle(*reader);
    return disk.TakeOrder();
  };
  ASSERT_TRUE(reader->Start());
  EXPECT_EQ(enqueue_both(), "good bad ");
  EXPECT_EQ(bad->TimeStamp(), 0u);
  EXPECT_EQ(enqueue_both(), "") << "unchanged";
  disk.SetStamp("good", 8);
  EXPECT_EQ(enqueue_both(), "good ");
  disk.SetStamp("bad", 8);
  EXPECT_EQ(enqueue_both(), "bad ");
  disk.SetStamp("bad", 0);  // Gone, and a look at it fails once.
  EXPECT_EQ(enqueue_both(), "bad ");
  EXPECT_EQ(enqueue_both(), "");
  reader->Enqueue(good, InfoReader::Again::kYes);
  reader->Enqueue(bad, InfoReader::Again::kYes);
  EXPECT_EQ(enqueue_both(), "good bad ") << "the user asks for it";
}

TEST(InfoReader, LeavesOutWhatNobodyWants) {
  Disk disk;
  const auto reader = disk.NewReader();
  ItemRef held = Item("held");
  ItemRef closed = Item("closed");
  const ItemRef open = Item("open");
  ASSERT_TRUE(reader->Start());
  reader->Enqueue(held);
  disk.at_file_.Wait();
  reader->Enqueue(closed);
  reader->Enqueue(open);
  closed.Reset();
  held.Reset();  // Being read: finishes, and its item goes with the result.
  disk.go_on_.Set();
  EXPECT_EQ(disk.DrainAll(*reader, 2), "held open ");
  EXPECT_FALSE(ItemCache::Find("closed", 0));
  EXPECT_FALSE(ItemCache::Find("held", 0));
  const ItemRef again = Item("closed");
  reader->Enqueue(again);
  EXPECT_EQ(disk.DrainAll(*reader, 1), "closed ");
}

TEST(InfoReader, StopsAfterTheFileAtHand) {
  Disk disk;
  auto reader = disk.NewReader();
  std::vector<ItemRef> items = {Item("held")};
  for (int i = 0; i < 10000; ++i)
    items.push_back(Item("file" + std::to_string(i)));
  ASSERT_TRUE(reader->Start());
  for (const ItemRef& item : items)
    reader->Enqueue(item);
  disk.at_file_.Wait();
  std::jthread disk_answers([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    disk.go_on_.Set();
  });
  reader->Stop();
  const std::string read = disk.TakeOrder();
  EXPECT_LE(read.size(), 20u) << read;
  EXPECT_EQ(reader->Waiting(), 0u);
  EXPECT_EQ(reader->Drain().size(), 1u);
  // It goes on when it is started again; and a reader that goes away gives everything back.
  ASSERT_TRUE(reader->Start());
  reader->Enqueue(items[1]);
  EXPECT_EQ(disk.DrainAll(*reader, 1), "file0 ");
  reader->Enqueue(items[2]);
  reader.reset();
  items.clear();
  EXPECT_EQ(ItemCache::Size(), 0u);
}

TEST(InfoReader, ListsComeAndGoWhileItReads) {
  Disk disk;
  disk.go_on_.Set();
  const auto reader = disk.NewReader();
  ASSERT_TRUE(reader->Start());
  for (int round = 0; round < 100; ++round) {
    std::vector<ItemRef> items;
    for (int i = 0; i < 50; ++i)
      items.push_back(Item((i % 7 == 0 ? "bad" : "x") + std::to_string((round * 13 + i) % 80)));
    for (const ItemRef& item : items)
      reader->Enqueue(item);
    reader->EnqueueShown(std::span(items).subspan(20, 10));
    if (round % 9 == 0) reader->Clear();
    for (const auto& outcome : reader->Drain())
      EXPECT_EQ(SUCCEEDED(outcome.result), outcome.item->DurationMs() == 5000);
    if (round % 25 == 24) {
      reader->Stop();
      reader->Start();
    }
  }
  reader->Stop();
  reader->Drain();
  EXPECT_EQ(ItemCache::Size(), 0u);
}

TEST(ReadItemInfo, OfARealFile) {
  using namespace tag_build;
  const std::string path = TempDirectory() + "melorin_info_test.mp3";
  const std::string frame = "\xFF\xFB\x90\x00"s + std::string(413, '\0');  // 128 kbit/s, 44.1 kHz, stereo.
  std::string bytes = Id3v2(3, Frame(3, "TIT2", "\1\xFF\xFE\x60\x4F"s) + Frame(3, "TRCK", "\0003/9"s) +
                                   Frame(3, "USLT", "\0eng\0"s + std::string(5000, 'l')));
  for (int i = 0; i < 200; ++i)
    bytes += frame;
  const std::string_view view = bytes;
  ASSERT_TRUE(WriteFileSafely(path, {reinterpret_cast<const uint8_t*>(view.data()), view.size()}));
  SoundLibrary library;
  ASSERT_EQ(library.Start(""), S_OK);
  ItemInfo info;
  ASSERT_EQ(ReadItemInfo(library, path, 0, &info), S_OK);
  EXPECT_EQ(info.codec_gbk.substr(0, 4), "MP3|");
  EXPECT_NEAR(info.duration_ms, 200 * 1152 * 1000 / 44100, 60);
  EXPECT_EQ(info.format.sample_rate, 44100u);
  EXPECT_EQ(info.format.channels, 2u);
  EXPECT_EQ(info.format.bit_rate, 128000u);
  EXPECT_NE(info.format.bits, 0u);
  EXPECT_NE(info.time_stamp, 0u);
  EXPECT_EQ(info.time_stamp, FileTimeStamp(path));
  EXPECT_EQ(*info.tags.Find("Title"), "\xE4\xBD\xA0");
  EXPECT_EQ(info.tags.Find("Lyrics"), nullptr) << "lists keep no long texts";
  const ItemRef item = Item(path);
  ApplyItemInfo(*item, info);
  EXPECT_EQ(item->SubtrackNumber(), 3u);
  DeleteFileAt(path);
  EXPECT_LT(ReadItemInfo(library, path, 0, &info), 0);
  EXPECT_EQ(info.time_stamp, 0u);
  EXPECT_EQ(info.duration_ms, kUnknownDuration);
  library.Shutdown();
}

TEST(ApplyItemInfo, KeepsAMeasuredGainOfTheSameFile) {
  const ItemRef item = Item("a");
  item->SetTag("Title", "old");
  item->SetTag("replaygain_track_gain", "-3.00 dB");
  ItemInfo info;
  info.time_stamp = 5;
  info.tags.Add("Artist", "x");
  ApplyItemInfo(*item, info);
  EXPECT_EQ(item->TagValue("Title"), "");
  EXPECT_EQ(item->TagValue("replaygain_track_gain"), "-3.00 dB");
  info.time_stamp = 6;
  ApplyItemInfo(*item, info);
  EXPECT_EQ(item->TagValue("replaygain_track_gain"), "") << "another file in its place";
  EXPECT_EQ(item->TagCount(), 1u);
}

}  // namespace
