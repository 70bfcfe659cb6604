#include "support/scripted_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <sstream>

#include "host/analysis_support.h"
#include "host/list_text.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml::test {
namespace {

std::vector<std::string> Words(std::string_view line) {
  std::istringstream in{std::string(line)};
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

double NumberOf(const std::string& text) {
  double number = 0;
  EXPECT_TRUE(TextToDouble(text, number)) << "table literal: \"" << text << "\" is no number";
  return number;
}

TableFile::Variable ReadVariable(std::string word) {
  TableFile::Variable variable;
  if (const std::size_t mark = word.find('!'); mark != std::string::npos) {
    variable.missing = NumberOf(word.substr(mark + 1));
    word.resize(mark);
  }
  const std::size_t equals = word.find('=');
  variable.name = word.substr(0, equals);
  if (equals == std::string::npos) return variable;
  std::istringstream in(word.substr(equals + 1));
  double code = 1;
  for (std::string label; std::getline(in, label, ','); code += 1) {
    const std::size_t colon = label.find(':');
    if (colon != std::string::npos) code = NumberOf(label.substr(0, colon));
    variable.labels[code] = label.substr(colon + 1);  // npos + 1: the whole label
  }
  return variable;
}

CaseStatus StatusOf(const std::string& cell) {
  return cell == "-" ? CaseStatus::skip : cell == "!" ? CaseStatus::stop : CaseStatus::delivered;
}

template <class T>
bool TakeFront(std::deque<T>& queue, T& value) {
  if (queue.empty()) return false;
  value = std::move(queue.front());
  queue.pop_front();
  return true;
}

}  // namespace

// --- TableFile -----------------------------------------------------------------------------------

TableFile::TableFile(std::string_view header, const std::vector<std::string>& rows) {
  const std::vector<std::string> columns = Words(header);
  for (const std::string& column : columns) {
    if (column[0] != '*') variables.push_back(ReadVariable(column));
    weighted = weighted || column == "*weight";
  }
  for (const std::string& row : rows) {
    const std::vector<std::string> cells = Words(row);
    if (cells.size() != columns.size()) {
      ADD_FAILURE() << "table literal: row \"" << row << "\" does not fit \"" << header << '"';
      continue;
    }
    Case& entry = cases.emplace_back();
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const std::string& cell = cells[i];
      if (columns[i] == "*weight") {
        entry.weight = NumberOf(cell);
      } else if (columns[i] == "*name") {
        entry.name = cell == "." ? std::string() : cell;
      } else if (columns[i] == "*state") {
        entry.status = StatusOf(cell);
      } else {
        const auto variable = static_cast<int>(entry.values.size()) + 1;
        double value = At(variable).missing;
        if (cell != "." && !FindLabel(variable, cell, value)) value = NumberOf(cell);
        entry.values.push_back(value);
      }
    }
  }
}

int TableFile::VariableNumber(std::string_view name) const {
  const auto found = std::ranges::find(variables, name, &Variable::name);
  return found == variables.end() ? 0 : static_cast<int>(found - variables.begin()) + 1;
}

bool TableFile::FindLabel(int variable, std::string_view label, double& code) const {
  for (const auto& [known, text] : At(variable).labels) {
    if (text != label) continue;
    code = known;
    return true;
  }
  return false;
}

CaseStatus TableFile::cstrtw(int caseNumber, double* values, CaseInfo& info) {
  const Case& entry = cases[(static_cast<std::size_t>(caseNumber) - 1) % cases.size()];
  info = {.weight = weighted ? entry.weight : 1.0, .name = entry.name};
  return cstart(caseNumber, values);
}

CaseStatus TableFile::cstart(int caseNumber, double* values) {
  if (++reads == stopAtRead) return CaseStatus::stop;
  const Case& entry = cases[(static_cast<std::size_t>(caseNumber) - 1) % cases.size()];
  if (entry.status == CaseStatus::delivered) std::ranges::copy(entry.values, values + 1);
  return entry.status;
}

int TableFile::vvlcod(int variable, float code, std::string& label) const {
  const auto found = At(variable).labels.find(static_cast<double>(code));
  if (found == At(variable).labels.end()) return 1;
  label = found->second;
  return 0;
}

std::string TableFile::getlab(int caseNumber) {
  return cases[(static_cast<std::size_t>(caseNumber) - 1) % cases.size()].name;
}

std::string TableFile::WriteSpecialFormatVariable(int variable, double value, int) const {
  return At(variable).special + ShortestText(value);
}

// --- ScriptedHost --------------------------------------------------------------------------------

Message MessageOf(int number) { return {number, std::string(GetResourceString(number))}; }

std::ostream& operator<<(std::ostream& out, const Message& message) {
  return out << message.number << " \"" << message.text << '"';
}

std::ostream& operator<<(std::ostream& out, const Recorded& recorded) {
  return out << recorded.control << " = \"" << recorded.value << "\" (" << recorded.constant << ')';
}

ScriptedHost::~ScriptedHost() {
  EXPECT_EQ(live_.size(), 0u) << "blocks of host memory were never given back";
  for (const auto& [address, bytes] : live_) ::operator delete(address, std::align_val_t{64});
}

HostServices ScriptedHost::Services(TableFile& table) {
  table_ = &table;
  return {&table, this, this, this, this, this, this, this, this, this, this};
}

std::vector<int> ScriptedHost::TakeMessages() {
  std::vector<int> numbers;
  for (const Message& message : messages) numbers.push_back(message.number);
  messages.clear();
  return numbers;
}

void ScriptedHost::dstart(int) {
  EXPECT_EQ(openPasses, 0) << "a pass was opened inside another";
  ++openPasses;
}

void ScriptedHost::CreateIterDisplay(int, int) { ++openIterDisplays; }

void ScriptedHost::ShowIterText(int line, std::string_view text) {
  EXPECT_EQ(openIterDisplays, 1) << "progress text without a display";
  (line == 0 ? statusTexts : detailTexts).emplace_back(text);
}

BoxButton ScriptedHost::DspMessageBox(BoxType type, int number, std::string_view text) {
  if (type == BoxType::note) {
    notes.emplace_back(text);
    return BoxButton::ok;
  }
  messages.push_back({number, std::string(text)});
  BoxButton button = type == BoxType::okCancel ? BoxButton::cancel : BoxButton::ok;
  if (type == BoxType::okCancel) TakeFront(boxAnswers, button);
  return button;
}

int ScriptedHost::AllocMem(void** address, std::size_t bytes) {
  EXPECT_GT(bytes, 0u);
  if (++allocations == refuseAllocation) return 1;
  *address = ::operator new(bytes, std::align_val_t{64});
  std::memset(*address, 0xA5, bytes);  // contents are undefined: make their use show
  live_[*address] = bytes;
  return 0;
}

void ScriptedHost::FreeMem(void* address) {
  if (address == nullptr) return;
  EXPECT_EQ(live_.erase(address), 1u) << "freed twice, or not this host's";
  ::operator delete(address, std::align_val_t{64});
}

double ScriptedHost::rnd_(std::int32_t seed) {
  seeds.push_back(seed);
  double draw = 0;
  if (TakeFront(scriptedDraws, draw)) return draw;
  // SplitMix64 (Steele, Lea and Flood, 2014); a stream begins at its seed.
  auto& state = streams_.try_emplace(seed, static_cast<std::uint64_t>(seed)).first->second;
  state += 0x9E3779B97F4A7C15;
  std::uint64_t z = state;
  z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
  z = (z ^ z >> 27) * 0x94D049BB133111EB;
  z ^= z >> 31;
  return static_cast<double>(z >> 11) * 0x1p-53;
}

int ScriptedHost::CreateModelessDialog(int id, std::unique_ptr<CAnalysisDialog> created) {
  if (created == nullptr || refuseDialogs) return 1;
  templateId = id;
  dialog = std::move(created);
  return 0;
}

void ScriptedHost::ExitDialog(int step, int mode) {
  exitStep = step;
  exitMode = mode;
}

bool ScriptedHost::RunModalDialog(int id, CAnalysisDialog& shown) {
  return modal ? modal(id, shown) : shown.OnOK();
}

/// Lists of numbers from the answer that stands ready: names, labels (where the lists belong to
/// variables), numbers and ranges; `*` leaves a list as it is. False: no answer stands ready.
bool ScriptedHost::AnswerLists(AnswerMember member, std::vector<std::vector<double>>& lists,
                               std::span<const int> variables) {
  const std::string text = Answer(member);
  if (text.empty()) return false;
  SetAnswer(member, {});
  std::vector<std::vector<ListMember>> parsed;
  std::string error;
  EXPECT_TRUE(ParseListText(text, parsed, error)) << error;
  lists.resize(parsed.size());
  for (std::size_t i = 0; i < parsed.size(); ++i) {
    if (!parsed[i].empty() && parsed[i][0].kind == ListMember::Kind::all) continue;
    lists[i].clear();
    for (const ListMember& entry : parsed[i]) {
      double first = entry.number, last = entry.number;
      if (entry.kind == ListMember::Kind::range) {
        last = entry.upper;
      } else if (entry.kind == ListMember::Kind::name) {
        if (variables.empty()) {
          first = table_->VariableNumber(entry.name);
        } else if (i < variables.size()) {
          EXPECT_TRUE(table_->FindLabel(variables[i], entry.name, first)) << entry.name;
        }
        EXPECT_NE(first, 0) << "no variable " << entry.name;
        last = first;
      }
      for (double value = first; value <= last; value += 1) lists[i].push_back(value);
    }
  }
  return true;
}

bool ScriptedHost::FourVarListsDialog(VariableListsRequest& request) {
  variableListsRequests.push_back(request);
  std::vector<std::vector<double>> lists;
  if (AnswerLists(AnswerMember::variables, lists, {})) {
    // A dialog of three lists takes four, too, where the first is empty.
    if (lists.size() > request.lists.size() && lists[0].empty()) lists.erase(lists.begin());
    lists.resize(request.lists.size());
    for (std::size_t i = 0; i < lists.size(); ++i)
      request.lists[i].assign(lists[i].begin(), lists[i].end());
    return true;
  }
  return TakeFront(variableListAnswers, request.lists);
}

bool ScriptedHost::ThreeVarListsDialog(VariableListsRequest& request) {
  return FourVarListsDialog(request);
}

bool ScriptedHost::VariableListDialog(std::string_view, std::string_view, int& variable) {
  std::vector<std::vector<double>> lists;
  if (AnswerLists(AnswerMember::variables, lists, {})) {
    variable = lists[0].empty() ? 0 : static_cast<int>(lists[0][0]);
    return true;
  }
  return TakeFront(variableAnswers, variable);
}

bool ScriptedHost::LongCodesListDialog(CodesRequest& request) {
  codesRequests.push_back(request);
  std::vector<std::vector<double>> lists = request.codes;
  if (AnswerLists(AnswerMember::codes, lists, request.variables)) {
    lists.resize(request.variables.size());
    request.codes = lists;
    return true;
  }
  return TakeFront(codeAnswers, request.codes);
}

bool ScriptedHost::GetStartValues(std::string_view, std::span<const std::string>,
                                  std::span<double> values) {
  std::vector<double> entered;
  if (!TakeFront(startValueAnswers, entered)) return false;
  std::copy_n(entered.begin(), std::min(entered.size(), values.size()), values.begin());
  return true;
}

bool ScriptedHost::GetValueFromValEdit(std::string_view text, int variable, double lowest,
                                       double highest, double& value) {
  double number = 0;
  if (TextToDouble(text, number)) {
    if (number < lowest || number > highest) return false;
    value = number;
    return true;
  }
  return variable > 0 && table_->FindLabel(variable, text, value);
}

bool ScriptedHost::looka4(Spreadsheet&& spreadsheet) {
  if (!TakesDocument()) return false;
  for (const SpreadsheetColumn& column : spreadsheet.columns)
    EXPECT_EQ(column.values.size(), spreadsheet.Rows()) << spreadsheet.title;
  spreadsheets.push_back(std::move(spreadsheet));
  return true;
}

bool ScriptedHost::looka4dlg(InputTable& form) { return TakeFront(inputFormAnswers, form.cells); }

bool ScriptedHost::ShowGraph(Graph&& graph) {
  if (!TakesDocument()) return false;
  graphs.push_back(std::move(graph));
  return true;
}

bool ScriptedHost::CreateTextDoc(TextDocument&& document) {
  if (!TakesDocument()) return false;
  textDocuments.push_back(std::move(document));
  return true;
}

bool ScriptedHost::PickOutputs(std::string_view, std::string_view, std::span<const std::string>,
                               std::vector<int>& picked) {
  return TakeFront(outputAnswers, picked);
}

bool ScriptedHost::DoSaveFileNameDlg(std::string& path) { return TakeFront(fileNameAnswers, path); }

bool ScriptedHost::SubsetAndAddEx(const std::string& path, std::span<const int> kept,
                                  std::span<const NewVariable> added) {
  saving_ = {path, {kept.begin(), kept.end()}, {added.begin(), added.end()}, {}};
  return !refuseSaving;
}

bool ScriptedHost::PutDataF(int caseNumber, std::span<const double> added) {
  if (++puts == refusePut) return false;
  EXPECT_EQ(added.size(), saving_.added.size());
  saving_.rows.emplace_back(caseNumber, std::vector<double>(added.begin(), added.end()));
  return true;
}

bool ScriptedHost::FinishSave() {
  savedFiles.push_back(std::move(saving_));
  saving_ = {};
  return true;
}

void ScriptedHost::RecordControlValue(const CAnalysisDialog&, const Control& control,
                                      std::string_view value, int constant) {
  recorded.push_back({std::string(control.name), std::string(value), constant});
}

void ScriptedHost::SetAnswer(AnswerMember member, std::string_view text) {
  answers_[static_cast<std::size_t>(member)] = text;
}

std::string ScriptedHost::Answer(AnswerMember member) const {
  return answers_[static_cast<std::size_t>(member)];
}

// --- AnalysisSession -----------------------------------------------------------------------------

AnalysisSession::AnalysisSession(TableFile table) : file(std::move(table)) {
  analysis.Attach(host.Services(file));
  scope_ = std::make_unique<CAnalysisContext::Scope>(&analysis);
  EXPECT_EQ(analysis.RunStep(kInitStep), 1);
}

AnalysisSession::~AnalysisSession() { host.dialog.reset(); }

void AnalysisSession::ChangeFile(TableFile table) {
  file = std::move(table);
  EXPECT_EQ(analysis.InitializeAfterFileChanged(), 1);
}

void AnalysisSession::Open(int step) {
  host.dialog.reset();
  EXPECT_EQ(analysis.RunStep(step), 0);
  ASSERT_NE(host.dialog, nullptr);
  automation_ = host.dialog->Automation();
}

QrvAnalysisDialog& AnalysisSession::OpenStartup() {
  Open(kStartStep);
  return *automation_;
}

QrvAnalysisDialog& AnalysisSession::ChooseKnn() {
  OpenStartup();
  Put("TypeOfAnalysis", "scMLKNN");
  EXPECT_TRUE(OK().Succeeded());
  EXPECT_EQ(automation_->Name(), "MachineLearningKNN");
  return *automation_;
}

QrvAnalysisDialog& AnalysisSession::Adopt(int templateId, std::unique_ptr<CAnalysisDialog> dialog) {
  EXPECT_EQ(host.CreateModelessDialog(templateId, std::move(dialog)), 0);
  automation_ = host.dialog->Automation();
  return *automation_;
}

QrvAnalysisDialog& AnalysisSession::dialog() { return *automation_; }

void AnalysisSession::Put(std::string_view name, double value) {
  const AutomationResult result = automation_->Put(name, AutomationValue::Number(value));
  EXPECT_TRUE(result.Succeeded()) << name << ": " << result.text;
}

void AnalysisSession::Put(std::string_view name, std::string_view text) {
  const AutomationResult result = automation_->Put(name, AutomationValue::Text(std::string(text)));
  EXPECT_TRUE(result.Succeeded()) << name << ": " << result.text;
}

double AnalysisSession::Number(std::string_view name) {
  AutomationValue value;
  EXPECT_TRUE(automation_->Get(name, value).Succeeded()) << name;
  EXPECT_TRUE(value.isNumber) << name << ": \"" << value.text << '"';
  return value.number;
}

std::string AnalysisSession::Text(std::string_view name) {
  AutomationValue value;
  EXPECT_TRUE(automation_->Get(name, value).Succeeded()) << name;
  EXPECT_FALSE(value.isNumber) << name;
  return value.text;
}

AutomationResult AnalysisSession::Dispatch(const std::function<AutomationResult()>& call) {
  host.ForgetStreams();
  host.exitStep = -1;
  const AutomationResult result = call();
  if (host.exitStep == 0) host.dialog.reset();
  if (host.exitStep > 0) Open(host.exitStep);
  return result;
}

AutomationResult AnalysisSession::OK() {
  return Dispatch([this] { return automation_->OAOK(); });
}
AutomationResult AnalysisSession::Cancel() {
  return Dispatch([this] { return automation_->OACancel(); });
}
AutomationResult AnalysisSession::Press(std::string_view name) {
  return Dispatch([this, name] { return automation_->Press(name); });
}

}  // namespace qrvml::test
