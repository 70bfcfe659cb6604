// The results dialog of nearest neighbours: summary text, summary tables, neighbour options.
#pragma once

#include <string>
#include <vector>

#include "data/analysis_data_set.h"
#include "host/analysis_dialog.h"
#include "host/documents.h"
#include "knn/knn_engine.h"

namespace qrvml {

class KNNResultsDialog final : public CAnalysisDialog {
 public:
  static constexpr int kTemplate = 3759;

  /// Writes the results text.
  KNNResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data, KNNEngine& engine);

  std::string_view InterfaceName() const override { return "MachineLearningResultsKNN"; }
  std::string_view Title() const override { return "Résultats "; }
  std::span<const Control> Controls() const override;
  bool OnOK() override { return false; }
  /// Back to the specification.
  bool OnCancel() override;

  AnalysisDataSet& data() { return data_; }
  const AnalysisDataSet& data() const { return data_; }
  KNNEngine& engine() { return engine_; }
  const KNNEngine& engine() const { return engine_; }
  /// Switches standardisation and computes its coefficients anew.
  void SetStandardized(bool on);

  Subset subset = Subset::test;

  /// The lines of the results text.
  std::vector<std::string> ResultsText() const;
  /// Actions. False: a message was shown (125, range text, 104, 130, 155) or the user cancelled.
  bool ShowModelSummary();
  bool ShowStatistics();

 private:
  bool ValidateK();
  bool ShowClassification();
  bool ShowRegression();
  bool Show(Spreadsheet&& spreadsheet);
  std::string DependentName(std::size_t i) const;

  AnalysisDataSet& data_;
  KNNEngine& engine_;
};

}  // namespace qrvml
