// What the header comment of a generated C program tells of its variables.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "score/deployed_model.h"

namespace qrvml {

struct CHeader {
  std::vector<DeployedField> dependents, inputs;
};

/// `isName` says whether the data have a variable of that name: names are listed with commas
/// between them, and a name with a comma in it is one only if the data know it. False: `error`
/// says what is missing, a clause.
bool ReadCHeader(std::string_view text, const std::function<bool(const std::string&)>& isName,
                 CHeader& header, std::string& error);

}  // namespace qrvml
