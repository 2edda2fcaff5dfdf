// SPDX-License-Identifier: MIT
//
// A folder for one test, removed afterwards; its name is ASCII.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/file.h"

namespace melorin {

class TestFolder {
 public:
  TestFolder() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    path_ = TempDirectory() + "melorin_" + test->test_suite_name() + "_" + test->name() + "_" +
            std::to_string(std::random_device()());
    Empty(path_);
    MakeDirectory(path_);
    path_ = FullPath(path_);
  }
  ~TestFolder() { Empty(path_); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  const std::string& Path() const { return path_; }
  std::string Path(std::string_view name) const { return JoinPath(path_, name); }
  void Write(std::string_view name, std::string_view bytes) const {
    File file;
    ASSERT_TRUE(file.Open(Path(name), File::Access::kReadWrite, File::Share::kRead, File::Create::kAlways));
    file.Write({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
  }
  std::string Read(std::string_view name) const {
    MappedFile file;
    file.Open(Path(name));
    return {file.Bytes().begin(), file.Bytes().end()};
  }
  /// Sorted names of everything in it.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const DirectoryEntry& entry : ListDirectory(path_))
      names.push_back(entry.name_gbk);
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  static void Empty(const std::string& folder) {
    std::error_code error;
    std::filesystem::remove_all(folder, error);
  }

  std::string path_;
};

}  // namespace melorin
