// How scripts fail.
//
// A fault is what a statement runs into; the script may catch it with On Error. A fault that nobody
// catches, a text that does not compile and an exceeded limit leave as a ScriptError, which names
// the script and the line.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace qrvml {

class ScriptError : public std::runtime_error {
 public:
  enum class Kind { compile, run, limit, cancelled };

  /// what() is "SCRIPT, line LINE: REASON".
  ScriptError(Kind errorKind, std::string scriptName, int lineNumber, std::string reasonText);

  Kind kind;
  std::string script;  // the name of the text that holds the line; an included file has its own
  int line;            // from 1
  std::string reason;
};

/// The numbers that Err.Number shows, as users of this kind of Basic know them.
enum class FaultNumber {
  invalidCall = 5,
  overflow = 6,
  outOfMemory = 7,
  subscript = 9,
  arrayFixed = 10,
  divisionByZero = 11,
  typeMismatch = 13,
  resumeWithoutError = 20,
  objectNotSet = 91,
  loopNotInitialised = 92,
  invalidProperty = 380,
  cannotCreate = 429,
  noSuchMember = 438,
  argumentMissing = 449,
  argumentCount = 450,
  applicationDefined = 1000,
};

/// The standard text of a number, "Application-defined error" when there is none.
std::string_view FaultText(int number);

/// Thrown by an operation of a script, also by host objects and functions.
class ScriptFault : public std::runtime_error {
 public:
  /// The text is the number's own, followed by ": " and the detail if there is one.
  explicit ScriptFault(FaultNumber faultNumber, std::string_view detail = {});
  /// A fault of the host with its own text.
  ScriptFault(int faultNumber, const std::string& text)
      : std::runtime_error(text), number(faultNumber) {}

  int number;
};

/// Thrown when a limit is exceeded or the run is cancelled; no script can catch it.
class ScriptStop : public std::runtime_error {
 public:
  ScriptStop(ScriptError::Kind stopKind, const std::string& text)
      : std::runtime_error(text), kind(stopKind) {}

  ScriptError::Kind kind;
};

}  // namespace qrvml
