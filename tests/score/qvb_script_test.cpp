// Generated QVB scripts, run as workflow nodes. What they predict of every kind of model is
// compared where they are verified.
#include <numeric>

#include "qvb/row_table.h"
#include "score/generated_model.h"

namespace qrvml::test {
namespace {

/// Columns as in the table's file.
RowTable TestCases(const PlainTable& table) {
  return RowTable({table.rows.begin() + table.prototypes, table.rows.end()});
}

NodeInput InputOf(const PlainTable& table, const RowTable& cases) {
  NodeInput input;
  input.table = &cases;
  int next = 1;
  const auto take = [&](int count) {
    std::vector<int> variables(std::size_t(count), 0);
    std::iota(variables.begin(), variables.end(), next);
    next += count;
    return variables;
  };
  input.continuousPredictors = take(table.continuousInputs);
  input.categoricalPredictors = take(table.categoricalInputs);
  input.continuousDependents = take(table.continuousDependents);
  input.categoricalDependents = take(table.categoricalDependents);
  return input;
}

TEST(QvbScript, ASheetHoldsThePredictionsAndThenTheLastResidual) {
  for (const Shape& shape : kShapes) {
    for (const bool weighted : {false, true}) {
      SCOPED_TRACE(std::string(shape.name) + (weighted ? ", weighted" : ""));
      const PlainTable table = PrintedTable(shape, 500, SixDigits);
      KnnAnalysis knn(table, {.weighted = weighted, .k = 3});
      knn.Train();
      const RowTable cases = TestCases(table);
      const NodeOutput output = RunNodeScript(
          "model.qvb", GeneratedTexts(knn, "CodeGeneratorQVB").at(0), InputOf(table, cases), {});
      const auto& columns = output.sheet.columns;
      const auto last = std::size_t(table.Dependents());
      ASSERT_GE(columns.size(), last + 1);
      for (int t = 0; t < table.Tests(); ++t) {
        knn.PredictTest(t);
        for (std::size_t d = 0; d < last; ++d)
          EXPECT_TRUE(IsClose(knn.engine().predictions[d], columns[d][std::size_t(t)])) << t;
        const double observed = cases.Value(t + 1, table.Inputs() + table.Dependents());
        const double predicted = columns[last - 1][std::size_t(t)];
        EXPECT_EQ(columns[last][std::size_t(t)], table.categoricalDependents > 0
                                                     ? (observed == predicted ? 0.0 : 1.0)
                                                     : observed - predicted);
      }
    }
  }
}

TEST(QvbScript, HoldsAHundredAndFiftyClassesLargeCodesAndManyPrototypes) {
  PlainTable table{1, 0, 0, 1, {}, 40000, {}};
  for (int r = 0; r <= 40000; ++r)
    table.rows.push_back({double(r), double(r % 150 == 149 ? 2147483647 : 1000000 + r % 150)});
  KnnAnalysis knn(table, {});
  knn.Train();
  const RowTable cases = TestCases(table);
  const NodeOutput output = RunNodeScript(
      "model.qvb", GeneratedTexts(knn, "CodeGeneratorQVB").at(0), InputOf(table, cases), {});
  EXPECT_EQ(output.sheet.columns.at(0), (std::vector<double>{1000099}));  // the last prototype's
  EXPECT_EQ(output.sheet.columns.at(1), (std::vector<double>{1}));
}

}  // namespace
}  // namespace qrvml::test
