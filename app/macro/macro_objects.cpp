#include "macro/macro_objects.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "host/numerics.h"
#include "qvb/conversion.h"
#include "qvb/script_error.h"

namespace qrvml {
namespace {

constexpr int kFaultNumber = static_cast<int>(FaultNumber::applicationDefined);

[[noreturn]] void Fail(const std::string& text) { throw ScriptFault(kFaultNumber, text); }

AutomationValue ToAutomation(const Value& value) {
  switch (value.tag) {
    case Tag::integer:
    case Tag::real:
      return AutomationValue::Number(ToReal(value));
    case Tag::boolean:
      return AutomationValue::Number(value.boolean ? 1 : 0);
    case Tag::text:
      return AutomationValue::Text(std::string(value.text()));
    default:
      throw ScriptFault(FaultNumber::typeMismatch, "a number or a text is needed");
  }
}

Value FromAutomation(const AutomationValue& value) {
  if (!value.isNumber) return Value::Text(value.text);
  const bool isInteger = value.number == std::floor(value.number) &&
                         std::abs(value.number) <= std::numeric_limits<std::int32_t>::max();
  return isInteger ? Value::Integer(static_cast<std::int32_t>(value.number))
                   : Value::Real(value.number);
}

/// Makes calls on the dialog that stands and turns failures into faults with their reasons.
class Caller {
 public:
  Caller(MacroHost& macro, std::string step)
      : macro_(macro), step_(std::move(step)), messages_(Messages().size()) {
    macro.host().messages.step = step_;
  }

  /// `result` is that of the call; returns when it was a success.
  void Finish(const AutomationResult& result) {
    const std::vector<AnswerNote> notes = macro_.host().answers.TakeNotes();
    std::string error;
    const bool saved = macro_.SaveDocuments(error);
    if (!result.Succeeded()) Fail(Reason(result, notes));
    for (std::size_t i = messages_; i < Messages().size(); ++i) macro_.Tell(Messages()[i].text);
    for (const AnswerNote& note : notes) {
      if (!note.missing) macro_.Tell(step_ + ": " + note.text);
    }
    if (!saved) Fail(error);
  }

 private:
  const std::vector<LoggedMessage>& Messages() const { return macro_.host().messages.messages(); }

  std::string Reason(const AutomationResult& result, const std::vector<AnswerNote>& notes) const {
    std::string reason;
    const auto add = [&reason](const std::string& text) {
      if (!text.empty()) reason += (reason.empty() ? "" : "; ") + text;
    };
    for (std::size_t i = messages_; i < Messages().size(); ++i) add(Messages()[i].text);
    for (const AnswerNote& note : notes) add(note.text);
    add(result.text);
    return reason.empty() ? step_ + " failed" : reason;
  }

  MacroHost& macro_;
  std::string step_;
  std::size_t messages_;  // that were there before the call
};

/// OK of the dialog that stands has to lead on.
void PressOK(MacroHost& macro) {
  AnalysisSession& session = macro.session();
  Caller caller(macro, "OK");
  const auto before = session.dialog();
  AutomationResult result = session.OK();
  if (result.Succeeded() && session.dialog() == before) result = {kAutomationFailure, {}};
  caller.Finish(result);
}

/// A dialog of the analysis; its members are those of the dialog base and the controls.
class DialogObject final : public ScriptObject {
 public:
  explicit DialogObject(MacroHost& macro) : macro_(macro), dialog_(macro.session().dialog()) {
    if (dialog_ == nullptr) Fail("The analysis has ended");
  }

  std::string_view ClassName() const override { return "QrvAnalysisDialog"; }
  const void* ClassKey() const override { return dialog_->Controls().data(); }

  int FindMember(std::string_view name) const override {
    CheckOpen();
    for (std::size_t i = 0; i < std::size(kBase); ++i) {
      if (kBase[i].name == name) return static_cast<int>(i);
    }
    for (std::size_t i = 0; i < std::size(kAnswerNames); ++i) {
      if (LowerCase(kAnswerNames[i]) == name) return kFirstAnswer + static_cast<int>(i);
    }
    const auto controls = dialog_->Controls();
    for (std::size_t i = 0; i < controls.size(); ++i) {
      if (controls[i].IsAutomated() && LowerCase(controls[i].name) == name)
        return kFirstControl + static_cast<int>(i);
    }
    return kNoMember;
  }

  Value Get(int member, std::span<const Value> arguments) override {
    CheckOpen();
    if (member >= 0 && member < kFirstAnswer) {
      const BaseMember& base = kBase[member];
      CheckMemberCall(ClassName(), base.name, arguments.size(), base.arguments, base.arguments,
                      true, false);
      return base.call(*this, arguments);
    }
    const std::string name(NameOf(member));
    CheckMemberCall(ClassName(), name, arguments.size(), 0, 0, true, false);
    return Read(name);
  }

  void Put(int member, std::span<const Value> arguments, const Value& value) override {
    CheckOpen();
    if (member < kFirstAnswer) Fail("Only properties can be set");
    const std::string name(NameOf(member));
    CheckMemberCall(ClassName(), name, arguments.size(), 0, 0, true, true);
    Set(name, value);
  }

 private:
  using Arguments = std::span<const Value>;
  struct BaseMember {
    std::string_view name;  // in lower case
    std::size_t arguments;
    Value (*call)(DialogObject& self, Arguments arguments);
  };
  static const BaseMember kBase[7];
  static constexpr int kFirstAnswer = static_cast<int>(std::size(kBase));
  static constexpr int kFirstControl = kFirstAnswer + kAnswerMembers;

  /// The session makes its calls on the dialog that stands.
  void CheckOpen() const {
    if (!dialog_->IsOpen() || macro_.session().dialog() != dialog_) Fail("The dialog is closed");
  }
  std::string_view NameOf(int member) const {
    if (member < kFirstAnswer) Fail("A member of the dialog is needed");
    if (member < kFirstControl) return kAnswerNames[member - kFirstAnswer];
    return dialog_->Controls()[static_cast<std::size_t>(member - kFirstControl)].name;
  }

  Value Read(const std::string& name) {
    const auto controls = dialog_->Controls();
    const auto control = std::ranges::find(controls, name, &Control::name);
    if (control != controls.end() && control->kind == ControlKind::action) {
      Press(name, name);
      return Value::Boolean(true);
    }
    AutomationValue value;
    Caller caller(macro_, name);
    caller.Finish(macro_.session().Get(name, value));
    return FromAutomation(value);
  }
  void Set(const std::string& name, const Value& value) {
    const AutomationValue converted = ToAutomation(value);
    Caller caller(macro_, name);
    caller.Finish(macro_.session().Put(name, converted));
  }
  void Press(const std::string& name, const std::string& step) {
    Caller caller(macro_, step);
    caller.Finish(macro_.session().Press(name));
  }

  MacroHost& macro_;
  std::shared_ptr<QrvAnalysisDialog> dialog_;
};

const DialogObject::BaseMember DialogObject::kBase[7] = {
    {"name", 0, [](DialogObject& self, Arguments) { return Value::Text(self.dialog_->Name()); }},
    {"ok", 0,
     [](DialogObject& self, Arguments) {
       PressOK(self.macro_);
       return Value::Boolean(true);
     }},
    {"cancel", 0,
     [](DialogObject& self, Arguments) {
       Caller caller(self.macro_, "Cancel");
       caller.Finish(self.macro_.session().Cancel());
       return Value::Boolean(true);
     }},
    {"isenabled", 1,
     [](DialogObject& self, Arguments arguments) {
       return Value::Boolean(self.dialog_->IsEnabled(ToText(arguments[0])));
     }},
    {"getcontrol", 1,
     [](DialogObject& self, Arguments arguments) { return self.Read(ToText(arguments[0])); }},
    {"setcontrol", 2,
     [](DialogObject& self, Arguments arguments) {
       self.Set(ToText(arguments[0]), arguments[1]);
       return Value();
     }},
    {"presscontrol", 1,
     [](DialogObject& self, Arguments arguments) {
       const std::string name = ToText(arguments[0]);
       self.Press(name, "press:" + name);
       return Value();
     }},
};

class AnalysisObject final : public TableObject<AnalysisObject> {
 public:
  explicit AnalysisObject(MacroHost& macroHost) : macro(macroHost) {}
  std::string_view ClassName() const override { return "Analysis"; }
  static std::span<const MemberRow<AnalysisObject>> Rows() {
    static const MemberRow<AnalysisObject> rows[] = {
        {"Dialog", 0, 0,
         [](AnalysisObject& self, std::span<const Value>) {
           return Value::Object(MakeRef<DialogObject>(self.macro));
         },
         nullptr},
        {"Run", 0, 0,
         [](AnalysisObject& self, std::span<const Value>) {
           PressOK(self.macro);
           return Value::Boolean(true);
         },
         nullptr},
    };
    return rows;
  }

  MacroHost& macro;
};

class DataFileObject final : public TableObject<DataFileObject> {
 public:
  explicit DataFileObject(MacroHost& macroHost) : macro(macroHost) {}
  std::string_view ClassName() const override { return "DataFile"; }
  static std::span<const MemberRow<DataFileObject>> Rows();

  MacroHost& macro;
  OpenOptions options;
};

/// A property that is a text of the options; whether it can be set while the file is open.
template <std::string OpenOptions::*option, bool whileOpen = false>
MemberRow<DataFileObject> OptionRow(std::string_view name) {
  return {name, 0, 0,
          [](DataFileObject& self, std::span<const Value>) {
            return Value::Text(self.options.*option);
          },
          [](DataFileObject& self, std::span<const Value>, const Value& value) {
            OpenOptions changed = self.options;
            changed.*option = ToText(value);
            std::string error = "It has to be set before the data file is opened";
            if (self.macro.HasFile() && (!whileOpen || !self.macro.ChangeData(changed, error)))
              Fail(error);
            self.options = std::move(changed);
          }};
}

std::span<const MemberRow<DataFileObject>> DataFileObject::Rows() {
  static const MemberRow<DataFileObject> rows[] = {
      {"Open", 1, 1,
       [](DataFileObject& self, std::span<const Value> arguments) {
         self.options.path = ToText(arguments[0]);
         std::string error;
         if (!self.macro.OpenFile(self.options, error)) Fail(error);
         return Value();
       },
       nullptr},
      {"AddMissing", 1, 1,
       [](DataFileObject& self, std::span<const Value> arguments) {
         self.options.missing.push_back(ToText(arguments[0]));
         return Value();
       },
       nullptr},
      OptionRow<&OpenOptions::delimiter>("Delimiter"),
      OptionRow<&OpenOptions::decimal>("Decimal"),
      OptionRow<&OpenOptions::encoding>("Encoding"),
      OptionRow<&OpenOptions::caseNames>("CaseNames"),
      OptionRow<&OpenOptions::weight, true>("Weight"),
      OptionRow<&OpenOptions::select, true>("Selection"),
  };
  return rows;
}

constexpr int kMachineLearning = 1;

class ApplicationObject final : public TableObject<ApplicationObject> {
 public:
  explicit ApplicationObject(MacroHost& macroHost)
      : macro(macroHost), file(MakeRef<DataFileObject>(macroHost)) {}
  std::string_view ClassName() const override { return "Application"; }
  static std::span<const MemberRow<ApplicationObject>> Rows() {
    static const MemberRow<ApplicationObject> rows[] = {
        {"Name", 0, 0,
         [](ApplicationObject&, std::span<const Value>) { return Value::Text("qrvml"); }, nullptr},
        {"DataFile", 0, 0,
         [](ApplicationObject& self, std::span<const Value>) { return Value::Object(self.file); },
         nullptr},
        {"Analysis", 1, 1,
         [](ApplicationObject& self, std::span<const Value> arguments) {
           if (ToInteger(arguments[0]) != kMachineLearning)
             Fail("The application has one kind of analysis, scMachineLearning");
           std::string error;
           if (!self.macro.StartAnalysis(error)) Fail(error);
           return Value::Object(MakeRef<AnalysisObject>(self.macro));
         },
         nullptr},
    };
    return rows;
  }

  MacroHost& macro;
  Ref<DataFileObject> file;
};

}  // namespace

void AddMacroNames(HostNames& names, MacroHost& macro) {
  names.AddObject("Application", MakeRef<ApplicationObject>(macro));
  names.AddConstant("scMachineLearning", Value::Integer(kMachineLearning));
  names.AddConstant("scMLSVM", Value::Integer(0));
  names.AddConstant("scMLNB", Value::Integer(1));
  names.AddConstant("scMLKNN", Value::Integer(2));
  HostFunction show;
  show.fewest = 1;
  show.most = 3;  // buttons and a title change nothing
  show.call = [&macro](std::span<const Value> arguments) {
    macro.Show(ToText(arguments[0]));
    return Value::Integer(1);
  };
  names.AddFunction("MsgBox", std::move(show));
}

}  // namespace qrvml
