// A host for module tests: a data file written as a table literal, services that answer from
// scripts and keep what they were told, and an analysis that runs on both.
//
//   AnalysisSession session(TableFile("sex=Homme,Femme  height  group  *weight",
//                                     {"Homme            170     1      1",
//                                      "Femme            .       2      2.5"}));
//   session.ChooseKnn();
//   session.Put("Variables", "height | | | sex");
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/machine_learning.h"
#include "host/analysis_dialog.h"
#include "host/services.h"

namespace qrvml::test {

/// A data file in memory. The header names the variables; `name=A,B` gives labels to codes 1, 2, …,
/// `name=7:A,9:B` to chosen codes, `name!-1` a missing-data code other than -9999 (in that order:
/// `name=A,B!-1`). A cell is a number, a label of its variable, or `.` for a missing value.
/// Three columns are no variables: `*weight` brings case weights into force, `*name` names the
/// cases (`.`: no name), `*state` says what the host does with a case: + delivered, - skipped,
/// ! stop.
class TableFile final : public DataFile {
 public:
  TableFile() = default;
  explicit TableFile(std::string_view header, const std::vector<std::string>& rows = {});

  struct Variable {
    std::string name;
    double missing = -9999;
    std::map<double, std::string> labels;
    std::string special;  // not empty: a special format; shown as this text and the value
  };
  struct Case {
    std::vector<double> values;
    double weight = 1;
    std::string name;
    CaseStatus status = CaseStatus::delivered;
  };

  std::vector<Variable> variables;
  std::vector<Case> cases;
  int copies = 1;  // the host delivers all cases so many times, one copy after the other
  bool weighted = false;
  int reads = 0;       // cases asked for so far
  int stopAtRead = 0;  // the read, counted from 1, at which the host says stop; 0: never

  /// 0 when there is no variable of that name.
  int VariableNumber(std::string_view name) const;
  /// The variable's code with a label; false when it has none.
  bool FindLabel(int variable, std::string_view label, double& code) const;

  int NumberOfVariables() const override { return static_cast<int>(variables.size()); }
  int NumberOfCases() const override { return static_cast<int>(cases.size()) * copies; }
  CaseStatus cstrtw(int caseNumber, double* values, CaseInfo& info) override;
  CaseStatus cstart(int caseNumber, double* values) override;
  double getmd5(int variable) const override { return At(variable).missing; }
  std::string getvn5(int variable) const override { return At(variable).name; }
  int vvlcod(int variable, float code, std::string& label) const override;
  std::string getlab(int caseNumber) override;
  bool IsSpecialFormatVariable(int variable) const override {
    return !At(variable).special.empty();
  }
  bool IsDateVar(int) const override { return false; }
  std::string WriteSpecialFormatVariable(int variable, double value, int width) const override;
  bool IsWeightInForce() const override { return weighted; }
  std::string DataFileText() const override { return "table"; }

 private:
  const Variable& At(int variable) const {
    return variables[static_cast<std::size_t>(variable) - 1];
  }
};

struct Message {
  int number;
  std::string text;
  bool operator==(const Message&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Message& message);
/// A message of the string table.
Message MessageOf(int number);

/// One change or action as the host is asked to record it.
struct Recorded {
  std::string control, value;
  int constant = 0;
  bool operator==(const Recorded&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Recorded& recorded);

/// A data file as it was saved.
struct SavedFile {
  std::string path;
  std::vector<int> kept;
  std::vector<NewVariable> added;
  std::vector<std::pair<int, std::vector<double>>> rows;  // case number, new values
};

/// Every service of the host. A modal service takes its answer from the automation answer that
/// stands ready, else from its queue, else it is cancelled. Blocks that are still alive when the
/// host goes fail the test.
class ScriptedHost final : public ProgressServices,
                           public MessageServices,
                           public MemoryService,
                           public RandomServices,
                           public DialogServices,
                           public OutputServices,
                           public SavingServices,
                           public AutomationServices,
                           public ComputeServices,
                           public DiagnosticsServices {
 public:
  ScriptedHost() = default;
  ~ScriptedHost() override;
  HostServices Services(TableFile& table);

  // --- Script ------------------------------------------------------------------------------------
  bool isAutomation = true;
  int workerThreads = 1;
  int refuseAllocation = 0;  // the allocation, counted from 1 by `allocations`, that is refused
  bool refuseSpreadsheets = false;  // and graphs and text documents
  int refuseDocument = 0;  // the document, counted from 1 by `offeredDocuments`, that is refused
  bool refuseSaving = false;
  std::string charset = "UTF-8";  // of text documents
  int refusePut = 0;              // the row to be saved, counted from 1 by `puts`, that is refused
  bool refuseDialogs = false;
  int cancelAtPoll = 0;  // the poll, counted from 1 by `polls`, that says cancel, and all after it
  bool externallyCancelled = false;
  std::deque<double> scriptedDraws;  // served first; then each seed's own stream
  std::deque<BoxButton> boxAnswers;  // OK/Cancel boxes; none left: Cancel
  std::deque<std::vector<std::vector<int>>> variableListAnswers;
  std::deque<int> variableAnswers;                           // VariableListDialog
  std::deque<std::vector<std::vector<double>>> codeAnswers;  // per dialog: codes per variable
  std::deque<std::vector<double>> startValueAnswers;
  std::deque<std::vector<std::string>> inputFormAnswers;  // looka4dlg: cell texts
  std::deque<std::vector<int>> outputAnswers;             // PickOutputs
  std::deque<std::string> fileNameAnswers;
  bool openFileAnswer = false;
  /// What happens in a modal dialog of the module; absent: its OK is pressed.
  std::function<bool(int templateId, CAnalysisDialog& dialog)> modal;

  // --- What the module did -----------------------------------------------------------------------
  std::vector<Message> messages;
  std::vector<std::string> notes;          // those that nobody need answer
  std::vector<std::string> progressTexts;  // d_pbar
  std::vector<std::string> statusTexts;    // first line of the iteration display
  std::vector<std::string> detailTexts;    // second line
  std::vector<Spreadsheet> spreadsheets;
  std::vector<Graph> graphs;
  std::vector<TextDocument> textDocuments;
  std::vector<std::string> resultsText;
  std::vector<SavedFile> savedFiles;  // saves that were finished
  std::vector<Recorded> recorded;
  std::vector<CodesRequest> codesRequests;  // as they arrived
  std::vector<VariableListsRequest> variableListsRequests;
  std::vector<std::int32_t> seeds;  // of every draw
  std::string diagnostics;          // what a solver printed
  int openPasses = 0;               // progress displays open now
  int openIterDisplays = 0;
  int polls = 0;
  int allocations = 0;
  int offeredDocuments = 0;                 // spreadsheets, graphs and text documents
  int puts = 0;                             // rows of saves
  int templateId = 0;                       // of the modeless dialog
  std::unique_ptr<CAnalysisDialog> dialog;  // the modeless dialog
  int exitStep = -1, exitMode = 0;          // of the last ExitDialog; -1: none

  /// Numbers of the messages so far, and forgets them.
  std::vector<int> TakeMessages();
  std::size_t LiveBlocks() const { return live_.size(); }
  /// What a host does when it dispatches an OK or an action.
  void ForgetStreams() { streams_.clear(); }

  // --- Services ----------------------------------------------------------------------------------
  void dstart(int count) override;
  void d_pbar(std::string_view text) override { progressTexts.emplace_back(text); }
  void dstop() override { --openPasses; }
  int pcancel() override { return ++polls >= cancelAtPoll && cancelAtPoll > 0 ? 1 : 0; }
  bool IsExternallyCancelled() override { return externallyCancelled; }
  void CreateIterDisplay(int firstValue, int lines) override;
  void ShowIterText(int line, std::string_view text) override;
  void DestroyIterDisplay(bool) override { --openIterDisplays; }
  BoxButton DspMessageBox(BoxType type, int number, std::string_view text) override;
  int AllocMem(void** address, std::size_t bytes) override;
  void FreeMem(void* address) override;
  double rnd_(std::int32_t seed) override;
  int CreateModelessDialog(int templateId, std::unique_ptr<CAnalysisDialog> dialog) override;
  void ExitDialog(int step, int mode) override;
  bool RunModalDialog(int templateId, CAnalysisDialog& dialog) override;
  bool FourVarListsDialog(VariableListsRequest& request) override;
  bool ThreeVarListsDialog(VariableListsRequest& request) override;
  bool VariableListDialog(std::string_view caption, std::string_view prompt,
                          int& variable) override;
  bool LongCodesListDialog(CodesRequest& request) override;
  bool GetStartValues(std::string_view title, std::span<const std::string> rows,
                      std::span<double> values) override;
  bool looka4dlg(InputTable& form) override;
  bool OpenTvxFile() override { return openFileAnswer; }
  bool DefineSelCond() override { return false; }
  bool DefineWeight() override { return false; }
  bool GetValueFromValEdit(std::string_view text, int variable, double lowest, double highest,
                           double& value) override;
  bool looka4(Spreadsheet&& spreadsheet) override;
  bool ShowGraph(Graph&& graph) override;
  bool CreateTextDoc(TextDocument&& document) override;
  std::string TextCharset() const override { return charset; }
  void cupst(std::span<const std::string> lines) override {
    resultsText.assign(lines.begin(), lines.end());
  }
  bool PickOutputs(std::string_view title, std::string_view prompt,
                   std::span<const std::string> offered, std::vector<int>& picked) override;
  bool DoSaveFileNameDlg(std::string& path) override;
  bool SubsetAndAddEx(const std::string& path, std::span<const int> kept,
                      std::span<const NewVariable> added) override;
  bool PutDataF(int caseNumber, std::span<const double> added) override;
  bool FinishSave() override;
  void AbandonSave() override { saving_ = {}; }
  bool IsOleAutomation() override { return isAutomation; }
  void RecordControlValue(const CAnalysisDialog& dialog, const Control& control,
                          std::string_view value, int constant) override;
  void SetAnswer(AnswerMember member, std::string_view text) override;
  std::string Answer(AnswerMember member) const override;
  int WorkerThreads() const override { return workerThreads; }
  void Print(std::string_view text) override { diagnostics += text; }

 private:
  bool TakesDocument() { return ++offeredDocuments != refuseDocument && !refuseSpreadsheets; }
  bool AnswerLists(AnswerMember member, std::vector<std::vector<double>>& lists,
                   std::span<const int> variables);

  TableFile* table_ = nullptr;
  SavedFile saving_;
  std::map<void*, std::size_t> live_;
  std::map<std::int32_t, std::uint64_t> streams_;
  std::array<std::string, kAnswerMembers> answers_;
};

/// An analysis on a table, current on this thread while the session lives; step 100 has run.
class AnalysisSession {
 public:
  explicit AnalysisSession(TableFile table);
  ~AnalysisSession();

  TableFile file;
  ScriptedHost host;
  MachineLearning analysis{nullptr};

  AnalysisDataSet& data() { return analysis.data(); }
  /// Another file, as the host announces it.
  void ChangeFile(TableFile table);

  /// Goes to the startup dialog.
  QrvAnalysisDialog& OpenStartup();
  /// From the startup dialog, through its automation, to the neighbours' specification dialog.
  QrvAnalysisDialog& ChooseKnn();
  /// Opens a dialog without going through the sequence.
  QrvAnalysisDialog& Adopt(int templateId, std::unique_ptr<CAnalysisDialog> dialog);
  /// The automation object of the dialog that is open.
  QrvAnalysisDialog& dialog();
  std::shared_ptr<QrvAnalysisDialog> automation() { return automation_; }
  template <class Dialog>
  Dialog& As() {
    return static_cast<Dialog&>(*host.dialog);
  }

  /// Properties of the open dialog. Put fails the test when the call fails.
  void Put(std::string_view name, double value);
  void Put(std::string_view name, std::string_view text);
  double Number(std::string_view name);
  std::string Text(std::string_view name);

  /// OK and Cancel as the host dispatches them: streams are forgotten, and where the dialog ended
  /// the host goes on to the step that it named.
  AutomationResult OK();
  AutomationResult Cancel();
  AutomationResult Press(std::string_view name);

 private:
  AutomationResult Dispatch(const std::function<AutomationResult()>& call);
  void Open(int step);

  std::shared_ptr<QrvAnalysisDialog> automation_;
  std::unique_ptr<CAnalysisContext::Scope> scope_;
};

}  // namespace qrvml::test
