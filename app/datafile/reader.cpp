#include "datafile/reader.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <unordered_map>

#include "datafile/text_fields.h"
#include "datafile/text_reader.h"

namespace qrvml {

namespace {

using namespace std::string_view_literals;

/// A format known by its first bytes.
struct Format {
  std::string_view start;  // the first bytes
  std::string_view what;
  ReadFunction read;  // null: the format is known, but not read
};

constexpr Format kFormats[] = {
    {"PAR1\x15", "a Parquet file", nullptr},
    {"PK\x03\x04", "an Excel workbook or another ZIP archive", nullptr},
    {"\xD0\xCF\x11\xE0", "an old Excel workbook", nullptr},
    {"$FL2@(#)", "an SPSS file", nullptr},
    {"$FL3@(#)", "a compressed SPSS file", nullptr},
    {"<stata_dta>", "a Stata file", nullptr},
    {"HEADER RECORD*******LIBRARY", "a SAS transport file", nullptr},
    {"\0\0\0\0\0\0\0\0\0\0\0\0\xC2\xEA\x81\x60"sv, "a SAS file", nullptr},
    {"SQLite format 3\0"sv, "an SQLite database", nullptr},
    {"\x1F\x8B", "a compressed file (gzip)", nullptr},
    {"\xFF\xFE", "a text in UTF-16", nullptr},
    {"\xFE\xFF", "a text in UTF-16", nullptr},
};

bool Refuse(FileError& error, std::string what, std::string right) {
  error.what = std::move(what);
  error.right = std::move(right);
  return false;
}

}  // namespace

bool ReadDataFile(const std::string& path, const ReadOptions& options, DataTable& table,
                  FileError& error) {
  error = {};
  error.file = path;
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    const bool absent = errno == ENOENT;
    return Refuse(error, absent ? "there is no such file" : std::strerror(errno),
                  absent ? "Check the name and the folder" : "");
  }
  if (S_ISDIR(status.st_mode)) return Refuse(error, "this is a folder", "Name a file in it");
  if (!S_ISREG(status.st_mode)) {
    return Refuse(error, "this is not a regular file", "Save the data to a file first");
  }

  std::ifstream stream(path, std::ios::binary);
  if (!stream) {
    return Refuse(error, std::string("the file cannot be read: ") + std::strerror(errno),
                  "Check its permissions");
  }
  char bytes[64] = {};
  stream.read(bytes, sizeof bytes);
  const std::string_view start(bytes, static_cast<std::size_t>(stream.gcount()));
  stream.close();

  for (const Format& format : kFormats) {
    if (!start.starts_with(format.start)) continue;
    if (format.read) return format.read(path, options, table, error);
    return Refuse(error, "this is " + std::string(format.what) + ", which cannot be read",
                  "Save the data as delimited text (CSV) in UTF-8");
  }
  return ReadTextFile(path, options, table, error);
}

std::string VariableName(std::string_view name, int number) {
  name = TrimBlanks(name);
  return name.empty() ? "Var" + std::to_string(number) : std::string(name);
}

bool NamesDiffer(const std::vector<std::string>& names, FileError& error) {
  std::unordered_map<std::string_view, std::size_t> columns;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto [first, added] = columns.emplace(names[i], i + 1);
    if (added) continue;
    error.column = static_cast<std::int64_t>(i) + 1;
    return Refuse(error,
                  "columns " + std::to_string(first->second) + " and " + std::to_string(i + 1) +
                      " have the same name \"" + names[i] + "\"",
                  "Give every column a name of its own");
  }
  return true;
}

}  // namespace qrvml
