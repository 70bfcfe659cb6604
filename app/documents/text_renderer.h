// Documents as text for a terminal or a plain file.
#pragma once

#include <ostream>
#include <string>

#include "documents/workbook.h"

namespace qrvml {

/// A document as lines, each ended by a line feed. A spreadsheet shows its title, its header lines,
/// a heading of up to two lines, a rule and the rows; numbers stand at the right, columns are
/// aligned by what they take on a terminal, a marked cell carries " *". A graph is drawn with
/// characters (graph_text.h); a text document is its own text, byte for byte.
/// The memory used does not grow with the rows. Failure shows in the stream's state.
void WriteDocumentText(std::ostream& out, const Document& document, const CaseNamer& caseName);

/// A number as a cell shows it: general with up to 6 significant digits and whole numbers in full;
/// a count without decimals; fixed6 with six; empty for an empty cell.
std::string CellNumber(double value, NumberFormat format);

}  // namespace qrvml
