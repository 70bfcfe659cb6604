#include "qvb/node_objects.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "qvb/node_scripts.h"
#include "qvb/script_runner.h"

namespace qrvml::test {
namespace {

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

NodeInput InputOf(const RowTable& table) {
  NodeInput input;
  input.table = &table;
  input.continuousPredictors = {3, 4};
  input.categoricalPredictors = {5};
  input.continuousDependents = {1};
  input.categoricalDependents = {2};
  return input;
}

/// Columns: response, class, x1, x2, group.
RowTable Cases() {
  return RowTable({{2, 11, 1, 9, 1},
                   {-9999, 12, 2.2, 21, 2},
                   {3, -9999, 0, 14, 2},
                   {1, 13, 3.75, 20, 1},
                   {0, 12, 5, 5, 2},
                   {9, 11, -3, 25, 1}});
}

struct Expected {
  double mean;
  double classCode;
};

/// The same by plain arithmetic on the prototypes.
Expected Predicted(const std::vector<double>& row, int metric, bool weighted, int neighbours) {
  const auto& prototypes = NodePrototypes();
  const double scale[] = {0.25, 0.04};
  std::vector<double> distances;
  for (const auto& prototype : prototypes) {
    double distance = 0;
    for (int i = 0; i < 3; ++i) {
      const double step = i < 2 ? std::abs(scale[i] * (row[2 + i] - prototype[2 + i]))
                          : row[2 + i] == prototype[2 + i] ? 0.0
                                                           : 1.0;
      distance =
          metric == 3 ? std::max(distance, step) : distance + (metric == 2 ? step : step * step);
    }
    distances.push_back(metric == 0 ? std::sqrt(distance) : distance);
  }
  std::vector<std::size_t> order(prototypes.size());
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return distances[a] < distances[b]; });
  double sum = 0;
  double weights = 0;
  double votes[3] = {0, 0, 0};
  const double classes[] = {13, 11, 12};
  for (int k = 0; k < neighbours; ++k) {
    const double weight = weighted ? std::exp(-distances[order[k]]) : 1;
    sum += weight * prototypes[order[k]][0];
    weights += weight;
    for (int c = 0; c < 3; ++c) votes[c] += prototypes[order[k]][1] == classes[c] ? weight : 0;
  }
  return {sum / weights, classes[std::max_element(votes, votes + 3) - votes]};
}

TEST(NodeScript, PredictsWhatPlainArithmeticPredicts) {
  const RowTable table = Cases();
  for (int metric = 0; metric < 4; ++metric) {
    for (const bool weighted : {false, true}) {
      const NodeOutput output =
          RunNodeScript("knn.qvb", NodeScript(metric, weighted, 3), InputOf(table), {});
      ASSERT_EQ(output.sheet.cases, table.Cases());
      ASSERT_EQ(output.sheet.columns.size(), 4u) << "the sheet has grown";
      for (int row = 0; row < table.Cases(); ++row) {
        const Expected expected = Predicted(table.rows[row], metric, weighted, 3);
        const double observed = table.rows[row][0];
        EXPECT_NEAR(output.sheet.columns[0][row], expected.mean, 1e-12);
        EXPECT_NEAR(output.sheet.columns[1][row],
                    observed == -9999 ? -9999 : observed - expected.mean, 1e-12);
        EXPECT_EQ(output.sheet.columns[2][row], expected.classCode) << metric << weighted << row;
        const double wrong = table.rows[row][1] == -9999                ? -9999
                             : table.rows[row][1] == expected.classCode ? 0
                                                                        : 1;
        EXPECT_EQ(output.sheet.columns[3][row], wrong);
        EXPECT_EQ(output.sheet.caseNames.at(row + 1), "case " + std::to_string(row + 1));
      }
    }
  }
}

TEST(NodeScript, TellsWhatIsWrongWithItsInput) {
  const RowTable table = Cases();
  NodeInput input = InputOf(table);
  input.continuousPredictors = {3};
  try {
    RunNodeScript("knn.qvb", NodeScript(0, false, 3), input, {});
    ADD_FAILURE() << "no error";
  } catch (const ScriptError& error) {
    EXPECT_EQ(error.reason, "The input does not have as many continuous predictors as the model.");
  }
  input = InputOf(table);
  input.categoricalDependents.clear();
  try {
    RunNodeScript("knn.qvb", NodeScript(0, false, 3), input, {});
    ADD_FAILURE() << "no error";
  } catch (const ScriptError& error) {
    EXPECT_EQ(error.reason, "Subscript out of range: 1 is not in 1 To 0");
  }
  EXPECT_THROW(RunNodeScript("x", "Sub Other\nEnd Sub", input, {}), ScriptError);
}

std::string SheetError(const std::string& statements, const ScriptLimits& limits = {}) {
  const RowTable table = Cases();
  try {
    RunNodeScript("n.qvb",
                  "Sub SubsetNode(DataIn() As InputDescriptor, DataOut() As InputDescriptor)\n"
                  "ReDim DataOut(1)\nDim d As New Spreadsheet\n" +
                      statements +
                      "\nSet DataOut(0) = New InputDescriptor\nDataOut(0).DataSource = d\nEnd Sub",
                  InputOf(table), limits);
  } catch (const ScriptError& error) {
    return error.reason;
  }
  return "none";
}

TEST(NodeSheet, GrowsWhereItIsWrittenAndNotWhereItIsRead) {
  const RowTable table = Cases();
  const NodeOutput output =
      RunNodeScript("n.qvb",
                    "Sub SubsetNode(DataIn() As InputDescriptor, DataOut() As InputDescriptor)\n"
                    "ReDim DataOut(1 To 1)\nSet DataOut(1) = New InputDescriptor\nDim d As New "
                    "Spreadsheet\nd.Value(2, 3) = 1.5\n"
                    "d.SetSize(d.NumberOfCases + 1, 2)\nd.VariableName(2) = "
                    "DataIn(1).DataSource.VariableName(5) & \"é\"\n"
                    "DataOut(1).DataSource = d\nEnd Sub",
                    InputOf(table), {});
  EXPECT_EQ(output.sheet.cases, 3);
  EXPECT_EQ(output.sheet.columns,
            std::vector<std::vector<double>>(2, std::vector<double>(3, -9999)));
  EXPECT_EQ(output.sheet.variableNames.at(2), "V5é");

  EXPECT_EQ(SheetError("d.Value(1, 1) = 2"), "none");
  EXPECT_EQ(SheetError("x = d.Value(1, 1)"), "Subscript out of range: 1 is not in 1 To 0");
  EXPECT_EQ(SheetError("d.Value(0, 1) = 2"), "Subscript out of range: 0 is not in 1 To 2147483647");
  EXPECT_EQ(SheetError("DataIn(1).DataSource.Value(1, 1) = 2"),
            "Invalid property value: a data source cannot be written");
  EXPECT_EQ(SheetError("x = DataIn(1).DataSource.Value(7, 1)"),
            "Subscript out of range: 7 is not in 1 To 6");
  EXPECT_EQ(SheetError("DataIn(1).DataSource = 5"), "Type mismatch: expected a Spreadsheet");
  EXPECT_EQ(SheetError("d.SetSize(-1, 2)"),
            "Invalid procedure call or argument: a spreadsheet of -1 cases x 2");
  ScriptLimits limits;
  limits.bytes = 1000000;
  EXPECT_EQ(SheetError("d.Value(1000000, 1) = 2", limits),
            "The script needs more than its 1000000 bytes of memory");
  EXPECT_EQ(SheetError("d.SetSize(2000, 1)\nFor i = 1 To 2000\nd.CaseName(i) = Space(1000)\nNext",
                       limits),
            "The script needs more than its 1000000 bytes of memory");
  EXPECT_EQ(SheetError("Do\nMsgBox Space(1000)\nLoop", limits),
            "The script needs more than its 1000000 bytes of memory");
}

}  // namespace
}  // namespace qrvml::test
