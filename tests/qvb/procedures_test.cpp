#include "qvb/script_runner.h"

namespace qrvml::test {
namespace {

/// What Sub Main prints with these statements, beside other procedures and module variables.
std::string With(const std::string& others, const std::string& statements) {
  return Printed(others + "\nSub Main\n" + statements + "\nEnd Sub\n");
}

TEST(ScriptFunctions, HaveTheirNameAsAVariableInside) {
  EXPECT_EQ(With("Function Sum(n)\nSum = 0\nFor i = 1 To n\nSum = Sum + i\nNext\nEnd Function",
                 "Print Sum(4), SUM(0) + 1"),
            "10 1");
  EXPECT_EQ(With("Function Fact(n As Integer) As Double\nIf n < 2 Then\nFact = 1\nElse\n"
                 "Fact = n * Fact(n - 1)\nEnd If\nEnd Function",
                 "Print Fact(20)"),
            "2.43290200817664E+18");
  EXPECT_EQ(With("Function T() As String\nEnd Function\nFunction B() As Boolean\nEnd Function\n"
                 "Function V()\nEnd Function",
                 "Print \"[\" & T & \"]\", B, \"[\" & V() & \"]\""),
            "[] False []");
  EXPECT_EQ(With("Function First(a) As Integer\nFirst = a(1)\nIf First > 0 Then Exit Function\n"
                 "First = -1\nEnd Function",
                 "Dim x(3) As Double\nPrint First(x)\nx(1) = 6.5\nPrint First(x)"),
            "-1|6");
}

TEST(ScriptCalls, PassVariablesByReference) {
  const std::string bump =
      "Public Total As Double\nSub Bump(x)\nx = x + 1\nEnd Sub\n"
      "Sub BumpTyped(ByRef x As Double)\nx = x + 0.5\nTotal = Total + 10\nEnd Sub\n"
      "Sub Keep(ByVal x)\nx = x + 1\nEnd Sub\nSub Twice(x)\nBump x\nBump(x)\nEnd Sub\n";
  // With and without parentheses, with Call; a parenthesised argument and ByVal pass a value.
  EXPECT_EQ(With(bump,
                 "Dim n As Integer\nBump n\nBump(n)\nCall Bump(n)\nBump (n)\nPrint n\n"
                 "Bump ((n))\nKeep n\nPrint n\nTwice n\nPrint n\nBump 5\nBump n + 1\nPrint n"),
            "4|4|6|6");
  // The variable itself is passed, so that another name for it sees the change at once.
  EXPECT_EQ(With(bump, "BumpTyped Total\nPrint Total"), "10.5");
  EXPECT_EQ(With(bump, "Total = 1\nBump Total\nPrint Total"), "2");
  // Another type is converted there and back.
  EXPECT_EQ(With(bump,
                 "Dim n As Integer\nn = 3\nBumpTyped n\nPrint n\nv = \"2\"\nBumpTyped v\nPrint v, "
                 "TypeName(v)"),
            "4|2.5 Double");
  // Elements come back too, to where they were when the call began.
  EXPECT_EQ(
      With("Public k As Integer\nSub Move(x)\nk = 2\nx = 7\nEnd Sub\n" + bump,
           "Dim a(3) As Double, m(1, 1) As Integer, t(1, 1, 1) As String\nk = 1\nMove a(k)\nPrint "
           "a(1), a(2)\n"
           "Bump m(0, 1)\nPrint m(0, 1)\nt(1, 0, 1) = \"4\"\nBump t(1, 0, 1)\nPrint t(1, 0, 1)"),
      "7 0|1|5");
  EXPECT_EQ(With(bump, "v = Array(1, 2)\nBump v(0)\nPrint v(0)"), "1")
      << "an element of a variant is a value";
}

TEST(ScriptCalls, PassArraysByReference) {
  const std::string others =
      "Option Base 1\nPublic G(2) As Double\n"
      "Private Function Scale(Vector)\nFor i = 1 To UBound(Vector)\nVector(i) = 10 * "
      "Vector(i)\nNext\nEnd Function\n"
      "Sub Grow(D() As Double)\nReDim D(0 To 4)\nD(4) = 9\nEnd Sub\n"
      "Sub Pass(V)\nScale(V)\nScale V\nEnd Sub\nSub Local(ByVal V)\nV(1) = -1\nEnd Sub\n";
  EXPECT_EQ(With(others,
                 "G(1) = 1: G(2) = 2.5\nScale(G)\nPrint G(1), G(2)\nPass G\nPrint G(1), G(2)\n"
                 "Local G\nPrint G(1)"),
            "10 25|1000 2500|1000");
  EXPECT_EQ(
      With(others,
           "Dim D() As Double\nGrow D\nPrint LBound(D), UBound(D), D(4)\nGrow(D)\nPrint D(0)"),
      "0 4 9|0");
  EXPECT_EQ(With(others, "v = G\nv(1) = 5\nPrint G(1), v(1)\nw = v\nw(1) = 6\nPrint v(1)"), "0 5|5")
      << "assignment copies";
  EXPECT_EQ(ErrorOf(others + "Sub Main\nGrow G\nEnd Sub").reason,
            "This array is fixed or temporarily locked");
  EXPECT_EQ(ErrorOf(others + "Sub Main\nDim n(2) As Integer\nGrow n\nEnd Sub").reason,
            "expected an array of Double");
  EXPECT_EQ(ErrorOf(others + "Sub Main\nv = 5\nGrow v\nEnd Sub").reason, "Type mismatch: no array");
}

TEST(ScriptCalls, EvaluateFromLeftToRight) {
  EXPECT_EQ(
      With("Public g\nFunction Inc(x)\nx = x + 1\ng = g + 100\nInc = x\nEnd Function",
           "n = 1\nPrint n + Inc(n), n\ng = 1\nPrint g * Inc(n) + g\nDim a(200)\na(1) = 5\ng = 1\n"
           "a(g) = Inc(n)\nPrint a(1)"),
      "3 2|104|4");
}

TEST(ScriptCalls, TakeValuesBeforeLaterArgumentsChangeThem) {
  EXPECT_EQ(
      With("Function Inc(x)\nx = x + 1\nInc = x\nEnd Function\nFunction Pair(ByVal a, ByVal b) As "
           "String\nPair = a & b\nEnd Function",
           "Dim m(3, 3)\nn = 1\nPrint Pair(n, Inc(n))\nm(2, 3) = \"here\"\nPrint m(n, Inc(n))"),
      "12|here");
}

TEST(ScriptCalls, FillInWhatIsOptional) {
  EXPECT_EQ(With("Function F(a, Optional b As Integer = 7, Optional c) As String\nF = a & b & "
                 "\"[\" & c & \"]\"\nEnd Function",
                 "Print F(1), F(1, 2), F(1, , 3), F(1, 2, 3)"),
            "17[] 12[] 17[3] 12[3]");
  const std::string others = "Sub S(a, b)\nEnd Sub\nFunction F(x As Double)\nEnd Function\n";
  const std::pair<std::string, std::string> faults[] = {
      {"S 1", "`s` takes 2 arguments, not 1"},
      {"S 1, 2, 3", "`s` takes 2 arguments, not 3"},
      {"S , 2", "argument 1 of `s` is missing"},
      {"x = S(1, 2)", "`s` is a Sub and has no value"},
      {"F = 1", "`f` cannot be assigned to"},
      {"Dim a(2)\nF a", "an array where one Double is expected"},
      {"F \"x\"", "Type mismatch: \"x\" is no number"}};
  for (const auto& [statements, reason] : faults) {
    EXPECT_EQ(ErrorOf(others + "Sub Main\n" + statements + "\nEnd Sub").reason, reason)
        << statements;
  }
}

TEST(ScriptVariables, LiveWhereTheyAreDeclared) {
  EXPECT_EQ(With("Dim g As Integer\nSub Count\nStatic n As Integer\nn = n + 1\ng = g + n\nx = x + "
                 "1\nPrint n, x\nEnd Sub",
                 "Count\nCount\nPrint g, \"[\" & x & \"]\""),
            "1 1|2 1|3 []");
  EXPECT_EQ(With("Public Enum Kinds\nkA\nkB = 5\nkC\nEnd Enum\nPublic Const Half = 1 / 2",
                 "Dim k As Kinds\nk = kC\nPrint kA, k, Half"),
            "0 6 0.5");
  EXPECT_EQ(With("Dim a, b As Integer", "a = 2.5\nb = 2.5\nPrint a, b"), "2.5 2")
      << "As belongs to the last name only";
}

TEST(ScriptArrays, HaveTheBoundsThatWereDeclared) {
  EXPECT_EQ(
      With("Option Base 1\nPublic M(2, 0) As Integer, N(0) As Double, After(2) As Double",
           "After(2) = 7\nPrint LBound(M, 2), UBound(M, 2), UBound(N), After(2)\n"
           "For i = 1 To UBound(N)\nPrint \"never\"\nNext\nFor Each e In N\nPrint \"never\"\nNext"),
      "1 0 0 7");
  Check(
      {{"Dim a(-1 To 1, 5 To 6) As Integer\na(-1, 6) = 3\nPrint a(-1, 6), LBound(a, 2), UBound(a)",
        "3 5 1"},
       {"Dim a(2, 1, 1)\na(2, 0, 1) = \"x\"\nPrint a(2, 0, 1), \"[\" & a(0, 0, 0) & \"]\"", "x []"},
       {"n = 3\nDim a(n) As Double\na(3) = 1\nReDim Preserve a(4)\nPrint a(3), a(4), UBound(a)",
        "1 0 4"},
       {"Dim m() As Integer\nReDim m(1, 2)\nm(0, 1) = 4: m(1, 0) = 5\nReDim Preserve m(1, "
        "1)\nPrint m(0, 1), m(1, 0)",
        "4 5"},
       {"ReDim z(1 To 2) As String\nz(2) = 5\nPrint z(2) & z(1) & \".\"\nErase z\nReDim "
        "z(1)\nPrint \"[\" & z(1) & \"]\"",
        "5.|[]"},
       {"Dim a(1.5) As Boolean\na(0.6) = 2\nPrint a(1), a(0)", "True False"},
       {"Dim f(2) As Integer\nf(1) = 8\nErase f\nPrint f(1), UBound(f)", "0 2"}});
  CheckErrors(
      {{"Dim a(3)\na(4) = 1", "2: Subscript out of range: 4 is not in 0 To 3"},
       {"Dim a(1 To 3, 2)\nx = a(0, 2)", "2: Subscript out of range: 0 is not in 1 To 3"},
       {"Dim a(3)\nx = a(1, 2)", "2: Subscript out of range: the array has 1 dimensions, not 2"},
       {"Dim a()\nx = a(1)", "2: Subscript out of range: the array has no elements yet"},
       {"Dim a(3 To 1)", "1: `a` cannot have the bounds 3 To 1"},
       {"n = -5\nReDim a(n)", "2: Subscript out of range: an array cannot have the bounds 0 To -5"},
       {"Dim a(2) As Integer\na(1) = 3e9", "2: Overflow"},
       {"Dim a(2)\nReDim a(3)", "2: `a` has fixed bounds"},
       {"Dim a(2)\na(1) = Array(1)", "2: Type mismatch: an element cannot hold an array"},
       {"Dim m() As Integer\nReDim m(1, 1)\nReDim Preserve m(2, 1)",
        "3: Subscript out of range: Preserve can only change the last dimension's upper bound"},
       {"Dim a(1, 1, 1, 1, 1, 1, 1, 1, 1)", "1: an array has at most 8 dimensions"},
       {"x = 5\nx(1) = 2", "2: Type mismatch: no array"}});
}

/// Lines of constants are kept as a table; what they do must not differ.
TEST(ScriptArrays, TakeRunsOfConstantsInOrder) {
  const std::string arrays = "Option Base 1\nPublic A(3, 2) As Double, N(4) As Integer\n";
  EXPECT_EQ(With(arrays,
                 "A(1, 1)=1\nA(1, 2)=-2.5\nA(3, 2)=1e-05\nN(4)=2.5\nN(1)=7\nA(1, 1)=4\n"
                 "Print A(1, 1), A(1, 2), A(3, 2), N(4), N(1), N(2)"),
            "4 -2.5 1E-05 2 7 0");
  EXPECT_EQ(
      With(
          arrays,
          "For i = 1 To 2\nN(1)=1\nIf i = 1 Then\nN(2)=2\nEnd If\nN(3)=3\nIf i = 2 Then GoTo skip\n"
          "N(1)=5\nskip:\nN(4)=N(1)\nN(2)=9\nNext\nPrint N(1), N(2), N(3), N(4)"),
      "1 9 3 1");
  EXPECT_EQ(With(arrays,
                 "N(1)=1\nback:\nN(2)=2\nPrint N(1), N(2)\nN(1)=8\nN(2)=8\nk = k + 1\nIf k < 2 "
                 "Then GoTo back"),
            "1 2|8 2");
  EXPECT_EQ(ErrorOf(arrays + "Sub Main\nN(1)=1\nN(5)=1\nEnd Sub").line, 5);
  EXPECT_EQ(ErrorOf(arrays + "Sub Main\nN(1)=1\nN(2)=3000000000\nEnd Sub").reason, "Overflow");
}

}  // namespace
}  // namespace qrvml::test
