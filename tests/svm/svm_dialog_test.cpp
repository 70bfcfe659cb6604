// The specification dialog through automation: its table, what is enabled when, what each step of
// OK stores and refuses, penalties, and everything that can be refused or cancelled on the way.
#include "svm/svm_dialog.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <iterator>
#include <sstream>

#include "host/string_table.h"
#include "support/scripted_host.h"
#include "svm/penalty_dialog.h"

namespace qrvml::test {
namespace {

using Texts = std::vector<std::string>;

constexpr const char* kHeader = "y k=rot,blau,gelb x z g=a,b part";

TableFile Twelve() {
  Texts rows;
  const char* const classes[] = {"rot", "blau", "gelb"};
  for (int t = 0; t < 12; ++t) {
    rows.push_back(std::to_string(10 + t * t) + ' ' + classes[t % 3] + ' ' + std::to_string(t) +
                   ' ' + std::to_string(t * 7 % 5) + (t % 4 < 2 ? " a " : " b ") +
                   std::to_string(1 + t / 9));
  }
  return TableFile(kHeader, rows);
}

class SvmSession : public AnalysisSession {
 public:
  explicit SvmSession(std::string_view variables = {}) : AnalysisSession(Twelve()) {
    OpenStartup();
    EXPECT_TRUE(OK().Succeeded());
    if (variables.empty()) return;
    Put("Variables", variables);
    Put("ApplySampling", 0);
  }
  SVMEngine& engine() { return *analysis.svmEngine(); }
  AutomationResult TryPut(std::string_view name, std::string_view text) {
    return dialog().Put(name, AutomationValue::Text(std::string(text)));
  }
  /// OK without going on to the results.
  AutomationResult Accept() {
    host.ForgetStreams();
    host.exitStep = -1;
    return dialog().OAOK();
  }
};

struct FieldRow {
  const char* name;
  double standard, lowest, highest;
  double other;  // a value within the range that is not the default
  std::function<double(SVMEngine&)> stored;
};
constexpr double kMostReal = 999999999.9;

/// The edits in the order in which OK reads them.
std::vector<FieldRow> Fields() {
  using E = SVMEngine;
  return {
      {"CParameter", 10, 1e-20, kMostReal, 3.5, [](E& e) { return e.parameters.C; }},
      {"NuParameter", 0.5, 0, 1, 1, [](E& e) { return e.parameters.nu; }},
      {"EpsilonParameter", 0.1, 0, kMostReal, 0.25, [](E& e) { return e.parameters.epsilon; }},
      {"Degree", 3, 1, 999999999, 2, [](E& e) { return e.parameters.degree; }},
      {"Gam", 0.5, 0, kMostReal, 0.75, [](E& e) { return e.parameters.gamma; }},
      {"Bias", 0, 0, kMostReal, 1.5, [](E& e) { return e.parameters.coef0; }},
      {"VValue", 10, 1, 12, 4, [](E& e) { return e.folds; }},
      {"CrossVSeed", -1, 0, 999999999, 7, [](E& e) { return e.crossValidationSeed; }},
      {"MinimumC", 1, 1e-20, kMostReal, 2, [](E& e) { return e.minimumC; }},
      {"MaximumC", 10, 1e-20, kMostReal, 4, [](E& e) { return e.maximumC; }},
      {"DeltaC", 1, 0, kMostReal, 2.5, [](E& e) { return e.deltaC; }},
      {"MinimumEpsilon", 0.1, 0, kMostReal, 0.2, [](E& e) { return e.minimumEpsilon; }},
      {"MaximumEpsilon", 0.5, 0, kMostReal, 0.7, [](E& e) { return e.maximumEpsilon; }},
      {"DeltaEpsilon", 0.1, 0, kMostReal, 0.3, [](E& e) { return e.deltaEpsilon; }},
      {"MinimumNu", 0.1, 0, 1, 0.2, [](E& e) { return e.minimumNu; }},
      {"MaximumNu", 0.5, 0, 1, 0.6, [](E& e) { return e.maximumNu; }},
      {"DeltaNu", 0.1, 0, kMostReal, 0.3, [](E& e) { return e.deltaNu; }},
      {"MaxNoOfIterations", 1000, 1, 999999999, 50, [](E& e) { return e.solver.maxIterations; }},
      {"StoppingAccuracy", 0.001, 1e-20, kMostReal, 0.01,
       [](E& e) { return e.parameters.stoppingAccuracy; }},
      {"CacheSize", 40, 0, 999999999, 5, [](E& e) { return e.parameters.cacheSize; }},
  };
}

Texts Words(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

TEST(SvmDialog, HasTheDescribedRowsInTheirOrderWithTheirDefaults) {
  // Rows whose identifiers follow one another.
  const struct {
    int identifier, role, kind, type;
    const char* names;
  } runs[] = {
      {50367, 0, 2, 1, "CasewiseDeletionOfMD MeanSubstitutionOfMD"},
      {50370, 1, 2, 1, "Variables"},
      {50371, 2, 1, 6, "ResponseCodes PredictorCodes"},
      {50373, 0, 2, 1, "ApplySampling UseRandomSampling UseSubsetvariable UseFirstNCases"},
      {50377, 0, 2, 2, "SizeOfTrainingSample"},
      {50378, 0, 2, 1, "SeedForRandomSampling NValue"},
      {41204, 1, 2, 1, "AnalysisAndCrossValidationSamples"},
      {41205, 0, 2, 5, "CodeForLearningSample"},
      {41206, 0, 2, 1, "UseCrossvalidationSample"},
      {50380, 0, 2, 1, "ClassType1 ClassType2 RegressionType1 RegressionType2"},
      {50384, 0, 2, 1, "LinearKernel PolyKernel RBFKernel SigmoidKernel Degree"},
      {50389, 0, 2, 2, "Gam Bias CParameter EpsilonParameter NuParameter"},
      {50394, 0, 2, 1, "ApplyCrossV VValue CrossVSeed"},
      {50397, 0, 2, 2, "MinimumC MaximumC DeltaC MinimumEpsilon MaximumEpsilon DeltaEpsilon"},
      {50403, 0, 2, 2, "MinimumNu MaximumNu DeltaNu"},
      {50406, 0, 2, 1, "MaxNoOfIterations"},
      {50407, 0, 2, 2, "StoppingAccuracy"},
      {50408, 0, 2, 1, "CacheSize ShrinkData ScaleInputs ScaleOutputs UsePenalty"},
      {50424, 0, 2, 5, "PenaltyList"}};
  const Texts on = Words(
      "CasewiseDeletionOfMD ApplySampling UseRandomSampling UseCrossvalidationSample ClassType1 "
      "RBFKernel ShrinkData");
  SvmSession session;
  session.Put("Variables", "| k | x z |");
  const auto description = session.dialog().DialogControlDescr();
  std::size_t at = 0;
  for (const auto& run : runs) {
    int identifier = run.identifier;
    for (const std::string& name : Words(run.names)) {
      SCOPED_TRACE(name);
      ASSERT_LT(at, description.size());
      const auto& row = description[at++];
      EXPECT_EQ(row.control->name, name);
      EXPECT_EQ((std::array{row.identifier, row.role, row.kind, row.type}),
                (std::array{identifier++, run.role, run.kind, run.type}));
      const ControlKind kind = row.control->kind;
      if (kind == ControlKind::check || kind == ControlKind::radio) {
        EXPECT_EQ(session.Number(name), std::ranges::count(on, name));
      }
    }
  }
  EXPECT_EQ(at, description.size());
  EXPECT_EQ(session.Number("SizeOfTrainingSample"), 75);
  EXPECT_EQ(session.Number("NValue"), 9);
  for (const FieldRow& field : Fields()) {
    SCOPED_TRACE(field.name);
    const Control* control = session.host.dialog->FindControl(field.name);
    EXPECT_EQ(control->range.lowest, field.lowest);
    if (std::string_view(field.name) != "VValue") {
      EXPECT_EQ(control->range.highest, field.highest);
    }
    if (field.standard >= 0) {
      EXPECT_EQ(session.Number(field.name), field.standard);
    }
  }
  // The interface: settings of the SVM tab before those of the kernel, the sample's at its end.
  std::vector<std::string_view> names, tabs;
  for (const Control& control : session.dialog().Controls()) {
    if (control.IsAutomated()) names.push_back(control.name);
    if (!control.tab.empty() && std::ranges::count(tabs, control.tab) == 0)
      tabs.push_back(control.tab);
  }
  EXPECT_LT(std::ranges::find(names, "NuParameter"), std::ranges::find(names, "LinearKernel"));
  EXPECT_EQ((std::vector(names.end() - 4, names.end())),
            (std::vector<std::string_view>{"PenaltyList", "UseCrossvalidationSample",
                                           "AnalysisAndCrossValidationSamples",
                                           "CodeForLearningSample"}));
  EXPECT_EQ(tabs, (std::vector<std::string_view>{"Base", "Echantillonnage", "SVM", "Noyau",
                                                 "Sélection du modèle", "Apprentissage"}));
}

TEST(SvmDialog, EnablesItsControlsAsTheStateAsks) {
  const std::string c = " MinimumC MaximumC DeltaC", nu = " MinimumNu MaximumNu DeltaNu";
  const std::string epsilon = " MinimumEpsilon MaximumEpsilon DeltaEpsilon";
  const struct {
    const char *variables, *switched;  // each of the second is set to 1
    std::string enabled, disabled;
  } rows[] = {
      {"", "RBFKernel", "", "ClassType1 ClassType2 RegressionType1 RegressionType2"},
      {"| k | x |", "ClassType1", "ClassType2 CParameter ScaleInputs UsePenalty",
       "RegressionType1 RegressionType2 NuParameter EpsilonParameter VValue CrossVSeed "
       "ScaleOutputs PenaltyList" +
           c + epsilon + nu},
      {"| k | x |", "ClassType2", "NuParameter", "CParameter EpsilonParameter"},
      {"y | | | g", "RegressionType1", "CParameter EpsilonParameter ScaleOutputs",
       "ClassType1 ClassType2 NuParameter ScaleInputs Learning.InputLow"},
      {"y | | x |", "RegressionType2", "CParameter NuParameter Learning.InputHigh",
       "EpsilonParameter UsePenalty PenaltyList"},
      {"| k | x |", "ApplyCrossV", "VValue CrossVSeed" + c, "CParameter" + epsilon + nu},
      {"| k | x |", "ClassType2 ApplyCrossV", nu, "NuParameter" + c + epsilon},
      {"y | | x |", "ApplyCrossV", c + epsilon, "CParameter EpsilonParameter" + nu},
      {"y | | x |", "RegressionType2 ApplyCrossV", c + nu, "CParameter NuParameter" + epsilon},
      {"| k | x |", "LinearKernel", "", "Degree Gam Bias"},
      {"| k | x |", "PolyKernel", "Degree Gam Bias", ""},
      {"| k | x |", "RBFKernel", "Gam", "Degree Bias"},
      {"| k | x |", "SigmoidKernel", "Gam Bias", "Degree"},
      {"| | x |", "ShrinkData", "", "ClassType1 RegressionType1 RBFKernel Gam"},
      {"| k | x |", "UsePenalty", "PenaltyList", ""},
  };
  for (const auto& row : rows) {
    SvmSession session(row.variables);
    for (const std::string& name : Words(row.switched)) session.Put(name, 1);
    for (const bool on : {true, false}) {
      for (const std::string& name : Words(on ? row.enabled : row.disabled))
        EXPECT_EQ(session.dialog().IsEnabled(name), on)
            << row.variables << ' ' << row.switched << ' ' << name;
    }
  }
}

TEST(SvmDialog, RefusesATypeOfTheOtherKindOfDependent) {
  SvmSession session("y | | x |");
  session.Put("RegressionType2", 1);
  EXPECT_FALSE(session.TryPut("ClassType1", "1").Succeeded());
  EXPECT_EQ(session.host.TakeMessages(), std::vector{0});
  EXPECT_EQ(session.Number("RegressionType2"), 1);
}

TEST(SvmDialog, VariablesResetTypeAndGammaAndNothingElse) {
  SvmSession session("| k | x z | g");
  session.Put("ClassType2", 1);
  session.Put("Gam", 7);
  session.Put("LinearKernel", 1);
  session.Put("CParameter", 2);
  session.Put("Variables", "y | | x z | g part");
  EXPECT_EQ(session.Number("RegressionType1"), 1);
  EXPECT_EQ(session.Number("Gam"), 0.25);
  EXPECT_EQ(session.Number("LinearKernel"), 1);
  EXPECT_EQ(session.Number("CParameter"), 2);
  session.Put("Variables", "| k | x z | g");
  EXPECT_EQ(session.Number("ClassType1"), 1);
  EXPECT_EQ(session.Number("Gam"), 1.0 / 3);
  session.Put("Variables", "| | x z |");
  EXPECT_EQ(session.engine().parameters.svmType, kOneClass);
  session.host.variableListAnswers = {{{1}, {}, {3}, {}}};  // OK asks for a dependent
  EXPECT_FALSE(session.Accept().Succeeded());
  EXPECT_TRUE(session.host.messages.empty());
  EXPECT_EQ(session.Text("Variables"), "y |  | x | ");
}

TEST(SvmDialog, TabsHideAndRefreshTheirFieldsWhenTheyShow) {
  SvmSession session;
  EXPECT_TRUE(session.dialog().ShowTab("Noyau").Succeeded());
  EXPECT_EQ(session.Number("Gam"), 0.2) << "six variables in the file";
  session.Put("Variables", "| | x |");
  EXPECT_FALSE(session.dialog().HasTab("Noyau"));
  EXPECT_FALSE(session.dialog().ShowTab("Noyau").Succeeded());
  EXPECT_FALSE(session.dialog().ShowTab("Nirgends").Succeeded());
  session.Put("Variables", "| k | x |");
  EXPECT_TRUE(session.dialog().HasTab("Noyau"));
  session.Put("Gam", 0);
  EXPECT_TRUE(session.dialog().ShowTab("Apprentissage").Succeeded());
  EXPECT_EQ(session.Number("Gam"), 0);
  EXPECT_TRUE(session.dialog().ShowTab("Noyau").Succeeded());
  EXPECT_EQ(session.Number("Gam"), 0.2);
  session.Put("Gam", 3);
  EXPECT_TRUE(session.dialog().ShowTab("Noyau").Succeeded());
  EXPECT_EQ(session.Number("Gam"), 3);

  session.Put("VValue", 4);
  session.Put("ApplyCrossV", 0);  // no change
  EXPECT_EQ(session.Number("VValue"), 4);
  session.Put("ApplyCrossV", 1);
  EXPECT_EQ(session.Number("VValue"), 10);
  session.Put("VValue", 4);
  EXPECT_TRUE(session.dialog().ShowTab("Sélection du modèle").Succeeded());
  EXPECT_EQ(session.Number("VValue"), 10);
}

// --- OK ------------------------------------------------------------------------------------------

TEST(SvmDialog, StoresTheFieldsUpToTheFirstThatCannotBeRead) {
  const std::vector<FieldRow> fields = Fields();
  for (std::size_t wrong = 0; wrong < fields.size(); ++wrong) {
    const FieldRow& bad = fields[wrong];
    SCOPED_TRACE(bad.name);
    const std::string above = std::to_string(bad.highest + 1);
    const std::string below = bad.lowest > 0 ? "0" : "-0.5";
    for (const std::string& text : {std::string("x"), std::string(), above, below}) {
      SvmSession session("| k | x z |");
      session.Put("ClassType2", 1);
      session.Put("SigmoidKernel", 1);
      session.Put("ApplyCrossV", 1);
      session.Put("ShrinkData", 0);
      const std::int32_t seed = session.engine().crossValidationSeed;
      for (const FieldRow& field : fields) session.Put(field.name, field.other);
      EXPECT_TRUE(session.dialog().Type(bad.name, text).Succeeded());
      if (bad.name == std::string_view("CacheSize") && text == "0") continue;
      const AutomationResult result = session.Accept();
      EXPECT_FALSE(result.Succeeded()) << text;
      EXPECT_EQ(session.host.TakeMessages(), std::vector{125}) << text;
      EXPECT_EQ(result.text.find(std::string(bad.name) + " takes a "), 0u) << result.text;
      for (std::size_t i = 0; i < fields.size(); ++i) {
        const double old = fields[i].standard < 0 ? seed : fields[i].standard;
        EXPECT_EQ(fields[i].stored(session.engine()), i < wrong ? fields[i].other : old)
            << fields[i].name;
      }
      EXPECT_EQ(session.engine().parameters.svmType, kNuClassification);
      EXPECT_EQ(session.engine().parameters.kernelType, wrong > 2 ? kSigmoidKernel : kRadialKernel);
      EXPECT_EQ(session.engine().applyCrossValidation, wrong > 5);
      EXPECT_EQ(session.engine().parameters.shrinking, 1);
      EXPECT_EQ(session.Number("ShrinkData"), 0) << "the dialog keeps what was chosen";
    }
  }
}

TEST(SvmDialog, GivesTheMessagesOfOkInTheirOrder) {
  constexpr const char* kPercentage = "Size of training sample must lay in the range 0-100";
  using Puts = std::vector<std::pair<const char*, const char*>>;
  const struct {
    Puts puts;  // the last one is typed
    int message;
    const char* text;
    const char* reason = "";  // where the message does not say it
  } rows[] = {
      {{{"UseSubsetvariable", "1"}, {"Sample.Variable", "x"}, {"Gam", "y"}}, 315, ""},
      {{{"UseRandomSampling", "1"}, {"Gam", "y"}, {"SizeOfTrainingSample", "viel"}}, 296, ""},
      {{{"UseRandomSampling", "1"}, {"SizeOfTrainingSample", "0"}}, 0, kPercentage},
      {{{"UseRandomSampling", "1"}, {"SizeOfTrainingSample", "100"}}, 0, kPercentage},
      {{{"UseRandomSampling", "1"}, {"SeedForRandomSampling", "1.5"}}, 296, ""},
      {{{"UseFirstNCases", "1"}, {"NValue", "1e"}}, 296, ""},
      {{{"UseFirstNCases", "1"}, {"NValue", "1"}},
       207,
       "La valeur des N premières obs. doit être supérieure à 1 et inférieure à 12."},
      {{{"UseFirstNCases", "1"}, {"NValue", "11"}}, 207, ""},
      {{{"UseFirstNCases", "1"}, {"Gam", "y"}, {"NValue", "10"}}, 125, ""},
      {{{"ApplySampling", "0"}, {"CParameter", "0"}}, 125, ""},
      {{{"ApplySampling", "0"}, {"ScaleInputs", "1"}, {"Learning.InputLow", "1"}}, 125, ""},
      {{{"ApplySampling", "0"}, {"CacheSize", "0"}}, 0, "Cache size must be larger than zero."},
      {{{"ApplySampling", "0"}, {"ClassType2", "1"}, {"NuParameter", "1"}}, 155, "", "this nu "},
      {{{"ApplyCrossV", "1"}, {"VValue", "1"}}, 155, "", "VValue = 1 holds out all cases "},
      {{{"ApplySampling", "0"}, {"Learning.InputLow", "1"}}, -1, ""},
      {{{"UseFirstNCases", "1"}, {"NValue", "10"}}, -1, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.puts.back().first) + ' ' + row.puts.back().second);
    SvmSession session;
    session.Put("Variables", "| k | x z |");
    for (const auto& [name, text] : row.puts) {
      const Control* control = session.host.dialog->FindControl(name);
      if (control->IsField()) {
        EXPECT_TRUE(session.dialog().Type(name, text).Succeeded());
      } else {
        session.Put(name, text);
      }
    }
    const AutomationResult result = session.Accept();
    EXPECT_EQ(result.Succeeded(), row.message < 0);
    EXPECT_NE(result.text.find(row.reason), std::string::npos) << result.text;
    EXPECT_EQ(session.host.exitStep, row.message < 0 ? 105 : -1);
    ASSERT_EQ(session.host.messages.size(), row.message < 0 ? 0u : 1u);
    if (row.message < 0) continue;
    EXPECT_EQ(session.host.messages[0].number, row.message);
    if (*row.text != '\0') {
      EXPECT_EQ(session.host.messages[0].text, row.text);
    }
  }
}

TEST(SvmDialog, ScalesOncePerOkAndIntoTheRangesThatAreShown) {
  SvmSession session("y | | x z |");
  session.Put("ScaleInputs", 1);
  session.Put("ScaleOutputs", 1);
  EXPECT_TRUE(session.data().scaleInputs && session.data().scaleOutputs) << "stored at once";
  EXPECT_EQ(session.Number("Learning.OutputLow"), -1);
  session.Put("Learning.InputLow", -0.5);
  session.Put("Learning.OutputHigh", 0.5);
  for (int run = 0; run < 2; ++run) {
    ASSERT_TRUE(session.Accept().Succeeded());
    const SVMProblem& problem = session.engine().problem;
    for (int t = 0; t < 12; ++t) {
      // x goes from 0 to 11, y from 10 to 131.
      EXPECT_NEAR(problem.x[t].nodes[0].value, -0.5 + 1.5 * t / 11, 1e-12);
      EXPECT_NEAR(problem.y[t], -1 + 1.5 * t * t / 121, 1e-12);
    }
  }
}

TEST(SvmDialog, TellsOfAModelThatIsNotWhatItMaySeem) {
  const struct {
    const char *variables, *iterations;
    Texts notes;
  } rows[] = {
      {"| k | x z |", "1000", {}},
      {"| k | x z |",
       "1",
       {"training stopped at the iteration limit (MaxNoOfIterations = 1) in 3 of "
        "3 decision "
        "functions, short of the stopping accuracy"}},
      {"y part | | x |", "2000", {"the model predicts y, the first of 2 dependents, alone"}}};
  for (const auto& row : rows) {
    SvmSession session(row.variables);
    session.Put("ScaleInputs", 1);
    session.Put("MaxNoOfIterations", row.iterations);
    ASSERT_TRUE(session.Accept().Succeeded());
    EXPECT_EQ(session.host.notes, row.notes);
    EXPECT_TRUE(session.host.messages.empty());
  }
}

TEST(SvmDialog, ShowsItsProgressOnlyToAPerson) {
  SvmSession session("| k | x z |");
  session.Put("ApplyCrossV", 1);
  session.Put("VValue", 3);
  session.Put("MaximumC", 3);
  session.Put("MaximumEpsilon", 0.2);
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_TRUE(session.host.statusTexts.empty());
  session.host.isAutomation = false;
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_EQ(
      session.host.statusTexts,
      (Texts{"Initialisation de la validation croisée...",
             "Mélange des données pour la validation croisée...", "Mélange des données terminé",
             "Application de la validation croisée...", "Ensemble validation croisée 1",
             "Ensemble validation croisée 2", "Ensemble validation croisée 3",
             "Ensemble validation croisée 1", "Ensemble validation croisée 2",
             "Ensemble validation croisée 3", "Validation croisée terminée",
             "Initialisation de l'apprentissage...", "Apprentissage terminé",
             "Calcul des statistiques de classification en cours..."}));
  EXPECT_EQ(session.host.detailTexts, Texts{"Itérations... 1"});

  // At a poll the second line follows the solver.
  session.Put("ApplyCrossV", 0);
  session.engine().solver.workBetweenPolls = 1;
  session.host.detailTexts.clear();
  ASSERT_TRUE(session.Accept().Succeeded());
  Texts details = session.host.detailTexts;
  details.erase(details.begin());  // of the opening
  const std::int32_t last = session.engine().solver.iterationCount;
  ASSERT_GT(last, 2);
  EXPECT_EQ(details.back(), GetResourceString(288, last));
  EXPECT_EQ(std::ranges::adjacent_find(details), details.end()) << "each count is shown once";
  EXPECT_EQ(std::ranges::count(details, GetResourceString(288, 2)), 3) << "in each optimisation";
}

TEST(SvmDialog, SetsTheSampleIdentifierDirectly) {
  SvmSession session;
  session.Put("Variables", "| k | x z |");
  session.Put("UseSubsetvariable", 1);
  session.Put("AnalysisAndCrossValidationSamples", "part");
  EXPECT_EQ(session.Text("CodeForLearningSample"), "1");
  EXPECT_EQ(session.Number("UseCrossvalidationSample"), 1);
  EXPECT_EQ(session.Text("Sample.State"), "oui");
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_EQ(session.data().trainingCount(), 9);
  session.Put("CodeForLearningSample", "2");
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_EQ(session.data().trainingCount(), 3);
  session.host.variableAnswers = {5};
  EXPECT_TRUE(session.Press("AnalysisAndCrossValidationSamples").Succeeded());
  EXPECT_EQ(session.Text("Sample.Variable"), "g");
  session.Put("UseCrossvalidationSample", 0);
  EXPECT_EQ(session.Text("Sample.State"), "non");
  EXPECT_EQ(session.Text("AnalysisAndCrossValidationSamples"), "");
}

// --- Penalties -----------------------------------------------------------------------------------

TEST(SvmPenaltyList, ANumberForEachClassInTextOrderOrNothingRuns) {
  SvmSession session("| k | x z |");
  session.Put("UsePenalty", 1);
  const struct {
    const char *list, *reason;
  } rows[] = {{"", "the list is empty"},
              {"1 2", "only 2 of 3"},
              {"1 zwei 3", "\"zwei\""},
              {"1, 2, 3", "\",\" is no penalty"},
              {"1 2 -3", "\"-3\" is no"}};
  for (const auto& row : rows) {
    session.Put("PenaltyList", row.list);
    const AutomationResult result = session.Accept();
    EXPECT_FALSE(result.Succeeded());
    EXPECT_NE(result.text.find(row.reason), std::string::npos) << result.text;
    EXPECT_NE(result.text.find("blau, gelb, rot"), std::string::npos) << result.text;
    EXPECT_TRUE(session.host.messages.empty());
    EXPECT_EQ(session.engine().model, nullptr);
  }
  session.Put("PenaltyList", "0.5  4 2");
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_EQ(session.engine().model->parameters.classWeightLabels,
            (std::vector<std::int32_t>{2, 3, 1}));
  EXPECT_EQ(session.engine().model->parameters.classWeights, (std::vector<double>{0.5, 4, 2}));

  EXPECT_FALSE(session.TryPut("PenaltyList", std::string(5001, ' ')).Succeeded());
  EXPECT_EQ(session.Text("PenaltyList"), "0.5 4 2 ");
  session.Put("UsePenalty", 0);
  EXPECT_EQ(session.Text("PenaltyList"), "");
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_TRUE(session.engine().model->parameters.classWeights.empty()) << "not passed on";
  session.Put("PenaltyList", "1 2 3");
  session.Put("UsePenalty", 1);
  EXPECT_EQ(session.Text("PenaltyList"), "") << "every toggle empties it";
  session.Put("UsePenalty", 1);
  session.Put("PenaltyList", "1 2 3");
  session.Put("UsePenalty", 1);  // no toggle
  EXPECT_EQ(session.Text("PenaltyList"), "1 2 3");

  session.Put("Variables", "y | | x |");
  EXPECT_EQ(session.Number("UsePenalty"), 0) << "shown only for classes";
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_TRUE(session.engine().model->parameters.classWeights.empty());
}

TEST(SvmPenaltyDialog, AsksAPersonAndBeginsWhereTheLastOkEnded) {
  SvmSession session("| k | x z |");
  session.host.isAutomation = false;
  session.Put("UsePenalty", 1);
  std::string table;
  std::function<bool(PenaltyDialog&)> answer;
  session.host.modal = [&](int id, CAnalysisDialog& dialog) {
    if (id != PenaltyDialog::kTemplate) return dialog.OnOK();
    EXPECT_EQ(dialog.Automation()->Name(), "MachineLearningPenaltySelection");
    AutomationValue text;
    EXPECT_TRUE(dialog.Automation()->Get("Penalties.Table", text).Succeeded());
    table = text.text;
    return answer(static_cast<PenaltyDialog&>(dialog));
  };
  answer = [&](PenaltyDialog& dialog) {
    const auto put = [&](const char* name, const char* text) {
      return dialog.Automation()->Put(name, AutomationValue::Text(text));
    };
    EXPECT_FALSE(put("Penalties.Cell", "2 1 9").Succeeded());  // a name
    EXPECT_FALSE(put("Penalties.Cell", "4 3 9").Succeeded());  // below the table
    AutomationValue hint;
    EXPECT_TRUE(dialog.Automation()->Get("Penalties.Hint", hint).Succeeded());
    EXPECT_EQ(hint.text, "Seules les cellules en rouge peuvent être modifiées");
    EXPECT_EQ(session.host.TakeMessages(), std::vector<int>()) << "a hint is no message box";
    EXPECT_FALSE(put("Penalties", "1 2").Succeeded());
    EXPECT_TRUE(put("Penalties.Cell", "2 3 viel").Succeeded());
    EXPECT_FALSE(dialog.OnOK());
    EXPECT_EQ(session.host.TakeMessages(), std::vector{125});
    EXPECT_TRUE(put("Penalties.Cell", "2 3 2.50").Succeeded());
    EXPECT_TRUE(dialog.EditCell(1, 3, " 3 "));
    return dialog.OnOK();
  };
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_EQ(table, "Nom de la classe\tEffectifs\tPénalité\nblau\t4\t1\ngelb\t4\t1\nrot\t4\t1");
  EXPECT_EQ(session.engine().model->parameters.classWeights, (std::vector<double>{3, 2.5, 1}));
  EXPECT_EQ(session.Text("PenaltyList"), "3 2.50 1 ");
  EXPECT_EQ(session.host.recorded.back(), (Recorded{"PenaltyList", "3 2.50 1 "}));

  answer = [](PenaltyDialog&) { return false; };  // Cancel
  EXPECT_FALSE(session.Accept().Succeeded());
  EXPECT_NE(table.find("blau\t4\t3\ngelb\t4\t2.5\n"), std::string::npos) << table;
  EXPECT_TRUE(session.engine().parameters.classWeights.empty());
  EXPECT_EQ(session.host.exitStep, -1);

  answer = [](PenaltyDialog& dialog) { return dialog.TakeList("1 2 3") && dialog.OnOK(); };
  ASSERT_TRUE(session.Accept().Succeeded());
  session.Put("UsePenalty", 0);
  session.Put("UsePenalty", 1);
  ASSERT_TRUE(session.Accept().Succeeded());
  EXPECT_NE(table.find("blau\t4\t1\ngelb\t4\t1\nrot\t4\t1"), std::string::npos) << "from 1 again";
}

// --- Faults --------------------------------------------------------------------------------------

TEST(SvmDialogFaults, MemoryRefusedOrACancelAnywhereKeepsTheDialogAndTheNextOkIsWhole) {
  for (const bool cancels : {false, true}) {
    SvmSession session;
    session.Put("Variables", "| k | x z | g");
    session.Put("UseFirstNCases", 1);
    session.Put("NValue", 10);
    session.Put("UsePenalty", 1);
    session.Put("PenaltyList", "1 2 3");
    session.Put("ApplyCrossV", 1);
    session.Put("VValue", 2);
    session.Put("MaximumC", 3);
    session.host.isAutomation = false;
    session.host.modal = [](int id, CAnalysisDialog& dialog) {
      if (id == PenaltyDialog::kTemplate) static_cast<PenaltyDialog&>(dialog).TakeList("1 2 3");
      return dialog.OnOK();
    };
    ASSERT_TRUE(session.Accept().Succeeded());
    const std::vector<double> expected(session.engine().model->coefficients.begin(),
                                       session.engine().model->coefficients.end());
    const double chosenC = session.engine().parameters.C;
    int faults = 0;
    for (bool done = false; !done;) {
      session.Put("CParameter", 10);
      session.host.refuseAllocation = cancels ? 0 : session.host.allocations + faults + 1;
      session.host.cancelAtPoll = cancels ? session.host.polls + faults + 1 : 0;
      done = session.Accept().Succeeded();
      session.host.cancelAtPoll = session.host.refuseAllocation = 0;
      if (done) break;
      ++faults;
      EXPECT_EQ(session.host.TakeMessages(), cancels ? std::vector<int>() : std::vector{104});
      EXPECT_EQ(session.host.openPasses + session.host.openIterDisplays, 0);
      EXPECT_EQ(session.Text("PenaltyList"), "1 2 3 ");
    }
    EXPECT_GT(faults, cancels ? 10 : 60);
    EXPECT_EQ(session.engine().parameters.C, chosenC);
    EXPECT_TRUE(std::ranges::equal(session.engine().model->coefficients, expected));
  }
}

}  // namespace
}  // namespace qrvml::test
