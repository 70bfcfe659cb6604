// Support vectors through the shell: the predictions that it shows, computed again from the model
// that it shows.
#include <cmath>

#include "system/program.h"

namespace qrvml::testing {
namespace {

using Numbers = std::vector<double>;

class SupportVectors : public ProgramTest {};

/// The cells of a row from column `first` on.
Numbers CellsOf(const nlohmann::json& row, std::size_t first, std::size_t count) {
  Numbers values;
  for (std::size_t c = first; c < first + count; ++c)
    values.push_back(row["cells"][c]["value"].get<double>());
  return values;
}

/// The decision value of inputs under a radial kernel, from the two tables of the model.
double Decision(const nlohmann::json& vectors, const nlohmann::json& constants, double gamma,
                const Numbers& inputs) {
  double sum = -constants["rows"][0]["cells"][0]["value"].get<double>();
  for (const auto& row : vectors["rows"]) {
    const Numbers vector = CellsOf(row, 1, inputs.size());
    double distance = 0;
    for (std::size_t i = 0; i < inputs.size(); ++i)
      distance += (inputs[i] - vector[i]) * (inputs[i] - vector[i]);
    sum += row["cells"][0]["value"].get<double>() * std::exp(-gamma * distance);
  }
  return sum;
}

constexpr const char* kVectors = "SVM model specifications (coefficients and support vectors), ";
constexpr const char* kConstants = "SVM model specifications (decision constannts), ";
constexpr const char* kSteps =
    "Model,DescriptiveStat,IncludeInputs=1,IncludeOutputs=1,PrintPredictions";

TEST_F(SupportVectors, PredictValuesByTheModelThatTheyShow) {
  const auto run =
      RunToJson({"svm", Example("airquality.csv"), "--seed-for-random-sampling", "7", "--variables",
                 "Ozone||Solar.R Wind Temp|", "--Gam", "0.001", "--do", kSteps});
  const auto vectors = Titled(run, kVectors), constants = Titled(run, kConstants);
  const auto predictions = Titled(run, "Prévisions et résidus, Ozone (Test)");
  ASSERT_GT(predictions["rows"].size(), 15u);
  double squares = 0;
  for (const auto& row : predictions["rows"]) {
    const Numbers cells = CellsOf(row, 0, 6);
    EXPECT_NEAR(cells[4], Decision(vectors, constants, 0.001, {cells[0], cells[1], cells[2]}),
                1e-9);
    EXPECT_EQ(cells[5], cells[3] - cells[4]);
    squares += cells[5] * cells[5];
  }
  const auto summary = Titled(run, "Regression summary, Ozone (Test)");
  EXPECT_NEAR(Cell(summary, "Sum of squared error", "Ozone")["value"].get<double>(),
              squares / double(predictions["rows"].size()), 1e-9);
}

TEST_F(SupportVectors, PredictClassesByTheModelThatTheyShow) {
  const auto run = RunToJson({"svm", Example("pima.csv"), "--seed-for-random-sampling", "7",
                              "--variables", "|type|glu bmi|", "--Gam", "0.01", "--do", kSteps});
  const auto vectors = Titled(run, kVectors), constants = Titled(run, kConstants);
  const auto predictions = Titled(run, "Prévisions et résidus, type (Test)");
  int counts[2][2] = {};  // observed, predicted; code 1 is "No"
  for (const auto& row : predictions["rows"]) {
    const Numbers cells = CellsOf(row, 0, 5);
    counts[int(cells[2]) - 1][int(cells[3]) - 1]++;
    // The file's first training case has the class of positive coefficients: "No" here.
    const bool isNo = Decision(vectors, constants, 0.01, {cells[0], cells[1]}) > 0;
    EXPECT_EQ(cells[3], isNo ? 1 : 2);
    EXPECT_EQ(row["cells"][4].value("text", ""), cells[2] == cells[3] ? "Correct" : "Incorrect");
  }
  const auto matrix = Titled(run, "Matrice de confusion type (Test)");
  EXPECT_EQ(Cell(matrix, "Yes", "No")["value"], counts[0][1]);
  EXPECT_EQ(Cell(matrix, "No", "Yes")["value"], counts[1][0]);
  EXPECT_GT(counts[0][1] + counts[1][0], 0);
}

}  // namespace
}  // namespace qrvml::testing
