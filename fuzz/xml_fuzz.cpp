// SPDX-License-Identifier: MIT
//
// Any bytes as an XML document, in the encoding that the first byte chooses: parsing, cloning and writing
// must hold, and what was written must be read back as a tree that is written the same.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "doc/xml_document.h"

namespace {

std::string Streamed(const melorin::XmlNode& node) {
  melorin::XmlStringOutput out;
  node.Stream(out);
  return out.Text();
}

int Depth(const melorin::XmlNode& root) {
  int depth = 0;
  int deepest = 0;
  for (const melorin::XmlNode* node = &root;;) {
    if (node->FirstChild() != nullptr) {
      node = node->FirstChild();
      if (++depth > deepest) deepest = depth;
      continue;
    }
    while (node != &root && node->NextSibling() == nullptr) {
      node = node->Parent();
      --depth;
    }
    if (node == &root) return deepest;
    node = node->NextSibling();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  static constexpr int kCodePages[] = {-1, 65001, 936, 1252};
  melorin::XmlDocument document;
  document.Parse(reinterpret_cast<const char*>(data + 1), static_cast<ptrdiff_t>(size - 1),
                 kCodePages[data[0] % 4]);
  const std::string first = Streamed(document);
  const auto copy = document.Clone();
  if (copy == nullptr || Streamed(*copy) != first) std::abort();
  if (Depth(document) < 500) {  // The indentation grows with the square of the depth.
    melorin::XmlStringOutput out;
    document.Print(out, 0, data[0] % 8 >= 4);
  }
  // Compact text has no white space between nodes, so reading it back can differ once, where texts meet; from
  // then on it must not.
  if (document.Error() == melorin::XmlError::kNone) {
    melorin::XmlDocument second;
    if (second.Parse(first, 65001)) {
      const std::string again = Streamed(second);
      melorin::XmlDocument third;
      if (!third.Parse(again, 65001) || Streamed(third) != again) std::abort();
    }
  }
  return 0;
}
