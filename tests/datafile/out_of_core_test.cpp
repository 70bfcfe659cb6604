// Data files that are larger than the memory they may take.
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

#include "datafile/data_file_writer.h"
#include "datafile/open_options.h"
#include "datafile/saved_files.h"
#include "datafile/text_files.h"

namespace qrvml {
namespace {

constexpr std::size_t kLittle = 4096;  // bytes: next to nothing is kept in memory

/// Numbers, empty cells, a column whose texts begin late, and a column that holds -9999.
std::string MixedText(int cases) {
  std::mt19937_64 random(11);
  std::string text = "number,late,held\n";
  for (int i = 1; i <= cases; ++i) {
    text += i % 7 == 0 ? "" : std::to_string(static_cast<double>(random() % 100000) / 8);
    text += i < cases - 100 ? "," + std::to_string(i % 13) : ",text é " + std::to_string(i % 5);
    text += i % 1000 == 3 ? ",-9999\n" : i % 11 == 0 ? ",\n" : "," + std::to_string(i) + "\n";
  }
  return text;
}

void ExpectEqualTables(const DataTable& a, const DataTable& b) {
  ASSERT_EQ(a.NumberOfVariables(), b.NumberOfVariables());
  ASSERT_EQ(a.NumberOfCases(), b.NumberOfCases());
  for (int variable = 1; variable <= a.NumberOfVariables(); ++variable) {
    EXPECT_EQ(a.At(variable).missingCode, b.At(variable).missingCode);
    ASSERT_EQ(a.At(variable).labels.size(), b.At(variable).labels.size());
    for (std::size_t i = 0; i < a.At(variable).labels.size(); ++i) {
      ASSERT_EQ(a.At(variable).labels[i].text, b.At(variable).labels[i].text);
    }
    EXPECT_TRUE(Cells(a, variable) == Cells(b, variable)) << variable;
  }
}

class EveryFormatOnDisk : public ::testing::TestWithParam<const char*> {};

TEST_P(EveryFormatOnDisk, HoldsWhatItHoldsInMemory) {
  const TemporaryFolder folder;
  const Reading source = ReadText(MixedText(20000));
  ASSERT_TRUE(source.ok) << source.error.Text();
  const std::string path = folder.File(GetParam());
  FileError error;
  std::vector<SavedVariable> variables(3);
  for (int v = 1; v <= 3; ++v)
    variables[static_cast<std::size_t>(v - 1)].about = source.table.At(v);
  DataFileWriter writer;
  ASSERT_TRUE(writer.Begin(path, false, variables, error)) << error.Text();
  for (int i = 1; i <= source.table.NumberOfCases(); ++i) {
    const double row[] = {source.table.Value(i, 1), source.table.Value(i, 2),
                          source.table.Value(i, 3)};
    ASSERT_TRUE(writer.Append(row, error)) << error.Text();
  }
  ASSERT_TRUE(writer.Finish(error)) << error.Text();

  ReadOptions little;
  little.memory = kLittle;
  const Reading inMemory = ReadPath(path), onDisk = ReadPath(path, little);
  ASSERT_TRUE(inMemory.ok && onDisk.ok) << onDisk.error.Text();
  ExpectEqualTables(inMemory.table, onDisk.table);
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormatOnDisk,
                         ::testing::Values("d.csv", "d.parquet", "d.qrv", "d.sav", "d.xlsx"));

TEST(OutOfCore, CodesSelectionAndRowsWorkOnChunksOfTheDisk) {
  const TemporaryFile file(MixedText(300000));
  std::unique_ptr<HostDataFile> memory, disk;
  FileError error;
  OpenOptions options{.path = file.Path(), .missing = {"held=6"}, .select = "number > 600"};
  ASSERT_TRUE(OpenDataFile(options, memory, error)) << error.Text();
  options.memory = "1M";
  ASSERT_TRUE(OpenDataFile(options, disk, error)) << error.Text();
  ExpectEqualTables(memory->Table(), disk->Table());
  EXPECT_GT(disk->NumberOfSelectedCases(), 100000);
  std::mt19937_64 random(3);
  double a[4], b[4];
  for (int step = 0; step < 2000; ++step) {
    const int first = static_cast<int>(random() % 299000) + 1;
    for (int i = first; i < first + 20; ++i) {
      ASSERT_EQ(memory->cstart(i, a), disk->cstart(i, b)) << i;
      if (!memory->IsSelected(i)) continue;
      for (int v = 1; v <= 3; ++v) ASSERT_EQ(a[v], b[v]) << i;
    }
  }
}

/// Kilobytes of mapped files that the program holds in memory.
long HeldOfFiles() {
  std::ifstream status("/proc/self/status");
  long kilobytes = 0;
  for (std::string word; status >> word;) {
    long amount = 0;
    if ((word == "RssFile:" || word == "RssShmem:") && status >> amount) kilobytes += amount;
  }
  return kilobytes;
}

TEST(OutOfCore, OnlyTheChunksInUseAreHeld) {
  constexpr int kCases = 1000000;  // three columns: 24 MB
  std::string text = "a,b,c\n";
  for (int i = 0; i < kCases; ++i) text += std::to_string(i) + ",2,\n";
  const TemporaryFile file(text);
  const long before = HeldOfFiles();
  ReadOptions options;
  options.memory = 1 << 20;
  const Reading read = ReadPath(file.Path(), options);
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_LT(HeldOfFiles() - before, 12000);
  double sum = 0;
  long most = 0;
  for (int i = 1; i <= kCases; ++i) {
    sum += read.table.Value(i, 1);
    if (i % 50000 == 0) most = std::max(most, HeldOfFiles() - before);
  }
  EXPECT_EQ(sum, 0.5 * kCases * (kCases - 1));
  EXPECT_LT(most, 14000);
}

/// Sets TMPDIR for as long as it lives.
class TemporaryFolderIs {
 public:
  explicit TemporaryFolderIs(const std::string& folder) {
    if (const char* old = std::getenv("TMPDIR")) old_ = old;
    ::setenv("TMPDIR", folder.c_str(), 1);
  }
  ~TemporaryFolderIs() {
    old_.empty() ? ::unsetenv("TMPDIR") : ::setenv("TMPDIR", old_.c_str(), 1);
  }

 private:
  std::string old_;
};

TEST(OutOfCore, ATemporaryFolderWithoutSpaceIsNamed) {
  const TemporaryFile file(MixedText(5000));
  ReadOptions options;
  options.memory = kLittle;
  {
    const TemporaryFolderIs missing("/no/such/folder");
    const Reading read = ReadPath(file.Path(), options);
    EXPECT_FALSE(read.ok);
    EXPECT_NE(read.error.Text().find("/no/such/folder: No such file"), std::string::npos)
        << read.error.Text();
    EXPECT_NE(read.error.Text().find("TMPDIR"), std::string::npos);
  }
  const TemporaryFolder folder;
  const TemporaryFolderIs full(folder.File(""));
  const auto old = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit limits = {};
  ::getrlimit(RLIMIT_FSIZE, &limits);
  const struct rlimit small = {1 << 20, limits.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  const Reading read = ReadPath(file.Path(), options);
  ::setrlimit(RLIMIT_FSIZE, &limits);
  std::signal(SIGXFSZ, old);
  EXPECT_FALSE(read.ok);
  EXPECT_NE(read.error.Text().find("cannot be kept in"), std::string::npos) << read.error.Text();
  EXPECT_EQ(folder.Names(), "");
}

TEST(OutOfCore, AnAmountOfMemoryIsAWholeNumberWithItsUnit) {
  const TemporaryFile file("a\n1\n2\n");
  std::unique_ptr<HostDataFile> opened;
  FileError error;
  for (const char* right : {"1K", "500M", "4g"}) {
    EXPECT_TRUE(OpenDataFile({.path = file.Path(), .memory = right}, opened, error)) << right;
  }
  for (const char* wrong : {"0M", "1", "M", "1.5G", "-1G", "1 G", "1GB", "99999999999999999999G"}) {
    EXPECT_FALSE(OpenDataFile({.path = file.Path(), .memory = wrong}, opened, error)) << wrong;
    EXPECT_NE(error.Text().find("K, M or G"), std::string::npos) << error.Text();
  }
}

}  // namespace
}  // namespace qrvml
