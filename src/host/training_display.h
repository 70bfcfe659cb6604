// The two text lines that a training run writes into while its progress dialog is open.
#pragma once

#include <string_view>

namespace qrvml {

class TrainingDisplay {
 public:
  virtual ~TrainingDisplay() = default;
  virtual void ShowStatus(std::string_view text) = 0;  // first line
  virtual void ShowDetail(std::string_view text) = 0;  // second line
};

}  // namespace qrvml
