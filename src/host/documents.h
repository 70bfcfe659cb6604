// What the module produces, as plain values: titles, headings, numbers with texts and marks. The
// host renders them; nothing here knows a screen, a file format or a colour.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace qrvml {

/// The module's marker for a missing prediction, residual, confidence or prototype output.
inline constexpr double kMissingOutput = -9999.0;

/// How the numbers of a column are shown. A renderer never changes the number itself.
enum class NumberFormat : std::uint8_t {
  general,  // significant digits as needed
  count,    // no decimals
};

/// One column of a spreadsheet. An empty cell is a not-a-number.
struct SpreadsheetColumn {
  std::string first;                  // heading
  std::string second;                 // second heading line, may be empty
  NumberFormat format = NumberFormat::general;
  std::vector<double> values;         // one per row
  std::vector<std::string> texts;     // empty, or one per row: shown instead of the number
  std::vector<std::uint8_t> marks;    // empty, or one per row: 1 draws the cell as a warning
};

inline constexpr double kEmptyCell = std::numeric_limits<double>::quiet_NaN();

/// A table with named rows, columnar inside: every column has rowNames.size() values.
struct Spreadsheet {
  std::string title;
  std::vector<std::string> header;    // lines below the title
  std::string rowTitle;               // corner label above the row names
  std::string rowTitleSecond;         // its second line
  std::vector<std::string> rowNames;
  std::vector<SpreadsheetColumn> columns;
};

}  // namespace qrvml
