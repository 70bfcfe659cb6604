#include "qvb/script_runner.h"

namespace qrvml::test {
namespace {

TEST(ScriptOperators, BindAsInBasic) {
  Check({{"Print 2 + 3 * 4, (2 + 3) * 4, 2 ^ 3 ^ 2", "14 20 64"},
         {"Print -2 ^ 2, 2 ^ -1, 2 * -3", "-4 0.5 -6"},
         {"Print 17 \\ 5 * 2, 17 Mod 5 * 2, 7 \\ 2 Mod 2", "1 7 1"},
         {"Print 1 + 2 & 3 + 4, 10 - 2 - 3, 100 / 10 / 2", "37 5 5"},
         {"Print 1 < 2 = True, Not 1 = 2, Not 0 And 6", "True True 6"},
         {"Print True Or False And False, True Xor True", "True False"},
         {"Print 3 > 2 And 2 >= 2 And 1 <= 2 And 1 <> 2 And 1 =< 2", "True"}});
}

TEST(ScriptOperators, IntegersHaveThirtyTwoBits) {
  Check({{"Dim n As Integer\nn = 40000 * 50000\nPrint n", "2000000000"},
         {"Dim n As Long\nn = -2147483647\nn = n - 1\nPrint n, n + 1", "-2147483648 -2147483647"},
         {"Print -7 \\ 2, -7 Mod 3, 7 Mod -3, &HFF, &O17, &HFFFFFFFF", "-3 -1 1 255 15 -1"},
         {"Print 6 And 3, 6 Or 3, 6 Xor 3, Not 6", "2 7 5 -7"},
         // A variant has room for more.
         {"n = 2147483647\nn = n + 1\nPrint n, TypeName(n)", "2147483648 Double"},
         {"n = 65536\nPrint n * n, -n * n - n * n", "4294967296 -8589934592"}});
  CheckErrors({{"Dim n As Integer\nn = 2147483647\n\nn = n + 1", "4: Overflow"},
               {"Print 2147483647 + 1", "1: Overflow"},
               {"Dim n As Integer\nn = 65536\nn = n * n", "3: Overflow"},
               {"Dim n As Integer\nn = -2147483648\nn = -n", "3: Overflow"},
               {"Dim n As Integer, m\nm = -2147483648\nn = m \\ -1", "3: Overflow"},
               {"Dim n As Integer\nn = 3e9", "2: Overflow"},
               {"Dim n As Integer\nFor n = 2147483646 To 2147483647\nNext", "3: Overflow"},
               {"Print 1 \\ 0", "1: Division by zero"},
               {"x = 5 Mod 0.4", "1: Division by zero"},
               {"x = 1 / 0", "1: Division by zero"},
               {"Dim d As Double\nd = 0\nd = d / d", "3: Division by zero"}});
}

TEST(ScriptOperators, DoublesFollowTheirStandard) {
  Check({{"Dim x As Double\nx = 1e308\nx = x * 10\nPrint x, -x, x - x", "Infinity -Infinity NaN"},
         {"Print Log(0), Sqr(-1) = Sqr(-1), Exp(-1e300)", "-Infinity False 0"},
         {"Print 0.1 + 0.2, 1 / 3, 1E15, 123456789012345, 0.00001, -0.5",
          "0.3 0.333333333333333 1E+15 123456789012345 1E-05 -0.5"},
         {"Print 7 / 2, 6 / 2, .5, 5., 1.5D2, 1e-999", "3.5 3 0.5 5 150 0"}});
}

TEST(ScriptConversions, RoundHalvesToEven) {
  Check({{"Dim n As Integer\nn = 2.5\nPrint n\nn = 3.5\nPrint n\nn = -0.5\nPrint n", "2|4|0"},
         {"Print CInt(0.5), CInt(1.5), CLng(\"2.5\"), Round(0.125, 2), Round(2.5), Round(-1.55, 1)",
          "0 2 2 0.12 2 -1.6"},
         {"Print Int(-1.5), Fix(-1.5), Int(7), Sgn(-0.1), Abs(-3), Abs(-2.5)", "-2 -1 7 -1 3 2.5"},
         {"Print CBool(2), CBool(\"false\"), CDbl(\" 1.5 \"), CStr(True), CInt(True)",
          "True False 1.5 True -1"},
         {"Print True + 1, -True, False = 0, \"3\" + 4, \"3\" + \"4\", \"3\" * \"4\"",
          "0 1 True 7 34 12"},
         {"Print Empty0 + 1, Empty0 & \"x\", Empty0 = 0, Empty0 = \"\"", "1 x True True"}});
  CheckErrors({{"x = \"abc\" * 2", "1: Type mismatch: \"abc\" is no number"},
               {"Dim n As Integer\nn = \"12x\"", "2: Type mismatch: \"12x\" is no number"},
               {"If Nothing Then Print 1", "1: Type mismatch: an object is no number"},
               {"x = Array(1)\ny = x + 1", "2: Type mismatch: an array is no number"}});
}

TEST(ScriptComparisons, TextsGoByTheirBytes) {
  Check({{"Print \"a\" < \"b\", \"Z\" < \"a\", \"é\" > \"z\", \"ab\" > \"a\", \"a\" = \"A\"",
          "True True True True False"},
         {"Print \"10\" = 10, 9 < \"10\", \"\" = Empty0", "True True True"},
         {"Print \"Iris\" Like \"I*s\", \"a1\" Like \"[a-c]#\", \"d1\" Like \"[!a-c]?\", "
          "\"x\" Like \"\", \"aXbXc\" Like \"a*X*c\"",
          "True True True False True"}});
}

TEST(ScriptTexts, CountCharactersNotBytes) {
  Check(
      {{"Print Len(\"été\"), Left(\"été\", 1), Right(\"été\", 2), Mid(\"été\", 2, 1), "
        "Mid$(\"été\", 3)",
        "3 é té t é"},
       {"Print InStr(\"déjà vu\", \"à\"), InStr(3, \"ababab\", \"ab\"), InStr(\"abc\", \"x\"), "
        "InStrRev(\"éaéa\", \"a\")",
        "4 3 0 4"},
       {"Print UCase(\"éßœx÷\"), LCase(\"ÀÉŒ×Z\")", "ÉßŒX÷ àéœ×z"},
       {"Print \"[\" & Trim(\"  a b \") & LTrim(\" c\") & RTrim(\"d  \") & \"]\"", "[a bcd]"},
       {"Print Chr(233), Asc(\"é\"), Chr(65), Asc(\"\xF0\x9F\x98\x80\"), Len(Chr(128512))",
        "é 233 A 128512 1"},
       {"Print \"<\" & Space(2) & String(3, \"é\") & String(2, 45) & \">\"", "<  ééé-->"},
       {"Print Replace(\"a.b.c\", \".\", \"--\"), Replace(\"aaa\", \"aa\", \"b\"), Replace(\"x\", "
        "\"\", \"y\")",
        "a--b--c ba x"},
       {"p = Split(\"a,b,,c\", \",\")\nPrint UBound(p), p(1), \"[\" & p(2) & \"]\", Join(p, \"+\")",
        "3 b [] a+b++c"},
       {"Print Str(5) & Str(-5), Val(\" 12.5abc\"), Val(\"x\"), Val(\"-3e2\"), Hex(255), Oct(8)",
        " 5-5 12.5 0 -300 FF 10"},
       {"Print \"say \"\"hi\"\"\", StrComp(\"a\", \"b\"), IsNumeric(\"1e3\"), IsNumeric(\"1x\")",
        "say \"hi\" -1 True False"}});
  CheckErrors(
      {{"x = Left(\"a\", -1)", "1: Invalid procedure call or argument: Left of a negative length"},
       {"x = Mid(\"a\", 0)", "1: Invalid procedure call or argument: positions begin at 1"},
       {"x = Chr(55296)", "1: Invalid procedure call or argument: 55296 is no character"}});
}

TEST(ScriptTexts, FormatFollowsItsPicture) {
  Check(
      {{"Print Format(1234.5, \"0.00\"), Format(1234567.891, \"#,##0.0\"), Format(0.256, \"0.0%\")",
        "1234.50 1,234,567.9 25.6%"},
       {"Print Format(0.5, \"#.##\"), Format(5, \"000\"), Format(-1.25, \"0.0#\"), Format(-0.001, "
        "\"0.0\")",
        ".5 005 -1.25 0.0"},
       {"Print Format(12, \"about 0 kg\"), Format(12), Format(\"text\", \"0\")",
        "about 12 kg 12 text"}});
}

TEST(ScriptNumbers, FunctionsGiveTheirMathematicalValues) {
  Check({{"Print Round(Sin(1), 9), Round(Cos(1), 9), Round(Tan(1), 9), Round(Atn(1) * 4, 9)",
          "0.841470985 0.540302306 1.557407725 3.141592654"},
         {"Print Round(Exp(1), 9), Round(Log(10), 9), Sqr(2.25), Round(tanh(0.5), 9)",
          "2.718281828 2.302585093 1.5 0.462117157"},
         {"Print IIf(1 > 2, \"a\", \"b\"), Rnd(-5) = Rnd(-5), Rnd(0) = Rnd(0), Rnd < 1",
          "b True True True"}});
}

}  // namespace
}  // namespace qrvml::test
