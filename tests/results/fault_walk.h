// A walk over every member of a results dialog while the host refuses memory, the user cancels, or
// the host takes a document or a saved row no longer: at every place where that can happen the
// member fails with the right message or none and leaves the dialog as it was, so that the same
// call afterwards gives what it would have given. The host itself fails a test in which a block was
// not given back.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/numerics.h"
#include "host/string_table.h"
#include "support/scripted_host.h"

namespace qrvml::test {

using Texts = std::vector<std::string>;

struct Step {
  std::string_view name;
  std::string_view value;  // empty: pressed, not put
};

/// One call of the dialog, and what leads to it.
struct Request {
  Step call;
  std::vector<Step> before;
  int documents = 0;  // spreadsheets, graphs and text documents that it shows
  int refusals = 0;   // at least so many places at which memory can be refused
  int polls = 0;      // at least so many places at which the user can cancel
  int message = 130;  // of a refused document; 0: the host has said why
  int rows = 0;       // rows that it saves
};

/// With the properties that the dialogs of all methods have.
inline std::vector<Request> WithSharedRequests(std::vector<Request> requests) {
  const Request shared[] = {
      {{"TrainSubset", "1"}, {}},
      {{"TestSubset", "1"}, {{"Overall", "1"}}},
      {{"Overall", "1"}, {}},
      {{"IncludeInputs", "1"}, {}},
      {{"IncludeOutputs", "1"}, {}},
      {{"IncludePredictions", "0"}, {}},
      {{"IncludeResiduals", "0"}, {}},
      {{"IncludeConfidence", "1"}, {}},
      {{"IncludeCaseNames", "1"}, {}},
      {{"SelectedItemX", "3"}, {}},
      {{"SelectedItemsY", "1 3-5"}, {}},
      {{"SelectedItemZ", "2"}, {}},
  };
  requests.insert(requests.end(), std::begin(shared), std::end(shared));
  return requests;
}

// --- What a dialog has shown and saved, as text -------------------------------------------------

template <class T>
void AddNumbers(std::string_view name, const std::vector<T>& values, std::string& text) {
  text += ' ' + std::string(name) + ':';
  for (const T value : values) text += ' ' + ShortestText(static_cast<double>(value));
}

inline void AddLabels(const std::vector<CellLabel>& labels, std::string& text) {
  for (const CellLabel& label : labels)
    text += " [" + ShortestText(label.value) + label.text + (label.marked ? "*]" : "]");
}

inline std::string TextOf(const Spreadsheet& table) {
  std::string text = "spreadsheet " + table.title;
  for (const std::string& line : table.header) text += '|' + line;
  text += '|' + table.rowTitle + '|' + table.rowTitleSecond;
  for (const std::string& name : table.rowNames) text += '|' + name;
  AddNumbers("cases", table.rowCases, text);
  for (const SpreadsheetColumn& column : table.columns) {
    AddNumbers('\n' + column.first + '|' + column.second, column.values, text);
    for (const std::string& cell : column.texts) text += '|' + cell;
    AddLabels(column.labels, text);
  }
  return text;
}

inline std::string TextOf(const Graph& graph) {
  std::string text = "graph " + graph.title + (graph.fit ? ", fitted" : "");
  for (const GraphAxis& axis : graph.axes)
    AddNumbers('\n' + axis.title, std::vector<double>{axis.minimum, axis.maximum, axis.step}, text);
  for (const GraphSeries& series : graph.series) {
    AddNumbers('\n' + series.name + " x", series.x, text);
    AddNumbers("y", series.y, text);
    AddNumbers("z", series.z, text);
    AddNumbers("cases", series.cases, text);
  }
  AddNumbers("edges", graph.edges, text);
  AddNumbers("counts", graph.counts, text);
  AddLabels(graph.edgeLabels, text);
  return text;
}

inline std::string TextOf(const SavedFile& file) {
  std::string text = "file " + file.path;
  AddNumbers("kept", file.kept, text);
  for (const NewVariable& variable : file.added) {
    text += '|' + variable.name + '|' + variable.longName;
    AddLabels(variable.labels, text);
  }
  for (const auto& [number, values] : file.rows)
    AddNumbers('\n' + std::to_string(number), values, text);
  return text;
}

/// Everything that the host was given, and forgets it.
inline Texts TakeDocuments(ScriptedHost& host) {
  Texts texts;
  for (const Spreadsheet& table : host.spreadsheets) texts.push_back(TextOf(table));
  for (const Graph& graph : host.graphs) texts.push_back(TextOf(graph));
  for (const SavedFile& file : host.savedFiles) texts.push_back(TextOf(file));
  for (const TextDocument& document : host.textDocuments)
    texts.push_back("text " + document.title + '|' + document.text);
  host.spreadsheets.clear();
  host.graphs.clear();
  host.textDocuments.clear();
  host.savedFiles.clear();
  return texts;
}

// --- The walk -----------------------------------------------------------------------------------

/// A results dialog that is open, as the walk calls it. What is derived from it opens one.
class WalkedResults {
 public:
  virtual ~WalkedResults() = default;
  virtual AnalysisSession& session() = 0;
  /// Whether the dialog has the control that a step is about.
  virtual bool IsFor(const Step&) const { return true; }
  /// Lays down the answers that a request may need.
  virtual void Answer(const Step& step) = 0;

  ScriptedHost& host() { return session().host; }
  AutomationResult Do(const Step& step) {
    if (step.value.empty()) {
      Answer(step);
      return session().Press(step.name);
    }
    host().ForgetStreams();
    host().exitStep = -1;
    return session().dialog().Put(step.name, AutomationValue::Text(std::string(step.value)));
  }
  void Prepare(const Request& request) {
    for (const Step& step : request.before) {
      if (IsFor(step)) {
        EXPECT_TRUE(Do(step).Succeeded()) << step.name;
      }
    }
  }
  /// What the dialog shows now: its properties, and its predictions, which the options decide.
  Texts State() {
    Texts state;
    for (const Control& control : session().dialog().Controls()) {
      if (control.kind == ControlKind::action || control.kind == ControlKind::note ||
          !control.refusal.empty())
        continue;
      AutomationValue value;
      EXPECT_TRUE(session().dialog().Get(control.name, value).Succeeded()) << control.name;
      state.push_back(std::string(control.name) + " = " +
                      (value.isNumber ? ShortestText(value.number) : value.text));
    }
    if (session().dialog().IsEnabled("PrintPredictions")) {
      EXPECT_TRUE(Do({"PrintPredictions", ""}).Succeeded());
      for (std::string& text : TakeDocuments(host())) state.push_back(std::move(text));
    }
    return state;
  }
};

struct Fault {
  const char* name;
  int (*counted)(ScriptedHost& host);
  int ScriptedHost::*at;
  int (*least)(const Request& request);
  Texts (*shown)(const Texts& documents, int n);  // what was shown before place n
  std::vector<Message> (*messages)(const Request& request);
};

inline const Fault kFaults[] = {
    {"memory refused", [](ScriptedHost& host) { return host.allocations; },
     &ScriptedHost::refuseAllocation, [](const Request& request) { return request.refusals; },
     [](const Texts&, int) { return Texts{}; },
     [](const Request&) { return std::vector<Message>{MessageOf(104)}; }},
    {"cancelled", [](ScriptedHost& host) { return host.polls; }, &ScriptedHost::cancelAtPoll,
     [](const Request& request) { return request.polls; },
     [](const Texts&, int) { return Texts{}; },
     [](const Request&) { return std::vector<Message>{}; }},
    {"document refused", [](ScriptedHost& host) { return host.offeredDocuments; },
     &ScriptedHost::refuseDocument, [](const Request& request) { return request.documents; },
     [](const Texts& documents, int n) {
       return Texts(documents.begin(), documents.begin() + (n - 1));
     },
     [](const Request& request) {
       return request.message == 0 ? std::vector<Message>{}
                                   : std::vector<Message>{MessageOf(request.message)};
     }},
    // The host has said why.
    {"row refused", [](ScriptedHost& host) { return host.puts; }, &ScriptedHost::refusePut,
     [](const Request& request) { return request.rows; }, [](const Texts&, int) { return Texts{}; },
     [](const Request&) { return std::vector<Message>{}; }},
};

/// Makes the request fail at place 1, 2, … until it meets none. Returns the places met. `make`
/// gives the dialog afresh.
template <class Make>
int FailEverywhere(Make make, const Request& request, const Fault& fault) {
  const std::unique_ptr<WalkedResults> faultless = make();
  faultless->Prepare(request);
  EXPECT_TRUE(faultless->Do(request.call).Succeeded());
  const Texts documents = TakeDocuments(faultless->host());
  const Texts state = faultless->State();
  const std::string name = faultless->session().dialog().Name();
  for (int n = 1;; ++n) {
    SCOPED_TRACE(std::string(fault.name) + " at " + std::to_string(n));
    const std::unique_ptr<WalkedResults> results = make();
    ScriptedHost& host = results->host();
    results->Prepare(request);
    const int met = fault.counted(host) + n;
    host.*fault.at = met;
    if (results->Do(request.call).Succeeded()) {
      EXPECT_EQ(host.messages, std::vector<Message>{});
      EXPECT_EQ(TakeDocuments(host), documents);
      return n - 1;
    }
    host.*fault.at = 0;
    EXPECT_EQ(fault.counted(host), met) << "the request ends there";
    EXPECT_EQ(host.messages, fault.messages(request));
    EXPECT_EQ(TakeDocuments(host), fault.shown(documents, n));
    EXPECT_EQ(host.openPasses, 0);
    EXPECT_EQ(results->session().dialog().Name(), name);
    EXPECT_EQ(host.exitStep, -1);
    host.messages.clear();
    EXPECT_TRUE(results->Do(request.call).Succeeded()) << "whatever was lost is made anew";
    EXPECT_EQ(TakeDocuments(host), documents);
    EXPECT_EQ(results->State(), state);
    EXPECT_EQ(host.messages, std::vector<Message>{});
    if (::testing::Test::HasFailure()) return n;
  }
}

/// Every request at every place; those of controls that the dialog lacks are left out.
template <class Make>
void FailEveryRequest(Make make, std::span<const Request> requests, const Fault& fault) {
  for (const Request& request : requests) {
    SCOPED_TRACE(request.call.name);
    if (!make()->IsFor(request.call)) continue;
    const int places = FailEverywhere(make, request, fault);
    EXPECT_GE(places, fault.least(request));
    if (::testing::Test::HasFailure()) return;
  }
}

/// That every control of the dialog is tried.
inline void ExpectEveryMember(WalkedResults& results, std::span<const Request> requests) {
  std::set<std::string_view> members, tried;
  for (const Control& control : results.session().dialog().Controls())
    if (control.kind != ControlKind::note && control.refusal.empty()) members.insert(control.name);
  for (const Request& request : requests) tried.insert(request.call.name);
  EXPECT_EQ(tried, members);
}

}  // namespace qrvml::test
