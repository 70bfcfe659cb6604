#include "score/verification.h"

#include <algorithm>
#include <cmath>

#include "host/numerics.h"

namespace qrvml {
namespace {

/// Whether a prediction is the expected one within the digits that it was printed with.
bool IsWithinDigits(CodeDialect dialect, double expected, double predicted, double rounding) {
  const double difference = std::max(std::fabs(expected - predicted) - rounding, 0.0);
  if (dialect != CodeDialect::c) return difference <= 1e-12 * std::fabs(expected);
  return difference <= HalfOfSixthDigit(expected) * (1 + 1e-6);
}

class PrintedCheck {
 public:
  PrintedCheck(CodeDialect dialect, const PrintedModel& printed, const EngineModel& engine,
               std::size_t firstDependent, TextCheck& check)
      : dialect_(dialect),
        printed_(printed),
        engine_(engine),
        first_(firstDependent),
        check_(check) {}

  /// Whether the text has the engine's numbers of variables: else nothing can be compared.
  bool Shape() {
    const auto continuous = [](std::span<const EngineField> fields) {
      return static_cast<std::size_t>(
          std::ranges::count_if(fields, [](const EngineField& f) { return !f.IsCategorical(); }));
    };
    if (printed_.continuousInputs == continuous(engine_.inputs) &&
        printed_.Inputs() == engine_.inputs.size() &&
        printed_.Dependents() <= engine_.dependents.size() - first_ &&
        printed_.continuousDependents == continuous(Dependents()))
      return true;
    Fault("it has other numbers of variables");
    return false;
  }

  void Fields(std::span<const DeployedField> fields, std::span<const EngineField> expected) {
    if (fields.size() != expected.size()) return Fault("it names another number of variables");
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (fields[i].name != expected[i].name)
        Fault("it names \"" + fields[i].name + "\" where \"" + expected[i].name + "\" belongs");
      for (const DeployedCategory& category : fields[i].categories) {
        const auto label = std::ranges::find(expected[i].labels, category.code, &CellLabel::value);
        if (label == expected[i].labels.end() || label->text != category.text)
          Fault("it calls a category of \"" + expected[i].name + "\" \"" + category.text +
                "\", which is another or none");
      }
    }
  }

  void Classes() {
    for (std::size_t c = 0; c < printed_.classes.size(); ++c) {
      const EngineField& field = Dependents()[printed_.continuousDependents + c];
      if (printed_.classes[c] != engine_.ListedClasses(dialect_, field))
        Fault("it does not list the classes of \"" + field.name + "\" in their order");
    }
  }

 private:
  void Fault(std::string text) { check_.faults.push_back(std::move(text)); }
  std::span<const EngineField> Dependents() const {
    return std::span(engine_.dependents).subspan(first_, printed_.Dependents());
  }

  const CodeDialect dialect_;
  const PrintedModel& printed_;
  const EngineModel& engine_;
  const std::size_t first_;
  TextCheck& check_;
};

}  // namespace

double EngineField::ClassCode(double code) const {
  const auto own = std::ranges::find(labels, code, &CellLabel::value);
  if (own == labels.end()) return code;
  return std::ranges::find(labels, own->text, &CellLabel::text)->value;
}

std::vector<double> EngineField::ClassesByText() const {
  std::vector<CellLabel> sorted = labels;
  std::ranges::stable_sort(sorted, {}, &CellLabel::text);
  std::vector<double> codes;
  for (std::size_t i = 0; i < sorted.size(); ++i)
    if (i == 0 || sorted[i].text != sorted[i - 1].text) codes.push_back(sorted[i].value);
  return codes;
}

std::vector<double> EngineModel::ListedClasses(CodeDialect, const EngineField& field) const {
  return field.ClassesByText();
}

double HalfOfSixthDigit(double value) {
  return value == 0 ? 0 : 0.5 * std::pow(10, std::floor(std::log10(std::fabs(value))) - 5);
}

bool IsPrintedValue(CodeDialect dialect, double expected, double printed) {
  const double unit = dialect == CodeDialect::pmml ? 0.5e-6 : HalfOfSixthDigit(expected);
  return std::fabs(expected - printed) <= unit * (1 + 1e-6);
}

bool TextCheck::Passed() const {
  return faults.empty() && !dependents.empty() &&
         std::ranges::all_of(dependents, [](const DependentCheck& dependent) {
           return dependent.different == 0 && dependent.cases > 0;
         });
}

void CheckPrinted(CodeDialect dialect, const PrintedModel& printed, const EngineModel& engine,
                  const DeployedModel& fields, std::size_t firstDependent, TextCheck& check) {
  PrintedCheck compare(dialect, printed, engine, firstDependent, check);
  if (!compare.Shape()) return;
  compare.Fields(fields.inputs, engine.inputs);
  compare.Fields(fields.dependents,
                 std::span(engine.dependents).subspan(firstDependent, printed.Dependents()));
  compare.Classes();
  engine.Compare(dialect, printed, firstDependent, check);
}

void CheckPredictions(CodeDialect dialect, const PrintedModel& printed, const EngineModel& engine,
                      std::span<const double> predictions, std::size_t first,
                      std::size_t firstDependent, TextCheck& check) {
  const std::size_t width = printed.Dependents();
  check.dependents.resize(width);
  for (std::size_t d = 0; d < width; ++d)
    check.dependents[d].name = engine.dependents[firstDependent + d].name;
  std::vector<PrintedPrediction> expected(width);
  const std::size_t end = first + predictions.size() / width;
  for (std::size_t c = first; c < end; ++c) {
    const auto inputs = std::span(engine.caseInputs).subspan(c * printed.Inputs());
    printed.Predict(inputs.first(printed.Inputs()), expected);
    for (std::size_t d = 0; d < width; ++d) {
      const double predicted = predictions[(c - first) * width + d];
      const double unrounded =
          engine.predictions[c * engine.dependents.size() + firstDependent + d];
      const bool isClass = d >= printed.continuousDependents;
      // The C program prints a class as it prints a number, with six digits.
      const auto isPredicted = [&](double value) {
        return isClass && dialect != CodeDialect::c
                   ? value == predicted
                   : IsWithinDigits(dialect, value, predicted, expected[d].rounding);
      };
      DependentCheck& dependent = check.dependents[d];
      ++dependent.cases;
      dependent.tied += !expected[d].tied.empty();
      dependent.arbitrary += expected[d].isArbitrary;
      dependent.differentFromEngine += !isPredicted(unrounded);
      if (!isClass)
        dependent.farthest = std::max(dependent.farthest, std::fabs(unrounded - predicted));
      if (isPredicted(expected[d].value) || std::ranges::any_of(expected[d].tied, isPredicted))
        continue;
      if (dependent.different++ == 0)
        dependent.first = "case " + std::to_string(engine.cases[c]) + ": " +
                          ShortestText(predicted) + ", the printed model predicts " +
                          ShortestText(expected[d].value);
    }
  }
}

TextCheck CheckText(CodeDialect dialect, std::string_view text, DeployedModel& model,
                    const EngineModel& engine, std::size_t firstDependent,
                    const std::atomic<bool>* cancel) {
  TextCheck check;
  std::string error;
  const std::unique_ptr<PrintedModel> read = engine.Read(dialect, text, error);
  if (read == nullptr) {
    check.faults.push_back(std::move(error));
    return check;
  }
  const PrintedModel& printed = *read;
  CheckPrinted(dialect, printed, engine, model, firstDependent, check);
  if (printed.Inputs() != engine.inputs.size() || model.inputs.size() != printed.Inputs() ||
      model.dependents.size() != printed.Dependents() ||
      firstDependent + printed.Dependents() > engine.dependents.size())
    return check;
  constexpr std::size_t kBatch = 4096;
  std::vector<double> predictions;
  for (std::size_t first = 0, asked = 0; first < engine.cases.size(); first += asked) {
    asked = std::min(kBatch, engine.cases.size() - first);
    predictions.resize(asked * printed.Dependents());
    const auto inputs =
        std::span(engine.caseInputs).subspan(first * printed.Inputs(), asked * printed.Inputs());
    const std::size_t done = model.PredictBatch(inputs, predictions, error);
    if (done < asked) {
      check.faults.push_back("case " + std::to_string(engine.cases[first + done]) + ": " + error);
      return check;
    }
    CheckPredictions(dialect, printed, engine, predictions, first, firstDependent, check);
    if (cancel == nullptr || !*cancel) continue;
    check.faults.emplace_back("it was not compared to its end");
    return check;
  }
  engine.NotePredictions(dialect, check);
  return check;
}

}  // namespace qrvml
