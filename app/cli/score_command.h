// `qrvml score --c SOURCE DATA` and `--pmml DOC DATA`: predictions of a generated text, as a table.
#pragma once

#include <span>
#include <string>

namespace qrvml {

/// Writes delimited text to the standard output: a line of headings, then a line for each selected
/// case with its number, its name where cases have names, and for each dependent the prediction
/// and, where the data have the dependent, the observed value and the residual (observed minus
/// predicted; of classes 0 correct, 1 wrong). What has no value is empty. Counts go to the standard
/// error. Returns the exit status.
int RunScoreCommand(std::span<const std::string> arguments);

}  // namespace qrvml
