#include "datafile/xlsx_formats.h"

#include <cctype>
#include <map>
#include <pugixml.hpp>

#include "datafile/read_failure.h"
#include "datafile/xlsx_xml.h"

namespace qrvml {

namespace {

struct BuiltInFormats {
  int first, last;
  DisplayFormat format;
};

// ECMA-376 part 1, 18.8.30 numFmt: identifiers without a code, those of East Asian locales
// included.
constexpr BuiltInFormats kBuiltIn[] = {
    {14, 17, DisplayFormat::date}, {18, 21, DisplayFormat::time}, {22, 22, DisplayFormat::dateTime},
    {27, 31, DisplayFormat::date}, {32, 35, DisplayFormat::time}, {36, 36, DisplayFormat::date},
    {45, 47, DisplayFormat::time}, {50, 54, DisplayFormat::date}, {55, 56, DisplayFormat::time},
    {57, 58, DisplayFormat::date},
};

DisplayFormat FormatOfNumber(int number) {
  for (const BuiltInFormats& range : kBuiltIn) {
    if (number >= range.first && number <= range.last) return range.format;
  }
  return DisplayFormat::number;
}

// What is in brackets: [h], [mm] and [ss] show elapsed time, all else shows nothing.
bool IsElapsedTime(std::string_view inBrackets) {
  return !inBrackets.empty() && inBrackets.find_first_not_of("hHmMsS") == std::string_view::npos;
}

}  // namespace

DisplayFormat FormatOfCode(std::string_view code) {
  bool day = false, clock = false, month = false;
  for (std::size_t i = 0; i < code.size() && code[i] != ';'; ++i) {
    const auto skipTo = [&](char end) {
      const std::size_t found = code.find(end, i + 1);
      i = found == std::string_view::npos ? code.size() - 1 : found;
    };
    const std::size_t start = i;
    switch (std::tolower(static_cast<unsigned char>(code[i]))) {
      case '"':
        skipTo('"');
        break;
      case '\\':
      case '_':
      case '*':
        ++i;  // the next character stands for itself, its width or its repetition
        break;
      case '[':
        skipTo(']');
        clock = clock || IsElapsedTime(code.substr(start + 1, i - start - 1));
        break;
      case 'g':
        if (code.substr(i).starts_with("General")) i += 6;
        break;
      case 'd':
      case 'y':
        day = true;
        break;
      case 'h':
      case 's':
        clock = true;
        break;
      case 'm':
        month = true;
        break;
      default:
        break;
    }
  }
  if (clock && day) return DisplayFormat::dateTime;
  if (clock) return DisplayFormat::time;
  return day || month ? DisplayFormat::date : DisplayFormat::number;
}

std::vector<DisplayFormat> ReadCellFormats(std::string_view styles) {
  pugi::xml_document document;
  LoadXml(styles, document);
  const pugi::xml_node root = ChildOf(document, "styleSheet");
  std::map<int, DisplayFormat> own;
  for (const pugi::xml_node format : ChildOf(root, "numFmts").children()) {
    own[format.attribute("numFmtId").as_int()] =
        FormatOfCode(format.attribute("formatCode").value());
  }
  std::vector<DisplayFormat> formats;
  for (const pugi::xml_node style : ChildOf(root, "cellXfs").children()) {
    if (LocalName(style.name()) != "xf") continue;
    const int number = style.attribute("numFmtId").as_int();
    const auto found = own.find(number);
    formats.push_back(found == own.end() ? FormatOfNumber(number) : found->second);
  }
  return formats;
}

}  // namespace qrvml
