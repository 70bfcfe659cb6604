#include "cli/engine_tables.h"

#include <algorithm>
#include <string_view>

#include "score/neighbour_verification.h"

namespace qrvml {

void EngineTables::Refuse(const std::string& text) {
  analysis_.Tell(text);
  throw Refused();
}

void EngineTables::Do(const std::string& name, const std::string& value) {
  const bool acts = value.empty();
  const Step step{acts ? Step::Kind::act : Step::Kind::put, name, value,
                  acts ? name : name + '=' + value};
  if (!calls_.Run(step)) throw Refused();
}

AutomationValue EngineTables::Get(const std::string& name) {
  AutomationValue value;
  if (!analysis_.session().Get(name, value).Succeeded())
    Refuse("the analysis does not tell its " + name);
  return value;
}

std::string EngineTables::Specified(const std::string& name) {
  for (const auto& [own, value] : analysis_.properties())
    if (own == name && std::holds_alternative<std::string>(value))
      return std::get<std::string>(value);
  Refuse("the analysis does not tell its " + name);
}

double EngineTables::SpecifiedNumber(const std::string& name) {
  for (const auto& [own, value] : analysis_.properties())
    if (own == name && std::holds_alternative<double>(value)) return std::get<double>(value);
  Refuse("the analysis does not tell its " + name);
}

bool EngineTables::IsEnabled(const std::string& name) {
  return analysis_.session().dialog()->IsEnabled(name);
}

Spreadsheet EngineTables::Predictions(const std::string& subset, bool observed, bool predictions) {
  const auto flag = [](bool on) { return std::string(on ? "1" : "0"); };
  Do(subset, "1");
  Do("IncludeInputs", "1");
  Do("IncludeOutputs", flag(observed));
  // What is not shown of this subset cannot be switched off there, and need not be.
  if (predictions || IsEnabled("IncludePredictions")) Do("IncludePredictions", flag(predictions));
  for (const char* name : {"IncludeResiduals", "IncludeConfidence"})
    if (IsEnabled(name)) Do(name, "0");
  return std::move(Made<Spreadsheet>("PrintPredictions").at(0));
}

std::size_t EngineTables::TakeCases(const Spreadsheet& table, std::size_t inputs,
                                    EngineModel& engine) {
  // Spreads come behind the predictions, one at most for each.
  const std::string heading = table.columns.at(inputs).second;
  std::size_t end = inputs;
  while (end < table.columns.size() && table.columns[end].second == heading) ++end;
  const auto columns = std::span(table.columns);
  engine.cases = table.rowCases;
  engine.caseInputs = RowsOf(columns.first(inputs), table.Rows());
  engine.predictions = RowsOf(columns.subspan(inputs, end - inputs), table.Rows());
  return end - inputs;
}

std::vector<double> RowsOf(std::span<const SpreadsheetColumn> columns, std::size_t rows) {
  std::vector<double> values;
  for (std::size_t r = 0; r < rows; ++r)
    for (const SpreadsheetColumn& column : columns) values.push_back(column.values[r]);
  return values;
}

std::unique_ptr<EngineModel> ReadNeighbourEngine(EngineTables& tables) {
  constexpr const char* kMetrics[] = {"Euclidean", "SquaredEuclidean", "CityBlock", "Chebychev"};
  auto engine = std::make_unique<EngineNeighbours>();
  const auto option = [&](const std::string& name) { return tables.Get("Options." + name).number; };
  for (int metric = 0; metric < 4; ++metric)
    if (option(kMetrics[metric]) != 0) engine->metric = metric;
  engine->weighted = option("UseWeightedAverage") != 0;
  engine->standardized = option("StandardizeDistances") != 0;
  engine->neighbours = static_cast<std::size_t>(option("KNearestNeighbors"));
  engine->hasRange = !tables.file().IsWeightInForce();

  const Spreadsheet model = tables.Made<Spreadsheet>("Model").at(0);
  const std::size_t inputs = model.columns.size();
  engine->prototypeInputs = RowsOf(model.columns, model.Rows());
  for (const SpreadsheetColumn& column : model.columns)
    engine->inputs.push_back({column.first, column.labels});

  const std::size_t predictions =
      tables.TakeCases(tables.Predictions("TestSubset", false, true), inputs, *engine);
  if (engine->cases.empty()) tables.Refuse("there are no test cases to compare");

  const Spreadsheet prototypes = tables.Predictions("TrainSubset", true, false);
  if (prototypes.columns.size() != inputs + predictions || prototypes.Rows() != model.Rows())
    tables.Refuse("the tables of prototypes do not fit each other");
  const auto observed = std::span(prototypes.columns).subspan(inputs);
  engine->prototypeOutputs = RowsOf(observed, prototypes.Rows());
  for (const SpreadsheetColumn& column : observed)
    engine->dependents.push_back({column.first, column.labels});
  return engine;
}

}  // namespace qrvml
