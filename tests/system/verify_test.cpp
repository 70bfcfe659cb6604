// `qrvml verify` over the kinds of models, and `qrvml score` with scripts.
#include "system/program.h"

namespace qrvml::testing {
namespace {

class Verify : public ProgramTest {
 protected:
  /// Names and categories with what texts have to escape; few values, so that distances tie.
  std::string Data(int cases = 90) const {
    const char* texts[] = {"\"A & B\"", "<fin>", "\"dit \"\"oui\"\"\"", "l'eau", "Été"};
    const char* forms[] = {"ö", "<x>", "\"\"\"u\"\"\""};
    std::string text = "a & b;\"x <\"\"1\"\"\";âge;classe d'été;z;q;y<2;w\n";
    std::uint32_t state = 12345;
    const auto below = [&state](int n) {
      state = state * 1664525u + 1013904223u;
      return int((state >> 8) % std::uint32_t(n));
    };
    const auto number = [](int n) {
      return std::to_string(n / 1000) + ',' + std::to_string(n % 1000 + 1000).substr(1);
    };
    for (int i = 0; i < cases; ++i) {
      const std::string cells[] = {number(below(5) * 370),
                                   number(below(1000000)),
                                   forms[below(3)],
                                   texts[below(5)],
                                   number(below(100000000)),
                                   number(below(1000)),
                                   below(2) == 0 ? "oui" : "non",
                                   std::to_string(below(4))};
      for (const std::string& cell : cells)
        text += cell + (&cell == std::end(cells) - 1 ? '\n' : ';');
    }
    return Write("données.csv", text);
  }

  static std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
    return count;
  }
  /// Every one of `lines` lines says that nothing differs from the printed model.
  void ExpectPass(std::vector<std::string> arguments, std::size_t lines,
                  const char* method = "knn") {
    std::string what;
    for (const std::string& word : arguments) what += word + ' ';
    arguments.insert(arguments.begin(), {"verify", method});
    outcome_ = Run(std::move(arguments));
    EXPECT_EQ(outcome_.code, 0) << what << outcome_.out << outcome_.err;
    EXPECT_EQ(Count(outcome_.out, ", 0 differ from the printed model, "), lines)
        << what << outcome_.out;
    EXPECT_EQ(Count(outcome_.out, " from the printed model"), lines) << what;
  }
  Outcome outcome_;
};

TEST_F(Verify, TextsPredictWhatTheyPrintOverEveryKindOfModel) {
  const std::string data = Data();
  const char* metrics[] = {"--euclidean", "--squared-euclidean", "--city-block", "--chebychev"};
  const struct {
    const char* variables;
    std::size_t dependents;
  } models[] = {
      {"| \"classe d'été\" | \"a & b\" \"x <\"\"1\"\"\" | âge", 1},
      {"| \"classe d'été\" \"y<2\" | \"a & b\" | âge", 2},
      {"z | | \"a & b\" \"x <\"\"1\"\"\" |", 1},
      {"z q | | \"x <\"\"1\"\"\" | âge \"y<2\"", 2},
  };
  bool tied = false, differs = false;
  for (int option = 0; option < 16; ++option) {
    const auto& model = models[std::size_t(option / 4)];
    std::vector<std::string> arguments = {data,
                                          "--variables",
                                          model.variables,
                                          metrics[option % 4],
                                          "1",
                                          "--k-nearest-neighbors",
                                          std::to_string(2 + option % 3)};
    // Every metric meets every one of these with some kind of model.
    const int mixed = option + option / 4;
    arguments.insert(arguments.end(), {"--use-weighted-average", mixed % 2 == 0 ? "1" : "0"});
    arguments.insert(arguments.end(), {"--standardize-distances", mixed % 4 < 2 ? "1" : "0"});
    if (option % 3 == 0) arguments.insert(arguments.end(), {"--weight", "w"});
    ExpectPass(arguments, model.dependents * 3);
    tied = tied || Count(outcome_.out, ", 0 with tied votes") < model.dependents * 3;
    differs = differs ||
              Count(outcome_.out, ", 0 differ from the unrounded engine") < model.dependents * 3;
  }
  EXPECT_TRUE(tied) << "ties are meant to occur";
  EXPECT_TRUE(differs) << "rounding is meant to show";
}

TEST_F(Verify, SupportVectorTextsPredictWhatTheyPrint) {
  const std::string data = Data();
  const char* types[] = {"--class-type1", "--class-type2", "--regression-type1",
                         "--regression-type2"};
  const char* kernels[] = {"--linear-kernel", "--poly-kernel", "--rbf-kernel", "--sigmoid-kernel"};
  for (int option = 0; option < 8; ++option) {
    const int type = option % 4;
    const bool other = option >= 4;
    std::vector<std::string> arguments = {
        data,
        "--variables",
        type < 2 ? (other ? "| \"classe d'été\" | q | âge \"y<2\"" : "| \"y<2\" | z q | âge")
                 : (other ? "q | | | âge \"y<2\"" : "q | | \"a & b\" z | âge"),
        types[type],
        "1",
        "--nu-parameter",
        "0.2",
        "--bias",
        "0.5"};
    arguments.insert(arguments.end(), {kernels[(option + option / 4) % 4], "1"});
    // Large numbers need scaling, and case weights leave it uncompared.
    if (!other) arguments.insert(arguments.end(), {"--scale-inputs", "1"});
    if (option == 2)
      arguments.insert(arguments.end(),
                       {"--Learning.InputLow", "-1", "--Learning.OutputHigh", "0.5"});
    if (type >= 2) arguments.insert(arguments.end(), {"--scale-outputs", "1"});
    if (option == 6) arguments.insert(arguments.end(), {"--weight", "w"});
    if (option == 7) arguments.insert(arguments.end(), {"--apply-sampling", "0"});
    ExpectPass(arguments, 3, "svm");
    EXPECT_EQ(Count(outcome_.out, "scaling was not compared"), option == 6 ? 3u : 0u);
  }
}

TEST_F(Verify, AHundredAndFiftyClassesPass) {
  std::string text = "x,u,c\n";
  for (int i = 0; i < 900; ++i)
    text += std::to_string(i * 37 % 900) + '.' + std::to_string(i % 10) + ",k" +
            std::to_string(i % 4) + ",classe " + std::to_string(i * 37 % 900 / 6) + '\n';
  ExpectPass({Write("c.csv", text), "--variables", "| c | x | u", "--k-nearest-neighbors", "3"}, 3);
}

TEST_F(Verify, TheStepsThatAreGivenAreDoneAndTextsAreKept) {
  ExpectPass({Example("iris.csv"), "--variables", "| Species | Sepal.Length Petal.Width |", "--do",
              "Options.Chebychev=1,Options.KNearestNeighbors=7", "--out", Out().string()},
             3);
  std::size_t programs = 0;
  for (const std::string& name : FilesOut()) {
    if (!name.ends_with(".c")) continue;
    ++programs;
    const std::string text = Content(Out() / name);
    EXPECT_NE(text.find("long K = 7;"), std::string::npos);
    EXPECT_NE(text.find("unsigned short metric = 3;"), std::string::npos);
  }
  EXPECT_EQ(programs, 1u);
  EXPECT_TRUE(outcome_.out.starts_with("C program: 38 cases, 0 differ")) << outcome_.out;
}

/// c: A has x = 5 only, B has y = 2.5 only; z takes likelihoods below the smallest number; the last
/// cases have a new category and an empty cell.
std::string BayesData() {
  std::string text = "c,x,y,n,z,u,d,w\n";
  for (int i = 0; i < 60; ++i) {
    const bool isA = i % 3 == 0, isB = i % 3 == 1;
    const std::string x = isA ? "5" : std::to_string(i * 7 % 9 + 1) + ".5";
    const std::string y = isB ? "2.5" : std::to_string(i * 11 % 40 + 1) + ".25";
    const std::string z = std::to_string((i >= 45 ? 10000 : 1) + i * 13 % 10);
    text += std::string(1, char('A' + i % 3)) + ',' + x + ',' + y + ',' +
            (i == 58 ? "" : std::to_string(i * 5 % 7 + 3 * (i % 3))) + ',' + z + ',' +
            (i == 55  ? "neu"
             : isB    ? (i % 2 == 0 ? "p" : "q")
             : i < 30 ? "r"
                      : "q") +
            ',' + (i % 2 == 0 ? "yes" : "no") + ',' + std::to_string(i % 4) + '\n';
  }
  return text;
}

TEST_F(Verify, TextsOfNaiveBayesPassAndWhatTheyLackIsNoted) {
  const std::string data = Write("odd.csv", BayesData());
  const std::string inputs = "|c d|x y n z|u";
  const struct {
    std::vector<std::string> options;
    std::vector<std::string> notes;
  } runs[] = {
      {{"--input-distributions", "x n z | y | |"},
       {"C program: no variance: \"x\" in class \"A\" of \"c\", \"y\" in class \"B\" of \"c\"; the "
        "text "
        "has the small one that the engine takes",
        "PMML document: no variance: ", "C program: 13 cases without a posterior of \"d\" above 0",
        "QVB script: 13 cases without a posterior of \"d\" above 0",
        "left out, because the engine predicts none: 1 case with a category that training did not "
        "have; the text takes the threshold"}},
      {{"--input-distributions", "| z | x y | n", "--threshold", "0", "--do",
        "SelectedOutputForPriorAssignment=2,UseEqualPrior=1"},
       {"C program: gamma and Poisson densities are left to the text's user, without one these "
        "inputs count for nothing: \"x\", \"y\", \"n\"",
        "no variance, and so no gamma distribution: \"x\" in class \"A\" of \"c\"",
        "QVB script: the threshold is 0: ",
        "PMML document: the priors of \"d\" are not the shares of its classes"}},
      {{"--weight", "w", "--use-missing-cases-if-possible"},
       {"PMML document: case weights are in force",
        "left out, because the engine predicts none: 1 case with a missing input"}},
  };
  for (const auto& run : runs) {
    std::vector<std::string> arguments = {data,        "--variables", inputs, "--use-first-n-cases",
                                          "--n-value", "45"};
    arguments.insert(arguments.end(), run.options.begin(), run.options.end());
    ExpectPass(arguments, 6, "nb");
    for (const std::string& note : run.notes)
      EXPECT_NE(outcome_.out.find(note), std::string::npos) << note << '\n' << outcome_.out;
  }
  // Without sampling the training cases are predicted.
  ExpectPass({Example("iris.csv"), "--variables", "|Species|1-4|", "--ApplySampling=0"}, 3, "nb");
  EXPECT_TRUE(outcome_.out.starts_with("C program: 150 cases, ")) << outcome_.out;
}

TEST_F(Verify, WhatCannotBeVerifiedIsToldWithItsStatus) {
  const Outcome noMethod = Run({"verify"});
  EXPECT_EQ(noMethod.code, 2);
  EXPECT_NE(noMethod.err.find("qrvml verify knn FILE"), std::string::npos) << noMethod.err;
  const Outcome noFile = Run({"verify", "knn"});
  EXPECT_EQ(noFile.code, 2);
  EXPECT_NE(noFile.err.find("qrvml verify knn --help"), std::string::npos) << noFile.err;
  const Outcome help = Run({"verify", "--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_NE(help.out.find("Exit status 1"), std::string::npos);
  const Outcome refused = Run({"verify", "knn", Example("iris.csv")});
  EXPECT_EQ(refused.code, 1);
  EXPECT_EQ(refused.out, "");
}

TEST_F(Verify, ScriptsScoreAsTheOtherTextsDo) {
  RunToJson({"knn", Example("iris.csv"), "--variables", "| Species | Sepal.Length Petal.Width |",
             "--k-nearest-neighbors", "3", "--do", "CodeGeneratorPMML,CodeGeneratorQVB", "--format",
             "txt"});
  std::string script, document;
  for (const std::string& name : FilesOut()) {
    if (name.ends_with(".qvb")) script = (Out() / name).string();
    if (name.ends_with(".pmml")) document = (Out() / name).string();
  }
  // More cases than one batch holds, and missing inputs among them.
  std::string data = "Sepal.Length,Sepal.Width,Petal.Length,Petal.Width,Species\n";
  for (int i = 0; i < 4300; ++i)
    data += (i % 41 == 7 ? "" : std::to_string(4 + i % 37 * 0.1)) + ",3,4," +
            std::to_string(i % 25 * 0.1) + (i % 2 == 0 ? ",setosa\n" : ",virginica\n");
  const std::string file = Write("many.csv", data);
  // The script knows categories by code; codes are given in order of appearance.
  const Outcome byDocument = Run({"score", "--pmml", document, Example("iris.csv")});
  const Outcome byScript = Run({"score", "--qvb", script, Example("iris.csv")});
  EXPECT_EQ(byScript.code, 0) << byScript.err;
  EXPECT_EQ(byScript.out, byDocument.out);
  EXPECT_EQ(byScript.err, byDocument.err);
  const Outcome many = Run({"score", "--qvb", script, file});
  EXPECT_EQ(many.code, 0) << many.err;
  EXPECT_EQ(Count(many.out, "\n"), 4301u);
  EXPECT_NE(many.err.find("with a missing input: 105"), std::string::npos) << many.err;

  const Outcome limited = Run({"score", "--qvb", script, file, "--step-limit", "1000"});
  EXPECT_EQ(limited.code, 1);
  EXPECT_EQ(limited.out, "");
  EXPECT_NE(limited.err.find(".qvb: case 1: line "), std::string::npos) << limited.err;
  const Outcome other = Run({"score", "--qvb", document, file});
  EXPECT_EQ(other.code, 1);
  EXPECT_NE(other.err.find("it does not begin as a generated QVB script does"), std::string::npos);
  EXPECT_EQ(Run({"score", "--qvb", script, "--pmml", document, file}).code, 2);

  std::string looping = Content(script);
  const std::string norm = "\tNorm=0\n";
  ASSERT_NE(looping.find(norm), looping.npos);
  looping.replace(looping.find(norm), norm.size(), "\tDo\n\tLoop\n");
  const pid_t child = Start({"score", "--qvb", Write("looping.qvb", looping), file});
  usleep(500000);
  kill(child, SIGINT);
  EXPECT_EQ(Wait(child).code, 3);
}

}  // namespace
}  // namespace qrvml::testing
