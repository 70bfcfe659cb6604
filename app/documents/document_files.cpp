#include "documents/document_files.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "documents/csv_renderer.h"
#include "documents/display_width.h"
#include "documents/json_renderer.h"
#include "documents/png_file.h"
#include "documents/svg_renderer.h"
#include "documents/text_renderer.h"
#include "documents/xlsx_renderer.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;

/// Makes a file of what `write` puts into the stream; false with the system's reason.
template <class Write>
bool StreamInto(const fs::path& file, std::string& error, const Write& write) {
  errno = 0;
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  if (stream) write(stream);
  const bool written = stream.good();
  const int reason = errno;
  stream.close();
  if (written && stream.good()) return true;
  error = std::strerror(written ? errno : reason);
  return false;
}

bool WriteBytes(std::string_view text, const fs::path& file, std::string& error) {
  return StreamInto(file, error, [text](std::ostream& out) { out << text; });
}

bool WriteTxtFile(const Document& document, const CaseNamer& caseName, const fs::path& file,
                  std::string& error) {
  return StreamInto(file, error,
                    [&](std::ostream& out) { WriteDocumentText(out, document, caseName); });
}

bool WriteJsonFile(const Document& document, const CaseNamer& caseName, const fs::path& file,
                   std::string& error) {
  return StreamInto(file, error,
                    [&](std::ostream& out) { WriteDocumentJson(out, document, caseName); });
}

bool WriteCsvFile(const Document& document, const CaseNamer& caseName, const fs::path& file,
                  std::string& error) {
  const auto& sheet = std::get<Spreadsheet>(document);
  return StreamInto(file, error, [&](std::ostream& out) { WriteCsv(out, sheet, caseName); });
}

bool WriteSvgFile(const Document& document, const CaseNamer& caseName, const fs::path& file,
                  std::string& error) {
  return WriteBytes(GraphSvg(std::get<Graph>(document), caseName), file, error);
}

bool WritePngFile(const Document& document, const CaseNamer& caseName, const fs::path& file,
                  std::string& error) {
  return WritePng(GraphSvg(std::get<Graph>(document), caseName), file, error);
}

template <class... Kinds>
bool IsOneOf(const Document& document) {
  return (std::holds_alternative<Kinds>(document) || ...);
}
constexpr auto kHoldsAll = &IsOneOf<ResultsText, Spreadsheet, Graph, TextDocument>;

constexpr DocumentFormat kTxt{"txt", kHoldsAll, &WriteTxtFile};
constexpr DocumentFormat kPng{"png", &IsOneOf<Graph>, &WritePngFile};
constexpr std::array kFormats = {
    kTxt,
    DocumentFormat{"json", kHoldsAll, &WriteJsonFile},
    DocumentFormat{"csv", &IsOneOf<Spreadsheet>, &WriteCsvFile},
    DocumentFormat{"xlsx", &IsOneOf<ResultsText, Spreadsheet>, nullptr},
    DocumentFormat{"svg", &IsOneOf<Graph>, &WriteSvgFile},
    kPng};
constexpr std::string_view kRunFile = "results.xlsx";
constexpr int kScriptMode = 1;  // of a text document; other modes are plain text
constexpr std::size_t kLongestSlug = 60;

// Letters of U+00C0 to U+017F without their accents; '-' where there is no plain letter.
constexpr std::string_view kPlainLetters =
    "aaaaaaaceeeeiiiidnooooo-ouuuuytsaaaaaaaceeeeiiiidnooooo-ouuuuyty"
    "aaaaaaccccccccddddeeeeeeeeeegggggggghhhhiiiiiiiiiiiijjkkkllllllllllnnnnnnnnnoooooooo"
    "rrrrrrssssssssttttttuuuuuuuuuuuuwwyyyzzzzzzs";
constexpr char32_t kFirstPlain = 0xC0;
static_assert(kPlainLetters.size() == 0x180 - kFirstPlain);

struct Ligature {
  char32_t point;
  std::string_view letters;
};
constexpr Ligature kLigatures[] = {
    {0xC6, "ae"}, {0xE6, "ae"}, {0x152, "oe"}, {0x153, "oe"}, {0xDF, "ss"}};

char PlainLetter(char32_t point) {
  if (point >= 'A' && point <= 'Z') return static_cast<char>(point - 'A' + 'a');
  if ((point >= 'a' && point <= 'z') || (point >= '0' && point <= '9'))
    return static_cast<char>(point);
  if (point >= kFirstPlain && point < kFirstPlain + kPlainLetters.size())
    return kPlainLetters[point - kFirstPlain];
  return '-';
}

/// The extension of a document as text: programs and model files have their own.
std::string TextExtension(const Document& document) {
  const auto* text = std::get_if<TextDocument>(&document);
  if (text == nullptr) return "txt";
  if (text->mode == kScriptMode) return "qvb";
  if (text->text.starts_with("<?xml")) return "pmml";
  return text->title.find("C/C++") != std::string::npos ? "c" : "txt";
}

std::string SystemError(std::string_view what, const std::filesystem::path& path) {
  return std::string(what) + ' ' + path.string() + ": " + std::strerror(errno);
}

}  // namespace

bool ReadFormats(std::string_view text, std::vector<const DocumentFormat*>& formats,
                 std::string& error) {
  formats.clear();
  while (true) {
    const std::size_t comma = std::min(text.find(','), text.size());
    const std::string_view name = text.substr(0, comma);
    const auto found = std::ranges::find(kFormats, name, &DocumentFormat::name);
    if (found == kFormats.end()) {
      error = "the format \"" + std::string(name) + "\" is not available in this version; there is";
      for (const DocumentFormat& format : kFormats) error += ' ' + std::string(format.name);
      return false;
    }
    if (std::ranges::find(formats, &*found) == formats.end()) formats.push_back(&*found);
    if (comma == text.size()) return true;
    text.remove_prefix(comma + 1);
  }
}

std::string DocumentFileName(std::size_t number, const Document& document,
                             const DocumentFormat& format) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%03zu-", number);
  const bool plain = format.name == kTxt.name;
  return digits + Slug(DocumentTitle(document)) + '.' +
         (plain ? TextExtension(document) : std::string(format.name));
}

std::string Slug(std::string_view title) {
  std::string slug;
  for (std::size_t at = 0; at < title.size() && slug.size() < kLongestSlug;) {
    const char32_t point = NextCodePoint(title, at);
    const auto ligature = std::ranges::find(kLigatures, point, &Ligature::point);
    if (ligature != std::end(kLigatures)) {
      slug += ligature->letters;
      continue;
    }
    const char letter = PlainLetter(point);
    if (letter != '-' || (!slug.empty() && slug.back() != '-')) slug += letter;
  }
  slug.resize(std::min(slug.size(), kLongestSlug));
  while (!slug.empty() && slug.back() == '-') slug.pop_back();
  return slug.empty() ? "document" : slug;
}

bool WriteFileWhole(const fs::path& target, const FileWriter& write, std::string& error) {
  const fs::path temporary = target.parent_path() / ('.' + target.filename().string() + '.' +
                                                     std::to_string(getpid()) + ".tmp");
  std::string reason;
  if (write(temporary, reason)) {
    if (std::rename(temporary.c_str(), target.c_str()) == 0) return true;
    reason = std::strerror(errno);
  }
  error = "cannot write " + target.string() + ": " + reason;
  std::error_code ignored;
  fs::remove(temporary, ignored);
  return false;
}

bool DocumentFiles::Check(std::string& error) const {
  std::filesystem::path folder = std::filesystem::absolute(folder_);
  std::error_code code;
  while (!std::filesystem::exists(folder, code) && folder.has_relative_path())
    folder = folder.parent_path();
  if (!std::filesystem::is_directory(folder, code)) {
    error = folder.string() + " is no folder";
    return false;
  }
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    error = SystemError("cannot write into", folder);
    return false;
  }
  const bool png = std::ranges::find(formats_, kPng.name, &DocumentFormat::name) != formats_.end();
  return !png || FindPngConverter(error);
}

void DocumentFiles::Touch(std::size_t position) {
  const auto place = std::ranges::lower_bound(touched_, position);
  if (place == touched_.end() || *place != position) touched_.insert(place, position);
}

bool DocumentFiles::MakeFolder(std::string& error) const {
  std::error_code code;
  fs::create_directories(folder_, code);
  if (!code) return true;
  error = "cannot make the folder " + folder_.string() + ": " + code.message();
  return false;
}

bool DocumentFiles::Write(const Workbook& workbook, std::string& error) {
  if (touched_.empty()) return true;
  if (!MakeFolder(error)) return false;
  for (const std::size_t position : touched_) {
    if (!WriteDocument(workbook, position, error)) return false;
  }
  touched_.clear();
  return true;
}

bool DocumentFiles::WriteDocument(const Workbook& workbook, std::size_t position,
                                  std::string& error) const {
  const Document& document = workbook.documents()[position];
  std::vector<const DocumentFormat*> holders;
  std::ranges::copy_if(formats_, std::back_inserter(holders),
                       [&](const DocumentFormat* format) { return format->holds(document); });
  if (holders.empty()) holders.push_back(&kTxt);
  for (const DocumentFormat* format : holders) {
    if (format->write == nullptr) continue;
    const auto write = [&](const fs::path& file, std::string& reason) {
      return format->write(document, workbook.caseName, file, reason);
    };
    if (!WriteFileWhole(folder_ / DocumentFileName(position + 1, document, *format), write, error))
      return false;
  }
  return true;
}

bool DocumentFiles::WriteRun(const Workbook& workbook, std::string& error) const {
  const bool asked = std::ranges::any_of(
      formats_, [](const DocumentFormat* format) { return format->write == nullptr; });
  if (!asked) return true;
  if (!MakeFolder(error)) return false;
  return WriteFileWhole(
      folder_ / kRunFile,
      [&](const fs::path& file, std::string& reason) { return WriteXlsx(workbook, file, reason); },
      error);
}

bool DocumentFiles::WriteExtra(std::string_view fileName,
                               const std::function<void(std::ostream&)>& write,
                               std::string& error) const {
  if (!MakeFolder(error)) return false;
  return WriteFileWhole(
      folder_ / fileName,
      [&](const fs::path& file, std::string& reason) { return StreamInto(file, reason, write); },
      error);
}

}  // namespace qrvml
