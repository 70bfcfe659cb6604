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

struct GeneratedText {
  const char* request;
  const char* kind;
  const char* ending;
};
constexpr GeneratedText kTexts[] = {{"CodeGeneratorCLang", "--c", ".c"},
                                    {"CodeGeneratorQVB", "--qvb", ".qvb"},
                                    {"CodeGeneratorPMML", "--pmml", ".pmml"}};

class NaiveBayesTexts : public ProgramTest {
 protected:
  /// What `score` prints of the text made from a file and applied to it.
  std::string Scored(const GeneratedText& text, const std::string& data, const char* variables) {
    const auto folder = Out() / text.request;
    const Outcome made = Run({"nb", data, "--variables", variables, "--ApplySampling=0", "--do",
                              text.request, "--out", folder.string()});
    EXPECT_EQ(made.code, 0) << made.err;
    std::string path;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
      if (entry.path().extension() == text.ending) path = entry.path().string();
    const Outcome scored = Run({"score", text.kind, path, data});
    EXPECT_EQ(scored.code, 0) << scored.err;
    EXPECT_EQ(scored.err.find("warning"), std::string::npos) << scored.err;
    return scored.out;
  }
  static int Count(const std::string& lines, const std::string& part) {
    int count = 0;
    for (std::size_t at = 0; (at = lines.find(part, at)) != lines.npos; ++at) ++count;
    return count;
  }
};

// The predicted classes per species are those of R's densities, as above.
TEST_F(NaiveBayesTexts, ClassifyTheIrisesAsNormalDensitiesDo) {
  for (const GeneratedText& text : kTexts) {
    SCOPED_TRACE(text.kind);
    const std::string lines = Scored(text, Example("iris.csv"), "|Species|1-4|");
    EXPECT_EQ(Count(lines, ",setosa,setosa,"), 50);
    EXPECT_EQ(Count(lines, ",versicolor,versicolor,"), 47);
    EXPECT_EQ(Count(lines, ",virginica,versicolor,"), 3);
    EXPECT_EQ(Count(lines, ",versicolor,virginica,"), 3);
    EXPECT_EQ(Count(lines, ",virginica,virginica,"), 47);
  }
}

// All of class a have x = 5; of the others none has.
TEST_F(NaiveBayesTexts, RecogniseAClassOfEqualValuesByThem) {
  const std::string data = Write("equal.csv", "c,x\na,5\nb,1\na,5\nb,9\na,5\nb,2\nb,7\nb,4\n");
  for (const GeneratedText& text : kTexts) {
    SCOPED_TRACE(text.kind);
    const std::string lines = Scored(text, data, "|c|x|");
    EXPECT_EQ(Count(lines, ",a,a,0"), 3);
    EXPECT_EQ(Count(lines, ",b,b,0"), 5);
  }
}

}  // namespace
}  // namespace qrvml::testing
