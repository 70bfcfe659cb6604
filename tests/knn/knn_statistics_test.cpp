// Statistics of the test sample with case weights, and where they are no numbers.
#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

TEST(KnnStatistics, ACaseWeightRepeatsTheCaseAmongPrototypesAndTests) {
  for (const Shape& shape : {kShapes[1], kShapes[3]}) {
    SCOPED_TRACE(shape.name);
    const PlainTable table = RandomTable(shape, 20, 10, 11);
    const PlainSettings settings{.weighted = true, .standardized = true, .k = 5};
    TableFile file = FileOf(table);
    file.weighted = true;
    PlainTable repeated = table;
    repeated.rows.clear();
    repeated.prototypes = 0;
    for (std::size_t i = 0; i < file.cases.size(); ++i) {
      const double weights[] = {1, 2.4, 0, 2.5, 1};  // 1, 2, no, 3 times
      const int times[] = {1, 2, 0, 3, 1};
      file.cases[i].weight = weights[i % 5];
      for (int copy = 0; copy < times[i % 5]; ++copy) {
        repeated.rows.push_back(table.rows[i]);
        repeated.prototypes += int(i) < table.prototypes;
      }
    }
    PlainKnn plain(repeated, settings);
    KnnAnalysis knn(
        file, VariablesOf(table), table.prototypes,
        {{"UseWeightedAverage", 1}, {"StandardizeDistances", 1}, {"KNearestNeighbors", 5}});
    knn.Train();
    EXPECT_EQ(knn.data().StoredRows(Sample::training), repeated.prototypes);
    EXPECT_TRUE(knn.HasStatistics(plain.Statistics()));
  }
}

TEST(KnnStatistics, ValuesThatOverflowAreRefusedAndTheDialogStaysOpen) {
  KnnAnalysis knn(TableFile("x y", {"0 10", "10 20", "0 1e200", "10 5"}), "y | | x |", 2);
  EXPECT_FALSE(knn.OK().Succeeded());
  EXPECT_EQ(knn.host.messages, std::vector<Message>{Of(155)});
  EXPECT_TRUE(knn.IsOpen());
  EXPECT_TRUE(knn.engine().predictions.empty()) << "the arrays of the run are let go";
}

}  // namespace
}  // namespace qrvml::test
