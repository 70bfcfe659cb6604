// Scanning the lines of generated texts for the values that they print.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qrvml::scan {

/// What ends scanning.
struct ScanFault {
  std::string what;
};

double Number(std::string_view text);
std::size_t Count(std::string_view text);

class Lines {
 public:
  explicit Lines(std::string_view text) : rest_(text) {}
  bool Next(std::string_view& line);
  /// Goes to the next line that begins with `begin`; gives what follows, without `end`.
  std::string_view After(std::string_view begin, std::string_view end);

 private:
  std::string_view rest_;
};

/// The values of a line of a C list, which stand between ", ".
std::vector<std::string_view> ListItems(std::string_view line);
/// The list of a C program whose head is "static NAME[]=".
std::vector<double> CList(Lines& lines, const std::string& name);
/// The first elements of a C list, in lists of so many; what is left over is no fault.
std::vector<std::vector<double>> Divided(const std::vector<double>& values,
                                         const std::vector<double>& counts, std::size_t lists);
/// "name(1, 2)=": the begin of a script's line.
std::string QvbPlace(const std::string& name, std::initializer_list<std::size_t> indices,
                     const char* separator = ", ");
/// The value of an attribute that `line` holds once outside of names: texts have no quote in them.
std::string_view Attribute(std::string_view line, const std::string& name);

}  // namespace qrvml::scan
