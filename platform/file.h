// SPDX-License-Identifier: MIT
//
// Files as the core needs them. Every path is GBK text as platform/text.h has it, which holds every name
// but those with half a surrogate pair (Windows) or with bytes that are no UTF-8 (the host). No function here
// shows a message or throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace melorin {

#if defined(_WIN32)
inline constexpr char kPathSeparator = '\\';
#else
inline constexpr char kPathSeparator = '/';
#endif

/// A read-only view of a whole file. An empty file maps to an empty span and is valid.
/// Opened with read sharing only for others (a writer is refused while it is open).
class MappedFile {
 public:
  MappedFile() noexcept;
  ~MappedFile();
  MappedFile(MappedFile&&) noexcept;
  MappedFile& operator=(MappedFile&&) noexcept;

  /// False when the file is missing, is a directory or cannot be mapped; then Bytes() is empty.
  bool Open(const std::string& path_gbk);
  void Close();
  std::span<const uint8_t> Bytes() const { return bytes_; }

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
  std::span<const uint8_t> bytes_;
};

/// An open file with a position. Thread: one at a time.
class File {
 public:
  enum class Access { kRead, kReadWrite };
  enum class Share { kRead, kReadWrite };
  enum class Create { kMustExist, kAlways };  ///< kAlways truncates an existing file.

  File() noexcept;
  ~File();
  File(File&&) noexcept;
  File& operator=(File&&) noexcept;

  bool Open(const std::string& path_gbk, Access access, Share share, Create create);
  void Close();
  bool IsOpen() const;
  /// Bytes transferred, or -1 on failure. A read at the end gives 0.
  int64_t Read(std::span<uint8_t> data);
  int64_t Write(std::span<const uint8_t> data);
  /// At an absolute offset, without moving the position that Read and Write use on POSIX; on Windows the
  /// position is undefined afterwards, so use either these or Seek/Read, never both.
  int64_t ReadAt(int64_t offset, std::span<uint8_t> data);
  int64_t WriteAt(int64_t offset, std::span<const uint8_t> data);
  bool Seek(int64_t offset);  ///< From the start.
  int64_t Size();             ///< -1 on failure.
  bool SetSize(int64_t size);
  /// To the disk itself.
  bool Flush();

 private:
  intptr_t handle_ = -1;
};

struct DirectoryEntry {
  std::string name_gbk;
  bool is_directory = false;
  int64_t size = 0;
};
/// The entries of a folder in the order the file system gives them, without "." and "..". Empty when there is
/// no such folder. Names that no text can hold (see above) are left out.
std::vector<DirectoryEntry> ListDirectory(const std::string& folder_gbk);
/// The first `most` of them: a folder may be of any size.
std::vector<DirectoryEntry> ListDirectoryUpTo(const std::string& folder_gbk, size_t most);

/// Microseconds since 1970 (UTC) of the last change of a folder's entries, as exact as the file system keeps
/// it; 0 when there is no such folder. FAT does not change it. Cheaper than listing.
int64_t FolderTimeStamp(const std::string& folder_gbk);
/// Tells whether two paths lead to one folder. All zero when there is no such folder or the system does not
/// tell.
struct FolderIdentity {
  uint64_t volume = 0;
  uint64_t index = 0;  ///< 0 from file systems that number no files: nothing may be concluded then.
  bool IsKnown() const { return index != 0; }
  bool operator==(const FolderIdentity&) const = default;
};
FolderIdentity IdentifyFolder(const std::string& folder_gbk);

bool FileExists(const std::string& path_gbk);  ///< A file, not a folder.
/// A file on a disk: neither a folder nor a device, pipe or the like.
bool IsOrdinaryFile(const std::string& path_gbk);
bool DirectoryExists(const std::string& path_gbk);
bool MakeDirectory(const std::string& path_gbk);  ///< True when it is there afterwards.
bool DeleteFileAt(const std::string& path_gbk);
/// Puts `from` in the place of `to` in one step: afterwards `to` is the old or the new file, never a part.
bool ReplaceFileAt(const std::string& from_gbk, const std::string& to_gbk);
std::string FullPath(const std::string& path_gbk);  ///< The input when it cannot be resolved.
/// The full path of a name seen from a folder: absolute names (a drive letter or two backslashes; on the host
/// a slash) are only tidied up, a name that begins with one separator is seen from the folder's drive. "."
/// and
/// ".." are worked out in the text, never above the root; nothing is asked of the file system unless the
/// folder is no full path itself. "c:song" is seen from the folder when that is on c:, else from the drive's
/// root. Does not touch the process's current folder.
std::string FullPathFrom(const std::string& folder_gbk, const std::string& path_gbk);
/// Seconds since 1970 (UTC) of the last change, rounded down and cut to 32 bits; 0 when there is no
/// such file.
uint32_t FileTimeStamp(const std::string& path_gbk);
std::string TempDirectory();  ///< With a separator at the end.
/// A file (not a folder) of that name on the platform's module search path. Always false on the host.
bool OnModuleSearchPath(const std::string& name_gbk);

/// "dir/name.ext" → ".ext" without the dot, as it is written; empty when the name has none.
std::string_view PathExtension(std::string_view path_gbk);
std::string_view PathFileName(std::string_view path_gbk);
/// Without the separator at the end, unless that is all there is ("/", "c:\").
std::string_view PathDirectory(std::string_view path_gbk);
std::string JoinPath(std::string_view folder_gbk, std::string_view name_gbk);

/// Writes a file beside its place and swaps it in; false leaves the old file as it was.
bool WriteFileSafely(const std::string& path_gbk, std::span<const uint8_t> bytes);

}  // namespace melorin
