// What about the chosen variables deserves a word before a run.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qrvml {

class DataTable;

/// `variables` is the list text of a specification dialog. Warns of a text column that is used as
/// categorical with more different texts than categories are possible, and of a variable that is
/// missing in every case.
std::vector<std::string> WarningsAbout(std::string_view variables, const DataTable& table);

}  // namespace qrvml
