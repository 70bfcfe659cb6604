#include "datafile/xlsx_reader.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "datafile/host_data_file.h"
#include "datafile/read_failure.h"
#include "datafile/table_builder.h"
#include "datafile/xlsx_formats.h"
#include "datafile/xlsx_package.h"
#include "datafile/xlsx_sheet.h"
#include "datafile/xlsx_xml.h"

namespace qrvml {

namespace {

constexpr const char* kSaveAgain = "Save it again as an Excel workbook (.xlsx)";
// A sheet of this many cells, nearly all of them empty, is refused: it would fill the memory.
constexpr std::uint64_t kManyCells = std::uint64_t{1} << 27;
constexpr std::uint64_t kFewestValues = 1000;  // one in so many cells

/// The parts that a part refers to.
struct Relation {
  std::string type;  // the last word of its address
  std::string target;
};
using Relations = std::map<std::string, Relation>;  // by identifier

// The relations of a part: "xl/workbook.xml" keeps them in "xl/_rels/workbook.xml.rels".
Relations ReadRelations(XlsxPackage& package, const std::string& part) {
  const std::filesystem::path path(part);
  const std::string from = (path.parent_path() / "_rels" / path.filename()).string() + ".rels";
  Relations relations;
  if (!package.Has(from)) return relations;
  pugi::xml_document document;
  LoadXml(package.Read(from), document);
  for (const pugi::xml_node node : ChildOf(document, "Relationships").children()) {
    const std::string type = node.attribute("Type").value();
    const std::filesystem::path target = node.attribute("Target").value();
    const std::filesystem::path whole =
        target.is_absolute() ? target.relative_path() : path.parent_path() / target;
    relations[node.attribute("Id").value()] = {type.substr(type.rfind('/') + 1),
                                               whole.lexically_normal().string()};
  }
  return relations;
}

const Relation* FindType(const Relations& relations, std::string_view type) {
  for (const auto& [id, relation] : relations) {
    if (relation.type == type) return &relation;
  }
  return nullptr;
}

struct NamedSheet {
  std::string name, part;
};

class Workbook {
 public:
  Workbook(const std::string& path, const ReadOptions& options)
      : package_(path, options.watch), builder_(options.memory, 1, options.watch) {
    FindSheets();
  }
  void Read(DataTable& table);

 private:
  void FindSheets();
  void NoteOtherSheets(std::size_t read);
  void Fill(const Sheet& sheet);
  std::vector<std::size_t> AddColumns(const Sheet& sheet);
  void SetFormats(const Sheet& sheet, const std::vector<std::size_t>& targets);
  double CellFor(std::size_t target, const SheetCell& cell) {
    return cell.text == 0 ? TableBuilder::NumberCell(cell.number)
                          : builder_.TextCell(target, parts_.texts.Texts()[cell.text - 1]);
  }

  XlsxPackage package_;
  std::vector<NamedSheet> sheets_;
  WorkbookParts parts_;
  TableBuilder builder_;
};

void Workbook::FindSheets() {
  const Relations roots = ReadRelations(package_, "");
  const Relation* root = FindType(roots, "officeDocument");
  if (!root) {
    if (package_.Has("mimetype")) {
      FailToRead("this is an OpenDocument file, no Excel workbook",
                 "Save it as an Excel workbook (.xlsx) or as text (CSV)");
    }
    FailToRead("this is a ZIP archive, but no Excel workbook", "Unpack the archive first");
  }
  if (root->target.ends_with(".bin")) {
    FailToRead("this is a binary Excel workbook (.xlsb), which cannot be read", kSaveAgain);
  }
  pugi::xml_document document;
  LoadXml(package_.Read(root->target), document);
  const pugi::xml_node workbook = ChildOf(document, "workbook");
  if (!workbook) FailToRead("this is an Office document, but no Excel workbook", kSaveAgain);
  parts_.from1904 = ChildOf(workbook, "workbookPr").attribute("date1904").as_bool();

  const Relations relations = ReadRelations(package_, root->target);
  for (const pugi::xml_node sheet : ChildOf(workbook, "sheets").children()) {
    for (const pugi::xml_attribute attribute : sheet.attributes()) {
      if (LocalName(attribute.name()) != "id") continue;
      const auto relation = relations.find(attribute.value());
      // Sheets of charts and macros hold no cells.
      if (relation == relations.end() || relation->second.type != "worksheet") continue;
      sheets_.push_back({sheet.attribute("name").value(), relation->second.target});
    }
  }
  if (const Relation* texts = FindType(relations, "sharedStrings")) {
    if (package_.Has(texts->target)) ReadSharedTexts(package_, texts->target, parts_);
  }
  if (const Relation* styles = FindType(relations, "styles")) {
    if (package_.Has(styles->target))
      parts_.formats = ReadCellFormats(package_.Read(styles->target));
  }
}

void Workbook::NoteOtherSheets(std::size_t read) {
  std::string others;
  for (std::size_t i = read + 1; i < sheets_.size(); ++i) {
    if (!HasValues(package_, sheets_[i].part)) continue;
    others += (others.empty() ? "\"" : ", \"") + sheets_[i].name + "\"";
  }
  if (others.empty()) return;
  builder_.AddNote("The sheet \"" + sheets_[read].name + "\" is read; there are values in " +
                   others + ", too");
}

/// The variables: which column of the builder a column of the sheet is.
std::vector<std::size_t> Workbook::AddColumns(const Sheet& sheet) {
  const std::size_t width = sheet.Columns().size();
  std::vector<bool> used(width, false);
  std::vector<std::string> names(width);
  const SheetRow& header = sheet.Rows().front();
  for (std::size_t i = 0; i < sheet.Rows().back().end; ++i) {
    const SheetCell& cell = sheet.Cell(i);
    used[cell.column] = true;
    if (i >= header.end) continue;
    names[cell.column] = cell.text == 0 ? NumberAsText(cell.format, cell.number)
                                        : std::string(parts_.texts.Texts()[cell.text - 1]);
  }
  std::vector<std::size_t> targets(width, 0);
  for (std::size_t column = 0; column < width; ++column) {
    const SheetColumn& about = sheet.Columns()[column];
    if (!used[column] && about.errors + about.unknown == 0) continue;
    targets[column] = builder_.AddColumn(names[column]);
    const std::string& name = builder_.About(targets[column]).name;
    if (about.errors > 0) {
      builder_.AddNote(
          name + ": " + std::to_string(about.errors) +
          (about.errors == 1 ? " cell with the error " : " cells with errors such as ") +
          about.firstError + (about.errors == 1 ? " is missing" : " are missing"));
    }
    if (about.unknown > 0) {
      builder_.AddNote(name + ": " + std::to_string(about.unknown) +
                       (about.unknown == 1 ? " formula without a stored result is missing"
                                           : " formulas without a stored result are missing"));
    }
  }
  return targets;
}

void Workbook::SetFormats(const Sheet& sheet, const std::vector<std::size_t>& targets) {
  struct Shown {
    bool number = false, date = false, time = false;
  };
  std::vector<Shown> shown(builder_.NumberOfColumns());
  for (std::size_t i = sheet.Rows().front().end; i < sheet.Rows().back().end; ++i) {
    const SheetCell& cell = sheet.Cell(i);
    if (cell.text != 0) continue;
    Shown& column = shown[targets[cell.column]];
    column.number |= cell.format == DisplayFormat::number;
    column.date |= cell.format == DisplayFormat::date || cell.format == DisplayFormat::dateTime;
    column.time |= cell.format == DisplayFormat::time || cell.format == DisplayFormat::dateTime;
  }
  for (std::size_t i = 0; i < shown.size(); ++i) {
    const auto [number, date, time] = shown[i];
    if (!date && !time) continue;
    Variable& about = builder_.About(i);
    if (number) {
      builder_.AddNote(about.name + " holds dates and plain numbers; all are shown as numbers");
    } else {
      about.format = date && time ? DisplayFormat::dateTime
                     : date       ? DisplayFormat::date
                                  : DisplayFormat::time;
    }
  }
}

void Workbook::Fill(const Sheet& sheet) {
  const std::vector<SheetRow>& rows = sheet.Rows();
  const std::vector<std::size_t> targets = AddColumns(sheet);
  const std::uint64_t size = std::uint64_t{rows.size()} * builder_.NumberOfColumns();
  if (size > kManyCells && rows.back().end < size / kFewestValues) {
    FailToRead("the sheet has " + std::to_string(rows.back().end) + " values in " +
                   std::to_string(rows.size()) + " rows and " +
                   std::to_string(builder_.NumberOfColumns()) + " columns",
               "Delete what stands outside the data");
  }
  SetFormats(sheet, targets);
  const bool keepsEmptyRows = builder_.NumberOfColumns() == 1;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    std::int64_t empty = keepsEmptyRows ? rows[i].number - rows[i - 1].number - 1 : 0;
    while (empty > 0) {
      empty -= static_cast<std::int64_t>(builder_.AddCases(static_cast<std::size_t>(empty)));
    }
    builder_.AddCases(1);
    for (std::size_t at = rows[i].first; at < rows[i].end; ++at) {
      const std::size_t target = targets[sheet.Cell(at).column];
      builder_.NewCells(target)[0] = CellFor(target, sheet.Cell(at));
    }
  }
}

void Workbook::Read(DataTable& table) {
  for (std::size_t i = 0; i < sheets_.size(); ++i) {
    Sheet sheet;
    sheet.Read(package_, sheets_[i].part, parts_);
    if (sheet.Rows().empty()) continue;
    Fill(sheet);
    NoteOtherSheets(i);
    builder_.Finish(table);
    return;
  }
  FailToRead("the Excel workbook holds no values", "The first row with values holds the names");
}

}  // namespace

bool ReadXlsxFile(const std::string& path, const ReadOptions& options, DataTable& table,
                  FileError& error) {
  return ReadOrExplain(path, error, [&] { Workbook(path, options).Read(table); });
}

}  // namespace qrvml
