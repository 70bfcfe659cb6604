#include "datafile/data_file_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <limits>
#include <new>
#include <string_view>
#include <unordered_set>

namespace qrvml {

struct SaveFormat {
  std::string_view extension;
  std::unique_ptr<FormatWriter> (*make)();
  bool holdsLabels, holdsLongNames, holdsMissingCodes;
};

namespace {

constexpr SaveFormat kFormats[] = {
    {".qrv", &MakeQrvWriter, true, true, true},
    {".parquet", &MakeParquetWriter, false, false, false},
    {".csv", &MakeCsvWriter, false, false, false},
    {".sav", &MakeSavWriter, true, true, true},
    {".xlsx", &MakeXlsxWriter, false, false, false},
};
constexpr std::size_t kNamesTold = 5;

const SaveFormat* FindFormat(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  const auto found = std::ranges::find(kFormats, extension, &SaveFormat::extension);
  return found == std::end(kFormats) ? nullptr : &*found;
}

/// What a kind of loss is called and which variables suffer it.
struct Loss {
  const char* what;
  bool (*concerns)(const SaveFormat&, const SavedVariable&);
};
constexpr Loss kLosses[] = {
    {"the labels of",
     [](const SaveFormat& format, const SavedVariable& v) {
       return !format.holdsLabels && !v.about.labels.empty() && !v.asText;
     }},
    {"the codes behind the texts of",
     [](const SaveFormat& format, const SavedVariable& v) {
       return !format.holdsLabels && v.asText && !v.about.wasText;
     }},
    {"the long names of",
     [](const SaveFormat& format, const SavedVariable& v) {
       return !format.holdsLongNames && !v.about.longName.empty();
     }},
    {"the missing-data codes (their cells are empty) of",
     [](const SaveFormat& format, const SavedVariable& v) {
       return !format.holdsMissingCodes && !IsMissingCodeCandidate(v.about.missingCode);
     }},
};

}  // namespace

std::string ShortestNumber(double value) {
  char digits[64];
  char* const end = digits + sizeof digits;
  const bool whole = value == std::floor(value) && std::abs(value) < 1e15;
  return {digits, whole ? std::to_chars(digits, end, value, std::chars_format::fixed).ptr
                        : std::to_chars(digits, end, value).ptr};
}

const std::string* LabelOf(const Variable& about, double code) {
  const auto label = std::ranges::lower_bound(about.labels, code, {}, &ValueLabel::code);
  return label != about.labels.end() && label->code == code ? &label->text : nullptr;
}

std::string SavedText(const Variable& about, double value) {
  const std::string* label = LabelOf(about, value);
  return label != nullptr ? *label : ShortestNumber(value);
}

std::string NameList(std::span<const std::string> names) {
  std::string text;
  const std::size_t told = names.size() <= kNamesTold + 1 ? names.size() : kNamesTold;
  for (std::size_t i = 0; i < told; ++i)
    text += (i == 0 ? "\"" : i + 1 == names.size() ? " and \"" : ", \"") + names[i] + '"';
  if (told < names.size()) text += " and " + std::to_string(names.size() - told) + " more";
  return text;
}

bool LabelsStandForCodes(const Variable& about) {
  std::unordered_set<std::string_view> texts;
  for (const ValueLabel& label : about.labels) {
    if (label.text.empty() || !texts.insert(label.text).second) return false;
  }
  return !texts.empty();
}

bool HasSaveFormat(const std::string& path) { return FindFormat(path) != nullptr; }

std::string SavedExtensions() {
  std::string text;
  for (const SaveFormat& format : kFormats) {
    if (!text.empty()) text += &format == &std::end(kFormats)[-1] ? " or " : ", ";
    text += format.extension;
  }
  return text;
}

DataFileWriter::~DataFileWriter() { Abandon(); }

void DataFileWriter::Abandon() {
  writer_.reset();
  file_.Abandon();
}

bool DataFileWriter::Fail(FileError& error, const std::string& what, const std::string& reason) {
  Abandon();
  error = {};
  error.file = path_;
  error.what = what + ": " + reason;
  return false;
}

bool DataFileWriter::Begin(const std::string& path, bool overwrite,
                           std::vector<SavedVariable> variables, FileError& error) {
  Abandon();
  path_ = path;
  changes_.clear();
  format_ = FindFormat(path);
  if (format_ == nullptr) {
    error = {};
    error.file = path;
    error.what = "the name does not tell a format that can be written";
    error.right = "The name of a saved file ends in " + SavedExtensions();
    return false;
  }
  variables_ = std::move(variables);
  for (SavedVariable& variable : variables_)
    std::ranges::stable_sort(variable.about.labels, {}, &ValueLabel::code);
  row_.resize(variables_.size());
  std::string reason = "a data file has at least one variable";
  if (variables_.empty()) return Fail(error, "the file cannot be begun", reason);
  if (!file_.Begin(path, overwrite, error)) return false;
  writer_ = format_->make();
  return writer_->Begin(file_.Working(), variables_, reason) ||
         Fail(error, "the file cannot be begun", reason);
}

bool DataFileWriter::Append(std::span<const double> row, FileError& error) {
  std::string reason = "the file is not open";
  for (std::size_t i = 0; i < row_.size(); ++i) {
    const bool missing = row[i] == variables_[i].about.missingCode;
    row_[i] = missing ? std::numeric_limits<double>::quiet_NaN() : row[i];
  }
  return (writer_ != nullptr && writer_->Append(row_, reason)) ||
         Fail(error, "the case cannot be written", reason);
}

bool DataFileWriter::Finish(FileError& error) {
  std::string reason = "the file is not open";
  if (writer_ == nullptr || !writer_->Finish(reason))
    return Fail(error, "the file cannot be completed", reason);
  changes_ = writer_->Changes();
  writer_.reset();
  return file_.Commit(error);
}

std::vector<std::string> DataFileWriter::Warnings() const {
  std::vector<std::string> warnings;
  for (const Loss& loss : kLosses) {
    std::vector<std::string> names;
    for (const SavedVariable& variable : variables_) {
      if (loss.concerns(*format_, variable)) names.push_back(variable.about.name);
    }
    if (names.empty()) continue;
    warnings.push_back("a " + std::string(format_->extension) + " file does not hold " + loss.what +
                       ' ' + NameList(names));
  }
  warnings.insert(warnings.end(), changes_.begin(), changes_.end());
  return warnings;
}

}  // namespace qrvml
