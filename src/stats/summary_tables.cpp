#include "stats/summary_tables.h"

#include <string>

#include "host/string_table.h"

namespace qrvml {
namespace {

std::string Text(int number) { return std::string(GetResourceString(number)); }

std::string Title(std::string_view text, std::string_view separator, const std::string& name,
                  std::string_view suffix) {
  return std::string(text) + std::string(separator) + name + std::string(suffix);
}

Spreadsheet ClassTable(std::span<const CategoryTable::Class> classes, int secondCorner) {
  Spreadsheet table;
  table.rowTitle = Text(225);
  table.rowTitleSecond = Text(secondCorner);
  for (const auto& entry : classes) table.rowNames.push_back(entry.text);
  return table;
}

/// Rows of the regression summary, in the order in which the tables show them.
constexpr double RegressionStatistics::*kShownStatistics[] = {
    &RegressionStatistics::observedMean,      &RegressionStatistics::predictedMean,
    &RegressionStatistics::observedDeviation, &RegressionStatistics::predictedDeviation,
    &RegressionStatistics::meanSquaredError,  &RegressionStatistics::errorMean,
    &RegressionStatistics::errorDeviation,    &RegressionStatistics::meanAbsoluteError,
    &RegressionStatistics::deviationRatio,    &RegressionStatistics::correlation,
};

}  // namespace

Spreadsheet ClassificationSummaryTable(const SummaryTexts& texts,
                                       const ClassifiedDependent& dependent) {
  Spreadsheet table = ClassTable(dependent.classes, 226);
  table.title = Title(texts.classificationTitle, texts.classificationSeparator, dependent.name,
                      dependent.suffix);
  const std::string percent = Text(255);
  table.columns.resize(5);
  const std::string headings[5] = {Text(227), Text(156), Text(157), Text(156) + percent,
                                   Text(157) + percent};
  for (std::size_t column = 0; column < 5; ++column) {
    table.columns[column].first = headings[column];
    table.columns[column].format = column < 3 ? NumberFormat::count : NumberFormat::general;
  }
  const std::size_t classes = dependent.classes.size();
  for (std::size_t observed = 0; observed < classes; ++observed) {
    double total = 0;
    for (std::size_t predicted = 0; predicted < classes; ++predicted)
      total += dependent.Count(predicted, observed);
    const double correct = dependent.Count(observed, observed);
    const double incorrect = total - correct;
    const auto share = [total](double count) {
      return total == 0 ? kEmptyCell : count * 100 / total;
    };
    const double cells[5] = {total, correct, incorrect, share(correct), share(incorrect)};
    for (std::size_t column = 0; column < 5; ++column)
      table.columns[column].values.push_back(cells[column]);
  }
  return table;
}

Spreadsheet ConfusionMatrixTable(const SummaryTexts& texts, const ClassifiedDependent& dependent) {
  Spreadsheet table = ClassTable(dependent.classes, 135);
  table.title = Title(GetResourceString(158), " ", dependent.name, dependent.suffix);
  table.header.emplace_back(texts.confusionHeader);
  for (std::size_t observed = 0; observed < dependent.classes.size(); ++observed) {
    SpreadsheetColumn& column = table.columns.emplace_back();
    column.first = dependent.classes[observed].text;
    column.format = NumberFormat::count;
    for (std::size_t predicted = 0; predicted < dependent.classes.size(); ++predicted)
      column.values.push_back(dependent.Count(predicted, observed));
  }
  return table;
}

Spreadsheet RegressionSummaryTable(const SummaryTexts& texts, std::string_view casesText,
                                   std::span<const RegressedDependent> dependents,
                                   std::string_view suffix) {
  Spreadsheet table;
  table.title = Title(texts.regressionTitle, ", ", dependents.front().name, suffix);
  table.rowTitle = casesText;
  table.rowTitleSecond = texts.regressionSecond;
  for (const std::string_view row : texts.regressionRows) table.rowNames.emplace_back(row);
  for (const RegressedDependent& dependent : dependents) {
    SpreadsheetColumn& column = table.columns.emplace_back();
    column.first = dependent.name;
    for (const auto statistic : kShownStatistics)
      column.values.push_back(dependent.statistics->*statistic);
  }
  return table;
}

}  // namespace qrvml
