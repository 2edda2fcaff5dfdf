// SPDX-License-Identifier: MIT
#include "platform/file.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "platform/text.h"
#include "platform/win32/wide_path.h"

namespace melorin {
namespace {

HANDLE Handle(intptr_t value) {
  return reinterpret_cast<HANDLE>(value);
}

DWORD Attributes(const std::string& path_gbk) {
  const std::wstring path = WidePath(path_gbk);
  return path.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(path.c_str());
}

DWORD ChunkSize(size_t size) {
  return static_cast<DWORD>(std::min<size_t>(size, 1u << 30));
}

OVERLAPPED At(int64_t offset) {
  OVERLAPPED at = {};
  at.Offset = static_cast<DWORD>(offset);
  at.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return at;
}

/// Of 100 ns.
int64_t UnitsSince1970(const FILETIME& time) {
  constexpr int64_t kUnixEpoch = 116444736000000000;  // In units since 1601.
  return (static_cast<int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime) - kUnixEpoch;
}

int64_t WriteAll(HANDLE handle, std::span<const uint8_t> data, OVERLAPPED* at) {
  size_t done = 0;
  while (done < data.size()) {
    DWORD count = 0;
    if (!WriteFile(handle, data.data() + done, ChunkSize(data.size() - done), &count, at) || count == 0)
      return -1;
    done += count;
    if (at) *at = At((static_cast<int64_t>(at->OffsetHigh) << 32 | at->Offset) + count);
  }
  return static_cast<int64_t>(done);
}

}  // namespace

struct MappedFile::Impl {
  HANDLE file = INVALID_HANDLE_VALUE;
  HANDLE mapping = nullptr;
  const void* view = nullptr;
  ~Impl() {
    if (view) UnmapViewOfFile(view);
    if (mapping) CloseHandle(mapping);
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  }
};

MappedFile::MappedFile() noexcept = default;
MappedFile::~MappedFile() = default;
MappedFile::MappedFile(MappedFile&& other) noexcept {
  *this = std::move(other);
}
MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
  impl_ = std::move(other.impl_);
  bytes_ = std::exchange(other.bytes_, {});
  return *this;
}

bool MappedFile::Open(const std::string& path_gbk) {
  Close();
  const std::wstring path = WidePath(path_gbk);
  if (path.empty()) return false;
  auto impl = std::make_unique<Impl>();
  impl->file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
  if (impl->file == INVALID_HANDLE_VALUE) return false;
  LARGE_INTEGER size;
  if (!GetFileSizeEx(impl->file, &size) || size.QuadPart > 0x7FFFFFFF) return false;
  if (size.QuadPart != 0) {  // An empty file cannot be mapped.
    impl->mapping = CreateFileMappingW(impl->file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (!impl->mapping) return false;
    impl->view = MapViewOfFile(impl->mapping, FILE_MAP_READ, 0, 0, 0);
    if (!impl->view) return false;
    bytes_ = {static_cast<const uint8_t*>(impl->view), static_cast<size_t>(size.QuadPart)};
  }
  impl_ = std::move(impl);
  return true;
}

void MappedFile::Close() {
  bytes_ = {};
  impl_.reset();
}

File::File() noexcept = default;
File::~File() {
  Close();
}
File::File(File&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, -1);
  }
  return *this;
}

bool File::Open(const std::string& path_gbk, Access access, Share share, Create create) {
  Close();
  const std::wstring path = WidePath(path_gbk);
  if (path.empty()) return false;
  const DWORD wanted = GENERIC_READ | (access == Access::kReadWrite ? GENERIC_WRITE : 0);
  const DWORD sharing = FILE_SHARE_READ | (share == Share::kReadWrite ? FILE_SHARE_WRITE : 0);
  const HANDLE handle =
      CreateFileW(path.c_str(), wanted, sharing, nullptr,
                  create == Create::kAlways ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  handle_ = handle == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<intptr_t>(handle);
  return handle_ != -1;
}

void File::Close() {
  if (handle_ != -1) CloseHandle(Handle(handle_));
  handle_ = -1;
}

bool File::IsOpen() const {
  return handle_ != -1;
}

int64_t File::Read(std::span<uint8_t> data) {
  DWORD count = 0;
  return ReadFile(Handle(handle_), data.data(), ChunkSize(data.size()), &count, nullptr) ? count : -1;
}

int64_t File::Write(std::span<const uint8_t> data) {
  return WriteAll(Handle(handle_), data, nullptr);
}

int64_t File::ReadAt(int64_t offset, std::span<uint8_t> data) {
  OVERLAPPED at = At(offset);
  DWORD count = 0;
  if (ReadFile(Handle(handle_), data.data(), ChunkSize(data.size()), &count, &at)) return count;
  return GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

int64_t File::WriteAt(int64_t offset, std::span<const uint8_t> data) {
  OVERLAPPED at = At(offset);
  return WriteAll(Handle(handle_), data, &at);
}

bool File::Seek(int64_t offset) {
  LARGE_INTEGER to;
  to.QuadPart = offset;
  return SetFilePointerEx(Handle(handle_), to, nullptr, FILE_BEGIN) != 0;
}

int64_t File::Size() {
  LARGE_INTEGER size;
  return GetFileSizeEx(Handle(handle_), &size) ? size.QuadPart : -1;
}

bool File::SetSize(int64_t size) {
  return Seek(size) && SetEndOfFile(Handle(handle_)) != 0;
}
bool File::Flush() {
  return FlushFileBuffers(Handle(handle_)) != 0;
}

std::vector<DirectoryEntry> ListDirectory(const std::string& folder_gbk) {
  return ListDirectoryUpTo(folder_gbk, static_cast<size_t>(-1));
}

std::vector<DirectoryEntry> ListDirectoryUpTo(const std::string& folder_gbk, size_t most) {
  std::vector<DirectoryEntry> entries;
  const std::wstring pattern = WidePath(JoinPath(folder_gbk, "*"));
  WIN32_FIND_DATAW found;
  const HANDLE search = pattern.empty() ? INVALID_HANDLE_VALUE : FindFirstFileW(pattern.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return entries;
  do {
    bool lossy = false;
    DirectoryEntry entry;
    entry.name_gbk = GbkName(found.cFileName, lossy);
    if (lossy || entry.name_gbk == "." || entry.name_gbk == "..") continue;
    entry.is_directory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry.size = static_cast<int64_t>(found.nFileSizeHigh) << 32 | found.nFileSizeLow;
    entries.push_back(std::move(entry));
  } while (entries.size() < most && FindNextFileW(search, &found));
  FindClose(search);
  if (entries.size() > most) entries.resize(most);
  return entries;
}

int64_t FolderTimeStamp(const std::string& folder_gbk) {
  const std::wstring path = WidePath(folder_gbk);
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (path.empty() || !GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return 0;
  if (!(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) return 0;
  return UnitsSince1970(data.ftLastWriteTime) / 10;
}

FolderIdentity IdentifyFolder(const std::string& folder_gbk) {
  const std::wstring path = WidePath(folder_gbk);
  if (path.empty()) return {};
  // The flag is what opens folders; no access is needed to ask.
  const HANDLE handle = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return {};
  BY_HANDLE_FILE_INFORMATION info;
  const bool known = GetFileInformationByHandle(handle, &info) != 0;
  CloseHandle(handle);
  if (!known || !(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) return {};
  return {info.dwVolumeSerialNumber, static_cast<uint64_t>(info.nFileIndexHigh) << 32 | info.nFileIndexLow};
}

bool FileExists(const std::string& path_gbk) {
  const DWORD attributes = Attributes(path_gbk);
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool IsOrdinaryFile(const std::string& path_gbk) {
  if (!FileExists(path_gbk)) return false;
  const HANDLE file =
      CreateFileW(WidePath(path_gbk).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, 0, nullptr);
  const bool ordinary = file != INVALID_HANDLE_VALUE && GetFileType(file) == FILE_TYPE_DISK;
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  return ordinary;
}

bool DirectoryExists(const std::string& path_gbk) {
  const DWORD attributes = Attributes(path_gbk);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool MakeDirectory(const std::string& path_gbk) {
  const std::wstring path = WidePath(path_gbk);
  return !path.empty() && (CreateDirectoryW(path.c_str(), nullptr) || DirectoryExists(path_gbk));
}

bool DeleteFileAt(const std::string& path_gbk) {
  const std::wstring path = WidePath(path_gbk);
  return !path.empty() && DeleteFileW(path.c_str());
}

bool ReplaceFileAt(const std::string& from_gbk, const std::string& to_gbk) {
  const std::wstring from = WidePath(from_gbk);
  const std::wstring to = WidePath(to_gbk);
  return !from.empty() && !to.empty() &&
         MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
}

std::string FullPath(const std::string& path_gbk) {
  const std::wstring path = WidePath(path_gbk);
  if (path.empty()) return path_gbk;
  const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(needed, L'\0');
  const DWORD made = GetFullPathNameW(path.c_str(), needed, full.data(), nullptr);
  if (made == 0 || made >= needed) return path_gbk;
  bool lossy = false;
  std::string gbk = GbkName(full.c_str(), lossy);
  return lossy ? path_gbk : gbk;
}

uint32_t FileTimeStamp(const std::string& path_gbk) {
  const std::wstring path = WidePath(path_gbk);
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (path.empty() || !GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return 0;
  if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return 0;
  constexpr int64_t kUnitsPerSecond = 10000000;
  const int64_t units = UnitsSince1970(data.ftLastWriteTime);
  // Down, before 1970 as well, as the host's whole seconds are.
  const int64_t below = units % kUnitsPerSecond < 0 ? 1 : 0;
  return static_cast<uint32_t>(units / kUnitsPerSecond - below);
}

std::string TempDirectory() {
  wchar_t folder[MAX_PATH + 1];
  if (GetTempPathW(MAX_PATH + 1, folder) == 0) return ".\\";
  bool lossy = false;
  return GbkName(folder, lossy);
}

bool OnModuleSearchPath(const std::string& name_gbk) {
  const std::wstring name = WidePath(name_gbk);
  if (name.empty()) return false;
  wchar_t found[MAX_PATH];
  const DWORD length = SearchPathW(nullptr, name.c_str(), nullptr, MAX_PATH, found, nullptr);
  if (length == 0 || length >= MAX_PATH) return false;  // A longer path is told by its length, not stored.
  const DWORD attributes = GetFileAttributesW(found);
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace melorin
