#include "cli/verify_command.h"

#include <algorithm>
#include <atomic>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "cli/analysis_command.h"
#include "cli/dialog_calls.h"
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
generated, and the test cases are predicted with each. Shown for every text and dependent: the cases
that differ from the model as the text prints it, those that differ from the engine, which has more
digits, and those whose top vote is tied, so that rounding and the order of classes decide. The
settings, names, classes and prototypes of a text must be the engine's. Exit status 1: a text says
something else than the engine, or predicts something else than it says. --out DIR keeps the texts,
with the tables that they were compared with.

)";

/// What has been told already.
struct Refused {};

class Verifier {
 public:
  Verifier(OpenAnalysis& analysis, DialogCalls& calls, const std::atomic<bool>& cancel)
      : analysis_(analysis), calls_(calls), cancel_(cancel) {}

  int Run() {
    try {
      ReadEngine();
      Verify(CodeDialect::c, "C program", "CodeGeneratorCLang");
      Verify(CodeDialect::qvb, "QVB script", "CodeGeneratorQVB");
      Verify(CodeDialect::pmml, "PMML document", "CodeGeneratorPMML");
    } catch (const Refused&) {
      return kExitFailed;
    }
    std::cout.flush();
    return passed_ ? kExitDone : kExitFailed;
  }

 private:
  [[noreturn]] void Refuse(const std::string& text) {
    analysis_.Tell(text);
    throw Refused();
  }

  void Do(const std::string& name, const std::string& value = {}) {
    const bool acts = value.empty();
    const Step step{acts ? Step::Kind::act : Step::Kind::put, name, value,
                    acts ? name : name + '=' + value};
    if (!calls_.Run(step)) throw Refused();
  }

  /// Documents of one kind that an action makes.
  template <class Kind>
  std::vector<Kind> Made(const std::string& action) {
    const auto& documents = analysis_.host().workbook.documents();
    const std::size_t before = documents.size();
    Do(action);
    std::vector<Kind> made;
    for (std::size_t i = before; i < documents.size(); ++i)
      if (const Kind* document = std::get_if<Kind>(&documents[i])) made.push_back(*document);
    if (made.empty()) Refuse(action + " makes no document");
    return made;
  }

  Spreadsheet PredictionsTable(const std::string& subset, bool outputs, bool predictions) {
    const auto flag = [](bool on) { return std::string(on ? "1" : "0"); };
    Do(subset, "1");
    Do("IncludeInputs", "1");
    Do("IncludeOutputs", flag(outputs));
    // Prototypes have no predictions; what is not shown cannot be switched off there.
    if (predictions) {
      for (const char* name : {"IncludePredictions", "IncludeResiduals"})
        Do(name, flag(name == std::string_view("IncludePredictions")));
      if (analysis_.session().dialog()->IsEnabled("IncludeConfidence"))
        Do("IncludeConfidence", "0");
    }
    return std::move(Made<Spreadsheet>("PrintPredictions").at(0));
  }

  double Option(const std::string& name) {
    AutomationValue value;
    if (!analysis_.session().Get("Options." + name, value).Succeeded())
      Refuse("the analysis does not tell its " + name);
    return value.number;
  }

  static std::vector<double> Rows(std::span<const SpreadsheetColumn> columns, std::size_t rows) {
    std::vector<double> values;
    for (std::size_t r = 0; r < rows; ++r)
      for (const SpreadsheetColumn& column : columns) values.push_back(column.values[r]);
    return values;
  }

  void ReadEngine() {
    constexpr const char* kMetrics[] = {"Euclidean", "SquaredEuclidean", "CityBlock", "Chebychev"};
    for (int metric = 0; metric < 4; ++metric)
      if (Option(kMetrics[metric]) != 0) engine_.metric = metric;
    engine_.weighted = Option("UseWeightedAverage") != 0;
    engine_.standardized = Option("StandardizeDistances") != 0;
    engine_.neighbours = static_cast<std::size_t>(Option("KNearestNeighbors"));
    engine_.hasRange = !analysis_.file().IsWeightInForce();

    const Spreadsheet model = Made<Spreadsheet>("Model").at(0);
    const std::size_t inputs = model.columns.size();
    engine_.prototypeInputs = Rows(model.columns, model.Rows());
    for (const SpreadsheetColumn& column : model.columns)
      engine_.inputs.push_back({column.first, column.labels});

    const Spreadsheet tests = PredictionsTable("TestSubset", false, true);
    // Spreads come behind the predictions, one at most for each.
    const std::string heading = tests.columns.at(inputs).second;
    std::size_t end = inputs;
    while (end < tests.columns.size() && tests.columns[end].second == heading) ++end;
    const auto predictions = std::span(tests.columns).subspan(inputs, end - inputs);
    engine_.cases = tests.rowCases;
    engine_.caseInputs = Rows(std::span(tests.columns).first(inputs), tests.Rows());
    engine_.predictions = Rows(predictions, tests.Rows());
    if (engine_.cases.empty()) Refuse("there are no test cases to compare");

    const Spreadsheet prototypes = PredictionsTable("TrainSubset", true, false);
    if (prototypes.columns.size() != inputs + predictions.size() ||
        prototypes.Rows() != model.Rows())
      Refuse("the tables of prototypes do not fit each other");
    const auto observed = std::span(prototypes.columns).subspan(inputs);
    engine_.prototypeOutputs = Rows(observed, prototypes.Rows());
    for (const SpreadsheetColumn& column : observed)
      engine_.dependents.push_back({column.first, column.labels});
  }

  std::unique_ptr<DeployedModel> Open(CodeDialect dialect, const TextDocument& document,
                                      std::string& error) {
    const HostDataFile& file = analysis_.file();
    if (dialect == CodeDialect::pmml) return ReadPmmlDocument(document.text, error);
    if (dialect == CodeDialect::qvb) {
      ScriptLimits limits;
      limits.cancel = &cancel_;
      return QvbScript::Read(document.title, document.text, file, limits, error);
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
    for (const TextDocument& document : Made<TextDocument>(action)) {
      std::string error;
      TextCheck check;
      if (const auto model = Open(dialect, document, error)) {
        check = CheckText(dialect, document.text, *model, engine_, dependent, &cancel_);
      } else {
        check.faults.push_back(error);
      }
      if (cancel_) throw Refused();
      Show(name, check);
      passed_ = passed_ && check.Passed();
      if (dialect == CodeDialect::pmml) ++dependent;
    }
    if (dialect == CodeDialect::pmml && dependent != engine_.dependents.size())
      Refuse("there is not one PMML document for each dependent");
  }

  void Show(const std::string& name, const TextCheck& check) {
    const auto print = [](const std::string& line) { std::cout << PrintableText(line) << '\n'; };
    const auto count = [](std::int64_t n, const std::string& one, const std::string& many) {
      return std::to_string(n) + ' ' + (n == 1 ? one : many);
    };
    analysis_.host().progress.ClearLine();
    for (const DependentCheck& dependent : check.dependents) {
      const bool named = engine_.dependents.size() > 1;
      print(name + (named ? ", " + dependent.name : "") + ": " +
            count(dependent.cases, "case", "cases") + ", " +
            count(dependent.different, "differs", "differ") + " from the printed model, " +
            count(dependent.differentFromEngine, "differs", "differ") +
            " from the unrounded engine, " + std::to_string(dependent.tied) + " with tied votes");
      if (!dependent.first.empty()) print("  " + dependent.first);
    }
    for (const std::string& note : check.notes) print("  " + name + ": " + note);
    for (const std::string& fault : check.faults) print("  " + name + ": " + fault);
  }

  OpenAnalysis& analysis_;
  DialogCalls& calls_;
  const std::atomic<bool>& cancel_;
  EngineModel engine_;
  bool passed_ = true;
};

}  // namespace

int RunVerifyCommand(std::span<const std::string> arguments) {
  const std::string method = arguments.empty() ? "" : arguments.front();
  if (method == "--help" || method == "-h") {
    std::cout << "Usage: qrvml verify knn FILE [options of qrvml knn]\n\n" << kHelp;
    return kExitDone;
  }
  const AnalysisCommand* kind = method == "knn" ? FindAnalysisCommand(method) : nullptr;
  if (kind == nullptr) {
    std::cerr << "qrvml: verify needs the method whose texts are checked: qrvml verify knn FILE "
                 "(qrvml verify --help tells more)\n";
    return kExitWrongUsage;
  }
  const std::atomic<bool>& cancel = CatchInterrupts();
  const ResultsTask task{"verify", kHelp, [&cancel](OpenAnalysis& analysis, DialogCalls& calls) {
                           return Verifier(analysis, calls, cancel).Run();
                         }};
  return RunAnalysisCommand(*kind, arguments.subspan(1), &task);
}

}  // namespace qrvml
