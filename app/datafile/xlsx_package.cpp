#include "datafile/xlsx_package.h"

#include <zip.h>

#include <memory>
#include <vector>

#include "datafile/read_failure.h"
#include "datafile/read_watch.h"

namespace qrvml {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 18;
constexpr std::size_t kMegabyte = std::size_t{1} << 20;
constexpr std::size_t kLargestWholePart = 64 * kMegabyte;
constexpr std::size_t kLongestElement = 64 * kMegabyte;
constexpr std::uint64_t kLargestPart = std::uint64_t{4096} * kMegabyte;
// Sheets shrink to a tenth or a fiftieth; the archive's method reaches a thousandth at most.
constexpr std::uint64_t kSuspiciousPart = 64 * kMegabyte;
constexpr std::uint64_t kHighestRatio = 250;

constexpr const char* kSaveAgain = "Save it again as an Excel workbook (.xlsx)";

/// Cuts the elements of one name out of a text that comes in pieces.
class ElementCutter {
 public:
  ElementCutter(std::string_view name, const std::function<bool(std::string_view)>& take)
      : name_(name), take_(take) {}

  /// False when `take` wants no more.
  bool Add(std::string_view piece) {
    text_.append(piece);
    while (Step()) {
    }
    const std::size_t done = inside_ ? start_ : at_;
    text_.erase(0, done);
    at_ -= done;
    start_ = 0;
    if (text_.size() > kLongestElement) {
      FailToRead(
          "one of its rows is longer than " + std::to_string(kLongestElement / kMegabyte) + " MB",
          kSaveAgain);
    }
    return !stopped_;
  }
  bool IsInside() const { return inside_; }

 private:
  /// Passes one tag or other markup; false: there is no whole one left, or no more is wanted.
  bool Step() {
    if (stopped_) return false;
    const std::size_t open = text_.find('<', at_);
    if (open == std::string::npos) {
      at_ = text_.size();
      return false;
    }
    at_ = open;
    constexpr std::size_t kLongestMark = 9;  // <![CDATA[
    const std::string_view rest = std::string_view(text_).substr(open);
    if (rest.size() < kLongestMark && rest.find('>') == std::string_view::npos) return false;
    const std::size_t end = EndOfMarkup(rest);
    if (end == std::string_view::npos) return false;
    at_ = open + end;
    const std::string_view tag = rest.substr(0, end);
    if (tag[1] != '!' && tag[1] != '?') PassTag(tag, open);
    return true;
  }

  static std::size_t EndOfMarkup(std::string_view rest) {
    static constexpr std::pair<std::string_view, std::string_view> kMarks[] = {
        {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    for (const auto& [begin, end] : kMarks) {
      if (!rest.starts_with(begin)) continue;
      const std::size_t found = rest.find(end, begin.size());
      return found == std::string_view::npos ? found : found + end.size();
    }
    char quote = 0;
    for (std::size_t i = 1; i < rest.size(); ++i) {
      const char c = rest[i];
      if (quote != 0) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '>') {
        return i + 1;
      }
    }
    return std::string_view::npos;
  }

  void PassTag(std::string_view tag, std::size_t open) {
    const bool closes = tag[1] == '/';
    std::string_view name = tag.substr(closes ? 2 : 1);
    name = name.substr(0, name.find_first_of(" \t\r\n/>"));
    if (const std::size_t colon = name.find(':'); colon != std::string_view::npos) {
      name.remove_prefix(colon + 1);
    }
    if (name != name_) return;
    const bool isEmpty = !closes && tag[tag.size() - 2] == '/';
    if (!closes && !inside_) {
      inside_ = true;
      start_ = open;
    }
    if (!inside_ || !(closes || isEmpty)) return;
    inside_ = false;
    stopped_ = !take_(std::string_view(text_).substr(start_, at_ - start_));
  }

  const std::string_view name_;
  const std::function<bool(std::string_view)>& take_;
  std::string text_;
  std::size_t at_ = 0;     // what comes before has been looked at
  std::size_t start_ = 0;  // of the element that is open
  bool inside_ = false;
  bool stopped_ = false;
};

}  // namespace

XlsxPackage::XlsxPackage(const std::string& path, ReadWatch* watch) : watch_(watch) {
  int code = 0;
  archive_ = zip_open(path.c_str(), ZIP_RDONLY, &code);
  if (archive_) return;
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  const std::string reason = zip_error_strerror(&error);
  zip_error_fini(&error);
  FailToRead("the Excel workbook cannot be opened: " + reason, kSaveAgain);
}

XlsxPackage::~XlsxPackage() {
  if (archive_) zip_discard(archive_);
}

bool XlsxPackage::Has(const std::string& part) const {
  return zip_name_locate(archive_, part.c_str(), ZIP_FL_NOCASE) >= 0;
}

void XlsxPackage::ReadPieces(const std::string& part,
                             const std::function<bool(std::string_view)>& take) {
  zip_stat_t about;
  zip_stat_init(&about);
  const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(
      zip_fopen(archive_, part.c_str(), ZIP_FL_NOCASE), zip_fclose);
  if (!file || zip_stat(archive_, part.c_str(), ZIP_FL_NOCASE, &about) != 0) {
    FailToRead("the Excel workbook's part " + part +
                   " cannot be read: " + zip_error_strerror(zip_get_error(archive_)),
               kSaveAgain);
  }
  std::vector<char> piece(kPieceBytes);
  for (std::uint64_t bytes = 0;;) {
    CheckCancelled(watch_);
    const zip_int64_t got = zip_fread(file.get(), piece.data(), piece.size());
    if (got < 0) {
      FailToRead("the Excel workbook's part " + part +
                     " cannot be read: " + zip_error_strerror(zip_file_get_error(file.get())),
                 kSaveAgain);
    }
    if (got == 0) return;
    const std::string_view text(piece.data(), static_cast<std::size_t>(got));
    if (bytes == 0 && (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))) {
      FailToRead("the Excel workbook's part " + part + " is not in UTF-8", kSaveAgain);
    }
    bytes += text.size();
    if (bytes > kLargestPart ||
        (bytes > kSuspiciousPart && bytes / kHighestRatio > about.comp_size)) {
      FailToRead("the Excel workbook's part " + part + " grows from " +
                     std::to_string(about.comp_size) + " bytes to more than " +
                     std::to_string(bytes / kMegabyte) + " MB when it is unpacked",
                 "A workbook with real data is no such file: save the data as text (CSV) if it is");
    }
    if (!take(text)) return;
  }
}

std::string XlsxPackage::Read(const std::string& part) {
  std::string whole;
  ReadPieces(part, [&](std::string_view piece) {
    whole.append(piece);
    if (whole.size() > kLargestWholePart) {
      FailToRead("the Excel workbook's part " + part + " is larger than " +
                     std::to_string(kLargestWholePart / kMegabyte) + " MB",
                 kSaveAgain);
    }
    return true;
  });
  return whole;
}

void XlsxPackage::ForEachElement(const std::string& part, std::string_view name,
                                 const std::function<bool(std::string_view)>& take) {
  ElementCutter cutter(name, take);
  bool stopped = false;
  ReadPieces(part, [&](std::string_view piece) {
    stopped = !cutter.Add(piece);
    return !stopped;
  });
  if (!stopped && cutter.IsInside()) {
    FailToRead("the Excel workbook's part " + part + " ends inside an element", kSaveAgain);
  }
}

}  // namespace qrvml
