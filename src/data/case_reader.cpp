#include "data/case_reader.h"

#include "data/kernels/case_kernel.h"
#include "host/analysis_support.h"
#include "host/string_table.h"

namespace qrvml {

ProgressPass::ProgressPass(int cases, int textNumber)
    : progress_(CAnalysisContext::Current()->services().progress) {
  progress_->dstart(cases);
  progress_->d_pbar(GetResourceString(textNumber));
}

void ProgressPass::Close() {
  if (progress_ != nullptr) progress_->dstop();
  progress_ = nullptr;
}

CaseReader::CaseReader(DataFile& file, const VariableRoles& roles)
    : file_(file),
      buffer_(static_cast<std::size_t>(file.NumberOfVariables()) + 1, 0.0),
      slots_(roles.all.size()),
      missing_(roles.all.size()) {
  for (std::size_t slot = 0; slot < roles.all.size(); ++slot) {
    const auto variable = static_cast<std::size_t>(roles.all[slot]);
    missing_[slot] = file.getmd5(roles.all[slot]);
    if (!runs_.empty() && runs_.back().variable + runs_.back().length == variable) {
      ++runs_.back().length;
    } else {
      runs_.push_back({slot, variable, 1});
    }
  }
}

CaseStatus CaseReader::Read(int caseNumber) {
  info_ = {};
  const CaseStatus status = file_.cstrtw(caseNumber, buffer_.data(), info_);
  if (status == CaseStatus::delivered) Gather();
  return status;
}

CaseStatus CaseReader::ReadValues(int caseNumber) {
  const CaseStatus status = file_.cstart(caseNumber, buffer_.data());
  if (status == CaseStatus::delivered) Gather();
  return status;
}

void CaseReader::Gather() {
  hasMissing_ = false;
  for (const Run& run : runs_) {
    hasMissing_ |= CaseKernelHere().copy(run.length, buffer_.data() + run.variable,
                                         missing_.data() + run.slot, slots_.data() + run.slot);
  }
}

}  // namespace qrvml
