#include <cmath>
#include <limits>
#include <string>

extern "C" {
#include <readstat.h>
}

#include "datafile/format_writer.h"
#include "datafile/output_file.h"
#include "datafile/saved_names.h"
#include "datafile/whole_file.h"

namespace qrvml {
namespace {

constexpr std::size_t kLongestLabel = 255;  // bytes of a variable's label
constexpr std::size_t kLongestText = 120;   // bytes of a code's text
constexpr double kSecondsPerDay = 86400;
constexpr double kFirstDay = 115859;  // days from 1582-10-14 to 1899-12-30

struct SavFormat {
  DisplayFormat format;
  const char* name;
  double firstDay;
};
constexpr SavFormat kDateFormats[] = {
    {DisplayFormat::date, "DATE11", kFirstDay},
    {DisplayFormat::time, "TIME8", 0},
    {DisplayFormat::dateTime, "DATETIME20", kFirstDay},
};

// The largest double and its neighbour stand for missing values and open ranges in the format.
const double kReserved = std::nextafter(std::numeric_limits<double>::max(), 0.0);

const SavFormat* DateFormat(const Variable& about) {
  for (const SavFormat& format : kDateFormats) {
    if (format.format == about.format) return &format;
  }
  return nullptr;
}

class SavWriter final : public FormatWriter {
 public:
  ~SavWriter() override {
    if (writer_ != nullptr) readstat_writer_free(writer_);
  }

  bool Begin(const std::filesystem::path& file, std::span<const SavedVariable> variables,
             std::string& reason) override {
    variables_ = variables;
    reserved_.assign(variables.size(), 0);
    writer_ = readstat_writer_init();
    if (writer_ == nullptr) {
      reason = "not enough memory";
      return false;
    }
    readstat_set_data_writer(writer_, &SavWriter::Write);
    Describe();
    // The file begins with the number of its cases, which is known at the end: the rows wait in a
    // file of their own.
    return file_.Create(file) ? rows_.Create(file.parent_path() / "rows") || RowsFailed(reason)
                              : FileFailed(reason);
  }

  bool Append(std::span<const double> row, std::string& reason) override {
    ++cases_;
    return rows_.Write(row.data(), row.size_bytes()) || RowsFailed(reason);
  }

  bool Finish(std::string& reason) override {
    if (!rows_.Rewind()) return RowsFailed(reason);
    if (!Check(readstat_begin_writing_sav(writer_, &file_, cases_), reason)) return false;
    std::vector<double> row(variables_.size());
    for (long i = 0; i < cases_; ++i) {
      if (!rows_.Read(row.data(), row.size() * sizeof(double))) return RowsFailed(reason);
      if (!Check(readstat_begin_row(writer_), reason)) return false;
      for (std::size_t v = 0; v < row.size(); ++v) {
        if (!Check(Insert(v, row[v]), reason)) return false;
      }
      if (!Check(readstat_end_row(writer_), reason)) return false;
    }
    std::vector<std::string> names;
    for (std::size_t v = 0; v < reserved_.size(); ++v) {
      if (reserved_[v]) names.push_back(variables_[v].about.name);
    }
    Note("numbers that are infinite or the largest of all may be read as missing: ", names);
    return Check(readstat_end_writing(writer_), reason) && (file_.Close() || FileFailed(reason));
  }

  std::vector<std::string> Changes() const override { return changes_; }

 private:
  void Describe() {
    names_ = SavNames(variables_);
    NoteRenamed(variables_, names_, changes_);
    std::vector<std::string> noLongName, noCode, cut;
    for (std::size_t v = 0; v < variables_.size(); ++v) {
      const Variable& about = variables_[v].about;
      readstat_variable_t* made =
          readstat_add_variable(writer_, names_[v].c_str(), READSTAT_TYPE_DOUBLE, 0);
      columns_.push_back(made);
      const bool renamed = names_[v] != about.name;
      const std::string& label = renamed ? about.name : about.longName;
      if (renamed && !about.longName.empty()) noLongName.push_back(about.name);
      if (label.size() > kLongestLabel) cut.push_back(about.name);
      if (!label.empty())
        readstat_variable_set_label(made, std::string(CutToBytes(label, kLongestLabel)).c_str());
      if (const SavFormat* format = DateFormat(about)) {
        readstat_variable_set_format(made, format->name);
        if (!IsMissingCodeCandidate(about.missingCode)) noCode.push_back(about.name);
      } else {
        readstat_variable_add_missing_double_value(made, about.missingCode);
      }
      if (!about.labels.empty() && Label(about, made)) cut.push_back(about.name);
    }
    Note("the full names take the place of the long names of ", noLongName);
    Note("dates and times have no missing-data codes in the file (their cells are empty): ",
         noCode);
    Note("labels were cut to the length that the format allows: ", cut);
  }

  void Note(const char* what, const std::vector<std::string>& variables) {
    if (!variables.empty()) changes_.push_back(what + NameList(variables));
  }

  /// Gives a variable its labels; true when one had to be cut.
  bool Label(const Variable& about, readstat_variable_t* made) {
    const std::string name = "labels" + std::to_string(columns_.size());
    readstat_label_set_t* set = readstat_add_label_set(writer_, READSTAT_TYPE_DOUBLE, name.c_str());
    bool cut = false;
    for (const ValueLabel& label : about.labels) {
      cut = cut || label.text.size() > kLongestText;
      readstat_label_double_value(set, label.code,
                                  std::string(CutToBytes(label.text, kLongestText)).c_str());
    }
    readstat_variable_set_label_set(made, set);
    readstat_variable_set_measure(made, READSTAT_MEASURE_NOMINAL);
    return cut;
  }

  readstat_error_t Insert(std::size_t v, double value) {
    const Variable& about = variables_[v].about;
    const SavFormat* format = DateFormat(about);
    if (std::isnan(value)) {
      return format != nullptr
                 ? readstat_insert_missing_value(writer_, columns_[v])
                 : readstat_insert_double_value(writer_, columns_[v], about.missingCode);
    }
    if (std::abs(value) >= kReserved) reserved_[v] = 1;
    // Days hold a time of day to a few microseconds.
    if (format != nullptr)
      value = std::round((value + format->firstDay) * kSecondsPerDay * 1e3) / 1e3;
    return readstat_insert_double_value(writer_, columns_[v], value);
  }

  static ssize_t Write(const void* bytes, std::size_t count, void* file) {
    return static_cast<OutputFile*>(file)->Write(bytes, count) ? static_cast<ssize_t>(count) : -1;
  }

  bool Check(readstat_error_t error, std::string& reason) const {
    if (error == READSTAT_OK) return true;
    reason = error == READSTAT_ERROR_WRITE ? file_.Reason() : readstat_error_message(error);
    return false;
  }
  bool FileFailed(std::string& reason) const {
    reason = file_.Reason();
    return false;
  }
  bool RowsFailed(std::string& reason) const {
    reason = rows_.Reason();
    return false;
  }

  std::span<const SavedVariable> variables_;
  std::vector<std::string> names_, changes_;
  std::vector<readstat_variable_t*> columns_;  // the writer's
  readstat_writer_t* writer_ = nullptr;
  long cases_ = 0;
  std::vector<char> reserved_;  // by variable: holds numbers that the format reserves
  OutputFile file_, rows_;
};

}  // namespace

std::unique_ptr<FormatWriter> MakeSavWriter() { return std::make_unique<SavWriter>(); }

}  // namespace qrvml
