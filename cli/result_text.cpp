// SPDX-License-Identifier: MIT
//
// Result codes and their causes in words.
#include "cli/result_text.h"

#include <cstdio>

#include "platform/file.h"
#include "platform/text.h"
#include "playback/output_device.h"
#include "sound/wave_file.h"

namespace melorin {
namespace {

struct NamedResult {
  HRESULT result;
  const char* text;
};
constexpr NamedResult kNames[] = {
    {E_NOTIMPL, "not supported"},
    {E_NOINTERFACE, "no such interface"},
    {E_POINTER, "null pointer"},
    {E_FAIL, "failed"},
    {E_UNEXPECTED, "unexpected state"},
    {E_OUTOFMEMORY, "out of memory"},
    {E_INVALIDARG, "bad argument"},
    {kDeviceBusy, "is in use"},
    {kDeviceTimedOut, "does not answer"},
    {WaveWriter::kTooLarge, "more than the 4 GB that a Wave file holds"},
};

}  // namespace

std::string ResultText(HRESULT result) {
  const char* name = "error";
  for (const NamedResult& known : kNames)
    if (known.result == result) name = known.text;
  char code[16];
  std::snprintf(code, sizeof(code), " (0x%08X)", static_cast<unsigned>(result));
  return std::string(name) + code;
}

std::string ReadFailureText(const std::string& path_gbk) {
  if (DirectoryExists(path_gbk)) return "is a folder";
  if (!FileExists(path_gbk)) return "no such file";
  File file;
  if (!file.Open(path_gbk, File::Access::kRead, File::Share::kReadWrite, File::Create::kMustExist))
    return "cannot be opened for reading";
  return {};
}

std::string OpenFailureText(const SoundLibrary& library, const std::string& path_gbk, HRESULT result) {
  if (std::string reason = ReadFailureText(path_gbk); !reason.empty()) return reason;
  if (!library.CanPlay(Utf16FromGbk(path_gbk))) return "no reader takes files of this name";
  return "refused by its reader: " + ResultText(result);
}

}  // namespace melorin
