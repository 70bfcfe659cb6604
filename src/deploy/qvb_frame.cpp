// The frame of the generated QVB scripts: a workflow node that predicts the cases of its inputs.
#include <string>

#include "deploy/dialect.h"
#include "deploy/method_code.h"

namespace qrvml {
namespace {

constexpr std::string_view kBanner =
    "'==================================================================\n";

constexpr std::string_view kBegin = R"('#Uses "*CommonProspectorInputErrorMessages.qvx"
Option Base 1

${B}' ${name} variables
${B})";

constexpr std::string_view kInitialisation = R"(Private Sub SubsetNode( _
	DataIn() As InputDescriptor, _
	DataOut() As InputDescriptor)

${B}' ${name} variable initialization
${B})";

constexpr std::string_view kNode = R"(${B}'Machine Learning ${name} QVB deployment code
${data}${B}

${B}' 1. Checking the InputDescriptor DataIn().
${B}	Lower = LBound( DataIn )
	Upper = UBound( DataIn )

${B}' 2. Checking input data descriptor, variable selections, etc.
${B}	${declareError}

	${eachNode}
		MinerError = CheckInputErrorNumber(DataIn(i))
		If MinerError <> StartOfCommonProspectorInputErrors Then	GoTo ErrorHandler
	${nextNode}

${B}${output}
${B}	${resize}
	${declareDocs}
	${declareInputdes}

	${eachNode}
		${createDocs}
		${createInputdes}

		${declareCases}
		NumberOfCases = DataIn(i).DataSource.NumberOfCases
		Docs.SetSize(NumberOfCases, 2)
${columns}
		${eachCase}
			Docs.CaseName(j) = DataIn(i).DataSource.CaseName(j)

)";

constexpr std::string_view kNodeEnd = R"(		${nextCase}

			Docs.InputSpreadsheet = True
			Inputdes.DataSource = Docs
			Set DataOut(${index}) = Inputdes
			DataOut(${index}).SourceId = DataIn(i).Id

			${releaseInputdes}
			${releaseDocs}
	${nextNode}

ExitPort:
	Exit Sub

${B}' 7. Error messages
${B}ErrorHandler:
	DisplayCommonProspectorError( MinerError )
	GoTo ExitPort
End Sub

${B}' 8. Error checking function
${B}Private Function CheckInputErrorNumber( ByVal ID As InputDescriptor ) _
	As ProspectorInputErrors
	CheckInputErrorNumber = StartOfCommonProspectorInputErrors
'Checking continuous and categorical independent variables
	If ID.NumberOfContinuousPredictors <> NoContInputs Then
		CheckInputErrorNumber = NoContinuousPredictor
	ElseIf ID.NumberOfCategoricalPredictors <> NoCatInputs Then
		CheckInputErrorNumber = NoCategoricalPredictor
	End If
End Function

)";

constexpr Dialect kQvb = Dialect::qvb;

}  // namespace

void PutQvbReading(CodeWriter& out, std::string_view array, std::string_view offset,
                   std::string_view count, std::string_view role) {
  const std::string place = offset.empty() ? std::string("k") : "k+" + std::string(offset);
  out.Fill(R"(			${head}
				${array}(${place}) = DataIn(i).DataSource.Value(j, DataIn(i).${role}(k))
			${end}
)",
           {{"head", LoopHead(kQvb, "k", "1", count)},
            {"array", array},
            {"place", place},
            {"role", role},
            {"end", LoopEnd(kQvb, "k")}});
}

void PutQvbInputReading(CodeWriter& out) {
  PutQvbReading(out, "Inputs", "", "NoContInputs", "ContinuousPredictors");
  PutQvbReading(out, "Inputs", "NoContInputs", "NoCatInputs", "CategoricalPredictors");
}

void PutQvbVariables(CodeWriter& out, std::string_view name,
                     std::span<const DeployedVariable> variables) {
  for (std::size_t i = 0; i < variables.size(); ++i) {
    PutQvbPlace(out, name, {i});
    out.PutInteger(variables[i].number);
    out.Put("\n");
  }
}

void PutQvbNominals(CodeWriter& out, std::string_view counts, std::string_view codes,
                    std::span<const DeployedVariable> categorical) {
  for (std::size_t i = 0; i < categorical.size(); ++i) {
    PutQvbPlace(out, counts, {i});
    out.PutInteger(static_cast<std::int64_t>(categorical[i].texts.size()));
    out.Put("\n");
  }
  out.Put("\n");
  for (std::size_t i = 0; i < categorical.size(); ++i) {
    for (std::size_t j = 0; j < categorical[i].texts.size(); ++j) {
      PutQvbPlace(out, codes, {i, j});
      out.PutInteger(categorical[i].texts[j].code);
      out.Put("\n");
    }
  }
  out.Put("\n");
}

std::string MakeQvbScript(const DeployedVariables& variables, MethodCode& method) {
  const std::string data = variables.fileName.empty()
                               ? std::string()
                               : "' Data used in estimation: " + variables.fileName + '\n';
  const MethodWording& wording = method.wording();
  const std::string eachNode = LoopHead(kQvb, "i", "Lower", "Upper");
  const std::string nextNode = LoopEnd(kQvb, "i");
  return MakeText([&](CodeWriter& out) {
    out.Fill(kBegin, {{"B", kBanner}, {"name", wording.qvbName}});
    method.QvbDeclarations(out);
    out.Fill(kInitialisation, {{"B", kBanner}, {"name", wording.qvbName}});
    method.QvbInitialisation(out);
    out.Fill(kNode,
             {{"B", kBanner},
              {"name", wording.qvbName},
              {"data", data},
              {"declareError", LocalDeclaration(kQvb, "MinerError", "ProspectorInputErrors")},
              {"eachNode", eachNode},
              {"nextNode", nextNode},
              {"output", wording.qvbOutput},
              {"resize", wording.qvbResize},
              {"declareDocs", LocalDeclaration(kQvb, "Docs", "Spreadsheet")},
              {"declareInputdes", LocalDeclaration(kQvb, "Inputdes", "InputDescriptor")},
              {"createDocs", ObjectCreation(kQvb, "Docs", "Spreadsheet")},
              {"createInputdes", ObjectCreation(kQvb, "Inputdes", "InputDescriptor")},
              {"declareCases", LocalDeclaration(kQvb, "NumberOfCases", "Integer")},
              {"columns", wording.qvbColumns},
              {"eachCase", LoopHead(kQvb, "j", "1", "NumberOfCases")}});
    method.QvbCase(out);
    out.Fill(kNodeEnd, {{"B", kBanner},
                        {"nextCase", LoopEnd(kQvb, "j")},
                        {"index", wording.qvbIndex},
                        {"releaseInputdes", ObjectRelease(kQvb, "Inputdes")},
                        {"releaseDocs", ObjectRelease(kQvb, "Docs")},
                        {"nextNode", nextNode}});
    method.QvbFunctions(out);
  });
}

}  // namespace qrvml
