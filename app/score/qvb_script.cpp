#include "score/qvb_script.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <utility>

#include "data/value_text.h"
#include "host/numerics.h"
#include "qvb/node_objects.h"

namespace qrvml {
namespace {

constexpr double kMissing = -9999;

/// What ends reading; caught in QvbScript::Read.
struct Unreadable {
  std::string what;
};

/// The whole numbers that the script gives its variables, by the text before the equals sign.
using Settings = std::map<std::string, int, std::less<>>;

Settings ReadSettings(std::string_view text) {
  constexpr std::string_view kNames[] = {"NoContInputs",   "NoCatInputs",     "NoContOutputs",
                                         "NoCatOutputs",   "NoOutputs",       "InputIndex",
                                         "OutputIndex",    "InputNominals",   "NoInputNominals",
                                         "OutputNominals", "NoOutputNominals"};
  Settings settings;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t equals = line.find('=');
    std::int32_t value = 0;
    if (equals == line.npos ||
        std::ranges::find(kNames, line.substr(0, line.find_first_of("(="))) == std::end(kNames) ||
        !TextToInt(line.substr(equals + 1), value))
      continue;
    settings.insert_or_assign(std::string(line.substr(0, equals)), value);
  }
  return settings;
}

int Setting(const Settings& settings, const std::string& name, int least, int most) {
  const auto found = settings.find(name);
  if (found == settings.end())
    throw Unreadable{"it does not say " + name + ", as generated scripts do"};
  if (found->second < least || found->second > most)
    throw Unreadable{name + " is " + std::to_string(found->second) + ", which is not between " +
                     std::to_string(least) + " and " + std::to_string(most)};
  return found->second;
}

constexpr int kMostFields = 1000000;

/// The settings of a script that names its first dependent alone, in the words of the others. Naive
/// Bayes counts categorical dependents, whose variables may be `known` elsewhere; a support vector
/// machine has one, whose classes are a list.
Settings SayAllDependents(Settings settings, std::span<const int> known) {
  const auto only = settings.find("OutputIndex");
  if (only == settings.end()) return settings;
  const bool countsAll = settings.contains("NoOutputs");
  const auto count = [&](const char* name) { return Setting(settings, name, 0, kMostFields); };
  const int categorical = count(countsAll ? "NoOutputs" : "NoCatOutputs");
  const int continuous = countsAll ? 0 : count("NoContOutputs");
  std::vector<int> variables{only->second};
  if (countsAll && categorical > 1) variables.assign(known.begin(), known.end());
  if (static_cast<std::size_t>(categorical + continuous) != variables.size() ||
      variables[0] != only->second)
    throw Unreadable{"it has " + std::to_string(categorical + continuous) +
                     " dependents and says only which variable the first one is"};
  for (std::size_t d = 0; d < variables.size(); ++d)
    settings.insert_or_assign("OutputIndex(" + std::to_string(d + 1) + ')', variables[d]);
  settings.insert_or_assign("NoContOutputs", continuous);
  settings.insert_or_assign("NoCatOutputs", categorical);
  if (countsAll || categorical == 0) return settings;
  const int classes = Setting(settings, "NoOutputNominals", 1, kMostFields);
  settings.insert_or_assign("NoOutputNominals(1)", classes);
  for (int c = 1; c <= classes; ++c) {
    const std::string place = std::to_string(c) + ')';
    settings.insert_or_assign(
        "OutputNominals(1, " + place,
        Setting(settings, "OutputNominals(" + place, std::numeric_limits<int>::min(),
                std::numeric_limits<int>::max()));
  }
  return settings;
}

/// Fields that the script calls by `kind`: "Input" or "Output".
std::vector<DeployedField> ReadFields(const Settings& settings, const std::string& kind,
                                      const DataFile& file) {
  const auto get = [&](const std::string& name, int least, int most) {
    return Setting(settings, name, least, most);
  };
  const int continuous = get("NoCont" + kind + 's', 0, kMostFields);
  const int categorical = get("NoCat" + kind + 's', 0, kMostFields);
  std::vector<DeployedField> fields;
  for (int i = 1; i <= continuous + categorical; ++i) {
    const int variable =
        get(kind + "Index(" + std::to_string(i) + ')', 1, file.NumberOfVariables());
    DeployedField& field = fields.emplace_back();
    field.name = VariableName(file, variable);
    field.isCategorical = i > continuous;
    if (!field.isCategorical) continue;
    const std::string place = std::to_string(i - continuous);
    const int categories = get("No" + kind + "Nominals(" + place + ')', 1, kMostFields);
    for (int c = 1; c <= categories; ++c) {
      const double code = get(kind + "Nominals(" + place + ", " + std::to_string(c) + ')',
                              std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
      field.categories.push_back({ValueText(file, variable, code).text, code});
    }
  }
  return fields;
}

/// Inputs, case after case, and behind them dependents that nobody has observed.
class BatchTable final : public NodeTable {
 public:
  BatchTable(std::span<const double> inputs, std::size_t inputCount, std::size_t dependentCount)
      : inputs_(inputs), inputCount_(inputCount), dependentCount_(dependentCount) {}
  int Cases() const override { return static_cast<int>(inputs_.size() / inputCount_); }
  int Variables() const override { return static_cast<int>(inputCount_ + dependentCount_); }
  double Value(int caseNumber, int variable) const override {
    const auto place = static_cast<std::size_t>(variable - 1);
    if (place >= inputCount_) return kMissing;
    return inputs_[static_cast<std::size_t>(caseNumber - 1) * inputCount_ + place];
  }
  std::string CaseName(int caseNumber) const override { return std::to_string(caseNumber); }
  std::string VariableName(int variable) const override { return std::to_string(variable); }

 private:
  const std::span<const double> inputs_;
  const std::size_t inputCount_, dependentCount_;
};

NodeInput InputOf(const BatchTable& table, const DeployedModel& model) {
  NodeInput input;
  input.table = &table;
  input.missingCode = kMissing;
  int next = 1;
  const auto take = [&next](const std::vector<DeployedField>& fields, bool categorical) {
    std::vector<int> variables(static_cast<std::size_t>(std::ranges::count(
                                   fields, categorical, &DeployedField::isCategorical)),
                               0);
    std::iota(variables.begin(), variables.end(), next);
    next += static_cast<int>(variables.size());
    return variables;
  };
  input.continuousPredictors = take(model.inputs, false);
  input.categoricalPredictors = take(model.inputs, true);
  input.continuousDependents = take(model.dependents, false);
  input.categoricalDependents = take(model.dependents, true);
  return input;
}

}  // namespace

std::unique_ptr<QvbScript> QvbScript::Read(std::string name, std::string text, const DataFile& file,
                                           const ScriptLimits& limits, std::string& error,
                                           std::span<const int> dependentVariables) {
  std::unique_ptr<QvbScript> script(new QvbScript(std::move(name), std::move(text), limits));
  try {
    const Settings settings = SayAllDependents(ReadSettings(script->text_), dependentVariables);
    script->inputs = ReadFields(settings, "Input", file);
    script->dependents = ReadFields(settings, "Output", file);
  } catch (const Unreadable& unreadable) {
    error = unreadable.what;
    return nullptr;
  }
  const auto& dependents = script->dependents;
  const auto categorical =
      static_cast<std::size_t>(std::ranges::count(dependents, true, &DeployedField::isCategorical));
  if (script->inputs.empty() || dependents.empty()) {
    error = "it has no inputs or no dependents";
  } else if (categorical != 0 && categorical != dependents.size()) {
    error = "it predicts values and categories, which go to the same columns";
  } else {
    return script;
  }
  return nullptr;
}

bool QvbScript::Predict(std::span<const double> values, std::span<double> predictions,
                        std::string& error) {
  return PredictBatch(values, predictions, error) == 1;
}

std::size_t QvbScript::PredictBatch(std::span<const double> values, std::span<double> predictions,
                                    std::string& error) {
  const BatchTable table(values, inputs.size(), dependents.size());
  const auto cases = static_cast<std::size_t>(table.Cases());
  try {
    const NodeOutput output = RunNodeScript(name_, text_, InputOf(table, *this), limits_);
    const auto& columns = output.sheet.columns;
    if (columns.size() < dependents.size() || output.sheet.cases < static_cast<int>(cases)) {
      error = "its spreadsheet has no cell for every case and dependent";
      return 0;
    }
    for (std::size_t c = 0; c < cases; ++c)
      for (std::size_t d = 0; d < dependents.size(); ++d)
        predictions[c * dependents.size() + d] = columns[d][c];
    return cases;
  } catch (const ScriptError& failure) {
    error = failure.what();
    // Whoever tells it names the script.
    if (failure.script == name_) error = error.substr(std::min(name_.size() + 2, error.size()));
    return 0;
  }
}

}  // namespace qrvml
