// Graphs and text documents as members of a JSON object.
#pragma once

#include "documents/cells.h"
#include "documents/json_writer.h"
#include "host/documents.h"

namespace qrvml {

/// kind, type, title, axes and series; for a histogram also edges and counts, with edgeLabels where
/// its edges have labels; fit where a line is to be drawn; labels of a series where its points have
/// cases. A number that is not finite is null.
void WriteGraphMembers(JsonWriter& json, const Graph& graph, const CaseNamer& caseName);

/// kind, title, mode and text.
void WriteTextMembers(JsonWriter& json, const TextDocument& document);

}  // namespace qrvml
