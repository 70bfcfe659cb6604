#include "data/shared_input.h"

#include <algorithm>
#include <new>

#include "data/value_text.h"
#include "host/analysis_support.h"
#include "host/documents.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

constexpr std::size_t kLongestEntry = 8;  // bytes that are read of a cell

/// ASCII letters and the accented letters of UTF-8's two-byte block U+00C0 to U+00DE.
std::string WithoutCase(std::string_view text) {
  std::string lower;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool afterC3 = i > 0 && static_cast<unsigned char>(text[i - 1]) == 0xC3;
    const bool isUpper =
        (byte >= 'A' && byte <= 'Z') || (afterC3 && byte >= 0x80 && byte <= 0x9E && byte != 0x97);
    lower += isUpper ? static_cast<char>(byte + 0x20) : text[i];
  }
  return lower;
}

/// The first bytes of a cell, without half a character at the end.
std::string_view FirstBytes(std::string_view text) {
  if (text.size() <= kLongestEntry) return text;
  std::size_t end = kLongestEntry;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

}  // namespace

Parsed ParseSelectionText(CLittleParser& parser, std::string& text, double& number) {
  const Parsed parsed = ParseValueText(parser, text, number);
  if (parsed != Parsed::text) return parsed;
  for (const std::string_view choice : {"*", "None"}) {
    if (text.find(choice) == std::string::npos) continue;
    text = choice;
    return Parsed::text;
  }
  return Parsed::invalid;
}

Parsed ParseValueText(CLittleParser& parser, std::string& text, double& number) {
  CLittleParser::Symbol symbol = parser.Next();
  while (symbol == CLittleParser::Symbol::other) symbol = parser.Next();
  if (symbol == CLittleParser::Symbol::end) return Parsed::invalid;
  if (symbol == CLittleParser::Symbol::number) {
    number = parser.number();
    return Parsed::number;
  }
  text = parser.text();
  return Parsed::text;
}

bool CategoryOfEntry(const AnalysisDataSet& data, std::size_t i, std::string_view entry,
                     bool ignoreCase, double& code) {
  const CategoryTable& table = data.predictorCategories(i);
  const std::string sought = ignoreCase ? WithoutCase(entry) : std::string(entry);
  for (const auto& entryClass : table.classes()) {
    if ((ignoreCase ? WithoutCase(entryClass.text) : entryClass.text) != sought) continue;
    code = static_cast<double>(entryClass.code);
    return true;
  }
  double number = 0;
  if (!TextToDouble(entry, number) || !table.HasCode(TruncateToCode(number))) return false;
  code = static_cast<double>(TruncateToCode(number));
  return true;
}

bool AskCustomInputs(const AnalysisDataSet& data, CustomInputs& inputs) {
  try {
    const HostServices& services = CAnalysisContext::Current()->services();
    const VariableRoles& roles = data.roles();
    InputTable form;
    form.title = GetResourceString(139);
    form.hint = GetResourceString(140);
    form.column = GetResourceString(141);
    form.rowTitle = GetResourceString(142);
    for (const int variable : roles.predictors)
      form.rowNames.push_back(VariableName(*services.file, variable));
    form.cells.assign(roles.predictors.size(), roles.categoricalPredictors.empty() ? "0" : "");
    if (!services.dialogs->looka4dlg(form)) return false;

    const std::size_t continuous = roles.continuousPredictors.size();
    inputs = {std::vector<double>(roles.predictors.size(), kMissingOutput), false};
    for (std::size_t i = 0; i < inputs.values.size(); ++i) {
      const std::string entry = CleanName(Trim(FirstBytes(form.cells[i])));
      const bool isRead =
          i < continuous ? TextToDouble(entry, inputs.values[i])
                         : CategoryOfEntry(data, i - continuous, entry, true, inputs.values[i]);
      inputs.isInvalid = inputs.isInvalid || !isRead;
    }
    if (inputs.isInvalid) Refuse(143);
    return true;
  } catch (const std::bad_alloc&) {
    return Refuse(104);
  }
}

}  // namespace qrvml
