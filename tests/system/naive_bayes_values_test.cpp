// Naive Bayes through the shell, against figures of other arithmetic.
#include "system/program.h"

namespace qrvml::testing {
namespace {

class NaiveBayes : public ProgramTest {};

// Priors 1/3, normal densities with the classes' means and standard deviations (n - 1), summed as
// logarithms and normalised; computed with R 4.2's dnorm.
TEST_F(NaiveBayes, ConfidencesOnTheIrisesAreThoseOfNormalDensities) {
  const auto run =
      RunToJson({"nb", Example("iris.csv"), "--variables", "|Species|1-4|", "--ApplySampling=0",
                 "--do", "DescriptiveStat,IncludeConfidence=1,PrintPredictions"});
  const auto confusion = Titled(run, "Matrice de confusion Species (Apprentissage)");
  EXPECT_EQ(Cell(confusion, "setosa", "setosa")["value"], 50);
  EXPECT_EQ(Cell(confusion, "versicolor", "versicolor")["value"], 47);
  EXPECT_EQ(Cell(confusion, "versicolor", "virginica")["value"], 3);
  EXPECT_EQ(Cell(confusion, "virginica", "virginica")["value"], 47);

  const auto predictions = Titled(run, "Prévisions et résidus");
  const struct {
    const char* row;
    const char* predicted;
    double versicolor, virginica;
  } kCases[] = {{"71", "virginica", 0.1609360525, 0.8390639475179},
                {"72", "versicolor", 0.9997743302, 0.0002256697981},
                {"73", "versicolor", 0.9245812403, 0.0754187597411}};
  for (const auto& expected : kCases) {
    EXPECT_EQ(Cell(predictions, expected.row, "Species")["text"], expected.predicted);
    EXPECT_NEAR(Cell(predictions, expected.row, "versicolor")["value"].get<double>(),
                expected.versicolor, 1e-9);
    EXPECT_NEAR(Cell(predictions, expected.row, "virginica")["value"].get<double>(),
                expected.virginica, 1e-12);
  }
}

// The predicted classes per species are those of R's densities, as above.
TEST_F(NaiveBayes, TheGeneratedProgramClassifiesTheIrisesAsNormalDensitiesDo) {
  const std::string folder = Out().string();
  const Outcome made = Run({"nb", Example("iris.csv"), "--variables", "|Species|1-4|",
                            "--ApplySampling=0", "--do", "CodeGeneratorCLang", "--out", folder});
  ASSERT_EQ(made.code, 0) << made.err;
  const Outcome scored =
      Run({"score", "--c", folder + "/001-naive-bayes-c-c-deployment-code.c", Example("iris.csv")});
  ASSERT_EQ(scored.code, 0) << scored.err;
  const auto count = [&](const char* predicted, const char* observed) {
    const std::string cells = std::string(",") + predicted + "," + observed + ",";
    int cases = 0;
    for (std::size_t at = 0; (at = scored.out.find(cells, at)) != std::string::npos; ++at) ++cases;
    return cases;
  };
  EXPECT_EQ(count("setosa", "setosa"), 50);
  EXPECT_EQ(count("versicolor", "versicolor"), 47);
  EXPECT_EQ(count("virginica", "versicolor"), 3);
  EXPECT_EQ(count("versicolor", "virginica"), 3);
  EXPECT_EQ(count("virginica", "virginica"), 47);
}

}  // namespace
}  // namespace qrvml::testing
