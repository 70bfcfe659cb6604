// Every member of the results dialog while the host refuses memory, the user cancels, or the host
// takes a document or a saved row no longer: at every place where that can happen the member fails
// with the right message or none and leaves the dialog as it was, so that the same call afterwards
// gives what it would have given. The host itself fails a test in which a block was not given back.
#include <set>

#include "knn/knn_analysis.h"

namespace qrvml::test {
namespace {

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
};

const std::vector<Request>& Requests() {
  static const std::vector<Step> kOthers = {{"Options.CityBlock", "1"},
                                            {"Options.StandardizeDistances", "1"},
                                            {"Options.KNearestNeighbors", "9"}};
  static const std::vector<Step> kAll = {{"Overall", "1"},           {"IncludeInputs", "1"},
                                         {"IncludeOutputs", "1"},    {"IncludeConfidence", "1"},
                                         {"Options.Chebychev", "1"}, {"IncludeCaseNames", "1"}};
  static const std::vector<Step> kPlot = {{"SelectedItemX", "1"}, {"SelectedItemsY", "4 6"},
                                          {"SelectedItemZ", "2"}, {"Options.CityBlock", "1"},
                                          {"Overall", "1"},       {"IncludeCaseNames", "1"}};
  static const std::vector<Request> requests = {
      {{"Summary", ""}, kOthers, 1},
      {{"Model", ""}, {}, 1},
      {{"Model", ""}, kOthers, 1, 3},
      {{"DescriptiveStat", ""}, {}, 1, 2, 1},
      {{"DescriptiveStat", ""}, kOthers, 1, 8, 1},
      {{"CrossVPlot", ""}, {}, 1, 0, 0, 104},
      {{"PrintPredictions", ""}, {}, 1, 2, 1},
      {{"PrintPredictions", ""}, kAll, 1, 4, 1},
      {{"Histograms", ""}, kAll, 12, 4, 1, 104},
      {{"PlotHistogramsOfX", ""}, {{"SelectedItemX", "6"}}, 1, 2, 1, 104},
      {{"Plot2DGraphOfXAndY", ""}, kPlot, 1, 4, 1, 104},
      {{"Plot3DGraphOfXYZ", ""}, kPlot, 2, 4, 1, 104},
      {{"CustomPredictions", ""}, {}},
      {{"CustomPredictions", "1 1.5 2 3"}, {}},
      {{"PrintCustomPredictions", ""}, {{"CustomPredictions", "1 1.5 2 3"}}, 1},
      {{"PrintCustomPredictions", ""},
       {{"CustomPredictions", "1 1.5 2 3"}, {"Options.SquaredEuclidean", "1"}},
       1,
       2},
      {{"SavePredictionsAndResiduals", ""}, {}, 0, 2, 1},
      {{"SavePredictionsAndResiduals", ""}, kAll, 0, 4, 1},
      {{"CodeGeneratorCLang", ""}, {}, 1, 0, 2, 0},
      {{"CodeGeneratorQVB", ""}, {}, 1, 0, 4, 0},
      {{"CodeGeneratorPMML", ""}, kOthers, 2, 0, 4, 0},
      {{"CodeGenerator", ""}, {}, 3, 0, 6, 0},
      {{"TrainSubset", "1"}, {}},
      {{"TestSubset", "1"}, {{"Overall", "1"}}},
      {{"Overall", "1"}, {}},
      {{"IncludeInputs", "1"}, {}},
      {{"IncludeOutputs", "1"}, {}},
      {{"IncludePredictions", "0"}, {}},
      {{"IncludeResiduals", "0"}, {}},
      {{"IncludeConfidence", "1"}, {}},
      {{"IncludeCaseNames", "1"}, {}},
      {{"SelectOutputForPlotting", "2"}, {}},
      {{"SelectedItemX", "3"}, {}},
      {{"SelectedItemsY", "1 3-5"}, {}},
      {{"SelectedItemZ", "2"}, {}},
      {{"Options.KNearestNeighbors", "9"}, {}},
      {{"Options.Euclidean", "1"}, kOthers},
      {{"Options.SquaredEuclidean", "1"}, {}},
      {{"Options.CityBlock", "1"}, {}},
      {{"Options.Chebychev", "1"}, {}},
      {{"Options.StandardizeDistances", "1"}, {}},
      {{"Options.UseWeightedAverage", "1"}, {}},
  };
  return requests;
}

// --- What a dialog has shown and saved, as text -------------------------------------------------

template <class T>
void AddNumbers(std::string_view name, const std::vector<T>& values, std::string& text) {
  text += ' ' + std::string(name) + ':';
  for (const T value : values) text += ' ' + ShortestText(static_cast<double>(value));
}

void AddLabels(const std::vector<CellLabel>& labels, std::string& text) {
  for (const CellLabel& label : labels)
    text += " [" + ShortestText(label.value) + label.text + (label.marked ? "*]" : "]");
}

std::string TextOf(const Spreadsheet& table) {
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

std::string TextOf(const Graph& graph) {
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

std::string TextOf(const SavedFile& file) {
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
Texts TakeDocuments(ScriptedHost& host) {
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

/// Two classifications after a search of K, or two regressions.
class Results : public KnnAnalysis {
 public:
  explicit Results(bool classifies)
      : KnnAnalysis(TableOf(classifies), {.folds = 3, .maximumK = 3}), classifies_(classifies) {
    KnnAnalysis::Put("ApplyCrossV", 1);
    Train();
  }
  static PlainTable TableOf(bool classifies) {
    constexpr Shape kValues = {"mixed inputs, two values", 2, 2, 2, 0, 5};
    return RandomTable(classifies ? kShapes[3] : kValues, 12, 6, 1);
  }

  /// Confidences are those of classes.
  bool IsFor(const Step& step) const { return classifies_ || step.name != "IncludeConfidence"; }
  AutomationResult Do(const Step& step) {
    if (step.value.empty()) {
      // The answers that a request may need.
      host.outputAnswers.assign(
          1, step.name == "CodeGenerator" ? std::vector{0, 2} : std::vector{0, 1, 2, 3});
      host.fileNameAnswers.assign(1, "out.sav");
      host.inputFormAnswers.assign(1, {"1", "2", "1", "3"});
      return Press(step.name);
    }
    host.ForgetStreams();
    host.exitStep = -1;
    return dialog().Put(step.name, AutomationValue::Text(std::string(step.value)));
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
    for (const Control& control : dialog().Controls()) {
      if (control.kind == ControlKind::action || control.kind == ControlKind::note) continue;
      AutomationValue value;
      EXPECT_TRUE(dialog().Get(control.name, value).Succeeded()) << control.name;
      state.push_back(std::string(control.name) + " = " +
                      (value.isNumber ? ShortestText(value.number) : value.text));
    }
    if (dialog().IsEnabled("PrintPredictions")) {
      EXPECT_TRUE(Do({"PrintPredictions", ""}).Succeeded());
      for (std::string& text : TakeDocuments(host)) state.push_back(std::move(text));
    }
    return state;
  }

 private:
  bool classifies_;
};

struct Fault {
  const char* name;
  int (*counted)(ScriptedHost& host);
  int ScriptedHost::*at;
  int (*least)(const Request& request);
  Texts (*shown)(const Texts& documents, int n);  // what was shown before place n
  std::vector<Message> (*messages)(const Request& request);
};

const Fault kFaults[] = {
    {"memory refused", [](ScriptedHost& host) { return host.allocations; },
     &ScriptedHost::refuseAllocation, [](const Request& request) { return request.refusals; },
     [](const Texts&, int) { return Texts{}; },
     [](const Request&) { return std::vector<Message>{Of(104)}; }},
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
                                   : std::vector<Message>{Of(request.message)};
     }},
    // The host has said why.
    {"row refused", [](ScriptedHost& host) { return host.puts; }, &ScriptedHost::refusePut,
     [](const Request& request) {
       return request.call.name == "SavePredictionsAndResiduals" ? 18 : 0;
     },
     [](const Texts&, int) { return Texts{}; },
     [](const Request&) { return std::vector<Message>{}; }},
};

/// Makes the request fail at place 1, 2, … until it meets none. Returns the places met.
int FailEverywhere(bool classifies, const Request& request, const Fault& fault) {
  Results faultless(classifies);
  faultless.Prepare(request);
  EXPECT_TRUE(faultless.Do(request.call).Succeeded());
  const Texts documents = TakeDocuments(faultless.host);
  const Texts state = faultless.State();
  for (int n = 1;; ++n) {
    SCOPED_TRACE(std::string(fault.name) + " at " + std::to_string(n));
    Results results(classifies);
    results.Prepare(request);
    const int met = fault.counted(results.host) + n;
    results.host.*fault.at = met;
    if (results.Do(request.call).Succeeded()) {
      EXPECT_EQ(results.host.messages, std::vector<Message>{});
      EXPECT_EQ(TakeDocuments(results.host), documents);
      return n - 1;
    }
    results.host.*fault.at = 0;
    EXPECT_EQ(fault.counted(results.host), met) << "the request ends there";
    EXPECT_EQ(results.host.messages, fault.messages(request));
    EXPECT_EQ(TakeDocuments(results.host), fault.shown(documents, n));
    EXPECT_EQ(results.host.openPasses, 0);
    EXPECT_EQ(results.dialog().Name(), "MachineLearningResultsKNN");
    EXPECT_EQ(results.host.exitStep, -1);
    results.host.messages.clear();
    EXPECT_TRUE(results.Do(request.call).Succeeded()) << "whatever was lost is made anew";
    EXPECT_EQ(TakeDocuments(results.host), documents);
    EXPECT_EQ(results.State(), state);
    EXPECT_EQ(results.host.messages, std::vector<Message>{});
    if (::testing::Test::HasFailure()) return n;
  }
}

void FailAllRequests(const Fault& fault) {
  for (const bool classifies : {true, false}) {
    for (const Request& request : Requests()) {
      SCOPED_TRACE(std::string(request.call.name) + (classifies ? ", classes" : ", values"));
      if (!Results(classifies).IsFor(request.call)) continue;
      const int places = FailEverywhere(classifies, request, fault);
      EXPECT_GE(places, fault.least(request));
      if (::testing::Test::HasFailure()) return;
    }
  }
}

TEST(ResultsFaults, MemoryRefusedAnywhereGivesTheMessageAndTheSameRequestSucceedsAfterwards) {
  FailAllRequests(kFaults[0]);
}
TEST(ResultsFaults, ACancelAnywhereIsSilentAndTheSameRequestSucceedsAfterwards) {
  FailAllRequests(kFaults[1]);
}
TEST(ResultsFaults, ARefusedDocumentDropsTheRestOfTheRequestOnly) { FailAllRequests(kFaults[2]); }
TEST(ResultsFaults, ARefusedRowEndsTheSaveAndNothingIsKept) { FailAllRequests(kFaults[3]); }

TEST(ResultsFaults, AreTriedOnEveryMember) {
  std::set<std::string_view> members, tried;
  Results results(true);
  for (const Control& control : results.dialog().Controls())
    if (control.kind != ControlKind::note) members.insert(control.name);
  for (const Request& request : Requests()) tried.insert(request.call.name);
  EXPECT_EQ(tried, members);
}

}  // namespace
}  // namespace qrvml::test
