// Documents as numbered files of one folder, written whole or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "documents/workbook.h"

namespace qrvml {

/// A file format for documents.
struct DocumentFormat {
  std::string_view name;  // also the file's extension
  std::string (*render)(const Document&, const CaseNamer&);
};

/// Reads "txt,json"; false with `error` naming an unknown format and those that exist.
bool ReadFormats(std::string_view text, std::vector<const DocumentFormat*>& formats,
                 std::string& error);

/// A title as part of a file name: small ASCII letters and digits, accents dropped, everything else
/// one hyphen; at most 60 characters, "document" when nothing is left.
std::string Slug(std::string_view title);

/// Writes `text` to a temporary file beside `target` and renames it, so that the target is the old
/// or the new file and never part of one.
bool WriteFileWhole(const std::filesystem::path& target, std::string_view text, std::string& error);

class DocumentFiles {
 public:
  DocumentFiles(std::filesystem::path folder, std::vector<const DocumentFormat*> formats)
      : folder_(std::move(folder)), formats_(std::move(formats)) {}

  /// Whether the folder can be written or made; nothing is written. False: `error` says why not.
  bool Check(std::string& error) const;
  /// Writes the documents that were added or replaced since the last call, 001-results.txt and so
  /// on; makes the folder.
  bool Write(const Workbook& workbook, std::string& error);
  /// Tells that a document must be written (again).
  void Touch(std::size_t position);
  /// Writes one more file, e.g. documents.json.
  bool WriteText(std::string_view fileName, std::string_view text, std::string& error) const;

 private:
  std::filesystem::path folder_;
  std::vector<const DocumentFormat*> formats_;
  std::vector<std::size_t> touched_;  // positions, ascending
};

}  // namespace qrvml
