#include "server/data_json.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace qrvml {
namespace {

constexpr std::size_t kLabelsInList = 100;
constexpr int kMostRows = 500, kMostCells = 10000;
constexpr std::size_t kFewValues = 20;  // different numbers that are shown one by one
constexpr int kBins = 20;

std::string_view TypeOf(const Variable& about) {
  if (about.wasText) return "text";
  constexpr std::string_view kFormats[] = {"number", "date", "time", "dateTime"};
  return kFormats[static_cast<std::size_t>(about.format)];
}

Json DescriptionOf(const HostDataFile& file, int variable, std::size_t mostLabels) {
  const Variable& about = file.Table().At(variable);
  Json labels = Json::array();
  for (const ValueLabel& label : about.labels) {
    if (labels.size() == mostLabels) break;
    labels.push_back({label.code, label.text});
  }
  return {{"number", variable},
          {"name", about.name},
          {"longName", about.longName},
          {"type", TypeOf(about)},
          {"missingCode", about.missingCode},
          {"labels", std::move(labels)},
          {"labelCount", about.labels.size()},
          {"categorical", !about.labels.empty()}};
}

/// Visits the values of the selected cases that have one; the number of those that have none.
template <class Visit>
int VisitValues(const HostDataFile& file, int variable, Visit visit) {
  const DataTable& table = file.Table();
  const double missing = table.At(variable).missingCode;
  int missingCount = 0;
  for (std::size_t chunk = 0; chunk < table.NumberOfChunks(); ++chunk) {
    int caseNumber = table.FirstCase(chunk);
    for (const double value : table.Column(chunk, variable)) {
      if (!file.IsSelected(caseNumber++)) continue;
      if (value == missing) {
        ++missingCount;
      } else {
        visit(value);
      }
    }
  }
  return missingCount;
}

/// The first pass over a variable.
struct Summary {
  int valid = 0, missing = 0;
  double minimum = 0, maximum = 0, mean = 0, squares = 0;
  std::map<double, int> counts;  // while there are few different values, or categories
  bool few = true;

  /// Mean and squared deviations are updated case by case (Welford 1962).
  void Add(double value, std::size_t most) {
    minimum = valid == 0 ? value : std::min(minimum, value);
    maximum = valid == 0 ? value : std::max(maximum, value);
    ++valid;
    const double before = value - mean;
    mean += before / valid;
    squares += before * (value - mean);
    if (!few) return;
    ++counts[value];
    few = counts.size() <= most;
  }
};

Json HistogramOf(const HostDataFile& file, int variable, const Summary& summary) {
  std::vector<double> edges;
  std::vector<int> counts(kBins, 0);
  // Halves keep the widest ranges from overflowing.
  const double width = (summary.maximum / 2 - summary.minimum / 2) / kBins;
  for (int bin = 0; bin <= kBins; ++bin)
    edges.push_back(bin == kBins ? summary.maximum : summary.minimum + 2 * width * bin);
  VisitValues(file, variable, [&](double value) {
    const double place = (value / 2 - summary.minimum / 2) / width;
    ++counts[static_cast<std::size_t>(std::clamp(static_cast<int>(place), 0, kBins - 1))];
  });
  return {{"edges", edges}, {"counts", counts}};
}

Json CellOf(const DataTable& table, int variable, double value) {
  const Variable& about = table.At(variable);
  if (value == about.missingCode) return nullptr;
  const bool shown = table.FindLabel(variable, static_cast<float>(value)) != nullptr ||
                     about.format != DisplayFormat::number;
  if (!shown) return value;
  return Json::array({value, ValueAsText(table, variable, value)});
}

}  // namespace

Json VariablesJson(const HostDataFile& file) {
  Json variables = Json::array();
  for (int v = 1; v <= file.NumberOfVariables(); ++v)
    variables.push_back(DescriptionOf(file, v, kLabelsInList));
  return {{"variables", std::move(variables)}};
}

Json VariableJson(const HostDataFile& file, int variable) {
  Json json = DescriptionOf(file, variable, kMostCategories);
  const bool categorical = json["categorical"];
  Summary summary;
  summary.missing = VisitValues(file, variable, [&](double value) {
    summary.Add(value, categorical ? kMostCategories : kFewValues);
  });
  json["valid"] = summary.valid;
  json["missing"] = summary.missing;
  if (summary.valid == 0) return json;
  json["minimum"] = summary.minimum;
  json["maximum"] = summary.maximum;
  json["mean"] = summary.mean;
  json["deviation"] =
      summary.valid > 1 ? Json(std::sqrt(summary.squares / (summary.valid - 1))) : Json(nullptr);
  if (!summary.few) {
    json["histogram"] = HistogramOf(file, variable, summary);
    return json;
  }
  Json categories = Json::array();
  for (const auto& [value, count] : summary.counts)
    categories.push_back({value, ValueAsText(file.Table(), variable, value), count});
  json["categories"] = std::move(categories);
  return json;
}

Json RowsJson(const HostDataFile& file, int first, int count, int from, int to) {
  const DataTable& table = file.Table();
  first = std::max(first, 1);
  from = std::max(from, 1);
  to = std::min({to, table.NumberOfVariables(), from + kMostCells - 1});
  const int width = std::max(to - from + 1, 1);
  count = std::clamp(count, 0, std::min(kMostRows, std::max(kMostCells / width, 1)));
  const auto end = static_cast<int>(
      std::min(std::int64_t{first} + count, std::int64_t{table.NumberOfCases()} + 1));
  Json rows = Json::array();
  for (int caseNumber = first; caseNumber < end; ++caseNumber) {
    Json cells = Json::array();
    for (int v = from; v <= to; ++v) cells.push_back(CellOf(table, v, table.Value(caseNumber, v)));
    const int names = file.CaseNamesVariable();
    rows.push_back(
        {{"case", caseNumber},
         {"name",
          names == 0 ? std::string() : ValueAsText(table, names, table.Value(caseNumber, names))},
         {"selected", file.IsSelected(caseNumber)},
         {"cells", std::move(cells)}});
  }
  return {{"first", first}, {"from", from}, {"rows", std::move(rows)}};
}

}  // namespace qrvml
