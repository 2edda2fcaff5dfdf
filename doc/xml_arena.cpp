// SPDX-License-Identifier: MIT
//
// Chunks double from 1 KiB, so that a small document stays small, up to 64 KiB. Anything larger than a
// quarter of a chunk gets one of its own, and the open chunk goes on being filled.
#include "doc/xml_arena.h"

#include <algorithm>
#include <new>

namespace melorin {

char* XmlArena::NewChunk(size_t bytes) {
  void* memory = ::operator new(sizeof(Chunk) + bytes, std::nothrow);
  if (memory == nullptr) return nullptr;
  chunks_ = new (memory) Chunk{chunks_};
  return static_cast<char*>(memory) + sizeof(Chunk);
}

char* XmlArena::AllocateFromNewChunk(Region& region, size_t bytes) {
  static_assert(sizeof(Chunk) % alignof(void*) == 0);
  if (bytes > region.next_bytes / 4) return NewChunk(bytes);
  const size_t chunk_bytes = region.next_bytes - sizeof(Chunk);
  char* const memory = NewChunk(chunk_bytes);
  if (memory == nullptr) return nullptr;
  region.cursor = memory + bytes;
  region.end = memory + chunk_bytes;
  region.next_bytes = std::min(region.next_bytes * 2, kLastChunkBytes);
  return memory;
}

const char* XmlArena::StoreText(Region& region, std::string_view text) {
  if (text.size() > XmlString::kMaxBytes - 64) return nullptr;
  char* record = Allocate(region, XmlString::kHeaderBytes + text.size());
  if (record == nullptr) return nullptr;
  XmlString::WriteHeader(record, text.size());
  xml::CopyShort(record + XmlString::kHeaderBytes, text.data(), text.size());
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
  names_region_ = {};
  names_ = {};
}

}  // namespace melorin
