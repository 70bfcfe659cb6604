#include "deploy/method_code.h"

#include "host/string_table.h"

namespace qrvml {

bool MakeProgram(Dialect dialect, const DeployedVariables& variables, MethodCode& method,
                 std::string& text) {
  if (const DeployedVariable* beyond = FindCodeBeyondInteger(variables))
    return RefuseText(BeyondIntegerText(*beyond));
  text = dialect == Dialect::c ? MakeCProgram(variables, method) : MakeQvbScript(variables, method);
  return true;
}

}  // namespace qrvml
