// What the engine of a trained analysis shows, read from the documents and properties of its
// results dialog as any client reads them.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/dialog_calls.h"
#include "cli/open_analysis.h"
#include "host/documents.h"
#include "score/verification.h"

namespace qrvml {

class EngineTables {
 public:
  /// What has been told already.
  struct Refused {};

  EngineTables(OpenAnalysis& analysis, DialogCalls& calls) : analysis_(analysis), calls_(calls) {}

  // Whatever fails is told and throws Refused.

  [[noreturn]] void Refuse(const std::string& text);
  /// Acts, or sets a property where there is a value.
  void Do(const std::string& name, const std::string& value = {});
  /// Documents of one kind that an action makes; at least one.
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
  AutomationValue Get(const std::string& name);
  /// A property as the specification dialog had it.
  std::string Specified(const std::string& name);
  double SpecifiedNumber(const std::string& name);
  bool IsEnabled(const std::string& name);

  /// The predictions table of a subset: inputs, then what is asked for of the dependents.
  Spreadsheet Predictions(const std::string& subset, bool observed, bool predictions);
  /// Takes the cases of a predictions table, their inputs and predictions; `inputs` columns are
  /// inputs. Gives how many columns are predictions.
  std::size_t TakeCases(const Spreadsheet& table, std::size_t inputs, EngineModel& engine);

  const HostDataFile& file() { return analysis_.file(); }

 private:
  OpenAnalysis& analysis_;
  DialogCalls& calls_;
};

/// The values of columns, row after row.
std::vector<double> RowsOf(std::span<const SpreadsheetColumn> columns, std::size_t rows);

// The engine of each method.
std::unique_ptr<EngineModel> ReadNeighbourEngine(EngineTables& tables);
std::unique_ptr<EngineModel> ReadBayesEngine(EngineTables& tables);
std::unique_ptr<EngineModel> ReadMachineEngine(EngineTables& tables);

}  // namespace qrvml
