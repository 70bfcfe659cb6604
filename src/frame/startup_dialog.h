// The first dialog: the kind of analysis, the data file, selection conditions and case weights.
#pragma once

#include "frame/machine_learning.h"
#include "host/analysis_dialog.h"

namespace qrvml {

/// What the list of kinds shows, in the order of MLTypeOfAnalysis.
struct AnalysisKind {
  MLTypeOfAnalysis kind;
  std::string_view constantName;  // in macros
  int nameText;                   // string number in the list
  int descriptionText;            // string number below the list
  int image;                      // host image
  int constant;                   // host constant that is recorded
  Step step;                      // specification step
};
inline constexpr AnalysisKind kAnalysisKinds[] = {
    {scMLSVM, "scMLSVM", 107, 292, 720, 50364, kSvmStep},
    {scMLNB, "scMLNB", 108, 293, 721, 50365, kNaiveBayesStep},
    {scMLKNN, "scMLKNN", 110, 294, 723, 50366, kKnnStep},
};

class StartupDialog final : public CAnalysisDialog {
 public:
  static constexpr int kTemplate = 3732;

  explicit StartupDialog(MachineLearning& analysis);

  std::string_view InterfaceName() const override { return "MachineLearningStartup"; }
  std::string_view Title() const override { return "Machine Learning"; }
  static std::span<const Control> Table();
  std::span<const Control> Controls() const override { return Table(); }
  bool OnOK() override;
  bool OnCancel() override;

  MachineLearning& machineLearning() { return machineLearning_; }
  const MachineLearning& machineLearning() const { return machineLearning_; }
  /// False: no such kind.
  bool Select(double row);
  /// The text below the list; a blank for a kind that does not exist.
  std::string_view Description() const;

 private:
  MachineLearning& machineLearning_;
};

}  // namespace qrvml
