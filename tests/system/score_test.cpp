// `qrvml score`: generated texts of the program applied by the program.
#include "system/program.h"

namespace qrvml {
namespace {

using testing::Content;

class Score : public testing::ProgramTest {
 protected:
  /// Trains and leaves the C program and the PMML documents in Out(). Gives their paths: C first.
  std::vector<std::string> Generate(const std::string& file, const std::string& variables,
                                    std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"knn", file, "--variables", variables, "--do",
                                     "CodeGeneratorCLang,CodeGeneratorPMML", "--format", "txt"});
    RunToJson(std::move(options));
    std::vector<std::string> paths;
    for (const std::string& name : FilesOut())
      if (name.ends_with(".c") || name.ends_with(".pmml")) paths.push_back((Out() / name).string());
    return paths;
  }
  std::string Scored(const std::string& kind, const std::string& text, const std::string& data) {
    const testing::Outcome outcome = Run({"score", kind, text, data});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    told_ = outcome.err;
    return outcome.out;
  }
  std::string told_;  // standard error of the last run
};

TEST_F(Score, PrototypesOfOneNeighbourAreTheirOwnPrediction) {
  const auto texts = Generate(Example("iris.csv"),
                              "| Species | Sepal.Length Sepal.Width Petal.Length Petal.Width |",
                              {"--k-nearest-neighbors", "1"});
  ASSERT_EQ(texts.size(), 2u);
  const std::string byProgram = Scored("--c", texts[0], Example("iris.csv"));
  EXPECT_TRUE(byProgram.starts_with("case,Species,Species observed,Species residual\n1,setosa,"));
  EXPECT_EQ(std::count(byProgram.begin(), byProgram.end(), '\n'), 151);
  EXPECT_NE(told_.find("predicted: 150 of 150 cases\n"), std::string::npos) << told_;
  std::size_t correct = 0;
  for (std::size_t at = byProgram.find(",0\n"); at != std::string::npos;
       at = byProgram.find(",0\n", at + 1))
    ++correct;
  EXPECT_GE(correct, 112u) << "all prototypes, which are 75 percent";
  EXPECT_EQ(Scored("--pmml", texts[1], Example("iris.csv")), byProgram);
}

TEST_F(Score, CategoriesAreFoundByTheirTextsWhereCodesAreOthers) {
  const std::string training =
      Write("training.csv",
            "x,u,c\n1,beta,no\n1,gamma,yes\n9,beta,yes\n9,gamma,no\n1,beta,no\n9,gamma,no\n");
  const auto texts = Generate(training, "| c | x | u",
                              {"--use-first-n-cases", "1", "--n-value", "4", "--city-block", "1"});
  ASSERT_EQ(texts.size(), 2u);
  // Codes of other texts come before; one category is new, one input is empty, a case has no class.
  const std::string data =
      Write("data.csv", "c,x,u\nyes,1,gamma\nyes,9,beta\nno,9,alpha\nno,,beta\n,1,beta\n");
  const std::string expected =
      "case,c,c observed,c residual\n1,yes,yes,0\n2,yes,yes,0\n3,,no,\n4,,no,\n5,no,,\n";
  EXPECT_EQ(Scored("--c", texts[0], data), expected);
  EXPECT_EQ(told_,
            "qrvml: predicted: 3 of 5 cases; with a missing input: 1; with a category that the "
            "model lacks: 1\nqrvml: c: 2 of 2 correct\n");
  EXPECT_EQ(Scored("--pmml", texts[1], data), expected);
}

TEST_F(Score, RegressionOfTwoDependentsTakesOneDocumentEach) {
  const auto texts =
      Generate(Example("mtcars.csv"), "mpg qsec | | wt hp |", {"--k-nearest-neighbors", "3"});
  ASSERT_EQ(texts.size(), 3u);
  const std::string out = Scored("--c", texts[0], Example("mtcars.csv"));
  EXPECT_TRUE(
      out.starts_with("case,mpg,mpg observed,mpg residual,qsec,qsec observed,qsec residual\n1,"));
  EXPECT_NE(told_.find("mpg: mean squared residual "), std::string::npos);
  EXPECT_TRUE(Scored("--pmml", texts[2], Example("mtcars.csv"))
                  .starts_with("case,qsec,qsec observed,qsec residual\n1,"));
}

TEST_F(Score, WhatCannotBeScoredIsToldAndNothingIsWritten) {
  const std::string data = Write("data.csv", "x,c\n1,a\n2,b\n3,a\n");
  const auto texts = Generate(data, "| c | x |", {"--use-first-n-cases", "1", "--n-value", "2"});
  ASSERT_EQ(texts.size(), 2u);
  const std::string noModel = Write("no.pmml", "<?xml version=\"1.0\"?>\n<PMML/>\n");
  const std::string noProgram = Write("no.c", "int main(void) { return 0; }\n");
  const std::string noInput = Write("other.csv", "z,c\n1,a\n");
  const struct {
    std::vector<std::string> words;
    int code;
    const char* told;
  } rows[] = {
      {{data}, 2, "one generated text is needed: --c SOURCE or --pmml DOCUMENT"},
      {{"--c", texts[0], "--pmml", texts[1], data}, 2, "one generated text is needed"},
      {{"--c", texts[0]}, 2, "FILE is missing"},
      {{"--pmml", noModel, data}, 1, "no.pmml: <PMML> has no <DataDictionary>"},
      {{"--pmml", data, data}, 1, "it does not begin as a generated PMML document does"},
      {{"--pmml", "/dev/zero", data}, 1, "it does not begin as a generated PMML document does"},
      {{"--pmml", "/dev/null", data}, 1, "/dev/null: it is empty"},
      {{"--pmml", "missing.pmml", data}, 1, "missing.pmml: it cannot be read"},
      {{"--c", noProgram, data}, 1, "it does not begin as a generated C program does"},
      {{"--c", texts[0], noInput},
       1,
       "the data have no variable \"x\", which the model needs as input 1"},
      {{"--c", texts[0], "missing.csv"}, 1, "missing.csv"},
  };
  for (const auto& row : rows) {
    std::vector<std::string> words = row.words;
    words.insert(words.begin(), "score");
    const testing::Outcome outcome = Run(words);
    EXPECT_EQ(outcome.code, row.code) << row.told;
    EXPECT_NE(outcome.err.find(row.told), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "");
  }
}

}  // namespace
}  // namespace qrvml
