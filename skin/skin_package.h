// SPDX-License-Identifier: MIT
//
// SkinPackage: the files of a skin, in a folder or in a ZIP archive (".zip", ".skn", the built-in skin).
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace melorin {

/// The name of the built-in skin, where a package's path may stand.
inline constexpr char kDefaultSkinName[] = "<DEFAULT_SKIN>";
inline constexpr char kSkinFileName[] = "Skin.xml";

enum class SkinPackageResult {
  kOpened,
  kMissing,      ///< No such file or folder.
  kNoPackage,    ///< Neither a folder nor a ZIP archive, or a damaged one.
  kNotSupported  ///< An archive in several volumes, encrypted or beyond our limits.
};

/// Thread: one at a time.
class SkinPackage {
 public:
  virtual ~SkinPackage() = default;
  /// The whole file. Names are GBK, compared without ASCII case, with "/" or "\" between folders; where
  /// "Skin.xml" lies in the archive's only folder, names are seen from there. Never leads out of the package.
  /// False when there is none, it is damaged or larger than kLargestFile.
  virtual bool Read(std::string_view name_gbk, std::vector<uint8_t>& out) = 0;
  /// All files, seen from where "Skin.xml" lies.
  virtual std::vector<std::string> NamesGbk() const = 0;

  static constexpr size_t kLargestFile = 32u << 20;
};

/// `path_gbk`: a folder, an archive, or kDefaultSkinName.
SkinPackageResult OpenSkinPackage(const std::string& path_gbk, std::unique_ptr<SkinPackage>* out);
/// An archive in memory that the caller keeps alive.
SkinPackageResult OpenSkinArchive(std::span<const uint8_t> bytes, std::unique_ptr<SkinPackage>* out);

/// The archive of the built-in skin: the resource "<DEFAULT_SKIN>" of the program.
std::span<const uint8_t> DefaultSkinBytes();

}  // namespace melorin
