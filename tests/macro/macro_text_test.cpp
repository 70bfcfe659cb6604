#include "macro/macro_text.h"

#include <gtest/gtest.h>

namespace qrvml {
namespace {

using What = RecordedChange::What;

TEST(MacroText, SaysWhatWasDoneInOrder) {
  const OpenOptions file{.path = "données.csv",
                         .delimiter = "tab",
                         .missing = {"age=99", "town=\"?\""},
                         .weight = "w",
                         .select = "age > 3",
                         .memory = "1G",
                         .threads = 2};
  const std::vector<RecordedChange> changes = {
      {.control = "TypeOfAnalysis",
       .kind = ControlKind::choice,
       .value = "2",
       .constant = 50366,
       .constantName = "scMLKNN"},
      {.what = What::run},
      {.control = "Variables", .kind = ControlKind::pick, .value = "| \"a b\" | x |"},
      {.control = "Euclidean", .kind = ControlKind::radio, .value = "1"},
      {.control = "ApplyCrossV", .kind = ControlKind::check, .value = "0"},
      {.control = "VValue", .kind = ControlKind::integer, .value = "5"},
      {.control = "Sample.Code", .kind = ControlKind::text, .isMember = false, .value = "7"},
      {.what = What::run},
      {.what = What::back},
      {.what = What::data, .control = "Weight", .value = ""},
      {.what = What::run},
      {.what = What::answer, .control = "ResultsSelection", .value = "*"},
      {.what = What::act, .control = "PrintPredictions", .kind = ControlKind::action},
      {.what = What::act,
       .control = "Priors.Select",
       .kind = ControlKind::button,
       .isMember = false},
  };
  EXPECT_EQ(MacroText(file, changes),
            R"('A recorded analysis. qrvml run does it again, also on another file.
Option Base 1
Sub Main
	With Application.DataFile
		.Delimiter = "tab"
		.AddMissing "age=99"
		.AddMissing "town=""?"""
		.Weight = "w"
		.Selection = "age > 3"
		.Open "données.csv"
	End With
	Dim Analysis As Object
	Set Analysis = Application.Analysis(scMachineLearning)
	With Analysis.Dialog
		.TypeOfAnalysis = scMLKNN
	End With
	Analysis.Run
	With Analysis.Dialog
		.Variables = "| ""a b"" | x |"
		.Euclidean = True
		.ApplyCrossV = False
		.VValue = 5
		.SetControl "Sample.Code", "7"
	End With
	Analysis.Run
	Analysis.Dialog.Cancel
	Application.DataFile.Weight = ""
	Analysis.Run
	With Analysis.Dialog
		.ResultsSelection = "*"
		.PrintPredictions
		.PressControl "Priors.Select"
	End With
End Sub
)");
}

TEST(MacroText, ControlCharactersLeaveTheQuotes) {
  EXPECT_EQ(TextLiteral(""), "\"\"");
  EXPECT_EQ(TextLiteral("a\nb\""), "\"a\" & Chr(10) & \"b\"\"\"");
  EXPECT_EQ(TextLiteral("\r\n"), "\"\" & Chr(13) & Chr(10)");
}

}  // namespace
}  // namespace qrvml
