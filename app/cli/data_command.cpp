#include "cli/data_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "cli/exit_code.h"
#include "datafile/host_data_file.h"
#include "documents/display_width.h"

namespace qrvml {

namespace {

constexpr std::size_t kLabelsShown = 4;
constexpr std::size_t kWidestLabel = 20;

/// Texts in columns, the first row being the headings.
class TextTable {
 public:
  enum class Align { left, right };
  void AddColumn(std::string heading, Align align) {
    columns_.push_back({align, {std::move(heading)}});
  }
  void Set(std::size_t column, const std::string& text) {
    columns_[column].cells.push_back(PrintableText(text));
  }
  void Write(std::ostream& out) const;

 private:
  struct Column {
    Align align;
    std::vector<std::string> cells;
  };
  std::vector<Column> columns_;
};

void TextTable::Write(std::ostream& out) const {
  std::vector<std::size_t> widths;
  for (const Column& column : columns_) {
    std::size_t width = 0;
    for (const std::string& cell : column.cells) width = std::max(width, DisplayWidth(cell));
    widths.push_back(width);
  }
  for (std::size_t row = 0; row < columns_[0].cells.size(); ++row) {
    std::string line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const std::string& cell = columns_[i].cells[row];
      const std::string gap(widths[i] - DisplayWidth(cell), ' ');
      line += i == 0 ? "" : "  ";
      line += columns_[i].align == Align::right ? gap + cell : cell + gap;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
  }
}

/// What is counted over the selected cases.
struct VariableSummary {
  std::int64_t missing = 0, values = 0;
  double minimum = std::numeric_limits<double>::infinity();
  double maximum = -std::numeric_limits<double>::infinity();
  double weights = 0, sum = 0, sumError = 0;  // of the weighted values; compensated

  /// Neumaier, Zeitschrift fuer Angewandte Mathematik und Mechanik 54 (1974): compensated sum.
  void Add(double value, double weight) {
    ++values;
    minimum = std::min(minimum, value);
    maximum = std::max(maximum, value);
    weights += weight;
    const double term = weight * value;
    const double next = sum + term;
    sumError += std::abs(sum) >= std::abs(term) ? (sum - next) + term : (term - next) + sum;
    sum = next;
  }
  double Mean() const { return (sum + sumError) / weights; }
};

std::vector<VariableSummary> Summarise(HostDataFile& file) {
  const int variables = file.NumberOfVariables();
  std::vector<VariableSummary> summaries(static_cast<std::size_t>(variables) + 1);
  std::vector<double> values(static_cast<std::size_t>(variables) + 1), missing(values);
  for (int variable = 1; variable <= variables; ++variable) {
    missing[static_cast<std::size_t>(variable)] = file.getmd5(variable);
  }
  CaseInfo info;
  for (int number = 1; number <= file.NumberOfCases(); ++number) {
    if (file.cstrtw(number, values.data(), info) != CaseStatus::delivered) continue;
    for (std::size_t i = 1; i < values.size(); ++i) {
      if (values[i] == missing[i]) {
        ++summaries[i].missing;
      } else {
        summaries[i].Add(values[i], info.weight);
      }
    }
  }
  return summaries;
}

std::string Counted(std::int64_t count, const std::string& noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

// The first labels with their codes, then how many there are.
std::string LabelsText(const Variable& variable) {
  const std::vector<ValueLabel>& labels = variable.labels;
  std::string text;
  for (std::size_t i = 0; i < std::min(labels.size(), kLabelsShown); ++i) {
    const std::string label = PrintableText(labels[i].text);
    const std::string cut = CutToWidth(label, kWidestLabel);
    text += fmt::format("{}{}={}{}", i == 0 ? "" : ", ", labels[i].code, cut,
                        cut.size() < label.size() ? "…" : "");
  }
  if (labels.size() > kLabelsShown) text += fmt::format(", … ({} labels)", labels.size());
  return text;
}

void WriteVariables(HostDataFile& file, std::ostream& out) {
  const std::vector<VariableSummary> summaries = Summarise(file);
  TextTable table;
  table.AddColumn("No.", TextTable::Align::right);
  table.AddColumn("Name", TextTable::Align::left);
  table.AddColumn("Type", TextTable::Align::left);
  table.AddColumn("Missing code", TextTable::Align::right);
  table.AddColumn("Missing", TextTable::Align::right);
  table.AddColumn("Minimum", TextTable::Align::right);
  table.AddColumn("Maximum", TextTable::Align::right);
  table.AddColumn("Mean", TextTable::Align::right);
  table.AddColumn("Labels", TextTable::Align::left);
  for (int number = 1; number <= file.NumberOfVariables(); ++number) {
    const Variable& variable = file.Table().At(number);
    const VariableSummary& summary = summaries[static_cast<std::size_t>(number)];
    const bool hasMean = !variable.wasText && summary.weights > 0;
    const auto shortest = [&](double value) {
      return summary.values > 0 ? fmt::format("{}", value) : std::string();
    };
    std::size_t column = 0;
    table.Set(column++, std::to_string(number));
    table.Set(column++, variable.name);
    table.Set(column++, variable.wasText ? "text" : "continuous");
    table.Set(column++, fmt::format("{}", variable.missingCode));
    table.Set(column++, std::to_string(summary.missing));
    table.Set(column++, shortest(summary.minimum));
    table.Set(column++, shortest(summary.maximum));
    table.Set(column++, hasMean ? fmt::format("{:.7g}", summary.Mean()) : std::string());
    table.Set(column++, LabelsText(variable));
  }
  table.Write(out);
}

void WriteCases(HostDataFile& file, int head, std::ostream& out) {
  TextTable table;
  const bool named = file.CaseNamesVariable() != 0;
  const bool weighted = file.IsWeightInForce();
  table.AddColumn("Case", TextTable::Align::right);
  if (named) table.AddColumn("Case name", TextTable::Align::left);
  if (weighted) table.AddColumn("Weight", TextTable::Align::right);
  for (int variable = 1; variable <= file.NumberOfVariables(); ++variable) {
    const Variable& about = file.Table().At(variable);
    table.AddColumn(PrintableText(about.name),
                    about.wasText ? TextTable::Align::left : TextTable::Align::right);
  }
  std::vector<double> values(static_cast<std::size_t>(file.NumberOfVariables()) + 1);
  CaseInfo info;
  for (int number = 1, shown = 0; number <= file.NumberOfCases() && shown < head; ++number) {
    if (file.cstrtw(number, values.data(), info) != CaseStatus::delivered) continue;
    ++shown;
    std::size_t column = 0;
    table.Set(column++, std::to_string(number));
    if (named) table.Set(column++, std::string(info.name));
    if (weighted) table.Set(column++, fmt::format("{}", info.weight));
    for (int variable = 1; variable <= file.NumberOfVariables(); ++variable) {
      table.Set(column++,
                ValueAsText(file.Table(), variable, values[static_cast<std::size_t>(variable)]));
    }
  }
  table.Write(out);
}

std::string Heading(const HostDataFile& file) {
  std::string text =
      fmt::format("{}: {}, {}", file.DataFileText(), Counted(file.NumberOfVariables(), "variable"),
                  Counted(file.NumberOfCases(), "case"));
  if (file.NumberOfCases() == 0) text += " (the file holds names only; no analysis is possible)";
  if (!file.Selection().empty()) {
    text += fmt::format(", {} selected", file.NumberOfSelectedCases());
  }
  if (file.IsWeightInForce()) {
    text += ", weighted by " + file.Table().At(file.WeightVariable()).name;
  }
  return PrintableText(text);
}

}  // namespace

int RunDataCommand(const DataCommandOptions& options, std::ostream& out, std::ostream& err) {
  std::unique_ptr<HostDataFile> file;
  FileError error;
  if (!OpenDataFile(options.open, file, error)) {
    err << error.Text() << '\n';
    return kExitFailed;
  }
  out << Heading(*file) << "\n\n";
  WriteVariables(*file, out);
  for (int variable = 1; variable <= file->NumberOfVariables(); ++variable) {
    if (!file->Table().HasTooManyCategories(variable)) continue;
    const Variable& about = file->Table().At(variable);
    out << fmt::format(
        "\nNote: {} holds {} different texts; a categorical variable may have at most {}.\n",
        PrintableText(about.name), about.distinctTexts, kMostCategories);
  }
  for (const std::string& note : file->Table().Notes()) {
    out << fmt::format("\nNote: {}.\n", PrintableText(note));
  }
  if (options.head > 0) {
    out << '\n';
    WriteCases(*file, options.head, out);
  }
  return kExitDone;
}

}  // namespace qrvml
