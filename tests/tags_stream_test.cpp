// SPDX-License-Identifier: MIT
//
// Tags through a stream of the component kind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "platform/com_ptr.h"
#include "tests/tags_build.h"

namespace melorin {
namespace {

using namespace tag_build;

/// A stream over memory that can be told to know no size and to fail its reads.
class TestStream final : public ComObject<IStream> {
 public:
  explicit TestStream(std::string bytes) : bytes_(std::move(bytes)) {}
  bool stat_fails = false;
  bool end_fails = false;
  bool read_fails = false;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    *out = nullptr;
    return E_NOINTERFACE;
  }
  HRESULT STDMETHODCALLTYPE Read(void* data, ULONG count, ULONG* read) override {
    if (read_fails) return E_FAIL;
    // Never more than 1,000 bytes at once: a stream may give less than it was asked for.
    const size_t got =
        std::min({size_t{count}, size_t{1000}, bytes_.size() - std::min(position_, bytes_.size())});
    if (got != 0) std::memcpy(data, bytes_.data() + position_, got);
    position_ += got;
    *read = static_cast<ULONG>(got);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    if (origin == STREAM_SEEK_END && end_fails) return E_FAIL;
    position_ = static_cast<size_t>(move.QuadPart) + (origin == STREAM_SEEK_END ? bytes_.size() : 0);
    if (position) position->QuadPart = position_;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD) override {
    if (stat_fails) return E_NOTIMPL;
    stat->cbSize.QuadPart = bytes_.size();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

 private:
  std::string bytes_;
  size_t position_ = 0;
};

TEST(TagContent, ReadsAStream) {
  const std::string file = Id3v2(3, Frame(3, "TIT2", "\0T"s)) + Audio(9000) + Id3v1{"", "Artist"}.Build();
  const auto start = static_cast<int64_t>(file.size() - 9128);
  const auto stream = ComPtr<TestStream>::Adopt(new TestStream(file));
  for (const bool by_seeking : {false, true}) {
    stream->stat_fails = by_seeking;
    ComPtr<TagSet> tags;
    TagScan scan;
    ASSERT_EQ(CreateTagContent(*stream, 0, tags.Receive(), &scan), S_OK);
    EXPECT_EQ(scan.flags, kTagId3v2 | kTagId3v1);
    EXPECT_EQ(scan.audio_start, start);
    EXPECT_EQ(scan.audio_end, start + 9000);
    uint32_t count = 0;
    EXPECT_EQ(tags->GetCount(&count), S_OK);
    EXPECT_EQ(count, 2u);
  }
}

TEST(TagContent, TellsWhenAStreamCannotBeRead) {
  const auto stream = ComPtr<TestStream>::Adopt(new TestStream(Id3v1{"T"}.Build()));
  EXPECT_EQ(CreateTagContent(*stream, 0, nullptr, nullptr), E_POINTER);

  stream->read_fails = true;
  ComPtr<TagSet> tags;
  ASSERT_EQ(CreateTagContent(*stream, 0, tags.Receive(), nullptr), S_OK)
      << "a file without readable tags has none";
  uint32_t flags = 1;
  EXPECT_EQ(tags->GetFlags(&flags), S_OK);
  EXPECT_EQ(flags, 0u);

  stream->stat_fails = stream->end_fails = true;
  TagSet* none = nullptr;
  EXPECT_EQ(CreateTagContent(*stream, 0, &none, nullptr), E_FAIL);
  EXPECT_EQ(none, nullptr);
}

}  // namespace
}  // namespace melorin
