// The axis of a drawn graph: its range, its labelled values, and where a value stands on it.
#pragma once

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "host/documents.h"

namespace qrvml {

/// Smallest and largest finite value seen.
struct FiniteRange {
  double minimum = std::numeric_limits<double>::infinity();
  double maximum = -std::numeric_limits<double>::infinity();

  bool Empty() const { return !(minimum <= maximum); }
  void Include(double value) {
    if (!std::isfinite(value)) return;
    if (value < minimum) minimum = value;
    if (value > maximum) maximum = value;
  }
  void Include(const std::vector<double>& values) {
    for (const double value : values) Include(value);
  }
};

/// A labelled place on an axis.
struct AxisMark {
  double position;  // 0 to 1 along the axis
  std::string label;
};

/// minimum < maximum, both finite. Marks are ascending.
struct DisplayAxis {
  double minimum = 0, maximum = 1;
  std::vector<AxisMark> marks;

  /// 0 at the minimum, 1 at the maximum; halves keep the widest ranges from overflowing.
  double Position(double value) const {
    return (value / 2 - minimum / 2) / (maximum / 2 - minimum / 2);
  }
};

struct AxisRules {
  int mostMarks = 10;
  bool widen = true;     // without a given step, reach out to the next round values
  double leastStep = 0;  // 1 for counts
};

/// The axis for `given` that also shows all of `data`. A given range with a step is kept and its
/// steps are marked, each n-th where all would be too many; without a step the marks are 1, 2 or 5
/// times a power of ten apart. Without a usable range the data decide; without data it is 0 to 1.
DisplayAxis MakeDisplayAxis(const GraphAxis& given, const FiniteRange& data,
                            const AxisRules& rules = {});

/// The smallest of 1, 2 and 5 times a power of ten that is at least `step`; `step` is positive.
double RoundStep(double step);

}  // namespace qrvml
