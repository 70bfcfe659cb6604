// The modal dialog that is open while an engine trains: two text lines and Cancel.
#pragma once

#include <functional>

#include "host/analysis_dialog.h"
#include "host/training_display.h"

namespace qrvml {

class TrainingProgressDialog final : public CAnalysisDialog, public TrainingDisplay {
 public:
  static constexpr int kTemplate = 3751;

  /// `train` is the training of the chosen method; `display` is where its engine looks for the
  /// display, set while the training runs.
  TrainingProgressDialog(CAnalysisSupport& analysis, std::function<bool()> train,
                         TrainingDisplay*& display);

  std::string_view InterfaceName() const override { return {}; }
  std::string_view Title() const override { return "Apprentissage en cours..."; }
  std::span<const Control> Controls() const override { return {}; }
  /// The start command that the dialog gives itself on opening: trains. False: failed or cancelled.
  bool OnOK() override;
  /// Cancel does not end the training by itself: the engine hears it from the host's poll.
  bool OnCancel() override { return true; }

  void ShowStatus(std::string_view text) override;
  void ShowDetail(std::string_view text) override;

 private:
  std::function<bool()> train_;
  TrainingDisplay*& display_;
};

}  // namespace qrvml
