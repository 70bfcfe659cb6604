#include "datafile/reader.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unordered_map>

#include "datafile/database_reader.h"
#include "datafile/parquet_reader.h"
#include "datafile/statistics_reader.h"
#include "datafile/text_fields.h"
#include "datafile/text_reader.h"
#include "datafile/xlsx_reader.h"

namespace qrvml {

namespace {

using namespace std::string_view_literals;

/// A format known by some of its first bytes.
struct Format {
  std::size_t at;          // where they stand
  std::string_view bytes;  // the bytes
  std::string_view what;
  ReadFunction read;  // null: the format is known, but not read
};

constexpr Format kFormats[] = {
    {0, "PAR1\x15", "a Parquet file", ReadParquetFile},
    {8, "DUCK", "a database of DuckDB", ReadDatabaseFile},
    {0, "PK\x03\x04", "an Excel workbook", ReadXlsxFile},
    {0, "\xD0\xCF\x11\xE0", "an old or encrypted Excel workbook", nullptr},
    {0, "$FL2@(#)", "an SPSS file", ReadSavFile},
    {0, "$FL3@(#)", "a compressed SPSS file", ReadSavFile},
    {0, "ASCII SPSS PORT FILE", "a portable SPSS file", ReadPorFile},
    {40, "ASCII SPSS PORT FILE", "a portable SPSS file", ReadPorFile},
    {0, "<stata_dta>", "a Stata file", ReadDtaFile},
    {0, "HEADER RECORD*******LIB", "a SAS transport file", ReadXptFile},
    {0, "\0\0\0\0\0\0\0\0\0\0\0\0\xC2\xEA\x81\x60"sv, "a SAS file", ReadSasFile},
    {0, "SQLite format 3\0"sv, "an SQLite database", nullptr},
    {0, "\x1F\x8B", "a compressed file (gzip)", nullptr},
    {0, "\xFF\xFE", "a text in UTF-16", nullptr},
    {0, "\xFE\xFF", "a text in UTF-16", nullptr},
};

/// A format told by the file's name where the first bytes tell none.
struct Extension {
  std::string_view extension;  // small letters
  std::string_view what;
  ReadFunction read;  // null: such a file begins with bytes of kFormats
};

constexpr Extension kExtensions[] = {
    {".parquet", "a Parquet file", ReadParquetFile},
    {".qrv", "a data file of the workbench", nullptr},
    {".duckdb", "a database of DuckDB", nullptr},
    {".xlsx", "an Excel workbook", nullptr},
    {".xlsm", "an Excel workbook", nullptr},
    {".sav", "an SPSS file", nullptr},
    {".zsav", "a compressed SPSS file", nullptr},
    {".por", "a portable SPSS file", ReadPorFile},
    {".sas7bdat", "a SAS file", nullptr},
    {".xpt", "a SAS transport file", nullptr},
    {".dta", "a Stata file", ReadDtaFile},  // before its version 13 without a mark
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
  char bytes[128] = {};
  stream.read(bytes, sizeof bytes);
  const std::string_view start(bytes, static_cast<std::size_t>(stream.gcount()));
  stream.close();

  for (const Format& format : kFormats) {
    if (!start.substr(std::min(format.at, start.size())).starts_with(format.bytes)) continue;
    if (format.read) return format.read(path, options, table, error);
    return Refuse(error, "this is " + std::string(format.what) + ", which cannot be read",
                  "Save the data as delimited text (CSV) in UTF-8");
  }
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const Extension& known : kExtensions) {
    if (known.extension != extension) continue;
    if (known.read) return known.read(path, options, table, error);
    return Refuse(
        error, "this is not " + std::string(known.what) + ", though its name ends in " + extension,
        "Check where the file comes from, or give it the extension of its format");
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
