// Runs the built program as a user does and reads what it made.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/places.h"

extern char** environ;

namespace qrvml::testing {

namespace fs = std::filesystem;

struct Outcome {
  int code = -1;  // exit status; -1: it was ended by a signal
  std::string out, err;
};

inline std::string Content(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

/// A test with a folder of its own, removed afterwards.
class ProgramTest : public ::testing::Test {
 protected:
  ProgramTest() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = "qrvml-system-" + std::to_string(getpid()) + '-' + info->test_suite_name() +
                       '-' + info->name();
    std::ranges::replace(name, '/', '-');  // of tests with parameters
    root_ = fs::temp_directory_path() / name;
    fs::create_directories(root_);
  }
  ~ProgramTest() override { fs::remove_all(root_); }

  const fs::path& root() const { return root_; }
  fs::path Out() const { return root_ / "out"; }
  static std::string Example(const std::string& name) {
    return (fs::path(kExamples) / name).string();
  }
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(root_ / name, std::ios::binary) << content;
    return (root_ / name).string();
  }

  /// Starts the program; standard output and error go to files of the folder.
  pid_t Start(std::vector<std::string> arguments, const fs::path& program = kProgram) {
    arguments.insert(arguments.begin(), program.string());
    std::vector<char*> words;
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (root_ / "stdout").c_str(), flags, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, (root_ / "stderr").c_str(), flags, 0600);
    pid_t child = -1;
    EXPECT_EQ(posix_spawn(&child, program.c_str(), &actions, nullptr, words.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    return child;
  }
  Outcome Wait(pid_t child) {
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Content(root_ / "stdout"),
            Content(root_ / "stderr")};
  }
  Outcome Run(std::vector<std::string> arguments) { return Wait(Start(std::move(arguments))); }

  /// Runs an analysis into Out() and gives its documents.json; the run must succeed.
  nlohmann::json RunToJson(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--out", Out().string()});
    const Outcome outcome = Run(std::move(arguments));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    if (outcome.code != 0) return {};
    return nlohmann::json::parse(Content(Out() / "documents.json"));
  }
  std::set<std::string> FilesOut() const {
    std::set<std::string> names;
    if (!fs::exists(Out())) return names;
    for (const auto& entry : fs::directory_iterator(Out()))
      names.insert(entry.path().filename().string());
    return names;
  }

 private:
  fs::path root_;
};

/// The document with this title.
inline nlohmann::json Titled(const nlohmann::json& run, const std::string& title) {
  for (const auto& document : run["documents"]) {
    if (document.value("title", "") == title) return document;
  }
  ADD_FAILURE() << "no document is titled " << title;
  return nlohmann::json::object();
}

/// A cell by row name and column heading.
inline nlohmann::json Cell(const nlohmann::json& sheet, const std::string& row,
                           const std::string& column) {
  for (std::size_t c = 0; c < sheet["columns"].size(); ++c) {
    if (sheet["columns"][c]["first"] != column) continue;
    for (const auto& candidate : sheet["rows"]) {
      if (candidate["name"] == row) return candidate["cells"][c];
    }
  }
  ADD_FAILURE() << "no cell " << row << " x " << column;
  return {{"value", nullptr}};
}

}  // namespace qrvml::testing
