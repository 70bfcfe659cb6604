// Files of the formats with variables and labels, and what a test asks of what was read from them.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "datafile/text_files.h"

namespace qrvml {

/// A path in a folder of its own, removed with the folder at the end; nothing is there yet.
class TemporaryPath {
 public:
  explicit TemporaryPath(const std::string& name) {
    std::string folder = (std::filesystem::temp_directory_path() / "qrvmlXXXXXX").string();
    EXPECT_NE(::mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    path_ = (folder_ / name).string();
  }
  TemporaryPath(const TemporaryPath&) = delete;
  TemporaryPath& operator=(const TemporaryPath&) = delete;
  ~TemporaryPath() { std::filesystem::remove_all(folder_); }
  const std::string& Text() const { return path_; }

 private:
  std::filesystem::path folder_;
  std::string path_;
};

inline std::string FileContent(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void WriteContent(const std::string& path, std::string_view content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// Cuts a file at many places: each start of it is refused with a reason, and none ends the
/// program. Lengths in [0, size - keep) are tried, `steps` of them.
inline void ExpectEveryStartIsRefused(const std::string& path, std::size_t steps,
                                      std::size_t keep = 1) {
  const std::string content = FileContent(path);
  const std::string extension = std::filesystem::path(path).extension().string();
  ASSERT_GT(content.size(), keep);
  const TemporaryPath cut("cut" + extension);
  for (std::size_t i = 0; i <= steps; ++i) {
    const std::size_t length = (content.size() - keep) * i / steps;
    WriteContent(cut.Text(), std::string_view(content).substr(0, length));
    const Reading read = ReadPath(cut.Text());
    EXPECT_FALSE(read.ok) << path << " cut to " << length << " of " << content.size() << " bytes";
    EXPECT_FALSE(read.error.what.empty()) << length;
    EXPECT_EQ(read.error.file, cut.Text());
  }
}

inline std::vector<std::string> Names(const DataTable& table) {
  std::vector<std::string> names;
  for (int i = 1; i <= table.NumberOfVariables(); ++i) names.push_back(table.At(i).name);
  return names;
}

/// Labels with their codes: "1=Ana 2=Bob".
inline std::string ShownLabels(const DataTable& table, int variable) {
  std::string shown;
  for (const ValueLabel& label : table.At(variable).labels) {
    shown += (shown.empty() ? "" : " ") + NumberAsText(DisplayFormat::number, label.code) + "=" +
             label.text;
  }
  return shown;
}

}  // namespace qrvml
