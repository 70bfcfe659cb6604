// Line fragments that the generators of all methods share, in the two languages they write.
#pragma once

#include <string>
#include <string_view>

namespace qrvml {

enum class Dialect : int { qvb = 0, c = 1 };

/// One tab per level.
std::string Indentation(Dialect dialect, int levels);
/// "name As type"; "type name"
std::string ParameterDeclaration(Dialect dialect, std::string_view name, std::string_view type);
/// "Dim name As type"; "type name"
std::string LocalDeclaration(Dialect dialect, std::string_view name, std::string_view type);
/// "For v=from To to", the last turn with v = to; "for(v=from;v<to;v++) {", the last with to - 1
std::string LoopHead(Dialect dialect, std::string_view variable, std::string_view from,
                     std::string_view to);
/// "Next v"; "}"
std::string LoopEnd(Dialect dialect, std::string_view variable);
/// "Set v = new class"; "v = class"
std::string ObjectCreation(Dialect dialect, std::string_view variable, std::string_view className);
/// "Set v = Nothing"; "v = 0"
std::string ObjectRelease(Dialect dialect, std::string_view variable);

}  // namespace qrvml
