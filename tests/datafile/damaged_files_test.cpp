// The shelf tests/data/damaged/: files of every format that are cut, misnamed or contradictory.
#include <set>

#include "datafile/format_files.h"

namespace qrvml {
namespace {

struct DamagedFile {
  const char* name;
  const char* what;  // part of the message
};

constexpr const char* kCut = "the file cannot be read: unable to read from file";

constexpr DamagedFile kDamagedFiles[] = {
    {"half.sav", kCut},
    {"half.zsav", kCut},
    {"half.por", kCut},
    {"half.dta", kCut},
    {"half.sas7bdat", kCut},
    {"half.xpt", "its last record is incomplete"},
    {"half.parquet", "the file cannot be read: Invalid Input Error: No magic bytes found"},
    {"half.xlsx", "the Excel workbook cannot be opened: Not a zip archive"},
    {"start.qrv", "the database file cannot be opened: IO Error"},
    {"text.sav", "this is not an SPSS file, though its name ends in .sav"},
    {"text.zsav", "this is not a compressed SPSS file, though its name ends in .zsav"},
    {"text.por", kCut},
    {"text.dta", kCut},
    {"text.sas7bdat", "this is not a SAS file, though its name ends in .sas7bdat"},
    {"text.xpt", "this is not a SAS transport file, though its name ends in .xpt"},
    {"text.parquet", "too small to be a Parquet file"},
    {"text.xlsx", "this is not an Excel workbook, though its name ends in .xlsx"},
    {"text.qrv", "this is not a data file of the workbench, though its name ends in .qrv"},
    {"text.duckdb", "this is not a database of DuckDB, though its name ends in .duckdb"},
    {"archive.xlsx", "this is a ZIP archive, but no Excel workbook"},
    {"name_twice.sav", "columns 1 and 2 have the same name \"first\""},
    {"name_twice.parquet", "columns 1 and 2 have the same name \"name_1\""},
    {"name_twice.xlsx", "columns 1 and 2 have the same name \"x\""},
    {"text_of_nothing.xlsx", "cell A2 names the text 9 of 4"},
};

/// A table of labels that belongs to no variable labels none; the rest of the file is sound.
constexpr const char* kReadAllTheSame = "labels_of_nothing.sav";

std::string OnShelf(const std::string& name) {
  return std::string(QRVML_TEST_DATA) + "/damaged/" + name;
}

TEST(DamagedFiles, AreRefusedWithTheReasonAndAWayOut) {
  for (const DamagedFile& file : kDamagedFiles) {
    const Reading read = ReadPath(OnShelf(file.name));
    EXPECT_FALSE(read.ok) << file.name;
    EXPECT_NE(read.error.what.find(file.what), std::string::npos)
        << file.name << ": " << read.error.Text();
    EXPECT_FALSE(read.error.right.empty()) << file.name;
    EXPECT_EQ(read.error.file, OnShelf(file.name));
  }
}

TEST(DamagedFiles, LabelsThatBelongToNothingDoNoHarm) {
  const Reading read = ReadPath(OnShelf(kReadAllTheSame));
  ASSERT_TRUE(read.ok) << read.error.Text();
  EXPECT_EQ(Cells(read.table, 1), (std::vector<double>{1, 99, 99, 99}));
  EXPECT_EQ(ShownLabels(read.table, 1), "");
  EXPECT_EQ(ShownCells(read.table, 3), "Zürich . Bern Aarau");
}

TEST(DamagedFiles, EachFileOfTheShelfHasItsRow) {
  std::set<std::string> known = {kReadAllTheSame}, found;
  for (const DamagedFile& file : kDamagedFiles) known.insert(file.name);
  for (const auto& entry : std::filesystem::directory_iterator(OnShelf(""))) {
    found.insert(entry.path().filename().string());
  }
  EXPECT_EQ(found, known);
}

}  // namespace
}  // namespace qrvml
