// The documents of an analysis in the order in which they were made.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "documents/cells.h"
#include "host/documents.h"

namespace qrvml {

/// The text at the top of a results dialog.
struct ResultsText {
  std::vector<std::string> lines;
};

/// Everything that renders documents handles every alternative.
using Document = std::variant<ResultsText, Spreadsheet, Graph, TextDocument>;

class Workbook {
 public:
  /// A document stays where it is in memory when others are added.
  const std::deque<Document>& documents() const { return documents_; }
  /// The results text: always the first document; a later one takes its place.
  void PutResults(std::vector<std::string> lines);
  /// Puts a document behind the others.
  void Add(Document&& document);

  /// Names the cases that rows stand for; absent: their numbers name them.
  CaseNamer caseName;
  /// Called with the position of each document that was added or replaced.
  std::function<void(std::size_t)> onChange;

 private:
  std::deque<Document> documents_;
};

/// The document's title; "results" for a results text.
std::string_view DocumentTitle(const Document& document);

}  // namespace qrvml
