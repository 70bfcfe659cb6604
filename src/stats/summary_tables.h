// The three tables that show how well the predictions match: classification summary, confusion
// matrix and regression summary. What the methods word differently comes in a table of texts.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "data/category_table.h"
#include "host/documents.h"
#include "stats/confusion_counts.h"
#include "stats/regression_summary.h"

namespace qrvml {

/// Texts of one method's tables. Row texts of the regression summary in the order shown.
struct SummaryTexts {
  std::string_view classificationTitle;  // before the separator and the dependent's name
  std::string_view confusionHeader;
  std::string_view regressionTitle;   // before ", " and the first dependent's name
  std::string_view regressionSecond;  // second corner label
  std::string_view regressionRows[10];
  std::string_view classificationSeparator = ", ";  // between title and name
};

/// Which index of the counts is the observed class.
enum class CountsAre { predictedObserved, observedPredicted };

/// A dependent with its classes and counts, as a table shows it. `suffix` ends the title (a subset
/// label with its blank), may be empty.
struct ClassifiedDependent {
  std::string name;
  std::span<const CategoryTable::Class> classes;
  const ConfusionCounts* counts = nullptr;
  CountsAre order = CountsAre::predictedObserved;
  std::string suffix;

  std::int32_t Count(std::size_t predicted, std::size_t observed) const {
    return order == CountsAre::predictedObserved ? counts->At(predicted, observed)
                                                 : counts->At(observed, predicted);
  }
};

/// One row per observed class: total, correct, incorrect and their percentages; the percentages of
/// a class without cases are empty.
Spreadsheet ClassificationSummaryTable(const SummaryTexts& texts,
                                       const ClassifiedDependent& dependent);

/// Predicted classes in rows, observed classes in columns.
Spreadsheet ConfusionMatrixTable(const SummaryTexts& texts, const ClassifiedDependent& dependent);

struct RegressedDependent {
  std::string name;
  const RegressionStatistics* statistics = nullptr;
};

/// One column per continuous dependent, ten rows. `casesText`: first corner label.
Spreadsheet RegressionSummaryTable(const SummaryTexts& texts, std::string_view casesText,
                                   std::span<const RegressedDependent> dependents,
                                   std::string_view suffix);

}  // namespace qrvml
