// Calls on the dialog of a session as the shell makes them: checked beforehand, and explained where
// they fail.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/steps.h"
#include "documents/json_renderer.h"
#include "host/analysis_host.h"
#include "host/analysis_session.h"

namespace qrvml {

class DialogCalls {
 public:
  /// `print` takes a line for standard output, `complain` one for standard error.
  using Writer = std::function<void(const std::string&)>;
  DialogCalls(AnalysisSession& session, AnalysisHost& host, Writer print, Writer complain)
      : session_(session), host_(host), print_(std::move(print)), complain_(std::move(complain)) {}

  /// Sets a property. False: why is told.
  bool Put(const std::string& name, const std::string& value);
  /// Presses OK. True: the analysis stands at `step` now. False: why is told.
  bool OK(int step);
  /// One step of the results dialog. False: why is told.
  bool Run(const Step& step);

 private:
  /// Tells why a call failed, and what of the answers could not be used; true for a success.
  bool Explain(const std::string& what, const AutomationResult& result, std::size_t messagesBefore);
  /// The control of a step, if it can be used now.
  const Control* Usable(const Step& step);
  bool Print(const Step& step);

  AnalysisSession& session_;
  AnalysisHost& host_;
  Writer print_, complain_;
};

/// Whether a name is one of the members that answer modal services.
bool IsAnswerName(std::string_view name);

/// Every readable property of a dialog, in table order.
std::vector<NamedValue> ReadProperties(QrvAnalysisDialog& dialog);
/// "Name  value  enabled" for each of them, as a table for a terminal.
std::string PropertiesText(QrvAnalysisDialog& dialog);

}  // namespace qrvml
