#include "dialogs/training_progress_dialog.h"

#include <string>
#include <utility>

#include "host/analysis_support.h"
#include "host/string_table.h"

namespace qrvml {
namespace {
constexpr int kFirstIteration = 1, kDisplayLines = 15;
}

TrainingProgressDialog::TrainingProgressDialog(CAnalysisSupport& analysis,
                                               std::function<bool()> train,
                                               TrainingDisplay*& display)
    : CAnalysisDialog(analysis), train_(std::move(train)), display_(display) {}

bool TrainingProgressDialog::OnOK() {
  ProgressServices& progress = *analysis().services().progress;
  progress.CreateIterDisplay(kFirstIteration, kDisplayLines);
  ShowDetail(GetResourceString(288, kFirstIteration));
  display_ = this;
  const bool trained = train_();
  display_ = nullptr;
  progress.DestroyIterDisplay(!trained);
  return trained;
}

void TrainingProgressDialog::ShowStatus(std::string_view text) {
  analysis().services().progress->ShowIterText(0, text);
}

void TrainingProgressDialog::ShowDetail(std::string_view text) {
  analysis().services().progress->ShowIterText(1, text);
}

}  // namespace qrvml
