// SPDX-License-Identifier: MIT
//
// The memory of one parsed document: nodes and texts are cut from chunks that are freed together with the
// document, so that neither parsing nor freeing touches the heap node by node. One thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace melorin {

class XmlArena {
 public:
  XmlArena() = default;
  ~XmlArena() { Reset(); }
  XmlArena(const XmlArena&) = delete;
  XmlArena& operator=(const XmlArena&) = delete;

  /// Memory for a node, aligned for pointers. Null when memory runs out.
  void* AllocateNode(size_t bytes);
  /// A copy of `text` as a record of XmlString. Null when memory runs out or the text is too long.
  const char* StoreText(std::string_view text);
  /// The same for element and attribute names, which repeat: an equal name stored lately is shared.
  const char* StoreName(std::string_view name);
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

  char* NewChunk(size_t bytes);
  char* Allocate(Region& region, size_t bytes);

  Chunk* chunks_ = nullptr;
  Region nodes_;
  Region texts_;  // Apart from the nodes: texts need no alignment.
  std::array<const char*, kNameSlots> names_{};
};

}  // namespace melorin
