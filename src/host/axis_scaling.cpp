#include "host/axis_scaling.h"

#include <charconv>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <string>

namespace qrvml {
namespace {

/// The double nearest to 10^power, the same on every machine.
double PowerOfTen(int power) {
  const std::string text = "1e" + std::to_string(power);
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

}  // namespace

AxisScale scling_double_QUA(double minimum, double maximum, int most, int wanted) {
  if (!(minimum < maximum)) return {minimum, minimum, 1.0};
  // Halved, so that the width of the whole range of doubles is still a number.
  const double width = (maximum / 2 - minimum / 2) / wanted * 2;
  const int decade = static_cast<int>(std::floor(std::log10(width)));
  AxisScale best;
  double nearest = std::numeric_limits<double>::infinity();
  for (const int power : {decade - 1, decade, decade + 1, decade + 2}) {
    for (const double mantissa : {1.0, 2.0, 2.5, 5.0}) {
      const double step = mantissa * PowerOfTen(power);
      if (!(step > 0) || !std::isfinite(step)) continue;
      const double first = std::floor(minimum / step), last = std::ceil(maximum / step);
      const double intervals = last - first;
      if (intervals > most || std::fabs(intervals - wanted) >= nearest) continue;
      nearest = std::fabs(intervals - wanted);
      best = {first * step, last * step, step};
      // The quotient of rounded numbers may fall short of the number of intervals.
      while (std::floor((best.upper - best.lower) / step) < intervals)
        best.upper = std::nextafter(best.upper, std::numeric_limits<double>::infinity());
    }
  }
  return best;
}

}  // namespace qrvml
