#include "cli/score_command.h"

#include <cmath>
#include <fstream>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "cli/command_line.h"
#include "cli/exit_code.h"
#include "cli/interrupt.h"
#include "datafile/host_data_file.h"
#include "host/numerics.h"
#include "score/bayes_verification.h"
#include "score/c_program.h"
#include "score/pmml_document.h"
#include "score/qvb_script.h"
#include "score/scoring.h"

namespace qrvml {
namespace {

struct ScoreOptions {
  OpenOptions open;
  std::string c, pmml, qvb;  // the generated text; one of them is given
  double timeLimit = 300;
  std::uint64_t stepLimit = 0;  // 0: none

  const std::string& Source() const { return !c.empty() ? c : !pmml.empty() ? pmml : qvb; }
  int Sources() const { return int{!c.empty()} + int{!pmml.empty()} + int{!qvb.empty()}; }
};

constexpr const char* kFooter =
    R"(Columns of a script's sheet: a generated script writes the prediction of dependent k into column k
and its residual into column k + 1, where the next dependent's prediction takes its place. Column k
is read as the prediction of dependent k; residuals are computed from the data.

A script names its variables by their numbers and its categories by their codes: they are those of
the data file, which must have the variables in the order of the file that the model was trained on.

A PMML document of naive Bayes holds counts and moments, no priors: it is applied with each class's
share of the training cases, and with the densities of all its distributions. Its C program and script leave
the gamma and Poisson densities to their user: such an input counts for nothing there.)";

constexpr std::size_t kLargestText = std::size_t{1} << 30;

void Complain(const std::string& text) { std::cerr << "qrvml: " << text << '\n'; }

/// The whole of a generated text. What begins otherwise is refused before it is read as a whole.
bool ReadText(const std::string& path, std::string_view begin, std::string_view what,
              std::string& text, std::string& error) {
  std::ifstream file(path, std::ios::binary);
  std::vector<char> block(1 << 16);
  text.clear();
  while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
    const bool first = text.empty();
    text.append(block.data(), static_cast<std::size_t>(file.gcount()));
    if (first && !text.starts_with(begin)) {
      error = "it does not begin as " + std::string(what) + " does";
      return false;
    }
    if (text.size() > kLargestText) {
      error = "it is larger than 1 GB";
      return false;
    }
  }
  if (!text.empty()) return true;
  error = file.is_open() && file.eof() ? "it is empty" : "it cannot be read";
  return false;
}

bool ReadSource(const ScoreOptions& options, std::string& text, std::string& error) {
  if (!options.qvb.empty())
    return ReadText(options.qvb, "'#Uses", "a generated QVB script", text, error);
  if (!options.pmml.empty())
    return ReadText(options.pmml, "<?xml", "a generated PMML document", text, error);
  return ReadText(options.c, "//", "a generated C program", text, error);
}

std::unique_ptr<DeployedModel> OpenModel(const ScoreOptions& options, const std::string& text,
                                         const HostDataFile& file, const std::atomic<bool>& cancel,
                                         std::string& error) {
  if (!options.qvb.empty()) {
    ScriptLimits limits;
    limits.steps = options.stepLimit;
    limits.cancel = &cancel;
    return QvbScript::Read(options.qvb, text, file, limits, error);
  }
  if (!options.pmml.empty()) return ReadPmmlDocument(text, error);
  CHeader header;
  if (!ReadCHeader(
          text, [&](const std::string& name) { return Scoring::FindVariable(file, name) != 0; },
          header, error))
    return nullptr;
  const Patience patience{std::chrono::milliseconds(std::llround(options.timeLimit * 1000)),
                          &cancel};
  return CProgram::Open(text, std::move(header), patience, error);
}

/// Inputs that a generated text leaves out until its user has completed it.
void WarnOfPlaceholders(const ScoreOptions& options, const std::string& text,
                        const DeployedModel& model) {
  if (!options.pmml.empty()) return;
  const CodeDialect dialect = options.qvb.empty() ? CodeDialect::c : CodeDialect::qvb;
  std::string names;
  for (const std::size_t input : PlaceholderInputs(dialect, text))
    if (input < model.inputs.size())
      names += (names.empty() ? "" : ", ") + model.inputs[input].name;
  if (!names.empty())
    Complain(
        "warning: the text leaves its gamma and Poisson densities to its user; without one "
        "these inputs count for nothing: " +
        names);
}

/// A field of delimited text; quoted where it must be.
std::string Field(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

std::string ValueField(const DeployedField& field, double value) {
  if (std::isnan(value)) return {};
  const DeployedCategory* category = field.isCategorical ? field.FindCode(value) : nullptr;
  return Field(category == nullptr ? ShortestText(value) : category->text);
}

class PredictionTable {
 public:
  PredictionTable(HostDataFile& file, const DeployedModel& model, const Scoring& scoring)
      : file_(file), model_(model), scoring_(scoring) {}

  /// Once, before the first case: a model that cannot predict leaves no output.
  void WriteHeadings() {
    if (std::exchange(hasHeadings_, true)) return;
    std::cout << "case";
    if (HasNames()) std::cout << ",name";
    for (std::size_t d = 0; d < model_.dependents.size(); ++d) {
      const std::string& name = model_.dependents[d].name;
      std::cout << ',' << Field(name);
      if (scoring_.HasDependent(d))
        std::cout << ',' << Field(name + " observed") << ',' << Field(name + " residual");
    }
    std::cout << '\n';
  }
  void Write(const ScoredCase& scored) {
    WriteHeadings();
    std::cout << scored.caseNumber;
    if (HasNames()) std::cout << ',' << Field(file_.getlab(scored.caseNumber));
    for (std::size_t d = 0; d < model_.dependents.size(); ++d) {
      const DeployedField& dependent = model_.dependents[d];
      const double observed = scored.observed[d];
      std::cout << ',';
      if (scored.isPredicted) std::cout << ValueField(dependent, scored.predictions[d]);
      if (!scoring_.HasDependent(d)) continue;
      std::cout << ',' << ValueField(dependent, observed) << ',';
      if (!scored.isPredicted || std::isnan(observed)) continue;
      const double residual = observed - scored.predictions[d];
      std::cout << ShortestText(dependent.isCategorical ? (residual == 0 ? 0 : 1) : residual);
    }
    std::cout << '\n';
  }

 private:
  bool HasNames() const { return file_.CaseNamesVariable() != 0; }

  HostDataFile& file_;
  const DeployedModel& model_;
  const Scoring& scoring_;
  bool hasHeadings_ = false;
};

void Summarise(const ScoringSummary& summary, const DeployedModel& model) {
  std::string text = "predicted: " + std::to_string(summary.scored) + " of " +
                     std::to_string(summary.scored + summary.missing + summary.unknown) + " cases";
  if (summary.missing > 0) text += "; with a missing input: " + std::to_string(summary.missing);
  if (summary.unknown > 0)
    text += "; with a category that the model lacks: " + std::to_string(summary.unknown);
  Complain(text);
  for (std::size_t d = 0; d < model.dependents.size(); ++d) {
    const ScoredDependent& found = summary.dependents[d];
    if (found.compared == 0) continue;
    const std::string compared = std::to_string(found.compared);
    Complain(model.dependents[d].name + ": " +
             (model.dependents[d].isCategorical
                  ? std::to_string(found.correct) + " of " + compared + " correct"
                  : "mean squared residual " +
                        ShortestText(found.squares / static_cast<double>(found.compared)) +
                        " over " + compared));
  }
}

int Score(const ScoreOptions& options) {
  const std::atomic<bool>& cancel = CatchInterrupts();
  std::unique_ptr<HostDataFile> file;
  FileError fileError;
  if (!OpenDataFile(options.open, file, fileError)) {
    Complain(fileError.Text());
    return kExitFailed;
  }
  file->SetPassHook([&cancel](int) { return cancel.load(); });
  std::string error;
  const std::string& source = options.Source();
  std::string text;
  const auto model =
      ReadSource(options, text, error) ? OpenModel(options, text, *file, cancel, error) : nullptr;
  if (model == nullptr) {
    if (cancel) return kExitCancelled;
    Complain(source + ": " + error);
    return kExitFailed;
  }
  Scoring scoring(*file, *model);
  if (!scoring.FindVariables(error)) {
    Complain(options.open.path + ": " + error);
    return kExitFailed;
  }
  WarnOfPlaceholders(options, text, *model);
  PredictionTable table(*file, *model, scoring);
  ScoringSummary summary;
  const ScoringOutcome outcome =
      scoring.Run([&](const ScoredCase& scored) { table.Write(scored); }, summary, error);
  if (outcome == ScoringOutcome::done) table.WriteHeadings();
  std::cout.flush();
  if (cancel) return kExitCancelled;
  if (outcome != ScoringOutcome::done) {
    Complain(source + ": " + error);
    return kExitFailed;
  }
  if (!std::cout.good()) {
    Complain("cannot write to the standard output");
    return kExitFailed;
  }
  Summarise(summary, *model);
  return kExitDone;
}

}  // namespace

int RunScoreCommand(std::span<const std::string> arguments) {
  ScoreOptions options;
  CommandLine line("Predictions of a generated text for the cases of a data file", "qrvml score");
  line.AddFileOptions(options.open);
  line.Add("--c", options.c, "Generated C program: it is compiled and run");
  line.Add("--pmml", options.pmml, "Generated PMML document");
  line.Add("--qvb", options.qvb,
           "Generated QVB script: it is run as a node of a workflow, on up to 4096 cases at a "
           "time");
  line.Add("--time-limit", options.timeLimit,
           "Seconds that the compiler, and the program for a case, may take (default: 300)")
      .Range(0.001, 1e6);
  line.Add("--step-limit", options.stepLimit,
           "Ends a script after so many steps of its interpreter (default: no limit)");
  line.Add("--threads", options.open.threads, "Threads for reading (default: all cores)")
      .Range(1, 4096);
  line.Footer(kFooter);
  std::string text;
  const ParseOutcome outcome = line.Parse(arguments, text);
  if (outcome == ParseOutcome::help) {
    std::cout << text;
    return kExitDone;
  }
  if (outcome == ParseOutcome::go) {
    if (options.open.path.empty()) {
      text = "FILE is missing";
    } else if (options.Sources() != 1) {
      text = "one generated text is needed: --c SOURCE or --pmml DOCUMENT or --qvb SCRIPT";
    }
  }
  if (text.empty()) return Score(options);
  Complain(text + " (qrvml score --help lists the options)");
  return kExitWrongUsage;
}

}  // namespace qrvml
