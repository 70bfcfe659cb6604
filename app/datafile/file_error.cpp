#include "datafile/file_error.h"

namespace qrvml {

std::string FileError::Text() const {
  std::string text = file;
  const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (line > 0) add("line " + std::to_string(line));
  if (column > 0) add("column " + std::to_string(column));
  if (!text.empty()) text += ": ";
  text += what + ".";
  if (!right.empty()) text += " " + right + ".";
  return text;
}

}  // namespace qrvml
