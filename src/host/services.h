// The host's services, grouped by role. Whoever implements them is the host; the module reaches
// the outside only through these interfaces, always on the thread that runs the analysis.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/data_file.h"
#include "host/documents.h"
#include "host/memory.h"

namespace qrvml {

class CAnalysisDialog;
struct Control;
enum class AnswerMember : std::uint8_t;

/// Progress of a pass over cases, the two text lines of a training run, and cancel.
class ProgressServices {
 public:
  virtual ~ProgressServices() = default;

  virtual void dstart(int count) = 0;              // opens the display over `count` cases
  virtual void d_pbar(std::string_view text) = 0;  // its text
  virtual void dstop() = 0;                        // closes it
  /// Non-zero when the user cancels. Cheap enough for every few thousand operations.
  virtual int pcancel() = 0;
  /// Whether cancel came from outside the module (a closed page, a signal).
  virtual bool IsExternallyCancelled() = 0;

  /// The iteration display of a training run: two text lines.
  virtual void CreateIterDisplay(int firstValue, int lines) = 0;
  virtual void ShowIterText(int line, std::string_view text) = 0;  // line 0: status, 1: detail
  virtual void DestroyIterDisplay(bool cancelled) = 0;
};

enum class BoxType : int {
  information = 0,
  note = 1,  // information that waits for nobody to read it
  okCancel = 3,
};
enum class BoxButton : int { ok = 1, cancel = 2 };

class MessageServices {
 public:
  virtual ~MessageServices() = default;
  /// Shows a message box. `number` is the text's number in the string table, 0 for a fixed text.
  virtual BoxButton DspMessageBox(BoxType type, int number, std::string_view text) = 0;
};

class RandomServices {
 public:
  virtual ~RandomServices() = default;
  /// The next draw, in [0, 1), of the stream that belongs to `seed`. A stream begins at its seed
  /// and is continued by every call with that seed until the host forgets all streams (it does so
  /// when it dispatches an OK or an action).
  virtual double rnd_(std::int32_t seed) = 0;
};

/// Up to 8 variables whose codes one codes dialog asks for; codes as they stand before and after.
struct CodesRequest {
  std::string title;
  std::vector<int> variables;                 // 1-based variable numbers
  std::vector<std::vector<double>> codes;     // per variable; may be non-integral when returned
  std::vector<std::size_t> minimum, maximum;  // numbers of codes per variable
  double lowest = 0, highest = 0;             // allowed codes
};

/// The input form: an editable table with one column.
struct InputTable {
  std::string title, hint;
  std::string rowTitle, column;  // heading of the row names and of the column
  std::vector<std::string> rowNames;
  std::vector<std::string> cells;  // texts, before and after
};

struct VariableListsRequest {
  std::string title;
  std::vector<std::string> captions;    // one per list
  std::vector<std::vector<int>> lists;  // 1-based variable numbers, before and after
  std::vector<int> offered{};           // the variables to choose from; empty: all of the file
};

/// The host's modal dialogs. Each returns false when it is cancelled; nothing is then changed.
class DialogServices {
 public:
  virtual ~DialogServices() = default;

  /// Creates a modeless dialog from a template of the module and owns it; a null dialog is refused.
  /// Non-zero: not created.
  virtual int CreateModelessDialog(int templateId, std::unique_ptr<CAnalysisDialog> dialog) = 0;
  /// Ends the current modeless dialog towards a step of the sequence table. The dialog is destroyed
  /// once the call in progress has returned. mode: 1 back, 2 forward.
  virtual void ExitDialog(int step, int mode) = 0;
  /// Runs a modal dialog of the module: false when it ended with Cancel.
  virtual bool RunModalDialog(int templateId, CAnalysisDialog& dialog) = 0;

  virtual bool FourVarListsDialog(VariableListsRequest& request) = 0;
  virtual bool ThreeVarListsDialog(VariableListsRequest& request) = 0;
  /// One variable; 0 before: none chosen yet.
  virtual bool VariableListDialog(std::string_view caption, std::string_view prompt,
                                  int& variable) = 0;
  virtual bool LongCodesListDialog(CodesRequest& request) = 0;
  /// One value per row.
  virtual bool GetStartValues(std::string_view title, std::span<const std::string> rows,
                              std::span<double> values) = 0;

  /// The input form.
  virtual bool looka4dlg(InputTable&) { return false; }

  virtual bool OpenTvxFile() = 0;    // the host's open-data-file dialog; true: a file was opened
  virtual bool DefineSelCond() = 0;  // selection conditions
  virtual bool DefineWeight() = 0;   // case weights

  /// Reads a value field bound to a variable (0: to none): a number in [lowest, highest], or one
  /// of the variable's text labels. False when the text is neither.
  virtual bool GetValueFromValEdit(std::string_view text, int variable, double lowest,
                                   double highest, double& value) = 0;
};

class OutputServices {
 public:
  virtual ~OutputServices() = default;
  /// Puts a spreadsheet into the workbook. False: the host cannot create it.
  virtual bool looka4(Spreadsheet&& spreadsheet) = 0;
  /// Puts a graph into the workbook. False: the host cannot create it.
  virtual bool ShowGraph(Graph&&) { return false; }
  /// Puts a text document into the workbook.
  virtual bool CreateTextDoc(TextDocument&&) { return false; }
  /// The name of the character set in which the host keeps text documents; empty: not known.
  virtual std::string TextCharset() const { return "UTF-8"; }
  /// Replaces the results text of the current dialog, line by line.
  virtual void cupst(std::span<const std::string> lines) = 0;
};

/// A new variable of a saved data file.
struct NewVariable {
  std::string name;
  std::string longName;
  std::vector<CellLabel> labels;  // texts of codes
  double missingCode = kMissingOutput;
};

/// Saving predictions: a new data file with variables of the open one and new ones. A save is whole
/// or not at all.
class SavingServices {
 public:
  virtual ~SavingServices() = default;
  /// Lets the user pick from offered names; positions from 0, before and after. False: cancelled.
  virtual bool PickOutputs(std::string_view title, std::string_view prompt,
                           std::span<const std::string> offered, std::vector<int>& picked) = 0;
  /// Asks for the target file. False: cancelled.
  virtual bool DoSaveFileNameDlg(std::string& path) = 0;
  /// Begins a new data file with variables of the open file (1-based) followed by new ones. False,
  /// after a message: it cannot be written, or exists and may not be replaced.
  virtual bool SubsetAndAddEx(const std::string& path, std::span<const int> kept,
                              std::span<const NewVariable> added) = 0;
  /// Writes a row: a case of the open file, whose kept variables go along, and the new values.
  virtual bool PutDataF(int caseNumber, std::span<const double> added) = 0;
  /// Completes the file (true) or leaves everything as it was before (false, after a message).
  virtual bool FinishSave() = 0;
  /// Gives up; everything is as it was before.
  virtual void AbandonSave() = 0;
};

class AutomationServices {
 public:
  virtual ~AutomationServices() = default;
  /// True while a macro or a program drives the analysis: OK then trains silently.
  virtual bool IsOleAutomation() = 0;
  /// A control of a dialog was set or an action was taken, in the order in which it happened.
  /// `constant`: the host constant that stands for the value, 0 for none.
  virtual void RecordControlValue(const CAnalysisDialog& dialog, const Control& control,
                                  std::string_view value, int constant) = 0;
  /// The answer to the next modal service that asks for this member; used once. An empty text
  /// takes it back.
  virtual void SetAnswer(AnswerMember member, std::string_view text) = 0;
  /// The answer that stands ready, empty for none.
  virtual std::string Answer(AnswerMember member) const = 0;
};

class ComputeServices {
 public:
  virtual ~ComputeServices() = default;
  /// How many threads pure arithmetic may use; at least 1.
  virtual int WorkerThreads() const { return 1; }
};

class DiagnosticsServices {
 public:
  virtual ~DiagnosticsServices() = default;
  /// Takes a text that a solver prints while it works, line ends included.
  virtual void Print(std::string_view text) = 0;
};

/// Everything the module may call. The host keeps all of it alive while the analysis lives; `file`
/// may change between calls (then InitializeAfterFileChanged follows), the others may not.
struct HostServices {
  DataFile* file = nullptr;
  ProgressServices* progress = nullptr;
  MessageServices* messages = nullptr;
  MemoryService* memory = nullptr;
  RandomServices* random = nullptr;
  DialogServices* dialogs = nullptr;
  OutputServices* output = nullptr;
  SavingServices* saving = nullptr;
  AutomationServices* automation = nullptr;
  ComputeServices* compute = nullptr;
  DiagnosticsServices* diagnostics = nullptr;  // null: the standard output takes what is printed
};

}  // namespace qrvml
