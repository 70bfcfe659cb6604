#include "cli/verify_command.h"

#include <algorithm>
#include <atomic>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "cli/analysis_command.h"
#include "cli/engine_tables.h"
#include "cli/exit_code.h"
#include "cli/interrupt.h"
#include "cli/open_analysis.h"
#include "documents/display_width.h"
#include "score/c_program.h"
#include "score/pmml_document.h"
#include "score/qvb_script.h"
#include "score/scoring.h"
#include "score/verification.h"

namespace qrvml {
namespace {

constexpr const char* kHelp =
    R"(Checks the generated texts of an analysis: C program, QVB script and PMML documents.

The analysis runs with the options below and those steps of --do that are given; then the texts are
generated, and the test cases are predicted with each (where there is no sampling, the training
cases). Shown for every text and dependent: the cases that differ from the model as the text prints
it, those that differ from the engine, which has more digits, and those that are tied within
rounding, which then decides. Settings, names, classes and values of a text must be the engine's;
what a text has otherwise by intent, or cannot say, is noted. Exit status 1: a text says something
else than the engine, or predicts something else than it says. --out DIR keeps the texts, with the
tables that they were compared with.

)";

struct VerifiedMethod {
  const char* command;
  std::unique_ptr<EngineModel> (*read)(EngineTables& tables);
};
constexpr VerifiedMethod kMethods[] = {
    {"knn", ReadNeighbourEngine}, {"nb", ReadBayesEngine}, {"svm", ReadMachineEngine}};

class Verifier {
 public:
  Verifier(const VerifiedMethod& method, OpenAnalysis& analysis, DialogCalls& calls,
           const std::atomic<bool>& cancel)
      : method_(method), analysis_(analysis), tables_(analysis, calls), cancel_(cancel) {}

  int Run() {
    try {
      engine_ = method_.read(tables_);
      Verify(CodeDialect::c, "C program", "CodeGeneratorCLang");
      Verify(CodeDialect::qvb, "QVB script", "CodeGeneratorQVB");
      Verify(CodeDialect::pmml, "PMML document", "CodeGeneratorPMML");
    } catch (const EngineTables::Refused&) {
      return kExitFailed;
    }
    std::cout.flush();
    return passed_ ? kExitDone : kExitFailed;
  }

 private:
  std::unique_ptr<DeployedModel> Open(CodeDialect dialect, const TextDocument& document,
                                      std::string& error) {
    const HostDataFile& file = analysis_.file();
    if (dialect == CodeDialect::pmml) return ReadPmmlDocument(document.text, error);
    if (dialect == CodeDialect::qvb) {
      ScriptLimits limits;
      limits.cancel = &cancel_;
      std::vector<int> dependents;
      for (const EngineField& dependent : engine_->dependents)
        dependents.push_back(Scoring::FindVariable(file, dependent.name));
      return QvbScript::Read(document.title, document.text, file, limits, error, dependents);
    }
    CHeader header;
    const auto isName = [&](const std::string& name) {
      return Scoring::FindVariable(file, name) != 0;
    };
    if (!ReadCHeader(document.text, isName, header, error)) return nullptr;
    return CProgram::Open(document.text, std::move(header), {.cancel = &cancel_}, error);
  }

  void Verify(CodeDialect dialect, const std::string& name, const std::string& action) {
    std::size_t dependent = 0;
    for (const TextDocument& document : tables_.Made<TextDocument>(action)) {
      std::string error;
      TextCheck check;
      if (const auto model = Open(dialect, document, error)) {
        check = CheckText(dialect, document.text, *model, *engine_, dependent, &cancel_);
      } else {
        check.faults.push_back(error);
      }
      if (cancel_) throw EngineTables::Refused();
      Show(name, check);
      passed_ = passed_ && check.Passed();
      if (dialect == CodeDialect::pmml) ++dependent;
    }
    if (dialect == CodeDialect::pmml && dependent != engine_->dependents.size())
      tables_.Refuse("there is not one PMML document for each dependent");
  }

  void Show(const std::string& name, const TextCheck& check) {
    const auto print = [](const std::string& line) { std::cout << PrintableText(line) << '\n'; };
    const auto count = [](std::int64_t n, const std::string& one, const std::string& many) {
      return std::to_string(n) + ' ' + (n == 1 ? one : many);
    };
    analysis_.host().progress.ClearLine();
    for (const DependentCheck& dependent : check.dependents) {
      const bool named = engine_->dependents.size() > 1;
      print(
          name + (named ? ", " + dependent.name : "") + ": " +
          count(dependent.cases, "case", "cases") + ", " +
          count(dependent.different, "differs", "differ") + " from the printed model, " +
          count(dependent.differentFromEngine, "differs", "differ") + " from the unrounded engine" +
          (dependent.differentFromEngine > 0 && dependent.farthest > 0
               ? fmt::format(" (by up to {:.2g})", dependent.farthest)
               : "") +
          ", " + std::to_string(dependent.tied) + " with tied " + std::string(engine_->TiedWord()));
      if (!dependent.first.empty()) print("  " + dependent.first);
    }
    for (const std::string& note : check.notes) print("  " + name + ": " + note);
    for (const std::string& fault : check.faults) print("  " + name + ": " + fault);
  }

  const VerifiedMethod& method_;
  OpenAnalysis& analysis_;
  EngineTables tables_;
  const std::atomic<bool>& cancel_;
  std::unique_ptr<EngineModel> engine_;
  bool passed_ = true;
};

}  // namespace

int RunVerifyCommand(std::span<const std::string> arguments) {
  const std::string command = arguments.empty() ? "" : arguments.front();
  if (command == "--help" || command == "-h") {
    std::cout << "Usage: qrvml verify knn|nb|svm FILE [options of that analysis]\n\n" << kHelp;
    return kExitDone;
  }
  const auto method = std::ranges::find(kMethods, command, &VerifiedMethod::command);
  const AnalysisCommand* kind =
      method == std::end(kMethods) ? nullptr : FindAnalysisCommand(command);
  if (kind == nullptr) {
    std::cerr
        << "qrvml: verify needs the method whose texts are checked: qrvml verify knn FILE, nb "
           "or svm (qrvml verify --help tells more)\n";
    return kExitWrongUsage;
  }
  const std::atomic<bool>& cancel = CatchInterrupts();
  const ResultsTask task{"verify", kHelp, [&](OpenAnalysis& analysis, DialogCalls& calls) {
                           return Verifier(*method, analysis, calls, cancel).Run();
                         }};
  return RunAnalysisCommand(*kind, arguments.subspan(1), &task);
}

}  // namespace qrvml
