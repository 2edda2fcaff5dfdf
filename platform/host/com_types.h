// SPDX-License-Identifier: MIT
//
// Host half of com.h: the definitions of the component runtime that the core uses, with the layout and slot
// order of the platform. Include platform/com.h instead.
#pragma once

#include <cstdint>

#define STDMETHODCALLTYPE
#define STDAPICALLTYPE

using HRESULT = int32_t;
using ULONG = uint32_t;
using DWORD = uint32_t;
using WORD = uint16_t;
using BYTE = uint8_t;
using BOOL = int32_t;
using WCHAR = char16_t;
using LPOLESTR = WCHAR*;

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
constexpr bool SUCCEEDED(HRESULT result) {
  return result >= 0;
}
constexpr bool FAILED(HRESULT result) {
  return result < 0;
}

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};
using REFIID = const GUID&;
using IID = GUID;
using CLSID = GUID;

union LARGE_INTEGER {
  struct {
    uint32_t LowPart;
    int32_t HighPart;
  } u;
  int64_t QuadPart;
};
union ULARGE_INTEGER {
  struct {
    uint32_t LowPart;
    uint32_t HighPart;
  } u;
  uint64_t QuadPart;
};

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct STATSTG {
  LPOLESTR pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

constexpr DWORD STGM_READ = 0x0;
constexpr DWORD STGM_WRITE = 0x1;
constexpr DWORD STGM_READWRITE = 0x2;
constexpr DWORD STGM_SHARE_DENY_NONE = 0x40;
constexpr DWORD STGM_SHARE_DENY_WRITE = 0x20;
constexpr DWORD STGM_CREATE = 0x1000;
constexpr DWORD STATFLAG_DEFAULT = 0;
constexpr DWORD STATFLAG_NONAME = 1;
constexpr DWORD STREAM_SEEK_SET = 0;
constexpr DWORD STREAM_SEEK_CUR = 1;
constexpr DWORD STREAM_SEEK_END = 2;
constexpr DWORD STGTY_STREAM = 2;

constexpr GUID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID IID_ISequentialStream = {
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
constexpr GUID IID_IStream = {0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct ISequentialStream : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Read(void* data, ULONG count, ULONG* read) = 0;
  virtual HRESULT STDMETHODCALLTYPE Write(const void* data, ULONG count, ULONG* written) = 0;
};

struct IStream : ISequentialStream {
  virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* to, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                                           ULARGE_INTEGER* written) = 0;
  virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
  virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
  virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
  virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IStream** out) = 0;
};

#pragma pack(push, 1)
struct WAVEFORMATEX {
  WORD wFormatTag;
  WORD nChannels;
  DWORD nSamplesPerSec;
  DWORD nAvgBytesPerSec;
  WORD nBlockAlign;
  WORD wBitsPerSample;
  WORD cbSize;
};
struct WAVEFORMATEXTENSIBLE {
  WAVEFORMATEX Format;
  union {
    WORD wValidBitsPerSample;
    WORD wSamplesPerBlock;
    WORD wReserved;
  } Samples;
  DWORD dwChannelMask;
  GUID SubFormat;
};
#pragma pack(pop)

constexpr WORD WAVE_FORMAT_PCM = 1;
constexpr WORD WAVE_FORMAT_IEEE_FLOAT = 3;
constexpr WORD WAVE_FORMAT_MPEG = 0x50;
constexpr WORD WAVE_FORMAT_MPEGLAYER3 = 0x55;
constexpr WORD WAVE_FORMAT_EXTENSIBLE = 0xFFFE;

/// Task memory is the process heap here.
void* CoTaskMemAlloc(size_t size);
void CoTaskMemFree(void* block);
