// SPDX-License-Identifier: MIT
#include "app/single_instance.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/com.h"

namespace melorin {
namespace {

// What another process may change at any time is read once.
uint32_t ReadOnce(const uint32_t& word) {
  return *static_cast<const volatile uint32_t*>(&word);
}

bool Owned(DWORD wait_result) {
  return wait_result == WAIT_OBJECT_0 || wait_result == WAIT_ABANDONED;
}

uint32_t LeftUntil(uint32_t deadline_ms) {
  const auto left = static_cast<int32_t>(deadline_ms - GetTickCount());
  return left > 0 ? static_cast<uint32_t>(left) : 0;
}

/// Lets the running instance bring its window to the front, which only the foreground process may grant.
void AllowForeground(uint32_t thread_id) {
  const WinHandle thread(OpenThread(THREAD_QUERY_LIMITED_INFORMATION, FALSE, thread_id));
  if (!thread) return;
  const DWORD process = GetProcessIdOfThread(thread.get());
  if (process) AllowSetForegroundWindow(process);
}

}  // namespace

std::u16string ReadHandedOver(const InstanceBlock& block) {
  const uint32_t length = std::min(ReadOnce(block.length), InstanceBlock::kCapacity);
  std::u16string text(length, u'\0');
  std::memcpy(text.data(), block.text, length * sizeof(char16_t));
  text.resize(std::min(text.find(u'\0'), text.size()));
  return text;
}

std::string ReadAnswer(const InstanceBlock& block) {
  const uint32_t length = std::min(ReadOnce(block.answer_length), InstanceBlock::kAnswerCapacity);
  return std::string(block.answer, length);
}

SingleInstance::SingleInstance(std::u16string name) : name_(std::move(name)) {}

SingleInstance::~SingleInstance() {
  StopListening();
  if (owns_) ReleaseMutex(owner_.get());
}

bool SingleInstance::CreateObjects() {
  const std::u16string prefix = u"Local\\" + name_ + u".";
  const std::u16string owner = prefix + u"Owner";
  const std::u16string sender = prefix + u"Sender";
  const std::u16string command = prefix + u"Command";
  const std::u16string taken = prefix + u"Taken";
  const std::u16string block = prefix + u"Block";
  owner_ = WinHandle(CreateMutexW(nullptr, FALSE, AsWide(owner.c_str())));
  sender_ = WinHandle(CreateMutexW(nullptr, FALSE, AsWide(sender.c_str())));
  command_ = WinHandle(CreateEventW(nullptr, FALSE, FALSE, AsWide(command.c_str())));
  taken_ = WinHandle(CreateEventW(nullptr, FALSE, FALSE, AsWide(taken.c_str())));
  quit_ = WinHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  mapping_ = WinHandle(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                          sizeof(InstanceBlock), AsWide(block.c_str())));
  if (!owner_ || !sender_ || !command_ || !taken_ || !quit_ || !mapping_) return false;
  block_ = MappedView<InstanceBlock>(mapping_.get());
  return static_cast<bool>(block_);
}

SingleInstance::Role SingleInstance::Enter(const std::u16string& command_line, uint32_t timeout_ms) {
  if (!CreateObjects()) return Role::kUnavailable;
  owns_ = Owned(WaitForSingleObject(owner_.get(), 0));
  if (!owns_) {
    const Role role = HandOver(command_line, timeout_ms);
    if (role != Role::kFirst) return role;
    owns_ = true;
  }
  block_->thread_id = GetCurrentThreadId();
  block_->version = InstanceBlock::kVersion;
  return Role::kFirst;
}

bool SingleInstance::WaitForVersion(uint32_t deadline_ms) const {
  while (ReadOnce(block_->version) != InstanceBlock::kVersion) {
    if (LeftUntil(deadline_ms) == 0) return false;
    Sleep(10);
  }
  return true;
}

SingleInstance::Role SingleInstance::HandOver(const std::u16string& command_line, uint32_t timeout_ms) {
  if (command_line.size() > InstanceBlock::kCapacity) return Role::kNotTaken;
  const uint32_t deadline = GetTickCount() + timeout_ms;
  const std::array<HANDLE, 2> turn = {sender_.get(), owner_.get()};
  DWORD result = WaitForMultipleObjects(2, turn.data(), FALSE, timeout_ms);
  if (result == WAIT_OBJECT_0 + 1 || result == WAIT_ABANDONED_0 + 1) return Role::kFirst;
  if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED_0) return Role::kNotTaken;

  Role role = Role::kNotTaken;
  if (WaitForVersion(deadline)) {
    AllowForeground(ReadOnce(block_->thread_id));
    ResetEvent(taken_.get());
    std::memcpy(block_->text, command_line.data(), command_line.size() * sizeof(char16_t));
    block_->length = static_cast<uint32_t>(command_line.size());
    const uint32_t request = ReadOnce(block_->request) + 1;
    block_->request = request;
    SetEvent(command_.get());
    role = WaitUntilTaken(request, deadline);
    if (role == Role::kHandedOver) {
      answer_ = ReadAnswer(*block_.get());
    } else {
      // Nobody shall read it after this one gave up or keeps it.
      ResetEvent(command_.get());
    }
  }
  ReleaseMutex(sender_.get());
  return role;
}

SingleInstance::Role SingleInstance::WaitUntilTaken(uint32_t request, uint32_t deadline_ms) const {
  const std::array<HANDLE, 2> events = {taken_.get(), owner_.get()};
  for (;;) {
    const DWORD result = WaitForMultipleObjects(2, events.data(), FALSE, LeftUntil(deadline_ms));
    // The running instance ended or died before it took the command line: it is this one's own now.
    if (result == WAIT_OBJECT_0 + 1 || result == WAIT_ABANDONED_0 + 1) return Role::kFirst;
    if (result != WAIT_OBJECT_0) return Role::kNotTaken;
    if (ReadOnce(block_->answered_request) == request) return Role::kHandedOver;
  }
}

void SingleInstance::GiveAnswer(uint32_t request, const std::string& answer) {
  const size_t length = answer.size() <= InstanceBlock::kAnswerCapacity ? answer.size() : 0;
  std::memcpy(block_->answer, answer.data(), length);
  block_->answer_length = static_cast<uint32_t>(length);
  block_->answered_request = request;
  SetEvent(taken_.get());
}

bool SingleInstance::Listen(Take take) {
  if (!owns_) return false;
  return listener_.Start([this, take = std::move(take)] {
    const std::array<HANDLE, 2> events = {quit_.get(), command_.get()};
    while (WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
      const uint32_t request = ReadOnce(block_->request);
      if (const std::optional<std::string> answer = take(ReadHandedOver(*block_.get())))
        GiveAnswer(request, *answer);
    }
  });
}

void SingleInstance::StopListening() {
  if (!listener_.Running()) return;
  SetEvent(quit_.get());
  listener_.Join();
}

}  // namespace melorin
