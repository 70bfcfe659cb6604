// Rounded bounds and steps of axes and histogram bins.
#pragma once

namespace qrvml {

struct AxisScale {
  double lower = 0;
  double upper = 0;
  double step = 0;
};

/// Bounds that enclose [minimum, maximum] and are multiples of a round step (1, 2, 2.5 or 5 times
/// a power of ten). Of the steps that make at most `most` intervals it is the one whose number of
/// intervals is nearest to `wanted`; (upper - lower) / step truncates to that number. Equal bounds
/// come back as they are, with step 1.
/// requires  finite bounds, minimum <= maximum, 1 <= wanted <= most
AxisScale scling_double_QUA(double minimum, double maximum, int most, int wanted);

}  // namespace qrvml
