// SPDX-License-Identifier: MIT
//
// The buffer holds either read bytes (current_ anywhere in them) or pending written bytes (current_ at their
// end), always as a copy of the file from buffer_start_ on. The position is buffer_start_ + current_; with an
// empty buffer it is buffer_start_ alone. All transfers name their offset, so there is no file pointer to
// keep.
#include "sound/byte_stream.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/text.h"

namespace melorin {

HRESULT ByteStream::Open(std::u16string_view path, uint32_t mode, IStream** out) {
  try {
    bool lossy = false;
    const std::string path_gbk = GbkFromUtf16(path, &lossy);
    if (lossy) return E_FAIL;
    const std::u16string terminated(path);
    TaskText name(CopyText(terminated.c_str()));
    if (!name) return E_OUTOFMEMORY;
    File file;
    const auto access = (mode & 3) != 0 ? File::Access::kReadWrite : File::Access::kRead;
    const auto share = (mode & STGM_SHARE_DENY_NONE) != 0 ? File::Share::kReadWrite : File::Share::kRead;
    const auto create = (mode & STGM_CREATE) != 0 ? File::Create::kAlways : File::Create::kMustExist;
    if (!file.Open(path_gbk, access, share, create)) return E_FAIL;
    auto* stream = new (std::nothrow) ByteStream(std::move(file), *name.Receive(), mode);
    if (!stream) return E_OUTOFMEMORY;
    *name.Receive() = nullptr;
    *out = stream;
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

ByteStream::~ByteStream() {
  FlushPending();
}

HRESULT ByteStream::QueryInterface(REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!SameGuid(iid, IID_IUnknown) && !SameGuid(iid, IID_IStream) && !SameGuid(iid, IID_ISequentialStream))
    return E_NOINTERFACE;
  AddRef();
  *out = static_cast<IStream*>(this);
  return S_OK;
}

bool ByteStream::EnsureBuffer() {
  if (!buffer_) buffer_.reset(new (std::nothrow) uint8_t[kBufferSize]);
  return buffer_ != nullptr;
}

bool ByteStream::FlushPending() {
  if (!dirty_) return true;
  dirty_ = false;
  if (file_.WriteAt(buffer_start_, {buffer_.get(), valid_}) != static_cast<int64_t>(valid_)) {
    // Told once. Kept, it would bar every way to another place of the file.
    MoveBuffer(Position());
    file_size_ = -1;
    return false;
  }
  if (file_size_ >= 0) file_size_ = std::max(file_size_, buffer_start_ + valid_);
  return true;
}

void ByteStream::MoveBuffer(int64_t position) {
  buffer_start_ = position;
  current_ = 0;
  valid_ = 0;
}

int64_t ByteStream::FileSize() {
  if (file_size_ < 0) file_size_ = file_.Size();
  return file_size_;
}

HRESULT ByteStream::Read(void* data, ULONG count, ULONG* read) {
  if (read) *read = 0;
  if (!data) return E_INVALIDARG;
  if (count == 0) return S_OK;
  auto* to = static_cast<uint8_t*>(data);
  uint32_t left = count;

  const uint32_t held = std::min(left, valid_ - current_);
  if (held > 0) {
    std::memcpy(to, buffer_.get() + current_, held);
    current_ += held;
    to += held;
    left -= held;
  }
  if (left > 0) {
    if (!FlushPending()) return E_FAIL;
    MoveBuffer(Position());
    if (left >= kBufferSize || !EnsureBuffer()) {
      const int64_t got = file_.ReadAt(buffer_start_, {to, left});
      if (got < 0) return E_FAIL;
      buffer_start_ += got;
      left -= static_cast<uint32_t>(got);
    } else {
      const int64_t got = file_.ReadAt(buffer_start_, {buffer_.get(), kBufferSize});
      if (got < 0) return E_FAIL;
      valid_ = static_cast<uint32_t>(got);
      current_ = std::min(left, valid_);
      if (current_ > 0) std::memcpy(to, buffer_.get(), current_);
      left -= current_;
    }
  }
  const uint32_t delivered = count - left;
  if (read) *read = delivered;
  return delivered > 0 ? S_OK : S_FALSE;
}

HRESULT ByteStream::Write(const void* data, ULONG count, ULONG* written) {
  if (written) *written = 0;
  if (!data) return E_INVALIDARG;
  if (count == 0) return S_OK;
  if (!CanWrite()) return E_FAIL;
  const auto* from = static_cast<const uint8_t*>(data);

  if (!dirty_) MoveBuffer(Position());
  if (count > kBufferSize - valid_) {
    if (!FlushPending()) return E_FAIL;
    MoveBuffer(Position());
  }
  if (count >= kBufferSize || !EnsureBuffer()) {
    if (file_.WriteAt(buffer_start_, {from, count}) != static_cast<int64_t>(count)) {
      file_size_ = -1;
      return E_FAIL;
    }
    buffer_start_ += count;
    if (file_size_ >= 0) file_size_ = std::max(file_size_, buffer_start_);
  } else {
    std::memcpy(buffer_.get() + valid_, from, count);
    valid_ += count;
    current_ = valid_;
    dirty_ = true;
  }
  if (written) *written = count;
  return S_OK;
}

HRESULT ByteStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  int64_t base = 0;
  if (origin == STREAM_SEEK_CUR) {
    base = Position();
  } else if (origin == STREAM_SEEK_END) {
    if (!FlushPending()) return E_FAIL;
    base = FileSize();
    if (base < 0) return E_FAIL;
  } else if (origin != STREAM_SEEK_SET) {
    return E_INVALIDARG;
  }
  if (move.QuadPart > INT64_MAX - base || base + move.QuadPart < 0) return E_INVALIDARG;
  const int64_t target = base + move.QuadPart;
  if (target != Position()) {
    if (!FlushPending()) return E_FAIL;
    if (target >= buffer_start_ && target <= buffer_start_ + valid_)
      current_ = static_cast<uint32_t>(target - buffer_start_);
    else
      MoveBuffer(target);
  }
  if (position) position->QuadPart = static_cast<uint64_t>(target);
  return S_OK;
}

HRESULT ByteStream::SetSize(ULARGE_INTEGER size) {
  if (size.QuadPart > static_cast<uint64_t>(INT64_MAX)) return E_INVALIDARG;
  if (!CanWrite() || !FlushPending()) return E_FAIL;
  MoveBuffer(Position());
  file_size_ = -1;
  return file_.SetSize(static_cast<int64_t>(size.QuadPart)) ? S_OK : E_FAIL;
}

HRESULT ByteStream::Stat(STATSTG* stat, DWORD flags) {
  if (!stat) return E_POINTER;
  *stat = {};
  if (!FlushPending()) return E_FAIL;
  const int64_t size = FileSize();
  if (size < 0) return E_FAIL;
  if ((flags & STATFLAG_NONAME) == 0) {
    stat->pwcsName = CopyText(name_.get());
    if (!stat->pwcsName) return E_OUTOFMEMORY;
  }
  stat->type = STGTY_STREAM;
  stat->cbSize.QuadPart = static_cast<uint64_t>(size);
  stat->grfMode = mode_;
  return S_OK;
}

HRESULT ByteStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) {
  return E_NOTIMPL;
}
HRESULT ByteStream::Commit(DWORD) {
  return E_NOTIMPL;
}
HRESULT ByteStream::Revert() {
  return E_NOTIMPL;
}
HRESULT ByteStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return E_NOTIMPL;
}
HRESULT ByteStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return E_NOTIMPL;
}
HRESULT ByteStream::Clone(IStream**) {
  return E_NOTIMPL;
}

}  // namespace melorin
