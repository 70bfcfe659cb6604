// Documents as numbered files of one folder, written whole or not at all.
#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "documents/workbook.h"

namespace qrvml {

/// Writes a file; false with `error` saying why.
using FileWriter = std::function<bool(const std::filesystem::path& file, std::string& error)>;

/// A file format for documents.
struct DocumentFormat {
  std::string_view name;  // as asked for, and the file's extension
  bool (*holds)(const Document&);
  /// Writes one document; null: one file, results.xlsx, holds the documents of the whole run.
  bool (*write)(const Document&, const CaseNamer&, const std::filesystem::path& file,
                std::string& error);
};

/// "003-predictions.csv": number with three digits, slug of the title, extension of the format.
std::string DocumentFileName(std::size_t number, const Document& document,
                             const DocumentFormat& format);

/// Reads "txt,json"; a document that none of the formats holds is written as txt. False with
/// `error` naming an unknown format and those that exist.
bool ReadFormats(std::string_view text, std::vector<const DocumentFormat*>& formats,
                 std::string& error);

/// A title as part of a file name: small ASCII letters and digits, accents dropped, everything else
/// one hyphen; at most 60 characters, "document" when nothing is left.
std::string Slug(std::string_view title);

/// Writes a temporary file beside `target` and renames it, so that the target is the old or the new
/// file and never part of one.
bool WriteFileWhole(const std::filesystem::path& target, const FileWriter& write,
                    std::string& error);

class DocumentFiles {
 public:
  DocumentFiles(std::filesystem::path folder, std::vector<const DocumentFormat*> formats)
      : folder_(std::move(folder)), formats_(std::move(formats)) {}

  /// Whether the folder can be written or made and the formats can be had; nothing is written.
  /// False: `error` says why not.
  bool Check(std::string& error) const;
  /// Writes the documents that were added or replaced since the last call, 001-results.txt and so
  /// on; makes the folder.
  bool Write(const Workbook& workbook, std::string& error);
  /// Writes the files that hold the documents of the whole run, where their format is asked for.
  bool WriteRun(const Workbook& workbook, std::string& error) const;
  /// Tells that a document must be written (again).
  void Touch(std::size_t position);
  /// Writes one more file, e.g. documents.json; makes the folder where there are no documents.
  bool WriteExtra(std::string_view fileName, const std::function<void(std::ostream&)>& write,
                  std::string& error) const;

 private:
  bool MakeFolder(std::string& error) const;
  bool WriteDocument(const Workbook& workbook, std::size_t position, std::string& error) const;

  std::filesystem::path folder_;
  std::vector<const DocumentFormat*> formats_;
  std::vector<std::size_t> touched_;  // positions, ascending
};

}  // namespace qrvml
