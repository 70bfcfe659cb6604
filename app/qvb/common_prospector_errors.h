// The include file that generated scripts name in their first line. It is built in.
#pragma once

#include <string_view>

namespace qrvml {

inline constexpr std::string_view kCommonProspectorErrorsName =
    "*CommonProspectorInputErrorMessages.qvx";

/// Needs `MsgBox` from the host.
inline constexpr std::string_view kCommonProspectorErrorsText =
    R"('What can be wrong with the input of a workflow node, and its messages.
Public Enum ProspectorInputErrors
	StartOfCommonProspectorInputErrors = 20000
	NoDataSource
	NoContinuousDependent
	NoCategoricalDependent
	NoContinuousPredictor
	NoCategoricalPredictor
	EndOfCommonProspectorInputErrors
End Enum

Public Sub DisplayCommonProspectorError(ByVal ErrorNumber As ProspectorInputErrors)
	Select Case ErrorNumber
	Case NoDataSource
		MsgBox "The input has no data source."
	Case NoContinuousDependent
		MsgBox "The continuous dependent variables of the input are not those of the model."
	Case NoCategoricalDependent
		MsgBox "The categorical dependent variables of the input are not those of the model."
	Case NoContinuousPredictor
		MsgBox "The input does not have as many continuous predictors as the model."
	Case NoCategoricalPredictor
		MsgBox "The input does not have as many categorical predictors as the model."
	Case Else
		MsgBox "The input of the node is not usable (error " & ErrorNumber & ")."
	End Select
End Sub
)";

}  // namespace qrvml
