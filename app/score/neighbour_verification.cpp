#include "score/neighbour_verification.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

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

class Comparison {
 public:
  Comparison(CodeDialect dialect, const PrintedNeighbours& printed, const EngineNeighbours& engine,
             std::size_t firstDependent, TextCheck& check)
      : dialect_(dialect),
        printed_(printed),
        engine_(engine),
        first_(firstDependent),
        check_(check) {}

  void Settings() {
    if (printed_.metric != engine_.metric)
      Fault("its distance is " + std::string(kMetrics[printed_.metric]) + ", the engine's is " +
            std::string(kMetrics[engine_.metric]));
    if (printed_.weighted != engine_.weighted) Fault("it weights votes otherwise");
    if (printed_.neighbours != engine_.neighbours)
      Fault("it takes " + std::to_string(printed_.neighbours) + " neighbours, the engine takes " +
            std::to_string(engine_.neighbours));
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
      if (!IsPrintedValue(dialect_, shift, printed_.shift[i]) ||
          !IsPrintedValue(dialect_, scale, printed_.scale[i]))
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
                    field.ClassCode(engine_.prototypeOutputs[row * width + first_ + d])))
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
  const PrintedNeighbours& printed_;
  const EngineNeighbours& engine_;
  const std::size_t first_;
  TextCheck& check_;
};

}  // namespace

std::unique_ptr<PrintedModel> EngineNeighbours::Read(CodeDialect dialect, std::string_view text,
                                                     std::string& error) const {
  auto printed = std::make_unique<PrintedNeighbours>();
  if (!PrintedNeighbours::Read(dialect, text, *printed, error)) return nullptr;
  return printed;
}

void EngineNeighbours::Compare(CodeDialect dialect, const PrintedModel& printed,
                               std::size_t firstDependent, TextCheck& check) const {
  const auto& own = static_cast<const PrintedNeighbours&>(printed);
  check.prototypes = own.Prototypes();
  Comparison compare(dialect, own, *this, firstDependent, check);
  compare.Settings();
  compare.Scaling();
  compare.Prototypes();
}

std::vector<double> EngineNeighbours::ListedClasses(CodeDialect dialect,
                                                    const EngineField& field) const {
  if (dialect != CodeDialect::c) return field.ClassesByText();
  std::vector<double> codes;
  codes.reserve(field.labels.size());
  for (const CellLabel& label : field.labels) codes.push_back(label.value);
  return codes;
}

}  // namespace qrvml
