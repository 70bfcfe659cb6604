// The nearest-neighbour part of the generated QVB scripts.

#include "knn/knn_deployment.h"

namespace qrvml {
namespace {

constexpr std::string_view kDeclarations = R"(Public NoContInputs As Integer
Public NoCatInputs As Integer
Public NoInputs As Integer
Public InputIndex(${ni}) As Integer
Public Inputs(${ni}) As Double
Public ScaledInputs(${ni}) As Double
Public NoInputNominals(${ni}) As Integer
Public InputNominals(${nk}, ${inputClasses}) As Integer
Public InputShift(${ni}) As Double
Public InputScale(${ni}) As Double
Public NoContOutputs As Integer
Public NoCatOutputs As Integer
Public NoOutputs As Integer
Public OutputIndex(${m}) As Integer
Public NoOutputNominals(${m}) As Integer
Public OutputNominals(${mk}, ${outputClasses}) As Integer
Public Outputs(${m}) As Double
Public Weighted As Boolean
Public Metric As Integer
Public NoOfNearestK As Integer
Public NoOfPrototypes As Integer
Public InputPrototypes(${prototypes}, ${ni}) As Double
Public ScaledInputPrototype(${ni})As Double
Public OutputPrototypes(${prototypes}, ${m}) As Double
Public KIndex(${k}) As Integer
Public KWeights(${k}) As Double
Public Predictions(${m}) As Double
Public Residuals(${m}) As Double
Public Confidence(${m},${outputClasses}) As Double
)";

constexpr std::string_view kInputCounts = R"(NoContInputs=${nc}
NoCatInputs=${nk}
NoInputs=${ni}

)";

constexpr std::string_view kOutputCounts = R"(NoContOutputs=${mc}
NoCatOutputs=${mk}

)";

constexpr std::string_view kSettings = R"(Weighted = ${weighted}
Metric = ${metric}
NoOfPrototypes = ${prototypes}
NoOfNearestK = ${k}

)";

constexpr std::string_view kPrediction = R"(			Predict()

			For k=1 To NoContOutputs
				Docs.Value(j, k) = Predictions(k)
				Docs.Value(j, k+1) = residuals(k)
			Next k
			For k=1 To NoCatOutputs
				Docs.Value(j, k) = Predictions(k)
				Docs.Value(j, k+1) = Residuals(k)
			Next k
)";

constexpr std::string_view kMetricBlock = R"(		If Metric<2 Then
			Distance = Distance + Diff*Diff
		ElseIf Metric=2 Then
			Distance = Distance + Abs(Diff)
		ElseIf Metric=3 Then
			If Abs(Diff)>Distance Then
				Distance = Abs(Diff)
			End If
		End If
)";

constexpr std::string_view kDistanceFunctions = R"(Private Function Scale(Vector)
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
${metric}	Next i

	For i=1 To NoCatInputs
		Diff = Difference(Inputs(i+NoContInputs), Prototype(i+NoContInputs), 1)
${metric}	Next i

	If Metric=0 Then
		Distance = Sqr(Distance)
	End If

End Function

)";

constexpr std::string_view kSearchFunction = R"(Private Function FindKNearest()
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

)";

constexpr std::string_view kPredictFunction = R"(Private Function Predict()
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
		For j = 1 To NoOutputNominals(i)
			Confidence(i, j) = 0
		Next j

		For j = 1 To NoOutputNominals(i)
			For k = 1 To NoOfNearestK
				If OutputNominals(i, j) = OutputPrototypes(KIndex(k), i) Then
					Confidence(i, j) = Confidence(i, j) + KWeights(k)
				End If
			Next k
		Next j

		Norm = 0
		MaxConf = -1
		For j = 1 To NoOutputNominals(i)
			Norm = Norm + Confidence(i, j)
			If MaxConf < Confidence(i, j) Then
				Predictions(i) = OutputNominals(i, j)
				MaxConf = Confidence(i, j)
			End If
		Next j

		If Norm<>0 Then
			For j = 1 To NoOutputNominals(i)
				Confidence(i, j) = Confidence(i, j)/Norm
			Next j
		End If
)";

/// "name(i)=" and what `put(i)` writes.
template <class Put>
void PutAssignments(CodeWriter& out, std::string_view name, std::size_t count, Put put) {
  for (std::size_t i = 0; i < count; ++i) {
    PutQvbPlace(out, name, {i});
    put(i);
    out.Put("\n");
  }
}

}  // namespace

void KnnCode::QvbDeclarations(CodeWriter& out) {
  out.Fill(kDeclarations, {{"ni", variables_.inputs.size()},
                           {"nk", variables_.CategoricalInputs()},
                           {"inputClasses", TotalTexts(variables_.inputs)},
                           {"m", variables_.dependents.size()},
                           {"mk", variables_.CategoricalDependents()},
                           {"outputClasses", TotalTexts(variables_.dependents)},
                           {"prototypes", prototypes()},
                           {"k", engine_.k}});
}

void KnnCode::QvbInitialisation(CodeWriter& out) {
  const auto& inputs = variables_.inputs;
  const auto& dependents = variables_.dependents;
  out.Fill(kInputCounts, {{"nc", variables_.ContinuousInputs()},
                          {"nk", variables_.CategoricalInputs()},
                          {"ni", inputs.size()}});
  PutQvbVariables(out, "InputIndex", inputs);
  out.Put("\n");
  PutQvbNominals(out, "NoInputNominals", "InputNominals",
                 std::span(inputs).subspan(variables_.ContinuousInputs()));
  const auto putScaling = [&](std::string_view name, std::span<const double> values) {
    PutAssignments(out, name, values.size(), [&](std::size_t i) { out.PutGeneral(values[i]); });
    out.Put("\n");
  };
  putScaling("InputShift", shifts());
  putScaling("InputScale", scales());
  out.Fill(kOutputCounts,
           {{"mc", variables_.ContinuousDependents()}, {"mk", variables_.CategoricalDependents()}});
  PutQvbVariables(out, "OutputIndex", dependents);
  PutQvbNominals(out, "NoOutputNominals", "OutputNominals",
                 std::span(dependents).subspan(variables_.ContinuousDependents()));
  out.Fill(kSettings, {{"weighted", engine_.weighted ? "True" : "False"},
                       {"metric", static_cast<int>(engine_.metric)},
                       {"prototypes", prototypes()},
                       {"k", engine_.k}});
  const auto putRow = [&](std::string_view name, std::size_t row,
                          const std::vector<DeployedVariable>& variables,
                          std::span<const double> values) {
    for (std::size_t k = 0; k < values.size(); ++k) {
      PutQvbPlace(out, name, {row - 1, k});
      PutValue(out, variables[k], values[k]);
      out.Put("\n");
    }
  };
  ForEachPrototype([&](std::size_t row, std::span<const double>, std::span<const double> values) {
    putRow("InputPrototypes", row, inputs, values);
  });
  out.Put("\n\n");
  ForEachPrototype([&](std::size_t row, std::span<const double> values, std::span<const double>) {
    putRow("OutputPrototypes", row, dependents, values);
  });
  out.Put("\n\n");
}

void KnnCode::QvbCase(CodeWriter& out) {
  PutQvbInputReading(out);
  out.Put("\n");
  PutQvbReading(out, "Outputs", "", "NoContOutputs", "ContinuousDependentVariables");
  PutQvbReading(out, "Outputs", "", "NoCatOutputs", "CategoricalDependentVariables");
  out.Put("\n");
  out.Put(kPrediction);
}

void KnnCode::QvbFunctions(CodeWriter& out) {
  out.Fill(kDistanceFunctions, {{"metric", kMetricBlock}});
  out.Put(kSearchFunction);
  out.Put(kPredictFunction);
  out.Put(kQvbMisclassified);
}

}  // namespace qrvml
