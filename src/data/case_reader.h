// Reads the file case by case and lays the values of the analysis variables side by side.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "data/variable_roles.h"
#include "host/data_file.h"
#include "host/memory.h"
#include "host/services.h"

namespace qrvml {

/// Opens the host's progress display for a pass over the file and closes it again.
class ProgressPass {
 public:
  ProgressPass(int cases, int textNumber);
  ~ProgressPass() { Close(); }
  ProgressPass(const ProgressPass&) = delete;
  ProgressPass& operator=(const ProgressPass&) = delete;
  /// Closes it before its time, so that a message can be shown.
  void Close();

 private:
  ProgressServices* progress_;
};

class CaseReader {
 public:
  /// Throws MemoryRefused.
  CaseReader(DataFile& file, const VariableRoles& roles);

  /// Reads a case with its weight and name.
  CaseStatus Read(int caseNumber);
  /// Reads a case without them.
  CaseStatus ReadValues(int caseNumber);

  /// The last case read. values() has one value per slot: predictors, then dependents.
  const double* values() const { return slots_.data(); }
  double* values() { return slots_.data(); }
  double ValueOf(int variable) const { return buffer_[static_cast<std::size_t>(variable)]; }
  double weight() const { return info_.weight; }
  std::string_view name() const { return info_.name; }

  /// Whether a slot holds its variable's missing-data code, or any did when the case was read.
  bool IsMissing(std::size_t slot) const { return slots_[slot] == missing_[slot]; }
  bool HasMissing() const { return hasMissing_; }
  std::size_t slots() const { return slots_.size(); }
  /// Missing-data codes by slot.
  std::span<const double> missingCodes() const { return missing_; }

 private:
  /// Neighbouring slots whose variables are neighbours in the file, copied as one.
  struct Run {
    std::size_t slot, variable, length;
  };
  void Gather();

  DataFile& file_;
  CaseInfo info_;
  std::vector<Run> runs_;
  HostArray<double> buffer_;   // by variable number
  HostArray<double> slots_;    // by slot
  HostArray<double> missing_;  // missing-data code by slot
  bool hasMissing_ = false;
};

}  // namespace qrvml
