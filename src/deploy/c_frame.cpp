// The frame of the generated C programs: header comment, include, harness.
#include <string>

#include "deploy/method_code.h"

namespace qrvml {
namespace {

constexpr std::string_view kHeader =
    R"(// ================================================================================
//  ${name} module deployment code

${data}//  ${languages}: cc -std=c11 -include stdbool.h -ffp-contract=off -O2 FILE -lm${note}
//  ${}
//  Number of variables included in the analysis = ${variables}
//  Number of dependents (output) variables = ${dependents}
//  Number of predictors (input) variables = ${inputs}
//  ${}
//  Dependents: ${dependentNames}
//  ${}
//  Independents: ${inputNames}
//  ${}
//  When calling this function, the predictor values must be ${}
//  placed in the same sequential order as shown above.
//  ${}
//  Categorical variables: ${}
${categories}// ${}
//  Function arguments:
//  inputs: used to pass independent (predictor) values
//  predictions: used to retrieve ${name} predictions
// ${}
// ================================================================================

)";

constexpr std::string_view kInclude = R"(#include <math.h>

)";

constexpr std::string_view kHarnessBegin = R"(#include <stdio.h>

#define MISSINGCODE -9999

int main(void)
{

)";

constexpr std::string_view kHarnessTitle =
    R"c(	printf("QUORVANTIS ${name} test harness program. Enter inputs below");
	printf("Nominal variables should be numbered as they appear in the c file)");

	int i;

)c";

constexpr std::string_view kHarnessReading = R"(	while (1)
	{
		for(i=0; i<noInputs; i++)
		{
			printf("Enter value for input %d: ", i+1);
			scanf("%lg", &${array}[i]);
			if(${array}[i]==MISSINGCODE)
			{
				printf("Control menu. Select output style, or exit:");
				printf("0. Exit program");
			}
		}

)";

constexpr std::string_view kHarnessEnd =
    R"(		printf("Enter next input (for control menu inc. exit, enter %d for any input):", MISSINGCODE);
	}

	return 0;

})";

std::string Names(const std::vector<DeployedVariable>& variables) {
  std::string names;
  for (const DeployedVariable& variable : variables) {
    if (!names.empty()) names += ", ";
    names += variable.name;
  }
  return names;
}

/// A comment line for each categorical variable with its texts and codes.
std::string Categories(const DeployedVariables& variables) {
  std::string lines;
  for (const auto* list : {&variables.dependents, &variables.inputs}) {
    for (const DeployedVariable& variable : *list) {
      if (!variable.isCategorical) continue;
      lines += "//  " + variable.name + ": ";
      for (const DeployedClass& category : variable.codes) {
        if (&category != &variable.codes.front()) lines += ", ";
        lines += '(' + category.text + ", " + std::to_string(category.code) + ')';
      }
      lines += '\n';
    }
  }
  return lines;
}

template <class Value, class Put>
void PutListOf(CodeWriter& out, std::string_view head, std::span<const Value> values, Put put) {
  out.Put(head);
  out.Put("\n{\n");
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) out.Put(", ");
    put(values[i]);
  }
}

}  // namespace

void PutCList(CodeWriter& out, std::string_view head, std::span<const std::int64_t> values,
              std::string_view none) {
  PutListOf(out, head, values, [&](std::int64_t value) { out.PutInteger(value); });
  if (values.empty()) out.Put(none);
  out.Put("\n};\n\n");
}

void PutCList(CodeWriter& out, std::string_view head, std::span<const double> values) {
  PutListOf(out, head, values, [&](double value) { out.PutGeneral(value); });
  out.Put("\n};\n\n");
}

std::string MakeCProgram(const DeployedVariables& variables, MethodCode& method) {
  const std::string data = variables.fileName.empty()
                               ? std::string()
                               : "//  Data used in estimation: " + variables.fileName + '\n';
  const std::size_t dependents = variables.dependents.size(), inputs = variables.inputs.size();
  const std::string_view name = method.wording().name;
  return MakeText([&](CodeWriter& out) {
    out.Fill(kHeader, {{"name", name},
                       {"languages", method.wording().languages},
                       {"note", method.CNote()},
                       {"data", data},
                       {"variables", dependents + inputs},
                       {"dependents", dependents},
                       {"inputs", inputs},
                       {"dependentNames", Names(variables.dependents)},
                       {"inputNames", Names(variables.inputs)},
                       {"categories", Categories(variables)}});
    out.Put(kInclude);
    method.CModel(out);
    method.CFunctions(out);
    out.Put(kCSeparator);
    out.Put(kHarnessBegin);
    method.CInitialisation(out);
    out.Fill(kHarnessTitle, {{"name", name}});
    method.CHarnessVariables(out);
    out.Fill(kHarnessReading, {{"array", method.wording().harnessInputs}});
    method.CHarnessPrediction(out);
    out.Put(kHarnessEnd);
  });
}

}  // namespace qrvml
