// What the specification dialogs of all methods have in common: variables, codes, missing data,
// sampling, and the steps of OK that read the data. A method adds its own control rows, rules and
// steps.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

#include "data/analysis_data_set.h"
#include "data/reading_rules.h"
#include "host/analysis_dialog.h"
#include "host/string_table.h"
#include "host/training_display.h"

namespace qrvml {

/// What differs between the methods in the shared part, side by side.
struct SpecificationProfile {
  Method method;
  std::string_view interfaceName;
  std::string_view title;
  int resultsStep;    // step of the sequence that follows a successful OK
  bool alwaysSplits;  // the dialog has no switch for sampling
  std::string_view percentageProperty;
  std::string_view percentageRange;       // text for a percentage outside (0, 100)
  int unreadableSampling;                 // message for a sampling field that cannot be read
  std::int32_t firstCasesReserve;         // N must be below the number of cases minus this
  bool takesContinuousDependents = true;  // else three variable lists instead of four
};

inline constexpr int kStartupStep = 101;
/// Modes of ExitDialog.
inline constexpr int kGoBack = 1, kGoForward = 2;
/// The highest seed and the highest N that a field takes.
inline constexpr std::int32_t kHighestSeed = 999999999;

class SpecificationDialog : public CAnalysisDialog {
 public:
  SpecificationDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                      const SpecificationProfile& profile);

  std::string_view InterfaceName() const final { return profile_.interfaceName; }
  std::string_view Title() const final { return profile_.title; }
  bool OnCancel() override;

  AnalysisDataSet& data() { return data_; }
  const AnalysisDataSet& data() const { return data_; }
  const SpecificationProfile& profile() const { return profile_; }

  // --- What the shared controls do ---------------------------------------------------------------
  /// The variables button. False: cancelled, refused (105, 103, 117, 308), nothing changed.
  bool ChooseVariables();
  /// The same by a text; an empty one takes the choice back, so that what VariablesText gives can
  /// always be put.
  bool SetVariables(std::string_view text);
  std::string VariablesText() const;
  /// The codes buttons. False: cancelled or message 126, nothing changed.
  bool ChoosePredictorCodes();
  bool ChooseResponseCodes();
  std::string PredictorCodesText() const;
  std::string ResponseCodesText() const;
  void SetSampling(bool apply);
  void SetSamplingMode(SamplingMode mode);
  /// The host's dialogs; what they change asks for a new read of the data.
  bool DefineSelectionConditions();
  bool DefineCaseWeights();
  /// The sample button: the modal dialog, then its choice taken over.
  bool ChooseSample();
  /// The same without showing the dialog: one of its controls changed, then its OK.
  bool SetSampleVariable(std::string_view text);
  bool PickSampleVariable();  // the host asks for it
  std::string SampleVariableText() const;
  bool SetSampleCode(std::string_view text);
  bool SetSampleActive(bool active);
  /// "oui" or "non" beside the sample button.
  std::string_view SampleState() const;

  // Rules.
  bool HasVariables() const { return !data_.roles().IsEmpty(); }
  bool HasDependents() const { return !data_.roles().dependents.empty(); }
  bool HasCategoricalDependents() const { return !data_.roles().categoricalDependents.empty(); }
  bool HasCategoricalPredictors() const { return !data_.roles().categoricalPredictors.empty(); }
  bool HasContinuousPredictors() const { return !data_.roles().continuousPredictors.empty(); }
  bool IsMode(SamplingMode mode) const {
    return (profile_.alwaysSplits || data_.sampling.apply) && data_.sampling.mode == mode;
  }

 protected:
  /// The user accepted other variables, or took them back; the data set has them already.
  virtual void VariablesChanged() = 0;

  // --- Steps of OK, in their order; each false after its message
  // ----------------------------------
  bool SampleVariableIsNoAnalysisVariable();  // 315
  bool DrawSample();                          // unreadable field, percentage text, 207, 104
  bool ReadCases(TrainingRowSink* sink = nullptr);
  /// Reads an edit field within its range. False, after message 125: the result says which field
  /// takes what.
  bool ReadSetting(std::string_view name, double& value);
  /// Calls train(silent): silently where a program drives the analysis, else inside the training
  /// progress dialog, to which `display` then refers.
  bool Train(const std::function<bool(bool silent)>& train, TrainingDisplay*& display);
  void ExitToResults();

 private:
  struct RoleList;
  std::span<const RoleList> RoleLists() const;
  bool DrawRandomSample();
  bool TakeFirstCases();
  bool ChooseCodes(int title, const std::vector<int>& variables,
                   std::vector<std::vector<double>>& codes);
  template <class Change>
  bool ChangeSample(Change change);

  AnalysisDataSet& data_;
  const SpecificationProfile& profile_;
};

}  // namespace qrvml
