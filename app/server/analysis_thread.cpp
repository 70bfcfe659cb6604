#include "server/analysis_thread.h"

#include <algorithm>
#include <exception>

#include "host/numerics.h"
#include "server/dialog_json.h"
#include "server/macro_replay.h"

namespace qrvml {
namespace {

constexpr auto kPatience = std::chrono::milliseconds(200);  // of a page for the end of its calls
constexpr int kStartupStep = 101;
constexpr int kFirstResultsStep = 105;

AutomationResult Failure(std::string text) { return {kAutomationFailure, std::move(text)}; }

const Control* FindControl(QrvAnalysisDialog& dialog, std::string_view name) {
  const auto controls = dialog.Controls();
  const auto found = std::ranges::find(controls, name, &Control::name);
  return found == controls.end() ? nullptr : &*found;
}

DialogLevel LevelOf(int step) {
  if (step == kStartupStep) return DialogLevel::startup;
  return step < kFirstResultsStep ? DialogLevel::specification : DialogLevel::results;
}

}  // namespace

AnalysisThread::AnalysisThread(const AnalysisSurroundings& surroundings, int id,
                               const FileShelf::Ref& file, AnalysisStart start)
    : surroundings_(surroundings),
      id_(id),
      publisher_(*surroundings.state, id),
      documents_(publisher_),
      host_(
          {.interactive = true, .threads = surroundings.threads, .memoryLimit = 0, .terminal = {}},
          cancel_),
      data_(*surroundings.shelf, host_.automation, cancel_, file),
      recordedFile_(file->options),
      asker_(publisher_, mailbox_),
      dialogs_(host_.sequence, host_.answers, asker_),
      questions_(asker_, *surroundings.folders),
      progress_(publisher_, cancel_) {
  ConnectServices();
  ConnectData();
  publisher_.TellWhole({{"file", file->id},
                        {"kind", start.kind == nullptr ? "" : start.kind->kind},
                        {"step", 0},
                        {"state", "open"},
                        {"reason", ""},
                        {"busy", true},
                        {"call", 0},
                        {"dialog", nullptr},
                        {"requests", Json::array()},
                        {"progress", nullptr},
                        {"documents", Json::array()},
                        {"messages", Json::array()},
                        {"macro", {{"lines", 0}, {"recording", true}}},
                        {"canUndo", false}});
  thread_ = std::thread([this, begin = std::move(start)] { Run(begin); });
}

AnalysisThread::~AnalysisThread() {
  try {
    cancel_ = true;
    mailbox_.Close();
    thread_.join();
    publisher_.Tell("analysisClosed", Json::object());
  } catch (const std::exception&) {
    // Without memory for an event; pages learn it when they ask again.
  }
}

bool AnalysisThread::WaitUntilOpen(std::string& error) {
  error = opened_.get_future().get();
  return error.empty();
}

// --- What other threads ask ----------------------------------------------------------------------

LetterReply AnalysisThread::PostCalls(const Json& body) {
  if (!body.at("calls").is_array()) return {422, {{"error", "calls are a list"}}};
  int call = 0;
  auto waiting = mailbox_.Post(false, body.at("dialog").get<int>(), body.at("calls"), call);
  if (!waiting) return {409, {{"error", "the dialog has changed, or something runs"}}};
  if (waiting->wait_for(kPatience) == std::future_status::ready) {
    if (auto reply = waiting->get()) return *std::move(reply);
  }
  return {200, {{"analysis", id_}, {"call", call}, {"done", false}}};
}

LetterReply AnalysisThread::PostAnswer(const Json& body) {
  int call = 0;
  auto waiting = mailbox_.Post(true, body.at("request").get<int>(), body, call);
  if (!waiting) return {409, {{"error", "this is not asked now"}}};
  return waiting->get().value_or(LetterReply{});
}

void AnalysisThread::Record(bool on) {
  recorder_.Switch(on);
  TellMacro();
}

// --- The analysis's thread -----------------------------------------------------------------------

void AnalysisThread::Run(const AnalysisStart& start) {
  std::string error;
  bool told = false;
  replays_ = !start.macro.empty();
  try {
    const bool open =
        OpenSession(error) && (start.kind == nullptr || ChooseKind(*start.kind, error));
    if (open) {
      TakeMacro();
      TellNewDialog();
    }
    told = true;
    opened_.set_value(open ? "" : error);
    if (open && replays_) Replay(start.macro);
    while (open) {
      const auto letter = mailbox_.Wait(dialogNumber_, 0);
      if (!letter) break;
      mailbox_.Reply(RunCalls(*letter));
    }
  } catch (const std::exception& failure) {
    error = failure.what();
    if (!told) opened_.set_value(error);
  }
  session_.reset();
  if (!error.empty())
    publisher_.TellWhole({{"state", "failed"},
                          {"reason", error},
                          {"busy", false},
                          {"dialog", nullptr},
                          {"requests", Json::array()},
                          {"progress", nullptr}});
  mailbox_.Reply(LetterReply{500, {{"error", error}}});
}

bool AnalysisThread::OpenSession(std::string& error) {
  session_ = std::make_unique<AnalysisSession>(services_, host_.sequence, host_.random);
  session_->beforeActing = [this] { return LookAtFile(); };
  session_->beforeOK = [this](QrvAnalysisDialog& dialog) { host_.automation.RecordSeeds(dialog); };
  session_->afterOK = [this] { host_.automation.RecordRun(); };
  session_->afterCancel = [this] { host_.automation.RecordBack(); };
  session_->onAnswer = [this](std::string_view name, std::string_view text) {
    host_.automation.RecordAnswer(name, text);
  };
  return session_->Open(surroundings_.factory, error);
}

bool AnalysisThread::ChooseKind(const OfferedKind& kind, std::string& error) {
  const AutomationResult chosen =
      session_->Put("TypeOfAnalysis", AutomationValue::Number(kind.position));
  if (chosen.Succeeded() && session_->OK().Succeeded() &&
      session_->step() == kind.specificationStep)
    return true;
  error = "the analysis cannot be opened: " + kind.title;
  return false;
}

void AnalysisThread::Replay(const std::string& macro) {
  cancel_ = mailbox_.IsClosed();
  MacroReplay replay(*session_, host_, cancel_);
  replay.afterCall = [this] {
    Json changed;
    TakeMacro();
    TellDialog(&changed);
  };
  replay.changeData = [this](const OpenOptions& before, const OpenOptions& now,
                             std::string& failure) { return ChangeData(before, now, failure); };
  std::string error;
  progress_.ShowMacro(true);
  const bool done = replay.Run(macro, error);
  progress_.ShowMacro(false);
  if (!done && !error.empty()) host_.messages.DspMessageBox(BoxType::information, 0, error);
  replays_ = false;
  TakeMacro();
  TellNewDialog();
}

void AnalysisThread::ConnectServices() {
  host_.workbook.onChange = [this](std::size_t position) {
    documents_.Changed(host_.workbook.documents()[position], data_.current());
  };
  host_.messages.show = [this](const LoggedMessage& message) {
    publisher_.Tell("message", {{"message",
                                 {{"number", message.number},
                                  {"text", message.text},
                                  {"step", message.step},
                                  {"note", message.isNote}}}});
  };
  host_.messages.ask = [this](BoxType type, const LoggedMessage& message) {
    return questions_.AskMessage(type, message);
  };
  host_.saving.askOutputs = [this](auto title, auto prompt, auto offered, auto& picked) {
    return questions_.AskForOutputs(title, prompt, offered, picked);
  };
  host_.saving.askFileName = [this](std::string& path) {
    return questions_.AskForFileName(path, host_.saving.overwrite);
  };
  progress_.casesRead = [this] { return data_.watched().lastCase(); };
  progress_.onBegin = [this] {
    if (shown_ != nullptr && shown_->IsOpen()) fieldOfPass_ = shown_->LastFieldRead();
  };
  dialogs_.openFile = [this] { return AskForFile(); };
  dialogs_.defineSelection = [this] { return AskForSelection(); };
  dialogs_.defineWeight = [this] { return AskForWeight(); };
  dialogs_.labelsOf = [this](int variable) {
    Json labels = Json::array();
    for (const ValueLabel& label : data_.current()->Table().At(variable).labels) {
      if (labels.size() < kMostCategories) labels.push_back({label.code, label.text});
    }
    return labels;
  };
  dialogs_.onAnswer = questions_.onAnswer = [this](AnswerMember member, const std::string& text) {
    given_.emplace_back(member, text);
  };
  data_.onTake = [this] { ConnectData(); };
  asker_.runModalCalls = [this](const Letter& letter, QrvAnalysisDialog& dialog, int number,
                                Json& states, bool& ended, bool& accepted) {
    return RunModalCalls(letter, dialog, number, states, ended, accepted);
  };
}

// --- Calls ---------------------------------------------------------------------------------------

AutomationResult AnalysisThread::MakeCall(const PageCall& call, std::string& control) {
  if (call.kind == "undo") return choices_.Undo(*session_);
  control = call.name;
  host_.messages.step = control.empty() ? "OK" : control;
  const DialogEnds ends{[&] {
                          AutomationResult result = session_->OK();
                          if (shown_ != nullptr && shown_->IsOpen()) {
                            // The field that was read last is the one that was refused, unless
                            // cases were read since.
                            const std::string field = shown_->LastFieldRead();
                            if (!result.Succeeded() && field != fieldOfPass_) control = field;
                          }
                          return result;
                        },
                        [&] { return session_->Cancel(); }};
  return MakePageCall(*session_, call, ends);
}

std::string AnalysisThread::ReasonOf(const AutomationResult& result, std::size_t messagesBefore) {
  std::string reason = result.text;
  for (const AnswerNote& note : host_.answers.TakeNotes()) {
    if (note.missing) continue;
    reason += (reason.empty() ? "" : "; ") + note.text;
  }
  const bool said = host_.messages.messages().size() > messagesBefore;
  if (!result.Succeeded() && reason.empty() && !said && !cancel_ && !asker_.TakeAsked())
    reason = "this is not possible now";
  return reason;
}

LetterReply AnalysisThread::RunCalls(const Letter& letter) {
  cancel_ = mailbox_.IsClosed();
  CallOutcome outcome(id_, letter.call);
  bool tellsBusy = false;
  for (const Json& json : letter.content) {
    std::string control;
    const std::size_t messages = host_.messages.messages().size();
    const std::size_t position = host_.automation.changes().size();
    given_.clear();
    fieldOfPass_.clear();
    asker_.TakeAsked();
    PageCall call;
    AutomationResult result = Failure("the call is not understood");
    if (ReadPageCall(json, call)) {
      if (!tellsBusy && (call.kind == "ok" || call.kind == "press")) {
        tellsBusy = true;
        publisher_.Tell("busy", {{"busy", true}, {"call", letter.call}});
      }
      // OK asks for variables when none were chosen.
      const bool mayChoose = call.kind == "ok" || call.name == "Variables";
      const auto before = mayChoose ? session_->dialog() : nullptr;
      const Json states = before == nullptr ? Json() : ControlStates(*before);
      result = MakeCall(call, control);
      if (before != nullptr && session_->dialog() == before)
        choices_.Keep(states, ControlStates(*before));
    }
    if (nextFile_ != nullptr) {
      std::string error;
      data_.Take(std::exchange(nextFile_, nullptr));
      if (!StartOver(error)) result = Failure(error);
    }
    RecordAnswers(result.Succeeded() ? position : host_.automation.changes().size(), call.name);
    outcome.Add(result, ReasonOf(result, messages), control);
    if (outcome.HasFailed()) break;
  }
  Json changed = Json::array();
  TakeMacro();
  TellDialog(&changed);
  TellUndo();
  LetterReply reply = outcome.Reply(std::move(changed));
  mailbox_.Expect(dialogNumber_, 0);
  if (tellsBusy) publisher_.Tell("busy", {{"busy", false}, {"call", letter.call}});
  publisher_.state().Publish("done", reply.body);
  return reply;
}

LetterReply AnalysisThread::RunModalCalls(const Letter& letter, QrvAnalysisDialog& dialog,
                                          int number, Json& states, bool& ended, bool& accepted) {
  CallOutcome outcome(id_, letter.call);
  const DialogEnds ends{[&] {
                          AutomationResult end = dialog.OAOK();
                          ended = accepted = end.Succeeded();
                          return end;
                        },
                        [&] {
                          ended = true;
                          return dialog.OACancel();
                        }};
  for (const Json& json : letter.content) {
    const std::size_t messages = host_.messages.messages().size();
    PageCall call;
    AutomationResult result = Failure("the call is not understood");
    if (ReadPageCall(json, call)) result = MakePageCall(dialog, call, ends);
    outcome.Add(result, ReasonOf(result, messages), call.name);
    if (outcome.HasFailed() || ended) break;
  }
  Json changed = ChangedStates(states, ControlStates(dialog));
  if (!changed.empty()) publisher_.Tell("controls", {{"dialog", number}, {"controls", changed}});
  return outcome.Reply(std::move(changed));
}

// --- What pages see ------------------------------------------------------------------------------

void AnalysisThread::TellDialog(Json* changed) {
  if (session_->dialog() != shown_) return TellNewDialog();
  if (shown_ == nullptr) return;
  *changed = ChangedStates(states_, ControlStates(*shown_));
  if (!changed->empty())
    publisher_.Tell("controls", {{"dialog", dialogNumber_}, {"controls", *changed}});
}

void AnalysisThread::TellNewDialog() {
  shown_ = session_->dialog();
  choices_.Clear();
  couldUndo_ = false;
  dialogNumber_ = shown_ == nullptr ? 0 : AnalysisPublisher::NewNumber();
  const int step = shown_ == nullptr ? 0 : session_->step();
  Json whole = {{"step", step},     {"state", shown_ == nullptr ? "ended" : "open"},
                {"busy", replays_}, {"dialog", nullptr},
                {"canUndo", false}, {"file", data_.FileId()}};
  if (shown_ != nullptr) {
    states_ = ControlStates(*shown_);
    whole["dialog"] =
        DialogJson(*shown_, dialogNumber_, host_.sequence.templateId(), step, LevelOf(step));
  }
  if (shown_ != nullptr && LevelOf(step) == DialogLevel::startup) kind_ = nullptr;
  for (const OfferedKind& kind : surroundings_.kinds) {
    if (kind.specificationStep != step) continue;
    kind_ = &kind;
    whole["kind"] = kind.kind;
  }
  if (!replays_) mailbox_.Expect(dialogNumber_, 0);
  publisher_.TellWhole(whole);
}

void AnalysisThread::TellUndo() {
  if (couldUndo_ == choices_.CanUndo()) return;
  couldUndo_ = !couldUndo_;
  publisher_.Tell("undo", {{"canUndo", couldUndo_}});
}

void AnalysisThread::TakeMacro() {
  recordedFile_.caseNames = data_.file().options.caseNames;
  if (recorder_.Take(recordedFile_, host_.automation.changes())) TellMacro();
}

void AnalysisThread::TellMacro() {
  publisher_.Tell("macro", {{"lines", recorder_.Lines()}, {"recording", recorder_.IsOn()}});
}

/// A script that replays an action needs the answers that a person gave; a choice that is recorded
/// as a value has them already.
void AnalysisThread::RecordAnswers(std::size_t position, const std::string& control) {
  const Control* row =
      shown_ == nullptr || !shown_->IsOpen() ? nullptr : FindControl(*shown_, control);
  if (row != nullptr && (row->kind == ControlKind::pick || !row->recordedAs.empty())) return;
  if (position >= host_.automation.changes().size()) return;
  for (const auto& [member, text] : given_)
    host_.automation.InsertAnswer(position++, kAnswerNames[static_cast<std::size_t>(member)], text);
}

// --- The data file -------------------------------------------------------------------------------

void AnalysisThread::ConnectData() {
  const HostDataFile* data = data_.current().get();
  LabelLookup codeOfLabel = [data](int variable, std::string_view label, double& code) {
    return data->Table().FindCode(variable, label, code);
  };
  services_ = host_.Services(data_.watched(), codeOfLabel, data);
  dialogs_.SetNames({&data_.watched(), std::move(codeOfLabel)});
  services_.dialogs = &dialogs_;
  services_.progress = &progress_;
}

AutomationResult AnalysisThread::LookAtFile() {
  std::string error;
  const FileShelf::Ref now = data_.Newest(error);
  if (!error.empty()) return Failure(error);
  if (now == nullptr || now->revision == data_.file().revision) return {};
  const bool wasRead = now->readings != data_.file().readings;
  const bool hasResults = session_->step() >= kFirstResultsStep;
  if (hasResults) {
    const std::string what =
        wasRead ? "The data file has changed and was read again."
                : "The selection conditions, the weights or the case names of the data have "
                  "changed.";
    const LoggedMessage question{
        0, what + " Back to the settings, so that the model is trained on the new data?", "data"};
    if (questions_.AskMessage(BoxType::okCancel, question) != BoxButton::ok)
      return Failure("The results belong to the data as they were before");
  }
  if (hasResults && !wasRead) session_->Cancel();
  data_.Take(now);
  if (wasRead) {
    const std::string changed = now->name + " has changed since it was opened";
    if (!StartOver(error)) return Failure(changed + ". " + error);
    return Failure(changed + ": it was read again, and the analysis starts over");
  }
  session_->analysis()->DataSettingsChanged();
  return hasResults ? Failure("The data have changed: train the model again") : AutomationResult{};
}

/// With another file, at the settings of the method that was chosen.
bool AnalysisThread::StartOver(std::string& error) {
  const OfferedKind* kind = kind_;
  host_.automation.ForgetChanges();
  recordedFile_ = data_.file().options;
  return session_->ReplaceFile(services_, error) && (kind == nullptr || ChooseKind(*kind, error));
}

/// As a macro does it.
bool AnalysisThread::ChangeData(const OpenOptions& before, const OpenOptions& now,
                                std::string& error) {
  if (session_->step() >= kFirstResultsStep) {
    error = kResultsKeepTheirData;
    return false;
  }
  if (!data_.Change(before, now, error)) return false;
  session_->analysis()->DataSettingsChanged();
  return true;
}

bool AnalysisThread::AskForFile() {
  const Json shown = {{"file", data_.FileId()}};
  return asker_.Ask("dataFile", shown, [&](const Json& answer) -> std::string {
    nextFile_ = surroundings_.shelf->Find(answer.at("file").get<int>());
    return nextFile_ == nullptr ? "this file is not open" : "";
  });
}

bool AnalysisThread::AskForSelection() {
  const Json shown = {{"select", data_.current()->Selection()}, {"file", data_.FileId()}};
  return asker_.Ask("selection", shown, [&](const Json& answer) {
    std::string error;
    FileSettings settings;
    settings.select = answer.at("select").get<std::string>();
    data_.Change(settings, error);
    return error;
  });
}

bool AnalysisThread::AskForWeight() {
  const Json shown = {{"weight", data_.current()->WeightVariable()}, {"file", data_.FileId()}};
  return asker_.Ask("weight", shown, [&](const Json& answer) {
    std::string error;
    FileSettings settings;
    settings.weight = answer.at("weight").get<int>();
    data_.Change(settings, error);
    return error;
  });
}

}  // namespace qrvml
