// The cells of one sheet of a workbook that hold something, as they stand in the file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/data_table.h"
#include "datafile/text_set.h"
#include "datafile/xlsx_package.h"

namespace pugi {
class xml_node;  // NOLINT(readability-identifier-naming): a library's name
}

namespace qrvml {

struct SheetCell {
  std::uint32_t column = 0;  // from 0
  std::uint32_t text = 0;    // a text by its number from 1; 0: the cell is a number
  double number = 0;         // dates are days since 1899-12-30
  DisplayFormat format = DisplayFormat::number;
};

/// A row with at least one cell.
struct SheetRow {
  std::int64_t number;     // from 1
  std::size_t first, end;  // its cells
};

/// What was passed over in a column.
struct SheetColumn {
  std::size_t errors = 0;
  std::string firstError;
  std::size_t unknown = 0;  // formulas without a result
};

/// What all sheets of a workbook share.
struct WorkbookParts {
  std::vector<std::uint32_t> sharedTexts;  // numbers in `texts`
  std::vector<DisplayFormat> formats;      // of cell styles
  bool from1904 = false;                   // days are counted from 1904-01-01
  TextSet texts;
  TextArena arena;

  /// The number of a text.
  std::uint32_t AddText(std::string_view text);
};

/// Reads the shared texts. Throws ReadFailure.
void ReadSharedTexts(XlsxPackage& package, const std::string& part, WorkbookParts& workbook);

class Sheet {
 public:
  /// Throws ReadFailure.
  void Read(XlsxPackage& package, const std::string& part, WorkbookParts& workbook);

  const std::vector<SheetRow>& Rows() const { return rows_; }
  const SheetCell& Cell(std::size_t index) const { return cells_[index]; }
  /// By column; as long as the last column with a value needs.
  const std::vector<SheetColumn>& Columns() const { return columns_; }

 private:
  void AddRow(std::string_view element, WorkbookParts& workbook);
  void AddCell(const pugi::xml_node& node, std::uint32_t column, WorkbookParts& workbook);

  std::vector<SheetRow> rows_;
  std::vector<SheetCell> cells_;
  std::vector<SheetColumn> columns_;
};

/// Whether a sheet has any cell with a value. Throws ReadFailure.
bool HasValues(XlsxPackage& package, const std::string& part);

}  // namespace qrvml
