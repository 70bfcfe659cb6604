#include "datafile/statistics_reader.h"

extern "C" {
#include <readstat.h>
}

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <vector>

#include "datafile/host_data_file.h"
#include "datafile/por_input.h"
#include "datafile/read_failure.h"
#include "datafile/statistics_dates.h"
#include "datafile/table_builder.h"
#include "datafile/text_fields.h"

namespace qrvml {

namespace {

constexpr const char* kDamaged = "The file is damaged or incomplete: copy or export it again";

/// The encoding that the file names.
constexpr const char* kFromFile = nullptr;
/// Every byte is a character and stays as it is.
constexpr const char* kAsBytes = "ISO-8859-1";

using ParseFunction = readstat_error_t (*)(readstat_parser_t*, const char*, void*);

struct Package {
  StatisticsPackage package;
  ParseFunction parse;
};

/// Numbers that the user declared missing; a single one has lo == hi.
struct MissingRange {
  double lo, hi;  // as in the file, not yet days
};

struct FileVariable {
  bool isText = false;
  DateRule rule;
  std::string labels;  // the name of its label table; empty: none
  std::vector<MissingRange> missing;
  std::vector<std::string> missingTexts;
  std::optional<double> missingCode;  // as in the file
  std::size_t recoded = 0;            // cells that became the code though they held another
  std::set<char> tags;
};

struct FileLabel {
  double code;
  std::string text;
};

/// One file while it is parsed. The parser delivers variables, cells and label tables in an order
/// that depends on the format; they are joined in Finish.
class StatisticsFile {
 public:
  /// An encoding named or kFromFile or kAsBytes.
  StatisticsFile(const Package& package, const char* encoding, const ReadOptions& options)
      : package_(package), encoding_(encoding), builder_(options.memory, 1, options.watch) {}

  /// Throws what a handler threw. The parser's error otherwise.
  readstat_error_t Parse(const std::string& path);
  void Finish(DataTable& table);
  void AddNote(std::string note) { builder_.AddNote(std::move(note)); }

 private:
  void AddVariable(const readstat_variable_t& variable, const char* labels);
  void AddCell(int row, const readstat_variable_t& variable, readstat_value_t value);
  double NumberCell(FileVariable& variable, readstat_value_t value);
  double TextCell(std::size_t column, readstat_value_t value);
  void AddLabel(const char* labels, readstat_value_t value, const char* text);
  void SetLabels(std::size_t column);
  void NoteMissingValues(std::size_t column);
  std::string RangeText(const FileVariable& variable, const MissingRange& range) const;

  // Exceptions must not pass through the parser, which is C.
  template <class Function>
  static int Guard(void* context, const Function& handle) {
    auto& file = *static_cast<StatisticsFile*>(context);
    try {
      handle(file);
      return READSTAT_HANDLER_OK;
    } catch (...) {
      file.failure_ = std::current_exception();
      return READSTAT_HANDLER_ABORT;
    }
  }

  const Package package_;
  const char* const encoding_;
  TableBuilder builder_;
  std::vector<FileVariable> variables_;
  std::map<std::string, std::vector<FileLabel>> labels_;
  std::set<std::string> labelsOfTexts_;  // names of tables with labels of texts
  std::string weight_;
  std::size_t documentLines_ = 0;
  std::int64_t rows_ = -1;  // that the file announces; -1: it does not say
  int lastRow_ = -1;
  std::exception_ptr failure_;
};

readstat_error_t StatisticsFile::Parse(const std::string& path) {
  const std::unique_ptr<readstat_parser_t, decltype(&readstat_parser_free)> parser(
      readstat_parser_init(), readstat_parser_free);
  if (!parser) throw std::bad_alloc();
  if (encoding_ != kFromFile) readstat_set_file_character_encoding(parser.get(), encoding_);
  if (encoding_ == kAsBytes) readstat_set_handler_character_encoding(parser.get(), encoding_);
  readstat_set_metadata_handler(parser.get(), [](readstat_metadata_t* metadata, void* context) {
    return Guard(context, [&](StatisticsFile& file) {
      file.rows_ = metadata->row_count;
      file.builder_.Expect(file.rows_);
    });
  });
  readstat_set_variable_handler(
      parser.get(), [](int, readstat_variable_t* variable, const char* labels, void* context) {
        return Guard(context, [&](StatisticsFile& file) { file.AddVariable(*variable, labels); });
      });
  readstat_set_value_handler(parser.get(), [](int row, readstat_variable_t* variable,
                                              readstat_value_t value, void* context) {
    return Guard(context, [&](StatisticsFile& file) { file.AddCell(row, *variable, value); });
  });
  readstat_set_value_label_handler(parser.get(), [](const char* labels, readstat_value_t value,
                                                    const char* text, void* context) {
    return Guard(context, [&](StatisticsFile& file) { file.AddLabel(labels, value, text); });
  });
  readstat_set_fweight_handler(parser.get(), [](readstat_variable_t* variable, void* context) {
    return Guard(context, [&](StatisticsFile& file) {
      const char* name = variable ? readstat_variable_get_name(variable) : nullptr;
      file.weight_ = AsUtf8(name ? name : "");
    });
  });
  readstat_set_note_handler(parser.get(), [](int, const char*, void* context) {
    return Guard(context, [](StatisticsFile& file) { ++file.documentLines_; });
  });
  PorInput portable;
  if (package_.parse == readstat_parse_por) portable.Attach(*parser);
  const readstat_error_t error = package_.parse(parser.get(), path.c_str(), this);
  if (failure_) std::rethrow_exception(failure_);
  return error;
}

void StatisticsFile::AddVariable(const readstat_variable_t& variable, const char* labels) {
  const auto text = [](const char* from) { return std::string(from ? from : ""); };
  const std::size_t column = builder_.AddColumn(text(readstat_variable_get_name(&variable)));
  FileVariable& about = variables_.emplace_back();
  about.isText = readstat_variable_get_type_class(&variable) == READSTAT_TYPE_CLASS_STRING;
  about.labels = text(labels);
  builder_.About(column).longName = TrimBlanks(text(readstat_variable_get_label(&variable)));
  builder_.About(column).wasText = about.isText;
  if (!about.isText) {
    about.rule = FindDateRule(package_.package, text(readstat_variable_get_format(&variable)));
    builder_.About(column).format = about.rule.format;
  }
  const int ranges = readstat_variable_get_missing_ranges_count(&variable);
  for (int i = 0; i < ranges; ++i) {
    const readstat_value_t lo = readstat_variable_get_missing_range_lo(&variable, i);
    const readstat_value_t hi = readstat_variable_get_missing_range_hi(&variable, i);
    if (about.isText) {
      about.missingTexts.emplace_back(TrimBlanks(text(readstat_string_value(lo))));
      continue;
    }
    const MissingRange range = {readstat_double_value(lo), readstat_double_value(hi)};
    about.missing.push_back(range);
    if (range.lo == range.hi && std::isfinite(range.lo) && !about.missingCode) {
      about.missingCode = range.lo;
      builder_.FixMissingCode(column, AsDays(about.rule, range.lo));
    }
  }
}

double StatisticsFile::NumberCell(FileVariable& variable, readstat_value_t value) {
  const double number = readstat_double_value(value);
  if (readstat_value_is_tagged_missing(value)) variable.tags.insert(readstat_value_tag(value));
  if (readstat_value_is_system_missing(value) || readstat_value_is_tagged_missing(value) ||
      std::isnan(number)) {
    return TableBuilder::NumberCell(std::nan(""));
  }
  for (const MissingRange& range : variable.missing) {
    if (number < range.lo || number > range.hi) continue;
    if (number != variable.missingCode) ++variable.recoded;
    return TableBuilder::NumberCell(std::nan(""));
  }
  return AsDays(variable.rule, number);
}

double StatisticsFile::TextCell(std::size_t column, readstat_value_t value) {
  const char* bytes = readstat_string_value(value);
  const std::string_view text = TrimBlanks(bytes ? bytes : "");
  FileVariable& variable = variables_[column];
  const std::vector<std::string>& missing = variable.missingTexts;
  if (std::find(missing.begin(), missing.end(), text) != missing.end() && !text.empty()) {
    ++variable.recoded;
    return builder_.TextCell(column, {});
  }
  return builder_.TextCell(column, text);
}

void StatisticsFile::AddCell(int row, const readstat_variable_t& variable, readstat_value_t value) {
  if (row != lastRow_) {
    builder_.AddCases(1);
    lastRow_ = row;
  }
  const auto column = static_cast<std::size_t>(readstat_variable_get_index(&variable));
  if (column >= variables_.size()) FailToRead("its data name a variable that it does not describe");
  builder_.NewCells(column)[0] =
      variables_[column].isText ? TextCell(column, value) : NumberCell(variables_[column], value);
}

void StatisticsFile::AddLabel(const char* labels, readstat_value_t value, const char* text) {
  if (!labels || !text) return;
  if (readstat_value_type_class(value) == READSTAT_TYPE_CLASS_STRING) {
    labelsOfTexts_.insert(labels);
    return;
  }
  const double code = readstat_double_value(value);
  if (readstat_value_is_tagged_missing(value) || !std::isfinite(code)) return;
  labels_[labels].push_back({code, AsUtf8(text)});
}

void StatisticsFile::SetLabels(std::size_t column) {
  const FileVariable& variable = variables_[column];
  Variable& about = builder_.About(column);
  if (variable.isText) {
    if (labelsOfTexts_.contains(variable.labels)) {
      AddNote(about.name + ": the labels that the file gives to its texts are not kept");
    }
    return;
  }
  const auto table = labels_.find(variable.labels);
  if (table == labels_.end()) return;
  for (const FileLabel& label : table->second) {
    const bool recoded = label.code != variable.missingCode &&
                         std::any_of(variable.missing.begin(), variable.missing.end(),
                                     [&](const MissingRange& range) {
                                       return label.code >= range.lo && label.code <= range.hi;
                                     });
    if (!recoded) about.labels.push_back({AsDays(variable.rule, label.code), label.text});
  }
}

std::string StatisticsFile::RangeText(const FileVariable& variable,
                                      const MissingRange& range) const {
  const auto number = [&](double value) {
    return NumberAsText(variable.rule.format, AsDays(variable.rule, value));
  };
  if (range.lo != range.hi) {
    const std::string lo = range.lo > -DBL_MAX ? number(range.lo) : "the lowest";
    return lo + " to " + (range.hi < DBL_MAX ? number(range.hi) : "the highest");
  }
  std::string text = number(range.lo);
  const auto table = labels_.find(variable.labels);
  if (table == labels_.end()) return text;
  for (const FileLabel& label : table->second) {
    if (label.code == range.lo) text += " \"" + label.text + "\"";
  }
  return text;
}

void StatisticsFile::NoteMissingValues(std::size_t column) {
  const FileVariable& variable = variables_[column];
  const std::string name = builder_.About(column).name;
  std::string list;
  const auto add = [&](const std::string& text) { list += (list.empty() ? "" : ", ") + text; };
  for (const MissingRange& range : variable.missing) {
    const bool isCode = range.lo == range.hi && range.lo == variable.missingCode;
    if (!isCode) add(RangeText(variable, range));
  }
  for (const std::string& text : variable.missingTexts) {
    if (!text.empty()) add("\"" + AsUtf8(text) + "\"");
  }
  if (!list.empty()) {
    AddNote(name + ": its user-missing values " + list + " become its missing-data code (" +
            std::to_string(variable.recoded) + (variable.recoded == 1 ? " cell)" : " cells)"));
  }
  if (!variable.tags.empty()) {
    list.clear();
    for (const char tag : variable.tags) add(std::string(".") + tag);
    AddNote(name + ": its kinds of missing value " + list + " become its missing-data code");
  }
}

void StatisticsFile::Finish(DataTable& table) {
  const auto cases = static_cast<std::int64_t>(builder_.NumberOfCases());
  if (rows_ >= 0 && cases != rows_) {
    FailToRead(
        "only " + std::to_string(cases) + " of its " + std::to_string(rows_) + " cases can be read",
        kDamaged);
  }
  for (std::size_t column = 0; column < variables_.size(); ++column) {
    SetLabels(column);
    NoteMissingValues(column);
  }
  if (!weight_.empty()) {
    AddNote("The file weights its cases by " + weight_ +
            "; the weight is not in force unless it is chosen");
  }
  if (documentLines_ > 0) AddNote("The documents in the file are not kept");
  builder_.Finish(table);
}

/// What to do about an error of the parser; the others are damages.
struct Advice {
  readstat_error_t error;
  const char* right;
};
constexpr Advice kAdvice[] = {
    {READSTAT_ERROR_CONVERT, "Name its encoding: utf-8 or windows-1252"},
    {READSTAT_ERROR_CONVERT_BAD_STRING, "Name its encoding: utf-8 or windows-1252"},
    {READSTAT_ERROR_UNSUPPORTED_CHARSET, "Name its encoding: utf-8 or windows-1252"},
    {READSTAT_ERROR_UNSUPPORTED_COMPRESSION, "Save it without compression"},
    {READSTAT_ERROR_UNSUPPORTED_FILE_FORMAT_VERSION, "Save it in another version of its format"},
};

[[noreturn]] void FailWith(readstat_error_t error) {
  if (error == READSTAT_ERROR_MALLOC) throw std::bad_alloc();
  std::string right = kDamaged;
  for (const Advice& advice : kAdvice) {
    if (advice.error == error) right = advice.right;
  }
  std::string reason = readstat_error_message(error);
  if (!reason.empty()) reason[0] = static_cast<char>(std::tolower(reason[0]));
  FailToRead("the file cannot be read: " + reason, right);
}

bool ReadStatisticsFile(const Package& package, const std::string& path, const ReadOptions& options,
                        DataTable& table, FileError& error) {
  return ReadOrExplain(path, error, [&] {
    const char* encoding = kFromFile;
    if (options.encoding) {
      encoding = *options.encoding == TextEncoding::utf8 ? "UTF-8" : "WINDOWS-1252";
    }
    StatisticsFile first(package, encoding, options);
    const readstat_error_t failed = first.Parse(path);
    if (failed == READSTAT_OK) return first.Finish(table);
    const bool inAnotherEncoding =
        failed == READSTAT_ERROR_CONVERT_BAD_STRING || failed == READSTAT_ERROR_UNSUPPORTED_CHARSET;
    if (encoding != kFromFile || !inAnotherEncoding) FailWith(failed);
    StatisticsFile again(package, kAsBytes, options);
    if (again.Parse(path) != READSTAT_OK) FailWith(failed);
    again.AddNote(
        "Not all of its texts fit the encoding that the file names; what is no valid UTF-8 is read "
        "as Windows-1252");
    again.Finish(table);
  });
}

constexpr Package kSav = {StatisticsPackage::spss, readstat_parse_sav};
constexpr Package kPor = {StatisticsPackage::spss, readstat_parse_por};
constexpr Package kSas = {StatisticsPackage::sas, readstat_parse_sas7bdat};
constexpr Package kXpt = {StatisticsPackage::sas, readstat_parse_xport};
constexpr Package kDta = {StatisticsPackage::stata, readstat_parse_dta};

}  // namespace

bool ReadSavFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error) {
  return ReadStatisticsFile(kSav, path, options, table, error);
}
bool ReadPorFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error) {
  return ReadStatisticsFile(kPor, path, options, table, error);
}
bool ReadSasFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error) {
  return ReadStatisticsFile(kSas, path, options, table, error);
}
bool ReadXptFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error) {
  // The format does not say how many cases there are; all that can be seen is a broken record.
  constexpr std::uintmax_t kRecordBytes = 80;
  std::error_code unknown;
  if (std::filesystem::file_size(path, unknown) % kRecordBytes != 0 && !unknown) {
    error.what = "its last record is incomplete";
    error.right = kDamaged;
    return false;
  }
  return ReadStatisticsFile(kXpt, path, options, table, error);
}
bool ReadDtaFile(const std::string& path, const ReadOptions& options, DataTable& table,
                 FileError& error) {
  return ReadStatisticsFile(kDta, path, options, table, error);
}

}  // namespace qrvml
