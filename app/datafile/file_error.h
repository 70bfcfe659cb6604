// What is told when a data file, or a setting of one, is refused: what is wrong, where, and what
// would be right.
#pragma once

#include <cstdint>
#include <string>

namespace qrvml {

struct FileError {
  std::string what;         // what is wrong, a clause without a full stop: "the row has 4 fields"
  std::string file;         // the file's path as given; empty: no file is concerned
  std::int64_t line = 0;    // line of the file, from 1; 0: none applies
  std::int64_t column = 0;  // column (field of the row), from 1; 0: none applies
  std::string right;        // what would be right, a sentence without a full stop; may be empty

  /// One text: "iris.csv, line 7, column 5: the row has 4 fields. Every row needs 5 fields."
  std::string Text() const;
};

}  // namespace qrvml
