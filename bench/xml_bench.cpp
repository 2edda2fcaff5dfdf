// SPDX-License-Identifier: MIT
//
// The XML layer beside pugixml and tinyxml2 on one generated playlist of 100,000 items (about 20 MB of UTF-8,
// a good part of it Chinese), with a plain pass over the bytes as the floor. `peak_MB` is the most memory
// that was in use while parsing, beyond the input itself: every allocation of this program is counted.
#include <benchmark/benchmark.h>
#include <tinyxml2.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <pugixml.hpp>
#include <random>
#include <string>

#include "doc/xml_document.h"

namespace {

size_t in_use = 0;
size_t peak = 0;
constexpr size_t kPrefix = 16;  // Keeps the size of each allocation, and its alignment.

// Not inlined: the compiler would see free() called on what operator new gave, and take it for a mistake.
[[gnu::noinline]] void* CountedAllocate(size_t bytes) {
  char* memory = static_cast<char*>(std::malloc(bytes + kPrefix));
  if (memory == nullptr) return nullptr;
  new (memory) size_t(bytes);
  in_use += bytes;
  peak = std::max(peak, in_use);
  return memory + kPrefix;
}

[[gnu::noinline]] void CountedFree(void* memory) {
  if (memory == nullptr) return;
  char* begin = static_cast<char*>(memory) - kPrefix;
  in_use -= *reinterpret_cast<size_t*>(begin);
  std::free(begin);
}

}  // namespace

void* operator new(size_t bytes) {
  void* memory = CountedAllocate(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(size_t bytes, const std::nothrow_t&) noexcept {
  return CountedAllocate(bytes);
}
void* operator new[](size_t bytes) {
  return operator new(bytes);
}
void* operator new[](size_t bytes, const std::nothrow_t& tag) noexcept {
  return operator new(bytes, tag);
}
void operator delete(void* memory) noexcept {
  CountedFree(memory);
}
void operator delete(void* memory, size_t) noexcept {
  CountedFree(memory);
}
void operator delete[](void* memory) noexcept {
  CountedFree(memory);
}
void operator delete[](void* memory, size_t) noexcept {
  CountedFree(memory);
}

namespace {

const std::string& Playlist() {
  static const std::string text = [] {
    static constexpr const char* kWords[] = {"月亮",     "代表",     "我的心",  "Love", "晚风",  "Summer",
                                             "海阔天空", "Night",    "R&amp;B", "夜曲", "Remix", "故乡",
                                             "Blues",    "光年之外", "Live",    "听雨"};
    std::mt19937 random(20091);
    const auto number = [&random](unsigned below) { return std::to_string(random() % below); };
    const auto words = [&random](int count) {
      std::string out;
      for (int i = 0; i < count; ++i)
        out.append(i == 0 ? "" : " ").append(kWords[random() % 16]);
      return out;
    };
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n"
        "<mzplaylist title=\"默认\" version=\"3\">\r\n\t<items count=\"100000\">\r\n";
    for (int i = 0; i < 100000; ++i) {
      const std::string artist = words(2), album = words(3), title = words(3);
      out.append("\t\t<item file=\"D:\\Music\\").append(artist).append("\\").append(album).append("\\");
      out.append(title).append(".mp3\" title=\"").append(title).append("\" artist=\"").append(artist);
      out.append("\" album=\"").append(album).append("\" len=\"").append(number(400000));
      out.append("\" ftm=\"1c9")
          .append(number(99999))
          .append("\">\r\n\t\t\t<fmt cod=\"MP3\" wfx=\"44100,2,16,");
      out.append(number(320)).append("\"/>\r\n\t\t</item>\r\n");
    }
    return out + "\t</items>\r\n</mzplaylist>\r\n";
  }();
  return text;
}

/// Runs `parse` on the document once an iteration and reports speed and memory.
template <class Parse>
void Measure(benchmark::State& state, Parse parse) {
  const std::string& text = Playlist();
  const size_t before = in_use;
  peak = in_use;
  for (auto _ : state) {
    if (!parse(text)) state.SkipWithError("the document was refused");
  }
  state.SetBytesProcessed(static_cast<int64_t>(text.size()) * static_cast<int64_t>(state.iterations()));
  state.counters["peak_MB"] = static_cast<double>(peak - before) / 1e6;
  state.counters["input_MB"] = static_cast<double>(text.size()) / 1e6;
}

void BytePass(benchmark::State& state) {
  Measure(state, [](const std::string& text) {
    size_t open = 0;
    for (const char c : text) {
      open += c == '<';
      benchmark::DoNotOptimize(open);
    }
    return open != 0;
  });
}

void ParseMelorin(benchmark::State& state) {
  Measure(state, [](const std::string& text) {
    melorin::XmlDocument document;
    return document.Parse(text, 65001);
  });
}

void ParsePugixml(benchmark::State& state) {
  pugi::set_memory_management_functions(CountedAllocate, CountedFree);
  Measure(state, [](const std::string& text) {
    pugi::xml_document document;
    return static_cast<bool>(
        document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8));
  });
}

void ParseTinyxml2(benchmark::State& state) {
  Measure(state, [](const std::string& text) {
    tinyxml2::XMLDocument document;
    return document.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
  });
}

void WriteMelorin(benchmark::State& state) {
  melorin::XmlDocument document;
  document.Parse(Playlist(), 65001);
  Measure(state, [&document](const std::string& text) {
    melorin::XmlStringOutput out;
    document.Print(out, 0, false);
    return out.Text().size() > text.size() / 2;
  });
}

void WritePugixml(benchmark::State& state) {
  struct Writer final : pugi::xml_writer {
    void write(const void* data, size_t size) override { out.append(static_cast<const char*>(data), size); }
    std::string out;
  };
  pugi::set_memory_management_functions(CountedAllocate, CountedFree);
  pugi::xml_document document;
  document.load_buffer(Playlist().data(), Playlist().size());
  Measure(state, [&document](const std::string& text) {
    Writer writer;
    document.save(writer);
    return writer.out.size() > text.size() / 2;
  });
}

void WriteTinyxml2(benchmark::State& state) {
  tinyxml2::XMLDocument document;
  document.Parse(Playlist().data(), Playlist().size());
  Measure(state, [&document](const std::string& text) {
    tinyxml2::XMLPrinter printer;
    document.Print(&printer);
    return printer.CStrSize() > static_cast<int>(text.size() / 2);
  });
}

BENCHMARK(BytePass)->Unit(benchmark::kMillisecond);
BENCHMARK(ParseMelorin)->Unit(benchmark::kMillisecond);
BENCHMARK(ParsePugixml)->Unit(benchmark::kMillisecond);
BENCHMARK(ParseTinyxml2)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteMelorin)->Unit(benchmark::kMillisecond);
BENCHMARK(WritePugixml)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteTinyxml2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
