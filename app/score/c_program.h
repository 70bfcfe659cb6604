// A generated C program: compiled in a private temporary folder and asked through its own main, one
// case at a time. It runs until it is ended, since it has no exit.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "score/c_header.h"
#include "score/child_process.h"
#include "score/deployed_model.h"

namespace qrvml {

class CProgram final : public DeployedModel {
 public:
  /// Compiles and starts the program; the patience holds for the compiler and for every answer.
  /// Null: `error` says why, a clause.
  static std::unique_ptr<CProgram> Open(std::string_view source, CHeader header, Patience patience,
                                        std::string& error);
  ~CProgram() override;

  bool Predict(std::span<const double> values, std::span<double> predictions,
               std::string& error) override;

 private:
  CProgram(CHeader header, Patience patience);
  bool Compile(std::string_view source, Patience patience, std::string& error);

  std::filesystem::path folder_;  // empty: not made
  ChildProcess process_;
  std::string answer_;  // what the program has printed and nobody has read
};

}  // namespace qrvml
