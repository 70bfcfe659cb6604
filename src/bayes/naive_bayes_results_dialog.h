// The results dialog of naive Bayes: what it adds to the shared one are the model tables, the
// classification summaries, the prior probabilities and the posterior class distributions.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "bayes/naive_bayes_engine.h"
#include "results/results_dialog.h"

namespace qrvml {

/// What the tab of posterior distributions has chosen.
struct PosteriorChoice {
  std::size_t dependent = 0;
  std::size_t input = 0;      // the one that is varied
  std::vector<double> fixed;  // a value per input, for those that are not varied
};

class NaiveBayesResultsDialog final : public ResultsDialog {
 public:
  static constexpr int kTemplate = 3757;

  NaiveBayesResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                          NaiveBayesEngine& engine);

  static std::span<const Control> Table();
  std::span<const Control> Controls() const override { return Table(); }

  NaiveBayesEngine& engine() { return engine_; }
  const NaiveBayesEngine& engine() const { return engine_; }

  std::size_t priorDependent = 0;  // whose priors are shown and changed
  PosteriorChoice posterior;

  // --- Actions. False: a message was shown or the user cancelled ---------------------------------
  bool ShowModelSummary();        // threshold text, 130
  bool ShowModelSpecification();  // 130
  bool ShowStatistics();          // threshold text, 104, 130
  bool SetPriorKind(PriorKind kind);
  /// Asks for one prior per class.
  bool EnterCustomPriors();   // range text, 104
  bool EnterFixedInputs();    // 143
  bool ShowPosteriorTable();  // 208, range texts, 130, 104
  bool ShowPosteriorPlot();

  // --- Texts of list-valued members and notes ----------------------------------------------------
  bool SelectPriorDependent(std::string_view text);
  /// A line for each class of the selected dependent: name, prior, weighted cases.
  std::string PriorList() const;
  bool SelectPosteriorDependent(std::string_view text);
  bool SelectPosteriorInput(std::string_view text);
  OfferedItems OfferedInputs() const;
  bool SetFixedInputs(std::string_view text);
  std::string FixedInputList() const;
  /// The smallest and largest value that the input to be varied has.
  double InputMinimum() const;
  double InputMaximum() const;
  /// The least value that the input's distribution leaves to the range.
  double LowestOfRange() const;
  bool VariesContinuousInput() const {
    return posterior.input < data().roles().continuousPredictors.size();
  }

 protected:
  bool IsReady() override { return ReadThreshold(); }
  bool MakeCode(CodeKind kind, std::size_t dependent, std::string_view charset,
                std::string& text) override;

 private:
  struct Curves {
    std::vector<double> inputs;                   // values of the varied input
    std::vector<std::vector<double>> posteriors;  // per class
  };
  bool ReadThreshold();
  bool ReadBound(std::string_view field, std::string_view name, double& value);
  bool ReadRange(double& minimum, double& maximum);
  Curves Vary(double minimum, double maximum);
  Spreadsheet SpecificationOf(std::size_t d) const;

  NaiveBayesEngine& engine_;
};

}  // namespace qrvml
