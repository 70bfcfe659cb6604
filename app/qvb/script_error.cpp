#include "qvb/script_error.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qrvml {
namespace {

struct NumberedText {
  FaultNumber number;
  std::string_view text;
};

constexpr std::array kFaultTexts = {
    NumberedText{FaultNumber::invalidCall, "Invalid procedure call or argument"},
    NumberedText{FaultNumber::overflow, "Overflow"},
    NumberedText{FaultNumber::outOfMemory, "Out of memory"},
    NumberedText{FaultNumber::subscript, "Subscript out of range"},
    NumberedText{FaultNumber::arrayFixed, "This array is fixed or temporarily locked"},
    NumberedText{FaultNumber::divisionByZero, "Division by zero"},
    NumberedText{FaultNumber::typeMismatch, "Type mismatch"},
    NumberedText{FaultNumber::resumeWithoutError, "Resume without error"},
    NumberedText{FaultNumber::objectNotSet, "Object variable or With block variable not set"},
    NumberedText{FaultNumber::loopNotInitialised, "For loop not initialized"},
    NumberedText{FaultNumber::invalidProperty, "Invalid property value"},
    NumberedText{FaultNumber::cannotCreate, "The object cannot be created"},
    NumberedText{FaultNumber::noSuchMember, "The object doesn't support this property or method"},
    NumberedText{FaultNumber::argumentMissing, "Argument not optional"},
    NumberedText{FaultNumber::argumentCount, "Wrong number of arguments"},
};

std::string WithDetail(std::string_view text, std::string_view detail) {
  std::string whole(text);
  if (!detail.empty()) whole.append(": ").append(detail);
  return whole;
}

}  // namespace

ScriptError::ScriptError(Kind errorKind, std::string scriptName, int lineNumber,
                         std::string reasonText)
    : std::runtime_error(scriptName + ", line " + std::to_string(lineNumber) + ": " + reasonText),
      kind(errorKind),
      script(std::move(scriptName)),
      line(lineNumber),
      reason(std::move(reasonText)) {}

std::string_view FaultText(int number) {
  const auto* const found = std::find_if(
      kFaultTexts.begin(), kFaultTexts.end(),
      [number](const NumberedText& row) { return static_cast<int>(row.number) == number; });
  return found != kFaultTexts.end() ? found->text : "Application-defined error";
}

ScriptFault::ScriptFault(FaultNumber faultNumber, std::string_view detail)
    : std::runtime_error(WithDetail(FaultText(static_cast<int>(faultNumber)), detail)),
      number(static_cast<int>(faultNumber)) {}

}  // namespace qrvml
