// The specification dialog of support vector machines: collects the settings, reads the data,
// stores the settings in a fixed order and trains.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dialogs/specification_dialog.h"
#include "svm/svm_engine.h"

namespace qrvml {

class SVMDialog final : public SpecificationDialog {
 public:
  static constexpr int kTemplate = 3742;
  static constexpr int kStep = 102;

  SVMDialog(CAnalysisSupport& analysis, AnalysisDataSet& data, SVMEngine& engine);

  static std::span<const Control> Table();
  std::span<const Control> Controls() const override { return Table(); }
  bool OnOK() override;
  /// The kernel's tab is hidden while variables without a dependent are chosen.
  bool IsTabHidden(std::string_view tab) const override;

  SVMEngine& engine() { return engine_; }
  const SVMEngine& engine() const { return engine_; }

  /// What radio buttons and check boxes show; OK stores it.
  struct Choices {
    std::int32_t svmType = kCClassification;
    std::int32_t kernelType = kRadialKernel;
    bool applyCrossValidation = false;
    bool shrinking = true;
  };
  const Choices& choices() const { return choices_; }
  bool HasContinuousDependents() const { return HasDependents() && !HasCategoricalDependents(); }
  /// False, after a message: the dependent is not of that type's kind.
  bool ChooseType(SVMType type);
  void ChooseKernel(SVMKernelType kernel) { choices_.kernelType = kernel; }
  /// A change sets V back to its default.
  void SetCrossValidation(bool apply);
  void SetShrinking(bool on) { choices_.shrinking = on; }
  /// False, with the reason: the text is too long for its box.
  bool SetPenaltyList(std::string_view text);

 protected:
  void VariablesChanged() override;
  void TabShown(std::string_view tab) override;

 private:
  bool ReadScalingRanges();  // 125
  bool ReadScalingRange(std::string_view low, std::string_view high, ScalingRange& range);
  bool ReadSettings();  // 125
  /// The class weights: by the penalty list, or by a person in the penalty dialog.
  bool TakePenalties();
  bool AskForPenalties();
  bool TrainModel();
  /// What a person should know of the model: the iteration limit ended its training, or it is about
  /// the first of several dependents.
  void TellAboutModel() const;

  SVMEngine& engine_;
  Choices choices_;
};

}  // namespace qrvml
