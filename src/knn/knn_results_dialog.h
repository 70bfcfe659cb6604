// The results dialog of nearest neighbours: what it adds to the shared one are its summary text,
// the prototypes, the summaries of the test sample, the cross-validation graph and the options tab.
#pragma once

#include <string>
#include <vector>

#include "knn/knn_engine.h"
#include "results/results_dialog.h"

namespace qrvml {

class KNNResultsDialog final : public ResultsDialog {
 public:
  static constexpr int kTemplate = 3759;

  /// Writes the results text.
  KNNResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data, KNNEngine& engine);

  static std::span<const Control> Table();
  std::span<const Control> Controls() const override { return Table(); }

  KNNEngine& engine() { return engine_; }
  const KNNEngine& engine() const { return engine_; }
  /// Switches standardisation and computes its coefficients anew.
  void SetStandardized(bool on);
  /// Whether the training searched K.
  bool HasCrossValidation() const { return !engine_.crossValidationErrors.empty(); }

  /// The lines of the results text.
  std::vector<std::string> ResultsText() const;
  /// Actions. False: a message was shown (125, range text, 104, 130, 155) or the user cancelled.
  bool ShowModelSummary();
  bool ShowPrototypes();
  bool ShowStatistics();
  bool ShowCrossValidation();

 protected:
  std::vector<std::string> PredictionsHeader() const override;
  bool MakeCode(CodeKind kind, std::size_t dependent, std::string_view charset,
                std::string& text) override;

 private:
  bool ValidateK();
  bool ShowClassification();
  bool ShowRegression();
  std::string NamesOf(const std::vector<int>& variables) const;

  KNNEngine& engine_;
};

}  // namespace qrvml
