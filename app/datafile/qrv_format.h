// The layout of a .qrv file, the workbench's own data file: a database file of DuckDB (storage of
// its version 1.x) with four tables. It keeps everything that an open data file knows.
//
//   qrv        one row: the version of this layout.
//   variables  one row per variable, `number` 1, 2, ... without gaps: name (unique, UTF-8), long
//              name (may be empty), missing-data code (finite), display format (kQrvFormats) and
//              whether the cells are codes made from texts. The codes of such a variable are 1, 2,
//              ... in the byte order of the texts, and each of them has its text in `labels`.
//   labels     one row per text of a code; ascending by variable, then code.
//   cases      one DOUBLE column per variable, named v1, v2, ... by its number, since a database
//              takes names that differ in case only for equal. One row per case, in the order of
//              rowid. A missing cell is NULL; no cell holds a NaN or its variable's missing code.
//
// A reader refuses a file without the table `qrv` and one with a version above its own. Tables and
// columns beyond these are left alone.
#pragma once

#include <string>
#include <string_view>

#include "datafile/data_table.h"

namespace qrvml {

inline constexpr int kQrvVersion = 1;

/// The statements that make the tables, `cases` excepted.
inline constexpr const char* kQrvTables[] = {
    "CREATE TABLE qrv (version INTEGER NOT NULL)",
    "CREATE TABLE variables (number INTEGER NOT NULL, name VARCHAR NOT NULL, "
    "long_name VARCHAR NOT NULL, missing_code DOUBLE NOT NULL, format VARCHAR NOT NULL, "
    "was_text BOOLEAN NOT NULL)",
    "CREATE TABLE labels (variable INTEGER NOT NULL, code DOUBLE NOT NULL, text VARCHAR NOT NULL)",
};
inline constexpr const char* kQrvCases = "cases";

/// The column of a variable in the table `cases`.
inline std::string QrvColumn(int variable) { return "v" + std::to_string(variable); }

struct QrvFormat {
  DisplayFormat format;
  std::string_view text;  // in variables.format
};
inline constexpr QrvFormat kQrvFormats[] = {
    {DisplayFormat::number, "number"},
    {DisplayFormat::date, "date"},
    {DisplayFormat::time, "time"},
    {DisplayFormat::dateTime, "datetime"},
};

}  // namespace qrvml
