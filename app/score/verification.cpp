#include "score/verification.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <set>

#include "host/numerics.h"

namespace qrvml {
namespace {

constexpr std::string_view kMetrics[] = {"Euclidean", "squared Euclidean", "city-block",
                                         "Chebychev"};

/// A number as the dialect prints it: "%g", a code of the C program and the script "%d", "%f" in
/// PMML. The module's own writer of numbers is not used.
std::string AsPrinted(CodeDialect dialect, bool isCode, double value) {
  if (dialect == CodeDialect::pmml) return FixedText(value, 6);
  if (isCode) return std::to_string(std::llround(value));
  char text[32];
  const auto [end, code] =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
  return {text, end};
}

/// Half a unit of the sixth significant digit.
double HalfOfSixthDigit(double value) {
  return value == 0 ? 0 : 0.5 * std::pow(10, std::floor(std::log10(std::fabs(value))) - 5);
}

/// Whether a prediction is the expected one within the digits that it was printed with.
bool IsWithinDigits(CodeDialect dialect, double expected, double predicted) {
  const double difference = std::fabs(expected - predicted);
  if (dialect != CodeDialect::c) return difference <= 1e-12 * std::fabs(expected);
  return difference <= HalfOfSixthDigit(expected) * (1 + 1e-6);
}

/// The same for a shift or scale.
bool IsScaling(CodeDialect dialect, double expected, double printed) {
  const double unit = dialect == CodeDialect::pmml ? 0.5e-6 : HalfOfSixthDigit(expected);
  return std::fabs(expected - printed) <= unit * (1 + 1e-6);
}

/// A class has the smallest of the codes that share its text.
double ClassCode(const EngineField& field, double code) {
  const auto own = std::ranges::find(field.labels, code, &CellLabel::value);
  if (own == field.labels.end()) return code;
  return std::ranges::find(field.labels, own->text, &CellLabel::text)->value;
}

/// Codes in the order in which a text lists classes: the C program by code, the others by text.
std::vector<double> ListedClasses(CodeDialect dialect, const EngineField& field) {
  std::vector<CellLabel> labels = field.labels;
  if (dialect != CodeDialect::c) std::ranges::stable_sort(labels, {}, &CellLabel::text);
  std::vector<double> codes;
  for (std::size_t i = 0; i < labels.size(); ++i)
    if (dialect == CodeDialect::c || i == 0 || labels[i].text != labels[i - 1].text)
      codes.push_back(labels[i].value);
  return codes;
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

  void Settings() {
    if (printed_.metric != engine_.metric)
      Fault("its distance is " + std::string(kMetrics[printed_.metric]) + ", the engine's is " +
            std::string(kMetrics[engine_.metric]));
    if (printed_.weighted != engine_.weighted) Fault("it weights votes otherwise");
    if (printed_.neighbours != engine_.neighbours)
      Fault("it takes " + std::to_string(printed_.neighbours) + " neighbours, the engine takes " +
            std::to_string(engine_.neighbours));
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
      if (printed_.classes[c] != ListedClasses(dialect_, field))
        Fault("it does not list the classes of \"" + field.name + "\" in their order");
    }
  }

  void Scaling() {
    for (std::size_t i = 0; i < engine_.inputs.size(); ++i) {
      double shift = 0, scale = 1;
      if (engine_.standardized && !engine_.inputs[i].IsCategorical()) {
        if (!engine_.hasRange) continue;
        const auto [low, high] = Range(i);
        if (low < high) {
          shift = -low / (high - low);
          scale = 1 / (high - low);
        }
      }
      if (!IsScaling(dialect_, shift, printed_.shift[i]) ||
          !IsScaling(dialect_, scale, printed_.scale[i]))
        Fault("it scales \"" + engine_.inputs[i].name + "\" otherwise");
    }
    if (engine_.standardized && !engine_.hasRange)
      check_.notes.emplace_back("the scaling was not compared: case weights are in force");
  }

  void Prototypes() {
    const std::size_t rows = engine_.Prototypes();
    if (rows == printed_.Prototypes()) {
      std::size_t different = 0, first = 0;
      for (std::size_t p = 0; p < rows; ++p) {
        if (IsPrototype(p, p)) continue;
        if (different++ == 0) first = p;
      }
      if (different > 0)
        Fault(std::to_string(different) + " of its prototypes are not the engine's; the first is " +
              std::to_string(first + 1));
      return;
    }
    // Case weights repeat prototypes: the text's must be the engine's in order, some several times.
    check_.notes.push_back("it has " + std::to_string(printed_.Prototypes()) +
                           " prototypes, the engine shows " + std::to_string(rows) +
                           ": compared in their order, without their repetitions");
    std::size_t row = 0;
    for (std::size_t p = 0; p < printed_.Prototypes(); ++p) {
      while (row < rows && !IsPrototype(p, row)) ++row;
      if (row < rows) continue;
      return Fault("its prototype " + std::to_string(p + 1) + " is none of the engine's there");
    }
  }

 private:
  void Fault(std::string text) { check_.faults.push_back(std::move(text)); }
  std::span<const EngineField> Dependents() const {
    return std::span(engine_.dependents).subspan(first_, printed_.Dependents());
  }
  /// Whether a printed prototype is that of a row of the engine's table.
  bool IsPrototype(std::size_t p, std::size_t row) const {
    const std::size_t inputs = engine_.inputs.size(), width = engine_.dependents.size();
    for (std::size_t i = 0; i < inputs; ++i) {
      if (printed_.inputTexts[p * inputs + i] !=
          AsPrinted(dialect_, engine_.inputs[i].IsCategorical(),
                    engine_.prototypeInputs[row * inputs + i]))
        return false;
    }
    for (std::size_t d = 0; d < printed_.Dependents(); ++d) {
      const EngineField& field = Dependents()[d];
      if (printed_.outputTexts[p * printed_.Dependents() + d] !=
          AsPrinted(dialect_, field.IsCategorical(),
                    ClassCode(field, engine_.prototypeOutputs[row * width + first_ + d])))
        return false;
    }
    return true;
  }
  std::pair<double, double> Range(std::size_t input) const {
    std::pair<double, double> range{std::numeric_limits<double>::infinity(),
                                    -std::numeric_limits<double>::infinity()};
    for (const std::vector<double>* rows : {&engine_.prototypeInputs, &engine_.caseInputs}) {
      for (std::size_t at = input; at < rows->size(); at += engine_.inputs.size()) {
        range.first = std::min(range.first, (*rows)[at]);
        range.second = std::max(range.second, (*rows)[at]);
      }
    }
    return range;
  }

  const CodeDialect dialect_;
  const PrintedModel& printed_;
  const EngineModel& engine_;
  const std::size_t first_;
  TextCheck& check_;
};

}  // namespace

bool TextCheck::Passed() const {
  return faults.empty() && !dependents.empty() &&
         std::ranges::all_of(dependents, [](const DependentCheck& dependent) {
           return dependent.different == 0 && dependent.cases > 0;
         });
}

void CheckPrinted(CodeDialect dialect, const PrintedModel& printed, const EngineModel& engine,
                  const DeployedModel& fields, std::size_t firstDependent, TextCheck& check) {
  check.prototypes = printed.Prototypes();
  PrintedCheck compare(dialect, printed, engine, firstDependent, check);
  if (!compare.Shape()) return;
  compare.Settings();
  compare.Fields(fields.inputs, engine.inputs);
  compare.Fields(fields.dependents,
                 std::span(engine.dependents).subspan(firstDependent, printed.Dependents()));
  compare.Classes();
  compare.Scaling();
  compare.Prototypes();
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
        return isClass && dialect != CodeDialect::c ? value == predicted
                                                    : IsWithinDigits(dialect, value, predicted);
      };
      DependentCheck& dependent = check.dependents[d];
      ++dependent.cases;
      dependent.tied += !expected[d].tied.empty();
      dependent.differentFromEngine += !isPredicted(unrounded);
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
  PrintedModel printed;
  std::string error;
  if (!PrintedModel::Read(dialect, text, printed, error)) {
    check.faults.push_back(std::move(error));
    return check;
  }
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
  return check;
}

}  // namespace qrvml
