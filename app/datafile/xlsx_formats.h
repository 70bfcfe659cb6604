// Which cells of a workbook hold dates: their numbers say nothing, only their number formats do.
#pragma once

#include <string_view>
#include <vector>

#include "datafile/data_table.h"

namespace qrvml {

/// What a number format such as "dd/mm/yyyy hh:mm" shows. Quoted texts, escaped characters, colours
/// and conditions in brackets show nothing; an m beside hours or seconds is minutes.
DisplayFormat FormatOfCode(std::string_view code);

/// The format of each cell style, by its index, from the text of the part styles.xml. Throws
/// ReadFailure.
std::vector<DisplayFormat> ReadCellFormats(std::string_view styles);

}  // namespace qrvml
