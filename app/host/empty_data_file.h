// A data file without variables and cases: what an analysis sees while none is open.
#pragma once

#include "host/data_file.h"

namespace qrvml {

class EmptyDataFile final : public DataFile {
 public:
  int NumberOfVariables() const override { return 0; }
  int NumberOfCases() const override { return 0; }
  CaseStatus cstrtw(int, double*, CaseInfo&) override { return CaseStatus::stop; }
  CaseStatus cstart(int, double*) override { return CaseStatus::stop; }
  double getmd5(int) const override { return -9999; }
  std::string getvn5(int) const override { return {}; }
  int vvlcod(int, float, std::string&) const override { return 1; }
  std::string getlab(int) override { return {}; }
  bool IsSpecialFormatVariable(int) const override { return false; }
  bool IsDateVar(int) const override { return false; }
  std::string WriteSpecialFormatVariable(int, double, int) const override { return {}; }
  bool IsWeightInForce() const override { return false; }
  std::string DataFileText() const override { return {}; }
};

}  // namespace qrvml
