#include "score/machine_verification.h"

#include <algorithm>
#include <cmath>

#include "host/numerics.h"

namespace qrvml {
namespace {

class Comparison {
 public:
  Comparison(CodeDialect dialect, const PrintedMachine& printed, const EngineMachine& engine,
             TextCheck& check)
      : dialect_(dialect), printed_(printed), engine_(engine), check_(check) {}

  void Settings() {
    const MachineValues &own = printed_.own, &wanted = engine_.own;
    // A document has one name for both regressions.
    const bool sameType = dialect_ == CodeDialect::pmml && !own.Classifies()
                              ? !wanted.Classifies()
                              : own.type == wanted.type;
    if (!sameType) Fault("it has another type of machine");
    if (own.kernel != wanted.kernel) return Fault("it has another kernel");
    const struct {
      const char* name;
      double printed, wanted;
    } rows[] = {{"gamma", own.gamma, wanted.gamma},
                {"coefficient", own.coef0, wanted.coef0},
                {"degree", own.degree, wanted.degree}};
    for (const auto& row : rows) {
      if (!IsPrinted(row.wanted, row.printed))
        Fault("its " + std::string(row.name) + " is " + ShortestText(row.printed) +
              ", the engine's is " + ShortestText(row.wanted));
    }
    if (dialect_ != CodeDialect::pmml) return;
    if (!engine_.capacity.empty() && FixedText(printed_.capacity, 6) != engine_.capacity)
      Fault("its capacity is " + FixedText(printed_.capacity, 6) + ", the engine's is " +
            engine_.capacity);
    if (!engine_.nu.empty() && FixedText(printed_.nu, 6) != engine_.nu)
      Fault("its nu is " + FixedText(printed_.nu, 6) + ", the engine's is " + engine_.nu);
  }

  void Scaling() {
    const std::size_t inputs = engine_.inputs.size();
    for (std::size_t i = 0; i < printed_.shift.size(); ++i)
      CheckScaling(engine_.inputs[i].name, engine_.scalesInputs, engine_.usedInputs, i, inputs,
                   engine_.inputRange, printed_.shift[i], printed_.scale[i]);
    CheckScaling(engine_.dependents[0].name, engine_.scalesOutput, engine_.usedOutputs, 0, 1,
                 engine_.outputRange, printed_.outputShift, printed_.outputScale);
    if ((engine_.scalesInputs || engine_.scalesOutput) && !engine_.hasRange)
      check_.notes.emplace_back("the scaling was not compared: case weights are in force");
  }

  /// False: vectors cannot be compared.
  bool Columns() {
    std::vector<std::string> names;
    names.reserve(printed_.continuousInputs);
    for (std::size_t i = 0; i < printed_.continuousInputs; ++i)
      names.push_back(engine_.inputs[i].name);
    for (std::size_t m = 0; m < printed_.categories.size(); ++m) {
      const EngineField& field = engine_.inputs[printed_.continuousInputs + m];
      for (std::size_t c = 0; c < printed_.categories[m].size(); ++c) {
        const auto label =
            std::ranges::find(field.labels, printed_.categories[m][c], &CellLabel::value);
        // A document has one code for the columns of a text.
        const bool isRepeated = std::isnan(printed_.categories[m][c]);
        names.push_back(isRepeated && names.size() < engine_.columns.size()
                            ? engine_.columns[names.size()]
                        : label == field.labels.end() ? std::string()
                                                      : field.name + '_' + label->text);
      }
    }
    if (names == engine_.columns) return true;
    if (printed_.own.Vectors() == 0 && engine_.own.Vectors() == 0) return true;
    Fault("its vectors have other columns than the engine's");
    return false;
  }

  void Labels() {
    if (printed_.own.labels != engine_.own.labels)
      Fault("its labels are not in the order of the model");
    if (printed_.own.counts != engine_.own.counts)
      Fault("its numbers of support vectors of the classes are not the engine's");
  }

  void Values(const char* what, std::span<const double> printed, std::span<const double> wanted,
              std::size_t width) {
    if (printed.size() != wanted.size())
      return Fault("it has another number of " + std::string(what));
    std::size_t different = 0, first = 0;
    for (std::size_t i = 0; i < printed.size(); ++i) {
      if (IsPrinted(wanted[i], printed[i])) continue;
      if (different++ == 0) first = i;
    }
    if (different > 0)
      Fault(std::to_string(different) + " of its " + what + " are not the engine's; the first is " +
            ShortestText(printed[first]) + " in row " + std::to_string(first / width + 1) +
            " for " + ShortestText(wanted[first]));
  }

 private:
  void Fault(std::string text) { check_.faults.push_back(std::move(text)); }
  bool IsPrinted(double wanted, double printed) const {
    return IsPrintedValue(dialect_, wanted, printed);
  }
  /// Scaling takes the range of column `column` of `rows` to another.
  void CheckScaling(const std::string& name, bool scales, std::span<const double> rows,
                    std::size_t column, std::size_t width, std::pair<double, double> to,
                    double shift, double scale) {
    double wantedShift = 0, wantedScale = 1;
    if (scales) {
      if (!engine_.hasRange) return;
      double least = rows[column], most = rows[column];
      for (std::size_t at = column; at < rows.size(); at += width) {
        least = std::min(least, rows[at]);
        most = std::max(most, rows[at]);
      }
      if (least < most) {
        wantedScale = (to.second - to.first) / (most - least);
        wantedShift = to.first - least * wantedScale;
      }
    }
    // The range was scaled and scaled back on its way to the table.
    const double off = 1e-12 * (std::fabs(wantedShift) + 1);
    const auto isScaling = [&](double wanted, double printed) {
      return IsPrinted(wanted, printed) || IsPrinted(wanted - off * std::fabs(wanted), printed) ||
             IsPrinted(wanted + off * std::fabs(wanted), printed) ||
             std::fabs(wanted - printed) <= off;
    };
    if (!isScaling(wantedShift, shift) || !isScaling(wantedScale, scale))
      Fault("it scales \"" + name + "\" otherwise");
  }

  const CodeDialect dialect_;
  const PrintedMachine& printed_;
  const EngineMachine& engine_;
  TextCheck& check_;
};

}  // namespace

std::unique_ptr<PrintedModel> EngineMachine::Read(CodeDialect dialect, std::string_view text,
                                                  std::string& error) const {
  auto printed = std::make_unique<PrintedMachine>();
  if (!PrintedMachine::Read(dialect, text, *printed, error)) return nullptr;
  return printed;
}

void EngineMachine::Compare(CodeDialect dialect, const PrintedModel& printed, std::size_t,
                            TextCheck& check) const {
  const auto& machine = static_cast<const PrintedMachine&>(printed);
  check.prototypes = machine.own.Vectors();
  Comparison compare(dialect, machine, *this, check);
  compare.Settings();
  compare.Scaling();
  if (own.Classifies() != machine.own.Classifies()) return;
  compare.Labels();
  if (compare.Columns())
    compare.Values("support vectors", machine.own.vectors, own.vectors,
                   std::max<std::size_t>(columns.size(), 1));
  compare.Values("coefficients", machine.own.coefficients, own.coefficients,
                 std::max<std::size_t>(own.Rows(), 1));
  compare.Values("constants", machine.own.constants, own.constants, 1);
}

std::vector<double> EngineMachine::ListedClasses(CodeDialect dialect, const EngineField&) const {
  if (dialect == CodeDialect::c) return own.labels;
  std::vector<double> listed = classes;
  if (dialect == CodeDialect::qvb)
    std::erase_if(listed, [this](double code) {
      return std::ranges::find(own.labels, code) == own.labels.end();
    });
  return listed;
}

void EngineMachine::NotePredictions(CodeDialect, TextCheck& check) const {
  for (const DependentCheck& dependent : check.dependents) {
    if (dependent.arbitrary > 0)
      check.notes.push_back(
          std::to_string(dependent.arbitrary) +
          " with equal numbers of votes, which go to the first label of the model");
    if (own.Classifies() && dependent.differentFromEngine > 0)
      check.notes.push_back("the digits that it prints change " +
                            std::to_string(dependent.differentFromEngine) +
                            " of its classes; a model of scaled inputs loses less");
  }
}

}  // namespace qrvml
