#include "data/case_blocks.h"

#include <algorithm>

#include "host/analysis_support.h"
#include "host/string_table.h"

namespace qrvml {

CaseBlocks::CaseBlocks(AnalysisDataSet& data, Subset subset, std::size_t rowsPerBlock)
    : data_(data), subset_(subset), rowsPerBlock_(rowsPerBlock) {
  for (const Sample sample : {Sample::training, Sample::test}) {
    const auto s = static_cast<std::size_t>(sample);
    if (Wants(static_cast<std::uint8_t>(s)))
      stored_[s].count = static_cast<std::size_t>(data.StoredRows(sample));
  }
  const bool merges = stored_[0].count > 0 && stored_[1].count > 0;
  if (!data.storeValues || merges) {
    const std::size_t most = std::min(rowsPerBlock, stored_[0].count + stored_[1].count);
    gatheredPredictors_.Resize(most * inputs());
    gatheredDependents_.Resize(most * outputs());
    gatheredNumbers_.Resize(most);
  }
  if (data.storeValues) return;
  reader_ =
      std::make_unique<CaseReader>(*CAnalysisContext::Current()->services().file, data.roles());
  progress_.emplace(data.numberOfCases(), 106);
}

bool CaseBlocks::Wants(std::uint8_t flag) const {
  return (flag == kTraining && subset_ != Subset::test) ||
         (flag == kTest && subset_ != Subset::training);
}

bool CaseBlocks::Next() {
  rows_ = 0;
  if (!data_.storeValues) {
    ReadAgain();
  } else if (!gatheredNumbers_.empty()) {
    MergeStored();
  } else {
    TakeStored(stored_[0].count > 0 ? 0 : 1);
  }
  return rows_ > 0;
}

void CaseBlocks::TakeStored(std::size_t sample) {
  const auto s = static_cast<Sample>(sample);
  Stored& stored = stored_[sample];
  rows_ = std::min(rowsPerBlock_, stored.count - stored.next);
  if (rows_ == 0) return;
  predictors_ = data_.PredictorRows(s).data() + stored.next * inputs();
  dependents_ = data_.DependentRows(s).data() + stored.next * outputs();
  numbers_ = data_.caseNumbers_[sample].data() + stored.next;
  stored.next += rows_;
}

void CaseBlocks::MergeStored() {
  while (rows_ < gatheredNumbers_.size()) {
    const auto numberAt = [&](std::size_t s) { return data_.caseNumbers_[s][stored_[s].next]; };
    const bool hasTraining = stored_[0].next < stored_[0].count;
    const bool hasTest = stored_[1].next < stored_[1].count;
    if (!hasTraining && !hasTest) break;
    const std::size_t s = hasTraining && (!hasTest || numberAt(0) < numberAt(1)) ? 0 : 1;
    const std::size_t row = stored_[s].next++;
    const auto sample = static_cast<Sample>(s);
    std::copy_n(data_.PredictorRows(sample).data() + row * inputs(), inputs(),
                gatheredPredictors_.data() + rows_ * inputs());
    std::copy_n(data_.DependentRows(sample).data() + row * outputs(), outputs(),
                gatheredDependents_.data() + rows_ * outputs());
    gatheredNumbers_[rows_++] = data_.caseNumbers_[s][row];
  }
  predictors_ = gatheredPredictors_.data();
  dependents_ = gatheredDependents_.data();
  numbers_ = gatheredNumbers_.data();
}

void CaseBlocks::ReadAgain() {
  for (; nextCase_ <= data_.numberOfCases() && rows_ < gatheredNumbers_.size(); ++nextCase_) {
    const std::uint8_t flag = data_.Flag(nextCase_);
    if (!Wants(flag)) continue;
    // A used case that does not come any more: the host delivers other cases than before.
    if (reader_->ReadValues(nextCase_) != CaseStatus::delivered) throw Cancelled();
    data_.SubstituteMissing(*reader_, flag);
    std::copy_n(reader_->values(), inputs(), gatheredPredictors_.data() + rows_ * inputs());
    std::copy_n(reader_->values() + inputs(), outputs(),
                gatheredDependents_.data() + rows_ * outputs());
    gatheredNumbers_[rows_++] = nextCase_;
  }
  if (rows_ == 0) progress_.reset();
  predictors_ = gatheredPredictors_.data();
  dependents_ = gatheredDependents_.data();
  numbers_ = gatheredNumbers_.data();
}

}  // namespace qrvml
