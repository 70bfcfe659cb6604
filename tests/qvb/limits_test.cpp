#include <chrono>
#include <thread>

#include "qvb/script_runner.h"

namespace qrvml::test {
namespace {

ScriptLimits Steps(std::uint64_t steps) {
  ScriptLimits limits;
  limits.steps = steps;
  return limits;
}

ScriptLimits Bytes(std::size_t bytes) {
  ScriptLimits limits;
  limits.steps = 100000000;
  limits.bytes = bytes;
  return limits;
}

TEST(ScriptLimits, StopWhatNeverEnds) {
  const std::string endless[] = {
      "Do\nLoop",
      "back: GoTo back",
      "While True\nn = n + 1\nWend",
      "For i = 1 To 1 Step 0\nNext",
      "On Error GoTo bad\nx = 1 / 0\nbad: Resume",
      "On Error Resume Next\nDo\nx = 1 / 0\nLoop",
      "ReDim a(100000) As Double\nFor i = 1 To 100\nv = a\nNext",
      "s = Space(1000000)\nFor i = 1 To 100\nt = s & s\nIf s = t Then Exit For\nNext",
      "On Error GoTo bad\nDo\nLoop\nbad: Resume Next",
      "Do\ns = String(100000, \"a\")\nn = InStrRev(s, \"ab\")\nLoop"};
  for (const std::string& statements : endless) {
    const ScriptError error = ErrorOf(statements, Steps(500000));
    EXPECT_EQ(error.kind, ScriptError::Kind::limit) << statements;
    EXPECT_EQ(error.reason, "The script takes more than its 500000 steps") << statements;
  }
  EXPECT_EQ(ErrorOf("Sub Main\n\nDo\nn = n + 1\nLoop\nEnd Sub", Steps(1000)).script, "test.qvb");
  EXPECT_EQ(Printed("For i = 1 To 100\nn = n + i\nNext\nPrint n", Steps(1000)), "5050");
}

TEST(ScriptLimits, CountEveryInstructionOnce) {
  std::vector<std::string> lines;
  const auto stepsOf = [&lines](const std::string& script) {
    Interpreter run(CompileScript("test.qvb", script, PrintingNames(lines)));
    run.Run();
    return run.steps();
  };
  const std::uint64_t ten =
      stepsOf("Dim s As Double, i As Integer\nFor i = 1 To 10\ns = s + i\nNext");
  const std::uint64_t many =
      stepsOf("Dim s As Double, i As Integer\nFor i = 1 To 100010\ns = s + i\nNext");
  EXPECT_EQ(many - ten, 200000) << "an addition and the loop's own";
}

TEST(ScriptLimits, StopWhatNeedsTooMuchMemory) {
  const std::string hungry[] = {
      "s = \"a\"\nDo\ns = s & s\nLoop",
      "Dim a() As Double\nReDim a(20000000)",
      "ReDim a(2000000000, 2000000000, 2000000000) As Integer",
      "s = Space(2000000000)",
      "s = String(100000, \"ab\")\ns = Replace(s, \"a\", s)",
      "Dim a(1 To 500000) As String\nPrint a(1)",
      "For i = 1 To 100000\nReDim Preserve t(i) As String\nt(i) = Space(1000)\nNext",
      "Sub Main\nDim a(100000) As Double\nMain\nEnd Sub"};
  for (const std::string& statements : hungry) {
    const ScriptError error = ErrorOf(statements, Bytes(4000000));
    EXPECT_TRUE(error.kind == ScriptError::Kind::limit || error.reason == "Out of memory")
        << statements << error.reason;
  }
  // What is given back can be used again, and no handler hides the limit.
  EXPECT_EQ(Printed("For i = 1 To 1000\ns = Space(1000000)\nNext\nPrint Len(s)", Bytes(4000000)),
            "1000000");
  EXPECT_EQ(
      ErrorOf("On Error Resume Next\ns = Space(5000000)\nPrint \"on\"", Bytes(4000000)).reason,
      "The script needs more than its 4000000 bytes of memory");
}

TEST(ScriptLimits, StopDeepCalls) {
  ScriptLimits limits;
  limits.callDepth = 100;
  const std::string script =
      "Function Deep(n)\nIf n > 0 Then Deep = Deep(n - 1) + 1\nEnd Function\nSub Main\nPrint Deep(";
  EXPECT_EQ(Printed(script + "90)\nEnd Sub", limits), "90");
  const ScriptError error = ErrorOf(script + "200)\nEnd Sub", limits);
  EXPECT_EQ(error.kind, ScriptError::Kind::limit);
  EXPECT_EQ(error.reason, "More than 100 procedures wait for each other");
  EXPECT_EQ(error.line, 2);
  EXPECT_EQ(Printed(script + "4900)\nEnd Sub"), "4900") << "registers of many frames";
}

TEST(ScriptLimits, CancelEndsARun) {
  std::atomic<bool> cancel = false;
  ScriptLimits limits;
  limits.cancel = &cancel;
  std::thread other([&cancel] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    cancel = true;
  });
  const ScriptError error = ErrorOf("On Error Resume Next\nDo\nn = n + 1\nLoop", limits);
  other.join();
  EXPECT_EQ(error.kind, ScriptError::Kind::cancelled);
}

TEST(ScriptLimits, DeepTextsAreRefusedInsteadOfOverflowingTheStack) {
  const auto repeated = [](const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
  };
  const int kDeep = 100000;
  const std::string expressions[] = {
      "x = " + repeated("(", kDeep),          "x = " + repeated("-", kDeep) + "1",
      "x = " + repeated("Not ", kDeep) + "1", "x = 1" + repeated(" + 1", kDeep),
      "x = " + repeated("f(", kDeep),         "x = a" + repeated("(1)", kDeep),
      "x = a" + repeated(".b", kDeep),        "x = " + repeated("2 ^ -", kDeep) + "1"};
  for (const std::string& statement : expressions) {
    EXPECT_EQ(ErrorOf(statement).reason, "the expression is nested too deeply")
        << statement.substr(0, 20);
  }
  const std::string blocks[] = {
      repeated("If 1 Then\n", kDeep),          repeated("Do\n", kDeep),
      repeated("If 1 Then ", kDeep) + "x = 1", repeated("With Err\n", kDeep),
      repeated("For i = 1 To 2\n", kDeep),     repeated("Select Case 1\nCase 1\n", kDeep)};
  for (const std::string& statement : blocks) {
    EXPECT_EQ(ErrorOf(statement).reason, "blocks are nested too deeply") << statement.substr(0, 20);
  }
  // What a person writes is far from the limit.
  EXPECT_EQ(Printed("Print " + repeated("(", 90) + "1" + repeated(")", 90) + repeated(" + 1", 90)),
            "91");
}

TEST(ScriptLimits, HoldForRegistersAndConstantsToo) {
  // A procedure with many registers that calls itself, and constants that grow while they are read.
  std::string variables = "Sub Main\n";
  for (int i = 0; i < 2000; ++i) variables += "v" + std::to_string(i) + " = 1\n";
  EXPECT_EQ(ErrorOf(variables + "Main\nEnd Sub", Bytes(4000000)).kind, ScriptError::Kind::limit);
  std::string constants = "Const c0 = \"0123456789\"\n";
  for (int i = 1; i < 60; ++i) {
    const std::string last = "c" + std::to_string(i - 1);
    constants += "Const c" + std::to_string(i) + " = " + last + " & " + last + "\n";
  }
  EXPECT_EQ(ErrorOf(constants).reason, "expected a constant");
}

TEST(ScriptLimits, LongTextsAreNoNesting) {
  std::string script = "Print 1\n";
  for (int i = 0; i < 3000; ++i)
    script += "If x = " + std::to_string(i) + " Then\nx = 1\nElseIf x = 2 Then\nEnd If\n";
  EXPECT_EQ(Printed(script + "Print x"), "1|1");
}

}  // namespace
}  // namespace qrvml::test
