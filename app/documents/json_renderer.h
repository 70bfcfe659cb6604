// Documents and reports of a run as JSON. The memory used does not grow with the rows.
#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "documents/workbook.h"

namespace qrvml {

/// A named number or text.
using NamedValue = std::pair<std::string, std::variant<double, std::string>>;

struct ReportedMessage {
  int number = 0;
  std::string text;
  std::string step;
};

/// What is told of a run besides its documents.
struct RunReport {
  std::vector<NamedValue> analysis;    // kind, file, cases, ...
  std::vector<NamedValue> properties;  // every readable property after the run
  std::vector<ReportedMessage> messages;
};

/// One document: an object. An empty cell's value is null, the marker -9999 stays a number.
/// Failure shows in the stream's state.
void WriteDocumentJson(std::ostream& out, const Document& document, const CaseNamer& caseName);

/// The whole run: {"schema":1,"analysis":...,"properties":...,"messages":...,"documents":...}.
void WriteReportJson(std::ostream& out, const RunReport& report, const Workbook& workbook);

}  // namespace qrvml
