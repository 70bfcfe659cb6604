// One open analysis of the workbench: a thread of its own, which is all that the module sees, and
// what other threads may ask of it.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/analysis_host.h"
#include "host/analysis_session.h"
#include "server/analysis_data.h"
#include "server/asking_dialogs.h"
#include "server/macro_recorder.h"
#include "server/page_calls.h"
#include "server/page_documents.h"
#include "server/page_progress.h"
#include "server/page_questions.h"
#include "server/variable_choices.h"

namespace qrvml {

/// A kind of analysis that can be opened.
struct OfferedKind {
  std::string kind, title;
  int position = 0;           // in the startup dialog's list
  int specificationStep = 0;  // of the sequence
};

/// How an analysis begins.
struct AnalysisStart {
  const OfferedKind* kind = nullptr;  // it goes on to that kind's specification
  std::string macro = {};             // it does what the macro does
};

/// What all analyses of a workbench share; it outlives them.
struct AnalysisSurroundings {
  AnalysisFactory factory = nullptr;
  int threads = 0;
  std::vector<OfferedKind> kinds;
  const NamedFolders* folders = nullptr;
  FileShelf* shelf = nullptr;
  PublishedState* state = nullptr;
};

class AnalysisThread {
 public:
  AnalysisThread(const AnalysisSurroundings& surroundings, int id, const FileShelf::Ref& file,
                 AnalysisStart start);
  AnalysisThread(const AnalysisThread&) = delete;
  AnalysisThread& operator=(const AnalysisThread&) = delete;
  /// Cancels what runs and what is asked, and waits for the thread's end.
  ~AnalysisThread();

  /// Waits until the first dialog stands. False: `error` says why it does not.
  bool WaitUntilOpen(std::string& error);

  // For every thread; see docs/workbench-protocol.md.
  LetterReply PostCalls(const Json& body);
  LetterReply PostAnswer(const Json& body);
  /// What runs shall stop.
  void Cancel() { cancel_ = true; }
  int FileId() const { return data_.FileId(); }
  const PageDocuments& documents() const { return documents_; }
  /// The macro of what was done so far.
  const MacroRecorder& recorder() const { return recorder_; }
  void Record(bool on);

 private:
  void Run(const AnalysisStart& start);
  bool OpenSession(std::string& error);
  bool ChooseKind(const OfferedKind& kind, std::string& error);
  void Replay(const std::string& macro);
  void ConnectServices();

  LetterReply RunCalls(const Letter& letter);
  LetterReply RunModalCalls(const Letter& letter, QrvAnalysisDialog& dialog, int number,
                            Json& states, bool& ended, bool& accepted);
  AutomationResult MakeCall(const PageCall& call, std::string& control);
  /// Why a call failed, as far as no message has said it.
  std::string ReasonOf(const AutomationResult& result, std::size_t messagesBefore);

  void TellDialog(Json* changed);
  void TellNewDialog();
  void TellUndo();
  void TakeMacro();
  void TellMacro();
  void RecordAnswers(std::size_t position, const std::string& control);

  // The data file.
  void ConnectData();
  AutomationResult LookAtFile();
  bool StartOver(std::string& error);
  bool ChangeData(const OpenOptions& before, const OpenOptions& now, std::string& error);
  bool AskForFile();
  bool AskForSelection();
  bool AskForWeight();

  const AnalysisSurroundings& surroundings_;
  const int id_;
  std::atomic<bool> cancel_{false};
  AnalysisPublisher publisher_;
  AnalysisMailbox mailbox_;
  PageDocuments documents_;
  std::promise<std::string> opened_;  // the error; empty: none

  // Of the analysis's own thread.
  AnalysisHost host_;
  AnalysisData data_;
  OpenOptions recordedFile_;  // as it was when the recording began
  Asker asker_;
  AskingDialogs dialogs_;
  PageQuestions questions_;
  PageProgress progress_;
  HostServices services_;
  std::unique_ptr<AnalysisSession> session_;
  std::shared_ptr<QrvAnalysisDialog> shown_;  // the dialog that pages see
  int dialogNumber_ = 0;
  Json states_;              // of its controls
  FileShelf::Ref nextFile_;  // takes the place of the open one after the call
  std::string fieldOfPass_;  // the field read last before a pass began
  std::vector<std::pair<AnswerMember, std::string>> given_;  // answers of a person in this call
  VariableChoices choices_;
  bool couldUndo_ = false;             // as pages know it
  bool replays_ = false;               // a macro
  const OfferedKind* kind_ = nullptr;  // whose settings or results stand

  MacroRecorder recorder_;

  std::thread thread_;  // last: everything is there when it starts
};

}  // namespace qrvml
