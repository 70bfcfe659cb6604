// A support vector analysis under test: a table read with given roles, an engine trained on it, and
// its results dialog.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/case_reading.h"
#include "svm/svm_engine.h"
#include "svm/svm_results_dialog.h"

namespace qrvml::test {

/// A table that is read, loaded into an engine and scaled as the settings say.
struct SvmAnalysis {
  SvmAnalysis(TableFile table, std::string_view lists, int trainingCases)
      : reading(std::move(table), lists, trainingCases), engine(reading.data()) {
    engine.parameters.svmType = engine.IsClassification() ? kCClassification : kEpsilonRegression;
    engine.parameters.gamma = 0.5;
    engine.solver.print = [](std::string_view) {};
    engine.display = &display;
  }
  bool Load() {
    if (!data().ScanCases(Method::svm) || !data().LoadCases(Method::svm, &engine)) return false;
    engine.ScaleSvmProblem();
    return true;
  }
  bool Train(bool silent = true) { return Load() && engine.TrainSvm(silent); }

  /// Trains and opens the results dialog.
  QrvAnalysisDialog& OpenResults() {
    EXPECT_TRUE(Train());
    return session().Adopt(SVMResultsDialog::kTemplate,
                           std::make_unique<SVMResultsDialog>(session().analysis, data(), engine));
  }

  AnalysisSession& session() { return reading.session; }
  AnalysisDataSet& data() { return reading.data(); }
  ScriptedHost& host() { return reading.session.host; }

  struct Display final : TrainingDisplay {
    std::vector<std::string> texts;
    void ShowStatus(std::string_view text) override { texts.emplace_back(text); }
    void ShowDetail(std::string_view) override {}
  };
  CaseReading reading;
  SVMEngine engine;
  Display display;
};

}  // namespace qrvml::test
