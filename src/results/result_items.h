// Lists of result items: the columns of the predictions table, the variables that can be saved, the
// items of the plot lists; and the texts and labels that go with an item.
#pragma once

#include <string>
#include <vector>

#include "data/analysis_data_set.h"
#include "host/data_file.h"
#include "results/case_result.h"
#include "results/results_profile.h"

namespace qrvml {

/// Which columns the predictions table has.
struct Includes {
  bool inputs = false;
  bool outputs = false;  // observed values
  bool predictions = true;
  bool residuals = true;
  bool confidence = false;
};

class ResultItems {
 public:
  ResultItems(const DataFile& file, const AnalysisDataSet& data, const ResultsProfile& profile)
      : file_(file), data_(data), profile_(profile) {}

  /// Columns of the predictions table. `spreads`: predictions come with spreads; `predicts`: the
  /// subset has predictions at all.
  std::vector<ResultItem> TableColumns(const Includes& includes, bool spreads, bool predicts) const;
  /// Variables that can be saved, per dependent.
  std::vector<ResultItem> Savable(const Includes& includes) const;
  /// Items that the plot lists offer for a dependent.
  std::vector<ResultItem> PlotItems(std::size_t dependent) const;

  /// Name of the input or dependent; of a confidence, the class's text.
  std::string ColumnName(const ResultItem& item) const;
  /// Second heading of its column.
  std::string_view ColumnHeading(const ResultItem& item) const {
    return profile_.TextsOf(item.kind).heading;
  }
  std::string ListText(const ResultItem& item) const;
  std::string AxisText(const ResultItem& item) const;
  std::string SavedName(const ResultItem& item) const;
  std::string SavedLongName(const ResultItem& item) const;
  /// Texts of its values: categories, or "Correct" and "Incorrect" (marked).
  std::vector<CellLabel> Labels(const ResultItem& item) const;

  bool IsCategorical(const ResultItem& item) const;
  /// Whether the value of an input is missing in the file; of other items false.
  bool IsMissing(const ResultItem& item, double value) const;
  /// Codes of a categorical item, ascending.
  std::vector<double> Codes(const ResultItem& item) const;

  std::size_t inputs() const { return data_.roles().predictors.size(); }
  /// Those that the results are about.
  std::size_t dependents() const { return Shown(data_.roles().dependents.size()); }
  std::size_t continuousDependents() const {
    return Shown(data_.roles().continuousDependents.size());
  }
  std::string InputName(std::size_t i) const;
  std::string DependentName(std::size_t d) const;

 private:
  std::size_t Shown(std::size_t count) const {
    return profile_.onlyFirstDependent && count > 1 ? 1 : count;
  }
  bool IsContinuousDependent(std::size_t d) const { return d < continuousDependents(); }
  void AddConfidences(std::size_t dependent, std::vector<ResultItem>& items) const;
  /// The categories of a categorical input or dependent; null for other items.
  const CategoryTable* Categories(const ResultItem& item) const;

  const DataFile& file_;
  const AnalysisDataSet& data_;
  const ResultsProfile& profile_;
};

}  // namespace qrvml
