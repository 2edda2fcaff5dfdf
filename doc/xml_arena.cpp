// SPDX-License-Identifier: MIT
//
// Chunks double from 1 KiB, so that a small document stays small, up to 64 KiB. Anything larger than a
// quarter of a chunk gets one of its own, and the open chunk goes on being filled.
#include "doc/xml_arena.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "doc/xml_string.h"

namespace melorin {

char* XmlArena::NewChunk(size_t bytes) {
  void* memory = ::operator new(sizeof(Chunk) + bytes, std::nothrow);
  if (memory == nullptr) return nullptr;
  chunks_ = new (memory) Chunk{chunks_};
  return static_cast<char*>(memory) + sizeof(Chunk);
}

char* XmlArena::Allocate(Region& region, size_t bytes) {
  if (bytes > region.Room()) {
    if (bytes > region.next_bytes / 4) return NewChunk(bytes);
    const size_t chunk_bytes = region.next_bytes - sizeof(Chunk);
    char* memory = NewChunk(chunk_bytes);
    if (memory == nullptr) return nullptr;
    region.cursor = memory;
    region.end = memory + chunk_bytes;
    region.next_bytes = std::min(region.next_bytes * 2, kLastChunkBytes);
  }
  char* memory = region.cursor;
  region.cursor += bytes;
  return memory;
}

void* XmlArena::AllocateNode(size_t bytes) {
  static_assert(sizeof(Chunk) % alignof(void*) == 0);
  constexpr size_t mask = alignof(void*) - 1;
  return Allocate(nodes_, (bytes + mask) & ~mask);
}

const char* XmlArena::StoreText(std::string_view text) {
  if (text.size() > XmlString::kMaxBytes - 64) return nullptr;
  char* record = Allocate(texts_, XmlString::kHeaderBytes + text.size());
  if (record == nullptr) return nullptr;
  XmlString::WriteHeader(record, text.size());
  if (!text.empty()) std::memcpy(record + XmlString::kHeaderBytes, text.data(), text.size());
  return record;
}

const char* XmlArena::StoreName(std::string_view name) {
  if (name.empty()) return StoreText(name);
  const auto first = static_cast<unsigned char>(name.front());
  const auto last = static_cast<unsigned char>(name.back());
  const char*& slot = names_[(first + last * 5 + name.size() * 11) % kNameSlots];
  if (slot != nullptr) {
    uint32_t length;
    std::memcpy(&length, slot, sizeof length);
    if (length == name.size() && std::memcmp(slot + XmlString::kHeaderBytes, name.data(), length) == 0)
      return slot;
  }
  const char* record = StoreText(name);
  if (record != nullptr) slot = record;
  return record;
}

void XmlArena::Reset() {
  while (chunks_ != nullptr) {
    Chunk* chunk = chunks_;
    chunks_ = chunk->next;
    ::operator delete(chunk);
  }
  nodes_ = {};
  texts_ = {};
  names_ = {};
}

}  // namespace melorin
