#include "documents/document_files.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "documents/display_width.h"
#include "documents/json_renderer.h"
#include "documents/text_renderer.h"

namespace qrvml {
namespace {

constexpr std::array kFormats = {DocumentFormat{"txt", &DocumentText},
                                 DocumentFormat{"json", &DocumentJson}};
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

bool WriteFileWhole(const std::filesystem::path& target, std::string_view text,
                    std::string& error) {
  const std::filesystem::path temporary =
      target.parent_path() /
      ('.' + target.filename().string() + '.' + std::to_string(getpid()) + ".tmp");
  bool written = false;
  {
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.flush();
    written = file.good();
  }
  if (written && std::rename(temporary.c_str(), target.c_str()) == 0) return true;
  error = SystemError("cannot write", target);
  std::error_code ignored;
  std::filesystem::remove(temporary, ignored);
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
  if (access(folder.c_str(), W_OK | X_OK) == 0) return true;
  error = SystemError("cannot write into", folder);
  return false;
}

void DocumentFiles::Touch(std::size_t position) {
  const auto place = std::ranges::lower_bound(touched_, position);
  if (place == touched_.end() || *place != position) touched_.insert(place, position);
}

bool DocumentFiles::Write(const Workbook& workbook, std::string& error) {
  if (touched_.empty()) return true;
  std::error_code code;
  std::filesystem::create_directories(folder_, code);
  if (code) {
    error = "cannot make the folder " + folder_.string() + ": " + code.message();
    return false;
  }
  for (const std::size_t position : touched_) {
    const Document& document = workbook.documents()[position];
    char number[32];
    std::snprintf(number, sizeof number, "%03zu-", position + 1);
    const std::string name = number + Slug(DocumentTitle(document)) + '.';
    for (const DocumentFormat* format : formats_) {
      const std::string text = format->render(document, workbook.caseName);
      if (!WriteFileWhole(folder_ / (name + std::string(format->name)), text, error)) return false;
    }
  }
  touched_.clear();
  return true;
}

bool DocumentFiles::WriteText(std::string_view fileName, std::string_view text,
                              std::string& error) const {
  return WriteFileWhole(folder_ / fileName, text, error);
}

}  // namespace qrvml
