// The specification dialog through automation: its table, its defaults, every step of OK with its
// message, and when the data are read again.
#include "bayes/naive_bayes_dialog.h"

#include "bayes/naive_bayes_analysis.h"

namespace qrvml::test {
namespace {

constexpr const char* kHeader = "x y n g=A,B u=A,B s half z";
const std::vector<std::string> kRows = {
    "1 10 0 A A 1 2 -1", "2 20 3 B B 1 2.5 0", "3 30 1 A A 1 1 1", "4 40 0 B B 1 1 2",
    "5 50 2 A A 1 1 3",  "6 60 1 B B 2 1 4",   "7 70 5 A A 2 1 5", "8 80 1.5 B B 2 1 6"};

NaiveBayesAnalysis Eight(std::string_view variables, int training = 0) {
  return {TableFile(kHeader, kRows), variables, training};
}

TEST(NaiveBayesDialog, HasTheDescribedRowsInTheirOrderWithTheirDefaults) {
  AnalysisSession session(TableFile(kHeader, kRows));
  session.OpenStartup();
  session.Put("TypeOfAnalysis", "scMLNB");
  ASSERT_TRUE(session.OK().Succeeded());
  EXPECT_EQ(session.host.templateId, 3734);
  EXPECT_EQ(session.dialog().Title(), "Réseaux Bayésiens Naïfs ");
  const struct {
    const char* name;
    int identifier, role, kind, type;
    double standard;
  } rows[] = {
      {"CasewiseDeletionOfMD", 50367, 0, 2, 1, 1},
      {"MeanSubstitutionOfMD", 50368, 0, 2, 1, 0},
      {"UseMissingCasesIfPossible", 50369, 0, 2, 1, 0},
      {"Variables", 50370, 1, 2, 1, -1},
      {"ResponseCodes", 50371, 2, 1, 6, -1},
      {"PredictorCodes", 50372, 2, 1, 6, -1},
      {"ApplySampling", 50373, 0, 2, 1, 1},
      {"UseRandomSampling", 50374, 0, 2, 1, 1},
      {"UseSubsetvariable", 50375, 0, 2, 1, 0},
      {"UseFirstNCases", 50376, 0, 2, 1, 0},
      {"SizeOfTrainingSample", 50377, 0, 2, 2, 75},
      {"SeedForRandomSampling", 50378, 0, 2, 1, -1},
      {"NValue", 50379, 0, 2, 1, 6},
      {"Threshold", 50423, 0, 2, 2, 0.0001},
      {"InputDistributions", 50425, 1, 2, 1, -1},
  };
  const auto description = session.dialog().DialogControlDescr();
  ASSERT_EQ(description.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].name);
    EXPECT_EQ(description[i].control->name, rows[i].name);
    EXPECT_EQ(description[i].identifier, rows[i].identifier);
    EXPECT_EQ(description[i].role, rows[i].role);
    EXPECT_EQ(description[i].kind, rows[i].kind);
    EXPECT_EQ(description[i].type, rows[i].type);
    if (rows[i].standard >= 0) {
      EXPECT_EQ(session.Number(rows[i].name), rows[i].standard);
    }
  }
  EXPECT_EQ(session.Text("InputDistributions"), "");
}

TEST(NaiveBayesDialog, EnablesItsControlsAsTheStateAsks) {
  const std::vector<std::string_view> sampling = {"UseRandomSampling", "UseSubsetvariable",
                                                  "UseFirstNCases", "SizeOfTrainingSample",
                                                  "SeedForRandomSampling"};
  NaiveBayesAnalysis bayes = Eight("g | x |");
  const auto areEnabled = [&](const std::vector<std::string_view>& names, bool enabled) {
    for (const auto name : names) EXPECT_EQ(bayes.dialog().IsEnabled(name), enabled) << name;
  };
  areEnabled(sampling, false);
  areEnabled({"NValue", "Sample", "Threshold", "PredictorCodes"}, false);
  areEnabled({"ApplySampling", "ResponseCodes", "InputDistributions"}, true);
  bayes.Put("ApplySampling", 1);
  areEnabled(sampling, true);
  bayes.Put("Variables", "g | | u");
  areEnabled({"Threshold", "PredictorCodes", "InputDistributions"}, true);
}

TEST(NaiveBayesDialog, TakesThreeListsOfVariablesOrFourWithAnEmptyFirst) {
  NaiveBayesAnalysis bayes = Eight("g | x y | u");
  EXPECT_EQ(bayes.Text("Variables"), "g | x y | u");
  const VariableListsRequest& request = bayes.host.variableListsRequests.back();
  EXPECT_EQ(request.title, "Sélectionnez les variables de l'analyse");
  EXPECT_EQ(request.captions,
            (std::vector<std::string>{"Dépend. catégorielle(s) : ", "Prédicteurs continus : ",
                                      "Prédicteurs catégoriels : "}));
  EXPECT_EQ(bayes.engine().priorKind, std::vector{PriorKind::fromData});
  bayes.Put("InputDistributions", "y | | x |");
  bayes.Train();
  EXPECT_TRUE(bayes.engine().SetPriorKind(0, PriorKind::equal));
  bayes.Put("Variables", "g u | x y |");
  EXPECT_EQ(bayes.Text("InputDistributions"), "x y |  |  | ") << "back to the default";
  EXPECT_EQ(bayes.engine().priorKind, std::vector(2, PriorKind::fromData));
  EXPECT_TRUE(bayes.engine().priors.empty());
  EXPECT_TRUE(bayes.engine().trainingConfusion.empty());
  bayes.Put("Variables", "g | x |");
  bayes.host.variableListAnswers = {{{4}, {}, {}}};
  EXPECT_FALSE(bayes.Press("Variables").Succeeded());
  EXPECT_EQ(bayes.host.TakeMessages(), std::vector{117});
  EXPECT_EQ(bayes.Text("Variables"), "g | x | ");
}

TEST(NaiveBayesDialog, OkWithoutVariablesAsksForThem) {
  AnalysisSession session(TableFile(kHeader, kRows));
  session.OpenStartup();
  session.Put("TypeOfAnalysis", "scMLNB");
  session.OK();
  session.host.variableListAnswers = {{{4}, {1}, {}}};
  EXPECT_FALSE(session.OK().Succeeded());
  EXPECT_EQ(session.Text("Variables"), "g | x | ");
  EXPECT_TRUE(session.host.messages.empty());
}

TEST(InputDistributions, AreListsOfContinuousInputsWithTheRestNormal) {
  NaiveBayesAnalysis bayes = Eight("g | x y n | u");
  const struct {
    const char *put, *read;
  } rows[] = {{"x y n", "x y n |  |  | "},       {" | | | n", "x y |  |  | n"},
              {"None | * | y", " | x n | y | "}, {" | 1-3", " | x y n |  | "},
              {"x | x | \"n\"", "y | x | n | "}, {"", "x y n |  |  | "}};
  for (const auto& row : rows) {
    bayes.Put("InputDistributions", row.put);
    EXPECT_EQ(bayes.Text("InputDistributions"), row.read) << row.put;
  }
  bayes.Put("InputDistributions", "| x | | n");
  for (const char* wrong : {"u", "| nobody", "| | | | x", "| \"x", "4"}) {
    EXPECT_FALSE(
        bayes.dialog().Put("InputDistributions", AutomationValue::Text(wrong)).Succeeded());
    EXPECT_EQ(bayes.host.TakeMessages(), std::vector{0}) << wrong;
  }
  EXPECT_EQ(bayes.Text("InputDistributions"), "y | x |  | n");
  EXPECT_EQ(bayes.Text("Distributions.List"),
            "Indépendante\tType\tDistribution\nx\tContinu\tLognormale\ny\tContinu\tNormale\n"
            "n\tContinu\tPoisson\nu\tCategoriel\tDiscrète");
  EXPECT_EQ(bayes.engine().distributionCount, (std::array<std::uint16_t, 5>{1, 1, 0, 1, 1}));

  bayes.host.variableListAnswers = {{{1}, {}, {2, 5}, {3}}};  // 5 is no continuous input
  EXPECT_TRUE(bayes.Press("InputDistributions").Succeeded());
  EXPECT_EQ(bayes.Text("InputDistributions"), "x |  | y | n");
  const VariableListsRequest& request = bayes.host.variableListsRequests.back();
  EXPECT_EQ(request.title, "Distributions des variables indépendantes :");
  EXPECT_EQ(request.captions,
            (std::vector<std::string>{"Normale", "Lognormale", "Gamma", "Poisson"}));
  EXPECT_EQ(request.lists, (std::vector<std::vector<int>>{{2}, {1}, {}, {3}}));
  EXPECT_EQ(request.offered, (std::vector<int>{1, 2, 3})) << "the continuous inputs";
  EXPECT_FALSE(bayes.Press("InputDistributions").Succeeded()) << "cancelled";

  NaiveBayesAnalysis discrete = Eight("g | | u");
  const std::size_t asked = discrete.host.variableListsRequests.size();
  EXPECT_FALSE(discrete.Press("InputDistributions").Succeeded());
  EXPECT_EQ(discrete.host.variableListsRequests.size(), asked) << "nothing to choose from";
}

Message DistributionMessage(int number, const char* name) {
  return {number, GetResourceString(number, std::string_view(name))};
}

TEST(InputDistributions, ThatDoNotFitTheValuesAreRefusedForTheFirstSuchInput) {
  const struct {
    const char *variables, *distributions;
    int message;
    const char* name;
  } rows[] = {
      {"g | x n |", "| n", 200, "n"},
      {"g | z |", "| z", 200, "z"},
      {"g | x n |", "| | n", -1, ""},
      {"g | x z |", "| | z", 201, "z"},
      {"g | z half |", "| | | z half", 202, "z"},
      {"g | half n |", "| | | half n", 203, "half"},
      {"g | x y |", "| x | y", -1, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.distributions);
    NaiveBayesAnalysis bayes = Eight(row.variables);
    bayes.Put("InputDistributions", row.distributions);
    EXPECT_EQ(bayes.Accept(), row.message < 0);
    if (row.message < 0) continue;
    EXPECT_EQ(bayes.host.messages,
              std::vector<Message>{DistributionMessage(row.message, row.name)});
    EXPECT_EQ(bayes.host.exitStep, -1);
    const int reads = bayes.file.reads;
    bayes.Put("InputDistributions", "*");
    EXPECT_TRUE(bayes.Accept());
    EXPECT_EQ(bayes.file.reads, reads) << "the data are there";
  }
  NaiveBayesAnalysis bayes = Eight("g | n |", 7);
  bayes.Put("InputDistributions", "| | | n");
  EXPECT_FALSE(bayes.Accept()) << "the fraction is in the test sample";
  EXPECT_EQ(bayes.host.TakeMessages(), std::vector{203});
  EXPECT_EQ(DistributionMessage(203, "n").text,
            "Vous avez affecté une distribution de Poisson à la variable dépendante (d'entrée) n. "
            "Les variables avec des valeurs non entières ne peuvent être modélisées par une "
            "distribution de Poisson.");
}

const Message kPercentage = {0, "Size of training sample must lay in the range 1-100"};
const Message kFirstN = {
    207, "La valeur des N premières obs. doit être supérieure à 1 et inférieure à 8."};
const Message kThreshold = {0, "Threshold must lay between 0 and 1."};

TEST(NaiveBayesDialog, OkReportsOneFaultAfterTheOtherInItsFixedOrder) {
  NaiveBayesAnalysis bayes = Eight("g | x | half");
  const auto dialog = bayes.automation();
  bayes.Put("ApplySampling", 1);
  bayes.Put("UseSubsetvariable", 1);
  bayes.Put("Sample.Variable", "x");
  for (const char* field : {"SizeOfTrainingSample", "SeedForRandomSampling", "Threshold"})
    EXPECT_TRUE(dialog->Type(field, "abc").Succeeded());
  const struct {
    const char *control, *entry;
    Message message;
  } steps[] = {
      {"UseMissingCasesIfPossible", "1", MessageOf(315)},
      {"UseRandomSampling", "1", MessageOf(296)},
      {"SizeOfTrainingSample", "0", kPercentage},
      {"SizeOfTrainingSample", "100", kPercentage},
      {"SizeOfTrainingSample", "0.001", MessageOf(296)},
      {"SeedForRandomSampling", "-1", MessageOf(296)},
      {"SeedForRandomSampling", "3", MessageOf(116)},  // "half" holds 2.5
      {"Variables", "g | z | u", MessageOf(218)},
      {"UseFirstNCases", "1", kFirstN},
      {"NValue", "abc", MessageOf(296)},
      {"NValue", "1", kFirstN},
      {"NValue", "8", kFirstN},
      {"NValue", "6", kThreshold},
      {"InputDistributions", "| | z", DistributionMessage(201, "z")},
      {"Variables", "g | x | s", kThreshold},
      {"NValue", "5", MessageOf(220)},  // s is 2 from the sixth case on
      {"Variables", "s | x | u", MessageOf(221)},
      {"NValue", "7", kThreshold},
      {"Variables", "g | x | u", kThreshold},
      {"Threshold", "-0.001", kThreshold},
      {"Threshold", "1.001", kThreshold},
      {"Threshold", "", kThreshold},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(std::string(step.control) + " = " + step.entry);
    if (!dialog->Type(step.control, step.entry).Succeeded()) bayes.Put(step.control, step.entry);
    EXPECT_FALSE(bayes.Accept());
    EXPECT_EQ(bayes.host.messages, std::vector<Message>{step.message});
    ASSERT_TRUE(dialog->IsOpen());
    EXPECT_TRUE(bayes.engine().trainingConfusion.empty());
    bayes.host.messages.clear();
  }
  for (const char* accepted : {"0", "1", "0.5"}) {
    EXPECT_TRUE(dialog->Type("Threshold", accepted).Succeeded());
    bayes.Train();
  }
  EXPECT_EQ(bayes.engine().threshold, 0.5);
  EXPECT_EQ(bayes.host.exitMode, 2);
}

TEST(NaiveBayesDialog, WithoutTestCasesFailsOnlyWhereItSplits) {
  NaiveBayesAnalysis bayes = Eight("g | x |");
  bayes.Put("ApplySampling", 1);
  bayes.Put("UseSubsetvariable", 1);
  bayes.Put("Sample.Variable", "n");
  bayes.Put("Sample.Code", "0");
  bayes.file = TableFile(kHeader, std::vector<std::string>(8, "1 1 0 A A 1 1 1"));
  bayes.data().rereadNeeded = true;
  EXPECT_FALSE(bayes.Accept());
  EXPECT_EQ(bayes.host.TakeMessages(), std::vector{219});
}

TEST(NaiveBayesDialog, ReadsTheDataAgainOnlyWhereSomethingHasChanged) {
  NaiveBayesAnalysis bayes = Eight("g | x n | u");
  const auto readsOf = [&](auto change) {
    change();
    const int before = bayes.file.reads;
    bayes.Train();
    return bayes.file.reads - before;
  };
  EXPECT_EQ(readsOf([] {}), 16);
  EXPECT_EQ(readsOf([] {}), 0);
  EXPECT_EQ(readsOf([&] { bayes.Put("Threshold", 0.5); }), 0);
  EXPECT_EQ(readsOf([&] { bayes.Put("InputDistributions", "| x"); }), 0);
  EXPECT_EQ(readsOf([&] { bayes.Put("MeanSubstitutionOfMD", 1); }), 16);
  EXPECT_EQ(readsOf([&] { bayes.Put("PredictorCodes", "1 2"); }), 16);
  EXPECT_EQ(readsOf([&] { bayes.Put("ApplySampling", 1); }), 16);
  EXPECT_EQ(readsOf([] {}), 16) << "every OK draws the sample";
  EXPECT_EQ(readsOf([&] { bayes.Put("ApplySampling", 0); }), 16);
  EXPECT_EQ(readsOf([] {}), 0);
}

TEST(NaiveBayesDialog, CancelReleasesWhatTheRunMade) {
  NaiveBayesAnalysis bayes = Eight("g | x | u", 6);
  bayes.Train();
  EXPECT_FALSE(bayes.learned().empty());
  bayes.host.exitStep = -1;
  EXPECT_TRUE(bayes.dialog().OACancel().Succeeded());
  EXPECT_EQ(bayes.host.exitStep, 101);
  EXPECT_TRUE(bayes.learned().empty());
  EXPECT_TRUE(bayes.engine().trainingConfusion.empty());
  EXPECT_TRUE(bayes.engine().priors.empty());
}

TEST(NaiveBayesDialog, KeepsTheKindOfPriorsButStartsFromTheDataEachRun) {
  NaiveBayesAnalysis bayes = Eight("g | x |");
  bayes.file.cases.pop_back();
  bayes.data().CheckDataFile();
  bayes.Train();
  EXPECT_TRUE(bayes.engine().SetPriorKind(0, PriorKind::equal));
  EXPECT_EQ(bayes.engine().priors[0][0], 0.5);
  bayes.Train();
  EXPECT_EQ(bayes.engine().priorKind[0], PriorKind::equal);
  EXPECT_DOUBLE_EQ(bayes.engine().priors[0][0], 4.0 / 7);
}

}  // namespace
}  // namespace qrvml::test
