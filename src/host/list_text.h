// The text form of lists: variable lists, codes lists, values. `|` separates lists, blanks separate
// members; a member is a name or label, a number, a range 2-5, * (all) or None. What holds blanks,
// `|` or a double quote, or would be read as something else, stands in double quotes (a double
// quote inside is doubled). A quoted member is always a name or label.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qrvml {

struct ListMember {
  enum class Kind { name, number, range, all, none } kind = Kind::name;
  std::string name;              // name
  double number = 0, upper = 0;  // number; range: first and last
  bool quoted = false;
  std::size_t column = 0;  // where it stands in the text, from 1
};

/// The lists of a text: one more than its `|`; lists may be empty. False: `error` says what and
/// where (an unclosed quote).
bool ParseListText(std::string_view text, std::vector<std::vector<ListMember>>& lists,
                   std::string& error);

/// A name or label as a member, quoted where that is needed.
std::string MemberText(std::string_view name);

/// Lists of ready members: "a b | c |  | d".
std::string ListText(std::span<const std::vector<std::string>> lists);

}  // namespace qrvml
