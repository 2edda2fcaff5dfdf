// SPDX-License-Identifier: MIT
//
// The memory of one parsed document: nodes and texts are cut from chunks that are freed together with the
// document, so that neither parsing nor freeing touches the heap node by node. One thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "doc/xml_scan.h"
#include "doc/xml_string.h"

namespace melorin {

class XmlArena {
 public:
  XmlArena() = default;
  ~XmlArena() { Reset(); }
  XmlArena(const XmlArena&) = delete;
  XmlArena& operator=(const XmlArena&) = delete;

  /// Memory for a node, aligned for pointers. Null when memory runs out.
  void* AllocateNode(size_t bytes) {
    constexpr size_t mask = alignof(void*) - 1;
    return Allocate(nodes_, (bytes + mask) & ~mask);
  }
  /// A copy of `text` as a record of XmlString. Null when memory runs out or the text is too long.
  const char* StoreText(std::string_view text) { return StoreText(texts_, text); }
  /// The same for element and attribute names, which repeat: an equal name stored lately is shared.
  const char* StoreName(std::string_view name) {
    if (name.empty()) return StoreText(name);
    const auto first = static_cast<unsigned char>(name.front());
    const auto last = static_cast<unsigned char>(name.back());
    const char*& slot = names_[(first + last * 5 + name.size() * 11) % kNameSlots];
    if (slot != nullptr) {
      uint32_t length;
      std::memcpy(&length, slot, sizeof length);
      if (length == name.size() && xml::EqualShort(slot + XmlString::kHeaderBytes, name.data(), length))
        return slot;
    }
    const char* record = StoreText(names_region_, name);
    if (record != nullptr) slot = record;
    return record;
  }

  /// For a text that is put together in place: where its bytes go, and where the memory for them ends.
  /// Nothing is taken until CloseText. Null when there is no room for any.
  char* OpenText() const {
    return texts_.Room() > XmlString::kHeaderBytes ? texts_.cursor + XmlString::kHeaderBytes : nullptr;
  }
  const char* OpenTextLimit() const { return texts_.end; }
  /// Takes the text from what OpenText returned to `end`, as a record of XmlString.
  const char* CloseText(char* end) {
    char* const record = texts_.cursor;
    XmlString::WriteHeader(record, static_cast<size_t>(end - record) - XmlString::kHeaderBytes);
    texts_.cursor = end;
    return record;
  }
  /// How much is in use. Names do not count.
  struct Mark {
    char* nodes;
    char* nodes_end;
    char* texts;
    char* texts_end;
  };
  Mark Here() const { return {nodes_.cursor, nodes_.end, texts_.cursor, texts_.end}; }
  /// Makes room for new nodes and texts of what was taken since the mark, as far as it lies in the open
  /// chunks.
  void RollBack(const Mark& mark) {
    if (nodes_.end == mark.nodes_end) nodes_.cursor = mark.nodes;
    if (texts_.end == mark.texts_end) texts_.cursor = mark.texts;
  }
  /// Frees everything.
  void Reset();

 private:
  struct Chunk {
    Chunk* next;
  };
  struct Region {
    char* cursor = nullptr;
    char* end = nullptr;
    size_t next_bytes = kFirstChunkBytes;
    size_t Room() const { return static_cast<size_t>(end - cursor); }
  };
  static constexpr size_t kFirstChunkBytes = 1024;
  static constexpr size_t kLastChunkBytes = 64 * 1024;
  static constexpr size_t kNameSlots = 64;

  const char* StoreText(Region& region, std::string_view text);
  char* NewChunk(size_t bytes);
  char* Allocate(Region& region, size_t bytes) {
    if (bytes > region.Room()) return AllocateFromNewChunk(region, bytes);
    char* const memory = region.cursor;
    region.cursor += bytes;
    return memory;
  }
  char* AllocateFromNewChunk(Region& region, size_t bytes);

  Chunk* chunks_ = nullptr;
  Region nodes_;
  Region texts_;         // Apart from the nodes: texts need no alignment.
  Region names_region_;  // Shared names outlive the element that brought them.
  std::array<const char*, kNameSlots> names_{};
};

}  // namespace melorin
