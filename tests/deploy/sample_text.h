// Generated texts beside committed samples.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

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

/// The one text that an action makes.
inline std::string Generated(AnalysisSession& session, std::string_view action) {
  EXPECT_TRUE(session.Press(action).Succeeded()) << action;
  if (session.host.textDocuments.size() != 1) {
    ADD_FAILURE() << session.host.textDocuments.size() << " text documents";
    return {};
  }
  std::string text = std::move(session.host.textDocuments[0].text);
  session.host.textDocuments.clear();
  return text;
}

inline std::size_t Count(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + part.size()))
    ++count;
  return count;
}

}  // namespace qrvml::test
