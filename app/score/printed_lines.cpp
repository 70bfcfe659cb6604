#include "score/printed_lines.h"

#include <algorithm>
#include <charconv>

namespace qrvml::scan {
namespace {

template <class Value>
Value Read(std::string_view text, const char* what) {
  Value value{};
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (code != std::errc() || end != text.data() + text.size())
    throw ScanFault{'"' + std::string(text.substr(0, 40)) + "\" is no " + what};
  return value;
}

}  // namespace

double Number(std::string_view text) { return Read<double>(text, "number"); }
std::size_t Count(std::string_view text) { return Read<std::size_t>(text, "count"); }

bool Lines::Next(std::string_view& line) {
  if (rest_.empty()) return false;
  const std::size_t end = std::min(rest_.find('\n'), rest_.size());
  line = rest_.substr(0, end);
  rest_.remove_prefix(std::min(end + 1, rest_.size()));
  return true;
}

std::string_view Lines::After(std::string_view begin, std::string_view end) {
  for (std::string_view line; Next(line);) {
    if (!line.starts_with(begin)) continue;
    if (!line.ends_with(end)) break;
    return line.substr(begin.size(), line.size() - begin.size() - end.size());
  }
  throw ScanFault{"it has no line \"" + std::string(begin) + "...\" where it belongs"};
}

std::vector<std::string_view> ListItems(std::string_view line) {
  while (line.ends_with('\t') || line.ends_with(' ') || line.ends_with(',')) line.remove_suffix(1);
  std::vector<std::string_view> items;
  while (!line.empty()) {
    const std::size_t end = std::min(line.find(", "), line.size());
    items.push_back(line.substr(0, end));
    line.remove_prefix(std::min(end + 2, line.size()));
  }
  return items;
}

std::vector<double> CList(Lines& lines, const std::string& name) {
  lines.After("static " + name + "[]=", "");
  std::string_view line;
  std::vector<double> values;
  if (lines.Next(line) && line == "{" && lines.Next(line))
    for (const std::string_view item : ListItems(line)) values.push_back(Number(item));
  return values;
}

std::vector<std::vector<double>> Divided(const std::vector<double>& values,
                                         const std::vector<double>& counts, std::size_t lists) {
  std::vector<std::vector<double>> divided;
  auto next = values.begin();
  for (std::size_t i = 0; i < lists; ++i) {
    if (i >= counts.size() || !(counts[i] >= 0 && counts[i] <= double(values.end() - next)))
      throw ScanFault{"its lists of categories are too short"};
    divided.emplace_back(next, next + static_cast<std::ptrdiff_t>(counts[i]));
    next += static_cast<std::ptrdiff_t>(counts[i]);
  }
  return divided;
}

std::string QvbPlace(const std::string& name, std::initializer_list<std::size_t> indices,
                     const char* separator) {
  std::string place = name + '(';
  for (const std::size_t& index : indices)
    place += (&index == indices.begin() ? "" : separator) + std::to_string(index);
  return place + ")=";
}

std::string_view Attribute(std::string_view line, const std::string& name) {
  const std::string begin = ' ' + name + "=\"";
  const std::size_t place = line.find(begin);
  if (place == line.npos) throw ScanFault{"a line has no " + name};
  line.remove_prefix(place + begin.size());
  return line.substr(0, line.find('"'));
}

}  // namespace qrvml::scan
