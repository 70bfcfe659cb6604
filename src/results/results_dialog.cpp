#include "results/results_dialog.h"

#include <utility>

#include "data/value_text.h"
#include "dialogs/specification_dialog.h"
#include "host/analysis_support.h"
#include "host/list_text.h"
#include "host/numerics.h"
#include "host/string_table.h"

namespace qrvml {

ResultsDialog::ResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                             std::unique_ptr<CaseSource> cases, const ResultsProfile& profile)
    : CAnalysisDialog(analysis),
      data_(data),
      cases_(std::move(cases)),
      profile_(profile),
      items_(*analysis.services().file, data, profile) {}

bool ResultsDialog::OnCancel() {
  analysis().services().dialogs->ExitDialog(profile_.specificationStep, kGoBack);
  return true;
}

bool ResultsDialog::Show(Spreadsheet&& spreadsheet) {
  return analysis().services().output->looka4(std::move(spreadsheet)) || Refuse(130);
}

bool ResultsDialog::Show(Graph&& graph) {
  return analysis().services().output->ShowGraph(std::move(graph)) || Refuse(104);
}

void ResultsDialog::VisitRows(RowPolicy policy, bool predict,
                              const std::function<void(const CaseResult&)>& visit) {
  std::int32_t last = 0;
  cases_->Visit(subset, predict, [&](const CaseResult& result) {
    // The copies of a weighted case follow each other.
    if (policy == RowPolicy::once && result.caseNumber == last) return;
    last = result.caseNumber;
    visit(result);
  });
}

bool ResultsDialog::SelectOne(std::string_view property, std::string_view text, std::size_t count,
                              const std::function<std::string(std::size_t)>& name,
                              std::size_t& chosen) const {
  std::vector<std::vector<ListMember>> lists;
  std::string error;
  const bool isOne = ParseListText(text, lists, error) && lists.size() == 1 && lists[0].size() == 1;
  for (std::size_t i = 0; i < count && isOne; ++i) {
    const ListMember& member = lists[0][0];
    const bool isChosen = member.kind == ListMember::Kind::number
                              ? IsEqual(member.number, static_cast<double>(i + 1))
                              : member.kind == ListMember::Kind::name && member.name == name(i);
    if (!isChosen) continue;
    chosen = i;
    return true;
  }
  constexpr std::size_t kNamed = 8;
  std::string offered;
  for (std::size_t i = 0; i < std::min(count, kNamed); ++i)
    offered += (i == 0 ? "" : ", ") + std::to_string(i + 1) + '=' + name(i);
  if (count > kNamed) offered += " and so on to " + std::to_string(count);
  return RefuseText(std::string(property) + " \"" + std::string(text) + "\" is none of " + offered);
}

bool ResultsDialog::SelectOneDependent(std::string_view property, std::string_view text,
                                       std::size_t& chosen) const {
  return SelectOne(
      property, text, items_.dependents(),
      [this](std::size_t d) { return items_.DependentName(d); }, chosen);
}

bool ResultsDialog::SelectDependent(std::string_view text) {
  std::size_t chosen = 0;
  if (!SelectOneDependent("SelectOutputForPlotting", text, chosen)) return false;
  // The lists offer other items now.
  if (plot.dependent != chosen) plot = {.dependent = chosen, .x = -1, .y = {}, .z = -1};
  return true;
}

std::string ResultsDialog::SelectedDependentText() const {
  return MemberText(items_.DependentName(plot.dependent));
}

bool ResultsDialog::SelectItems(std::string_view text, bool several,
                                std::vector<int>& chosen) const {
  const std::vector<ResultItem> offered = PlotItems();
  const auto refuse = [&] {
    constexpr std::size_t kNamed = 8;
    std::string names;
    for (std::size_t p = 0; p < std::min(offered.size(), kNamed); ++p)
      names += ' ' + std::to_string(p + 1) + '=' + MemberText(items_.ListText(offered[p]));
    if (offered.size() > kNamed) names += " and so on to " + std::to_string(offered.size());
    return RefuseText('"' + std::string(text) + "\" chooses " +
                      (several ? "something else than" : "not one of") + names);
  };
  std::vector<std::vector<ListMember>> lists;
  std::string error;
  if (!ParseListText(text, lists, error) || lists.size() != 1) return refuse();
  const auto count = static_cast<int>(offered.size());
  std::vector<int> positions;
  const auto addRange = [&](double first, double last) {
    if (!IsIntegral(first) || !IsIntegral(last) || first < 1 || last > count || first > last)
      return false;
    for (int p = static_cast<int>(first); p <= static_cast<int>(last); ++p)
      positions.push_back(p - 1);
    return true;
  };
  for (const ListMember& member : lists[0]) {
    switch (member.kind) {
      case ListMember::Kind::number:
        if (!addRange(member.number, member.number)) return refuse();
        break;
      case ListMember::Kind::range:
        if (!addRange(member.number, member.upper)) return refuse();
        break;
      case ListMember::Kind::all:
        addRange(1, count);
        break;
      case ListMember::Kind::none:
        break;
      case ListMember::Kind::name: {
        int position = 0;
        while (position < count &&
               items_.ListText(offered[static_cast<std::size_t>(position)]) != member.name)
          ++position;
        if (position == count) return refuse();
        positions.push_back(position);
        break;
      }
    }
  }
  if (!several && positions.size() > 1) return refuse();
  chosen = std::move(positions);
  return true;
}

std::string ResultsDialog::OfferedText(std::span<const int> chosen) const {
  std::string text;
  const std::vector<ResultItem> offered = PlotItems();
  for (std::size_t p = 0; p < offered.size(); ++p) {
    bool isChosen = false;
    for (const int position : chosen) isChosen = isChosen || position == static_cast<int>(p);
    if (p > 0) text += ' ';
    text += std::to_string(p + 1) + '=' + MemberText(items_.ListText(offered[p]));
    if (isChosen) text += '*';
  }
  return text;
}

OfferedItems ResultsDialog::OfferedPlotItems(std::vector<int> chosen) const {
  OfferedItems items;
  for (const ResultItem& item : PlotItems()) items.names.push_back(items_.ListText(item));
  items.chosen = std::move(chosen);
  return items;
}

OfferedItems ResultsDialog::OfferedDependents(std::size_t chosen) const {
  OfferedItems items;
  for (const int variable : data_.roles().dependents)
    items.names.push_back(analysis().services().file->getvn5(variable));
  if (!items.names.empty()) items.chosen = {static_cast<int>(chosen)};
  return items;
}

std::string ResultsDialog::FileText() const {
  return '(' + analysis().services().file->DataFileText() + ')';
}

std::string_view ResultsDialog::GraphSubset() const {
  return GetResourceString(289 + static_cast<int>(subset));
}

}  // namespace qrvml
