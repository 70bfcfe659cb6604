#include "server/macro_recorder.h"

#include <algorithm>

#include "macro/macro_text.h"

namespace qrvml {
namespace {

using What = RecordedChange::What;

/// An output or a saved file, which leaves the analysis as it is.
bool MakesOutput(const RecordedChange& change) {
  return change.what == What::act && change.kind == ControlKind::action;
}

}  // namespace

bool MacroRecorder::Take(const OpenOptions& file, std::span<const RecordedChange> changes) {
  const std::lock_guard lock(mutex_);
  if (changes.size() == taken_ && !text_.empty()) return false;
  file_ = file;
  if (changes.size() < taken_) {
    recorded_.clear();
    waiting_.clear();
    taken_ = 0;
  }
  const auto fresh = changes.subspan(taken_);
  taken_ = changes.size();
  if (!on_) {
    Catch(fresh);
    return false;
  }
  recorded_.insert(recorded_.end(), fresh.begin(), fresh.end());
  text_ = MacroText(file_, recorded_);
  return true;
}

/// Keeps what leads on; an output goes with the answers that were given to it.
void MacroRecorder::Catch(std::span<const RecordedChange> changes) {
  for (const RecordedChange& change : changes) {
    if (!MakesOutput(change)) {
      waiting_.push_back(change);
      continue;
    }
    while (!waiting_.empty() && waiting_.back().what == What::answer) waiting_.pop_back();
  }
}

bool MacroRecorder::Switch(bool on) {
  const std::lock_guard lock(mutex_);
  on_ = on;
  if (!on || waiting_.empty()) return false;
  recorded_.insert(recorded_.end(), waiting_.begin(), waiting_.end());
  waiting_.clear();
  text_ = MacroText(file_, recorded_);
  return true;
}

bool MacroRecorder::IsOn() const {
  const std::lock_guard lock(mutex_);
  return on_;
}

std::string MacroRecorder::Text() const {
  const std::lock_guard lock(mutex_);
  return text_;
}

std::ptrdiff_t MacroRecorder::Lines() const { return std::ranges::count(Text(), '\n'); }

std::string MacroRecorder::TextForAnotherFile() const {
  const std::lock_guard lock(mutex_);
  std::vector<RecordedChange> changes = recorded_;
  constexpr auto kName = kAnswerNames[static_cast<std::size_t>(AnswerMember::saveFileName)];
  std::erase_if(changes, [&](const RecordedChange& change) {
    return change.what == What::answer && change.control == kName;
  });
  return MacroText(file_, changes);
}

}  // namespace qrvml
