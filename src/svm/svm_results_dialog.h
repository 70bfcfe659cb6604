// The results dialog of support vector machines: what it adds to the shared one are its results
// text, the model tables, the summaries of all samples and the class penalties.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "results/results_dialog.h"
#include "svm/svm_engine.h"

namespace qrvml {

class SVMResultsDialog final : public ResultsDialog {
 public:
  static constexpr int kTemplate = 3758;
  static constexpr std::string_view kPenaltyTab = "Pénalité";

  /// Writes the results text. The engine has a model and statistics. Throws MemoryRefused.
  SVMResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data, SVMEngine& engine);

  static std::span<const Control> Table();
  std::span<const Control> Controls() const override { return Table(); }

  /// The penalties' tab is there only while there are penalties.
  bool IsTabHidden(std::string_view tab) const override {
    return tab == kPenaltyTab && !HasPenalties();
  }
  bool HasPenalties() const { return engine_.usePenalty && IsClassification(); }
  /// The lines of the results text.
  std::vector<std::string> ResultsText() const;
  /// A line for each class: name, weighted training cases, penalty.
  std::string PenaltyLines() const;

  // --- Actions. False: message 130 was shown -----------------------------------------------------
  bool ShowModelSummary();
  /// Coefficients and support vectors, then the constants of the decision functions.
  bool ShowModelSpecification();
  /// Summary and confusion matrix, or regression summary, of the chosen subset.
  bool ShowStatistics();
  bool ShowPenalties();

 protected:
  bool MakeCode(CodeKind kind, std::size_t dependent, std::string_view charset,
                std::string& text) override;

 private:
  std::span<const CategoryTable::Class> Classes() const {
    return data().dependentCategories(0).classes();
  }
  /// Support vectors of a class, by its place in text order.
  std::int32_t VectorsOfClass(std::size_t c) const;
  /// The penalty of a class; 1 while none are in force.
  double PenaltyOf(std::size_t c) const;
  /// "12.5 (Apprentissage), 13 (Test), …": a statistic of all samples that have it.
  template <class Value>
  std::string OfAllSamples(Value value) const;
  void AddClassificationText(std::vector<std::string>& lines) const;
  void AddRegressionText(std::vector<std::string>& lines) const;
  Spreadsheet VectorTable() const;
  Spreadsheet ConstantTable() const;
  void AddVectorColumns(Spreadsheet& table) const;

  SVMEngine& engine_;
};

}  // namespace qrvml
