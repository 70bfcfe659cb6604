// Reading cases in tests: roles from names, a sink that keeps its rows, both passes in one call.
#pragma once

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "data/analysis_data_set.h"
#include "support/scripted_host.h"

namespace qrvml::test {

inline constexpr Method kMethods[] = {Method::svm, Method::naiveBayes, Method::knn};

/// An engine's own problem, in host memory.
class KeptRows final : public TrainingRowSink {
 public:
  void AllocateRows(std::int32_t rows, std::int32_t width) override {
    storage_.Assign(static_cast<std::size_t>(rows * width), 0.0);
    rows_ = rows;
    inputs.clear();
    dependents.clear();
  }
  void AddTrainingRow(std::int32_t rowIndex, std::span<const double> row,
                      std::span<const double> observed) override {
    EXPECT_EQ(rowIndex, static_cast<std::int32_t>(inputs.size()));
    EXPECT_LT(rowIndex, rows_);
    inputs.emplace_back(row.begin(), row.end());
    dependents.emplace_back(observed.begin(), observed.end());
  }
  void Release() { storage_.Release(); }

  std::vector<std::vector<double>> inputs, dependents;

 private:
  HostArray<double> storage_;
  std::int32_t rows_ = 0;
};

/// A session whose data set reads `table` with roles "continuous dependents | categorical
/// dependents | continuous predictors | categorical predictors", all by name. The first
/// `trainingCases` are the training cases; 0: no sampling.
struct CaseReading {
  CaseReading(TableFile table, std::string_view lists, int trainingCases)
      : session(std::move(table)) {
    EXPECT_TRUE(data().CheckDataFile());
    EXPECT_TRUE(data().SetRoles(Roles(session.file, lists)));
    data().sampling.apply = trainingCases > 0;
    data().sampling.firstN = trainingCases;
    if (trainingCases > 0) {
      EXPECT_TRUE(data().TakeFirstCases());
    }
  }

  static VariableRoles Roles(const TableFile& file, std::string_view lists);

  AnalysisSession session;
  KeptRows sink;

  AnalysisDataSet& data() { return session.data(); }
  bool Read(Method method) { return data().ScanCases(method) && data().LoadCases(method, &sink); }
  std::vector<int> Flags() {
    std::vector<int> flags;
    for (int c = 1; c <= data().numberOfCases(); ++c) flags.push_back(data().Flag(c));
    return flags;
  }
  /// Case numbers of the stored rows.
  std::vector<int> Stored(Sample sample) {
    std::vector<int> numbers;
    for (int row = 0; row < data().StoredRows(sample); ++row)
      numbers.push_back(data().CaseNumberOf(sample, row));
    return numbers;
  }
  /// Column `column` of the stored predictors (dependents).
  std::vector<double> Predictor(Sample sample, std::size_t column) {
    return Column(data().PredictorRows(sample), data().roles().predictors.size(), column);
  }
  std::vector<double> Dependent(Sample sample, std::size_t column) {
    return Column(data().DependentRows(sample), data().roles().dependents.size(), column);
  }

 private:
  static std::vector<double> Column(std::span<const double> rows, std::size_t width,
                                    std::size_t column) {
    std::vector<double> values;
    for (std::size_t i = column; i < rows.size(); i += width) values.push_back(rows[i]);
    return values;
  }
};

}  // namespace qrvml::test
