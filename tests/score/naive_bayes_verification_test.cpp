// Generated texts of naive Bayes are verified against the plain formulas' model: they pass as they
// are generated, and what is changed in them afterwards does not.
#include "bayes/naive_bayes_analysis.h"
#include "bayes/random_cases.h"
#include "deploy/sample_text.h"
#include "score/bayes_verification.h"
#include "score/checked_text.h"

namespace qrvml::test {
namespace {

/// A trained analysis, and beside it what the plain formulas say of its model and test cases.
struct Trained {
  NaiveBayesAnalysis bayes;
  EngineBayes engine;

  Trained(const PlainCases& cases, const PlainBayesSettings& settings) : bayes(cases, settings) {
    const PlainBayes plain(cases, settings);
    EXPECT_TRUE(bayes.OK().Succeeded());
    for (int v = 0; v < cases.Inputs() + cases.dependents; ++v) {
      EngineField field{bayes.file.variables[v].name, {}};
      std::map<double, std::string> texts;
      for (const PlainBayes::Used& taken : plain.sample)
        if (v >= cases.continuous && taken.values[v] != kGap)
          texts[taken.values[v]] = ShortestText(taken.values[v]);
      if (v >= cases.continuous)
        for (const auto& [code, text] : cases.labels[v - cases.continuous])
          if (texts.contains(code)) texts[code] = text;
      for (const auto& [code, text] : texts) field.labels.push_back({code, text, false});
      (v < cases.Inputs() ? engine.inputs : engine.dependents).push_back(field);
    }
    engine.threshold = settings.threshold;
    engine.weighted = !cases.weights.empty();
    engine.distributions = settings.distributions;
    engine.distributions.resize(cases.continuous, 0);
    engine.distributions.resize(cases.Inputs(), 4);
    engine.priors = plain.priors;
    engine.classCounts = plain.classCount;
    engine.valid = plain.validWeight;
    engine.inputCount = plain.inputCount;
    engine.least = plain.least;
    engine.most = plain.most;
    for (int d = 0; d < cases.dependents; ++d) {
      BayesTables& tables = engine.tables.emplace_back();
      tables.mean = plain.mean[d];
      tables.variance = plain.variance[d];
      for (const auto& ofClass : plain.pairs[d]) {
        auto& pairs = tables.pairs.emplace_back();
        for (const auto& ofInput : ofClass) pairs.emplace_back(ofInput.begin(), ofInput.end());
      }
    }
    for (const PlainBayes::Used& taken : plain.sample) {
      const auto found = plain.Classify(taken.values, {});
      if (found.predicted[0] == kGap) continue;
      engine.cases.push_back(taken.row + 1);
      for (int k = 0; k < cases.Inputs(); ++k)
        engine.caseInputs.push_back(engine.inputs[k].ClassCode(taken.values[k]));
      engine.predictions.insert(engine.predictions.end(), found.predicted.begin(),
                                found.predicted.end());
    }
  }

  std::vector<std::string> Texts(CodeDialect dialect) {
    return GeneratedTexts(bayes, kCodeActions[int(dialect)]);
  }
  TextCheck Check(CodeDialect dialect, const std::string& text, std::size_t dependent = 0) {
    std::string error;
    std::vector<int> dependents;
    for (const EngineField& field : engine.dependents)
      dependents.push_back(Scoring::FindVariable(bayes.file, field.name));
    const auto model = OpenText(dialect, text, bayes.file, error, dependents);
    TextCheck check;
    if (model != nullptr) return CheckText(dialect, text, *model, engine, dependent);
    check.faults.push_back(error);
    return check;
  }
};

TEST(NaiveBayesVerification, TextsOfEveryShapePass) {
  int seed = 700, different = 0;
  for (const BayesShape& shape : BayesShapes()) {
    for (const int rule : {0, 2}) {
      for (const double threshold : {0.0, 0.0001, 1.0}) {
        const bool weighted = threshold == 0;
        const PlainCases cases = RandomCases(shape, 90, 0, weighted, rule == 2, ++seed);
        SCOPED_TRACE(std::string(shape.name) + ", seed " + std::to_string(seed));
        PlainBayesSettings settings{rule, shape.distributions, threshold};
        Trained trained(cases, settings);
        if (threshold == 1)
          for (BayesTables& tables : trained.engine.tables)
            for (auto& ofClass : tables.pairs)
              for (auto& ofInput : ofClass)
                for (double& count : ofInput) count = std::max(count, 1.0);
        for (const CodeDialect dialect : {CodeDialect::c, CodeDialect::qvb, CodeDialect::pmml}) {
          // A compiler takes its time.
          if (dialect == CodeDialect::c && (rule == 0 || threshold != 0)) continue;
          std::size_t dependent = 0;
          for (const std::string& text : trained.Texts(dialect)) {
            const TextCheck check = trained.Check(dialect, text, dependent++);
            EXPECT_TRUE(check.Passed()) << int(dialect) << Faults(check);
            for (const DependentCheck& own : check.dependents) {
              EXPECT_EQ(own.cases, std::int64_t(trained.engine.cases.size()));
              const bool isWhole = dialect == CodeDialect::pmml || shape.distributions.empty();
              if (isWhole && rule == 0) {
                EXPECT_LE(own.differentFromEngine, 1) << testing::PrintToString(check.notes);
              }
              different += !isWhole && own.differentFromEngine > 0;
            }
          }
        }
      }
    }
  }
  EXPECT_GT(different, 0) << "placeholders are meant to show";
}

TEST(NaiveBayesVerification, ATextThatWasTamperedWithFails) {
  using enum CodeDialect;
  const struct {
    CodeDialect dialect;
    const char* from;  // its first occurrence is replaced
    const char* to;
    const char* fault;
  } changes[] = {
      {qvb, "Threshold=0.0001", "Threshold=0.001", "thresholds are not the engine's"},
      {qvb, "DistType(2)=1", "DistType(2)=0", "\"x2\" has another distribution than the engine's"},
      {qvb, "Priors(1,2)=0", "Priors(1,2)=1", "1 of its priors are not the engine's"},
      {qvb, "CondMean(2, 1, 3)=", "CondMean(2, 1, 3)=9", "1 of its means are not the engine's"},
      {qvb, "CondStd(1, 2, 1)=", "CondStd(1, 2, 1)=9", "\"x1\" in class \"Femme\" of \"c1\""},
      {qvb, "CondFreq(1, 1, 2, 3)=0", "CondFreq(1, 1, 2, 3)=1", "category 3 of \"u2\" in class"},
      {qvb, "InputNominals(1, 1)=", "InputNominals(1, 1)=9", "categories of \"u1\""},
      {qvb, "OutputNominals(1, 1)=", "OutputNominals(1, 1)=9", "the classes of \"c1\""},
      {qvb, "InputIndex(1)=1", "InputIndex(1)=2", "it names \"x2\" where \"x1\" belongs"},
      {qvb, "If Mx<Conf(i, j) Then", "If Mx>Conf(i, j) Then", "the printed model predicts"},
      {qvb, "Logp = 0", "Logp = 0 : Value = 1/(1-NoInputs/NoInputs)", "Division by zero"},
      {pmml, "distType=\"lognormal\"", "distType=\"normal\"", "another distribution"},
      {pmml, "threshold=\"0.000100\"", "threshold=\"0.000200\"", "thresholds are not"},
      {pmml, "category=\"Femme\" value=\"2\" count=\"", "category=\"Femme\" value=\"2\" count=\"1",
       "1 of its class counts are not the engine's"},
      {pmml, "<Parameter name=\"std\" value=\"", "<Parameter name=\"std\" value=\"1",
       "1 of its variances are not the engine's"},
      {pmml, "<PairCounts category=\"1\" label=\"1\">", "<PairCounts category=\"1\" label=\"7\">",
       "is not the next of \"u2\""},
      {c, "condMean[1][0][2]=", "condMean[1][0][2]=9", "1 of its means are not the engine's"},
      {c, "static double priors[]=\n{\n0", "static double priors[]=\n{\n1",
       "1 of its priors are not the engine's"},
      {c, "static int dist[]=\n{\n0", "static int dist[]=\n{\n1",
       "\"x1\" has another distribution than the engine's"},
      {c, "condFreq[0][0][1][2]=0", "condFreq[0][0][1][2]=1", "category 3 of \"u2\" in class"},
  };
  Trained trained(RandomCases(BayesShapes()[3], 90, 0, false, false, 31),
                  {0, BayesShapes()[3].distributions});
  for (const auto& change : changes) {
    SCOPED_TRACE(change.from);
    const std::string text = trained.Texts(change.dialect).at(0);
    const TextCheck check = trained.Check(change.dialect, Replaced(text, change.from, change.to));
    EXPECT_FALSE(check.Passed());
    EXPECT_NE(Faults(check).find(change.fault), std::string::npos) << Faults(check);
  }
  // Of nine inputs 2 and 8 are gamma, 3 and 6 Poisson.
  const std::string script = trained.Texts(qvb).at(0);
  EXPECT_EQ(PlaceholderInputs(qvb, script), (std::vector<std::size_t>{2, 3, 6, 8}));
  EXPECT_EQ(PlaceholderInputs(qvb, Replaced(script, "LogGamma = 0", "LogGamma = M+S")),
            (std::vector<std::size_t>{3, 6}));
  EXPECT_EQ(PlaceholderInputs(c, trained.Texts(c).at(0)).size(), 4u);
  for (const CodeDialect dialect : {c, qvb, pmml}) {
    const std::string text = trained.Texts(dialect).at(0);
    for (const std::size_t length : {std::size_t(0), text.size() / 4}) {
      std::string error;
      EXPECT_EQ(trained.engine.Read(dialect, text.substr(0, length), error), nullptr) << length;
      EXPECT_FALSE(error.empty());
    }
  }
}

}  // namespace
}  // namespace qrvml::test
