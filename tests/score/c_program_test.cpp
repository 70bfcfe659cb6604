// Generated C programs through their own main, their header comments, and programs that behave
// otherwise.
#include "score/c_program.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "score/generated_model.h"

namespace qrvml::test {
namespace {

namespace fs = std::filesystem;

bool NoName(const std::string&) { return false; }

/// Makes programs work in a folder of this test's own.
class OwnTemporaryFolder {
 public:
  OwnTemporaryFolder() {
    fs::create_directories(folder_);
    setenv("TMPDIR", folder_.c_str(), 1);
  }
  ~OwnTemporaryFolder() {
    before_ == nullptr ? unsetenv("TMPDIR") : setenv("TMPDIR", beforeText_.c_str(), 1);
    fs::remove_all(folder_);
  }
  bool IsEmpty() const { return fs::is_empty(folder_); }

 private:
  const char* before_ = std::getenv("TMPDIR");
  std::string beforeText_ = before_ == nullptr ? "" : before_;
  fs::path folder_ = fs::temp_directory_path() / ("qrvml-c-program-" + std::to_string(getpid()));
};

std::unique_ptr<CProgram> Open(const std::string& source, std::string& error,
                               Patience patience = {}) {
  CHeader header;
  if (!ReadCHeader(source, NoName, header, error)) return nullptr;
  return CProgram::Open(source, std::move(header), patience, error);
}

TEST(CProgram, TheMissingCodeAsAnInputOnlyShowsTheMenu) {
  KnnAnalysis knn(TableFile("x!-1 y", {"-9999 3", "5 4.5", "1 1"}), "y | | x |", 2);
  knn.Train();
  std::string error;
  const auto program = Open(GeneratedTexts(knn, "CodeGeneratorCLang").at(0), error);
  ASSERT_NE(program, nullptr) << error;
  for (const auto& [input, output] : {std::pair(-9999.0, 3.0), {5.0, 4.5}, {-9999.0, 3.0}}) {
    double predicted = 0;
    ASSERT_TRUE(program->Predict({&input, 1}, {&predicted, 1}, error)) << error;
    EXPECT_EQ(predicted, output);
  }
}

TEST(CHeader, ReadsNamesAndCategoriesWhateverTheyHold) {
  TableFile file("x u c", {"1 1 1", "2 2 2", "3 1 1"});
  const std::string names[] = {"a, b: (c, 1)", "u: v", "c"};
  for (int v = 0; v < 3; ++v) file.variables[v].name = names[v];
  file.variables[1].labels = {{1, "oui), (x"}, {2, "non)"}};
  file.variables[2].labels = {{1, "&"}, {2, ""}};
  KnnAnalysis knn(std::move(file), "| 3 | 1 | 2", 2);
  knn.Train();
  const std::string text = GeneratedTexts(knn, "CodeGeneratorCLang").at(0);
  CHeader header;
  std::string error;
  ASSERT_TRUE(ReadCHeader(
      text, [&](const std::string& name) { return std::ranges::count(names, name) > 0; }, header,
      error))
      << error;
  ASSERT_EQ(header.inputs.size(), 2u);
  EXPECT_EQ(header.inputs[0].name, names[0]);
  EXPECT_FALSE(header.inputs[0].isCategorical);
  EXPECT_EQ(header.inputs[1].name, names[1]);
  ASSERT_EQ(header.inputs[1].categories.size(), 2u);
  EXPECT_EQ(header.inputs[1].categories[0].text, "oui), (x");
  EXPECT_EQ(header.inputs[1].categories[1].text, "non)");
  ASSERT_EQ(header.dependents.size(), 1u);
  EXPECT_EQ(header.dependents[0].categories[0].text, "&");
  EXPECT_FALSE(ReadCHeader(text, NoName, header, error));
  EXPECT_NE(error.find("a name with a comma"), std::string::npos) << error;
  for (const char* other : {"", "int main(void) { return 0; }\n", "//  KNN\n"}) {
    EXPECT_FALSE(ReadCHeader(other, NoName, header, error));
    EXPECT_NE(error.find("no header comment"), std::string::npos) << error;
  }
}

/// A program with the header of a generated one and another body.
std::string WithBody(const std::string& body) {
  return "//  Number of dependents (output) variables = 1\n"
         "//  Number of predictors (input) variables = 1\n//  Dependents: y\n"
         "//  Independents: x\n//  Categorical variables: \n// \n#include <stdio.h>\n"
         "#include <unistd.h>\nint main(void) {" +
         body + "}\n";
}

TEST(CProgram, ThatDoesNotCompileOrAnswerIsToldOfAndLeavesNothingBehind) {
  const OwnTemporaryFolder folder;
  std::string error;
  EXPECT_EQ(Open(WithBody("no statement;"), error), nullptr);
  EXPECT_TRUE(error.starts_with("it does not compile:\n")) << error;
  EXPECT_NE(error.find("no"), std::string::npos);
  const struct {
    const char *body, *told;
  } rows[] = {
      {"return 0;", "the program ended"},
      {"for(;;) printf(\"no answer \");", "the program does not answer as generated programs do"},
      {"printf(\"KNN result:Output 1: blue for any input):\"); for(;;) sleep(1);",
       "the program's answer is no number for each dependent: Output 1: blue "},
  };
  for (const auto& row : rows) {
    const auto program = Open(WithBody(row.body), error);
    ASSERT_NE(program, nullptr) << error;
    const double input = 1;
    double predicted = 0;
    EXPECT_FALSE(program->Predict({&input, 1}, {&predicted, 1}, error)) << row.body;
    EXPECT_EQ(error, row.told);
  }
  EXPECT_TRUE(folder.IsEmpty());
}

TEST(CProgram, IsEndedAtItsTimeLimitAndByACancel) {
  std::string error;
  CHeader header;
  const std::string source = WithBody("for(;;) sleep(1);");
  ASSERT_TRUE(ReadCHeader(source, NoName, header, error));
  EXPECT_EQ(CProgram::Open(source, header, {.limit = std::chrono::milliseconds(0)}, error),
            nullptr);
  EXPECT_EQ(error, "compiling it took longer than the time limit");

  std::atomic<bool> cancel = false;
  const auto program = Open(source, error, {.cancel = &cancel});
  ASSERT_NE(program, nullptr) << error;
  std::thread canceller([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    cancel = true;
  });
  const double input = 1;
  double predicted = 0;
  EXPECT_FALSE(program->Predict({&input, 1}, {&predicted, 1}, error));
  EXPECT_EQ(error, "the program was cancelled");
  canceller.join();
}

/// Whether a process runs; one that has ended and that nobody has asked for does not.
bool Runs(const std::string& number) {
  std::ifstream file("/proc/" + std::to_string(std::atoi(number.c_str())) + "/stat");
  std::string id, name, state;
  return file >> id >> name >> state && state != "Z" && state != "X";
}

TEST(ChildProcess, IsTalkedToInTimeAndEndedWithWhatItStarted) {
  using Outcome = ChildProcess::Outcome;
  const fs::path folder = fs::temp_directory_path();
  std::string error, text;
  ChildProcess echo({.limit = std::chrono::milliseconds(20000)});
  ASSERT_TRUE(echo.Start({"cat"}, folder, true, "/dev/null", error)) << error;
  const std::string sent(300000, 'x');  // more than the pipes hold
  std::thread writer([&] { EXPECT_EQ(echo.Write(sent), Outcome::done); });
  while (text.size() < sent.size()) ASSERT_EQ(echo.Read(text), Outcome::done);
  writer.join();
  EXPECT_EQ(text, sent);

  ChildProcess silent({.limit = std::chrono::milliseconds(50)});
  const char* const script = "sleep 1000 & echo $!; sleep 1000";
  ASSERT_TRUE(silent.Start({"sh", "-c", script}, folder, true, "/dev/null", error));
  std::string number;
  while (number.find('\n') == std::string::npos && silent.Read(number) != Outcome::ended) {
  }
  EXPECT_EQ(silent.Read(text), Outcome::late);
  EXPECT_EQ(silent.Wait(), Outcome::late);
  EXPECT_TRUE(Runs(number));
  silent.End();
  for (int i = 0; i < 1000 && Runs(number); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_FALSE(Runs(number));

  ChildProcess failing({});
  ASSERT_TRUE(failing.Start({"false"}, folder, false, "/dev/null", error));
  EXPECT_EQ(failing.Wait(), Outcome::ended);
  ASSERT_TRUE(failing.Start({"true"}, folder, false, "/dev/null", error));
  EXPECT_EQ(failing.Wait(), Outcome::done);
  EXPECT_FALSE(failing.Start({"no-such-program"}, folder, false, "/dev/null", error));
  EXPECT_EQ(error, "no-such-program: No such file or directory");
}

}  // namespace
}  // namespace qrvml::test
