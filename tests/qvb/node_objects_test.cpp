#include "qvb/node_objects.h"

#include "qvb/row_table.h"
#include "qvb/script_runner.h"

namespace qrvml::test {
namespace {

NodeInput InputOf(const RowTable& table) {
  NodeInput input;
  input.table = &table;
  input.continuousPredictors = {3, 4};
  input.categoricalPredictors = {5};
  input.continuousDependents = {1};
  input.categoricalDependents = {2};
  return input;
}

/// Columns: response, class, x1, x2, group.
RowTable Cases() {
  return RowTable({{2, 11, 1, 9, 1},
                   {-9999, 12, 2.2, 21, 2},
                   {3, -9999, 0, 14, 2},
                   {1, 13, 3.75, 20, 1},
                   {0, 12, 5, 5, 2},
                   {9, 11, -3, 25, 1}});
}

/// In the form of the generated scripts: checks its input, then copies the second continuous
/// predictor and one variable of each other kind.
constexpr const char* kCopies = R"('#Uses "*CommonProspectorInputErrorMessages.qvx"
Option Base 1
Public NoContInputs As Integer
Private Sub SubsetNode( _
	DataIn() As InputDescriptor, _
	DataOut() As InputDescriptor)

NoContInputs=2
	Lower = LBound( DataIn )
	Upper = UBound( DataIn )
	Dim MinerError As ProspectorInputErrors

	For i=Lower To Upper
		MinerError = CheckInputErrorNumber(DataIn(i))
		If MinerError <> StartOfCommonProspectorInputErrors Then	GoTo ErrorHandler
	Next i
	ReDim DataOut( Lower To Upper )
	Dim Docs As Spreadsheet
	Dim Inputdes As InputDescriptor

	For i=Lower To Upper
		Set Docs = new Spreadsheet
		Set Inputdes = new InputDescriptor
		Dim NumberOfCases As Integer
		NumberOfCases = DataIn(i).DataSource.NumberOfCases
		Docs.SetSize(NumberOfCases, 2)

		For j=1 To NumberOfCases
			Docs.CaseName(j) = DataIn(i).DataSource.CaseName(j)
			Docs.Value(j, 1) = DataIn(i).DataSource.Value(j, DataIn(i).ContinuousPredictors(2))
			Docs.Value(j, 2) = DataIn(i).DataSource.Value(j, DataIn(i).CategoricalPredictors(1))
			Docs.Value(j, 3) = DataIn(i).DataSource.Value(j, DataIn(i).ContinuousDependentVariables(1))
			Docs.Value(j, 4) = DataIn(i).DataSource.Value(j, DataIn(i).CategoricalDependentVariables(1))
			If docs.value(j, 3)=MissingCode Then
				Docs.Value(j, 1) = 0
			End If
		Next j

			Docs.InputSpreadsheet = True
			Inputdes.DataSource = Docs
			Set DataOut(i) = Inputdes
			DataOut(I).SourceId = DataIn(i).Id

			Set Inputdes = Nothing
			Set Docs = Nothing
	Next i

ExitPort:
	Exit Sub

ErrorHandler:
	DisplayCommonProspectorError( MinerError )
	GoTo ExitPort
End Sub

Private Function CheckInputErrorNumber( ByVal ID As InputDescriptor ) _
	As ProspectorInputErrors
	CheckInputErrorNumber = StartOfCommonProspectorInputErrors
	If ID.NumberOfContinuousPredictors <> NoContInputs Then
		CheckInputErrorNumber = NoContinuousPredictor
	End If
End Function
)";

TEST(NodeScript, ReadsItsInputByRoleAndFillsASheet) {
  const RowTable table = Cases();
  const NodeOutput output = RunNodeScript("copies.qvb", kCopies, InputOf(table), {});
  ASSERT_EQ(output.sheet.cases, table.Cases());
  ASSERT_EQ(output.sheet.columns.size(), 4u) << "the sheet has grown";
  for (int row = 0; row < table.Cases(); ++row) {
    const std::vector<double>& cells = table.rows[row];
    const double expected[] = {cells[0] == -9999 ? 0 : cells[3], cells[4], cells[0], cells[1]};
    for (int column = 0; column < 4; ++column)
      EXPECT_EQ(output.sheet.columns[column][row], expected[column]) << row << ' ' << column;
    EXPECT_EQ(output.sheet.caseNames.at(row + 1), "case " + std::to_string(row + 1));
  }
}

TEST(NodeScript, TellsWhatIsWrongWithItsInput) {
  const RowTable table = Cases();
  const auto reason = [](const NodeInput& input) -> std::string {
    try {
      RunNodeScript("copies.qvb", kCopies, input, {});
    } catch (const ScriptError& error) {
      return error.reason;
    }
    return "none";
  };
  NodeInput input = InputOf(table);
  input.continuousPredictors = {3};
  EXPECT_EQ(reason(input), "The input does not have as many continuous predictors as the model.");
  input = InputOf(table);
  input.categoricalDependents.clear();
  EXPECT_EQ(reason(input), "Subscript out of range: 1 is not in 1 To 0");
  EXPECT_THROW(RunNodeScript("x", "Sub Other\nEnd Sub", input, {}), ScriptError);
}

std::string SheetError(const std::string& statements, const ScriptLimits& limits = {}) {
  const RowTable table = Cases();
  try {
    RunNodeScript("n.qvb",
                  "Sub SubsetNode(DataIn() As InputDescriptor, DataOut() As InputDescriptor)\n"
                  "ReDim DataOut(1)\nDim d As New Spreadsheet\n" +
                      statements +
                      "\nSet DataOut(0) = New InputDescriptor\nDataOut(0).DataSource = d\nEnd Sub",
                  InputOf(table), limits);
  } catch (const ScriptError& error) {
    return error.reason;
  }
  return "none";
}

TEST(NodeSheet, GrowsWhereItIsWrittenAndNotWhereItIsRead) {
  const RowTable table = Cases();
  const NodeOutput output =
      RunNodeScript("n.qvb",
                    "Sub SubsetNode(DataIn() As InputDescriptor, DataOut() As InputDescriptor)\n"
                    "ReDim DataOut(1 To 1)\nSet DataOut(1) = New InputDescriptor\nDim d As New "
                    "Spreadsheet\nd.Value(2, 3) = 1.5\n"
                    "d.SetSize(d.NumberOfCases + 1, 2)\nd.VariableName(2) = "
                    "DataIn(1).DataSource.VariableName(5) & \"é\"\n"
                    "DataOut(1).DataSource = d\nEnd Sub",
                    InputOf(table), {});
  EXPECT_EQ(output.sheet.cases, 3);
  EXPECT_EQ(output.sheet.columns,
            std::vector<std::vector<double>>(2, std::vector<double>(3, -9999)));
  EXPECT_EQ(output.sheet.variableNames.at(2), "V5é");

  EXPECT_EQ(SheetError("d.Value(1, 1) = 2"), "none");
  EXPECT_EQ(SheetError("x = d.Value(1, 1)"), "Subscript out of range: 1 is not in 1 To 0");
  EXPECT_EQ(SheetError("d.Value(0, 1) = 2"), "Subscript out of range: 0 is not in 1 To 2147483647");
  EXPECT_EQ(SheetError("DataIn(1).DataSource.Value(1, 1) = 2"),
            "Invalid property value: a data source cannot be written");
  EXPECT_EQ(SheetError("x = DataIn(1).DataSource.Value(7, 1)"),
            "Subscript out of range: 7 is not in 1 To 6");
  EXPECT_EQ(SheetError("DataIn(1).DataSource = 5"), "Type mismatch: expected a Spreadsheet");
  EXPECT_EQ(SheetError("d.SetSize(-1, 2)"),
            "Invalid procedure call or argument: a spreadsheet of -1 cases x 2");
  ScriptLimits limits;
  limits.bytes = 1000000;
  EXPECT_EQ(SheetError("d.Value(1000000, 1) = 2", limits),
            "The script needs more than its 1000000 bytes of memory");
  EXPECT_EQ(SheetError("d.SetSize(2000, 1)\nFor i = 1 To 2000\nd.CaseName(i) = Space(1000)\nNext",
                       limits),
            "The script needs more than its 1000000 bytes of memory");
  EXPECT_EQ(SheetError("Do\nMsgBox Space(1000)\nLoop", limits),
            "The script needs more than its 1000000 bytes of memory");
}

}  // namespace
}  // namespace qrvml::test
