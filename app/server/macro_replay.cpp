#include "server/macro_replay.h"

#include "qvb/compiler.h"
#include "qvb/interpreter.h"

namespace qrvml {

bool MacroReplay::Run(const std::string& text, std::string& error) {
  // OK runs silently, as in every macro.
  host_.automation.SetInteractive(false);
  error.clear();
  bool done = false;
  try {
    HostNames names;
    AddMacroNames(names, *this);
    ScriptLimits limits;
    limits.cancel = &cancel_;
    Interpreter(CompileScript("macro", text, names), limits).Run();
    done = true;
  } catch (const ScriptError& failure) {
    if (!cancel_ && failure.kind != ScriptError::Kind::cancelled) error = failure.what();
  }
  host_.automation.SetInteractive(true);
  return done;
}

bool MacroReplay::ChangeData(const OpenOptions& options, std::string& error) {
  if (!changeData(*settings_, options, error)) return false;
  settings_ = options;
  return true;
}

bool MacroReplay::SaveDocuments(std::string&) {
  if (afterCall) afterCall();
  return true;
}

void MacroReplay::Show(const std::string& text) {
  host_.messages.DspMessageBox(BoxType::information, 0, text);
}

}  // namespace qrvml
