#include <random>

#include "qvb/node_objects.h"
#include "qvb/script_runner.h"

namespace qrvml::test {
namespace {

/// A script with most of the language in it, which ends by itself.
constexpr const char* kManyStatements = R"(Option Base 1
'#Uses "*CommonProspectorInputErrorMessages.qvx"
Const Limit As Integer = 5
Public Enum Kinds
	kA = 1
	kB
End Enum
Public M(3, 2) As Double, Names(2) As String, Any0, N(0) As Integer
Function Sum(V, Optional ByVal start As Double = 0.5) As Double
	Sum = start
	For Each x In V
		Sum = Sum + x
	Next
End Function
Sub Change(a, ByRef b As Integer, c() As Double)
	a = a & b
	b = b + 1
	ReDim Preserve c(LBound(c) To b)
	c(b) = Sum(c, 1)
End Sub
Sub Main
	Dim i As Integer, s As String, d() As Double, e As New ErrHolder
	On Error GoTo bad
	ReDim d(1 To 1)
	M(1, 1)=1
	M(3, 2)=-2.5e-3
	For i = 1 To Limit Step 2
		If i = 3 Then GoTo skip
		Change s, i, d
		Select Case i
		Case 1, 2: s = s & "a"
		Case Is > 3
			s = Left(s & UCase("éb"), 4)
		Case Else
			Exit For
		End Select
skip:
	Next i
	Do While Len(s) < 8
		s = s & Chr(65 + Len(s)) & CStr(M(3, 2))
	Loop
	With Err
		.Description = s
		Names(2) = .Description
	End With
	Any0 = Array(1, "2", True)
	Any0(2) = Any0(1) * 2 ^ -1 \ 1 Mod 7
	Set e = Nothing
	While i < 9: i = i + 1: Wend
	If i Like "#" And Not (i <> 9) Then Print s, Names(2), Any0(2), kB Else Print "no"
	DisplayCommonProspectorError NoDataSource
	x = 1 / 0
	Exit Sub
bad:
	Print Err.Number, Err.Description
	Resume Next
End Sub
)";

std::vector<std::string> Pieces(const std::string& script) {
  // Words, numbers, and single other characters; blanks stay with what they follow.
  std::vector<std::string> pieces;
  for (const char c : script) {
    const auto word = [](char d) { return std::isalnum(static_cast<unsigned char>(d)) != 0; };
    if (pieces.empty() || !word(c) || !word(pieces.back().back())) {
      pieces.emplace_back();
    }
    pieces.back() += c;
  }
  return pieces;
}

std::string Mangled(const std::string& script, std::mt19937& random) {
  std::vector<std::string> pieces = Pieces(script);
  const auto any = [&random, &pieces] { return random() % pieces.size(); };
  const int changes = 1 + static_cast<int>(random() % 4);
  for (int change = 0; change < changes && pieces.size() > 2; ++change) {
    const std::size_t place = any();
    switch (random() % 6) {
      case 0:
        pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(place));
        break;
      case 1:
        pieces.insert(pieces.begin() + static_cast<std::ptrdiff_t>(place), pieces[any()]);
        break;
      case 2:
        pieces[place] = pieces[any()];
        break;
      case 3:
        std::swap(pieces[place], pieces[any()]);
        break;
      case 4:
        pieces[place] = std::string(1, static_cast<char>(random() % 256));
        break;
      default:
        if (random() % 4 == 0) pieces.resize(place + 1);
        break;
    }
  }
  std::string whole;
  for (const std::string& piece : pieces) whole += piece;
  return whole;
}

/// Runs what may be no script at all; true when it ended by itself.
bool Ends(const std::string& script) {
  std::vector<std::string> lines;
  HostNames names = PrintingNames(lines);
  AddNodeNames(names, -9999);
  names.AddClass("ErrHolder", [] { return Ref<ScriptObject>(MakeRef<SpreadsheetObject>(-9999)); });
  names.AddFunction("MsgBox", {1, 3, [](std::span<const Value>) { return Value(); }});
  ScriptLimits limits;
  limits.steps = 200000;
  limits.bytes = 20000000;
  limits.callDepth = 200;
  try {
    Interpreter(CompileScript("mangled.qvb", script, names), limits).Run();
    return true;
  } catch (const ScriptError& error) {
    EXPECT_GE(error.line, 1) << error.what();
    EXPECT_FALSE(error.reason.empty());
    return false;
  }
}

TEST(MangledScripts, EndWithAnErrorOrWithinTheLimits) {
  ASSERT_TRUE(Ends(kManyStatements));
  std::mt19937 random(20240607);
  int ended = 0;
  constexpr int kTries = 6000;
  for (int i = 0; i < kTries; ++i) ended += Ends(Mangled(kManyStatements, random)) ? 1 : 0;
  // Some changes hit comments, texts and numbers, most do not.
  EXPECT_GT(ended, kTries / 50);
  EXPECT_LT(ended, kTries / 2);
}

TEST(MangledScripts, AreCutAnywhere) {
  const std::string statements = kManyStatements;
  for (std::size_t length = 0; length < statements.size(); ++length)
    Ends(statements.substr(0, length));
}

}  // namespace
}  // namespace qrvml::test
