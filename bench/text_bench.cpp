// SPDX-License-Identifier: MIT
//
// Conversions of one typical path, beside a call of the platform for each text: what reading and writing a
// list of 100,000 entries does 100,000 times.
#include <benchmark/benchmark.h>

#include <string>

#include "platform/text.h"
#if defined(_WIN32)
#include <windows.h>
#else
#include <iconv.h>
#endif

namespace melorin {
namespace {

const char* const kPaths[] = {
    "D:\\音乐\\华语流行\\周杰伦 - 七里香 (2004)\\03 - 七里香.mp3",       // Mixed, as most are.
    "D:\\Music\\Pink Floyd - The Wall (1979)\\1-05 Another Brick.flac",  // ASCII.
    "D:\\음악\\아이유 - 좋은 날 🎵\\เพลง.mp3",                            // Beyond code page 936.
};

const char* Path(const benchmark::State& state) {
  return kPaths[state.range(0)];
}

template <class Text, class Function>
void Run(benchmark::State& state, const Text& text, Function convert) {
  for (auto _ : state) {
    auto result = convert(text);
    benchmark::DoNotOptimize(result.data());
  }
  state.SetItemsProcessed(state.iterations());
}

void GbkToUtf8(benchmark::State& state) {
  Run(state, GbkFromUtf8(Path(state)), [](const std::string& text) { return Utf8FromGbk(text); });
}
void Utf8ToGbk(benchmark::State& state) {
  Run(state, std::string(Path(state)), [](const std::string& text) { return GbkFromUtf8(text); });
}
void GbkToUtf16(benchmark::State& state) {
  Run(state, GbkFromUtf8(Path(state)), [](const std::string& text) { return Utf16FromGbk(text); });
}
void Utf16ToGbk(benchmark::State& state) {
  Run(state, Utf16FromUtf8(Path(state)), [](const std::u16string& text) { return GbkFromUtf16(text); });
}
BENCHMARK(GbkToUtf8)->DenseRange(0, 2);
BENCHMARK(Utf8ToGbk)->DenseRange(0, 2);
BENCHMARK(GbkToUtf16)->DenseRange(0, 2);
BENCHMARK(Utf16ToGbk)->DenseRange(0, 2);

// The peers get the two texts that code page 936 holds, and each its best case: a buffer that is large
// enough, one call, and on the host a descriptor that is already open.
#if defined(_WIN32)

std::wstring Wide(UINT page, const std::string& text) {
  std::wstring out(text.size(), L'\0');
  const int made = MultiByteToWideChar(page, 0, text.data(), static_cast<int>(text.size()), out.data(),
                                       static_cast<int>(out.size()));
  out.resize(static_cast<size_t>(made));
  return out;
}
std::string Narrow(UINT page, const std::wstring& text) {
  std::string out(text.size() * 3, '\0');
  const int made = WideCharToMultiByte(page, 0, text.data(), static_cast<int>(text.size()), out.data(),
                                       static_cast<int>(out.size()), nullptr, nullptr);
  out.resize(static_cast<size_t>(made));
  return out;
}

void PlatformGbkToUtf8(benchmark::State& state) {
  Run(state, GbkFromUtf8(Path(state)),
      [](const std::string& text) { return Narrow(CP_UTF8, Wide(kCodePageGbk, text)); });
}
void PlatformUtf8ToGbk(benchmark::State& state) {
  Run(state, std::string(Path(state)),
      [](const std::string& text) { return Narrow(kCodePageGbk, Wide(CP_UTF8, text)); });
}
void PlatformGbkToUtf16(benchmark::State& state) {
  Run(state, GbkFromUtf8(Path(state)), [](const std::string& text) { return Wide(kCodePageGbk, text); });
}
void PlatformUtf16ToGbk(benchmark::State& state) {
  Run(state, Wide(CP_UTF8, Path(state)), [](const std::wstring& text) { return Narrow(kCodePageGbk, text); });
}

#else

template <class Out, class Text>
Out Iconv(iconv_t handle, const Text& text) {
  Out out(text.size() * 3, 0);
  char* in = const_cast<char*>(reinterpret_cast<const char*>(text.data()));
  size_t left = text.size() * sizeof text[0];
  char* to = reinterpret_cast<char*>(out.data());
  size_t room = out.size() * sizeof out[0];
  iconv(handle, &in, &left, &to, &room);
  out.resize(out.size() - room / sizeof out[0]);
  return out;
}

void PlatformGbkToUtf8(benchmark::State& state) {
  const iconv_t handle = iconv_open("UTF-8", "CP936");
  Run(state, GbkFromUtf8(Path(state)),
      [=](const std::string& text) { return Iconv<std::string>(handle, text); });
  iconv_close(handle);
}
void PlatformUtf8ToGbk(benchmark::State& state) {
  const iconv_t handle = iconv_open("CP936", "UTF-8");
  Run(state, std::string(Path(state)),
      [=](const std::string& text) { return Iconv<std::string>(handle, text); });
  iconv_close(handle);
}
void PlatformGbkToUtf16(benchmark::State& state) {
  const iconv_t handle = iconv_open("UTF-16LE", "CP936");
  Run(state, GbkFromUtf8(Path(state)),
      [=](const std::string& text) { return Iconv<std::u16string>(handle, text); });
  iconv_close(handle);
}
void PlatformUtf16ToGbk(benchmark::State& state) {
  const iconv_t handle = iconv_open("CP936", "UTF-16LE");
  Run(state, Utf16FromUtf8(Path(state)),
      [=](const std::u16string& text) { return Iconv<std::string>(handle, text); });
  iconv_close(handle);
}

#endif

BENCHMARK(PlatformGbkToUtf8)->DenseRange(0, 1);
BENCHMARK(PlatformUtf8ToGbk)->DenseRange(0, 1);
BENCHMARK(PlatformGbkToUtf16)->DenseRange(0, 1);
BENCHMARK(PlatformUtf16ToGbk)->DenseRange(0, 1);

}  // namespace
}  // namespace melorin

BENCHMARK_MAIN();
