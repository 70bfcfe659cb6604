#include <cmath>
#include <limits>
#include <string>

#include "datafile/format_writer.h"
#include "datafile/host_data_file.h"
#include "datafile/output_file.h"

namespace qrvml {
namespace {

constexpr std::size_t kFlushAt = std::size_t{1} << 16;
constexpr std::string_view kFormulaStarts = "=+-@\t\r\n";
constexpr std::string_view kQuotedFor = "\",\r\n";

class CsvDataWriter final : public FormatWriter {
 public:
  bool Begin(const std::filesystem::path& file, std::span<const SavedVariable> variables,
             std::string& reason) override {
    variables_ = variables;
    guarded_.assign(variables.size(), 0);
    for (std::size_t v = 0; v < variables.size(); ++v) {
      Variable& shown = dates_.AddVariable(variables[v].about.name);
      shown.format = variables[v].about.format;
      shown.missingCode = std::numeric_limits<double>::quiet_NaN();
    }
    for (std::size_t v = 0; v < variables.size(); ++v) {
      if (v > 0) pending_ += ',';
      AddText(variables[v].about.name, v);
    }
    pending_ += '\n';
    return file_.Create(file) || Failed(reason);
  }

  bool Append(std::span<const double> row, std::string& reason) override {
    for (std::size_t v = 0; v < row.size(); ++v) {
      if (v > 0) pending_ += ',';
      if (std::isnan(row[v])) continue;
      const SavedVariable& variable = variables_[v];
      if (const std::string* text = variable.asText ? LabelOf(variable.about, row[v]) : nullptr) {
        AddText(*text, v);
      } else if (variable.about.format != DisplayFormat::number) {
        pending_ += ValueAsText(dates_, static_cast<int>(v) + 1, row[v]);
      } else {
        pending_ += ShortestNumber(row[v]);
      }
    }
    // An empty line would be no case at all.
    if (row.size() == 1 && std::isnan(row[0])) pending_ += "\"\"";
    pending_ += '\n';
    return pending_.size() < kFlushAt || Flush() || Failed(reason);
  }

  bool Finish(std::string& reason) override { return (Flush() && file_.Close()) || Failed(reason); }

  std::vector<std::string> Changes() const override {
    std::vector<std::string> names;
    for (std::size_t v = 0; v < guarded_.size(); ++v) {
      if (guarded_[v]) names.push_back(variables_[v].about.name);
    }
    if (names.empty()) return {};
    return {"texts of " + NameList(names) +
            " that a spreadsheet program would take for formulas have an apostrophe before them"};
  }

 private:
  void AddText(std::string_view text, std::size_t variable) {
    const bool formula =
        !text.empty() && kFormulaStarts.find(text.front()) != std::string_view::npos;
    const bool quoted = text.find_first_of(kQuotedFor) != std::string_view::npos;
    if (quoted) pending_ += '"';
    if (formula) pending_ += '\'';
    if (formula) guarded_[variable] = 1;
    for (const char c : text) pending_.append(c == '"' ? 2 : 1, c);
    if (quoted) pending_ += '"';
  }

  bool Flush() {
    const bool written = file_.Write(pending_.data(), pending_.size());
    pending_.clear();
    return written;
  }
  bool Failed(std::string& reason) const {
    reason = file_.Reason();
    return false;
  }

  std::span<const SavedVariable> variables_;
  DataTable dates_;  // the formats, for their texts
  std::vector<char> guarded_;
  std::string pending_;
  OutputFile file_;
};

}  // namespace

std::unique_ptr<FormatWriter> MakeCsvWriter() { return std::make_unique<CsvDataWriter>(); }

}  // namespace qrvml
