#include "cli/data_command.h"

#include <sstream>

#include "datafile/text_files.h"
#include "support/places.h"

namespace qrvml {
namespace {

struct Output {
  int status;
  std::string out, err;
};

Output RunCommand(const DataCommandOptions& options) {
  std::ostringstream out, err;
  const int status = RunDataCommand(options, out, err);
  return {status, out.str(), err.str()};
}

Output RunOn(std::string_view content, DataCommandOptions options = {}) {
  const TemporaryFile file(content);
  options.open.path = file.Path();
  Output output = RunCommand(options);
  const std::string name = std::filesystem::path(file.Path()).filename().string();
  if (output.out.starts_with(name)) output.out = "FILE" + output.out.substr(name.size());
  return output;
}

TEST(DataCommand, ShowsVariablesAndFirstCasesAlignedByCharacters) {
  DataCommandOptions options;
  options.head = 2;
  options.open.caseNames = "nom";
  const Output output = RunOn("nom,âge,sexe\nRenée,30,F\nBob,,M\nAna,45.5,F\n", options);
  EXPECT_EQ(output.status, 0);
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(output.out,
            "FILE: 3 variables, 3 cases\n"
            "\n"
            "No.  Name  Type        Missing code  Missing  Minimum  Maximum   Mean  Labels\n"
            "  1  nom   text               -9999        0        1        3         "
            "1=Ana, 2=Bob, 3=Renée\n"
            "  2  âge   continuous         -9999        1       30     45.5  37.75\n"
            "  3  sexe  text               -9999        0        1        2         1=F, 2=M\n"
            "\n"
            "Case  Case name  nom    âge  sexe\n"
            "   1  Renée      Renée   30  F\n"
            "   2  Bob        Bob         M\n");
}

TEST(DataCommand, CountsSelectedCasesAndWeighsTheMean) {
  DataCommandOptions options;
  options.open.select = "x < 10";
  options.open.weight = "w";
  options.head = 9;
  const Output output = RunOn("x,w\n1,1\n4,2\n7,\n10,5\n", options);
  EXPECT_EQ(output.status, 0) << output.err;
  EXPECT_TRUE(output.out.starts_with("FILE: 2 variables, 4 cases, 3 selected, weighted by w\n"));
  // (1 * 1 + 2 * 4 + 0 * 7) / 3
  EXPECT_NE(
      output.out.find("  1  x     continuous         -9999        0        1        7         3\n"),
      std::string::npos)
      << output.out;
  EXPECT_NE(output.out.find("   3       0  7"), std::string::npos) << output.out;
  EXPECT_EQ(output.out.find("   4  "), std::string::npos) << output.out;
}

TEST(DataCommand, SaysWhenThereAreNoCasesOrTooManyCategories) {
  const Output none = RunOn("a,b\n");
  EXPECT_EQ(none.status, 0);
  EXPECT_NE(none.out.find("0 cases (the file holds names only; no analysis is possible)"),
            std::string::npos);
  std::string content = "t,x\n";
  for (int i = 0; i < 501; ++i) content += std::to_string(i) + "th,1\n";
  const Output many = RunOn(content);
  EXPECT_NE(many.out.find("Note: t holds 501 different texts"), std::string::npos);
  EXPECT_NE(many.out.find("… (501 labels)"), std::string::npos);
}

TEST(DataCommand, ControlCharactersOfTheFileDoNotReachTheTerminal) {
  const Output output = RunOn("a\x1B[31m,b\n\"x\ny\x07\",1\n");
  EXPECT_EQ(output.status, 0);
  EXPECT_EQ(output.out.find_first_of("\x1B\x07"), std::string::npos);
}

TEST(DataCommand, ARefusalGoesToStandardErrorAlone) {
  DataCommandOptions options;
  options.open.path = std::string(kTestData) + "/short_row.csv";
  const Output output = RunCommand(options);
  EXPECT_EQ(output.status, 1);
  EXPECT_EQ(output.out, "");
  EXPECT_NE(output.err.find("short_row.csv, line 3, column 3: the row has 2 fields instead of 3."),
            std::string::npos)
      << output.err;
}

}  // namespace
}  // namespace qrvml
