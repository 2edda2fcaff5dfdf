// SPDX-License-Identifier: MIT
#include "sound/stream_io.h"

#include <algorithm>

namespace melorin {

int64_t ReadUpTo(IStream& stream, uint8_t* data, uint32_t count) {
  uint32_t done = 0;
  while (done < count) {
    ULONG read = 0;
    if (FAILED(stream.Read(data + done, count - done, &read))) return -1;
    if (read == 0) break;
    done += std::min<uint32_t>(static_cast<uint32_t>(read), count - done);
  }
  return done;
}

HRESULT ReadExactly(IStream& stream, void* data, uint32_t count) {
  return ReadUpTo(stream, static_cast<uint8_t*>(data), count) == count ? S_OK : E_FAIL;
}

HRESULT WriteExactly(IStream& stream, const void* data, uint32_t count, uint32_t* written) {
  if (written) *written = 0;
  if (count == 0) return S_OK;
  ULONG done = 0;
  const HRESULT result = stream.Write(data, count, &done);
  if (written) *written = std::min(static_cast<uint32_t>(done), count);
  return SUCCEEDED(result) && done == count ? S_OK : E_FAIL;
}

HRESULT SeekTo(IStream& stream, int64_t offset) {
  LARGE_INTEGER move;
  move.QuadPart = offset;
  return FAILED(stream.Seek(move, STREAM_SEEK_SET, nullptr)) ? E_FAIL : S_OK;
}

int64_t StreamSize(IStream& stream) {
  STATSTG stat{};
  if (FAILED(stream.Stat(&stat, STATFLAG_NONAME)) || stat.cbSize.QuadPart > INT64_MAX) return -1;
  return static_cast<int64_t>(stat.cbSize.QuadPart);
}

HRESULT ReadPacket(IStream& stream, SoundBuffer& packet, uint64_t left, uint32_t* delivered) {
  *delivered = 0;
  uint8_t* data = nullptr;
  uint32_t length = 0;
  uint32_t capacity = 0;
  if (FAILED(packet.GetCapacity(&capacity)) || FAILED(packet.GetData(&data, &length)) || !data) return E_FAIL;
  const auto count = static_cast<uint32_t>(std::min<uint64_t>(capacity, left));
  const int64_t read = count == 0 ? 0 : ReadUpTo(stream, data, count);
  packet.SetLength(read > 0 ? static_cast<uint32_t>(read) : 0);
  if (read < 0) return E_FAIL;
  *delivered = static_cast<uint32_t>(read);
  return read == 0 ? S_FALSE : S_OK;
}

}  // namespace melorin
