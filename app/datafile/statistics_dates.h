// What the display formats of statistics packages say about a number: whether it is a date or a
// time, and from when and in which unit it counts.
#pragma once

#include <string_view>

#include "datafile/data_table.h"

namespace qrvml {

enum class StatisticsPackage { spss, sas, stata };

/// How a number becomes days since 1899-12-30: `step` of them since `origin`.
struct DateRule {
  enum class Unit { days, weeks, months };
  DisplayFormat format = DisplayFormat::number;
  Unit unit = Unit::days;
  double perDay = 1;  // units::days: so many steps are a day
  double origin = 0;  // days since 1899-12-30
  int months = 1;     // Unit::months: so many are a step
};

/// The rule of a display format such as DATE11 (SPSS), DDMMYY10. (SAS) or %tdD_m_Y (Stata).
/// Formats that are no dates or times leave the number as it is.
DateRule FindDateRule(StatisticsPackage package, std::string_view format);

/// A number by a rule; a NaN stays one. Weeks and longer periods become their first day; weeks are
/// those of the package: 52 a year, the first beginning on January 1.
double AsDays(const DateRule& rule, double value);

}  // namespace qrvml
