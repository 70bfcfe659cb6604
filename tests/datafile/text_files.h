// Texts as files, and tables as something a test can compare.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/host_data_file.h"
#include "datafile/reader.h"

namespace qrvml {

/// A file with this content, removed at the end.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string_view content) {
    const std::filesystem::path pattern = std::filesystem::temp_directory_path() / "qrvmlXXXXXX";
    path_ = pattern.string();
    const int handle = ::mkstemp(path_.data());
    EXPECT_GE(handle, 0);
    ::close(handle);
    std::ofstream(path_, std::ios::binary) << content;
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { std::filesystem::remove(path_); }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

/// What came of reading a file.
struct Reading {
  bool ok = false;
  DataTable table;
  FileError error;
};

inline Reading ReadPath(const std::string& path, const ReadOptions& options = {}) {
  Reading reading;
  reading.ok = ReadDataFile(path, options, reading.table, reading.error);
  return reading;
}

inline Reading ReadText(std::string_view content, const ReadOptions& options = {}) {
  return ReadPath(TemporaryFile(content).Path(), options);
}

/// The cells of a variable.
inline std::vector<double> Cells(const DataTable& table, int variable) {
  std::vector<double> cells;
  for (int i = 1; i <= table.NumberOfCases(); ++i) cells.push_back(table.Value(i, variable));
  return cells;
}

/// The labels of a variable in the order of their codes, which are 1, 2, ...
inline std::vector<std::string> Labels(const DataTable& table, int variable) {
  std::vector<std::string> labels;
  for (const ValueLabel& label : table.At(variable).labels) {
    labels.push_back(label.text);
    EXPECT_EQ(label.code, static_cast<double>(labels.size()));
  }
  return labels;
}

/// Cells as a person sees them: "1.5 F ." with a point for a missing one.
inline std::string ShownCells(const DataTable& table, int variable) {
  std::string shown;
  for (double cell : Cells(table, variable)) {
    const std::string text = ValueAsText(table, variable, cell);
    shown += (shown.empty() ? "" : " ") + (text.empty() ? std::string(".") : text);
  }
  return shown;
}

}  // namespace qrvml
