// Columns of spreadsheets in one line.
#pragma once

#include <utility>

#include "host/documents.h"

namespace qrvml {

inline SpreadsheetColumn Column(std::string first, std::string second, NumberFormat format,
                                std::vector<double> values, std::vector<CellLabel> labels = {},
                                std::vector<std::string> texts = {}) {
  SpreadsheetColumn column;
  column.first = std::move(first);
  column.second = std::move(second);
  column.format = format;
  column.values = std::move(values);
  column.labels = std::move(labels);
  column.texts = std::move(texts);
  return column;
}

}  // namespace qrvml
