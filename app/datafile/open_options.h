// How a data file is opened: the options that every command shares, as they were typed.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "datafile/file_error.h"

namespace qrvml {

class HostDataFile;
class ReadWatch;

/// An empty text is "not given" throughout (and the default, so that an initialiser names only what
/// it sets). A variable is named by its name or by its number from 1; a bare number is a number, in
/// double quotes it is a name.
struct OpenOptions {
  std::string path = {};
  std::string delimiter = {};  // text files: one character, or "tab"; not given: found in the file
  std::string decimal = {};    // text files: "." or ","; not given: found in the file
  std::string encoding = {};  // text files: "utf-8" or "windows-1252"; not given: found in the file
  std::vector<std::string> missing = {};  // each "VARIABLE=CODE"; the code is a number or a label
  std::string weight = {};                // a variable with numbers
  std::string select = {};                // a condition over the variables
  std::string caseNames = {};             // the variable whose values or texts name the cases
  std::string memory = {};                // for its cells, such as 500M or 4G; see CellStore
  int threads = 0;                        // used for reading; 0: all cores
  ReadWatch* watch = nullptr;             // of who waits for the end of the reading; null: nobody
};

/// Puts the weight and the condition of the options into force. False: `error` says why.
bool PutSelectionAndWeight(const OpenOptions& options, HostDataFile& file, FileError& error);

/// Reads the file and puts missing-data codes, case names, weight and selection into force, in this
/// order. False: `error` says why, `file` is untouched.
bool OpenDataFile(const OpenOptions& options, std::unique_ptr<HostDataFile>& file,
                  FileError& error);

}  // namespace qrvml
