// SPDX-License-Identifier: MIT
//
// A file as a stream of the component runtime, with one buffer for reading and writing. Most of the player's
// file accesses go through it: opening a track means a handful of small reads at both ends of the file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/com_ptr.h"
#include "platform/file.h"
#include "sound/text_out.h"

namespace melorin {

/// Thread: one at a time; reference counts from any.
///
/// Results: E_INVALIDARG for a null data pointer or a seek before the start, E_FAIL when a transfer fails,
/// E_NOTIMPL for CopyTo, Commit, Revert, LockRegion, UnlockRegion and Clone.
/// Read gives S_OK when it delivered anything and S_FALSE with 0 bytes at the end. A seek past the end is
/// allowed, as streams of the platform have it; a read there finds the end.
/// Written bytes are pending until the buffer is full, or until Read, Seek, SetSize, Stat or the last
/// Release; when they cannot be written then, they are lost and that call fails. Cost: a seek inside what the
/// buffer holds reads nothing; the file's size is asked for once.
class ByteStream final : public ComObject<IStream> {
 public:
  /// Reads this long or longer, such as a frame scan's first window, go straight into the caller's memory;
  /// the buffer is neither cleared nor, until the first small transfer, allocated.
  static constexpr uint32_t kBufferSize = 32 * 1024;

  /// `mode`: see CreateStreamOnFile. E_FAIL when the file cannot be opened or the path is not GBK.
  static HRESULT Open(std::u16string_view path, uint32_t mode, IStream** out);

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE Read(void* data, ULONG count, ULONG* read) override;
  HRESULT STDMETHODCALLTYPE Write(const void* data, ULONG count, ULONG* written) override;
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override;
  HRESULT STDMETHODCALLTYPE CopyTo(IStream* to, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override;
  HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Revert() override;
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) override;
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) override;
  /// Fills the name (task memory, unless STATFLAG_NONAME), the type, the size and the mode; the times stay 0.
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Clone(IStream** out) override;

 private:
  ByteStream(File file, WideChar* name, uint32_t mode) : file_(std::move(file)), name_(name), mode_(mode) {}
  ~ByteStream() override;

  bool CanWrite() const { return (mode_ & 3) != 0; }
  int64_t Position() const { return buffer_start_ + current_; }
  bool EnsureBuffer();
  /// Writes the pending bytes; afterwards they serve as read bytes.
  bool FlushPending();
  /// Empties the buffer and lets it start at the position.
  void MoveBuffer(int64_t position);
  int64_t FileSize();  ///< Pending bytes not counted. -1 on failure.

  File file_;
  TaskText name_;
  uint32_t mode_;
  std::unique_ptr<uint8_t[]> buffer_;
  int64_t buffer_start_ = 0;  ///< File position of the buffer's first byte.
  uint32_t current_ = 0;      ///< Position in the buffer.
  uint32_t valid_ = 0;        ///< Bytes in the buffer, read or pending.
  bool dirty_ = false;        ///< The buffer holds pending bytes, and nothing else.
  int64_t file_size_ = -1;    ///< Cached.
};

}  // namespace melorin
