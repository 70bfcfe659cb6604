// The specification dialog of naive Bayes: collects the settings, reads the data where something
// has changed, checks the distributions, sets the priors and classifies all cases.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "bayes/naive_bayes_engine.h"
#include "dialogs/specification_dialog.h"

namespace qrvml {

class NaiveBayesDialog final : public SpecificationDialog {
 public:
  static constexpr int kTemplate = 3734;
  static constexpr int kStep = 103;

  /// `dataMatrixLimit`: values are stored only below this many bytes. Opening the dialog asks for a
  /// new read of the data.
  NaiveBayesDialog(CAnalysisSupport& analysis, AnalysisDataSet& data, NaiveBayesEngine& engine,
                   std::int32_t dataMatrixLimit);

  static std::span<const Control> Table();
  std::span<const Control> Controls() const override { return Table(); }
  bool OnOK() override;
  bool OnCancel() override;

  NaiveBayesEngine& engine() { return engine_; }
  const NaiveBayesEngine& engine() const { return engine_; }

  /// The distributions button. False: cancelled, nothing changed.
  bool ChooseDistributions();
  /// The same from a text of up to four lists of continuous inputs, given by name or variable
  /// number; * stands for all that no list names. False, and nothing changed: what is no continuous
  /// input is told.
  bool SetDistributions(std::string_view text);
  std::string DistributionsText() const;
  /// The list of the tab: a line for each input with its name, type and distribution.
  std::string DistributionList() const;

 protected:
  void VariablesChanged() override;

 private:
  bool ReadCasesIfNeeded();     // 104, 116, 218 to 221
  bool ComputeDefaultPriors();  // 104
  bool ReadThreshold();         // range text

  NaiveBayesEngine& engine_;
  const std::int32_t dataMatrixLimit_;
};

}  // namespace qrvml
