// The comparison that generated texts have to pass: texts of every kind of model pass, and what was
// changed afterwards does not.
#include "score/neighbour_verification.h"

#include "score/checked_text.h"
#include "score/generated_model.h"

namespace qrvml::test {
namespace {

/// A trained analysis and what its engine says, taken from the table and the engine itself.
struct Trained {
  KnnAnalysis knn;
  EngineNeighbours engine;

  Trained(const PlainTable& table, const PlainSettings& settings) : knn(table, settings) {
    knn.Train();
    engine.metric = settings.metric;
    engine.weighted = settings.weighted;
    engine.standardized = settings.standardized;
    engine.neighbours = std::size_t(settings.k);
    for (int v = 0; v < table.Inputs() + table.Dependents(); ++v) {
      EngineField field{knn.file.variables[std::size_t(v)].name, {}};
      const bool isInput = v < table.Inputs();
      const int place =
          isInput ? v - table.continuousInputs : v - table.Inputs() - table.continuousDependents;
      std::map<double, std::string> texts;
      for (const Row& row : table.rows)
        if (place >= 0) texts[row[std::size_t(v)]] = ShortestText(row[std::size_t(v)]);
      if (!isInput && place >= 0 && std::size_t(place) < table.labels.size())
        for (const auto& [code, text] : table.labels[std::size_t(place)])
          if (texts.contains(code)) texts[code] = text;
      for (const auto& [code, text] : texts) field.labels.push_back({code, text, false});
      (isInput ? engine.inputs : engine.dependents).push_back(field);
    }
    for (int r = 0; r < int(table.rows.size()); ++r) {
      const Row& row = table.rows[std::size_t(r)];
      const auto inputs = row.begin() + table.Inputs();
      auto& to = r < table.prototypes ? engine.prototypeInputs : engine.caseInputs;
      to.insert(to.end(), row.begin(), inputs);
      if (r < table.prototypes) {
        engine.prototypeOutputs.insert(engine.prototypeOutputs.end(), inputs, row.end());
        continue;
      }
      engine.cases.push_back(r + 1);
      knn.PredictTest(r - table.prototypes);
      const auto& predicted = knn.engine().predictions;
      engine.predictions.insert(engine.predictions.end(), predicted.begin(), predicted.end());
    }
  }

  std::vector<std::string> Texts(CodeDialect dialect) {
    return GeneratedTexts(knn, kCodeActions[int(dialect)]);
  }
  std::unique_ptr<DeployedModel> Open(CodeDialect dialect, const std::string& text) {
    std::string error;
    auto model = OpenText(dialect, text, knn.file, error);
    EXPECT_NE(model, nullptr) << error;
    return model;
  }
};

PlainTable ClassTable() {
  PlainTable table = RandomTable(kShapes[3], 40, 30, 11);
  table.labels.assign(2, {{1, "b & <c>"}, {2, "\"a\""}, {3, "é"}, {4, "b & <c>"}});
  return table;
}
constexpr PlainSettings kSettings = {.metric = 2, .weighted = true, .standardized = true, .k = 3};

TEST(Verification, TextsOfEveryKindOfModelPass) {
  for (const Shape& shape : kShapes) {
    for (int option = 0; option < 16; ++option) {
      const PlainSettings settings = SettingsOf(option, 1 + option % 5);
      SCOPED_TRACE(std::string(shape.name) + ", option " + std::to_string(option));
      // Values that no text rounds, so that but for scaling a text is the engine.
      Trained trained(
          PrintedTable(shape, 40 + option, [](double x) { return SixDecimals(SixDigits(x)); }),
          settings);
      for (const CodeDialect dialect : {CodeDialect::qvb, CodeDialect::pmml, CodeDialect::c}) {
        // A compiler takes its time; the system's tests run it for every distance.
        if (dialect == CodeDialect::c && option != 7) continue;
        std::size_t dependent = 0;
        for (const std::string& text : trained.Texts(dialect)) {
          const auto model = trained.Open(dialect, text);
          ASSERT_NE(model, nullptr);
          const TextCheck check = CheckText(dialect, text, *model, trained.engine, dependent++);
          EXPECT_TRUE(check.Passed()) << Faults(check) << int(dialect);
          EXPECT_EQ(check.prototypes, 30u);
          for (const DependentCheck& own : check.dependents) {
            EXPECT_EQ(own.cases, 20);
            if (!settings.standardized && dialect != CodeDialect::c) {
              EXPECT_EQ(own.differentFromEngine, 0) << own.first << int(dialect);
            }
          }
        }
        EXPECT_EQ(dependent, dialect == CodeDialect::pmml ? trained.engine.dependents.size() : 1);
      }
    }
  }
}

struct Change {
  CodeDialect dialect;
  const char* from;  // its first occurrence is replaced
  const char* to;
  const char* fault;
};

TEST(Verification, ATextThatWasTamperedWithFails) {
  using enum CodeDialect;
  const Change changes[] = {
      {qvb, "Metric = 2\n", "Metric = 0\n",
       "its distance is Euclidean, the engine's is city-block"},
      {qvb, "Weighted = True", "Weighted = False", "it weights votes otherwise"},
      {qvb, "NoOfNearestK = 3", "NoOfNearestK = 2", "it takes 2 neighbours, the engine takes 3"},
      {qvb, "InputPrototypes(7, 2)=", "InputPrototypes(7, 2)=1", "the first is 7"},
      {qvb, "OutputPrototypes(9, 2)=", "OutputPrototypes(9, 2)=1", "the first is 9"},
      {qvb, "InputScale(1)=", "InputScale(1)=1", "it scales \"x1\" otherwise"},
      {qvb, "InputIndex(1)=1", "InputIndex(1)=2", "it names \"x2\" where \"x1\" belongs"},
      {qvb, "OutputNominals(1, 1)=2\nOutputNominals(1, 2)=1",
       "OutputNominals(1, 1)=1\nOutputNominals(1, 2)=2", "classes of \"c1\""},
      {pmml, "metric=\"cityblock\"", "metric=\"chebychev\"", "its distance is Chebychev"},
      {pmml, "noOfNearestNeighbors=\"3\"", "noOfNearestNeighbors=\"4\"", "it takes 4 neighbours"},
      {pmml, "<AttributeInstance name=\"x1\" value=\"", "<AttributeInstance name=\"x1\" value=\"9",
       "1 of its prototypes are not the engine's; the first is 1"},
      {pmml, "label=\"é\" value", "label=\"e\" value", "it calls a category of \"c1\" \"e\""},
      {pmml, "<KNNField name=\"x2\" shift=\"-", "<KNNField name=\"x2\" shift=\"-1",
       "it scales \"x2\" otherwise"},
      {qvb, "If MaxConf < Confidence(i, j) Then", "If MaxConf > Confidence(i, j) Then",
       "the printed model predicts"},
      {c, "unsigned short metric = 2", "unsigned short metric = 3", "its distance is Chebychev"},
      {c, "1, 2, 3, 4, 1, 2, 3, 4\n", "2, 1, 3, 4, 1, 2, 3, 4\n", "classes of \"c1\""},
      {c, "static double examples[]=\n{\n", "static double examples[]=\n{\n1", "the first is 1"},
      {c, "static double shift[]=\n{\n-", "static double shift[]=\n{\n-1",
       "it scales \"x1\" otherwise"},
      {c, "bool w = 1", "bool w = 0", "it weights votes otherwise"},
  };
  Trained trained(ClassTable(), kSettings);
  for (const Change& change : changes) {
    SCOPED_TRACE(change.from);
    const std::string text = trained.Texts(change.dialect).at(0);
    const std::string changed = Replaced(text, change.from, change.to);
    const auto model = trained.Open(change.dialect, changed);
    ASSERT_NE(model, nullptr);
    const TextCheck check = CheckText(change.dialect, changed, *model, trained.engine, 0);
    EXPECT_FALSE(check.Passed());
    EXPECT_NE(Faults(check).find(change.fault), std::string::npos) << Faults(check);
  }
}

TEST(Verification, ComparesManyCasesUntilItIsCancelled) {
  Trained trained(RandomTable(kShapes[1], 20, 5000, 3), kSettings);
  const std::string text = trained.Texts(CodeDialect::pmml).at(1);
  const auto model = trained.Open(CodeDialect::pmml, text);
  const TextCheck whole = CheckText(CodeDialect::pmml, text, *model, trained.engine, 1);
  EXPECT_TRUE(whole.Passed()) << Faults(whole);
  EXPECT_EQ(whole.dependents.at(0).cases, 5000);
  const std::atomic<bool> cancel{true};
  const TextCheck part = CheckText(CodeDialect::pmml, text, *model, trained.engine, 1, &cancel);
  EXPECT_FALSE(part.Passed());
  EXPECT_LT(part.dependents.at(0).cases, 5000);
}

/// One prototype per row of "value of the dependent, input"; one test case at 0.
struct Votes {
  PrintedNeighbours printed;
  EngineNeighbours engine;

  Votes(std::vector<double> outputs, std::vector<std::vector<double>> classes) {
    printed.continuousInputs = 1;
    printed.continuousDependents = classes.empty() ? 1 : 0;
    printed.neighbours = outputs.size();
    printed.shift = {0};
    printed.scale = {1};
    printed.classes = std::move(classes);
    printed.inputs.assign(outputs.size(), 1);
    printed.outputs = std::move(outputs);
    engine.inputs = {{"x", {}}};
    engine.dependents = {{"y", {}}};
    engine.cases = {1};
    engine.caseInputs = {0};
    engine.predictions = {0};
  }
  std::int64_t Different(CodeDialect dialect, double predicted) {
    TextCheck check;
    CheckPredictions(dialect, printed, engine, {&predicted, 1}, 0, 0, check);
    tied = check.dependents.at(0).tied;
    return check.dependents.at(0).different;
  }
  std::int64_t tied = 0;
};

TEST(Verification, ATiedVoteMayFallToAnyClassThatSharesItAndToNoOther) {
  Votes votes({1, 2, 1, 2, 3}, {{3, 2, 1}});
  for (const double predicted : {1.0, 2.0})
    EXPECT_EQ(votes.Different(CodeDialect::qvb, predicted), 0) << predicted;
  EXPECT_EQ(votes.Different(CodeDialect::qvb, 3), 1);
  EXPECT_EQ(votes.tied, 1);
  Votes clear({1, 2, 1}, {{3, 2, 1}});
  EXPECT_EQ(clear.Different(CodeDialect::qvb, 2), 1);
  EXPECT_EQ(clear.Different(CodeDialect::qvb, 1), 0);
  EXPECT_EQ(clear.tied, 0);
}

TEST(Verification, NumbersAreEqualWithinTheDigitsThatTheTextPrints) {
  Votes votes({123456.5, 123457.3}, {});  // the mean: 123456.9
  EXPECT_EQ(votes.Different(CodeDialect::c, 123457), 0);
  EXPECT_EQ(votes.Different(CodeDialect::c, 123456), 1);
  EXPECT_EQ(votes.Different(CodeDialect::qvb, 123457), 1);
  EXPECT_EQ(votes.Different(CodeDialect::pmml, 123456.9 * (1 + 1e-13)), 0);
  EXPECT_EQ(votes.Different(CodeDialect::pmml, 123456.9 * (1 + 1e-11)), 1);
  EXPECT_EQ(votes.Different(CodeDialect::qvb, std::nan("")), 1);
}

TEST(Verification, RepeatedPrototypesAreComparedInTheirOrder) {
  Trained trained(ClassTable(), kSettings);
  const std::string text = trained.Texts(CodeDialect::qvb).at(0);
  const auto model = trained.Open(CodeDialect::qvb, text);
  PrintedNeighbours printed;
  std::string error;
  ASSERT_TRUE(PrintedNeighbours::Read(CodeDialect::qvb, text, printed, error)) << error;
  // The last prototype twice, as a weight of 2 prints it.
  const auto repeat = [](std::vector<std::string_view>& texts, std::size_t width) {
    const std::vector<std::string_view> last(texts.end() - std::ptrdiff_t(width), texts.end());
    texts.insert(texts.end(), last.begin(), last.end());
  };
  repeat(printed.inputTexts, printed.Inputs());
  repeat(printed.outputTexts, printed.Dependents());
  printed.inputs.resize(printed.inputTexts.size());
  TextCheck repeated;
  CheckPrinted(CodeDialect::qvb, printed, trained.engine, *model, 0, repeated);
  EXPECT_EQ(repeated.faults, std::vector<std::string>{});
  ASSERT_EQ(repeated.notes.size(), 1u);
  EXPECT_NE(repeated.notes[0].find("41 prototypes, the engine shows 40"), std::string::npos);
  std::ranges::reverse(printed.inputTexts);
  TextCheck reversed;
  CheckPrinted(CodeDialect::qvb, printed, trained.engine, *model, 0, reversed);
  EXPECT_EQ(reversed.faults.size(), 1u) << Faults(reversed);
}

TEST(PrintedModelOfAText, NamesWhatItCannotRead) {
  Trained trained(ClassTable(), kSettings);
  const std::pair<CodeDialect, const char*> prototypes[] = {
      {CodeDialect::c, "static double examples"},
      {CodeDialect::qvb, "OutputPrototypes(9, 2)="},
      {CodeDialect::pmml, "<Example id=\"9\">"}};
  for (const auto& [dialect, prototype] : prototypes) {
    const std::string text = trained.Texts(dialect).at(0);
    PrintedNeighbours printed;
    std::string error;
    EXPECT_TRUE(PrintedNeighbours::Read(dialect, text, printed, error)) << error;
    for (const std::size_t length : {std::size_t(0), text.find(prototype)}) {
      error.clear();
      EXPECT_FALSE(PrintedNeighbours::Read(dialect, text.substr(0, length), printed, error));
      EXPECT_FALSE(error.empty());
    }
  }
}

}  // namespace
}  // namespace qrvml::test
