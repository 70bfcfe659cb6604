// `qrvml data FILE`: what a data file holds, as tables for a terminal.
#pragma once

#include <iosfwd>

#include "datafile/open_options.h"

namespace qrvml {

struct DataCommandOptions {
  OpenOptions open;
  int head = 0;  // how many cases are listed after the variables; 0: none
};

/// Writes the variables (number, name, type, missing-data code, missing count, minimum, maximum,
/// mean, labels) and the first `head` cases to `out`. Statistics are taken over the selected cases;
/// while a weight is in force, the mean is the weighted one. Returns the exit status: 0 done, 1 the
/// file or a setting was refused (the reason is on `err`, nothing on `out`).
int RunDataCommand(const DataCommandOptions& options, std::ostream& out, std::ostream& err);

}  // namespace qrvml
