#include "qvb/script_runner.h"

namespace qrvml::test {
namespace {

TEST(ScriptLoops, ForCountsUpDownAndInFractions) {
  Check({{"For i = 1 To 3\nPrint i\nNext i\nPrint \"end\", i", "1|2|3|end 4"},
         {"Dim i As Integer\nFor i = 5 To 1 Step -2\nPrint i\nNext\nPrint i", "5|3|1|-1"},
         {"Dim x As Double\nFor x = 0 To 1 Step 0.25\nPrint x\nNext x", "0|0.25|0.5|0.75|1"},
         {"For i = 2 To 1\nPrint i\nNext\nPrint i", "2"},
         {"For i = 1 To 2: For j = 1 To 2: Print i & j: Next j, i", "11|12|21|22"},
         // The limits are read once, before the variable changes.
         {"i = 3\nFor i = i - 2 To i\ni = i + 1\nPrint i\nNext", "2|4"},
         {"Dim n As Integer\nFor n = 0.5 To 2.5\nPrint n\nNext", "0|1|2"},
         {"For i = 1 To 9\nIf i = 3 Then Exit For\nNext\nPrint i", "3"}});
}

TEST(ScriptLoops, DoAndWhileTestWhereTheyAreWritten) {
  Check({{"Do While n < 2\nn = n + 1\nPrint n\nLoop", "1|2"},
         {"Do Until n >= 2\nn = n + 1\nLoop\nPrint n", "2"},
         {"n = 5\nDo\nPrint n\nLoop While n < 5", "5"},
         {"Do\nn = n + 1\nLoop Until n = 4\nPrint n", "4"},
         {"While n < 3\nn = n + 1\nWend\nPrint n", "3"},
         {"Do\nn = n + 1\nIf n = 7 Then Exit Do\nLoop\nPrint n", "7"},
         {"For Each t In Array(\"a\", 2, True)\nPrint t\nNext t", "a|2|True"}});
}

TEST(ScriptBranches, OneOfThemRuns) {
  const std::string ifs =
      "For n = 1 To 4\nIf n = 1 Then\nPrint \"one\"\nElseIf n = 2 Then\nPrint \"two\"\n"
      "Else If n = 3 Then\nPrint \"three\"\nElse\nPrint \"more\"\nEnd If\nNext";
  Check({{ifs, "one|two|three|more"},
         {"If 1 = 2 Then Print 1: Print 2 Else Print 3: Print 4\nPrint 5", "3|4|5"},
         {"If 1 = 1 Then If 1 = 2 Then Print 1 Else Print 2\nPrint 3", "2|3"},
         {"If 1 Then Print \"so\"\nIf 0 Then Print \"not\"\nIf \"True\" Then Print \"too\"",
          "so|too"},
         {"For n = 0 To 6\nSelect Case n\nCase 1, 3 To 4: Print \"a\" & n\nCase Is > 5\nPrint "
          "\"b\" & n\n"
          "Case Else\nPrint \"c\" & n\nEnd Select\nNext",
          "c0|a1|c2|a3|a4|c5|b6"},
         {"Select Case \"m\"\nCase \"a\" To \"f\"\nPrint 1\nCase \"g\" To \"z\"\nPrint 2\nEnd "
          "Select\nPrint 3",
          "2|3"}});
}

TEST(ScriptGoTo, LeavesAndEntersLoops) {
  Check({{"For i = 1 To 2\nFor j = 1 To 3\nIf j = 2 Then GoTo NEXTI\nPrint i & j\nNext j\n"
          "NEXTI:\nNext i",
          "11|21"},
         // Back into a loop that was left: it goes on with its own limit.
         {"For i = 1 To 3\nIf i = 2 And Not seen Then GoTo outside\ninside:\nPrint i\nNext\nGoTo "
          "done\n"
          "outside:\nseen = True\nPrint \"out\"\nGoTo inside\ndone: Print \"end\"",
          "1|out|2|3|end"},
         {"10 n = n + 1\nIf n < 3 Then 10\nPrint n", "3"},
         {"If n = 0 GoTo z\nPrint 1\nz: Print 2", "2"}});
  CheckErrors(
      {{"GoTo inside\nFor i = 1 To 3\ninside:\nPrint i\nNext", "5: For loop not initialized"},
       {"Dim i As Integer\nGoTo inside\nFor i = 1 To 3\ninside:\nNext",
        "5: For loop not initialized"},
       {"GoTo inside\nFor Each i In Array(1)\ninside:\nNext", "4: For loop not initialized"}});
}

TEST(ScriptErrors, ResumeWhereTheScriptSays) {
  Check(
      {{"On Error GoTo bad\nx = 1 / 0\nPrint \"next\"\nExit Sub\nbad:\n"
        "Print Err.Number, Err.Description\nResume Next",
        "11 Division by zero|next"},
       {"On Error GoTo bad\nx = 1 / d\nPrint x\nExit Sub\nbad:\nd = 4\nResume", "0.25"},
       {"On Error GoTo bad\nx = 1 / 0\nExit Sub\nbad:\nResume out\nPrint 1\nout: Print Err.Number",
        "0"},
       {"On Error Resume Next\nx = 1 / 0\nPrint Err.Number\nErr.Clear\nPrint Err.Number\n"
        "On Error GoTo 0\nPrint \"ok\"",
        "11|0|ok"},
       {"On Error Resume Next\nErr.Raise 1234, \"me\", \"my text\"\nPrint Err.Number, "
        "Err.Description",
        "1234 my text"},
       {"On Error Resume Next\nDim a(2)\nFor i = 1 To 3\na(i) = i\nNext\nPrint Err.Number, i",
        "9 4"}});
  // A handler's own error is not its own to handle.
  CheckErrors(
      {{"On Error GoTo bad\nx = 1 / 0\nExit Sub\nbad:\nx = \"a\" + 1",
        "5: Type mismatch: \"a\" is no number"},
       {"On Error Resume Next\nx = 1 / 0\nOn Error GoTo 0\nx = 1 / 0", "4: Division by zero"},
       {"Resume", "1: Resume without error"}});
}

TEST(ScriptErrors, ReachTheCallerThatHandlesThem) {
  const std::string script =
      "Sub Deep(n As Integer)\nIf n = 0 Then x = 1 / 0\nDeep n - 1\nEnd Sub\n"
      "Function Safe(n As Integer) As String\nOn Error GoTo bad\nDeep n\nExit Function\n"
      "bad:\nSafe = Err.Description & n\nEnd Function\n"
      "Sub Main\nPrint Safe(0), Safe(3), Err.Number\nOn Error Resume Next\nDeep 2\nPrint "
      "\"on\"\nEnd Sub\n";
  EXPECT_EQ(Printed(script), "Division by zero0 Division by zero3 11|on");
  const ScriptError error = ErrorOf("Sub Deep\n\nx = 1 / 0\nEnd Sub\nSub Main\nDeep\nEnd Sub\n");
  EXPECT_EQ(error.line, 3);
  EXPECT_EQ(error.script, "test.qvb");
  EXPECT_EQ(error.kind, ScriptError::Kind::run);
  EXPECT_STREQ(error.what(), "test.qvb, line 3: Division by zero");
}

TEST(ScriptText, IsReadAsUsersWriteIt) {
  Check({{"PRINT 1, _\n  2 ' comment\nRem a comment: Print 3\nprint 4 : ' another", "1 2|4"},
         {"Dim Sum As Integer: sum = 3: Print SUM", "3"},
         {"Dim a(3)As Double, n%, s$, d#\na (2) = 1.5\nn = 2.5: s = 7: d = 3\nPrint a(2), n, s & "
          "s, d / 2",
          "1.5 2 77 1.5"},
         {"Const Pi = 3.5, Two As Integer = 1 + 1\nPrint Pi * Two", "7"},
         {"Let x = 2\nCall Print(x)\nPrint (x) + 1\nPrint(x)", "2|3|2"},
         {"Print \"end\": End\nPrint \"not\"", "end"}});
  EXPECT_EQ(
      Printed("\xEF\xBB\xBFOption Explicit\r\nDim x As Integer\r\nx = 2\r\nPrint x _\r\n + 1\r\n"),
      "3");
  EXPECT_EQ(Printed("x = 1\nTwice x\nPrint x\nSub Twice(y)\ny = y * 2\nEnd Sub"), "2");
}

TEST(ScriptText, FaultsNameTheirLineAndWhatWasExpected) {
  CheckErrors({{"\nx = = 2", "2: expected an expression, found ="},
               {"x = (1 + 2", "1: expected ), found the end of the line"},
               {"If x Then\nPrint 1", "3: expected End If, found End"},
               {"For i = 1 To 2\nNext j", "2: expected Next i, found Next j"},
               {"x = \"abc", "1: expected a closing quote before the end of the line"},
               {"GoTo nowhere", "1: there is no label `nowhere` in this procedure"},
               {"a:\na:", "2: the label `a` stands twice in one procedure"},
               {"x = Missing(1)", "1: `missing` is no array, function or sub"},
               {"Missing 1", "1: `missing` is no sub or function"},
               {"Dim x As Whatever", "1: there is no type `Whatever`"},
               {"Dim x, x", "1: `x` is declared twice or used before its declaration"},
               {"Set x = New Missing", "1: there is no class `missing`"},
               {"x = Len()", "1: `len` takes 1 arguments, not 0"},
               {"x = 1 2", "1: expected the end of the statement, found 2"},
               {"x = 12abc", "1: expected a blank or an operator behind a number"},
               {"x = ?", "1: unexpected character ?"},
               {"Exit Function", "1: Exit of the other kind of procedure"},
               {"Exit Do", "1: Exit Do outside of such a loop"},
               {"Loop", "1: expected End Sub, found Loop"},
               {".Value = 1", "1: a member without an object outside of With"},
               {"Const c = x", "1: expected a constant"},
               {"Const c = 1\nc = 2", "2: a constant cannot be assigned to"},
               {"x = 1e999", "1: the number 1e999 does not fit a Double"}});
  EXPECT_EQ(ErrorOf("Option Explicit\nSub Main\nx = 1\nEnd Sub").reason, "`x` is not declared");
  EXPECT_EQ(ErrorOf("Sub Main\nx = 1\n").reason, "expected End Sub");
  EXPECT_EQ(ErrorOf("Sub A\nEnd Sub\nSub a\nEnd Sub").line, 3);
  EXPECT_EQ(ErrorOf("Function F\nEnd Function\n").reason,
            "the script has no Sub Main and no statements outside of procedures");
  EXPECT_EQ(ErrorOf("Option Base 2").kind, ScriptError::Kind::compile);
}

}  // namespace
}  // namespace qrvml::test
