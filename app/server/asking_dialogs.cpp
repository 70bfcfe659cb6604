#include "server/asking_dialogs.h"

#include <algorithm>
#include <cmath>

#include "host/list_text.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

/// Texts as members of one list.
std::string OneList(const std::vector<std::string>& texts) {
  std::vector<std::vector<std::string>> lists(1);
  for (const std::string& text : texts) {
    double number = 0;
    lists[0].push_back(TextToDouble(text, number) ? text : MemberText(text));
  }
  return ListText(lists);
}

}  // namespace

bool AskingDialogs::RunModalDialog(int templateId, CAnalysisDialog& dialog) {
  if (templateId == kTrainingTemplate || answers().Has(AnswerMember::option))
    return AnsweringDialogs::RunModalDialog(templateId, dialog);
  return asker_.RunDialog(templateId, dialog);
}

std::string AskingDialogs::NamesText(const std::vector<std::vector<int>>& lists) const {
  std::vector<std::vector<std::string>> texts;
  for (const auto& list : lists) {
    auto& members = texts.emplace_back();
    for (const int variable : list) members.push_back(MemberText(names().file->getvn5(variable)));
  }
  return ListText(texts);
}

bool AskingDialogs::AskVariables(VariableListsRequest& request) {
  const int last = names().file->NumberOfVariables();
  const auto take = [&](const Json& answer) -> std::string {
    auto lists = answer.at("lists").get<std::vector<std::vector<int>>>();
    if (lists.size() != request.captions.size())
      return std::to_string(request.captions.size()) + " lists are needed";
    for (const auto& list : lists) {
      for (const int variable : list) {
        if (variable < 1 || variable > last)
          return "there is no variable number " + std::to_string(variable);
        if (!request.offered.empty() && std::ranges::count(request.offered, variable) == 0)
          return "variable number " + std::to_string(variable) + " is not offered";
      }
    }
    request.lists = std::move(lists);
    return {};
  };
  const Json shown = {{"title", request.title}, {"captions", request.captions},
                      {"lists", request.lists}, {"offered", request.offered},
                      {"single", false},        {"prompt", ""}};
  if (!asker_.Ask("variables", shown, take)) return false;
  Answered(AnswerMember::variables, NamesText(request.lists));
  return true;
}

bool AskingDialogs::FourVarListsDialog(VariableListsRequest& request) {
  if (answers().Has(AnswerMember::variables)) return AnsweringDialogs::FourVarListsDialog(request);
  return AskVariables(request);
}

bool AskingDialogs::ThreeVarListsDialog(VariableListsRequest& request) {
  if (answers().Has(AnswerMember::variables)) return AnsweringDialogs::ThreeVarListsDialog(request);
  return AskVariables(request);
}

bool AskingDialogs::VariableListDialog(std::string_view caption, std::string_view prompt,
                                       int& variable) {
  if (answers().Has(AnswerMember::variables))
    return AnsweringDialogs::VariableListDialog(caption, prompt, variable);
  const auto take = [&](const Json& answer) -> std::string {
    const auto lists = answer.at("lists").get<std::vector<std::vector<int>>>();
    if (lists.size() != 1 || lists[0].size() != 1 || lists[0][0] < 1 ||
        lists[0][0] > names().file->NumberOfVariables())
      return "one variable is needed";
    variable = lists[0][0];
    return {};
  };
  std::vector<std::vector<int>> before(1);
  if (variable > 0) before[0].push_back(variable);
  const Json shown = {{"title", caption}, {"captions", Json::array({prompt})},
                      {"lists", before},  {"offered", Json::array()},
                      {"single", true},   {"prompt", prompt}};
  if (!asker_.Ask("variables", shown, take)) return false;
  Answered(AnswerMember::variables, NamesText({{variable}}));
  return true;
}

bool AskingDialogs::LongCodesListDialog(CodesRequest& request) {
  if (answers().Has(AnswerMember::codes)) return AnsweringDialogs::LongCodesListDialog(request);
  Json variables = Json::array();
  for (std::size_t i = 0; i < request.variables.size(); ++i) {
    const int variable = request.variables[i];
    variables.push_back(
        {{"number", variable},
         {"name", names().file->getvn5(variable)},
         {"codes", i < request.codes.size() ? Json(request.codes[i]) : Json::array()},
         {"offered", labelsOf ? labelsOf(variable) : Json::array()},
         {"minimum", request.minimum[i]},
         {"maximum", request.maximum[i]}});
  }
  const auto take = [&](const Json& answer) -> std::string {
    const Json& given = answer.at("codes");
    if (given.size() != request.variables.size()) return "one list of codes per variable is needed";
    std::vector<std::vector<double>> codes = request.codes;
    codes.resize(given.size());
    for (std::size_t i = 0; i < given.size(); ++i) {
      const std::string of = " of " + names().file->getvn5(request.variables[i]);
      if (given[i].is_null()) continue;
      codes[i] = given[i].get<std::vector<double>>();
      if (codes[i].size() < request.minimum[i] || codes[i].size() > request.maximum[i])
        return std::to_string(request.minimum[i]) + " to " + std::to_string(request.maximum[i]) +
               " codes" + of + " are needed";
      for (const double code : codes[i]) {
        if (!(code >= request.lowest && code <= request.highest))
          return "a code" + of + " lies between " + ShortestText(request.lowest) + " and " +
                 ShortestText(request.highest);
      }
    }
    request.codes = std::move(codes);
    return {};
  };
  const Json shown = {{"title", request.title},
                      {"lowest", request.lowest},
                      {"highest", request.highest},
                      {"variables", variables}};
  if (!asker_.Ask("codes", shown, take)) return false;
  std::vector<std::vector<std::string>> lists;
  for (const auto& codes : request.codes) {
    auto& texts = lists.emplace_back();
    for (const double code : codes) texts.push_back(ShortestText(code));
    if (codes.empty()) texts.emplace_back("*");
  }
  Answered(AnswerMember::codes, ListText(lists));
  return true;
}

bool AskingDialogs::GetStartValues(std::string_view title, std::span<const std::string> rows,
                                   std::span<double> values) {
  if (answers().Has(AnswerMember::values))
    return AnsweringDialogs::GetStartValues(title, rows, values);
  const auto take = [&](const Json& answer) -> std::string {
    const auto given = answer.at("values").get<std::vector<double>>();
    if (given.size() != rows.size())
      return std::to_string(rows.size()) + " numbers are needed, one for each row";
    std::ranges::copy(given, values.begin());
    return {};
  };
  const Json shown = {{"title", title},
                      {"rows", std::vector<std::string>(rows.begin(), rows.end())},
                      {"values", std::vector<double>(values.begin(), values.end())}};
  if (!asker_.Ask("values", shown, take)) return false;
  std::vector<std::string> texts;
  for (const double value : values) texts.push_back(ShortestText(value));
  Answered(AnswerMember::values, OneList(texts));
  return true;
}

bool AskingDialogs::looka4dlg(InputTable& table) {
  if (answers().Has(AnswerMember::values)) return AnsweringDialogs::looka4dlg(table);
  const auto take = [&](const Json& answer) -> std::string {
    auto cells = answer.at("cells").get<std::vector<std::string>>();
    if (cells.size() != table.rowNames.size())
      return std::to_string(table.rowNames.size()) + " cells are needed, one for each row";
    table.cells = std::move(cells);
    return {};
  };
  const Json shown = {{"title", table.title},       {"hint", table.hint},
                      {"rowTitle", table.rowTitle}, {"column", table.column},
                      {"rows", table.rowNames},     {"cells", table.cells}};
  if (!asker_.Ask("form", shown, take)) return false;
  Answered(AnswerMember::values, OneList(table.cells));
  return true;
}

}  // namespace qrvml
