// Reads the files of statistics packages: SPSS (.sav, .zsav, .por), SAS (.sas7bdat, .xpt) and Stata
// (.dta).
//
//   names, labels   names as in the file; a variable's label is its long name; labels of numbers
//                   stay, also of non-integers
//   texts           a text variable becomes codes with its texts as labels; labels that the file
//                   gives to texts are not kept (note)
//   missing         system-missing cells take the missing-data code. SPSS: the first single value
//                   that the user declared missing is that code; all others, single or in ranges,
//                   become it (note). Tagged missing values of SAS and Stata become it (note).
//   dates           by display format: days since 1899-12-30
//   case weight     named in a note, not put into force
#pragma once

#include <string>

#include "datafile/reader.h"

namespace qrvml {

bool ReadSavFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error);
bool ReadPorFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error);
bool ReadSasFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error);
bool ReadXptFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error);
bool ReadDtaFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error);

}  // namespace qrvml
