// The engine of support vector machines as its tables show it. The model's labels are in the order
// in which training met the classes, which is that of the training cases.

#include <algorithm>
#include <cmath>

#include "cli/engine_tables.h"
#include "host/numerics.h"
#include "score/machine_verification.h"

namespace qrvml {
namespace {

constexpr std::string_view kCoefficients = "Coefficients";

void ReadSettings(EngineTables& tables, EngineMachine& engine) {
  MachineValues& own = engine.own;
  const auto number = [&](const char* name) { return tables.SpecifiedNumber(name); };
  for (const auto& [name, type] : {std::pair("ClassType1", 0),
                                   {"ClassType2", 1},
                                   {"RegressionType1", 3},
                                   {"RegressionType2", 4}})
    if (number(name) != 0) own.type = type;
  for (const auto& [name, kernel] :
       {std::pair("LinearKernel", 0), {"PolyKernel", 1}, {"RBFKernel", 2}, {"SigmoidKernel", 3}})
    if (number(name) != 0) own.kernel = kernel;
  if (own.kernel != 0) own.gamma = number("Gam");
  if (own.kernel == 1) own.degree = number("Degree");
  if (own.kernel == 1 || own.kernel == 3) own.coef0 = number("Bias");
  if (own.type != 0) engine.nu = FixedText(number("NuParameter"), 6);
  engine.scalesInputs = number("ScaleInputs") != 0;
  engine.scalesOutput = number("ScaleOutputs") != 0 && !own.Classifies();
  engine.inputRange = {number("Learning.InputLow"), number("Learning.InputHigh")};
  engine.outputRange = {number("Learning.OutputLow"), number("Learning.OutputHigh")};
  engine.hasRange = !tables.file().IsWeightInForce();
}

/// The C of "SVM: … (C=10.000000,…)", which a search may have chosen.
std::string CapacityOf(const Spreadsheet& model) {
  constexpr std::string_view kName = "(C=";
  if (model.header.empty()) return {};
  const std::string& line = model.header[0];
  const std::size_t place = line.find(kName);
  if (place == line.npos) return {};
  const std::size_t first = place + kName.size();
  return line.substr(first, line.find_first_of(",)", first) - first);
}

void ReadModel(EngineTables& tables, EngineMachine& engine) {
  const std::vector<Spreadsheet> models = tables.Made<Spreadsheet>("Model");
  if (models.size() != 2) tables.Refuse("there are not two tables of the model");
  const auto columns = std::span(models[0].columns);
  const auto rows = static_cast<std::size_t>(
      std::ranges::count(columns, kCoefficients, &SpreadsheetColumn::first));
  engine.own.coefficients = RowsOf(columns.first(rows), models[0].Rows());
  engine.own.vectors = RowsOf(columns.subspan(rows), models[0].Rows());
  for (const SpreadsheetColumn& column : columns.subspan(rows))
    engine.columns.push_back(column.second);
  engine.own.constants = RowsOf(models[1].columns, models[1].Rows());
  engine.capacity = CapacityOf(models[0]);
}

/// Classes and their numbers of support vectors: the summary has a row "… ( class )" for each.
void ReadClasses(EngineTables& tables, const Spreadsheet& training, EngineMachine& engine) {
  const EngineField& field = engine.dependents[0];
  const Spreadsheet summary = tables.Made<Spreadsheet>("Summary").at(0);
  std::vector<double> counts;
  for (const double code : field.ClassesByText()) {
    const std::string text = std::ranges::find(field.labels, code, &CellLabel::value)->text;
    const auto row = std::ranges::find_if(summary.rowNames, [&](const std::string& name) {
      return name.ends_with(" ( " + text + " )");
    });
    if (row == summary.rowNames.end()) continue;  // no class of the training sample
    engine.classes.push_back(code);
    counts.push_back(
        summary.columns.at(0).values[static_cast<std::size_t>(row - summary.rowNames.begin())]);
  }
  MachineValues& own = engine.own;
  for (const double code : training.columns.back().values) {
    const double label = field.ClassCode(code);
    const auto known = std::ranges::find(engine.classes, label);
    if (known == engine.classes.end()) tables.Refuse("a training case has no class of the model");
    if (std::ranges::find(own.labels, label) != own.labels.end()) continue;
    own.labels.push_back(label);
    own.counts.push_back(counts[static_cast<std::size_t>(known - engine.classes.begin())]);
  }
}

void Append(const std::vector<double>& values, std::vector<double>& to) {
  to.insert(to.end(), values.begin(), values.end());
}

}  // namespace

std::unique_ptr<EngineModel> ReadMachineEngine(EngineTables& tables) {
  auto engine = std::make_unique<EngineMachine>();
  ReadSettings(tables, *engine);
  ReadModel(tables, *engine);
  const bool isSampled = tables.IsEnabled("TestSubset");
  const Spreadsheet training = tables.Predictions("TrainSubset", true, false);
  if (training.columns.size() < 2 || training.Rows() == 0)
    tables.Refuse("there is no table of training cases");
  const std::size_t inputs = training.columns.size() - 1;
  for (const SpreadsheetColumn& column : std::span(training.columns).first(inputs))
    engine->inputs.push_back({column.first, column.labels});
  engine->dependents.push_back({training.columns.back().first, training.columns.back().labels});
  if (engine->own.Classifies()) ReadClasses(tables, training, *engine);

  tables.TakeCases(tables.Predictions(isSampled ? "TestSubset" : "TrainSubset", false, true),
                   inputs, *engine);
  if (engine->cases.empty()) tables.Refuse("there are no cases to compare");
  const auto use = [&](const Spreadsheet& table) {
    const auto columns = std::span(table.columns);
    Append(RowsOf(columns.first(inputs), table.Rows()), engine->usedInputs);
    Append(table.columns.back().values, engine->usedOutputs);
  };
  use(training);
  if (isSampled) use(tables.Predictions("TestSubset", true, false));
  return engine;
}

}  // namespace qrvml
