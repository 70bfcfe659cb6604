// Reads delimited text: a header row with the names, then one record for each case.
//
// Rules (the grammar of fields is in text_fields.h):
//   empty cell   a field of blanks, quoted or not, is missing
//   number       quoted or not; a column whose fields are all numbers is continuous
//   text         any other field makes its column a text column as a whole: codes for its texts
//   too large    a number that no double holds (1e999) in a continuous column is an error
//   row length   every record has as many fields as the header; a blank line is passed over, but in
//                a file of one column it is an empty cell
//   names        trimmed; an empty one becomes Var<k>; two equal ones are an error
//   encoding     UTF-8, with or without a byte-order mark; a file that is not valid UTF-8 and has
//   no
//                such mark is decoded as Windows-1252
//   NUL          a byte 0 is an error
//
// The file is read in blocks of whole records, several at a time on as many threads; besides the
// table, memory is needed for the blocks in work and for the different texts only. The result does
// not depend on the number of threads.
#pragma once

#include <string>

#include "datafile/reader.h"

namespace qrvml {

bool ReadTextFile(const std::string& path, const ReadOptions& options, DataTable& table,
                  FileError& error);

}  // namespace qrvml
