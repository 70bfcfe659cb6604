#include "svm/penalty_list.h"

#include "host/little_parser.h"
#include "host/numerics.h"

namespace qrvml {

bool ReadPenalty(std::string_view text, double& penalty) {
  return TextToDouble(text, penalty) && penalty >= 0;
}

bool ReadPenaltyList(std::string_view text, std::span<const CategoryTable::Class> classes,
                     std::vector<double>& penalties, std::string& error) {
  std::string names;
  for (const auto& entry : classes) names += (names.empty() ? "" : ", ") + entry.text;
  const auto fail = [&](const std::string& what) {
    error = what + "; it takes one number of 0 or more for each class, in this order: " + names;
    return false;
  };
  std::vector<double> read;
  CLittleParser parser(text);
  while (read.size() < classes.size()) {
    const CLittleParser::Symbol symbol = parser.Next();
    if (symbol == CLittleParser::Symbol::end)
      return fail(read.empty() ? "the list is empty"
                               : "only " + std::to_string(read.size()) + " of " +
                                     std::to_string(classes.size()) + " penalties are given");
    if (symbol != CLittleParser::Symbol::number || parser.number() < 0)
      return fail('"' + parser.text() + "\" is no penalty");
    read.push_back(parser.number());
  }
  penalties = std::move(read);
  return true;
}

std::string PenaltyListText(std::span<const std::string> penalties) {
  std::string text;
  for (const std::string& penalty : penalties) text += penalty + ' ';
  return text;
}

std::string PenaltyListText(std::span<const double> penalties) {
  std::string text;
  for (const double penalty : penalties) text += ShortestText(penalty) + ' ';
  return text;
}

}  // namespace qrvml
