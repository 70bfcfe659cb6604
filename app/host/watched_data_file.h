// A data file that tells how far a pass over its cases has come and ends it when cancelled.
#pragma once

#include <atomic>

#include "host/data_file.h"

namespace qrvml {

class WatchedDataFile final : public DataFile {
 public:
  WatchedDataFile(DataFile& file, const std::atomic<bool>& cancel)
      : file_(&file), cancel_(cancel) {}

  /// Another file takes the place of the first.
  void Watch(DataFile& file) {
    file_ = &file;
    lastCase_ = 0;
  }

  /// The number of the case that was read last.
  int lastCase() const { return lastCase_; }

  int NumberOfVariables() const override { return file_->NumberOfVariables(); }
  int NumberOfCases() const override { return file_->NumberOfCases(); }
  CaseStatus cstrtw(int caseNumber, double* values, CaseInfo& info) override {
    lastCase_ = caseNumber;
    if (cancel_.load(std::memory_order_relaxed)) return CaseStatus::stop;
    return file_->cstrtw(caseNumber, values, info);
  }
  CaseStatus cstart(int caseNumber, double* values) override {
    lastCase_ = caseNumber;
    if (cancel_.load(std::memory_order_relaxed)) return CaseStatus::stop;
    return file_->cstart(caseNumber, values);
  }
  double getmd5(int variable) const override { return file_->getmd5(variable); }
  std::string getvn5(int variable) const override { return file_->getvn5(variable); }
  int vvlcod(int variable, float code, std::string& label) const override {
    return file_->vvlcod(variable, code, label);
  }
  std::string getlab(int caseNumber) override { return file_->getlab(caseNumber); }
  bool IsSpecialFormatVariable(int variable) const override {
    return file_->IsSpecialFormatVariable(variable);
  }
  bool IsDateVar(int variable) const override { return file_->IsDateVar(variable); }
  std::string WriteSpecialFormatVariable(int variable, double value, int width) const override {
    return file_->WriteSpecialFormatVariable(variable, value, width);
  }
  bool IsWeightInForce() const override { return file_->IsWeightInForce(); }
  std::string DataFileText() const override { return file_->DataFileText(); }

 private:
  DataFile* file_;
  const std::atomic<bool>& cancel_;
  int lastCase_ = 0;
};

}  // namespace qrvml
