#include "server/page_calls.h"

namespace qrvml {

bool ReadPageCall(const Json& json, PageCall& call) {
  try {
    call.kind = json.at("do").get<std::string>();
    call.name = json.value("name", std::string());
    if (call.kind == "type") call.text = json.at("text").get<std::string>();
    if (call.kind != "set") return true;
    const Json& value = json.at("value");
    if (value.is_boolean()) {
      call.value = AutomationValue::Number(value.get<bool>() ? 1 : 0);
    } else if (value.is_number()) {
      call.value = AutomationValue::Number(value.get<double>());
    } else {
      call.value = AutomationValue::Text(value.get<std::string>());
    }
    return true;
  } catch (const Json::exception&) {
    return false;
  }
}

CallOutcome::CallOutcome(int analysis, int call)
    : json_({{"analysis", analysis},
             {"call", call},
             {"done", true},
             {"ok", true},
             {"failed", -1},
             {"control", ""},
             {"error", ""}}) {}

void CallOutcome::Add(const AutomationResult& result, std::string reason,
                      std::string_view control) {
  json_["error"] = std::move(reason);
  if (!result.Succeeded()) {
    failed_ = true;
    json_["ok"] = false;
    json_["failed"] = made_;
    json_["control"] = control;
  }
  ++made_;
}

LetterReply CallOutcome::Reply(Json&& changedControls) {
  json_["controls"] = std::move(changedControls);
  return {200, std::move(json_)};
}

}  // namespace qrvml
