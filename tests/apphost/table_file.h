// A data file for tests: variables with labels, cases as rows.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/answer_reading.h"
#include "host/data_file.h"

namespace qrvml::testing {

class TableFile final : public DataFile {
 public:
  explicit TableFile(std::vector<std::string> variableNames,
                     std::vector<std::vector<double>> caseRows = {})
      : names(std::move(variableNames)), rows(std::move(caseRows)), labels(names.size()) {}

  std::vector<std::string> names;
  std::vector<std::vector<double>> rows;
  std::vector<std::map<double, std::string>> labels;  // per variable: code -> label

  AnswerNames Names() const {
    return {this, [this](int variable, std::string_view label, double& code) {
              for (const auto& [known, text] : labels[static_cast<std::size_t>(variable - 1)]) {
                if (text != label) continue;
                code = known;
                return true;
              }
              return false;
            }};
  }

  int NumberOfVariables() const override { return static_cast<int>(names.size()); }
  int NumberOfCases() const override { return static_cast<int>(rows.size()); }
  CaseStatus cstrtw(int caseNumber, double* values, CaseInfo& info) override {
    info = {};
    return cstart(caseNumber, values);
  }
  CaseStatus cstart(int caseNumber, double* values) override {
    const auto& row = rows[static_cast<std::size_t>(caseNumber - 1)];
    for (std::size_t v = 0; v < row.size(); ++v) values[v + 1] = row[v];
    return CaseStatus::delivered;
  }
  double getmd5(int) const override { return -9999; }
  std::string getvn5(int variable) const override {
    return names[static_cast<std::size_t>(variable - 1)];
  }
  int vvlcod(int variable, float code, std::string& label) const override {
    const auto& known = labels[static_cast<std::size_t>(variable - 1)];
    const auto found = known.find(static_cast<double>(code));
    if (found == known.end()) return 1;
    label = found->second;
    return 0;
  }
  std::string getlab(int) override { return {}; }
  bool IsSpecialFormatVariable(int) const override { return false; }
  bool IsDateVar(int) const override { return false; }
  std::string WriteSpecialFormatVariable(int, double, int) const override { return {}; }
  bool IsWeightInForce() const override { return false; }
  std::string DataFileText() const override { return "table"; }
};

}  // namespace qrvml::testing
