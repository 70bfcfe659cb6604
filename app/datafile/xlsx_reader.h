// Reads an Excel workbook (.xlsx, .xlsm): the first sheet that holds values.
//
//   header     the first row with values holds the names; it and the columns with values below it
//              make the variables, an empty column between them is passed over
//   cases      every further row with values; an empty row is passed over, but in a sheet of one
//              column it is an empty cell
//   numbers    also results of formulas; a Boolean is 0 or 1
//   dates      numbers whose number format shows a date or a time: days since 1899-12-30. A column
//              is shown as dates when all its numbers are
//   texts      one of them makes its column a text column as a whole; a text made of digits is a
//              text, too, since the workbook says so
//   errors     #N/A and the like, and formulas without a stored result, are missing (note)
//   sheets     further sheets with values are named in a note
#pragma once

#include <string>

#include "datafile/reader.h"

namespace qrvml {

bool ReadXlsxFile(const std::string& path, const ReadOptions& options, DataTable& table,
                  FileError& error);

}  // namespace qrvml
