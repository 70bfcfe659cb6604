// The generated texts of support vector machines, executed: every type, kernel and shape of data.
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "deploy/sample_text.h"
#include "host/numerics.h"
#include "qvb/row_table.h"
#include "score/checked_text.h"
#include "svm/trained_svm.h"

namespace qrvml::test {
namespace {

namespace fs = std::filesystem;

/// What the predictions of a text's test cases must be: those of the model as it is printed, but
/// for the last bits of sums, and nearly those of the engine.
class ExpectedPredictions {
 public:
  ExpectedPredictions(TrainedSvm& trained, const std::function<double(double)>& printed)
      : trained_(trained) {
    for (int number = kSvmTraining + 1; number <= kSvmTraining + kSvmTests; ++number) {
      const std::vector<double> one = trained.InputsOf(number);
      inputs.insert(inputs.end(), one.begin(), one.end());
      expected_.push_back(PredictPrinted(trained, printed, one));
      EXPECT_TRUE(trained.engine.PredictSvmCase(number, 0));
      engine_.push_back(trained.engine.predicted);
      ties += expected_.back().tied;
    }
  }
  void Compare(std::span<const double> predictions, double engineTolerance) const {
    ASSERT_EQ(predictions.size(), expected_.size());
    std::size_t other = 0;
    for (std::size_t t = 0; t < predictions.size(); ++t) {
      if (trained_.engine.IsClassification()) {
        EXPECT_EQ(predictions[t], expected_[t].value) << "test case " << t;
        other += predictions[t] != engine_[t];
        continue;
      }
      EXPECT_NEAR(predictions[t], expected_[t].value, 1e-12 * std::fabs(expected_[t].value));
      EXPECT_NEAR(predictions[t], engine_[t],
                  engineTolerance / trained_.data().slopes()[trained_.variables.inputs.size()]);
    }
    EXPECT_LE(other, 1u) << "classes other than the engine's";
  }

  std::vector<double> inputs;  // of the test cases
  int ties = 0;                // tied votes among them

 private:
  TrainedSvm& trained_;
  std::vector<PrintedSvmPrediction> expected_;
  std::vector<double> engine_;
};

/// A folder of this test's own.
struct Folder {
  fs::path path = fs::temp_directory_path() / ("qrvml-svm-texts-" + std::to_string(getpid()));
  Folder() { fs::create_directories(path); }
  ~Folder() { fs::remove_all(path); }
  void Write(const char* name, const std::string& text) const {
    std::ofstream(path / name, std::ios::binary) << text;
  }
  /// Runs a command here; its standard output, or what went wrong.
  std::string Run(const std::vector<std::string>& words) const {
    ChildProcess process(Patience{});
    std::string error, output;
    if (!process.Start(words, path, true, "messages", error)) return error;
    while (process.Read(output) == ChildProcess::Outcome::done) {
    }
    if (process.Wait() == ChildProcess::Outcome::done) return output;
    std::ostringstream messages;
    messages << std::ifstream(path / "messages").rdbuf();
    return "failed: " + messages.str();
  }
};

TEST(SvmTexts, CProgramsOfAllModelsPredictWhatTheyPrint) {
  // All programs in one translation unit of C++, each in a namespace, without their headers.
  const auto kinds = AllSvmKinds();
  std::vector<std::unique_ptr<TrainedSvm>> models;
  std::vector<ExpectedPredictions> expected;
  std::string unit = "#include <math.h>\n#include <stdio.h>\n", calls;
  int ties = 0;
  for (std::size_t m = 0; m < kinds.size(); ++m) {
    models.push_back(TrainedSvm::Of(kinds[m], 100 + m));
    expected.emplace_back(*models.back(), SixDigits);
    ties += expected.back().ties;
    const std::string name = "m" + std::to_string(m);
    unit += "namespace " + name + " {\n" + models.back()->C() + "\nstatic double cases[] = {";
    for (const double value : expected.back().inputs) unit += ShortestText(value) + ", ";
    unit += "};\nvoid Run() {\n";
    unit += "for (int t = 0; t < " + std::to_string(kSvmTests) + "; t++) {\n";
    unit += "GetDummy(cases + t*noInputs); printf(\"%.17g\\n\", Predict(dummy)); } } }\n";
    calls += name + "::Run();\n";
  }
  EXPECT_GT(ties, 20);
  const Folder folder;
  folder.Write("all.cpp", unit + "int main() {\n" + calls + "}\n");
  ASSERT_EQ(folder.Run({"c++", "-w", "-O0", "-ffp-contract=off", "-o", "all", "all.cpp"}), "");
  std::istringstream output(folder.Run({(folder.path / "all").string()}));
  for (std::size_t m = 0; m < kinds.size(); ++m) {
    SCOPED_TRACE(kinds[m].Name());
    std::vector<double> predictions(kSvmTests);
    for (double& prediction : predictions) output >> prediction;
    expected[m].Compare(predictions, 0.01);
  }
}

TEST(SvmTexts, ACProgramCompilesInEveryDialectAndAnswersThroughItsOwnMain) {
  const Folder folder;
  for (const SvmKind& kind : {SvmKind{kSvmShapes[1], 0, 2}, SvmKind{kSvmShapes[3], 4, 3}}) {
    const auto trained = TrainedSvm::Of(kind, 5);
    const std::string source = trained->C();
    folder.Write("model.c", source);
    for (const char* dialect : {"-std=gnu17", "-std=c11"})
      EXPECT_EQ(folder.Run({"cc", dialect, "-fsyntax-only", "model.c"}), "");
    EXPECT_EQ(folder.Run({"c++", "-x", "c++", "-fsyntax-only", "model.c"}), "");

    std::string error;
    CHeader header;
    ASSERT_TRUE(ReadCHeader(
        source, [](const std::string&) { return false; }, header, error));
    const auto program = CProgram::Open(source, header, {}, error);
    ASSERT_NE(program, nullptr) << error;
    for (int number = 1; number <= 5; ++number) {
      const std::vector<double> inputs = trained->InputsOf(number);
      double answer = 0;
      ASSERT_TRUE(program->Predict(inputs, {&answer, 1}, error)) << error;
      EXPECT_EQ(answer, SixDigits(PredictPrinted(*trained, SixDigits, inputs).value));
    }
  }
}

TEST(SvmTexts, ScriptsAndPmmlDocumentsOfAllModelsPredictWhatTheyPrint) {
  const auto kinds = AllSvmKinds();
  for (std::size_t m = 0; m < kinds.size(); ++m) {
    const auto trained = TrainedSvm::Of(kinds[m], 100 + m);
    for (const CodeDialect dialect : {CodeDialect::qvb, CodeDialect::pmml}) {
      SCOPED_TRACE(kinds[m].Name() + ' ' + std::to_string(int(dialect)));
      const bool isScript = dialect == CodeDialect::qvb;
      const ExpectedPredictions expected(*trained, isScript ? SixDigits : SixDecimals);
      std::string error;
      const auto model =
          OpenText(dialect, isScript ? trained->Qvb() : trained->Pmml(), trained->file(), error);
      ASSERT_NE(model, nullptr) << error;
      std::vector<double> predictions(kSvmTests);
      ASSERT_EQ(model->PredictBatch(expected.inputs, predictions, error), predictions.size())
          << error;
      expected.Compare(predictions, 0.01);
    }
  }
}

TEST(SvmTexts, APmmlDocumentThatDoesNotFitItselfIsRefused) {
  const auto trained = TrainedSvm::Of({kSvmShapes[1], 0, 2}, 8);
  const std::string text = trained->Pmml();
  const struct {
    const char *from, *to, *why;
  } rows[] = {
      {"\"C_SVC\"", "\"NU_SVR\"", "does not fit the model's type"},
      {"type=\"rbf\"", "type=\"cubic\"", "is not known"},
      {"gamma=", "gama=", "has no attribute gamma"},
      {"<AttributeInstance name=\"x0\"", "<AttributeInstance name=\"x1\"", "no value of \"x0\""},
      {"<AttributeInstance name=\"g0-p\"", "<AttributeInstance name=\"g0-s\"",
       "no category of \"g1\""},
      {"</VectorInstance>", "</VectorInstance><VectorInstance/>", "vector 2 has other values"},
      {"<CoefficientInstance id=\"0\">", "<CoefficientInstance id=\"0\"><Value value=\"1\"/>",
       "the coefficients of vector 0 "},
      {"noOfSV=\"", "noOfSV=\"1", "or classes of another number"},
      {"<ConstantDictionary>", "<ConstantDictionary><Value value=\"1\"/>", "each pair of classes"},
  };
  for (const auto& row : rows) {
    std::string error;
    EXPECT_EQ(ReadPmmlDocument(Replaced(text, row.from, row.to), error), nullptr) << row.from;
    EXPECT_NE(error.find(row.why), error.npos) << row.from << ": " << error;
  }
}

TEST(SvmTexts, CodesThatShareATextHaveColumnsOfOneName) {
  TableFile file("y g", {"1 3", "2 5", "4 8", "1.5 3", "3 5", "5 8"});
  file.variables[1].labels = {{3, "a"}, {5, "b"}, {8, "a"}};
  TrainedSvm trained(file, "y | | | g", 0,
                     [](SVMEngine& engine, AnalysisDataSet&) { engine.parameters.epsilon = 0.01; });
  const std::string text = trained.Pmml();
  std::string error;
  const auto model = ReadPmmlDocument(text, error);
  ASSERT_NE(model, nullptr) << error;
  double predicted[2];  // of code 3, the first of its text, and 5
  ASSERT_EQ(model->PredictBatch(std::vector<double>{3, 5}, predicted, error), 2u);
  for (int number = 1; number <= 2; ++number) {
    ASSERT_TRUE(trained.engine.PredictSvmCase(number, number - 1));
    EXPECT_NEAR(predicted[number - 1], trained.engine.predicted, 1e-4);
  }
}

TEST(SvmTexts, AScriptsResidualIsADifferenceOrTheMissingMarker) {
  for (const SvmKind& kind : {SvmKind{kSvmShapes[1], 0, 2}, SvmKind{kSvmShapes[3], 3, 1}}) {
    const auto trained = TrainedSvm::Of(kind, 6);
    RowTable table({});
    for (int c = 0; c < 6; ++c) table.rows.push_back(trained->file().cases[std::size_t(c)].values);
    for (const std::size_t c : {2, 5}) table.rows[c][0] = -77;  // the dependent, missing
    NodeInput input{&table, {}, {}, {}, {}, -77};
    for (const DeployedVariable& variable : trained->variables.inputs)
      (variable.isCategorical ? input.categoricalPredictors : input.continuousPredictors)
          .push_back(variable.number);
    (kind.shape.classes > 0 ? input.categoricalDependents : input.continuousDependents) = {1};
    const NodeOutput output = RunNodeScript("model.qvb", trained->Qvb(), input, {});
    ASSERT_GE(output.sheet.columns.size(), 2u);
    for (int number = 1; number <= 6; ++number) {
      const auto c = std::size_t(number - 1);
      const double predicted = PredictPrinted(*trained, SixDigits, trained->InputsOf(number)).value;
      EXPECT_NEAR(output.sheet.columns[0][c], predicted, 1e-9);
      EXPECT_NEAR(output.sheet.columns[1][c],
                  number % 3 == 0 ? -77 : table.Value(number, 1) - predicted, 1e-9);
    }
  }
}

}  // namespace
}  // namespace qrvml::test
