// The penalties of a dependent's classes as a text: numbers in class order, separated by blanks.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "data/category_table.h"

namespace qrvml {

/// How long such a text may be, in bytes.
inline constexpr std::size_t kLongestPenaltyList = 5000;

/// A penalty is a finite number, not below 0.
bool ReadPenalty(std::string_view text, double& penalty);

/// Reads a penalty for each class; what follows them is ignored. False: `error` says what is wrong
/// and names the classes in their order.
bool ReadPenaltyList(std::string_view text, std::span<const CategoryTable::Class> classes,
                     std::vector<double>& penalties, std::string& error);

/// Each penalty's text followed by one blank.
std::string PenaltyListText(std::span<const std::string> penalties);
std::string PenaltyListText(std::span<const double> penalties);

}  // namespace qrvml
