// Spreadsheets as CSV (RFC 4180, UTF-8, comma, CR LF).
#pragma once

#include <ostream>

#include "documents/cells.h"

namespace qrvml {

/// One heading record (corner, then each column's two heading lines joined by a blank) and one
/// record a row, its name first. Title and header lines are left out, so that the file is one
/// table.
/// - A number has all its digits and no other decoration; an empty cell is empty.
/// - A cell with a text or label has that text.
/// - A text that a spreadsheet program would take for a formula (first character = + - @, a tab or
///   a line end) gets an apostrophe before it. Numbers never do.
/// The memory used does not grow with the rows. Failure shows in the stream's state.
void WriteCsv(std::ostream& out, const Spreadsheet& sheet, const CaseNamer& caseName);

}  // namespace qrvml
