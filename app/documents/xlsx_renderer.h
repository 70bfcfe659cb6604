// A run's tables as one workbook of Office Open XML (.xlsx).
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "documents/workbook.h"

namespace qrvml {

/// The largest sheet. The defaults are those of the file format.
struct SheetLimits {
  std::size_t rows = 1'048'576;
  std::size_t columns = 16'384;
};

/// Writes the results text and one sheet per spreadsheet, in order; graphs and text documents have
/// files of their own. False: `error` says why, and the file is not to be used.
/// - A sheet is named by the document's number and title ("003 Predictions"), legal, unique and of
///   at most 31 characters. Title, header lines and headings stand above the rows; headings and row
///   names stay in view.
/// - A number stays a number (16 significant digits, the format of its column); an empty cell is
///   empty. A cell with a text or label holds that text, never a formula, in a colour of its own; a
///   marked cell is filled. An infinity is the text inf or -inf.
/// - A table longer or wider than a sheet goes on in further sheets, each of which says which part
///   of the table it holds.
/// The same documents give the same bytes. The memory used does not grow with the rows; the sheets
/// pass through unnamed temporary files beside the file, which need room for all sheets and once
/// more for the largest. Without that room nothing is written.
bool WriteXlsx(const Workbook& workbook, const std::filesystem::path& file, std::string& error,
               const SheetLimits& limits = {});

/// A sheet's name: `number` with three digits, the title without the characters that a sheet's name
/// must not have, and " (part)" for the second part and later.
std::string SheetName(std::size_t number, std::string_view title, std::size_t part);

}  // namespace qrvml
