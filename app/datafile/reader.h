// Reads a data file of whatever format: the format is found by content, then by extension.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/data_table.h"
#include "datafile/file_error.h"
#include "datafile/text_encoding.h"

namespace qrvml {

class ReadWatch;

/// What the user fixed; the rest is found in the file.
struct ReadOptions {
  std::optional<char> delimiter = std::nullopt;
  std::optional<char> decimal = std::nullopt;  // '.' or ','
  std::optional<TextEncoding> encoding = std::nullopt;
  int threads = 0;             // 0: all cores
  std::size_t memory = 0;      // see CellStore
  ReadWatch* watch = nullptr;  // null: nobody watches
};

/// Reads the file at `path` into an empty table. False: `error` says why; the table is then void.
using ReadFunction = bool (*)(const std::string& path, const ReadOptions& options, DataTable& table,
                              FileError& error);

bool ReadDataFile(const std::string& path, const ReadOptions& options, DataTable& table,
                  FileError& error);

/// The name of a variable as a table keeps it: trimmed, an empty one becomes Var<number>.
std::string VariableName(std::string_view name, int number);
/// False when two names are equal; `error` names both columns.
bool NamesDiffer(const std::vector<std::string>& names, FileError& error);

}  // namespace qrvml
