// A saved data file is whole or not there at all, in every format.
#include "datafile/data_file_writer.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <random>

#include "datafile/saved_files.h"

namespace qrvml {
namespace {

constexpr const char* kTargets[] = {"d.qrv", "d.parquet", "d.csv", "d.sav", "d.xlsx"};
constexpr const char* kOld = "what was there before";

class EveryFormat : public ::testing::TestWithParam<const char*> {
 protected:
  std::string Target() const { return folder_.File(GetParam()); }
  bool Begin(DataFileWriter& writer, bool overwrite) {
    std::vector<SavedVariable> variables(3);
    for (int i = 0; i < 3; ++i)
      variables[i].about.name = std::string(1, static_cast<char>('a' + i));
    return writer.Begin(Target(), overwrite, variables, error_);
  }
  /// Appends rows that no format can pack; how many were taken.
  int AppendRows(DataFileWriter& writer, int rows) {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> draw;
    for (int row = 0; row < rows; ++row) {
      if (!writer.Append({{draw(random), draw(random), draw(random)}}, error_)) return row;
    }
    return rows;
  }

  TemporaryFolder folder_;
  FileError error_;
};

TEST_P(EveryFormat, AnExistingFileIsRefusedUnlessItMayBeReplaced) {
  Write(Target(), kOld);
  ::chmod(Target().c_str(), 0640);
  DataFileWriter writer;
  EXPECT_FALSE(Begin(writer, false));
  EXPECT_NE(error_.Text().find("exists"), std::string::npos) << error_.Text();
  EXPECT_NE(error_.Text().find("--overwrite"), std::string::npos) << error_.Text();
  EXPECT_EQ(Content(Target()), kOld);

  ASSERT_TRUE(Begin(writer, true)) << error_.Text();
  EXPECT_EQ(AppendRows(writer, 5000), 5000);
  EXPECT_EQ(Content(Target()), kOld);
  ASSERT_TRUE(writer.Finish(error_)) << error_.Text();
  EXPECT_NE(Content(Target()), kOld);
  EXPECT_EQ(folder_.Names(), GetParam());
  struct stat about;
  ASSERT_EQ(::stat(Target().c_str(), &about), 0);
  EXPECT_EQ(about.st_mode & 0777, 0640u);
}

TEST_P(EveryFormat, AFileThatAppearsMeanwhileIsNotReplaced) {
  DataFileWriter writer;
  ASSERT_TRUE(Begin(writer, false));
  AppendRows(writer, 10);
  Write(Target(), kOld);
  EXPECT_FALSE(writer.Finish(error_));
  EXPECT_EQ(Content(Target()), kOld);
  EXPECT_EQ(folder_.Names(), GetParam());
}

TEST_P(EveryFormat, AnAbandonedSaveLeavesNothing) {
  {
    DataFileWriter writer;
    ASSERT_TRUE(Begin(writer, false));
    AppendRows(writer, 10000);
    EXPECT_NE(folder_.Names(), "");
  }
  EXPECT_EQ(folder_.Names(), "");
  Write(Target(), kOld);
  DataFileWriter writer;
  ASSERT_TRUE(Begin(writer, true));
  AppendRows(writer, 10);
  writer.Abandon();
  EXPECT_FALSE(writer.Finish(error_));
  EXPECT_EQ(Content(Target()), kOld);
  EXPECT_EQ(folder_.Names(), GetParam());
}

TEST_P(EveryFormat, AFullDiskLeavesTheOldFileAndNothingElse) {
  Write(Target(), kOld);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit unlimited, full;
  ::getrlimit(RLIMIT_FSIZE, &unlimited);
  full = unlimited;
  // Room for the first pages of every format and for none of them as a whole.
  full.rlim_cur = 200'000;
  DataFileWriter writer;
  const bool begun = Begin(writer, true);
  ::setrlimit(RLIMIT_FSIZE, &full);
  const bool finished = AppendRows(writer, 100'000) == 100'000 && writer.Finish(error_);
  ::setrlimit(RLIMIT_FSIZE, &unlimited);
  std::signal(SIGXFSZ, handler);
  EXPECT_TRUE(begun);
  EXPECT_FALSE(finished);
  EXPECT_FALSE(error_.what.empty());
  EXPECT_EQ(Content(Target()), kOld);
  EXPECT_EQ(folder_.Names(), GetParam());
}

TEST_P(EveryFormat, AProgramThatIsKilledLeavesTheOldFileAndAFolderThatSaysWhatItIs) {
  Write(Target(), kOld);
  const pid_t child = ::fork();
  if (child == 0) {
    DataFileWriter writer;
    const bool ready = Begin(writer, true) && AppendRows(writer, 10000) == 10000;
    ::_exit(ready ? 0 : 1);
  }
  int status = 1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(Content(Target()), kOld);
  const std::string begin = std::string(GetParam()) + ' ' + GetParam() + ".incomplete-";
  EXPECT_EQ(folder_.Names().substr(0, begin.size()), begin);
  EXPECT_EQ(folder_.Names().size(), begin.size() + 6);
}

TEST_P(EveryFormat, AFileWithoutCasesCanBeSaved) {
  DataFileWriter writer;
  ASSERT_TRUE(Begin(writer, false));
  EXPECT_TRUE(writer.Finish(error_)) << error_.Text();
  EXPECT_EQ(folder_.Names(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Saving, EveryFormat, ::testing::ValuesIn(kTargets),
                         [](const auto& tested) { return std::string(tested.param).substr(2); });

std::string Refusal(const std::string& path, bool overwrite = true) {
  DataFileWriter writer;
  std::vector<SavedVariable> variables(1);
  variables[0].about.name = "a";
  FileError error;
  EXPECT_FALSE(writer.Begin(path, overwrite, variables, error)) << path;
  return error.Text();
}

TEST(SavedFile, TargetsThatCannotBeWrittenAreRefusedAtOnce) {
  TemporaryFolder folder;
  Write(folder.File("file"), kOld);
  std::filesystem::create_directory(folder.File("folder.csv"));
  std::filesystem::create_symlink("nowhere.csv", folder.File("link.csv"));
  ::mkfifo(folder.File("pipe.csv").c_str(), 0600);
  const std::string before = folder.Names();
  for (const auto& [name, reason] : std::vector<std::pair<std::string, std::string>>{
           {"d", ".qrv, .parquet, .csv, .sav or .xlsx"},
           {"d.xls", ".qrv, .parquet, .csv, .sav or .xlsx"},
           {"none/d.csv", "there is no folder"},
           {"file/d.csv", "there is no folder"},
           {"folder.csv", "is a folder"},
           {"link.csv", "leads nowhere"},
           {"pipe.csv", "no ordinary file"},
           {std::string(300, 'x') + ".csv", "annot be written"}}) {
    const std::string text = Refusal(folder.File(name));
    EXPECT_NE(text.find(reason), std::string::npos) << text;
    EXPECT_NE(text.find(name), std::string::npos) << text;
  }
  EXPECT_NE(Refusal("").find("format"), std::string::npos);
  EXPECT_EQ(folder.Names(), before);
}

TEST(SavedFile, AFolderThatCannotBeWrittenIntoIsTold) {
  // Not even root makes a folder there.
  const std::string text = Refusal("/proc/d.csv");
  EXPECT_NE(text.find("nothing can be written into /proc"), std::string::npos) << text;
}

TEST(SavedFile, ALinkStaysAndTheFileBehindItIsReplaced) {
  TemporaryFolder folder;
  Write(folder.File("real.csv"), kOld);
  std::filesystem::create_symlink("real.csv", folder.File("link.csv"));
  DataFileWriter writer;
  std::vector<SavedVariable> variables(1);
  variables[0].about.name = "a";
  FileError error;
  ASSERT_TRUE(writer.Begin(folder.File("link.csv"), true, variables, error)) << error.Text();
  ASSERT_TRUE(writer.Append({{1.0}}, error));
  ASSERT_TRUE(writer.Finish(error)) << error.Text();
  EXPECT_TRUE(std::filesystem::is_symlink(folder.File("link.csv")));
  EXPECT_EQ(Content(folder.File("real.csv")), "a\n1\n");
}

TEST(SavedFile, TheLongestNameThatAFolderTakesIsFine) {
  TemporaryFolder folder;
  std::string name(1, 'x');
  while (name.size() < 251) name += "é";
  name += ".csv";
  ASSERT_EQ(name.size(), 255u);
  DataFileWriter writer;
  std::vector<SavedVariable> variables(1);
  variables[0].about.name = "a";
  FileError error;
  ASSERT_TRUE(writer.Begin(folder.File(name), false, variables, error)) << error.Text();
  ASSERT_TRUE(writer.Finish(error)) << error.Text();
  EXPECT_EQ(folder.Names(), name);
}

TEST(SavedFile, NamesOfVariablesThatAreToldAreAFew) {
  std::vector<std::string> names;
  EXPECT_EQ(NameList(names), "");
  for (const char* name : {"a", "b", "c", "d", "e", "f"}) names.emplace_back(name);
  EXPECT_EQ(NameList({names.data(), 2}), "\"a\" and \"b\"");
  EXPECT_EQ(NameList(names), "\"a\", \"b\", \"c\", \"d\", \"e\" and \"f\"");
  names.emplace_back("g");
  EXPECT_EQ(NameList(names), "\"a\", \"b\", \"c\", \"d\", \"e\" and 2 more");
}

}  // namespace
}  // namespace qrvml
