// The files of the shelf tests/data/damaged/ and why each is refused.
#pragma once

namespace qrvml {

struct DamagedFile {
  const char* name;
  const char* what;  // part of the message
};

inline constexpr const char* kCut = "the file cannot be read: unable to read from file";

inline constexpr DamagedFile kDamagedFiles[] = {
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
inline constexpr const char* kReadAllTheSame = "labels_of_nothing.sav";

}  // namespace qrvml
