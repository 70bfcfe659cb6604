// A generated script as a model that is applied: what it says of its variables, and how it fails.
#include "score/generated_model.h"
#include "score/qvb_script.h"

namespace qrvml::test {
namespace {

class QvbModel : public ::testing::Test {
 protected:
  QvbModel() : knn_(File(), "| c | x | u", 3, {{"CityBlock", 1}}) {
    knn_.Train();
    script_ = GeneratedTexts(knn_, "CodeGeneratorQVB").at(0);
  }
  static TableFile File() {
    TableFile file("c x u", {"1 1 4", "2 5 9", "1 9 4", "2 2 9"});
    file.variables[0].labels = {{1, "oui"}, {2, "non"}};
    file.variables[2].labels = {{4, "A & B"}};
    return file;
  }
  std::unique_ptr<QvbScript> Read(const std::string& text, ScriptLimits limits = {}) {
    error_.clear();
    return QvbScript::Read("model.qvb", text, knn_.file, limits, error_);
  }
  KnnAnalysis knn_;
  std::string script_, error_;
};

TEST_F(QvbModel, TakesNamesAndTextsOfItsNumbersAndCodesFromTheData) {
  const auto model = Read(script_);
  ASSERT_NE(model, nullptr) << error_;
  ASSERT_EQ(model->inputs.size(), 2u);
  EXPECT_EQ(model->inputs[0].name, "x");
  EXPECT_FALSE(model->inputs[0].isCategorical);
  EXPECT_EQ(model->inputs[1].name, "u");
  ASSERT_EQ(model->inputs[1].categories.size(), 2u);
  EXPECT_EQ(model->inputs[1].FindCode(4)->text, "A & B");
  EXPECT_EQ(model->inputs[1].FindCode(9)->text, "9");
  EXPECT_EQ(model->dependents.at(0).name, "c");
  EXPECT_EQ(model->dependents[0].categories.at(0).text, "non") << "text order";
}

TEST_F(QvbModel, PredictsCasesTogetherAsOneByOne) {
  const auto model = Read(script_);
  ASSERT_NE(model, nullptr) << error_;
  const std::vector<double> cases = {1, 4, 5.2, 9, 8, 4, 4, 9};
  std::vector<double> together(4);
  ASSERT_EQ(model->PredictBatch(cases, together, error_), 4u) << error_;
  EXPECT_EQ(together, (std::vector<double>{1, 2, 1, 2}));
  for (std::size_t c = 0; c < 4; ++c) {
    double alone = 0;
    ASSERT_TRUE(model->Predict(std::span(cases).subspan(c * 2, 2), {&alone, 1}, error_));
    EXPECT_EQ(alone, together[c]);
  }
}

TEST_F(QvbModel, AScriptThatDoesNotSayItsVariablesIsRefused) {
  const struct {
    const char *from, *to, *told;
  } rows[] = {
      {"InputIndex(2)=3\n", "", "it does not say InputIndex(2)"},
      {"InputIndex(2)=3\n", "InputIndex(2)=4\n",
       "InputIndex(2) is 4, which is not between 1 and 3"},
      {"NoCatInputs=1\n", "NoCatInputs=-1\n", "NoCatInputs is -1"},
      {"OutputNominals(1, 2)=1\n", "OutputNominals(1, 2)=x\n", "OutputNominals(1, 2)"},
      {"NoContOutputs=0\n", "NoContOutputs=1\nOutputIndex(2)=1\n", "values and categories"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Read(Replaced(script_, row.from, row.to)), nullptr) << row.told;
    EXPECT_NE(error_.find(row.told), std::string::npos) << error_;
  }
}

TEST_F(QvbModel, AFaultIsToldWithItsLineAndALimitEndsIt) {
  const double values[] = {1, 4};
  double predicted = 0;
  const std::string faulty = Replaced(script_, "\tNorm=0\n", "\tNorm=1 / (Norm - Norm)\n");
  const std::size_t line =
      std::size_t(
          std::count(faulty.begin(), faulty.begin() + std::ptrdiff_t(faulty.find("1 / (")), '\n')) +
      1;
  auto model = Read(faulty);
  ASSERT_NE(model, nullptr) << error_;
  EXPECT_FALSE(model->Predict(values, {&predicted, 1}, error_));
  EXPECT_TRUE(error_.starts_with("line " + std::to_string(line) + ": ")) << error_;

  ScriptLimits limits;
  limits.steps = 50;
  model = Read(script_, limits);
  ASSERT_NE(model, nullptr) << error_;
  EXPECT_FALSE(model->Predict(values, {&predicted, 1}, error_));
  EXPECT_TRUE(error_.starts_with("line ")) << error_;
}

}  // namespace
}  // namespace qrvml::test
