// Generated texts: beside committed samples, changed, and numbers as they print them.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "deploy/number_text.h"
#include "host/numerics.h"
#include "support/places.h"
#include "support/scripted_host.h"

namespace qrvml::test {

/// Compares a text with its sample. With QRVML_WRITE_SAMPLES in the environment the sample becomes
/// the text, and the difference shows in review.
inline void IsSample(const std::string& text, const std::string& name) {
  const auto path = std::filesystem::path(kTestData).parent_path() / "deploy" / "samples" / name;
  if (std::getenv("QRVML_WRITE_SAMPLES") != nullptr) std::ofstream(path, std::ios::binary) << text;
  std::ostringstream sample;
  sample << std::ifstream(path, std::ios::binary).rdbuf();
  EXPECT_EQ(text, sample.str()) << name;
}

/// The texts that an action makes; one per dependent for PMML.
inline std::vector<std::string> GeneratedTexts(AnalysisSession& session, std::string_view action) {
  EXPECT_TRUE(session.Press(action).Succeeded()) << action;
  std::vector<std::string> texts;
  for (TextDocument& document : session.host.textDocuments)
    texts.push_back(std::move(document.text));
  session.host.textDocuments.clear();
  return texts;
}
inline std::string Generated(AnalysisSession& session, std::string_view action) {
  const std::vector<std::string> texts = GeneratedTexts(session, action);
  EXPECT_EQ(texts.size(), 1u) << action;
  return texts.size() == 1 ? texts[0] : std::string();
}

/// The text with the first occurrence of a part, which it has, replaced.
inline std::string Replaced(std::string text, std::string_view old, std::string_view by) {
  const std::size_t at = text.find(old);
  EXPECT_NE(at, std::string::npos) << old;
  return at == std::string::npos ? text : text.replace(at, old.size(), by);
}

/// What "%.6f" and "%g" leave of a number.
inline double SixDecimals(double value) {
  return std::strtod(FixedText(value, 6).c_str(), nullptr);
}
inline double SixDigits(double value) { return std::strtod(GeneralText(value).c_str(), nullptr); }

inline std::size_t Count(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + part.size()))
    ++count;
  return count;
}

}  // namespace qrvml::test
