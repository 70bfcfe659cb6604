// One open analysis: the module's object, the host's services and the dialog that stands.
//
// A client drives the dialog through the session, one call at a time, on the thread that opened it.
// A dialog that ends is destroyed after the call that ended it has returned; then the step that it
// asked for runs.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/analysis_dialog.h"
#include "host/analysis_support.h"
#include "host/dialog_sequence.h"
#include "host/random_streams.h"

namespace qrvml {

class AnalysisSession {
 public:
  /// `services` must be complete; its dialog service must keep dialogs in `sequence` and its random
  /// service must be `random`. All of them outlive the session.
  AnalysisSession(const HostServices& services, DialogSequence& sequence, RandomStreams& random);
  AnalysisSession(const AnalysisSession&) = delete;
  AnalysisSession& operator=(const AnalysisSession&) = delete;
  ~AnalysisSession();

  /// Creates the analysis and runs its first step and those that follow by themselves. False:
  /// `error` says why, and nothing is open.
  bool Open(AnalysisFactory factory, std::string& error);
  bool IsOpen() const { return sequence_.current() != nullptr; }
  CAnalysisSupport* analysis() const { return analysis_.get(); }
  /// The step whose dialog stands; 0 when none does.
  int step() const { return step_; }
  /// The automation object of the dialog that stands; null when the analysis has ended.
  std::shared_ptr<QrvAnalysisDialog> dialog() const;

  // The calls of the dialog that stands; they fail when there is none. A call that acts (an OK, a
  // press, an action that is read) forgets the random streams before it runs.
  AutomationResult Get(std::string_view name, AutomationValue& value);
  AutomationResult Put(std::string_view name, const AutomationValue& value);
  AutomationResult Type(std::string_view name, std::string_view text);
  AutomationResult ShowTab(std::string_view tab);
  AutomationResult Press(std::string_view name);
  AutomationResult OK();
  AutomationResult Cancel();

  /// Another file, which these services have, takes the place of the open one: the analysis starts
  /// afresh at its first dialog.
  bool ReplaceFile(const HostServices& services, std::string& error);

  /// Called before a call that acts; a failure is the call's, and the call is not made. It may
  /// replace the file.
  std::function<AutomationResult()> beforeActing;
  /// Called when a dialog has ended, just before it is destroyed; it may read properties.
  std::function<void(QrvAnalysisDialog&)> beforeLeaving;
  // For a recorder of macros; properties that are set and actions reach the automation service.
  std::function<void(QrvAnalysisDialog&)> beforeOK;
  /// OK has led to another dialog, or to the end.
  std::function<void()> afterOK;
  /// Cancel has led to another dialog, or to the end.
  std::function<void()> afterCancel;
  /// An answer member was put.
  std::function<void(std::string_view name, std::string_view text)> onAnswer;

 private:
  template <class Operation>
  AutomationResult Call(Operation operation);
  /// A call that acts.
  template <class Operation>
  AutomationResult Act(Operation operation);
  const Control* Find(std::string_view name) const;
  /// Runs a step and those that follow it by themselves.
  bool RunFrom(int step, std::string& error);
  /// Goes where the last call's dialog wants to go.
  AutomationResult GoOn(AutomationResult result);

  HostServices services_;
  DialogSequence& sequence_;
  RandomStreams& random_;
  std::unique_ptr<CAnalysisSupport> analysis_;
  int step_ = 0;
};

}  // namespace qrvml
