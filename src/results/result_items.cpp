#include "results/result_items.h"

#include "data/value_text.h"
#include "host/string_table.h"

namespace qrvml {
namespace {

constexpr double kCorrect = 0.0, kIncorrect = 1.0;

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

}  // namespace

std::string ResultItems::InputName(std::size_t i) const {
  return VariableName(file_, data_.roles().predictors[i]);
}

std::string ResultItems::DependentName(std::size_t d) const {
  return VariableName(file_, data_.roles().dependents[d]);
}

void ResultItems::AddConfidences(std::size_t dependent, std::vector<ResultItem>& items) const {
  if (IsContinuousDependent(dependent)) return;
  const auto& table = data_.dependentCategories(dependent - continuousDependents());
  for (std::size_t c = 0; c < table.classes().size(); ++c)
    items.push_back({ItemKind::confidence, dependent, c});
}

std::vector<ResultItem> ResultItems::TableColumns(const Includes& includes, bool spreads,
                                                  bool predicts) const {
  std::vector<ResultItem> columns;
  for (std::size_t i = 0; includes.inputs && i < inputs(); ++i)
    columns.push_back({ItemKind::input, i});
  // The blocks of columns after the inputs, for the dependents first to last.
  const auto add = [&](std::size_t first, std::size_t last) {
    for (std::size_t d = first; includes.outputs && d < last; ++d)
      columns.push_back({ItemKind::observed, d});
    if (!predicts) return;
    for (std::size_t d = first; includes.predictions && d < last; ++d)
      columns.push_back({ItemKind::predicted, d});
    for (std::size_t d = first; includes.predictions && spreads && d < last; ++d) {
      if (IsContinuousDependent(d)) columns.push_back({ItemKind::spread, d});
    }
    for (std::size_t d = first; includes.residuals && d < last; ++d)
      columns.push_back({IsContinuousDependent(d) ? ItemKind::residual : ItemKind::accuracy, d});
    for (std::size_t d = first; includes.confidence && d < last; ++d) AddConfidences(d, columns);
  };
  if (profile_.columnOrder == ColumnOrder::byKind) {
    add(0, dependents());
  } else {
    for (std::size_t d = 0; d < dependents(); ++d) add(d, d + 1);
  }
  return columns;
}

std::vector<ResultItem> ResultItems::Savable(const Includes& includes) const {
  std::vector<ResultItem> items;
  const bool all = profile_.savesAll;
  for (std::size_t d = 0; d < dependents(); ++d) {
    if (all || includes.predictions) items.push_back({ItemKind::predicted, d});
    if (all || includes.residuals) {
      if (IsContinuousDependent(d) || profile_.savesClassResiduals)
        items.push_back({ItemKind::residual, d});
      if (!IsContinuousDependent(d)) items.push_back({ItemKind::accuracy, d});
    }
    if (all || includes.confidence) AddConfidences(d, items);
  }
  return items;
}

std::vector<ResultItem> ResultItems::PlotItems(std::size_t dependent) const {
  std::vector<ResultItem> items;
  const auto addInputs = [&] {
    for (std::size_t i = 0; i < inputs(); ++i) items.push_back({ItemKind::input, i});
  };
  if (profile_.inputItems == InputItems::first) addInputs();
  items.push_back({ItemKind::observed, dependent});
  items.push_back({ItemKind::predicted, dependent});
  if (IsContinuousDependent(dependent)) {
    items.push_back({ItemKind::residual, dependent});
    items.push_back({ItemKind::absoluteResidual, dependent});
    items.push_back({ItemKind::squaredResidual, dependent});
  } else {
    items.push_back({ItemKind::accuracy, dependent});
    AddConfidences(dependent, items);
  }
  const bool last =
      profile_.inputItems == InputItems::last ||
      (profile_.inputItems == InputItems::lastOfContinuous && IsContinuousDependent(dependent));
  if (last) addInputs();
  return items;
}

const CategoryTable* ResultItems::Categories(const ResultItem& item) const {
  switch (item.kind) {
    case ItemKind::input: {
      const std::size_t continuous = data_.roles().continuousPredictors.size();
      return item.index < continuous ? nullptr
                                     : &data_.predictorCategories(item.index - continuous);
    }
    case ItemKind::observed:
    case ItemKind::predicted:
      return IsContinuousDependent(item.index)
                 ? nullptr
                 : &data_.dependentCategories(item.index - continuousDependents());
    default:
      return nullptr;
  }
}

bool ResultItems::IsMissing(const ResultItem& item, double value) const {
  return item.kind == ItemKind::input &&
         value == data_.MissingDataCode(data_.roles().predictors[item.index]);
}

bool ResultItems::IsCategorical(const ResultItem& item) const {
  return item.kind == ItemKind::accuracy || Categories(item) != nullptr;
}

std::vector<double> ResultItems::Codes(const ResultItem& item) const {
  if (item.kind == ItemKind::accuracy) return {kCorrect, kIncorrect};
  std::vector<double> codes;
  if (const CategoryTable* table = Categories(item)) {
    for (const auto& category : table->codes()) codes.push_back(static_cast<double>(category.code));
  }
  return codes;
}

std::vector<CellLabel> ResultItems::Labels(const ResultItem& item) const {
  if (item.kind == ItemKind::accuracy) {
    return {{kCorrect, std::string(GetResourceString(156)), false},
            {kIncorrect, std::string(GetResourceString(157)), true}};
  }
  std::vector<CellLabel> labels;
  if (const CategoryTable* table = Categories(item)) {
    for (const auto& category : table->codes())
      labels.push_back({static_cast<double>(category.code), category.text, false});
  }
  return labels;
}

std::string ResultItems::ColumnName(const ResultItem& item) const {
  if (item.kind == ItemKind::input) return InputName(item.index);
  if (item.kind != ItemKind::confidence) return DependentName(item.index);
  return data_.dependentCategories(item.index - continuousDependents())
      .classes()[item.classIndex]
      .text;
}

std::string ResultItems::ListText(const ResultItem& item) const {
  if (item.kind == ItemKind::input) return InputName(item.index);
  const std::string_view listed = profile_.TextsOf(item.kind).listed;
  if (listed.empty()) return AxisText(item);
  if (item.kind == ItemKind::confidence) return Joined({ColumnName(item), listed});
  return std::string(listed);
}

std::string ResultItems::AxisText(const ResultItem& item) const {
  if (item.kind == ItemKind::input) return InputName(item.index);
  const std::string_view axis = profile_.TextsOf(item.kind).axis;
  const std::string dependent = DependentName(item.index);
  if (item.kind == ItemKind::confidence)
    return Joined({ColumnName(item), ".", dependent, " ", axis});
  return Joined({dependent, " ", axis});
}

std::string ResultItems::SavedName(const ResultItem& item) const {
  const ItemTexts& texts = profile_.TextsOf(item.kind);
  const bool ofClass = item.kind == ItemKind::confidence;
  std::string owner = DependentName(item.index);
  if (ofClass) owner += '-' + ColumnName(item);
  const std::string_view separator =
      ofClass ? profile_.savedClassSeparator : profile_.savedSeparator;
  return profile_.savedWordFirst ? Joined({texts.saved, separator, owner})
                                 : Joined({owner, separator, texts.saved});
}

std::string ResultItems::SavedLongName(const ResultItem& item) const {
  return std::string(profile_.TextsOf(item.kind).savedLong);
}

}  // namespace qrvml
