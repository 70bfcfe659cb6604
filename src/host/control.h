// The table of a dialog's controls: one row per control, the only place where its property name,
// label, range, identifier, enabling rule and handlers are written. Automation, shell, page,
// recording, help and validation read it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qrvml {

class CAnalysisDialog;

enum class ControlKind : std::uint8_t {
  check,    // 0 or 1
  radio,    // 0 or 1; putting 0 changes nothing
  integer,  // edit field: keeps what was typed; read as an integer when OK or an action needs it
  real,     // edit field: the same with a number
  text,     // edit field: any text
  choice,   // a position in a list, from 0
  pick,     // a button whose modal service is answered by the value that is put
  button,   // a button without a value
  action,   // a button whose automation member acts when it is read
  note,     // a text that the dialog shows: its label, or what `text` gives
};

/// Whether a control has a value that can be put and read back.
constexpr bool HoldsValue(ControlKind kind) {
  return kind != ControlKind::button && kind != ControlKind::action && kind != ControlKind::note;
}

/// The members of the dialog base that answer modal services, set before the action that asks.
enum class AnswerMember : std::uint8_t {
  selection,        // which offered outputs: numbers or *
  selectionOption,  // option of such a choice
  variables,        // variable lists
  option,           // OK or Cancel of a question
  codes,            // codes lists
  saveFileName,     // target file
  values,           // value entry
  outputFields,     // fields of an output
  none,
};
inline constexpr int kAnswerMembers = static_cast<int>(AnswerMember::none);
/// Their names in the automation interface, in the order of AnswerMember.
inline constexpr std::string_view kAnswerNames[kAnswerMembers] = {
    "ResultsSelection", "ResultsSelectionOption", "ResultsVariables", "ResultsOption",
    "ResultsCodes",     "ResultsSaveFileName",    "ResultsValues",    "ResultsOutputFields"};

/// A bound that depends on the data or on a choice, e.g. the number of prototypes; null: the fixed
/// bound holds.
using Bound = double (*)(const CAnalysisDialog&);

struct Range {
  double lowest = 0;
  double highest = 0;           // both 0: the control has no range
  Bound upTo = nullptr;         // the upper bound once the data are known
  std::string_view upToText{};  // how help texts call that bound
  Bound from = nullptr;         // the lower bound where a choice decides it
};

/// The control's row in the control-description table that the host asks for.
struct DescriptionRow {
  int identifier =
      0;         // host identifier; 0: no row, the control is outside the automation interface
  int role = 0;  // 0 option; 4 spreadsheet, 6 graph, 7 code generator button
  int kind = 0;
  int type = 0;   // 1 integer, 2 real, 5 text, 6 list
  int after = 0;  // not 0: the row stands behind the row of that identifier, not in its own place
};

using Rule = bool (*)(const CAnalysisDialog&);

/// The items that a list-valued text offers, and the chosen ones as positions from 0.
struct OfferedItems {
  std::vector<std::string> names;
  std::vector<int> chosen;
};

/// What a control does. Handlers get the dialog whose table holds the row.
struct Binding {
  double (*number)(const CAnalysisDialog&) = nullptr;     // check, radio, choice: value;
                                                          // integer, real: what the setting holds
  std::string (*text)(const CAnalysisDialog&) = nullptr;  // pick, text: value; choice: item text
  bool (*assign)(CAnalysisDialog&, double) = nullptr;     // check, radio, choice: take the value
  bool (*enter)(CAnalysisDialog&, std::string_view) = nullptr;  // text: take it (absent: a field);
                                                                // pick: instead of an answer
  bool (*press)(CAnalysisDialog&) = nullptr;                    // pick, button, action
  std::span<const std::string_view> (*items)() = nullptr;  // choice: names that stand for positions
  OfferedItems (*offered)(const CAnalysisDialog&) = nullptr;  // text: what a list offers
  int (*constant)(const CAnalysisDialog&) = nullptr;  // host constant recorded for the value
  AnswerMember answer = AnswerMember::none;           // pick: the service that it answers
};

struct Control {
  std::string_view name;  // automation property or action; outside the interface: control name
  ControlKind kind = ControlKind::check;
  std::string_view label;    // as the dialog shows it, with its access key
  std::string_view tab{};    // caption of the tab; empty: below the tabs
  std::string_view group{};  // caption of the group of controls in the tab; empty: in none
  Range range{};
  int decimals = 0;  // shown; the control holds the full number
  DescriptionRow row{};
  Rule enabled = nullptr;  // null: always
  Binding bind{};
  /// Not empty: a member of the automation interface that this dialog does not have. It is neither
  /// shown nor described, and every call on it fails with this reason.
  std::string_view refusal{};
  /// The controls whose values record a press, since a macro has nobody to ask; empty: the press
  /// records itself.
  std::span<const std::string_view> recordedAs{};
  /// The host's own dialog opens: the host records what it changed there.
  bool isRecordedByHost = false;

  bool IsAutomated() const { return row.identifier != 0 || !refusal.empty(); }
  bool IsField() const {
    return kind == ControlKind::integer || kind == ControlKind::real ||
           (kind == ControlKind::text && bind.enter == nullptr);
  }
};

// --- Writing rules and handlers on the concrete dialog -------------------------------------------

/// A named condition on a dialog; && || ! combine conditions. F is a captureless function object.
template <class F>
struct Condition {
  static bool Holds(const CAnalysisDialog& dialog) { return F{}(dialog); }
  constexpr operator Rule() const { return &Holds; }
};

template <class D, class F>
struct OnDialog {
  bool operator()(const CAnalysisDialog& dialog) const {
    return F{}(static_cast<const D&>(dialog));
  }
};
/// The condition that `f` holds for a dialog of type D.
template <class D, class F>
constexpr Condition<OnDialog<D, F>> When(F) {
  return {};
}

template <class A, class B>
struct Both {
  bool operator()(const CAnalysisDialog& d) const { return A{}(d) && B{}(d); }
};
template <class A, class B>
struct Either {
  bool operator()(const CAnalysisDialog& d) const { return A{}(d) || B{}(d); }
};
template <class A>
struct Negation {
  bool operator()(const CAnalysisDialog& d) const { return !A{}(d); }
};
template <class A, class B>
constexpr Condition<Both<A, B>> operator&&(Condition<A>, Condition<B>) {
  return {};
}
template <class A, class B>
constexpr Condition<Either<A, B>> operator||(Condition<A>, Condition<B>) {
  return {};
}
template <class A>
constexpr Condition<Negation<A>> operator!(Condition<A>) {
  return {};
}

/// Handlers written on dialog type D, as plain functions of the base.
template <class D>
struct On {
  template <class F>
  static constexpr auto Number(F) {
    return +[](const CAnalysisDialog& d) -> double {
      return static_cast<double>(F{}(static_cast<const D&>(d)));
    };
  }
  template <class F>
  static constexpr auto Text(F) {
    return +[](const CAnalysisDialog& d) -> std::string { return F{}(static_cast<const D&>(d)); };
  }
  template <class F>
  static constexpr auto Assign(F) {
    return +[](CAnalysisDialog& d, double value) -> bool { return F{}(static_cast<D&>(d), value); };
  }
  template <class F>
  static constexpr auto Enter(F) {
    return +[](CAnalysisDialog& d, std::string_view text) -> bool {
      return F{}(static_cast<D&>(d), text);
    };
  }
  template <class F>
  static constexpr auto Press(F) {
    return +[](CAnalysisDialog& d) -> bool { return F{}(static_cast<D&>(d)); };
  }
};

}  // namespace qrvml
