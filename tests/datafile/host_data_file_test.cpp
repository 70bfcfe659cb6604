#include "datafile/host_data_file.h"

#include <cmath>
#include <limits>

#include "datafile/open_options.h"
#include "datafile/text_files.h"

namespace qrvml {
namespace {

std::unique_ptr<HostDataFile> Open(std::string_view content, OpenOptions options = {}) {
  const TemporaryFile file(content);
  options.path = file.Path();
  std::unique_ptr<HostDataFile> opened;
  FileError error;
  EXPECT_TRUE(OpenDataFile(options, opened, error)) << error.Text();
  return opened;
}

std::string Refusal(std::string_view content, OpenOptions options) {
  const TemporaryFile file(content);
  options.path = file.Path();
  std::unique_ptr<HostDataFile> opened;
  FileError error;
  EXPECT_FALSE(OpenDataFile(options, opened, error));
  EXPECT_EQ(opened, nullptr);
  return error.Text();
}

constexpr std::string_view kPeople = "name,age,sex,w\nAnn,30,F,2\nBob,,M,0.5\n,41,M,\nDan,99,,1\n";

struct Delivered {
  CaseStatus status;
  std::vector<double> values;  // without the unused one at 0
  double weight;
  std::string name;
};

Delivered Read(HostDataFile& file, int caseNumber) {
  std::vector<double> values(static_cast<std::size_t>(file.NumberOfVariables()) + 1, -1);
  CaseInfo info;
  Delivered read;
  read.status = file.cstrtw(caseNumber, values.data(), info);
  EXPECT_EQ(values[0], -1) << "the place before the first variable is left alone";
  read.values.assign(values.begin() + 1, values.end());
  read.weight = info.weight;
  read.name = info.name;
  return read;
}

TEST(HostDataFile, DeliversValuesWeightsAndNames) {
  auto file = Open(kPeople, {.weight = "w", .caseNames = "name"});
  const Delivered ann = Read(*file, 1), bob = Read(*file, 2), nameless = Read(*file, 3);
  EXPECT_EQ(ann.values, (std::vector<double>{1, 30, 1, 2}));
  EXPECT_EQ(ann.weight, 2);
  EXPECT_EQ(ann.name, "Ann");
  EXPECT_EQ(bob.values, (std::vector<double>{2, -9999, 2, 0.5}));
  EXPECT_EQ(bob.weight, 0.5);
  EXPECT_EQ(nameless.weight, 0) << "a missing weight";
  EXPECT_EQ(nameless.name, "");
  EXPECT_EQ(file->getlab(4), "Dan");
  EXPECT_EQ(file->getvn5(2), "age");
  EXPECT_EQ(file->getmd5(2), -9999);
  EXPECT_TRUE(file->IsWeightInForce());
  EXPECT_FALSE(file->IsSpecialFormatVariable(2));

  auto plain = Open(kPeople);
  EXPECT_EQ(Read(*plain, 2).weight, 1);
  EXPECT_EQ(Read(*plain, 2).name, "");
  EXPECT_EQ(plain->getlab(2), "");
  EXPECT_FALSE(plain->IsWeightInForce());
  auto numbered = Open(kPeople, {.caseNames = "2"});
  EXPECT_EQ(Read(*numbered, 1).name, "30");
  EXPECT_EQ(numbered->getlab(2), "");
}

// More cases than one block of the reader and of the row cache, in three orders.
TEST(HostDataFile, AnyOrderOfReadingGivesTheSameCases) {
  std::string content = "a,b,c,d,e,f,g,h,i,j\n";
  constexpr int kCases = 60000;
  for (int i = 1; i <= kCases; ++i) {
    for (int j = 0; j < 10; ++j) content += std::to_string(i * 10 + j) + (j < 9 ? ',' : '\n');
  }
  auto file = Open(content);
  ASSERT_GT(file->Table().NumberOfChunks(), 2u);
  std::vector<double> values(11);
  const auto expectCase = [&](int number) {
    ASSERT_EQ(file->cstart(number, values.data()), CaseStatus::delivered);
    for (int j = 0; j < 10; ++j) {
      ASSERT_EQ(values[static_cast<std::size_t>(j) + 1], number * 10 + j) << "case " << number;
    }
  };
  for (int i = 1; i <= kCases; ++i) expectCase(i);
  for (int i = kCases; i >= 1; i -= 7) expectCase(i);
  for (int i = 0, number = 1; i < kCases; ++i, number = (number * 7919) % 60013) {
    if (number <= kCases) expectCase(number);
  }
}

TEST(HostDataFile, LabelsAreFoundBySinglePrecisionCodes) {
  auto file = Open("t,x\nlow,1\nhigh,2\n");
  std::string label = "untouched";
  EXPECT_EQ(file->vvlcod(1, 2.0f, label), 0);
  EXPECT_EQ(label, "low");
  label = "untouched";
  for (const auto& [variable, code] :
       {std::pair{1, 3.0f}, {1, 0.0f}, {1, 1.5f}, {1, -9999.0f}, {2, 1.0f}}) {
    EXPECT_NE(file->vvlcod(variable, code, label), 0) << variable << " " << code;
    EXPECT_EQ(label, "untouched");
  }
}

TEST(HostDataFile, AMissingCodeOfTheUserTakesValuesAndEmptyCells) {
  auto file = Open(kPeople, {.missing = {"age=99", "sex=M"}});
  EXPECT_EQ(file->getmd5(2), 99);
  EXPECT_EQ(ShownCells(file->Table(), 2), "30 . 41 .");
  EXPECT_EQ(file->getmd5(3), 2);
  EXPECT_EQ(ShownCells(file->Table(), 3), "F . . .");

  FileError error;
  const std::uint64_t before = file->Revision();
  ASSERT_TRUE(file->SetMissingCode(2, -1, error));
  EXPECT_GT(file->Revision(), before);
  EXPECT_EQ(ShownCells(file->Table(), 2), "30 . 41 99") << "99 is a value again";
  EXPECT_EQ(Read(*file, 2).values[1], -1);
  ASSERT_TRUE(file->SetMissingCode(2, 30, error));
  EXPECT_EQ(ShownCells(file->Table(), 2), ". . 41 99");
  EXPECT_FALSE(file->SetMissingCode(2, std::nan(""), error));
  EXPECT_FALSE(file->SetMissingCode(2, std::numeric_limits<double>::infinity(), error));
  EXPECT_EQ(file->getmd5(2), 30);
}

TEST(HostDataFile, RefusalsNameVariableAndReason) {
  struct Row {
    OpenOptions options;
    const char* reason;
  };
  const Row rows[] = {
      {{.weight = "sex"}, "\"sex\" holds texts and cannot be a case weight"},
      {{.weight = "mass"}, "there is no variable \"mass\""},
      {{.weight = "5"}, "there is no variable number 5"},
      {{.caseNames = "0"}, "there is no variable number 0"},
      {{.caseNames = "\"2\""}, "there is no variable \"2\""},
      {{.missing = {"age"}}, "is written VARIABLE=CODE"},
      {{.missing = {"age=old"}}, "\"old\" is no code of the variable \"age\""},
      {{.missing = {"years=1"}}, "there is no variable \"years\""},
      {{.missing = {"age=1e999"}}, "is no code of the variable \"age\""},
      {{.delimiter = "a"}, "the delimiter \"a\" is refused"},
      {{.decimal = ";"}, "the decimal mark \";\" is refused"},
      {{.encoding = "ebcdic"}, "the encoding \"ebcdic\" is not known"},
      {{.select = "age >"}, "the selection condition (age >) is refused"},
  };
  for (const Row& row : rows) {
    const std::string text = Refusal(kPeople, row.options);
    EXPECT_NE(text.find(row.reason), std::string::npos) << text;
  }
}

TEST(HostDataFile, VariablesAreNamedByNameOrNumber) {
  auto file = Open("2,b,\"c \"\"d\"\"\",a=b\n10,20,30,40\n");
  FileError error;
  const std::pair<const char*, int> names[] = {{"2", 2},       {"\"2\"", 1},           {" b ", 2},
                                               {"c \"d\"", 3}, {"\"c \"\"d\"\"\"", 3}, {"4", 4}};
  for (const auto& [text, number] : names) {
    int variable = 0;
    EXPECT_TRUE(file->FindVariable(text, variable, error)) << text << ": " << error.Text();
    EXPECT_EQ(variable, number) << text;
  }
  EXPECT_EQ(Open("a=b,c\n7,1\n", {.missing = {"a=b=7"}})->getmd5(1), 7);
}

TEST(HostDataFile, SelectionSkipsCasesAndFollowsMissingCodes) {
  auto file = Open(kPeople, {.select = "age > 35"});
  EXPECT_EQ(file->NumberOfSelectedCases(), 2);
  EXPECT_EQ(Read(*file, 1).status, CaseStatus::skip);
  EXPECT_EQ(Read(*file, 1).values, std::vector<double>(4, -1)) << "a skipped case is left alone";
  EXPECT_EQ(Read(*file, 2).status, CaseStatus::skip) << "a missing age";
  EXPECT_EQ(Read(*file, 3).status, CaseStatus::delivered);
  EXPECT_EQ(Read(*file, 4).status, CaseStatus::delivered);
  FileError error;
  ASSERT_TRUE(file->SetMissingCode(2, 99, error));
  EXPECT_EQ(Read(*file, 4).status, CaseStatus::skip) << "99 is missing now";
  EXPECT_FALSE(file->SetSelection("nonsense(", error));
  EXPECT_EQ(file->Selection(), "age > 35");
  ASSERT_TRUE(file->SetSelection(" ", error));
  EXPECT_EQ(file->NumberOfSelectedCases(), 4);
  EXPECT_EQ(Read(*file, 1).status, CaseStatus::delivered);
}

TEST(HostDataFile, EveryChangeRaisesTheRevisionAndARefusalDoesNot) {
  auto file = Open(kPeople);
  FileError error;
  const std::uint64_t opened = file->Revision();
  ASSERT_TRUE(file->SetWeight(4, error));
  const std::uint64_t afterWeight = file->Revision();
  ASSERT_TRUE(file->SetSelection("age > 0", error));
  const std::uint64_t afterSelection = file->Revision();
  file->SetCaseNames(1);
  const std::uint64_t afterNames = file->Revision();
  ASSERT_TRUE(file->SetMissingCode(2, 1, error));
  EXPECT_LT(opened, afterWeight);
  EXPECT_LT(afterWeight, afterSelection);
  EXPECT_LT(afterSelection, afterNames);
  EXPECT_LT(afterNames, file->Revision());
  const std::uint64_t last = file->Revision();
  EXPECT_FALSE(file->SetWeight(1, error));
  EXPECT_FALSE(file->SetSelection("1; 2", error));
  EXPECT_EQ(file->Revision(), last);
  EXPECT_EQ(file->WeightVariable(), 4);
}

TEST(HostDataFile, TheHookIsCalledEveryFewHundredCasesAndCanStop) {
  std::string content = "x\n";
  for (int i = 0; i < 5000; ++i) content += "1\n";
  auto file = Open(content, {.select = "false"});
  std::vector<int> asked;
  file->SetPassHook([&](int number) {
    asked.push_back(number);
    return number > 2000;
  });
  double values[2] = {};
  int number = 1;
  while (file->cstart(number, values) == CaseStatus::skip) ++number;
  EXPECT_EQ(file->cstart(number, values), CaseStatus::skip) << "a stop ends one pass only";
  EXPECT_GT(number, 2000);
  EXPECT_LT(number, 3000);
  ASSERT_GE(asked.size(), 3u);
  for (std::size_t i = 1; i < asked.size(); ++i) {
    EXPECT_LE(asked[i] - asked[i - 1], 1000);
    EXPECT_GE(asked[i] - asked[i - 1], 100);
  }
}

TEST(HostDataFile, TheFileTextIsTheNameWithoutItsFolder) {
  EXPECT_EQ(HostDataFile(DataTable(), "some/folder/iris.csv").DataFileText(), "iris.csv");
  EXPECT_EQ(HostDataFile(DataTable(), "iris.csv").DataFileText(), "iris.csv");
}

TEST(HostDataFile, DatesAreDaysSince1899) {
  DataTable table;
  table.AddVariable("day").format = DisplayFormat::date;
  table.AddVariable("moment").format = DisplayFormat::dateTime;
  table.AddVariable("time").format = DisplayFormat::time;
  const HostDataFile file(std::move(table), "");
  EXPECT_TRUE(file.IsSpecialFormatVariable(3));
  EXPECT_TRUE(file.IsDateVar(1));
  EXPECT_FALSE(file.IsDateVar(3));
  EXPECT_EQ(file.WriteSpecialFormatVariable(1, 0, 0), "1899-12-30");
  EXPECT_EQ(file.WriteSpecialFormatVariable(1, 25569, 12), "  1970-01-01");
  EXPECT_EQ(file.WriteSpecialFormatVariable(1, -1, 0), "1899-12-29");
  EXPECT_EQ(file.WriteSpecialFormatVariable(2, 45351.75, 0), "2024-02-29 18:00:00");
  EXPECT_EQ(file.WriteSpecialFormatVariable(2, 45351.999999, 0), "2024-03-01 00:00:00");
  EXPECT_EQ(file.WriteSpecialFormatVariable(3, 0.5, 0), "12:00:00");
}

}  // namespace
}  // namespace qrvml
