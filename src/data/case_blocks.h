// The used cases of a subset in file order, many rows at a time: from the stored rows, or read from
// the file again where values are not stored.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "data/analysis_data_set.h"
#include "data/case_reader.h"

namespace qrvml {

class CaseBlocks {
 public:
  /// `rowsPerBlock` > 0. The data set must not be read anew meanwhile. Throws MemoryRefused.
  CaseBlocks(AnalysisDataSet& data, Subset subset, std::size_t rowsPerBlock);

  /// Goes on to the next block; false: there is none. Throws Cancelled where the host stops.
  bool Next();

  /// The block's rows: at least one, at most rowsPerBlock.
  std::size_t rows() const { return rows_; }
  /// rows() x predictors, rows() x dependents, row by row; missing values as they were stored.
  const double* predictors() const { return predictors_; }
  const double* dependents() const { return dependents_; }
  /// The cases that the rows came from.
  std::span<const std::int32_t> caseNumbers() const { return {numbers_, rows_}; }

 private:
  /// Where a sample's stored rows stand.
  struct Stored {
    std::size_t next = 0, count = 0;
  };
  void TakeStored(std::size_t sample);
  void MergeStored();
  void ReadAgain();
  std::size_t inputs() const { return data_.roles().predictors.size(); }
  std::size_t outputs() const { return data_.roles().dependents.size(); }
  bool Wants(std::uint8_t flag) const;

  AnalysisDataSet& data_;
  const Subset subset_;
  const std::size_t rowsPerBlock_;
  std::size_t rows_ = 0;
  const double* predictors_ = nullptr;
  const double* dependents_ = nullptr;
  const std::int32_t* numbers_ = nullptr;
  Stored stored_[2];
  // Rows that had to be gathered: of both samples, or read from the file.
  HostArray<double> gatheredPredictors_, gatheredDependents_;
  HostArray<std::int32_t> gatheredNumbers_;
  std::unique_ptr<CaseReader> reader_;
  std::optional<ProgressPass> progress_;
  std::int32_t nextCase_ = 1;
};

}  // namespace qrvml
