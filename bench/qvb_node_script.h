// A nearest-neighbours script as the generator writes them, for two continuous inputs and a
// categorical one, a continuous dependent and a categorical one.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace bench {

/// metric 0 to 3, weighted or not, K neighbours; rows of dependents (response, class) and inputs
/// (x1, x2, group), of classes 11, 12 and 13.
inline std::string NodeScript(int metric, bool weighted, int neighbours,
                              const std::vector<std::vector<double>>& rows) {
  const std::string n = std::to_string(rows.size());
  const std::string k = std::to_string(neighbours);
  std::string text = R"('#Uses "*CommonProspectorInputErrorMessages.qvx"
Option Base 1

'==================================================================
' KNN variables
'==================================================================
Public NoContInputs As Integer
Public NoCatInputs As Integer
Public NoInputs As Integer
Public InputIndex(3) As Integer
Public Inputs(3) As Double
Public ScaledInputs(3) As Double
Public NoInputNominals(3) As Integer
Public InputNominals(1, 2) As Integer
Public InputShift(3) As Double
Public InputScale(3) As Double
Public NoContOutputs As Integer
Public NoCatOutputs As Integer
Public NoOutputs As Integer
Public OutputIndex(2) As Integer
Public NoOutputNominals(2) As Integer
Public OutputNominals(1, 3) As Integer
Public Outputs(2) As Double
Public Weighted As Boolean
Public Metric As Integer
Public NoOfNearestK As Integer
Public NoOfPrototypes As Integer
Public InputPrototypes()" +
                     n + R"(, 3) As Double
Public ScaledInputPrototype(3)As Double
Public OutputPrototypes()" +
                     n + R"(, 2) As Double
Public KIndex()" + k +
                     R"() As Integer
Public KWeights()" + k +
                     R"() As Double
Public Predictions(2) As Double
Public Residuals(2) As Double
Public Confidence(2,3) As Double
Private Sub SubsetNode( _
	DataIn() As InputDescriptor, _
	DataOut() As InputDescriptor)

'==================================================================
' KNN variable initialization
'==================================================================
NoContInputs=2
NoCatInputs=1
NoInputs=3

InputIndex(1)=3
InputIndex(2)=4
InputIndex(3)=5

NoInputNominals(1)=2

InputNominals(1, 1)=1
InputNominals(1, 2)=2

InputShift(1)=-0.5
InputShift(2)=-1
InputShift(3)=0

InputScale(1)=0.25
InputScale(2)=0.04
InputScale(3)=1

NoContOutputs=1
NoCatOutputs=1

OutputIndex(1)=1
OutputIndex(2)=2
NoOutputNominals(1)=3

OutputNominals(1, 1)=13
OutputNominals(1, 2)=11
OutputNominals(1, 3)=12

Weighted = )" + (weighted ? "True" : "False") +
                     "\nMetric = " + std::to_string(metric) + "\nNoOfPrototypes = " + n +
                     "\nNoOfNearestK = " + k + "\n\n";
  const auto number = [](double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%g", value);
    return std::string(buffer);
  };
  for (std::size_t r = 0; r < rows.size(); ++r) {
    for (std::size_t i = 0; i < 3; ++i) {
      text += "InputPrototypes(" + std::to_string(r + 1) + ", " + std::to_string(i + 1) +
              ")=" + number(rows[r][2 + i]) + "\n";
    }
  }
  text += "\n\n";
  // As for several dependents of which the first is continuous: column 2 holds the class.
  for (std::size_t r = 0; r < rows.size(); ++r) {
    for (std::size_t i = 0; i < 2; ++i) {
      text += "OutputPrototypes(" + std::to_string(r + 1) + ", " + std::to_string(i + 1) +
              ")=" + number(rows[r][i]) + "\n";
    }
  }
  return text + R"(

'==================================================================
'Machine Learning KNN QVB deployment code
' Data used in estimation: small.csv
'==================================================================


'==================================================================
' 1. Checking the InputDescriptor DataIn().
'==================================================================
	Lower = LBound( DataIn )
	Upper = UBound( DataIn )

'==================================================================
' 2. Checking input data descriptor, variable selections, etc.
'==================================================================
	Dim MinerError As ProspectorInputErrors

	For i=Lower To Upper
		MinerError = CheckInputErrorNumber(DataIn(i))
		If MinerError <> StartOfCommonProspectorInputErrors Then	GoTo ErrorHandler
	Next i

'==================================================================
' Zephyr variables
'==================================================================
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

			For k=1 To NoContInputs
				Inputs(k) = DataIn(i).DataSource.Value(j, DataIn(i).ContinuousPredictors(k))
			Next k
			For k=1 To NoCatInputs
				Inputs(k+NoContInputs) = DataIn(i).DataSource.Value(j, DataIn(i).CategoricalPredictors(k))
			Next k

			For k=1 To NoContOutputs
				Outputs(k) = DataIn(i).DataSource.Value(j, DataIn(i).ContinuousDependentVariables(k))
			Next k
			For k=1 To NoCatOutputs
				Outputs(k+NoContOutputs) = DataIn(i).DataSource.Value(j, DataIn(i).CategoricalDependentVariables(k))
			Next k

			Predict()

			For k=1 To NoContOutputs
				Docs.Value(j, k) = Predictions(k)
				Docs.Value(j, k+1) = residuals(k)
			Next k
			For k=1 To NoCatOutputs
				Docs.Value(j, k+2) = Predictions(k+NoContOutputs)
				Docs.Value(j, k+3) = Residuals(k+NoContOutputs)
			Next k
		Next j

			Docs.InputSpreadsheet = True
			Inputdes.DataSource = Docs
			Set DataOut(i) = Inputdes
			DataOut(i).SourceId = DataIn(i).Id

			Set Inputdes = Nothing
			Set Docs = Nothing
	Next i

ExitPort:
	Exit Sub

'==================================================================
' 7. Error messages
'==================================================================
ErrorHandler:
	DisplayCommonProspectorError( MinerError )
	GoTo ExitPort
End Sub

'==================================================================
' 8. Error checking function
'==================================================================
Private Function CheckInputErrorNumber( ByVal ID As InputDescriptor ) _
	As ProspectorInputErrors
	CheckInputErrorNumber = StartOfCommonProspectorInputErrors
'Checking continuous and categorical independent variables
	If ID.NumberOfContinuousPredictors <> NoContInputs Then
		CheckInputErrorNumber = NoContinuousPredictor
	ElseIf ID.NumberOfCategoricalPredictors <> NoCatInputs Then
		CheckInputErrorNumber = NoCategoricalPredictor
	End If
End Function

Private Function Scale(Vector)
	For i=1 To NoContInputs
		Vector(i) = InputShift(i) + InputScale(i)*Vector(i)
	Next i
End Function

Private Function Difference(Value, Proto, IsCat) As Double
	If IsCat=False Then
		Difference = Value - Proto
	Else
		If Value = Proto Then
			Difference = 0
		Else
			Difference = 1
		End If
	End If
End Function

Private Function Distance(Inputs, Prototype) As Double
	Dim Diff As Double

	Distance=0

	For i=1 To NoContInputs
		Diff = Difference(Inputs(i), Prototype(i), 0)
		If Metric<2 Then
			Distance = Distance + Diff*Diff
		ElseIf Metric=2 Then
			Distance = Distance + Abs(Diff)
		ElseIf Metric=3 Then
			If Abs(Diff)>Distance Then
				Distance = Abs(Diff)
			End If
		End If
	Next i

	For i=1 To NoCatInputs
		Diff = Difference(Inputs(i+NoContInputs), Prototype(i+NoContInputs), 1)
		If Metric<2 Then
			Distance = Distance + Diff*Diff
		ElseIf Metric=2 Then
			Distance = Distance + Abs(Diff)
		ElseIf Metric=3 Then
			If Abs(Diff)>Distance Then
				Distance = Abs(Diff)
			End If
		End If
	Next i

	If Metric=0 Then
		Distance = Sqr(Distance)
	End If

End Function

Private Function FindKNearest()
	Dim i, j, k As Integer
	Dim MinDist, Dist, Norm As Double

	Norm=0

	For i=1 To NoOfNearestK
		KIndex(i) = -1
	Next i

	For i=1 To NoInputs
		ScaledInputs(i) = Inputs(i)
	Next i

	Scale(ScaledInputs)

	For i=1 To NoOfNearestK
		MinDist = 1.7976931348623158e+308
		For j=1 To NoOfPrototypes
			For k=1 To i
				If j=KIndex(k) Then
					GoTo NEXTK
				End If
			Next k

			For k=1 To NoInputs
				ScaledInputPrototype(k) = InputPrototypes(j, k)
			Next k

			Scale(ScaledInputPrototype)

			Dist = Distance(ScaledInputs, ScaledInputPrototype)
			If Dist<MinDist Then
				MinDist=Dist
				KIndex(i)=j
			End If

			NEXTK:
		Next j

		If Weighted Then
			KWeights(i) = Exp(-MinDist)
		Else
			KWeights(i)=1
		End If
	Next i

	If Weighted Then
		Norm = 0
		For i=1 To NoOfNearestK
			Norm = Norm + KWeights(i)
		Next i

		If Norm<>0 Then
			For i=1 To NoOfNearestK
				KWeights(i) = KWeights(i)/Norm
			Next i
		End If
	End If
End Function

Private Function Predict()
	Dim i, j As Integer
	Dim Norm, MaxConf As Double

	Norm = 0

	FindKNearest()

	For i = 1 To NoContOutputs
		Predictions(i) = 0
		For j = 1 To NoOfNearestK
			If Weighted Then
				Predictions(i) = Predictions(i) + KWeights(j)*OutputPrototypes(KIndex(j), i)
			Else
				Predictions(i) = Predictions(i) + OutputPrototypes(KIndex(j), i)
			End If
		Next j
		If Weighted = False Then
			Predictions(i) = Predictions(i)/NoOfNearestK
		End If
		If Outputs(i)<>MissingCode Then
			Residuals(i) = Outputs(i) - Predictions(i)
		Else
			Residuals(i) = MissingCode
		End If
	Next i

	For i = 1 To NoCatOutputs
		Dim o As Integer
		o = i + NoContOutputs
		For j = 1 To NoOutputNominals(i)
			Confidence(i, j) = 0
		Next j

		For j = 1 To NoOutputNominals(i)
			For k = 1 To NoOfNearestK
				If OutputNominals(i, j) = OutputPrototypes(KIndex(k), o) Then
					Confidence(i, j) = Confidence(i, j) + KWeights(k)
				End If
			Next k
		Next j

		Norm = 0
		MaxConf = -1
		For j = 1 To NoOutputNominals(i)
			Norm = Norm + Confidence(i, j)
			If MaxConf < Confidence(i, j) Then
				Predictions(o) = OutputNominals(i, j)
				MaxConf = Confidence(i, j)
			End If
		Next j

		If Norm<>0 Then
			For j = 1 To NoOutputNominals(i)
				Confidence(i, j) = Confidence(i, j)/Norm
			Next j
		End If

		If Outputs(o)<>MissingCode Then
			If Outputs(o) = Predictions(o) Then
				Residuals(o) = 0
			Else
				Residuals(o) = 1
			End If
		Else
			Residuals(o) = MissingCode
		End If
	Next i
End Function
)";
}

}  // namespace bench
