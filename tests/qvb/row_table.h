// The data of a workflow node, written in a test.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "qvb/node_objects.h"

namespace qrvml::test {

/// Rows of numbers with their names.
class RowTable final : public NodeTable {
 public:
  explicit RowTable(std::vector<std::vector<double>> cells) : rows(std::move(cells)) {}
  int Cases() const override { return static_cast<int>(rows.size()); }
  int Variables() const override { return static_cast<int>(rows[0].size()); }
  double Value(int row, int column) const override { return rows.at(row - 1).at(column - 1); }
  std::string CaseName(int row) const override { return "case " + std::to_string(row); }
  std::string VariableName(int column) const override { return "V" + std::to_string(column); }

  std::vector<std::vector<double>> rows;
};

}  // namespace qrvml::test
