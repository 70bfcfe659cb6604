// Saves a data file, whole or not at all.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "datafile/file_error.h"
#include "datafile/format_writer.h"
#include "datafile/whole_file.h"

namespace qrvml {

struct SaveFormat;  // a row of the table of formats

class DataFileWriter {
 public:
  DataFileWriter() = default;
  DataFileWriter(const DataFileWriter&) = delete;
  DataFileWriter& operator=(const DataFileWriter&) = delete;
  ~DataFileWriter();

  /// Begins a file whose format follows from its extension: .qrv, .parquet, .csv, .sav or .xlsx in
  /// upper or lower case. The variables' names are unique. An existing file is refused unless
  /// `overwrite`. Every false result of this class: `error` says why; the target is as it was and
  /// nothing is left beside it.
  bool Begin(const std::string& path, bool overwrite, std::vector<SavedVariable> variables,
             FileError& error);
  /// A row's cells; one that holds its variable's missing-data code or a NaN is missing.
  bool Append(std::span<const double> row, FileError& error);
  /// Puts the complete file in its place.
  bool Finish(FileError& error);
  /// Leaves everything as it was before Begin; so does the destructor.
  void Abandon();

  /// What the saved file does not hold or holds otherwise, as sentences without a full stop; after
  /// Finish.
  std::vector<std::string> Warnings() const;

 private:
  bool Fail(FileError& error, const std::string& what, const std::string& reason);

  std::string path_;
  WholeFile file_;
  std::vector<SavedVariable> variables_;
  std::vector<double> row_;
  const SaveFormat* format_ = nullptr;
  std::unique_ptr<FormatWriter> writer_;
  std::vector<std::string> changes_;
};

/// Whether the extension of a name tells a format that can be saved.
bool HasSaveFormat(const std::string& path);
/// The extensions of those formats, listed for a sentence.
std::string SavedExtensions();

/// Whether the texts of a variable's labels can stand for its codes: it has some, none is empty and
/// no two are alike.
bool LabelsStandForCodes(const Variable& about);

}  // namespace qrvml
