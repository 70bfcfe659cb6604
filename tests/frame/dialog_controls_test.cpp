// The control tables of the dialogs and the automation interface that is read from them.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

#include "frame/machine_learning.h"
#include "host/numerics.h"
#include "knn/knn_dialog.h"
#include "support/scripted_host.h"

namespace qrvml::test {
namespace {

TableFile Flowers() {
  return TableFile("length  width  kind=a,b  part",
                   {"1 2 a 1", "2 3 b 1", "3 5 a 2", "4 4 b 1", "5 1 a 2", "6 2 b 1", "7 7 a 1"});
}

/// Calls `check` with each dialog of the sequence, the results dialog after training, and with the
/// two modal ones; each in a session of its own.
void ForEachDialog(const std::function<void(CAnalysisDialog&)>& check) {
  const struct {
    const char *name, *kind;  // no kind: the startup dialog
    bool isResults = false;
    const char* modal = "";  // the button that opens it; OK: "OK"
  } dialogs[] = {{"MachineLearningStartup", ""},
                 {"MachineLearningSVM", "scMLSVM"},
                 {"MachineLearningResultsSVM", "scMLSVM", true},
                 {"MachineLearningKNN", "scMLKNN"},
                 {"MachineLearningResultsKNN", "scMLKNN", true},
                 {"MachineLearningNB", "scMLNB"},
                 {"MachineLearningResultsNB", "scMLNB", true},
                 {"MachineLearningPenaltySelection", "scMLSVM", false, "OK"},
                 {"", "scMLKNN", false, "Sample"}};
  for (const auto& dialog : dialogs) {
    SCOPED_TRACE(dialog.name);
    AnalysisSession session(Flowers());
    session.OpenStartup();
    if (*dialog.kind != '\0') {
      session.Put("TypeOfAnalysis", dialog.kind);
      ASSERT_TRUE(session.OK().Succeeded());
    }
    const std::string modal = dialog.modal;
    if (dialog.isResults || modal == "OK") {
      session.Put("Variables", "| kind | length width | part");
      session.Put("UseFirstNCases", 1);
      session.Put("NValue", 5);
    }
    if (dialog.isResults) {
      ASSERT_TRUE(session.OK().Succeeded());
    }
    int checked = 0;
    const auto checkOne = [&](CAnalysisDialog& one) {
      ++checked;
      EXPECT_EQ(one.InterfaceName(), dialog.name);
      check(one);
    };
    if (modal.empty()) {
      checkOne(*session.host.dialog);
    } else {
      session.host.isAutomation = false;
      session.host.modal = [&](int, CAnalysisDialog& one) {
        checkOne(one);
        return false;
      };
      session.Put(modal == "OK" ? "UsePenalty" : "UseSubsetvariable", 1);
      EXPECT_FALSE((modal == "OK" ? session.OK() : session.Press("Sample")).Succeeded());
    }
    EXPECT_EQ(checked, 1);
  }
}

TEST(ControlTables, NameEveryControlAndEveryAutomatedRowOnce) {
  ForEachDialog([](CAnalysisDialog& dialog) {
    std::set<std::string_view> names;
    std::set<int> identifiers;
    std::size_t automated = 0;
    for (const Control& control : dialog.Controls()) {
      EXPECT_TRUE(names.insert(control.name).second) << control.name;
      if (!control.IsAutomated()) continue;
      if (!control.refusal.empty()) continue;  // has no row
      ++automated;
      // The code generators' button and its QVB entry are known to share theirs.
      EXPECT_TRUE(identifiers.insert(control.row.identifier).second ||
                  control.row.identifier == 26364)
          << control.name;
      EXPECT_EQ(std::ranges::find(kAnswerNames, control.name), std::end(kAnswerNames));
    }
    EXPECT_EQ(dialog.Automation()->DialogControlDescr().size(), automated);
    for (const ControlDescription& row : dialog.Automation()->DialogControlDescr()) {
      EXPECT_EQ(row.flag, 1);
      EXPECT_EQ(row.zero1 + row.zero2, 0);
    }
  });
}

TEST(ControlTables, HaveDefaultsInsideTheirRanges) {
  ForEachDialog([](CAnalysisDialog& dialog) {
    for (const Control& control : dialog.Controls()) {
      if (control.range.lowest == control.range.highest || control.bind.number == nullptr) continue;
      const double value = control.bind.number(dialog);
      EXPECT_GE(value, control.range.lowest) << control.name;
      EXPECT_LE(value, control.range.highest) << control.name;
    }
  });
}

TEST(ControlTables, EveryValueThatCanBePutIsReadBack) {
  ForEachDialog([](CAnalysisDialog& dialog) {
    QrvAnalysisDialog& automation = *dialog.Automation();
    const auto put = [&](std::string_view name, const AutomationValue& value) {
      EXPECT_TRUE(automation.Put(name, value).Succeeded()) << name;
    };
    const auto number = [&](std::string_view name) {
      AutomationValue value;
      EXPECT_TRUE(automation.Get(name, value).Succeeded()) << name;
      return value.number;
    };
    int puts = 0;
    if (dialog.InterfaceName() == "MachineLearningSVM")
      put("Variables", AutomationValue::Text("| kind | length width | part"));
    for (const Control& control : dialog.Controls()) {
      if (control.group == "SVM pour Régression") continue;  // not for this dependent
      const bool isNumber =
          control.kind == ControlKind::integer || control.kind == ControlKind::real;
      if (isNumber) {
        put(control.name, AutomationValue::Number(3));
        EXPECT_EQ(number(control.name), 3) << control.name;
        put(control.name, AutomationValue::Text("-12"));  // out of range: kept until it is needed
        EXPECT_EQ(number(control.name), -12) << control.name;
      } else if (control.kind == ControlKind::radio ||
                 (control.kind == ControlKind::check && control.name != "Sample.Active" &&
                  control.name != "UseCrossvalidationSample")) {
        put(control.name, AutomationValue::Number(1));
        EXPECT_EQ(number(control.name), 1) << control.name;
        put(control.name, AutomationValue::Number(0));
        EXPECT_EQ(number(control.name), control.kind == ControlKind::radio ? 1 : 0)
            << control.name;  // switching a radio off changes nothing
      } else if (control.name == "Penalties" || control.name == "Code") {
        put(control.name, AutomationValue::Text("3 2 "));
        AutomationValue text;
        EXPECT_TRUE(automation.Get(control.name, text).Succeeded());
        EXPECT_EQ(text.text, "3 2 ");
      } else if (control.name == "TypeOfAnalysis") {
        put(control.name, AutomationValue::Text("scMLNB"));
        EXPECT_EQ(number(control.name), scMLNB);
      } else {
        continue;
      }
      ++puts;
    }
    EXPECT_GT(puts, 0);
  });
}

TEST(KnnControls, HaveTheDescribedRowsInTheirOrder) {
  AnalysisSession session(Flowers());
  session.ChooseKnn();
  const struct {
    const char* name;
    int identifier, role = 0, kind = 2, type = 1;
  } rows[] = {
      {"CasewiseDeletionOfMD", 50367},
      {"MeanSubstitutionOfMD", 50368},
      {"Variables", 50370, 1, 2, 1},
      {"ResponseCodes", 50371, 2, 1, 6},
      {"PredictorCodes", 50372, 2, 1, 6},
      {"UseRandomSampling", 50374},
      {"UseSubsetvariable", 50375},
      {"UseFirstNCases", 50376},
      {"SizeOfPrototypeSample", 50426, 0, 2, 2},
      {"SeedForRandomSampling", 50378},
      {"CodeForPrototypeSample", 50428, 0, 2, 5},
      {"NValue", 50379},
      {"KNearestNeighbors", 50413},
      {"Euclidean", 50414},
      {"SquaredEuclidean", 50415},
      {"CityBlock", 50416},
      {"Chebychev", 50417},
      {"StandardizeDistances", 50418},
      {"UseWeightedAverage", 50419},
      {"ApplyCrossV", 50394},
      {"VValue", 50395},
      {"CrossVSeed", 50396},
      {"MinimumK", 50420},
      {"MaximumK", 50421},
      {"DeltaK", 50422},
  };
  const auto description = session.dialog().DialogControlDescr();
  ASSERT_EQ(description.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(description[i].control->name, rows[i].name);
    EXPECT_EQ(description[i].identifier, rows[i].identifier) << rows[i].name;
    EXPECT_EQ(description[i].role, rows[i].role) << rows[i].name;
    EXPECT_EQ(description[i].kind, rows[i].kind) << rows[i].name;
    EXPECT_EQ(description[i].type, rows[i].type) << rows[i].name;
  }
}

TEST(KnnControls, AreEnabledAsTheStateAsks) {
  const std::vector<std::string_view> search = {"VValue", "CrossVSeed", "MinimumK", "MaximumK",
                                                "DeltaK"};
  const struct {
    const char* variables;  // empty: none chosen
    const char* switched;   // a control that is set to 1 first
    std::vector<std::string_view> enabled, disabled;
  } rows[] = {
      {"",
       "UseRandomSampling",
       {"SizeOfPrototypeSample", "SeedForRandomSampling", "StandardizeDistances"},
       {"NValue", "CodeForPrototypeSample", "Sample", "KNearestNeighbors", "UseWeightedAverage",
        "ResponseCodes", "PredictorCodes"}},
      {"", "UseFirstNCases", {"NValue"}, {"SizeOfPrototypeSample", "SeedForRandomSampling"}},
      {"", "UseSubsetvariable", {"Sample", "CodeForPrototypeSample"}, {"NValue"}},
      {"length | | width |",
       "Euclidean",
       {"KNearestNeighbors", "UseWeightedAverage", "StandardizeDistances"},
       {"ResponseCodes", "PredictorCodes"}},
      {"| kind | | part",
       "Euclidean",
       {"KNearestNeighbors", "ResponseCodes", "PredictorCodes"},
       {"UseWeightedAverage", "StandardizeDistances"}},
      {"length | | width |", "ApplyCrossV", search, {"KNearestNeighbors"}},
      {"| | width |", "Euclidean", {"StandardizeDistances"}, {"KNearestNeighbors"}},
      {"", "CityBlock", {"ApplyCrossV", "Chebychev"}, search},
  };
  for (const auto& row : rows) {
    AnalysisSession session(Flowers());
    session.ChooseKnn();
    if (*row.variables != '\0') session.Put("Variables", row.variables);
    session.Put(row.switched, 1);
    for (const auto name : row.enabled)
      EXPECT_TRUE(session.dialog().IsEnabled(name)) << row.variables << ' ' << name;
    for (const auto name : row.disabled)
      EXPECT_FALSE(session.dialog().IsEnabled(name)) << row.variables << ' ' << name;
    EXPECT_FALSE(session.dialog().IsEnabled("NoSuchControl"));
  }
}

// --- Calls ---------------------------------------------------------------------------------------

TEST(Automation, RefusesWhatDoesNotConvertAndChangesNothing) {
  AnalysisSession session(Flowers());
  session.ChooseKnn();
  const struct {
    const char* name;
    const char* text;
  } rows[] = {
      {"KNearestNeighbors", "three"}, {"SizeOfPrototypeSample", "75 %"}, {"Euclidean", "on"},
      {"StandardizeDistances", ""},   {"NoSuchProperty", "1"},           {"Variables", ""}};
  session.host.recorded.clear();
  const double k = session.Number("KNearestNeighbors");
  for (const auto& row : rows) {
    const AutomationResult result = session.dialog().Put(row.name, AutomationValue::Text(row.text));
    EXPECT_EQ(result.code, 0x80004005u) << row.name;
  }
  EXPECT_EQ(session.Number("KNearestNeighbors"), k);
  EXPECT_EQ(session.Number("SizeOfPrototypeSample"), 75);
  EXPECT_EQ(session.Number("Euclidean"), 1);
  EXPECT_TRUE(session.host.recorded.empty());
  AutomationValue value;
  EXPECT_EQ(session.dialog().Get("NoSuchProperty", value).code, kAutomationFailure);
  EXPECT_EQ(session.dialog().Press("NoSuchProperty").code, kAutomationFailure);
  EXPECT_EQ(session.dialog().Press("Sample").code, kAutomationFailure);         // disabled
  EXPECT_EQ(session.dialog().Press("Euclidean").code, kAutomationFailure);      // no button
  EXPECT_EQ(session.dialog().Type("Euclidean", "1").code, kAutomationFailure);  // no field
  EXPECT_TRUE(session.host.messages.empty());  // the result says what was wrong
}

TEST(Automation, KeepsWhatWasTypedUntilOKReadsIt) {
  AnalysisSession session(Flowers());
  session.ChooseKnn();
  session.Put("Variables", "| kind | length width |");
  session.Put("UseFirstNCases", 1);
  session.Put("NValue", 5);
  EXPECT_TRUE(session.dialog().Type("KNearestNeighbors", "two").Succeeded());
  EXPECT_EQ(session.Text("KNearestNeighbors"), "two");
  EXPECT_FALSE(session.OK().Succeeded());
  EXPECT_EQ(session.host.TakeMessages(), std::vector{125});
  EXPECT_EQ(session.Text("KNearestNeighbors"), "two");
  EXPECT_EQ(session.As<KNNDialog>().engine().k, 1);
  EXPECT_TRUE(session.dialog().Type("KNearestNeighbors", " 2 ").Succeeded());
  EXPECT_EQ(session.Number("KNearestNeighbors"), 2);
  EXPECT_TRUE(session.OK().Succeeded());
  EXPECT_EQ(session.analysis.knnEngine()->k, 2);
}

TEST(Automation, FailsOnADialogThatHasClosed) {
  const int locks = ModuleLockCount();
  {
    AnalysisSession session(Flowers());
    session.ChooseKnn();
    const std::shared_ptr<QrvAnalysisDialog> closed = session.automation();
    EXPECT_EQ(closed->Parent(), &session.analysis);
    session.Put("Euclidean", 1);
    session.Cancel();
    EXPECT_EQ(session.dialog().Name(), "MachineLearningStartup");
    AutomationValue value;
    EXPECT_FALSE(closed->IsOpen());
    for (const AutomationResult& result :
         {closed->Get("Euclidean", value), closed->Put("CityBlock", AutomationValue::Number(1)),
          closed->Type("NValue", "1"), closed->Press("Variables"), closed->OAOK(),
          closed->OACancel()}) {
      EXPECT_EQ(result.code, kAutomationFailure);
      EXPECT_FALSE(result.text.empty());
    }
    EXPECT_EQ(session.analysis.knnEngine()->metric, Metric::euclidean);
    EXPECT_TRUE(closed->Controls().empty());
    EXPECT_EQ(closed->Parent(), nullptr);
    EXPECT_GT(ModuleLockCount(), locks);
  }
  EXPECT_EQ(ModuleLockCount(), locks);
}

TEST(Automation, ServesTheAnswersOfModalServicesUnderTheirNames) {
  AnalysisSession session(Flowers());
  session.ChooseKnn();
  for (const std::string_view name : kAnswerNames) {
    session.Put(name, "1 | 2");
    EXPECT_EQ(session.Text(name), "1 | 2") << name;
    session.Put(name, "");
    EXPECT_EQ(session.Text(name), "") << name;
  }
}

TEST(Recording, IsALogOfChangesInTheOrderInWhichTheyHappened) {
  AnalysisSession session(Flowers());
  session.OpenStartup();
  const char* const kinds[] = {"scMLSVM", "scMLNB", "scMLKNN"};
  for (const char* kind : kinds) session.Put("TypeOfAnalysis", kind);
  EXPECT_EQ(session.host.recorded, (std::vector<Recorded>{{"TypeOfAnalysis", "0", 50364},
                                                          {"TypeOfAnalysis", "1", 50365},
                                                          {"TypeOfAnalysis", "2", 50366}}));
  ASSERT_TRUE(session.OK().Succeeded());
  session.host.recorded.clear();
  session.Put("Variables", "length | | 2 | kind");
  session.Put("SeedForRandomSampling", 7);
  session.Put("CityBlock", 1);
  session.Put("Euclidean", 0);  // nothing happened
  session.Put("SizeOfPrototypeSample", "62.50");
  session.Put("StandardizeDistances", 5);
  session.dialog().Type("NValue", "x");
  session.Put("PredictorCodes", "1 2");
  EXPECT_EQ(session.host.recorded,
            (std::vector<Recorded>{{"Variables", "length |  | width | kind", 0},
                                   {"SeedForRandomSampling", "7", 0},
                                   {"CityBlock", "1", 0},
                                   {"SizeOfPrototypeSample", "62.5", 0},
                                   {"StandardizeDistances", "1", 0},
                                   {"NValue", "x", 0},
                                   {"PredictorCodes", "1 2", 0}}));
}

// --- The shared part of specification dialogs ----------------------------------------------------

TEST(VariablesButton, RefusesBothKindsOfDependentsAndKeepsTheOldChoice) {
  AnalysisSession session(Flowers());
  session.ChooseKnn();
  using Lists = std::vector<std::vector<int>>;
  session.host.variableListAnswers = {Lists{{1}, {3}, {2}, {}}, Lists{{1}, {}, {2}, {}}};
  session.host.boxAnswers = {BoxButton::ok};  // the lists come again
  EXPECT_TRUE(session.Press("Variables").Succeeded());
  EXPECT_EQ(session.host.TakeMessages(), std::vector{308});
  EXPECT_EQ(session.Text("Variables"), "length |  | width | ");

  session.host.variableListAnswers = {Lists{{1}, {3}, {2}, {}}};  // then Cancel
  EXPECT_FALSE(session.Press("Variables").Succeeded());
  session.host.variableListAnswers = {Lists{{1}, {}, {}, {}}};
  EXPECT_FALSE(session.Press("Variables").Succeeded());
  EXPECT_EQ(session.host.TakeMessages(), (std::vector{308, 117}));
  EXPECT_EQ(session.Text("Variables"), "length |  | width | ");
  const VariableListsRequest& request = session.host.variableListsRequests.back();
  EXPECT_EQ(request.title, "Sélectionnez les variables de l'analyse");
  EXPECT_EQ(request.captions[1], "Dépend. catégorielle(s) : ");
  EXPECT_EQ(request.lists, (Lists{{1}, {}, {2}, {}}));

  session.ChangeFile(TableFile("x"));
  session.ChooseKnn();
  EXPECT_FALSE(session.Press("Variables").Succeeded());
  EXPECT_EQ(session.host.TakeMessages(), std::vector{103});
}

TEST(SamplingFields, GiveTheirMessagesInOrder) {
  const struct {
    const char* mode;
    std::vector<std::pair<const char*, const char*>> typed;
    int message;
    const char* text;
  } rows[] = {
      {"UseRandomSampling",
       {{"SizeOfPrototypeSample", "x"}, {"SeedForRandomSampling", "x"}},
       208,
       ""},
      {"UseRandomSampling",
       {{"SizeOfPrototypeSample", "0"}},
       0,
       "Size of training sample must lay in the range 1-100"},
      {"UseRandomSampling",
       {{"SizeOfPrototypeSample", "100"}},
       0,
       "Size of training sample must lay in the range 1-100"},
      {"UseRandomSampling", {{"SeedForRandomSampling", "1.5"}}, 208, ""},
      {"UseRandomSampling", {{"SizeOfPrototypeSample", "0.001"}}, 218, ""},
      {"UseFirstNCases", {{"NValue", "x"}}, 208, ""},
      {"UseFirstNCases",
       {{"NValue", "1"}},
       207,
       "La valeur des N premières obs. doit être supérieure à 1 et inférieure à 7."},
      {"UseFirstNCases", {{"NValue", "7"}}, 207, ""},
      {"UseFirstNCases", {{"NValue", "6"}}, -1, ""},
      {"UseSubsetvariable", {}, 205, ""},
  };
  for (const auto& row : rows) {
    AnalysisSession session(Flowers());
    session.ChooseKnn();
    session.Put("Variables", "| kind | length width |");
    session.Put(row.mode, 1);
    for (const auto& [name, text] : row.typed)
      EXPECT_TRUE(session.dialog().Type(name, text).Succeeded());
    EXPECT_EQ(session.OK().Succeeded(), row.message < 0);
    if (row.message < 0) continue;
    ASSERT_EQ(session.host.messages.size(), 1u) << row.mode;
    EXPECT_EQ(session.host.messages[0].number, row.message);
    if (*row.text != '\0') {
      EXPECT_EQ(session.host.messages[0].text, row.text);
    }
    for (const auto& [name, text] : row.typed) {  // and everything stays as it was typed
      AutomationValue value;
      EXPECT_TRUE(session.dialog().Get(name, value).Succeeded());
      EXPECT_EQ(value.isNumber ? ShortestText(value.number) : value.text, text);
    }
  }
}

TEST(SampleIdentifierControls, SetTheSampleWithoutTheirDialogOrThroughIt) {
  AnalysisSession session(Flowers());
  session.ChooseKnn();
  session.Put("Variables", "| kind | length width |");
  session.Put("UseSubsetvariable", 1);
  EXPECT_EQ(session.Text("Sample.State"), "non");
  session.host.refuseAllocation = session.host.allocations + 1;  // of the search for a code
  EXPECT_FALSE(session.dialog().Put("Sample.Variable", AutomationValue::Text("part")).Succeeded());
  EXPECT_EQ(session.host.TakeMessages(), std::vector{104});
  EXPECT_EQ(session.data().sampleChoice.variable, 0);
  session.Put("Sample.Variable", "part");
  session.Put("CodeForPrototypeSample", "1");
  EXPECT_EQ(session.Text("Sample.State"), "oui");
  EXPECT_TRUE(session.OK().Succeeded());
  EXPECT_EQ(session.data().StoredRows(Sample::training), 5);
  EXPECT_EQ(session.data().StoredRows(Sample::test), 2);

  session.Cancel();
  EXPECT_EQ(session.dialog().Name(), "MachineLearningKNN");
  session.host.modal = [](int, CAnalysisDialog& dialog) {
    EXPECT_TRUE(dialog.Automation()->Put("Code", AutomationValue::Number(2)).Succeeded());
    return dialog.OnOK();
  };
  EXPECT_TRUE(session.Press("Sample").Succeeded());
  EXPECT_EQ(session.data().sampling.learningCode, 2);
  session.host.modal = [](int, CAnalysisDialog& dialog) {
    EXPECT_TRUE(dialog.Automation()->Put("Code", AutomationValue::Number(9)).Succeeded());
    return false;  // cancelled
  };
  session.Press("Sample");
  EXPECT_EQ(session.Text("CodeForPrototypeSample"), "2");
  EXPECT_EQ(session.data().sampling.learningCode, 2);
  session.host.modal = nullptr;

  session.Put("Sample.Variable", "width");
  session.Put("CodeForPrototypeSample", "2");
  EXPECT_FALSE(session.OK().Succeeded());
  EXPECT_EQ(session.host.TakeMessages(), std::vector{315});
  session.Put("UseRandomSampling", 1);  // another mode lets go of the split
  EXPECT_FALSE(session.data().sampling.defined);
}

}  // namespace
}  // namespace qrvml::test
