#include "server/asker.h"

#include "server/dialog_json.h"

namespace qrvml {
namespace {

bool Cancels(const Json& answer) {
  const auto found = answer.find("cancel");
  return found != answer.end() && *found == true;
}

}  // namespace

void Asker::Push(Json request) {
  open_.push_back(std::move(request));
  publisher_.Tell("requests", {{"requests", open_}});
  mailbox_.Reply(std::nullopt);  // the calls that led here wait for a person
}

void Asker::Pop() {
  open_.erase(open_.size() - 1);
  publisher_.Tell("requests", {{"requests", open_}});
}

bool Asker::Ask(const std::string& kind, const Json& request, const Take& take) {
  asked_ = true;
  const int number = AnalysisPublisher::NewNumber();
  Json shown = {{"request", number}, {"kind", kind}};
  shown.update(request);
  mailbox_.Expect(0, number);
  Push(std::move(shown));
  bool taken = false;
  while (const auto letter = mailbox_.Wait(0, number)) {
    const bool cancelled = Cancels(letter->content);
    std::string error;
    try {
      if (!cancelled) error = take(letter->content);
    } catch (const Json::exception&) {
      error = "the answer is not understood";
    }
    if (error.empty()) {
      Pop();
    } else {
      mailbox_.Expect(0, number);
    }
    mailbox_.Reply(error.empty() ? LetterReply{} : LetterReply{422, {{"error", error}}});
    taken = !cancelled;
    if (error.empty()) return taken;
  }
  Pop();
  return false;
}

bool Asker::RunDialog(int templateId, CAnalysisDialog& dialog) {
  asked_ = true;
  const int request = AnalysisPublisher::NewNumber(), number = AnalysisPublisher::NewNumber();
  QrvAnalysisDialog& automation = *dialog.Automation();
  Json states = ControlStates(automation);
  const auto dialogNow = [&] {
    return DialogJson(automation, number, templateId, 0, DialogLevel::modal);
  };
  mailbox_.Expect(number, request);
  Push({{"request", request}, {"kind", "dialog"}, {"dialog", dialogNow()}});
  bool ended = false, accepted = false;
  while (!ended) {
    const auto letter = mailbox_.Wait(number, request);
    if (!letter) break;
    if (letter->isAnswer) {
      const bool cancels = Cancels(letter->content);
      if (!cancels) mailbox_.Expect(number, request);
      mailbox_.Reply(cancels ? LetterReply{}
                             : LetterReply{422, {{"error", "this request takes calls"}}});
      if (cancels) break;
      continue;
    }
    LetterReply reply = runModalCalls(*letter, automation, number, states, ended, accepted);
    if (!ended) mailbox_.Expect(number, request);
    publisher_.state().Publish("done", reply.body);
    if (ended) {
      Pop();
    } else {
      // What a window above it will show below itself.
      open_.back()["dialog"] = dialogNow();
    }
    mailbox_.Reply(std::move(reply));
  }
  if (!ended) {
    automation.OACancel();
    Pop();
  }
  return accepted;
}

}  // namespace qrvml
