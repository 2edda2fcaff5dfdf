// SPDX-License-Identifier: MIT
#include "app/file_associations.h"

#include <shlwapi.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/com.h"

namespace melorin {
namespace {

constexpr char16_t kTypePrefix[] = u"Melorin.";
constexpr char16_t kBefore[] = u"Melorin.Before";
constexpr char16_t kOpenWith[] = u"OpenWithProgids";

/// An open key.
class Key {
 public:
  Key() = default;
  ~Key() {
    if (key_) RegCloseKey(key_);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  bool Open(HKEY parent, const std::u16string& path) {
    return RegOpenKeyExW(parent, AsWide(path.c_str()), 0, KEY_READ | KEY_WRITE, &key_) == ERROR_SUCCESS;
  }
  bool OpenToRead(HKEY parent, const std::u16string& path) {
    return RegOpenKeyExW(parent, AsWide(path.c_str()), 0, KEY_READ, &key_) == ERROR_SUCCESS;
  }
  bool Make(HKEY parent, const std::u16string& path) {
    return RegCreateKeyExW(parent, AsWide(path.c_str()), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key_,
                           nullptr) == ERROR_SUCCESS;
  }
  HKEY get() const { return key_; }

  /// The text of a value; an empty name is the default one. Nothing when there is none, or it is no text.
  std::optional<std::u16string> Text(const std::u16string& name) const {
    DWORD bytes = 0;
    constexpr DWORD kMost = 64 * 1024;
    if (RegGetValueW(key_, nullptr, AsWide(name.c_str()), RRF_RT_REG_SZ, nullptr, nullptr, &bytes) !=
            ERROR_SUCCESS ||
        bytes > kMost)
      return std::nullopt;
    std::u16string text(bytes / sizeof(char16_t) + 1, u'\0');
    bytes = static_cast<DWORD>(text.size() * sizeof(char16_t));
    if (RegGetValueW(key_, nullptr, AsWide(name.c_str()), RRF_RT_REG_SZ, nullptr, text.data(), &bytes) !=
        ERROR_SUCCESS)
      return std::nullopt;
    text.resize(text.find(u'\0'));
    return text;
  }
  bool SetText(const std::u16string& name, std::u16string_view value) {
    const std::u16string text(value);
    return RegSetValueExW(key_, AsWide(name.c_str()), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(char16_t))) == ERROR_SUCCESS;
  }
  /// True when the value is not there afterwards.
  bool Remove(const std::u16string& name) {
    const LONG result = RegDeleteValueW(key_, AsWide(name.c_str()));
    return result == ERROR_SUCCESS || result == ERROR_FILE_NOT_FOUND;
  }
  bool IsEmpty() const {
    DWORD keys = 0;
    DWORD values = 0;
    return RegQueryInfoKeyW(key_, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr,
                            nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
           keys == 0 && values == 0;
  }

 private:
  HKEY key_ = nullptr;
};

bool SetDefault(HKEY parent, const std::u16string& path, std::u16string_view text) {
  Key key;
  return key.Make(parent, path) && key.SetText({}, text);
}

void RemoveIfEmpty(HKEY parent, const std::u16string& path) {
  Key key;
  if (key.OpenToRead(parent, path) && key.IsEmpty()) RegDeleteKeyW(parent, AsWide(path.c_str()));
}

std::u16string TypeOf(std::u16string_view extension) {
  return kTypePrefix + std::u16string(extension);
}
std::u16string DotOf(std::u16string_view extension) {
  return u'.' + std::u16string(extension);
}

bool SameName(const std::u16string& a, const std::u16string& b) {
  return lstrcmpiW(AsWide(a.c_str()), AsWide(b.c_str())) == 0;
}

}  // namespace

FileAssociations::FileAssociations(HKEY root, std::u16string classes, std::u16string program)
    : root_(root), classes_(std::move(classes)), program_(std::move(program)) {}

FileAssociations FileAssociations::OfUser() {
  constexpr size_t kLongestPath = 32768;
  std::u16string path(kLongestPath, u'\0');
  const DWORD length =
      GetModuleFileNameW(nullptr, reinterpret_cast<wchar_t*>(path.data()), static_cast<DWORD>(path.size()));
  path.resize(length);
  return FileAssociations(HKEY_CURRENT_USER, u"Software\\Classes", path);
}

bool FileAssociations::IsOurs(std::u16string_view extension) const {
  Key classes;
  Key dot;
  if (!classes.OpenToRead(root_, classes_) || !dot.OpenToRead(classes.get(), DotOf(extension))) return false;
  const std::optional<std::u16string> type = dot.Text({});
  return type && SameName(*type, TypeOf(extension));
}

bool FileAssociations::Associate(std::u16string_view extension, std::u16string_view description) {
  Key classes;
  if (!classes.Make(root_, classes_)) return false;
  const std::u16string type = TypeOf(extension);
  Key ours;
  if (!ours.Make(classes.get(), type) || !ours.SetText({}, description)) return false;
  const std::u16string quoted = u'"' + program_ + u'"';
  const bool written = SetDefault(ours.get(), u"DefaultIcon", program_ + u",0") &&
                       SetDefault(ours.get(), u"shell", u"open") &&
                       SetDefault(ours.get(), u"shell\\open\\command", quoted + u" \"%1\"") &&
                       SetDefault(ours.get(), u"shell\\enqueue", u"添加到 Melorin 播放列表") &&
                       SetDefault(ours.get(), u"shell\\enqueue\\command", quoted + u" /add \"%1\"");
  if (!written) return false;

  Key dot;
  if (!dot.Make(classes.get(), DotOf(extension))) return false;
  const std::optional<std::u16string> now = dot.Text({});
  // What was kept before stays when the extension has nothing now: somebody has only removed ours.
  if (now && !now->empty() && !SameName(*now, type) && !dot.SetText(kBefore, *now)) return false;
  Key open_with;
  if (!open_with.Make(dot.get(), kOpenWith) || !open_with.SetText(type, {})) return false;
  return dot.SetText({}, type);
}

bool FileAssociations::Restore(std::u16string_view extension) {
  Key classes;
  if (!classes.Open(root_, classes_)) return true;
  const std::u16string type = TypeOf(extension);
  const std::u16string dot_name = DotOf(extension);
  bool done = true;
  {
    Key dot;
    if (dot.Open(classes.get(), dot_name)) {
      const std::optional<std::u16string> now = dot.Text({});
      const std::optional<std::u16string> before = dot.Text(kBefore);
      if (!now || now->empty() || SameName(*now, type)) {
        if (before) {
          done = dot.SetText({}, *before);
        } else if (now && SameName(*now, type)) {
          done = dot.Remove({});
        }
      }
      // Kept until it has been put back.
      if (done) done = dot.Remove(kBefore);
      Key open_with;
      if (open_with.Open(dot.get(), kOpenWith)) done = open_with.Remove(type) && done;
      RemoveIfEmpty(dot.get(), kOpenWith);
    }
  }
  RemoveIfEmpty(classes.get(), dot_name);
  const LSTATUS removed = SHDeleteKeyW(classes.get(), AsWide(type.c_str()));
  return done && (removed == ERROR_SUCCESS || removed == ERROR_FILE_NOT_FOUND);
}

}  // namespace melorin
