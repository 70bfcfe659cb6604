// The support vector part of the generated QVB scripts.
#include <algorithm>
#include <string>

#include "svm/svm_deployment.h"

namespace qrvml {
namespace {

constexpr std::string_view kDeclarations = R"(Public NoContInputs As Integer
Public NoCatInputs As Integer
Public NoInputs As Integer
Public NoDummy As Integer
Public InputIndex(${ni}) As Integer
Public Inputs(${ni}) As Double
Public Dummy(${nd}) As Double
Public NoInputNominals(${nk}) As Integer
Public InputNominals(${nk}, ${categories}) As Integer
Public InputShift(${nc}) As Double
Public InputScale(${nc}) As Double
Public NoContOutputs As Integer
Public NoCatOutputs As Integer
Public OutputIndex As Integer
Public Outputs As Double
Public NoOutputNominals As Integer
Public OutputNominals(${k}) As Integer
Public OutputShift As Double
Public OutputScale As Double
Public SVMType As Integer
Public KernelType As Integer
Public coef0 As Double
Public Gam As Double
Public Order As Double
Public NumberOfSV As Integer
Public ClassCodes (${k}) As Integer
Public NoOfSVPerClass(${k}) As Integer
Public SupportVectors(${l}, ${nd}) As Double
Public Coefficients(${l}, ${rows}) As Double
Public Constants(${constants}) As Double
'Prediction
Public Prediction As Double
Public Residual As Double
)";

constexpr std::string_view kCounts = R"(NoContInputs=${nc}
NoCatInputs=${nk}
NoInputs=${ni}
NoDummy=${nd}

)";

constexpr std::string_view kOutput = R"(NoContOutputs=${mc}
NoCatOutputs=${mk}
OutputIndex=${number}
NoOutputNominals=${k}
)";

constexpr std::string_view kParameters = R"(OutputShift=${shift}
OutputScale=${scale}

SVMType=${type}
KernelType=${kernel}
Gam=${gamma}
coef0=${coef0}
Order=${order}
NumberOfSV=${l}

)";

constexpr std::string_view kPrediction =
    R"(			Outputs = DataIn(i).DataSource.Value(j, DataIn(i).${role}(1))

			Predict()

			Docs.Value(j, 1) = Prediction
			Docs.Value(j, 2) = Residual
)";

constexpr std::string_view kCoding = R"(Private Function ScaleInputs()
	Dim i As Integer

	For i=1 To NoContInputs
		Inputs(i) = InputShift(i) + InputScale(i)*Inputs(i)
	Next i
End Function

Private Function GetDummy()
	Dim i, j, k As Integer

	For i=1 To NoContInputs
		Dummy(i) = Inputs(i)
	Next i

	k = NoContInputs
	For i=1 To NoCatInputs
		For j=1 To NoInputNominals(i)
			k = k + 1
			If InputNominals(i, j) = Inputs(i+NoContInputs) Then
				Dummy(k) = 1
			Else
				Dummy(k) = 0
			End If
		Next j
	Next i
End Function

)";

// The language of the host has tanh, others of its kind have none. Its last bits hang on a
// difference of nearly equal numbers where x is small: there stands the series.
constexpr std::string_view kKernel = R"(Private Function Dot(sv) As Double
	Dim i As Integer

	Dot = 0
	For i=1 To NoDummy
		Dot = Dot + Dummy(i)*sv(i)
	Next i
End Function

Private Function tanh(x) As Double
	Dim t As Double

	If Abs(x)<0.05 Then
		t = x*x
		tanh = x*(1 - t*(1/3 - t*(2/15 - t*(17/315 - t*62/2835))))
	ElseIf Abs(x)<20 Then
		t = Exp(2*x)
		tanh = (t - 1)/(t + 1)
	Else
		tanh = Sgn(x)
	End If
End Function

Private Function Kernel(Index) As Double
	Dim i As Integer
	Dim sv(${nd}) As Double

	For i=1 To NoDummy
		sv(i) = SupportVectors(Index, i)
	Next i

	If KernelType=0 Then
		Kernel = Dot(sv)
	ElseIf KernelType=1 Then
		Kernel = (Gam*Dot(sv)+ coef0)^Order
	ElseIf KernelType=2 Then
		Kernel = 0
		For i=1 To NoDummy
			Kernel = Kernel + (Dummy(i)-sv(i))*(Dummy(i)-sv(i))
		Next i
		Kernel = exp(-Gam*Kernel)
	Else
		Kernel = tanh(Gam*dot(sv)+ coef0)
	End If
End Function

)";

constexpr std::string_view kPredict = R"(Private Function Predict()
	Dim i, j, k, p, Best As Integer
	Dim sum As Double
	Dim first(${k}) As Integer
	Dim score(${k}) As Integer
	Dim coef1(${l}) As Double
	Dim coef2(${l}) As Double
	Dim kernels(${l}) As Double

	ScaleInputs()
	GetDummy()

	If SVMtype=3 Or SVMtype=4 Then
		sum = 0
		For i=1 To NumberOfSV
			sum = sum + coefficients(i, 1)*Kernel(i)
		Next i
		sum = sum - constants(1)
		Prediction = (sum - OutputShift)/OutputScale
	Else
		For i=1 To NumberOfSV
			kernels(i) = Kernel(i)
		Next i

		first(1) = 1
		For i=2 To NoOutputNominals
			first(i) = first(i-1) + NoOfSVPerClass(i-1)
		Next i
		For i=1 To NoOutputNominals
			score(i) = 0
		Next i

		p = 1
		For i=1 To NoOutputNominals
			For j=i+1 To NoOutputNominals
				sum = 0
				For k=first(i) To first(i)+NoOfSVPerClass(i)-1
					coef1(k)=coefficients(k, j-1)
					sum = sum + coef1(k)*kernels(k)
				Next k
				For k=first(j) To first(j)+NoOfSVPerClass(j)-1
					coef2(k)=coefficients(k, i)
					sum = sum + coef2(k)*kernels(k)
				Next k

				sum = sum - constants(p)
				p = p + 1
				If sum>0 Then
					score(i)=score(i)+1
				Else
					score(j)=score(j)+1
				End If
			Next j
		Next i

		Best = 1
		For i=2 To NoOutputNominals
			If score(i)>score(Best) Then
				Best = i
			End If
		Next i
		Prediction = ClassCodes(Best)
	End If

	If Outputs<>MissingCode Then
		Residual = Outputs - Prediction
	Else
		Residual = MissingCode
	End If
End Function
)";

std::size_t AtLeastOne(std::size_t size) { return std::max<std::size_t>(size, 1); }

void PutInteger(CodeWriter& out, std::string_view name, std::initializer_list<std::size_t> indices,
                std::int64_t value) {
  PutQvbPlace(out, name, indices);
  out.PutInteger(value);
  out.Put("\n");
}

// Indices stand without a blank between them.
void PutNumber(CodeWriter& out, std::string_view name, std::initializer_list<std::size_t> indices,
               double value) {
  PutQvbPlace(out, name, indices, ",");
  out.PutGeneral(value);
  out.Put("\n");
}

}  // namespace

void SvmCode::QvbDeclarations(CodeWriter& out) {
  std::size_t most = 0;
  for (const DeployedVariable& input : variables_.inputs) most = std::max(most, input.codes.size());
  out.Fill(kDeclarations, {{"ni", variables_.inputs.size()},
                           {"nd", columns()},
                           {"nk", AtLeastOne(categorical())},
                           {"categories", AtLeastOne(most)},
                           {"nc", AtLeastOne(continuous())},
                           {"k", classes()},
                           {"l", AtLeastOne(vectors())},
                           {"rows", AtLeastOne(rows())},
                           {"constants", AtLeastOne(model_.constants.size())}});
}

void SvmCode::QvbInitialisation(CodeWriter& out) {
  const auto& inputs = variables_.inputs;
  out.Fill(kCounts,
           {{"nc", continuous()}, {"nk", categorical()}, {"ni", inputs.size()}, {"nd", columns()}});
  PutQvbVariables(out, "InputIndex", inputs);
  out.Put("\n");
  const auto categories = std::span(inputs).subspan(continuous());
  for (std::size_t i = 0; i < categories.size(); ++i)
    PutInteger(out, "NoInputNominals", {i}, static_cast<std::int64_t>(categories[i].codes.size()));
  for (std::size_t i = 0; i < categories.size(); ++i) {
    for (std::size_t j = 0; j < categories[i].codes.size(); ++j)
      PutInteger(out, "InputNominals", {i, j}, categories[i].codes[j].code);
  }
  for (std::size_t i = 0; i < continuous(); ++i) {
    PutNumber(out, "InputShift", {i}, data_.offsets()[i]);
    PutNumber(out, "InputScale", {i}, data_.slopes()[i]);
  }
  out.Put("\n");
  out.Fill(kOutput, {{"mc", variables_.ContinuousDependents()},
                     {"mk", variables_.CategoricalDependents()},
                     {"number", dependent().number},
                     {"k", classes()}});
  std::size_t next = 0;
  for (const DeployedClass& entry : dependent().texts) {
    if (std::ranges::find(model_.labels, entry.code) != model_.labels.end())
      PutInteger(out, "OutputNominals", {next++}, entry.code);
  }
  out.Fill(kParameters, {{"shift", GeneralText(OutputShift())},
                         {"scale", GeneralText(OutputScale())},
                         {"type", parameters().svmType},
                         {"kernel", parameters().kernelType},
                         {"gamma", GeneralText(Gamma())},
                         {"coef0", GeneralText(Coef0())},
                         {"order", GeneralText(Degree())},
                         {"l", vectors()}});
  for (std::size_t c = 0; c < model_.labels.size(); ++c)
    PutInteger(out, "ClassCodes", {c}, model_.labels[c]);
  for (std::size_t c = 0; c < model_.supportVectorsPerClass.size(); ++c)
    PutInteger(out, "NoOfSVPerClass", {c}, model_.supportVectorsPerClass[c]);
  if (model_.IsClassification()) out.Put("\n");
  const std::size_t width = columns();
  ForEachVector([&](std::size_t s, const SVMNode* nodes) {
    for (std::size_t d = 0; d < width; ++d)
      PutNumber(out, "SupportVectors", {s, d}, nodes[d].value);
  });
  out.Put("\n");
  ForEachVector([&](std::size_t s, const SVMNode*) {
    for (std::size_t r = 0; r < rows(); ++r)
      PutNumber(out, "Coefficients", {s, r}, Coefficient(r, s));
  });
  out.Put("\n");
  for (std::size_t p = 0; p < model_.constants.size(); ++p)
    PutNumber(out, "Constants", {p}, model_.constants[p]);
  out.Put("\n");
}

void SvmCode::QvbCase(CodeWriter& out) {
  PutQvbInputReading(out);
  out.Fill(kPrediction, {{"role", model_.IsClassification() ? "CategoricalDependentVariables"
                                                            : "ContinuousDependentVariables"}});
}

void SvmCode::QvbFunctions(CodeWriter& out) {
  out.Put(kCoding);
  out.Fill(kKernel, {{"nd", columns()}});
  out.Fill(kPredict, {{"k", classes()}, {"l", AtLeastOne(vectors())}});
}

}  // namespace qrvml
