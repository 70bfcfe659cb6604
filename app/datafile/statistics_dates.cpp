#include "datafile/statistics_dates.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <iterator>
#include <string>

namespace qrvml {

namespace {

using namespace std::chrono;

constexpr double kSeconds = 86400;
constexpr int kFirstYear = 1960;  // of SAS and Stata

constexpr double DayNumber(year_month_day date) {
  constexpr year_month_day kZero = year{1899} / December / 30;
  return static_cast<double>((sys_days(date) - sys_days(kZero)).count());
}
constexpr double kSpssOrigin = DayNumber(year{1582} / October / 14);
constexpr double kOrigin1960 = DayNumber(year{kFirstYear} / January / 1);

constexpr DateRule kDays1960 = {DisplayFormat::date, DateRule::Unit::days, 1, kOrigin1960, 1};
constexpr DateRule kSeconds1960 = {DisplayFormat::dateTime, DateRule::Unit::days, kSeconds,
                                   kOrigin1960, 1};
constexpr DateRule kTimeOfSeconds = {DisplayFormat::time, DateRule::Unit::days, kSeconds, 0, 1};
constexpr DateRule kSpssDate = {DisplayFormat::date, DateRule::Unit::days, kSeconds, kSpssOrigin,
                                1};
constexpr DateRule kSpssDateTime = {DisplayFormat::dateTime, DateRule::Unit::days, kSeconds,
                                    kSpssOrigin, 1};
constexpr DateRule Months(int months) {
  return {DisplayFormat::date, DateRule::Unit::months, 1, kOrigin1960, months};
}

struct NamedRule {
  StatisticsPackage package;
  std::string_view name;  // letters before the width
  DateRule rule;
};

constexpr StatisticsPackage kSpss = StatisticsPackage::spss;
constexpr StatisticsPackage kSas = StatisticsPackage::sas;
constexpr StatisticsPackage kStata = StatisticsPackage::stata;

constexpr NamedRule kRules[] = {
    {kSpss, "DATE", kSpssDate},
    {kSpss, "ADATE", kSpssDate},
    {kSpss, "EDATE", kSpssDate},
    {kSpss, "JDATE", kSpssDate},
    {kSpss, "SDATE", kSpssDate},
    {kSpss, "QYR", kSpssDate},
    {kSpss, "MOYR", kSpssDate},
    {kSpss, "WKYR", kSpssDate},
    {kSpss, "DATETIME", kSpssDateTime},
    {kSpss, "YMDHMS", kSpssDateTime},
    {kSpss, "TIME", kTimeOfSeconds},
    {kSpss, "MTIME", kTimeOfSeconds},
    {kSpss, "DTIME", kTimeOfSeconds},
    {kSas, "DATE", kDays1960},
    {kSas, "DAY", kDays1960},
    {kSas, "DDMMYY", kDays1960},
    {kSas, "MMDDYY", kDays1960},
    {kSas, "YYMMDD", kDays1960},
    {kSas, "JULIAN", kDays1960},
    {kSas, "MMYY", kDays1960},
    {kSas, "YYMM", kDays1960},
    {kSas, "YYMON", kDays1960},
    {kSas, "MONYY", kDays1960},
    {kSas, "MONNAME", kDays1960},
    {kSas, "MONTH", kDays1960},
    {kSas, "QTR", kDays1960},
    {kSas, "YYQ", kDays1960},
    {kSas, "YEAR", kDays1960},
    {kSas, "WEEKDATE", kDays1960},
    {kSas, "WEEKDATX", kDays1960},
    {kSas, "WEEKDAY", kDays1960},
    {kSas, "DOWNAME", kDays1960},
    {kSas, "WORDDATE", kDays1960},
    {kSas, "WORDDATX", kDays1960},
    {kSas, "NLDATE", kDays1960},
    {kSas, "E8601DA", kDays1960},
    {kSas, "B8601DA", kDays1960},
    {kSas, "DATETIME", kSeconds1960},
    {kSas, "DATEAMPM", kSeconds1960},
    {kSas, "NLDATM", kSeconds1960},
    {kSas, "MDYAMPM", kSeconds1960},
    {kSas, "E8601DT", kSeconds1960},
    {kSas, "B8601DT", kSeconds1960},
    {kSas, "TIME", kTimeOfSeconds},
    {kSas, "TIMEAMPM", kTimeOfSeconds},
    {kSas, "TOD", kTimeOfSeconds},
    {kSas, "HHMM", kTimeOfSeconds},
    {kSas, "MMSS", kTimeOfSeconds},
    {kSas, "HOUR", kTimeOfSeconds},
    {kSas, "NLTIME", kTimeOfSeconds},
    {kSas, "E8601TM", kTimeOfSeconds},
    {kSas, "B8601TM", kTimeOfSeconds},
    {kStata, "td", kDays1960},
    {kStata, "d", kDays1960},
    {kStata,
     "tc",
     {DisplayFormat::dateTime, DateRule::Unit::days, kSeconds * 1000, kOrigin1960, 1}},
    {kStata,
     "tC",
     {DisplayFormat::dateTime, DateRule::Unit::days, kSeconds * 1000, kOrigin1960, 1}},
    {kStata, "tw", {DisplayFormat::date, DateRule::Unit::weeks, 1, kOrigin1960, 1}},
    {kStata, "tm", Months(1)},
    {kStata, "tq", Months(3)},
    {kStata, "th", Months(6)},
};

// "DDMMYY10.2" -> "DDMMYY", but "E8601DA10." -> "E8601DA": the width is the digits at the end.
std::string NameOfFormat(std::string_view format) {
  while (!format.empty() &&
         (std::isdigit(static_cast<unsigned char>(format.back())) || format.back() == '.')) {
    format.remove_suffix(1);
  }
  std::string name(format);
  for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return name;
}

// "%-tdD_m_Y" -> "td", "%d" and "%dD_m_Y" -> "d"; "%9.0g" -> "".
std::string_view NameOfStataFormat(std::string_view format) {
  if (!format.starts_with('%')) return {};
  format.remove_prefix(1);
  if (format.starts_with('-')) format.remove_prefix(1);
  if (format.starts_with('t')) return format.substr(0, 2);
  return format.starts_with('d') ? format.substr(0, 1) : std::string_view();
}

}  // namespace

DateRule FindDateRule(StatisticsPackage package, std::string_view format) {
  const std::string name =
      package == kStata ? std::string(NameOfStataFormat(format)) : NameOfFormat(format);
  const auto find = [&](std::string_view wanted) {
    return std::find_if(std::begin(kRules), std::end(kRules), [&](const NamedRule& named) {
      return named.package == package && named.name == wanted;
    });
  };
  auto named = find(name);
  // SAS: a letter for the separator may follow, as in DDMMYYS.
  const bool hasSeparator = package == kSas && !name.empty() &&
                            std::string_view("BCDNPS").find(name.back()) != std::string_view::npos;
  if (named == std::end(kRules) && hasSeparator) {
    named = find(std::string_view(name).substr(0, name.size() - 1));
  }
  return named == std::end(kRules) ? DateRule() : named->rule;
}

double AsDays(const DateRule& rule, double value) {
  constexpr double kMostSteps = 100000;  // beyond the calendar's years; kept as they are
  if (rule.format == DisplayFormat::number || std::isnan(value)) return value;
  if (rule.unit == DateRule::Unit::days) return value / rule.perDay + rule.origin;
  if (std::abs(value) > kMostSteps) return value;
  const auto steps = static_cast<int>(std::floor(value));
  if (rule.unit == DateRule::Unit::weeks) {
    constexpr int kWeeks = 52;
    const int years = static_cast<int>(std::floor(steps / static_cast<double>(kWeeks)));
    return DayNumber(year{kFirstYear + years} / January / 1) + 7 * (steps - years * kWeeks);
  }
  const int count = steps * rule.months;
  const int years = static_cast<int>(std::floor(count / 12.0));
  const auto monthOfYear = static_cast<unsigned>(count - years * 12) + 1;
  return DayNumber(year{kFirstYear + years} / month{monthOfYear} / 1);
}

}  // namespace qrvml
