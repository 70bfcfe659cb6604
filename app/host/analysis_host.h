// The services of one open analysis that runs unattended: a shell, a test, a program.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string_view>

#include "documents/workbook.h"
#include "host/answering_dialogs.h"
#include "host/automation_host.h"
#include "host/compute_host.h"
#include "host/diagnostics_host.h"
#include "host/host_memory.h"
#include "host/message_log.h"
#include "host/random_streams.h"
#include "host/saving_host.h"
#include "host/services.h"
#include "host/terminal_progress.h"

namespace qrvml {

/// Documents go to a workbook.
class WorkbookOutput final : public OutputServices {
 public:
  explicit WorkbookOutput(Workbook& workbook) : workbook_(workbook) {}

  bool looka4(Spreadsheet&& spreadsheet) override;
  bool ShowGraph(Graph&& graph) override;
  bool CreateTextDoc(TextDocument&& document) override;
  void cupst(std::span<const std::string> lines) override;

 private:
  bool Add(Document&& document);

  Workbook& workbook_;
};

struct HostSettings {
  bool interactive = true;      // OK presses as a person does, with progress texts
  int threads = 0;              // 0: all cores
  std::size_t memoryLimit = 0;  // bytes; 0: none
  std::function<void(std::string_view)> terminal;  // where progress is shown; absent: nowhere
};

class AnalysisHost {
 public:
  /// `cancel` ends what runs when it becomes true.
  AnalysisHost(const HostSettings& settings, const std::atomic<bool>& cancel);

  /// The services with a data file; `codeOfLabel` may be asked as long as the file is open.
  /// `opened` is the same file as the host has it, whose variables can be saved; null: they cannot.
  HostServices Services(DataFile& file, LabelLookup codeOfLabel,
                        const HostDataFile* opened = nullptr);

  DialogSequence sequence;
  AnswerBook answers;
  Workbook workbook;
  HostMemory memory;
  RandomStreams random;
  MessageLog messages;
  TerminalProgress progress;
  AnsweringDialogs dialogs;
  WorkbookOutput output;
  SavingHost saving;
  AutomationHost automation;
  ComputeHost compute;
  DiagnosticsHost diagnostics;
};

}  // namespace qrvml
