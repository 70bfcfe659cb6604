// What a cell and a row of a spreadsheet show, wherever their texts are kept.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>

#include "host/documents.h"

namespace qrvml {

struct CellView {
  double value = kEmptyCell;
  std::string_view text;  // shown instead of the number where not empty
  bool marked = false;    // a text that is drawn as a warning
};

inline CellView CellAt(const SpreadsheetColumn& column, std::size_t row) {
  CellView cell{column.values[row], {}, false};
  if (!column.texts.empty() && !column.texts[row].empty()) {
    cell.text = column.texts[row];
    return cell;
  }
  const auto label = std::ranges::lower_bound(column.labels, cell.value, {}, &CellLabel::value);
  if (label != column.labels.end() && label->value == cell.value) {
    cell.text = label->text;
    cell.marked = label->marked;
  }
  return cell;
}

/// The name of a case of the open file; empty when it has none.
using CaseNamer = std::function<std::string(int caseNumber)>;

/// The name of a case without surrounding blanks, else its number.
std::string CaseName(int caseNumber, const CaseNamer& caseName);

/// A row's name; rows that stand for cases are named by them.
inline std::string RowName(const Spreadsheet& sheet, std::size_t row, const CaseNamer& caseName) {
  return sheet.rowCases.empty() ? sheet.rowNames[row] : CaseName(sheet.rowCases[row], caseName);
}

}  // namespace qrvml
