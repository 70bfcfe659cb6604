#include "deploy/dialect.h"

namespace qrvml {
namespace {

/// The forms of one fragment; %1, %2 and %3 stand for its texts.
struct Forms {
  std::string_view qvb, c;

  std::string Of(Dialect dialect, std::string_view first, std::string_view second = {},
                 std::string_view third = {}) const {
    const std::string_view texts[] = {first, second, third};
    const std::string_view form = dialect == Dialect::qvb ? qvb : c;
    std::string line;
    for (std::size_t at = 0; at < form.size(); ++at) {
      if (form[at] == '%') {
        line += texts[form[++at] - '1'];
      } else {
        line += form[at];
      }
    }
    return line;
  }
};

constexpr Forms kParameter = {"%1 As %2", "%2 %1"};
constexpr Forms kLocal = {"Dim %1 As %2", "%2 %1"};
constexpr Forms kLoopHead = {"For %1=%2 To %3", "for(%1=%2;%1<%3;%1++) {"};
constexpr Forms kLoopEnd = {"Next %1", "}"};
constexpr Forms kCreation = {"Set %1 = new %2", "%1 = %2"};
constexpr Forms kRelease = {"Set %1 = Nothing", "%1 = 0"};

}  // namespace

std::string Indentation(Dialect, int levels) {
  return std::string(static_cast<std::size_t>(levels), '\t');
}

std::string ParameterDeclaration(Dialect dialect, std::string_view name, std::string_view type) {
  return kParameter.Of(dialect, name, type);
}

std::string LocalDeclaration(Dialect dialect, std::string_view name, std::string_view type) {
  return kLocal.Of(dialect, name, type);
}

std::string LoopHead(Dialect dialect, std::string_view variable, std::string_view from,
                     std::string_view to) {
  return kLoopHead.Of(dialect, variable, from, to);
}

std::string LoopEnd(Dialect dialect, std::string_view variable) {
  return kLoopEnd.Of(dialect, variable);
}

std::string ObjectCreation(Dialect dialect, std::string_view variable, std::string_view className) {
  return kCreation.Of(dialect, variable, className);
}

std::string ObjectRelease(Dialect dialect, std::string_view variable) {
  return kRelease.Of(dialect, variable);
}

}  // namespace qrvml
