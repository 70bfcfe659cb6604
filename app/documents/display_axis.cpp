#include "documents/display_axis.h"

#include <algorithm>
#include <charconv>

namespace qrvml {
namespace {

constexpr double kMostSteps = 10'000;  // a given step finer than that is no help
constexpr double kSnap = 1e-9;         // of a step: rounding error of bounds
constexpr int kMostDecimals = 6;
constexpr double kLargestInFull = 1e7;
constexpr double kFinest = 1e-13;  // of the largest value: doubles cannot show less

double PowerOfTen(int exponent) {
  char text[16] = "1e";
  const auto end = std::to_chars(text + 2, text + sizeof text, exponent).ptr;
  double power = 0;
  std::from_chars(text, end, power);
  return power;
}

bool IsWhole(double x) { return std::abs(x - std::round(x)) < kSnap * std::max(1.0, std::abs(x)); }

bool IsRound(double step) { return std::abs(RoundStep(step) - step) <= kSnap * step; }

/// Decimals that show multiples of `step` from `first` exactly; -1: too many.
int DecimalsFor(double first, double step) {
  for (int decimals = 0; decimals <= kMostDecimals; ++decimals) {
    const double power = PowerOfTen(decimals);
    if (IsWhole(first * power) && IsWhole(step * power)) return decimals;
  }
  return -1;
}

std::string MarkLabel(double value, double step, double largest, int decimals) {
  if (std::abs(value) < step * kSnap) return "0";
  char buffer[64];
  char* end = nullptr;
  if (decimals >= 0 && largest < kLargestInFull) {
    end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals)
              .ptr;
  } else {
    const int digits = int(std::ceil(std::log10(largest / step))) + 2;
    end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general,
                        std::clamp(digits, 1, 15))
              .ptr;
  }
  return {buffer, end};
}

/// The number of steps from one labelled mark to the next: the smallest that leaves few enough
/// marks and, if the step itself is round, a round distance.
double StepsPerMark(double step, double steps, int mostMarks) {
  const bool round = IsRound(step);
  for (double n = 1; n < kMostSteps; ++n) {
    if (steps / n + 1 <= mostMarks && (!round || IsRound(n * step))) return n;
  }
  return kMostSteps;
}

}  // namespace

double RoundStep(double step) {
  const int exponent = int(std::floor(std::log10(step))) - 1;
  for (int e = exponent; e <= exponent + 3; ++e) {
    for (const double digit : {1.0, 2.0, 5.0}) {
      const double candidate = digit * PowerOfTen(e);
      if (candidate >= step * (1 - kSnap)) return candidate;
    }
  }
  return step;
}

DisplayAxis MakeDisplayAxis(const GraphAxis& given, const FiniteRange& data,
                            const AxisRules& rules) {
  const bool usable =
      std::isfinite(given.minimum) && std::isfinite(given.maximum) && given.minimum < given.maximum;
  FiniteRange range = data;
  if (usable) {
    range.Include(given.minimum);
    range.Include(given.maximum);
  }
  if (range.Empty()) range = {0, 1};
  if (range.minimum == range.maximum) {
    const double tenth = std::abs(range.minimum) / 10;
    const double room = tenth < std::numeric_limits<double>::min() ? 1 : tenth;
    range = {range.minimum - room, range.maximum + room};
  }
  DisplayAxis axis{std::max(range.minimum, std::numeric_limits<double>::lowest()),
                   std::min(range.maximum, std::numeric_limits<double>::max()),
                   {}};
  const auto largest = [&axis] { return std::max(std::abs(axis.minimum), std::abs(axis.maximum)); };
  const auto parts = [&axis](double n) { return axis.maximum / n - axis.minimum / n; };
  // Halves of the smallest numbers vanish: such a range could have no positions.
  if (const double smallest = std::numeric_limits<double>::min(); parts(2) < smallest) {
    axis.minimum -= smallest;
    axis.maximum += smallest;
  }

  double step = 0, origin = 0;
  bool widen = rules.widen;
  if (usable && given.step > 0 && parts(given.step) <= kMostSteps) {
    step = given.step;
    if (!IsWhole(given.minimum / step)) origin = given.minimum;
    // The given bounds stand; only data beyond them move a bound, by whole steps.
    if (axis.minimum < given.minimum)
      axis.minimum = given.minimum - std::ceil((given.minimum - axis.minimum) / step) * step;
    if (axis.maximum > given.maximum)
      axis.maximum = given.maximum + std::ceil((axis.maximum - given.maximum) / step) * step;
    step *= StepsPerMark(step, parts(step), rules.mostMarks);
    widen = false;
  } else {
    const double finest = std::max(largest() * kFinest, rules.leastStep);
    step = RoundStep(std::max(parts(std::max(rules.mostMarks - 1, 1)), finest));
  }
  if (!std::isfinite(step) || step < std::numeric_limits<double>::min()) return axis;

  if (widen) {
    const double low = std::floor(axis.minimum / step + kSnap) * step;
    const double high = std::ceil(axis.maximum / step - kSnap) * step;
    if (std::isfinite(low)) axis.minimum = std::min(low, axis.minimum);
    if (std::isfinite(high)) axis.maximum = std::max(high, axis.maximum);
  }
  const double first = std::ceil((axis.minimum - origin) / step - kSnap);
  const double last = std::floor((axis.maximum - origin) / step + kSnap);
  const int decimals = DecimalsFor(origin + first * step, step);
  for (double k = first; k <= last && double(axis.marks.size()) <= 2.0 * rules.mostMarks; ++k) {
    const double value = origin + k * step;
    axis.marks.push_back(
        {std::clamp(axis.Position(value), 0.0, 1.0), MarkLabel(value, step, largest(), decimals)});
  }
  return axis;
}

}  // namespace qrvml
