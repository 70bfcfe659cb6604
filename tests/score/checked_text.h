// What a test of verification needs beside an engine: texts as models, and what a check has found.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <utility>

#include "score/c_program.h"
#include "score/pmml_document.h"
#include "score/qvb_script.h"
#include "score/scoring.h"
#include "score/verification.h"

namespace qrvml::test {

/// By CodeDialect.
inline constexpr const char* kCodeActions[] = {"CodeGeneratorCLang", "CodeGeneratorQVB",
                                               "CodeGeneratorPMML"};

/// Null, and why: the text is no model.
inline std::unique_ptr<DeployedModel> OpenText(CodeDialect dialect, const std::string& text,
                                               const DataFile& file, std::string& error,
                                               std::span<const int> dependents = {}) {
  if (dialect == CodeDialect::pmml) return ReadPmmlDocument(text, error);
  if (dialect == CodeDialect::qvb)
    return QvbScript::Read("model.qvb", text, file, {}, error, dependents);
  CHeader header;
  const auto isName = [&](const std::string& name) {
    return Scoring::FindVariable(file, name) != 0;
  };
  if (!ReadCHeader(text, isName, header, error)) return nullptr;
  return CProgram::Open(text, std::move(header), {}, error);
}

/// A line for each fault, and for the first case of each dependent that differs.
inline std::string Faults(const TextCheck& check) {
  std::string text;
  for (const std::string& fault : check.faults) text += fault + '\n';
  for (const DependentCheck& dependent : check.dependents) text += dependent.first + '\n';
  return text;
}

}  // namespace qrvml::test
