// SPDX-License-Identifier: MIT
#include "playback/win32/asio_query.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/thread.h"
#include "playback/output_device.h"
#include "playback/win32/asio_device.h"
#include "playback/win32/asio_loader.h"
#include "playback/win32/asio_registry.h"
#include "playback/win32/asio_session.h"
#include "playback/win32/driver_thread.h"

namespace melorin {

namespace {

HRESULT AskDriver(const CLSID& clsid, void* window, DeviceCapabilities* out) {
  ComPtr<asio::Driver> driver;
  const HRESULT loaded = LoadAsioDriver(clsid, std::addressof(driver));
  if (FAILED(loaded)) return loaded;
  if (driver->init(window) == 0) return E_FAIL;
  for (const uint32_t rate : kUsualRates)
    if (driver->canSampleRate(rate) == asio::kOk) out->rates.push_back(rate);
  if (!out->rates.empty()) {
    out->min_rate = out->rates.front();
    out->max_rate = out->rates.back();
  }
  int32_t inputs = 0;
  int32_t outputs = 0;
  if (driver->getChannels(&inputs, &outputs) == asio::kOk)
    out->max_channels = static_cast<uint16_t>(std::clamp(outputs, 0, 0xFFFF));
  AsioBufferSizes sizes;
  if (driver->getBufferSize(&sizes.smallest, &sizes.largest, &sizes.preferred, &sizes.granularity) ==
      asio::kOk)
    out->buffer_frames = ChooseAsioFrames(sizes);
  asio::ChannelInfo info = {};
  AsioSampleLayout layout;
  if (driver->getChannelInfo(&info) == asio::kOk && LayoutOfAsioType(info.type, &layout)) {
    out->min_bits = out->max_bits = layout.valid_bits;
    out->bits.push_back(layout.valid_bits);
  }
  return S_OK;
}

/// Shared with the driver's thread, which may come back long after nobody wants to know any more.
struct Question {
  CLSID clsid;
  void* window;
  const uint32_t begin_ms = GetTickCount();
  DriverEvent answered;
  HRESULT result = E_FAIL;
  DeviceCapabilities capabilities;
};

/// The questions that are not answered yet.
struct Questions {
  CriticalSection lock;
  std::vector<std::shared_ptr<Question>> open;
};
Questions g_questions;

std::shared_ptr<Question> FindLocked(const CLSID& clsid) {
  for (const std::shared_ptr<Question>& question : g_questions.open)
    if (SameGuid(question->clsid, clsid)) return question;
  return nullptr;
}

/// False when the driver is being asked already.
bool Register(const std::shared_ptr<Question>& question) {
  const Lock lock(g_questions.lock);
  if (FindLocked(question->clsid)) return false;
  g_questions.open.push_back(question);
  return true;
}

void Unregister(const std::shared_ptr<Question>& question) {
  const Lock lock(g_questions.lock);
  std::erase(g_questions.open, question);
}

/// On the driver's thread.
void Answer(const std::shared_ptr<Question>& question) {
  try {
    question->result = AskDriver(question->clsid, question->window, &question->capabilities);
  } catch (const std::bad_alloc&) {
    question->result = E_OUTOFMEMORY;
  }
  Unregister(question);
  question->answered.Set();
}

HRESULT QueryDriver(const CLSID& clsid, void* window, const AsioPatience& patience, DeviceCapabilities* out) {
  if (AsioSession::IsInUse(clsid)) return kDeviceBusy;
  auto question = std::make_shared<Question>();
  question->clsid = clsid;
  question->window = window;
  if (!question->answered) return E_OUTOFMEMORY;
  if (!Register(question)) return kDeviceBusy;
  bool asked = false;
  try {
    asked = StartDriverThread([question] { Answer(question); });
  } catch (const std::bad_alloc&) {
  }
  if (!asked) {
    Unregister(question);
    return E_OUTOFMEMORY;
  }
  if (!question->answered.WaitAsCaller(patience.open_ms)) return kDeviceTimedOut;
  if (SUCCEEDED(question->result)) *out = std::move(question->capabilities);
  return question->result;
}

}  // namespace

bool AwaitAsioQuery(const CLSID& clsid, uint32_t timeout_ms) {
  std::shared_ptr<Question> question;
  {
    const Lock lock(g_questions.lock);
    question = FindLocked(clsid);
  }
  if (!question) return true;
  const uint32_t passed = GetTickCount() - question->begin_ms;
  return question->answered.WaitAsCaller(passed < timeout_ms ? timeout_ms - passed : 0);
}

void* AsioDialogOwner(void* window) {
  return window && IsWindow(static_cast<HWND>(window)) ? window : GetDesktopWindow();
}

HRESULT QueryAsioDevice(int32_t index, void* window, DeviceCapabilities* out, const AsioPatience& patience) {
  if (!out) return E_POINTER;
  *out = {};
  try {
    const std::vector<AsioDriverEntry> drivers = ReadAsioDrivers();
    if (index < 0 || static_cast<size_t>(index) >= drivers.size()) return E_INVALIDARG;
    return QueryDriver(drivers[static_cast<size_t>(index)].clsid, AsioDialogOwner(window), patience, out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace melorin
