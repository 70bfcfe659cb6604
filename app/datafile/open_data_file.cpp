#include <fmt/format.h>

#include <charconv>
#include <optional>
#include <utility>

#include "datafile/host_data_file.h"
#include "datafile/open_options.h"
#include "datafile/reader.h"
#include "datafile/text_dialect.h"

namespace qrvml {

namespace {

bool Refuse(FileError& error, std::string what, std::string right) {
  error = {};
  error.what = std::move(what);
  error.right = std::move(right);
  return false;
}

// A number of bytes with K, M or G behind it.
bool ReadBytes(std::string_view text, std::size_t& bytes) {
  static constexpr std::pair<char, int> kUnits[] = {{'K', 10}, {'M', 20}, {'G', 30}};
  constexpr std::size_t kMost = std::size_t{1} << 30;
  std::size_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, number);
  if (failure != std::errc{} || stop + 1 != end || number == 0 || number > kMost) return false;
  for (const auto& [letter, shift] : kUnits) {
    if (*stop != letter && *stop != letter - 'A' + 'a') continue;
    bytes = number << shift;
    return true;
  }
  return false;
}

bool ReadOptionTexts(const OpenOptions& options, ReadOptions& read, FileError& error) {
  read.threads = options.threads;
  read.watch = options.watch;
  if (!options.memory.empty() && !ReadBytes(options.memory, read.memory)) {
    return Refuse(error, "the memory \"" + options.memory + "\" is refused",
                  "Memory is a whole number of at least 1, followed by K, M or G");
  }
  if (!options.delimiter.empty()) {
    read.delimiter = DelimiterFromOption(options.delimiter);
    if (!read.delimiter) {
      return Refuse(error, "the delimiter \"" + options.delimiter + "\" is refused",
                    "A delimiter is one character, such as \",\" or \";\", or the word tab; no "
                    "letter, digit, point, sign or quote");
    }
  }
  if (!options.decimal.empty()) {
    if (options.decimal != "." && options.decimal != ",") {
      return Refuse(error, "the decimal mark \"" + options.decimal + "\" is refused",
                    "A decimal mark is \".\" or \",\"");
    }
    read.decimal = options.decimal[0];
  }
  if (!options.encoding.empty()) {
    static constexpr std::pair<std::string_view, TextEncoding> kEncodings[] = {
        {"utf-8", TextEncoding::utf8},
        {"utf8", TextEncoding::utf8},
        {"windows-1252", TextEncoding::windows1252},
    };
    for (const auto& [name, encoding] : kEncodings) {
      if (options.encoding == name) read.encoding = encoding;
    }
    if (!read.encoding) {
      return Refuse(error, "the encoding \"" + options.encoding + "\" is not known",
                    "Encodings are utf-8 and windows-1252");
    }
  }
  return true;
}

// "VARIABLE=CODE"; the name may hold equals signs, the code does not.
bool SetMissing(HostDataFile& file, const std::string& text, FileError& error) {
  const std::size_t equals = text.rfind('=');
  if (equals == std::string::npos) {
    return Refuse(error, "the missing-data code \"" + text + "\" is refused",
                  "It is written VARIABLE=CODE, such as age=99");
  }
  int variable = 0;
  if (!file.FindVariable(text.substr(0, equals), variable, error)) return false;
  const std::string_view written = TrimBlanks(std::string_view(text).substr(equals + 1));
  double code = 0;
  if (ReadWholeNumber(written, '.', code) != NumberForm::number &&
      !file.Table().FindCode(variable, written, code)) {
    return Refuse(error,
                  fmt::format("\"{}\" is no code of the variable \"{}\"", written,
                              file.Table().At(variable).name),
                  "A missing-data code is a number, or a text that the variable holds");
  }
  return file.SetMissingCode(variable, code, error);
}

}  // namespace

bool PutSelectionAndWeight(const OpenOptions& options, HostDataFile& file, FileError& error) {
  int variable = 0;
  if (!options.weight.empty() && !file.FindVariable(options.weight, variable, error)) return false;
  return file.SetWeight(variable, error) && file.SetSelection(options.select, error);
}

bool OpenDataFile(const OpenOptions& options, std::unique_ptr<HostDataFile>& file,
                  FileError& error) {
  ReadOptions read;
  if (!ReadOptionTexts(options, read, error)) return false;
  DataTable table;
  if (!ReadDataFile(options.path, read, table, error)) return false;
  auto opened = std::make_unique<HostDataFile>(std::move(table), options.path);

  for (const std::string& missing : options.missing) {
    if (!SetMissing(*opened, missing, error)) return false;
  }
  if (!options.caseNames.empty()) {
    int variable = 0;
    if (!opened->FindVariable(options.caseNames, variable, error)) return false;
    opened->SetCaseNames(variable);
  }
  if (!PutSelectionAndWeight(options, *opened, error)) return false;
  file = std::move(opened);
  return true;
}

}  // namespace qrvml
