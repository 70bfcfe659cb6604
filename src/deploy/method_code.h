// What a method brings to the three generated texts: the words that name it, and the parts between
// the lines of the frames.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "data/reading_rules.h"
#include "deploy/code_writer.h"
#include "deploy/deployed_variables.h"
#include "deploy/dialect.h"

namespace qrvml {

/// The words in which the frames of the methods differ.
struct MethodWording {
  std::string_view name;           // in C
  std::string_view qvbName;        // in QVB
  std::string_view qvbOutput;      // comment of the output section
  std::string_view qvbResize;      // how the output array is sized
  std::string_view qvbColumns;     // comment lines about the output's columns
  std::string_view qvbIndex;       // of the output array, as its last two lines write it
  std::string_view harnessInputs;  // the harness's array
  std::string_view languages;      // in which the C text compiles, for its banner
};

inline constexpr std::string_view kColumnComments =
    "\t\t'Docs.VariableName(1) = \"Cluster \"\n"
    "\t\t'Docs.VariableName(2) = \"Distance \"\n";

constexpr MethodWording kMethodWordings[] = {
    {"SVM", "Support Vector Machine", "'", "ReDim DataOut(Lower To Upper)", kColumnComments, "I",
     "input", "C11 or C++; as C"},
    {"Naive Bayes", "Naive Bayes", "'", "ReDim DataOut(Lower To Upper)", kColumnComments, "I",
     "inputs", "C11, no C++"},
    {"KNN", "KNN", "' Zephyr variables", "ReDim DataOut( Lower To Upper )", "", "i", "inputs",
     "C11 or C++; as C"},
};

constexpr const MethodWording& WordingOf(Method method) {
  return kMethodWordings[static_cast<int>(method)];
}

/// Each operation writes one part, at the indentation that the frame has there, and ends it with a
/// line end. A text is written twice; both times the parts must be the same.
class MethodCode {
 public:
  explicit MethodCode(Method method) : wording_(WordingOf(method)) {}
  MethodCode(const MethodCode&) = delete;
  MethodCode& operator=(const MethodCode&) = delete;
  virtual ~MethodCode() = default;

  const MethodWording& wording() const { return wording_; }

  // --- C -----------------------------------------------------------------------------------------
  /// What the header comment adds about this program, behind its line of languages.
  virtual std::string_view CNote() const { return {}; }
  /// Defines and model arrays, after the include.
  virtual void CModel(CodeWriter& out) = 0;
  /// The functions, each begun with kCSeparator.
  virtual void CFunctions(CodeWriter& out) = 0;
  /// Statements at the beginning of main.
  virtual void CInitialisation(CodeWriter&) {}
  /// Inputs and result of the harness.
  virtual void CHarnessVariables(CodeWriter& out) = 0;
  /// Predicts the inputs and prints the result.
  virtual void CHarnessPrediction(CodeWriter& out) = 0;

  // --- QVB ---------------------------------------------------------------------------------------
  virtual void QvbDeclarations(CodeWriter& out) = 0;
  virtual void QvbInitialisation(CodeWriter& out) = 0;
  /// The body of the loop over the cases.
  virtual void QvbCase(CodeWriter& out) = 0;
  /// The functions, with an empty line between them.
  virtual void QvbFunctions(CodeWriter& out) = 0;

  // --- PMML --------------------------------------------------------------------------------------
  /// The model element for one dependent.
  virtual void PmmlModel(CodeWriter& out, std::size_t dependent) = 0;

 private:
  const MethodWording& wording_;
};

inline constexpr std::string_view kCSeparator =
    "/*------------------------------------------------*/\n";

/// The stand-alone C program.
std::string MakeCProgram(const DeployedVariables& variables, MethodCode& method);
/// The script of a workflow node.
std::string MakeQvbScript(const DeployedVariables& variables, MethodCode& method);
/// The one or the other. False: a code is beyond the languages' integers, which is told.
bool MakeProgram(Dialect dialect, const DeployedVariables& variables, MethodCode& method,
                 std::string& text);
/// The document of one dependent. `charset`: the name of the character set in which it will be
/// kept; empty, when that is not known, gives an empty text.
std::string MakePmmlDocument(const DeployedVariables& variables, MethodCode& method,
                             std::size_t dependent, std::string_view charset);

// --- Pieces that the methods' parts share
// ----------------------------------------------------------

/// A C list on one line: head, brace, values, closing. Without values it holds `none`.
void PutCList(CodeWriter& out, std::string_view head, std::span<const std::int64_t> values,
              std::string_view none);
/// The same with "%g".
void PutCList(CodeWriter& out, std::string_view head, std::span<const double> values);

/// The loop of a QVB script that reads the variables of one role of case j into an array, whose
/// places after `offset` (empty: from the first) they take.
void PutQvbReading(CodeWriter& out, std::string_view array, std::string_view offset,
                   std::string_view count, std::string_view role);
/// The loops that read all inputs of case j.
void PutQvbInputReading(CodeWriter& out);
/// "name(1, 2)=", the indices counted from 0, with the given text between them.
// Inline: scripts hold millions of them.
inline void PutQvbPlace(CodeWriter& out, std::string_view name,
                        std::initializer_list<std::size_t> indices,
                        std::string_view between = ", ") {
  out.Put(name);
  out.Put("(");
  for (const std::size_t* index = indices.begin(); index != indices.end(); ++index) {
    if (index != indices.begin()) out.Put(between);
    out.PutInteger(static_cast<std::int64_t>(*index + 1));
  }
  out.Put(")=");
}

/// The variables' numbers in the data file.
void PutQvbVariables(CodeWriter& out, std::string_view name,
                     std::span<const DeployedVariable> variables);
/// The numbers of classes of categorical variables, then their codes, in text order.
void PutQvbNominals(CodeWriter& out, std::string_view counts, std::string_view codes,
                    std::span<const DeployedVariable> categorical);
/// Of a categorical dependent i: 0 right, 1 wrong, the missing-data code where none is observed.
inline constexpr std::string_view kQvbMisclassified = R"(
		If Outputs(i)<>MissingCode Then
			If Outputs(i) = Predictions(i) Then
				Residuals(i) = 0
			Else
				Residuals(i) = 1
			End If
		Else
			Residuals(i) = MissingCode
		End If
	Next i
End Function
)";

/// The category elements of a PMML field, each at that indentation and followed by `end`.
void PutCategories(CodeWriter& out, const DeployedVariable& variable, std::string_view indentation,
                   std::string_view end);

}  // namespace qrvml
