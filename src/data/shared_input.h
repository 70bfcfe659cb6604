// Input that dialogs of all methods share: values and choices that arrive as text, and the form
// for a case that the user types in.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/analysis_data_set.h"
#include "host/little_parser.h"

namespace qrvml {

/// What a parser delivered. The numbers are the operations' results.
enum class Parsed : int { invalid = -1, text = 1, number = 2 };

/// A choice: a number; "*" for a symbol that contains an asterisk; "None" for a name or quoted text
/// that contains it. Any other name, or the end, is invalid; other symbols are skipped.
Parsed ParseSelectionText(CLittleParser& parser, std::string& text, double& number);

/// A value: a number, or a name or quoted text; invalid at the end; other symbols are skipped.
Parsed ParseValueText(CLittleParser& parser, std::string& text, double& number);

/// The code of an entry for categorical predictor i: the code whose text equals the entry (without
/// regard to case where `ignoreCase`), else the entry read as a number and truncated, when that is
/// one of the codes. False: neither.
bool CategoryOfEntry(const AnalysisDataSet& data, std::size_t i, std::string_view entry,
                     bool ignoreCase, double& code);

/// A typed case: one value per predictor, -9999 for an invalid entry.
struct CustomInputs {
  std::vector<double> values;
  bool isInvalid = false;  // an entry was invalid; message 143 has been shown
};

/// Asks for a case through the host's input form. False: cancelled, or message 104.
bool AskCustomInputs(const AnalysisDataSet& data, CustomInputs& inputs);

}  // namespace qrvml
