#include "host/analysis_host.h"

#include <new>

namespace qrvml {

bool WorkbookOutput::looka4(Spreadsheet&& spreadsheet) {
  try {
    workbook_.Add(std::move(spreadsheet));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void WorkbookOutput::cupst(std::span<const std::string> lines) {
  workbook_.PutResults({lines.begin(), lines.end()});
}

AnalysisHost::AnalysisHost(HostSettings settings, const std::atomic<bool>& cancel)
    : memory(settings.memoryLimit),
      messages(answers),
      progress(cancel, settings.terminal, TerminalWidth()),
      dialogs(sequence, answers),
      output(workbook),
      automation(answers, settings.interactive),
      compute(settings.threads) {}

HostServices AnalysisHost::Services(DataFile& file, LabelLookup codeOfLabel) {
  dialogs.SetNames({&file, std::move(codeOfLabel)});
  HostServices services;
  services.file = &file;
  services.progress = &progress;
  services.messages = &messages;
  services.memory = &memory;
  services.random = &random;
  services.dialogs = &dialogs;
  services.output = &output;
  services.automation = &automation;
  services.compute = &compute;
  return services;
}

}  // namespace qrvml
