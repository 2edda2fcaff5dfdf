// SPDX-License-Identifier: MIT
#include "app/list_clipboard.h"

#include <shellapi.h>
#include <shlobj.h>

#include <cstring>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "app/drop_target.h"
#include "platform/text.h"

namespace melorin {
namespace {

constexpr char kMagic[4] = {'M', 'Z', 'L', 'E'};
constexpr uint32_t kVersion = 1;
constexpr size_t kHeadBytes = sizeof(kMagic) + 2 * sizeof(uint32_t);
constexpr size_t kEntryBytes = 3 * sizeof(uint32_t);
constexpr int kTries = 5;
constexpr DWORD kTryAgainMs = 20;

UINT OwnFormat() {
  static const UINT format = RegisterClipboardFormatW(L"Melorin Playlist Entries");
  return format;
}

UINT EffectFormat() {
  static const UINT format = RegisterClipboardFormatW(CFSTR_PREFERREDDROPEFFECT);
  return format;
}

class ClipboardScope {
 public:
  explicit ClipboardScope(HWND owner) {
    // Programs that watch the clipboard hold it for a moment.
    for (int i = 0; i < kTries && !open_; ++i) {
      if (i > 0) Sleep(kTryAgainMs);
      open_ = OpenClipboard(owner) != FALSE;
    }
  }
  ~ClipboardScope() {
    if (open_) CloseClipboard();
  }
  ClipboardScope(const ClipboardScope&) = delete;
  ClipboardScope& operator=(const ClipboardScope&) = delete;
  explicit operator bool() const { return open_; }

 private:
  bool open_ = false;
};

bool Put(UINT format, std::span<const uint8_t> bytes) {
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
  if (!memory) return false;
  if (void* at = GlobalLock(memory)) {
    std::memcpy(at, bytes.data(), bytes.size());
    GlobalUnlock(memory);
    if (SetClipboardData(format, memory)) return true;
  }
  GlobalFree(memory);
  return false;
}

std::vector<uint8_t> Take(UINT format) {
  const HGLOBAL memory = GetClipboardData(format);
  if (!memory) return {};
  const auto* at = static_cast<const uint8_t*>(GlobalLock(memory));
  if (!at) return {};
  std::vector<uint8_t> bytes(at, at + GlobalSize(memory));
  GlobalUnlock(memory);
  return bytes;
}

/// Each file once, in order: the tracks of a file are one file.
std::vector<uint8_t> PackFiles(std::span<const ItemRef> items) {
  std::unordered_set<std::string_view> seen;
  std::u16string names;
  for (const ItemRef& item : items) {
    if (!seen.insert(item->PathGbk()).second) continue;
    names += Utf16FromGbk(item->PathGbk());
    names += u'\0';
  }
  names += u'\0';
  DROPFILES head{};
  head.pFiles = sizeof(head);
  head.fWide = TRUE;
  std::vector<uint8_t> bytes(sizeof(head) + names.size() * sizeof(char16_t));
  std::memcpy(bytes.data(), &head, sizeof(head));
  std::memcpy(bytes.data() + sizeof(head), names.data(), names.size() * sizeof(char16_t));
  return bytes;
}

void AppendNumber(std::vector<uint8_t>& out, uint32_t number) {
  for (int shift = 0; shift < 32; shift += 8)
    out.push_back(static_cast<uint8_t>(number >> shift));
}

uint32_t NumberAt(std::span<const uint8_t> bytes, size_t at) {
  uint32_t number = 0;
  for (size_t i = 0; i < 4; ++i)
    number |= static_cast<uint32_t>(bytes[at + i]) << (8 * i);
  return number;
}

}  // namespace

std::vector<uint8_t> PackEntries(std::span<const ItemRef> items) {
  std::vector<uint8_t> out(kMagic, kMagic + sizeof(kMagic));
  AppendNumber(out, kVersion);
  AppendNumber(out, static_cast<uint32_t>(items.size()));
  for (const ItemRef& item : items) {
    const std::string& path = item->PathGbk();
    AppendNumber(out, item->Subtrack());
    AppendNumber(out, static_cast<uint32_t>(item->DurationMs()));
    AppendNumber(out, static_cast<uint32_t>(path.size()));
    out.insert(out.end(), path.begin(), path.end());
  }
  return out;
}

std::vector<ItemRef> UnpackEntries(std::span<const uint8_t> bytes) {
  if (bytes.size() < kHeadBytes || std::memcmp(bytes.data(), kMagic, sizeof(kMagic)) != 0 ||
      NumberAt(bytes, sizeof(kMagic)) != kVersion)
    return {};
  const size_t count = NumberAt(bytes, sizeof(kMagic) + 4);
  size_t at = kHeadBytes;
  std::vector<ItemRef> items;
  // The memory of a clipboard may be larger than what was put there, so the number counts.
  while (items.size() < count) {
    if (bytes.size() - at < kEntryBytes) return {};
    const uint32_t subtrack = NumberAt(bytes, at);
    const auto duration = static_cast<int32_t>(NumberAt(bytes, at + 4));
    const size_t length = NumberAt(bytes, at + 8);
    at += kEntryBytes;
    if (length == 0 || bytes.size() - at < length) return {};
    std::string path(reinterpret_cast<const char*>(bytes.data()) + at, length);
    at += length;
    items.push_back(ItemCache::Obtain(std::move(path), {}, duration, subtrack));
  }
  return items;
}

bool PutOnClipboard(HWND owner, std::span<const ItemRef> items, const std::u16string& text) {
  const ClipboardScope clipboard(owner);
  if (!clipboard || !EmptyClipboard()) return false;
  // Cutting entries of a list must never make another program move the files.
  const uint8_t copy[4] = {DROPEFFECT_COPY, 0, 0, 0};
  Put(EffectFormat(), copy);
  Put(CF_HDROP, PackFiles(items));
  Put(CF_UNICODETEXT, {reinterpret_cast<const uint8_t*>(text.c_str()), (text.size() + 1) * sizeof(char16_t)});
  return Put(OwnFormat(), PackEntries(items));
}

ClipboardEntries TakeFromClipboard(HWND owner) {
  ClipboardEntries entries;
  const ClipboardScope clipboard(owner);
  if (!clipboard) return entries;
  entries.items = UnpackEntries(Take(OwnFormat()));
  if (!entries.items.empty()) return entries;
  const auto drop = static_cast<HDROP>(GetClipboardData(CF_HDROP));
  if (drop) entries.paths = DroppedPaths(drop);
  return entries;
}

bool ClipboardHasEntries() {
  return IsClipboardFormatAvailable(OwnFormat()) || IsClipboardFormatAvailable(CF_HDROP);
}

}  // namespace melorin
