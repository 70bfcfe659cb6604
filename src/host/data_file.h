// The open data file as the host shows it: variables numbered from 1, cases numbered from 1, every
// value a double. A missing value is a value equal to its variable's missing-data code.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qrvml {

/// What the host says when a case is asked for.
enum class CaseStatus : int {
  delivered = 0,
  skip = 1,  // the case takes no part (selection condition): leave it alone and go on
  stop = 2,  // the user cancelled: end the pass without a message
};

/// What comes with a case besides its values.
struct CaseInfo {
  double weight = 1.0;    // value of the case-weight variable; 1 while none is in force
  std::string_view name;  // the case's name, may be empty; valid until the next case is read
};

class DataFile {
 public:
  virtual ~DataFile() = default;

  virtual int NumberOfVariables() const = 0;
  virtual int NumberOfCases() const = 0;

  /// Reads one case: values[v] for v = 1..NumberOfVariables() (values[0] is left alone), weight and
  /// name. A missing weight arrives as 0.
  virtual CaseStatus cstrtw(int caseNumber, double* values, CaseInfo& info) = 0;
  /// The same without weight and name.
  virtual CaseStatus cstart(int caseNumber, double* values) = 0;

  /// The variable's missing-data code; always a number.
  virtual double getmd5(int variable) const = 0;
  /// The variable's name, as the file has it.
  virtual std::string getvn5(int variable) const = 0;
  /// 0 and the text label of the variable's code; anything else: no label.
  virtual int vvlcod(int variable, float code, std::string& label) const = 0;
  /// The name of a case; may be empty.
  virtual std::string getlab(int caseNumber) = 0;

  /// Dates, times and the like, which are shown by WriteSpecialFormatVariable.
  virtual bool IsSpecialFormatVariable(int variable) const = 0;
  virtual bool IsDateVar(int variable) const = 0;
  virtual std::string WriteSpecialFormatVariable(int variable, double value, int width) const = 0;

  /// Whether a case-weight variable is in force.
  virtual bool IsWeightInForce() const = 0;
  /// The text of the open file for graph titles.
  virtual std::string DataFileText() const = 0;
};

}  // namespace qrvml
