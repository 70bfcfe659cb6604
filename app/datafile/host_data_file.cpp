#include "datafile/host_data_file.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "datafile/selection.h"
#include "datafile/text_fields.h"

namespace qrvml {

namespace {

constexpr int kCasesBetweenHooks = 256;
constexpr std::size_t kMostRows = 512;
constexpr std::size_t kFewestRows = 8;
constexpr std::size_t kRowCells = 65536;  // 512 KB: the block stays in the second-level cache

std::string ShortestDigits(double value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  return {digits, end};
}

}  // namespace

std::string NumberAsText(DisplayFormat format, double value) {
  if (format == DisplayFormat::number) return ShortestDigits(value);
  using namespace std::chrono;
  constexpr double kSecondsPerDay = 86400;
  constexpr double kMostDays = 2958466;  // 10000-01-01
  if (!(std::abs(value) < kMostDays)) return ShortestDigits(value);
  double days = std::floor(value);
  auto seconds = static_cast<int>(std::lround((value - days) * kSecondsPerDay));
  if (seconds == static_cast<int>(kSecondsPerDay)) {
    seconds = 0;
    days += 1;
  }
  const sys_days first{year{1899} / December / 30};
  const year_month_day date{first + std::chrono::days{static_cast<int>(days)}};
  std::string day =
      fmt::format("{:04}-{:02}-{:02}", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  std::string time =
      fmt::format("{:02}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
  if (format == DisplayFormat::date) return day;
  return format == DisplayFormat::time ? time : day + " " + time;
}

std::string ValueAsText(const DataTable& table, int variable, double value) {
  const Variable& about = table.At(variable);
  if (value == about.missingCode) return {};
  const std::string* label = table.FindLabel(variable, static_cast<float>(value));
  if (label && (!about.wasText || value == std::floor(value))) return *label;
  return NumberAsText(about.format, value);
}

HostDataFile::HostDataFile(DataTable table, std::string path)
    : table_(std::make_shared<DataTable>(std::move(table))),
      path_(std::move(path)),
      width_(static_cast<std::size_t>(table_->NumberOfVariables())),
      untilHook_(kCasesBetweenHooks) {
  rows_.resize(width_ *
               std::clamp(kRowCells / std::max<std::size_t>(width_, 1), kFewestRows, kMostRows));
}

CaseStatus HostDataFile::cstrtw(int caseNumber, double* values, CaseInfo& info) {
  const CaseStatus status = Deliver(caseNumber, values);
  if (status != CaseStatus::delivered) return status;
  info.weight = 1;
  if (weight_ != 0) {
    const double weight = values[weight_];
    info.weight = weight == table_->At(weight_).missingCode ? 0 : weight;
  }
  info.name = {};
  if (caseNames_ != 0) {
    const double value = values[caseNames_];
    const Variable& names = table_->At(caseNames_);
    if (names.wasText && value != names.missingCode) {
      info.name = names.labels[static_cast<std::size_t>(value) - 1].text;
    } else {
      nameOfNumber_ = ValueAsText(*table_, caseNames_, value);
      info.name = nameOfNumber_;
    }
  }
  return status;
}

CaseStatus HostDataFile::cstart(int caseNumber, double* values) {
  return Deliver(caseNumber, values);
}

CaseStatus HostDataFile::Deliver(int caseNumber, double* values) {
  if (--untilHook_ == 0) {
    untilHook_ = kCasesBetweenHooks;
    if (hook_ && hook_(caseNumber)) return CaseStatus::stop;
  }
  const bool inOrder = caseNumber == lastCase_ + 1 || caseNumber == 1;
  lastCase_ = caseNumber;
  if (!IsSelected(caseNumber)) return CaseStatus::skip;

  if (caseNumber < rowsFirst_ || caseNumber >= rowsEnd_) {
    if (!inOrder) {
      const DataTable::Place place = table_->Find(caseNumber);
      const std::size_t cases = table_->CasesIn(place.chunk);
      const double* cell = std::as_const(*table_).Column(place.chunk, 1).data() + place.position;
      for (std::size_t i = 1; i <= width_; ++i, cell += cases) values[i] = *cell;
      return CaseStatus::delivered;
    }
    LoadRows(caseNumber);
  }
  std::memcpy(values + 1, Row(caseNumber), width_ * sizeof(double));
  return CaseStatus::delivered;
}

void HostDataFile::LoadRows(int firstCase) {
  constexpr std::size_t kTogether = 8;  // variables: a cache line of every row
  const DataTable::Place place = table_->Find(firstCase);
  const std::size_t cases = table_->CasesIn(place.chunk);
  const std::size_t rows = std::min(rows_.size() / width_, cases - place.position);
  const double* cells = std::as_const(*table_).Column(place.chunk, 1).data() + place.position;
  std::size_t column = 0;
  for (; column + kTogether <= width_; column += kTogether) {
    const double* from = cells + column * cases;
    double* to = rows_.data() + column;
    for (std::size_t row = 0; row < rows; ++row, ++from, to += width_) {
      for (std::size_t j = 0; j < kTogether; ++j) to[j] = from[j * cases];
    }
  }
  for (; column < width_; ++column) {
    for (std::size_t row = 0; row < rows; ++row) {
      rows_[row * width_ + column] = cells[column * cases + row];
    }
  }
  rowsFirst_ = firstCase;
  rowsEnd_ = firstCase + static_cast<int>(rows);
}

int HostDataFile::vvlcod(int variable, float code, std::string& label) const {
  const std::string* found = table_->FindLabel(variable, code);
  if (!found) return 1;
  label = *found;
  return 0;
}

std::string HostDataFile::getlab(int caseNumber) {
  if (caseNames_ == 0) return {};
  return ValueAsText(*table_, caseNames_, table_->Value(caseNumber, caseNames_));
}

bool HostDataFile::IsSpecialFormatVariable(int variable) const {
  return table_->At(variable).format != DisplayFormat::number;
}

bool HostDataFile::IsDateVar(int variable) const {
  const DisplayFormat format = table_->At(variable).format;
  return format == DisplayFormat::date || format == DisplayFormat::dateTime;
}

std::string HostDataFile::WriteSpecialFormatVariable(int variable, double value, int width) const {
  const DisplayFormat format = table_->At(variable).format;
  const std::string text = NumberAsText(format, value);
  return fmt::format("{:>{}}", text, std::max(width, 0));
}

std::string HostDataFile::DataFileText() const {
  return std::filesystem::path(path_).filename().string();
}

bool HostDataFile::SetWeight(int variable, FileError& error) {
  if (variable != 0 && table_->At(variable).wasText) {
    error = {};
    error.file = path_;
    error.what = "the variable \"" + table_->At(variable).name +
                 "\" holds texts and cannot be a case weight";
    error.right = "A case weight is a variable whose values are all numbers";
    return false;
  }
  weight_ = variable;
  ++revision_;
  return true;
}

bool HostDataFile::SetSelection(const std::string& condition, FileError& error) {
  std::vector<std::uint8_t> selected;
  const bool all = TrimBlanks(condition).empty();
  if (!all && !EvaluateCondition(*table_, condition, selected, error)) return false;
  condition_ = all ? std::string() : condition;
  selected_ = std::move(selected);
  ++revision_;
  return true;
}

int HostDataFile::NumberOfSelectedCases() const {
  if (selected_.empty()) return NumberOfCases();
  return static_cast<int>(selected_.size()) -
         static_cast<int>(std::count(selected_.begin(), selected_.end(), std::uint8_t{0}));
}

void HostDataFile::SetCaseNames(int variable) {
  caseNames_ = variable;
  ++revision_;
}

bool HostDataFile::SetMissingCode(int variable, double code, FileError& error) {
  const double old = getmd5(variable);
  const auto refuse = [&](const char* what) {
    error = {};
    error.file = path_;
    error.what = what;
    return false;
  };
  if (!std::isfinite(code)) return refuse("a missing-data code is a finite number");
  table_->SetMissingCode(variable, code);
  rowsEnd_ = rowsFirst_;
  if (!condition_.empty() && !SetSelection(condition_, error)) {
    table_->SetMissingCode(variable, old);
    return false;
  }
  ++revision_;
  return true;
}

bool HostDataFile::FindVariable(const std::string& text, int& variable, FileError& error) const {
  const std::string_view trimmed = TrimBlanks(text);
  const bool quoted = trimmed.size() >= 2 && trimmed.front() == '"' && trimmed.back() == '"';
  error = {};
  error.file = path_;
  int number = 0;
  const char* end = trimmed.data() + trimmed.size();
  const auto [stop, failure] = std::from_chars(trimmed.data(), end, number);
  if (stop == end && !trimmed.empty()) {
    if (failure == std::errc{} && number >= 1 && number <= NumberOfVariables()) {
      variable = number;
      return true;
    }
    error.what = "there is no variable number " + std::string(trimmed);
    error.right = "Variables are numbered from 1 to " + std::to_string(NumberOfVariables()) +
                  "; a name made of digits stands in double quotes";
    return false;
  }
  std::string name(quoted ? trimmed.substr(1, trimmed.size() - 2) : trimmed);
  if (quoted) {
    for (std::size_t at = 0; (at = name.find("\"\"", at)) != std::string::npos; ++at) {
      name.erase(at, 1);
    }
  }
  const int found = table_->FindVariable(name);
  if (found != 0) {
    variable = found;
    return true;
  }
  error.what = "there is no variable \"" + name + "\"";
  error.right = "Variables are named exactly as in the file, or by number";
  return false;
}

}  // namespace qrvml
