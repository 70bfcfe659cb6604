// The open data file as the analysis module sees it: a table, with case weights, a selection and
// case names in force.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "datafile/data_table.h"
#include "datafile/file_error.h"
#include "host/data_file.h"

namespace qrvml {

/// Cases are served fastest in order. Used by one thread at a time; a copy, which shares the cells
/// and has settings of its own, may be used by another. Missing-data codes belong to the cells:
/// they are set before there are copies.
class HostDataFile final : public DataFile {
 public:
  HostDataFile(DataTable table, std::string path);

  int NumberOfVariables() const override { return table_->NumberOfVariables(); }
  int NumberOfCases() const override { return table_->NumberOfCases(); }
  CaseStatus cstrtw(int caseNumber, double* values, CaseInfo& info) override;
  CaseStatus cstart(int caseNumber, double* values) override;
  double getmd5(int variable) const override { return table_->At(variable).missingCode; }
  std::string getvn5(int variable) const override { return table_->At(variable).name; }
  int vvlcod(int variable, float code, std::string& label) const override;
  std::string getlab(int caseNumber) override;
  bool IsSpecialFormatVariable(int variable) const override;
  bool IsDateVar(int variable) const override;
  std::string WriteSpecialFormatVariable(int variable, double value, int width) const override;
  bool IsWeightInForce() const override { return weight_ != 0; }
  /// The file's name without its folder.
  std::string DataFileText() const override;

  const DataTable& Table() const { return *table_; }
  const std::string& Path() const { return path_; }
  /// Grows with every change of missing-data codes, weight, selection or case names; whoever keeps
  /// something read from the file compares it.
  std::uint64_t Revision() const { return revision_; }

  /// 0: no weight. False: the variable holds texts; `error` says so and nothing changes.
  bool SetWeight(int variable, FileError& error);
  int WeightVariable() const { return weight_; }

  /// Evaluates a condition (selection.h) over the cases; an empty one selects all. False: `error`
  /// says why and nothing changes.
  bool SetSelection(const std::string& condition, FileError& error);
  const std::string& Selection() const { return condition_; }
  bool IsSelected(int caseNumber) const {
    return selected_.empty() || selected_[static_cast<std::size_t>(caseNumber - 1)] != 0;
  }
  int NumberOfSelectedCases() const;

  /// The variable whose texts, labels or numbers name the cases; 0: cases have no names.
  void SetCaseNames(int variable);
  int CaseNamesVariable() const { return caseNames_; }

  /// See DataTable::SetMissingCode. A selection in force is evaluated again. False: `error` says
  /// why and nothing changes.
  bool SetMissingCode(int variable, double code, FileError& error);

  /// Called while cases are read, once in a few hundred, with the number of the case; a true
  /// result ends the pass: that case is answered with `stop`. Empty: none.
  using PassHook = std::function<bool(int caseNumber)>;
  void SetPassHook(PassHook hook) { hook_ = std::move(hook); }

  /// Reads a variable's name, its number or its name in double quotes. False: `error` says why.
  bool FindVariable(const std::string& text, int& variable, FileError& error) const;

 private:
  CaseStatus Deliver(int caseNumber, double* values);
  void LoadRows(int firstCase);
  const double* Row(int caseNumber) const {
    return rows_.data() + static_cast<std::size_t>(caseNumber - rowsFirst_) * width_;
  }

  std::shared_ptr<DataTable> table_;
  const std::string path_;
  const std::size_t width_;  // variables
  std::uint64_t revision_ = 1;
  int weight_ = 0;
  int caseNames_ = 0;
  std::string condition_;
  std::vector<std::uint8_t> selected_;  // by case; empty: all
  PassHook hook_;
  int untilHook_;

  // A block of consecutive cases, case after case: cases rowsFirst_ to rowsEnd_ - 1.
  std::vector<double> rows_;
  int rowsFirst_ = 1, rowsEnd_ = 1;
  int lastCase_ = 0;          // the case read last
  std::string nameOfNumber_;  // what CaseInfo::name shows where a number names the case
};

/// A number as text: a date, or the shortest digits that read back as the same number.
std::string NumberAsText(DisplayFormat format, double value);

/// The value as text for a person: a label, "" for missing, a date, or the shortest digits that
/// read back as the same number.
std::string ValueAsText(const DataTable& table, int variable, double value);

}  // namespace qrvml
