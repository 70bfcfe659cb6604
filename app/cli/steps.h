// The steps of --do: what is done in the results dialog, from left to right.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qrvml {

struct Step {
  enum class Kind {
    act,    // Action: a member that acts
    put,    // Property=value
    print,  // Property?
    press,  // press:NAME: a control without a member
  } kind = Kind::act;
  std::string name;
  std::string value;  // put: without the quotes around it
  std::string text;   // as it was written
};

/// Appends the steps of `text`: separated by commas or semicolons; a value that holds blanks,
/// commas or semicolons stands in double quotes, a double quote inside is doubled. False: `error`
/// says what is wrong, `steps` is untouched.
bool ParseSteps(std::string_view text, std::vector<Step>& steps, std::string& error);

}  // namespace qrvml
