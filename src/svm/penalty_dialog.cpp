#include "svm/penalty_dialog.h"

#include "data/value_text.h"
#include "host/little_parser.h"
#include "host/numerics.h"
#include "host/string_table.h"
#include "svm/penalty_list.h"

namespace qrvml {
namespace {

using Dialog = PenaltyDialog;
using Of = On<Dialog>;

constexpr std::size_t kPenaltyColumn = 3;

const Control kControls[] = {
    {.name = "Penalties",
     .kind = ControlKind::text,
     .label = "Pénalité",
     .row = {.identifier = 50463, .kind = 2, .type = 5},
     .bind = {.text = Of::Text([](const Dialog& d) { return d.ListText(); }),
              .enter =
                  Of::Enter([](Dialog& d, std::string_view text) { return d.TakeList(text); })}},
    {.name = "Penalties.Table",
     .kind = ControlKind::note,
     .label = {},
     .bind = {.text = Of::Text([](const Dialog& d) { return d.TableText(); })}},
    {.name = "Penalties.Hint",
     .kind = ControlKind::note,
     .label = {},
     .bind = {.text = Of::Text(
                  [](const Dialog& d) { return std::string(GetResourceString(d.hint())); })}},
    {.name = "Penalties.Cell",
     .kind = ControlKind::text,
     .label = "Row, column and penalty of a cell",
     .bind = {.text = Of::Text([](const Dialog&) { return std::string(); }),
              .enter =
                  Of::Enter([](Dialog& d, std::string_view text) { return d.EditCell(text); })}},
};

}  // namespace

PenaltyDialog::PenaltyDialog(CAnalysisSupport& analysis,
                             std::span<const CategoryTable::Class> classes,
                             std::span<const double> penalties)
    : CAnalysisDialog(analysis),
      classes_(classes.begin(), classes.end()),
      cells_(classes.size(), ShortestText(1.0)) {
  for (std::size_t i = 0; i < penalties.size(); ++i) cells_[i] = ShortestText(penalties[i]);
}

std::span<const Control> PenaltyDialog::Table() { return kControls; }

std::string PenaltyDialog::TableText() const {
  std::string text = std::string(GetResourceString(217)) + '\t' +
                     std::string(GetResourceString(215)) + '\t' +
                     std::string(GetResourceString(216));
  for (std::size_t i = 0; i < cells_.size(); ++i)
    text += '\n' + classes_[i].text + '\t' + std::to_string(classes_[i].trainingWeight) + '\t' +
            cells_[i];
  return text;
}

std::string PenaltyDialog::ListText() const { return PenaltyListText(cells_); }

bool PenaltyDialog::TakeList(std::string_view text) {
  std::vector<double> penalties;
  std::string error;
  if (!ReadPenaltyList(text, classes_, penalties, error)) {
    Explain(std::move(error));
    return false;
  }
  for (std::size_t i = 0; i < cells_.size(); ++i) cells_[i] = ShortestText(penalties[i]);
  return true;
}

bool PenaltyDialog::EditCell(std::size_t row, std::size_t column, std::string_view text) {
  const bool isPenalty = column == kPenaltyColumn && row >= 1 && row <= cells_.size();
  hint_ = isPenalty ? 316 : 317;
  if (!isPenalty) {
    Explain(std::string(GetResourceString(317)));
    return false;
  }
  cells_[row - 1] = text;
  return true;
}

bool PenaltyDialog::EditCell(std::string_view text) {
  CLittleParser parser(text);
  std::size_t place[2] = {};
  for (std::size_t& at : place) {
    if (parser.Next() != CLittleParser::Symbol::number || !(parser.number() >= 0)) {
      Explain("row, column and penalty are needed");
      return false;
    }
    at = static_cast<std::size_t>(TruncateToCode(parser.number()));
  }
  parser.Next();
  return EditCell(place[0], place[1], parser.text());
}

bool PenaltyDialog::OnOK() {
  std::vector<double> penalties(cells_.size());
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    cells_[i] = Trim(cells_[i]);
    if (!ReadPenalty(cells_[i], penalties[i])) return Refuse(125);
  }
  penalties_ = std::move(penalties);
  return true;
}

}  // namespace qrvml
