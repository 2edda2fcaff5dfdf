// SPDX-License-Identifier: MIT
//
// A CD track's samples, read as raw sectors from the drive whose ".cda" file was opened.
#include <windows.h>

#include <winioctl.h>

#include <ntddcdrm.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "platform/com_ptr.h"
#include "sound/cda_file.h"
#include "sound/exports.h"
#include "sound/stream_io.h"
#include "sound/win32/producers.h"

namespace melorin {
namespace {

constexpr uint32_t kSectorsPerRead = 16;  ///< Below the transfer size that every drive takes (64 KB).

class CdProducer final : public PcmProducer {
 public:
  ~CdProducer() override {
    if (drive_ != INVALID_HANDLE_VALUE) CloseHandle(drive_);
  }
  HRESULT Open(const std::u16string& path, PcmInfo& info) override;
  HRESULT Read(uint8_t* to, uint32_t capacity, uint32_t* got) override;
  HRESULT Seek(uint32_t milliseconds) override {
    next_sector_ = static_cast<uint32_t>(static_cast<uint64_t>(milliseconds) * kCdSectorsPerSecond / 1000);
    held_ = 0;
    return S_OK;
  }

 private:
  bool Fill();

  HANDLE drive_ = INVALID_HANDLE_VALUE;
  CdaTrack track_;
  uint32_t next_sector_ = 0;  ///< In the track.
  std::vector<uint8_t> sectors_ = std::vector<uint8_t>(kSectorsPerRead * kCdSectorBytes);
  uint32_t held_ = 0;  ///< Bytes in `sectors_` not handed out yet, at offset_.
  uint32_t offset_ = 0;
};

HRESULT CdProducer::Open(const std::u16string& path, PcmInfo& info) {
  ComPtr<IStream> stream;
  uint8_t bytes[kCdaFileBytes];
  HRESULT result =
      CreateStreamOnFile(AsWide(path.c_str()), STGM_READ | STGM_SHARE_DENY_NONE, stream.Receive());
  if (SUCCEEDED(result)) result = ReadExactly(*stream, bytes, sizeof bytes);
  if (FAILED(result)) return result;
  const auto track = ParseCda(bytes);
  if (!track) return E_FAIL;
  track_ = *track;

  // The file itself says nothing about the drive, so one that was copied off the disc cannot be played.
  if (path.size() < 3 || path[1] != u':') return E_FAIL;
  const std::u16string root = path.substr(0, 2) + u"\\";
  if (GetDriveTypeW(AsWide(root.c_str())) != DRIVE_CDROM) return E_FAIL;
  const std::u16string device = u"\\\\.\\" + path.substr(0, 2);
  drive_ = CreateFileW(AsWide(device.c_str()), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       OPEN_EXISTING, 0, nullptr);
  if (drive_ == INVALID_HANDLE_VALUE) return E_FAIL;

  info.format.wFormatTag = WAVE_FORMAT_PCM;
  info.format.nChannels = 2;
  info.format.nSamplesPerSec = 44100;
  info.format.wBitsPerSample = 16;
  info.format.nBlockAlign = 4;
  info.format.nAvgBytesPerSec = 176400;
  info.duration_ms =
      static_cast<uint32_t>(static_cast<uint64_t>(track_.sectors) * 1000 / kCdSectorsPerSecond);
  info.seekable = true;
  info.codec_name = u"CD|CD Audio";
  return S_OK;
}

bool CdProducer::Fill() {
  RAW_READ_INFO request{};
  const uint32_t count = std::min(kSectorsPerRead, track_.sectors - next_sector_);
  // The offset counts in sectors of 2048 bytes whatever is read.
  request.DiskOffset.QuadPart = (static_cast<int64_t>(track_.start_sector) + next_sector_) * 2048;
  request.SectorCount = count;
  request.TrackMode = CDDA;
  DWORD got = 0;
  if (!DeviceIoControl(drive_, IOCTL_CDROM_RAW_READ, &request, sizeof request, sectors_.data(),
                       count * kCdSectorBytes, &got, nullptr))
    return false;
  next_sector_ += count;
  offset_ = 0;
  held_ = std::min<uint32_t>(got, count * kCdSectorBytes);
  return held_ > 0;
}

HRESULT CdProducer::Read(uint8_t* to, uint32_t capacity, uint32_t* got) {
  *got = 0;
  if (held_ == 0) {
    if (next_sector_ >= track_.sectors) return S_FALSE;
    if (!Fill()) return E_FAIL;
  }
  *got = std::min(capacity, held_);
  std::memcpy(to, sectors_.data() + offset_, *got);
  offset_ += *got;
  held_ -= *got;
  return S_OK;
}

}  // namespace

std::unique_ptr<PcmProducer> MakeCdProducer() {
  return std::make_unique<CdProducer>();
}

}  // namespace melorin
