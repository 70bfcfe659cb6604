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
  fixed6,   // six decimals
};

/// A text that is shown wherever a column holds a value.
struct CellLabel {
  double value;
  std::string text;     // not empty
  bool marked = false;  // the cell is drawn as a warning
};

/// One column of a spreadsheet. An empty cell is a not-a-number.
struct SpreadsheetColumn {
  std::string first;   // heading
  std::string second;  // second heading line, may be empty
  NumberFormat format = NumberFormat::general;
  std::vector<double> values;      // one per row
  std::vector<CellLabel> labels;   // ascending by value, each once; a table of a million rows
                                   // carries its categories here
  std::vector<std::string> texts;  // empty, or one per row: shown instead of the number where
                                   // not empty; goes before `labels`
};

inline constexpr double kEmptyCell = std::numeric_limits<double>::quiet_NaN();

/// A table with named rows, columnar inside: every column has Rows() values.
struct Spreadsheet {
  std::string title;
  std::vector<std::string> header;  // lines below the title
  std::string rowTitle;             // corner label above the row names
  std::string rowTitleSecond;       // its second line
  std::vector<std::string> rowNames;
  std::vector<std::int32_t> rowCases;  // instead of rowNames: 1-based case numbers of the open
                                       // file, whose labels (else numbers) name the rows
  std::vector<SpreadsheetColumn> columns;

  std::size_t Rows() const { return rowCases.empty() ? rowNames.size() : rowCases.size(); }
};

enum class GraphType : std::uint8_t {
  histogram,  // edges and counts
  scatter,    // series of points; with a fitted line where `fit` is set
  line,       // series of points in order of x
  surface,    // series of points in space: height z over x and y
};

/// An axis. step 0: the renderer chooses round steps.
struct GraphAxis {
  std::string title;
  double minimum = 0;
  double maximum = 0;
  double step = 0;
};

/// Points in order. A not-a-number coordinate leaves its point out.
struct GraphSeries {
  std::string name;                 // empty: no legend
  std::vector<double> x, y, z;      // z only in space
  std::vector<std::int32_t> cases;  // empty, or the case of each point, whose label goes with it
};

struct Graph {
  GraphType type = GraphType::scatter;
  std::string title;            // lines separated by line ends
  std::vector<GraphAxis> axes;  // x, y and, in space, z
  std::vector<GraphSeries> series;
  bool fit = false;           // scatter: draw the least-squares line of each series
  std::vector<double> edges;  // histogram: one more than counts, ascending
  std::vector<double> counts;
  std::vector<CellLabel> edgeLabels;  // histogram of categories: texts of category codes
};

/// A text document, e.g. generated code. `mode` is the host's kind of document.
struct TextDocument {
  int mode = 0;
  std::string title;
  std::string text;
};

}  // namespace qrvml
