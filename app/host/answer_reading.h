// Reading answers: list texts against the variables and labels of the open data file. Every
// function returns false with `error` saying what is wrong and what would be right.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/data_file.h"
#include "host/list_text.h"

namespace qrvml {

/// The code of a variable's text label; false when it has no such label.
using LabelLookup = std::function<bool(int variable, std::string_view label, double& code)>;

/// What answers may name.
struct AnswerNames {
  const DataFile* file = nullptr;
  LabelLookup codeOfLabel;
};

/// Variable lists, one per caption: names, 1-based numbers, ranges; `*` takes every variable that
/// no other list names, None none. Repeated members count once. Where `leadingEmpty`, one more list
/// may stand in front if it is empty.
bool ReadVariableLists(std::string_view text, std::span<const std::string> captions,
                       bool leadingEmpty, const AnswerNames& names,
                       std::vector<std::vector<int>>& lists, std::string& error);

/// The number of one variable given by name or number.
bool ReadVariable(std::string_view text, const AnswerNames& names, int& variable,
                  std::string& error);

/// What one variable's codes must satisfy.
struct CodeBounds {
  std::size_t minimum = 0, maximum = 0;  // how many
  double lowest = 0, highest = 0;        // each code
};

/// One variable's codes: numbers, ranges of integers and labels; a lone `*` leaves `codes` alone.
bool ReadCodes(std::span<const ListMember> members, int variable, const CodeBounds& bounds,
               const AnswerNames& names, std::vector<double>& codes, std::string& error);

/// One number per row.
bool ReadValues(std::string_view text, std::span<const std::string> rows, std::span<double> values,
                std::string& error);

/// One text per row, given as a number, name or label.
bool ReadTexts(std::string_view text, std::span<const std::string> rows,
               std::vector<std::string>& texts, std::string& error);

/// A value field's text: a number in the range, or one of the variable's labels (0: of none); in
/// double quotes it is a label.
bool ReadValue(std::string_view text, int variable, double lowest, double highest,
               const AnswerNames& names, double& value, std::string& error);

}  // namespace qrvml
