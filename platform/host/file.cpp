// SPDX-License-Identifier: MIT
#include "platform/file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "platform/text.h"

namespace melorin {
namespace {

/// Empty when the bytes cannot be a name.
std::string HostPath(const std::string& path_gbk) {
  bool lossy = false;
  std::string path = Utf8FromGbk(path_gbk, &lossy);
  if (lossy || path.find('\0') != std::string::npos) path.clear();
  return path;
}

bool Stat(const std::string& path_gbk, struct stat& info) {
  const std::string path = HostPath(path_gbk);
  return !path.empty() && stat(path.c_str(), &info) == 0;
}

int Descriptor(intptr_t handle) {
  return static_cast<int>(handle);
}

}  // namespace

struct MappedFile::Impl {
  void* address = nullptr;
  size_t size = 0;
  ~Impl() {
    if (address) munmap(address, size);
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
  const std::string path = HostPath(path_gbk);
  const int fd = path.empty() ? -1 : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat info;
  bool ok = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  if (ok && info.st_size > 0) {
    const auto size = static_cast<size_t>(info.st_size);
    void* address = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    ok = address != MAP_FAILED;
    if (ok) {
      impl_ = std::make_unique<Impl>();
      impl_->address = address;
      impl_->size = size;
      bytes_ = {static_cast<const uint8_t*>(address), size};
    }
  }
  close(fd);
  return ok;
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

bool File::Open(const std::string& path_gbk, Access access, Share, Create create) {
  Close();
  const std::string path = HostPath(path_gbk);
  if (path.empty()) return false;
  int flags = O_CLOEXEC | (access == Access::kReadWrite ? O_RDWR : O_RDONLY);
  if (create == Create::kAlways) flags |= O_CREAT | O_TRUNC;
  const int fd = open(path.c_str(), flags, 0666);
  if (fd < 0) return false;
  struct stat info;
  if (fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
    close(fd);
    return false;
  }
  handle_ = fd;
  return true;
}

void File::Close() {
  if (handle_ != -1) close(Descriptor(handle_));
  handle_ = -1;
}

bool File::IsOpen() const {
  return handle_ != -1;
}

int64_t File::Read(std::span<uint8_t> data) {
  return read(Descriptor(handle_), data.data(), data.size());
}

int64_t File::Write(std::span<const uint8_t> data) {
  size_t done = 0;
  while (done < data.size()) {
    const ssize_t count = write(Descriptor(handle_), data.data() + done, data.size() - done);
    if (count <= 0) return -1;
    done += static_cast<size_t>(count);
  }
  return static_cast<int64_t>(done);
}

int64_t File::ReadAt(int64_t offset, std::span<uint8_t> data) {
  return pread(Descriptor(handle_), data.data(), data.size(), offset);
}

int64_t File::WriteAt(int64_t offset, std::span<const uint8_t> data) {
  size_t done = 0;
  while (done < data.size()) {
    const ssize_t count = pwrite(Descriptor(handle_), data.data() + done, data.size() - done,
                                 offset + static_cast<int64_t>(done));
    if (count <= 0) return -1;
    done += static_cast<size_t>(count);
  }
  return static_cast<int64_t>(done);
}

bool File::Seek(int64_t offset) {
  return lseek(Descriptor(handle_), offset, SEEK_SET) == offset;
}

int64_t File::Size() {
  struct stat info;
  return fstat(Descriptor(handle_), &info) == 0 ? info.st_size : -1;
}

bool File::SetSize(int64_t size) {
  return ftruncate(Descriptor(handle_), size) == 0;
}
bool File::Flush() {
  return fsync(Descriptor(handle_)) == 0;
}

std::vector<DirectoryEntry> ListDirectory(const std::string& folder_gbk) {
  return ListDirectoryUpTo(folder_gbk, static_cast<size_t>(-1));
}

std::vector<DirectoryEntry> ListDirectoryUpTo(const std::string& folder_gbk, size_t most) {
  std::vector<DirectoryEntry> entries;
  const std::string folder = HostPath(folder_gbk.empty() ? std::string(".") : folder_gbk);
  DIR* directory = folder.empty() ? nullptr : opendir(folder.c_str());
  if (!directory) return entries;
  while (entries.size() < most) {
    const dirent* entry = readdir(directory);
    if (!entry) break;
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    struct stat info;
    if (fstatat(dirfd(directory), name.c_str(), &info, 0) != 0) continue;
    bool lossy = false;
    DirectoryEntry made{GbkFromUtf8(name, &lossy), S_ISDIR(info.st_mode), info.st_size};
    if (!lossy) entries.push_back(std::move(made));
  }
  closedir(directory);
  return entries;
}

int64_t FolderTimeStamp(const std::string& folder_gbk) {
  struct stat info;
  if (!Stat(folder_gbk, info) || !S_ISDIR(info.st_mode)) return 0;
  return static_cast<int64_t>(info.st_mtim.tv_sec) * 1000000 + info.st_mtim.tv_nsec / 1000;
}

FolderIdentity IdentifyFolder(const std::string& folder_gbk) {
  struct stat info;
  if (!Stat(folder_gbk, info) || !S_ISDIR(info.st_mode)) return {};
  return {info.st_dev, info.st_ino};
}

bool FileExists(const std::string& path_gbk) {
  struct stat info;
  return Stat(path_gbk, info) && !S_ISDIR(info.st_mode);
}

bool IsOrdinaryFile(const std::string& path_gbk) {
  struct stat info;
  return Stat(path_gbk, info) && S_ISREG(info.st_mode);
}

bool DirectoryExists(const std::string& path_gbk) {
  struct stat info;
  return Stat(path_gbk, info) && S_ISDIR(info.st_mode);
}

bool MakeDirectory(const std::string& path_gbk) {
  const std::string path = HostPath(path_gbk);
  if (path.empty()) return false;
  return mkdir(path.c_str(), 0777) == 0 || DirectoryExists(path_gbk);
}

bool DeleteFileAt(const std::string& path_gbk) {
  const std::string path = HostPath(path_gbk);
  return !path.empty() && unlink(path.c_str()) == 0;
}

bool ReplaceFileAt(const std::string& from_gbk, const std::string& to_gbk) {
  const std::string from = HostPath(from_gbk);
  const std::string to = HostPath(to_gbk);
  return !from.empty() && !to.empty() && rename(from.c_str(), to.c_str()) == 0;
}

std::string FullPath(const std::string& path_gbk) {
  const std::string path = HostPath(path_gbk);
  char resolved[PATH_MAX];
  if (path.empty() || !realpath(path.c_str(), resolved)) return path_gbk;
  bool lossy = false;
  std::string full = GbkFromUtf8(resolved, &lossy);
  return lossy ? path_gbk : full;
}

uint32_t FileTimeStamp(const std::string& path_gbk) {
  struct stat info;
  if (!Stat(path_gbk, info) || S_ISDIR(info.st_mode)) return 0;
  return static_cast<uint32_t>(info.st_mtim.tv_sec);
}

std::string TempDirectory() {
  const char* folder = std::getenv("TMPDIR");
  std::string path = folder && *folder ? GbkFromUtf8(folder) : std::string("/tmp");
  if (path.back() != kPathSeparator) path += kPathSeparator;
  return path;
}

bool OnModuleSearchPath(const std::string&) {
  return false;
}

}  // namespace melorin
