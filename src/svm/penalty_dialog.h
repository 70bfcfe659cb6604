// The modal dialog that asks for the penalty of each class of the dependent: a table with the
// class's name, its count in the training sample and a penalty cell.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/category_table.h"
#include "host/analysis_dialog.h"

namespace qrvml {

class PenaltyDialog final : public CAnalysisDialog {
 public:
  static constexpr int kTemplate = 3765;

  /// `classes` in text order. `penalties`: what the cells begin with; empty: 1 for each class.
  PenaltyDialog(CAnalysisSupport& analysis, std::span<const CategoryTable::Class> classes,
                std::span<const double> penalties);

  std::string_view InterfaceName() const override { return "MachineLearningPenaltySelection"; }
  std::string_view Title() const override { return "Pénalité"; }
  static std::span<const Control> Table();
  std::span<const Control> Controls() const override { return Table(); }
  /// False, after message 125: a cell holds no penalty.
  bool OnOK() override;
  bool OnCancel() override { return true; }

  /// The table: a line of headings, then a line for each class; cells are separated by tabs.
  std::string TableText() const;
  /// All penalties, each followed by one blank.
  std::string ListText() const;
  /// Fills the cells from such a text. False, with the reason: a class has no penalty there.
  bool TakeList(std::string_view text);
  /// A person edits the cell of a row and column, both from 1. False, and the hint says so (text
  /// 317): that cell holds no penalty.
  bool EditCell(std::size_t row, std::size_t column, std::string_view text);
  /// The same from a text of row, column and penalty.
  bool EditCell(std::string_view text);
  /// The string-table number of the hint below the table.
  int hint() const { return hint_; }

  /// As they were read by OK, in class order.
  const std::vector<double>& penalties() const { return penalties_; }

 private:
  std::vector<CategoryTable::Class> classes_;
  std::vector<std::string> cells_;
  std::vector<double> penalties_;
  int hint_ = 316;  // what can be edited; 317 after a try at another cell
};

}  // namespace qrvml
