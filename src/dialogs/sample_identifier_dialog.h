// The modal dialog that chooses a sample identifier variable and the code of its training cases.
#pragma once

#include "data/analysis_data_set.h"
#include "host/analysis_dialog.h"

namespace qrvml {

class SampleIdentifierDialog final : public CAnalysisDialog {
 public:
  static constexpr int kTemplate = 3760;

  /// Works on data.sampleChoice; ApplyChoice then takes it over into the settings.
  SampleIdentifierDialog(CAnalysisSupport& analysis, AnalysisDataSet& data);

  std::string_view InterfaceName() const override { return {}; }
  std::string_view Title() const override { return "Validation"; }
  std::span<const Control> Controls() const override;
  bool OnOK() override;
  bool OnCancel() override;

  /// Help texts below the title; the last two form one sentence.
  static std::string HelpText();

  /// Asks the host for a variable; a new one brings its default code. False: cancelled.
  bool PickVariable();
  void SetActive(bool active);
  void TypeCode(std::string_view text);
  const SampleChoice& choice() const { return data_.sampleChoice; }

  /// Closes the dialog's books: after a cancel everything is as before; else the choice becomes the
  /// data set's sample identifier settings.
  void ApplyChoice();

 private:
  AnalysisDataSet& data_;
  const SampleChoice before_;
};

}  // namespace qrvml
