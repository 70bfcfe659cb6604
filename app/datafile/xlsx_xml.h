// XML whose names may have prefixes, as a workbook's parts have with some writers.
#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "datafile/read_failure.h"

namespace qrvml {

inline std::string_view LocalName(std::string_view name) {
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

/// The first child with this local name; a null node when there is none.
inline pugi::xml_node ChildOf(const pugi::xml_node& node, std::string_view name) {
  for (const pugi::xml_node child : node.children()) {
    if (LocalName(child.name()) == name) return child;
  }
  return {};
}

/// Throws ReadFailure. Texts of blanks alone are kept.
inline void LoadXml(std::string_view text, pugi::xml_document& document) {
  const pugi::xml_parse_result result =
      document.load_buffer(text.data(), text.size(),
                           pugi::parse_default | pugi::parse_ws_pcdata_single, pugi::encoding_utf8);
  if (result) return;
  FailToRead("the Excel workbook's XML is damaged: " + std::string(result.description()),
             "Save it again as an Excel workbook (.xlsx)");
}

}  // namespace qrvml
