// The naive Bayes part of the generated QVB scripts.
#include <string>

#include "bayes/naive_bayes_deployment.h"

namespace qrvml {
namespace {

constexpr std::string_view kDeclarations = R"(Public NoContInputs As Integer
Public NoCatInputs As Integer
Public NoInputs As Integer
Public NoDummy As Integer
Public InputIndex(${ni}) As Integer
Public Inputs(${ni}) As Double
Public NoInputNominals(${nk}) As Integer
Public InputNominals(${nk}, ${categories}) As Integer
Public NoOutputs As Integer
Public OutputIndex As Integer
Public NoOutputNominals(${m}) As Integer
Public OutputNominals(${m}, ${classes}) As Integer
Public Outputs(${m}) As Integer
Public Threshold As Double
Public Mean As Double
Public Std As Double
Public Scle As Double
Public Shape As Double
Public Lambda As Double
Public Priors(${m}, ${classes}) As Double
Public CondMean(${m}, ${classes}, ${nc}) As Double
Public CondStd(${m}, ${classes}, ${nc}) As Double
Public CondFreq(${m}, ${classes}, ${nk}, ${categories}) As Double
Public DistType(${ni}) As Double
Public Predictions(${m}) As Double
Public Residuals(${m}) As Double
)";

constexpr std::string_view kPrediction = R"(			Predict()

			For k=1 To NoOutputs
				Docs.Value(j, k) = Predictions(k)
				Docs.Value(j, k+1) = Residuals(k)
			Next k
)";

constexpr std::string_view kDensities = R"(Private Function Lognormal(M, S, Value)
	Params(M, S, 0)
	Lognormal = -0.5*Log(2.50662827*Std) - ((Value-Mean)*(Value-Mean))/(2.0*Std)
End Function

Private Function LogLognormal(M, S, Value)
	Params(M, S, 1)
	LogLognormal = -0.472856811 - Log(Shape) - Log(Value) - (Log(Value/Scle)*Log(Value/Scle))/(2.0*(Shape*Shape))
End Function

Private Function LogGamma(M, S, Value)
	Params(M, S, 2)
	'Place Gamma density here
	LogGamma = 0
End Function

Private Function LogPoisson(M, S, Value)
	Params(M, S, 3)
	'Place Poisson density here
	LogPoisson = 0
End Function

Private Function LogDiscrete(I, J, K, Value)
	Dim M as integer
	Dim N As Integer
	Dim Freq As Double

	M = 0
	For N = 1 To NoInputNominals(I-NoContInputs)
		If InputNominals(I-NoContInputs, N) = Value Then
			M = N
		End If
	Next N

	Freq = 0
	If M<>0 Then
		Freq = CondFreq(J, K, I-NoContInputs, M)
	End If
	If Freq<>0 Then
		LogDiscrete = Log(Freq)
	Else
		LogDiscrete = Log(Threshold)
	End If
End Function

Private Function LogDistribution(M, S, Value, T)
	If T=0 Then
		LogDistribution = LogNormal(M, S, Value)
	ElseIf T=1 Then
		LogDistribution = LogLognormal(M, S, Value)
	ElseIf T=2 Then
		LogDistribution = LogGamma(M, S, Value)
	ElseIf T=3 Then
		LogDistribution = LogPoisson(M, S, Value)
	End If
End Function

Private Function Params(M, S, DistType)
	If DistType=0 Then
		Mean = M
		Std = S
	ElseIf DistType=1 Then
		Scle = (M * M) / Sqr((S * S) + (M * M))
		Shape = Sqr(Log(((S * S) + (M * M)) / ((M * M))))
	ElseIf DistType=2 Then
		Scle = 0
		Shape = 0
		If M*S<>0 Then
			Scle = (S * S) / (M)
			Shape = (M * M) / (S * S)
		End If
	ElseIf DistType=3 Then
		Lambda = M
	End If
End Function

)";

constexpr std::string_view kPredict = R"(Private Function Predict()
	Dim i, j, k, Best As Integer
	Dim Logp, Mx, Norm As Double
	Dim Conf(${m}, ${classes}) As Double

	For i = 1 To NoOutputs
		For j = 1 To NoOutputNominals(i)
			Logp = 0
			For k = 1 To NoInputs
				If DistType(k)=4 Then
					Logp = Logp + LogDiscrete(k, i, j, Inputs(k))
				Else
					Logp = Logp + LogDistribution(CondMean(i, j, k), CondStd(i, j, k), Inputs(k), DistType(k))
				End If
			Next k
			Conf(i, j) = Priors(i, j) * Exp(Logp)
		Next j
	Next i

	For i = 1 To NoOutputs
		Mx = 0
		Norm = 0
		Best = 1
		For j = 1 To NoOutputNominals(i)
			Norm = Norm + Conf(i, j)
		Next j
		For j = 1 To NoOutputNominals(i)
			If Norm<>0 Then
				Conf(i, j) = Conf(i, j)/Norm
			End If
			If Mx<Conf(i, j) Then
				Mx = Conf(i, j)
				Best = j
			End If
		Next j
		Predictions(i) = OutputNominals(i, Best)
)";

void PutCount(CodeWriter& out, std::string_view name, std::size_t value) {
  out.Put(name);
  out.Put("=");
  out.PutInteger(static_cast<std::int64_t>(value));
  out.Put("\n");
}

}  // namespace

void NaiveBayesCode::QvbDeclarations(CodeWriter& out) {
  out.Fill(kDeclarations, {{"ni", variables_.inputs.size()},
                           {"nc", continuous()},
                           {"nk", categorical()},
                           {"categories", MostCategories()},
                           {"m", dependents()},
                           {"classes", MostClasses()}});
}

void NaiveBayesCode::QvbInitialisation(CodeWriter& out) {
  const auto& inputs = variables_.inputs;
  PutCount(out, "NoContInputs", continuous());
  PutCount(out, "NoCatInputs", categorical());
  PutCount(out, "NoInputs", inputs.size());
  out.Put("\n");
  PutQvbVariables(out, "InputIndex", inputs);
  PutQvbNominals(out, "NoInputNominals", "InputNominals", std::span(inputs).subspan(continuous()));
  PutCount(out, "NoOutputs", dependents());
  PutCount(out, "OutputIndex", static_cast<std::size_t>(variables_.dependents[0].number));
  PutQvbNominals(out, "NoOutputNominals", "OutputNominals", variables_.dependents);
  out.Put("Threshold=" + GeneralText(engine_.threshold) + "\n\n");
  for (std::size_t k = 0; k < inputs.size(); ++k) {
    PutQvbPlace(out, "DistType", {k});
    out.PutInteger(static_cast<std::int64_t>(engine_.DistributionOf(k)));
    out.Put("\n");
  }
  out.Put("\n");
  ForEachClass([&](std::size_t d, std::size_t c) {
    PutQvbPlace(out, "Priors", {d, c}, ",");
    out.PutGeneral(engine_.priors[d][c]);
    out.Put("\n");
  });
  out.Put("\n");
  PutTables(out,
            [&](std::string_view name, std::initializer_list<std::size_t> indices, double value) {
              PutQvbPlace(out, name, indices);
              out.PutGeneral(value);
              out.Put("\n");
            });
}

void NaiveBayesCode::QvbCase(CodeWriter& out) {
  PutQvbInputReading(out);
  out.Put("\n");
  PutQvbReading(out, "Outputs", "", "NoOutputs", "CategoricalDependentVariables");
  out.Put("\n");
  out.Put(kPrediction);
}

void NaiveBayesCode::QvbFunctions(CodeWriter& out) {
  out.Put(kDensities);
  out.Fill(kPredict, {{"m", dependents()}, {"classes", MostClasses()}});
  out.Put(kQvbMisclassified);
}

}  // namespace qrvml
