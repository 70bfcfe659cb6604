// The modeless dialog that stands, and where it wants to go once the call in progress has returned.
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "host/analysis_dialog.h"

namespace qrvml {

/// Whether a step lies ahead or behind, as dialogs say it when they end.
enum class Direction : int { back = 1, forward = 2 };

struct NextStep {
  int step = 0;  // of the sequence table; 0 ends the analysis
  Direction direction = Direction::forward;
};

class DialogSequence {
 public:
  /// Takes a dialog over as the one that stands; non-zero, and nothing changes, for none.
  int Create(int templateId, std::unique_ptr<CAnalysisDialog> dialog) {
    if (dialog == nullptr) return 1;
    dialog_ = std::move(dialog);
    templateId_ = templateId;
    return 0;
  }
  void Exit(int step, int mode) { next_ = NextStep{step, static_cast<Direction>(mode)}; }

  CAnalysisDialog* current() const { return dialog_.get(); }
  int templateId() const { return dialog_ == nullptr ? 0 : templateId_; }
  /// The step asked for since the last call, if any.
  std::optional<NextStep> TakeNext() { return std::exchange(next_, std::nullopt); }
  /// Destroys the dialog.
  void Close() { dialog_.reset(); }

 private:
  std::unique_ptr<CAnalysisDialog> dialog_;
  int templateId_ = 0;
  std::optional<NextStep> next_;
};

}  // namespace qrvml
