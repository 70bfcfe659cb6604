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

TEST_F(NaiveBayes, DeploymentIsRefusedAndSaysSo) {
  const Outcome outcome =
      Run({"nb", Example("iris.csv"), "--variables", "|Species|1-4|", "--do", "CodeGeneratorPMML"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.err.find("not available in this version"), std::string::npos) << outcome.err;
}

}  // namespace
}  // namespace qrvml::testing
