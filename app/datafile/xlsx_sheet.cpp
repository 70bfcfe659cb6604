#include "datafile/xlsx_sheet.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>

#include "datafile/read_failure.h"
#include "datafile/text_fields.h"
#include "datafile/xlsx_xml.h"

namespace qrvml {

namespace {

constexpr std::uint32_t kMostColumns = 16384;
constexpr std::int64_t kMostRows = 1048576;
constexpr const char* kSaveAgain = "Save it again as an Excel workbook (.xlsx)";

// "_x000D_" stands for a character that XML cannot hold (ECMA-376 part 1, 22.4.2.4).
std::string Unescaped(std::string text) {
  constexpr std::size_t kLength = 7;
  for (std::size_t at = 0; (at = text.find("_x", at)) != std::string::npos; ++at) {
    if (at + kLength > text.size() || text[at + kLength - 1] != '_') continue;
    unsigned code = 0;
    const char* first = text.data() + at + 2;
    const auto read = std::from_chars(first, first + 4, code, 16);
    if (read.ec != std::errc() || read.ptr != first + 4 || code >= 0x80) continue;
    text.replace(at, kLength, 1, static_cast<char>(code));
  }
  return text;
}

// A string item: one <t>, or runs <r> with a <t> each; phonetic runs are no part of it.
std::string TextOfItem(pugi::xml_node item) {
  std::string text;
  for (const pugi::xml_node child : item.children()) {
    const std::string_view name = LocalName(child.name());
    if (name == "t") text += child.child_value();
    if (name == "r") text += ChildOf(child, "t").child_value();
  }
  return Unescaped(std::move(text));
}

/// "BC12" -> 54; nothing when the reference does not begin with letters.
std::optional<std::uint32_t> ColumnOf(std::string_view reference) {
  constexpr std::uint32_t kLetters = 26;
  std::uint32_t column = 0;
  std::size_t i = 0;
  for (; i < reference.size() && reference[i] >= 'A' && reference[i] <= 'Z'; ++i) {
    if (column > kMostColumns) return kMostColumns;  // outside all the same
    column = column * kLetters + static_cast<std::uint32_t>(reference[i] - 'A') + 1;
  }
  if (i == 0) return std::nullopt;
  return column - 1;
}

/// Takes a number of so many digits off the front of a text, after a separator unless that is 0.
bool TakeNumber(std::string_view& text, char separator, std::size_t digits, unsigned& number) {
  if (separator != 0) {
    if (!text.starts_with(separator)) return false;
    text.remove_prefix(1);
  }
  const std::string_view own = text.substr(0, digits);
  const auto read = std::from_chars(own.data(), own.data() + own.size(), number);
  if (own.size() < digits || read.ptr != own.data() + digits) return false;
  text.remove_prefix(digits);
  return true;
}

// "2020-01-31T12:30:05.25Z" as days since 1899-12-30; nothing when it is no date. The time, its
// seconds, their fraction and the Z may be left out.
std::optional<SheetCell> ReadIsoDate(std::string_view text) {
  using namespace std::chrono;
  unsigned years = 0, months = 0, days = 0, hours = 0, minutes = 0, seconds = 0;
  if (!TakeNumber(text, 0, 4, years) || !TakeNumber(text, '-', 2, months) ||
      !TakeNumber(text, '-', 2, days))
    return std::nullopt;
  const year_month_day date{year(static_cast<int>(years)), month{months}, day{days}};
  const bool hasTime = !text.empty();
  if (hasTime && (!TakeNumber(text, 'T', 2, hours) || !TakeNumber(text, ':', 2, minutes)))
    return std::nullopt;
  double fraction = 0;
  if (TakeNumber(text, ':', 2, seconds) && text.starts_with('.')) {
    const auto read =
        std::from_chars(text.data(), text.data() + text.size(), fraction, std::chars_format::fixed);
    if (read.ec != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
  }
  if (text == "Z") text = {};
  if (!date.ok() || hours > 23 || minutes > 59 || seconds > 59 || !text.empty())
    return std::nullopt;
  SheetCell cell;
  const sys_days zero{year{1899} / December / 30};
  cell.number = static_cast<double>((sys_days(date) - zero).count()) +
                (hours * 3600 + minutes * 60 + seconds + fraction) / 86400.0;
  cell.format = hasTime ? DisplayFormat::dateTime : DisplayFormat::date;
  return cell;
}

double DateFromSerial(double serial, DisplayFormat format, bool from1904) {
  constexpr double kDays1904 = 1462;
  if (format == DisplayFormat::number || format == DisplayFormat::time) return serial;
  if (from1904) return serial + kDays1904;
  // The workbook's calendar has a February 29 in 1900: earlier days count from the day after.
  return serial >= 1 && serial < 60 ? serial + 1 : serial;
}

bool CellHasValue(pugi::xml_node cell) {
  return *ChildOf(cell, "v").child_value() != 0 || ChildOf(cell, "is");
}

}  // namespace

std::uint32_t WorkbookParts::AddText(std::string_view text) {
  const TextSet::Added added = texts.Add(text);
  if (added.isNew) texts.Move(added.number, arena.Keep(text));
  return added.number + 1;
}

void ReadSharedTexts(XlsxPackage& package, const std::string& part, WorkbookParts& workbook) {
  package.ForEachElement(part, "si", [&](std::string_view element) {
    pugi::xml_document document;
    LoadXml(element, document);
    workbook.sharedTexts.push_back(workbook.AddText(TextOfItem(document.first_child())));
    return true;
  });
}

void Sheet::Read(XlsxPackage& package, const std::string& part, WorkbookParts& workbook) {
  package.ForEachElement(part, "row", [&](std::string_view element) {
    AddRow(element, workbook);
    return true;
  });
}

void Sheet::AddRow(std::string_view element, WorkbookParts& workbook) {
  pugi::xml_document document;
  LoadXml(element, document);
  const pugi::xml_node row = document.first_child();
  const std::int64_t next = rows_.empty() ? 1 : rows_.back().number + 1;
  const std::int64_t number = row.attribute("r").as_llong(next);
  if (number < next || number > kMostRows) {
    FailToRead("the Excel workbook's row " + std::to_string(number) + " stands out of order",
               kSaveAgain);
  }
  const std::size_t first = cells_.size();
  std::uint32_t column = 0;
  for (const pugi::xml_node node : row.children()) {
    if (LocalName(node.name()) != "c") continue;
    column = ColumnOf(node.attribute("r").value()).value_or(column);
    AddCell(node, column, workbook);
    ++column;
  }
  if (cells_.size() > first) {
    rows_.push_back({number, first, cells_.size()});
  }
}

void Sheet::AddCell(const pugi::xml_node& node, std::uint32_t column, WorkbookParts& workbook) {
  const bool hasFormula = static_cast<bool>(ChildOf(node, "f"));
  if (!CellHasValue(node) && !hasFormula) return;
  const std::string reference = node.attribute("r").value();
  const auto fail = [&](const std::string& what) {
    FailToRead("the Excel workbook's cell " + reference + " " + what, kSaveAgain);
  };
  if (column >= kMostColumns) fail("lies outside the sheet");
  if (columns_.size() <= column) columns_.resize(column + 1);
  const std::string_view type = node.attribute("t").value();
  const std::string value = ChildOf(node, "v").child_value();

  SheetCell cell;
  if (type == "e") {
    if (columns_[column].errors++ == 0) columns_[column].firstError = value;
    return;
  }
  if (type == "inlineStr") {
    cell.text = workbook.AddText(TextOfItem(ChildOf(node, "is")));
  } else if (value.empty()) {
    if (hasFormula && type != "str") ++columns_[column].unknown;
    return;
  } else if (type == "str") {
    cell.text = workbook.AddText(Unescaped(value));
  } else if (type == "s") {
    std::size_t index = 0;
    const char* end = value.data() + value.size();
    const auto read = std::from_chars(value.data(), end, index);
    if (read.ec != std::errc() || read.ptr != end || index >= workbook.sharedTexts.size()) {
      fail("names the text " + value + " of " + std::to_string(workbook.sharedTexts.size()));
    }
    cell.text = workbook.sharedTexts[index];
  } else if (type == "d") {
    if (const std::optional<SheetCell> date = ReadIsoDate(value)) {
      cell = *date;
    } else {
      cell.text = workbook.AddText(value);
    }
  } else {
    double serial = 0;
    if (ReadWholeNumber(value, '.', serial) != NumberForm::number) {
      fail("holds \"" + value + "\" where a number is due");
    }
    const std::size_t style = node.attribute("s").as_uint();
    if (type != "b" && style < workbook.formats.size()) cell.format = workbook.formats[style];
    cell.number = DateFromSerial(serial, cell.format, workbook.from1904);
  }
  if (cell.text != 0 && TrimBlanks(workbook.texts.Texts()[cell.text - 1]).empty()) return;
  cell.column = column;
  cells_.push_back(cell);
}

bool HasValues(XlsxPackage& package, const std::string& part) {
  bool found = false;
  package.ForEachElement(part, "c", [&](std::string_view element) {
    pugi::xml_document document;
    LoadXml(element, document);
    found = CellHasValue(document.first_child());
    return !found;
  });
  return found;
}

}  // namespace qrvml
