// Runs small scripts whose `Print` writes lines, for tests.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "qvb/compiler.h"
#include "qvb/conversion.h"
#include "qvb/interpreter.h"
#include "qvb/script_error.h"
#include "qvb/script_object.h"

namespace qrvml::test {

/// Names of the host with `Print`, which appends its arguments' texts, joined by blanks.
inline HostNames PrintingNames(std::vector<std::string>& lines) {
  HostNames names;
  names.AddFunction("Print", {0, 20, [&lines](std::span<const Value> arguments) {
                                std::string line;
                                for (const Value& argument : arguments) {
                                  if (&argument != arguments.data()) line += ' ';
                                  line += ToText(argument);
                                }
                                lines.push_back(line);
                                return Value();
                              }});
  return names;
}

/// What the script prints, lines joined by "|".
inline std::string Printed(const std::string& script, const ScriptLimits& limits = {}) {
  std::vector<std::string> lines;
  Interpreter(CompileScript("test.qvb", script, PrintingNames(lines)), limits).Run();
  std::string all;
  for (const std::string& line : lines) all += (all.empty() ? "" : "|") + line;
  return all;
}

/// What the statements print when they are the body of Sub Main.
inline std::string PrintedBy(const std::string& statements) {
  return Printed("Sub Main\n" + statements + "\nEnd Sub\n");
}

/// The error that ends the script; fails the test when there is none.
inline ScriptError ErrorOf(const std::string& script, const ScriptLimits& limits = {}) {
  try {
    const std::string printed = Printed(script, limits);
    ADD_FAILURE() << "the script ended, printing " << printed;
  } catch (const ScriptError& error) {
    return error;
  }
  return {ScriptError::Kind::run, "none", 0, "none"};
}

/// "LINE: REASON" of the error that ends Sub Main with these statements; its first line is 1.
inline std::string ErrorBy(const std::string& statements) {
  const ScriptError error = ErrorOf("Sub Main: \n" + statements + "\nEnd Sub\n");
  return std::to_string(error.line - 1) + ": " + error.reason;
}

/// Statements of Sub Main and what they print.
struct Example {
  std::string statements;
  std::string printed;
};

inline void Check(const std::vector<Example>& examples) {
  for (const Example& example : examples) {
    try {
      EXPECT_EQ(PrintedBy(example.statements), example.printed) << example.statements;
    } catch (const ScriptError& error) {
      ADD_FAILURE() << error.what() << " in\n" << example.statements;
    }
  }
}

/// Statements of Sub Main and their error.
inline void CheckErrors(const std::vector<Example>& examples) {
  for (const Example& example : examples) {
    EXPECT_EQ(ErrorBy(example.statements), example.printed) << example.statements;
  }
}

}  // namespace qrvml::test
