#include "host/analysis_host.h"

#include <new>

namespace qrvml {

bool WorkbookOutput::Add(Document&& document) {
  try {
    workbook_.Add(std::move(document));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool WorkbookOutput::looka4(Spreadsheet&& spreadsheet) { return Add(std::move(spreadsheet)); }

bool WorkbookOutput::ShowGraph(Graph&& graph) { return Add(std::move(graph)); }

bool WorkbookOutput::CreateTextDoc(TextDocument&& document) { return Add(std::move(document)); }

void WorkbookOutput::cupst(std::span<const std::string> lines) {
  workbook_.PutResults({lines.begin(), lines.end()});
}

AnalysisHost::AnalysisHost(const HostSettings& settings, const std::atomic<bool>& cancel)
    : memory(settings.memoryLimit),
      messages(answers),
      progress(cancel, settings.terminal, TerminalWidth()),
      dialogs(sequence, answers),
      output(workbook),
      saving(answers, messages),
      automation(sequence, answers, settings.interactive),
      compute(settings.threads) {}

HostServices AnalysisHost::Services(DataFile& file, LabelLookup codeOfLabel,
                                    const HostDataFile* opened) {
  saving.SetFile(opened);
  dialogs.SetNames({&file, std::move(codeOfLabel)});
  HostServices services;
  services.file = &file;
  services.progress = &progress;
  services.messages = &messages;
  services.memory = &memory;
  services.random = &random;
  services.dialogs = &dialogs;
  services.output = &output;
  services.saving = &saving;
  services.automation = &automation;
  services.compute = &compute;
  services.diagnostics = &diagnostics;
  return services;
}

}  // namespace qrvml
