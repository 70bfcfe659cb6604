#include "server/page_documents.h"

#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>

#include "documents/document_files.h"
#include "documents/json_renderer.h"
#include "documents/xlsx_renderer.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kGraphTypes[] = {"histogram", "scatter", "line", "surface"};

/// A member of DocumentInfo for each kind of document.
struct InfoOf {
  Json& info;
  void operator()(const ResultsText& results) const {
    info["kind"] = "results";
    info["rows"] = results.lines.size();
  }
  void operator()(const Spreadsheet& sheet) const {
    info["kind"] = "spreadsheet";
    info["rows"] = sheet.Rows();
    info["columns"] = sheet.columns.size();
  }
  void operator()(const Graph& graph) const {
    info["kind"] = "graph";
    info["type"] = kGraphTypes[static_cast<std::size_t>(graph.type)];
  }
  void operator()(const TextDocument& text) const {
    info["kind"] = "text";
    info["mode"] = text.mode;
  }
};

/// Names cases by a file that other threads read, too.
CaseNamer NamerOf(std::shared_ptr<const HostDataFile> file) {
  return [file = std::move(file)](int caseNumber) -> std::string {
    const int variable = file->CaseNamesVariable();
    if (variable == 0) return {};
    return ValueAsText(file->Table(), variable, file->Table().Value(caseNumber, variable));
  };
}

/// Rows in the order that a window asks for: by what their cells show, empty ones last.
std::vector<std::size_t> OrderOf(const Spreadsheet& sheet, const SheetWindow& window,
                                 const CaseNamer& caseName) {
  std::vector<std::size_t> order(sheet.Rows());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (window.sortedBy < 0 || window.sortedBy > static_cast<int>(sheet.columns.size())) return order;
  struct Key {
    std::string text;
    double value = 0;
    bool empty = false;
  };
  std::vector<Key> keys(order.size());
  for (std::size_t row = 0; row < order.size(); ++row) {
    if (window.sortedBy == 0) {
      keys[row].text = RowName(sheet, row, caseName);
    } else {
      const CellView cell =
          CellAt(sheet.columns[static_cast<std::size_t>(window.sortedBy) - 1], row);
      keys[row] = {std::string(cell.text), cell.value, false};
    }
    keys[row].empty = keys[row].text.empty() && std::isnan(keys[row].value);
  }
  std::ranges::stable_sort(order, [&](std::size_t a, std::size_t b) {
    const Key &left = keys[a], &right = keys[b];
    if (left.empty || right.empty) return !left.empty && right.empty;
    const Key& low = window.descending ? right : left;
    const Key& high = window.descending ? left : right;
    if (low.text.empty() != high.text.empty()) return low.text.empty();
    return low.text.empty() ? low.value < high.value : low.text < high.text;
  });
  return order;
}

/// The rows of a spreadsheet that a window shows.
Spreadsheet Cut(const Spreadsheet& sheet, const SheetWindow& window, const CaseNamer& caseName) {
  const std::vector<std::size_t> order = OrderOf(sheet, window, caseName);
  const std::size_t first = std::min(window.first, order.size());
  const std::size_t count = std::min(window.count, order.size() - first);
  const std::span rows(order.data() + first, count);
  Spreadsheet cut;
  cut.title = sheet.title;
  cut.header = sheet.header;
  cut.rowTitle = sheet.rowTitle;
  cut.rowTitleSecond = sheet.rowTitleSecond;
  for (const std::size_t row : rows) cut.rowNames.push_back(RowName(sheet, row, caseName));
  for (const SpreadsheetColumn& column : sheet.columns) {
    SpreadsheetColumn& part = cut.columns.emplace_back();
    part.first = column.first;
    part.second = column.second;
    part.format = column.format;
    part.labels = column.labels;
    for (const std::size_t row : rows) {
      part.values.push_back(column.values[row]);
      if (!column.texts.empty()) part.texts.push_back(column.texts[row]);
    }
  }
  return cut;
}

/// A folder that is gone with the object.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (fs::temp_directory_path() / "qrvml-export-XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
  }
  const fs::path& Path() const { return path_; }

 private:
  fs::path path_;
};

}  // namespace

void PageDocuments::Changed(const Document& document, std::shared_ptr<const HostDataFile> file) {
  Entry entry;
  entry.file = std::move(file);
  const std::lock_guard lock(mutex_);
  const bool isResults = std::holds_alternative<ResultsText>(document);
  if (isResults) {
    // The workbook writes new lines into the same document.
    entry.document = std::make_shared<const Document>(document);
    const auto before = std::ranges::find(entries_, 0, &Entry::number);
    if (before != entries_.end()) {
      entry.revision = before->revision + 1;
      *before = entry;
    } else {
      entries_.insert(entries_.begin(), entry);
    }
  } else {
    entry.number = ++last_;
    entry.document = std::shared_ptr<const Document>(std::shared_ptr<void>(), &document);
    entries_.push_back(entry);
  }
  qrvml::Json info = {{"document", entry.number}, {"title", DocumentTitle(document)}};
  std::visit(InfoOf{info}, document);
  info["revision"] = entry.revision;
  publisher_.Tell("document", {{"document", std::move(info)}});
}

bool PageDocuments::Find(int number, Entry& entry) const {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(entries_, number, &Entry::number);
  if (found == entries_.end()) return false;
  entry = *found;
  return true;
}

bool PageDocuments::Json(int number, const SheetWindow& window, std::string& text) const {
  Entry entry;
  if (!Find(number, entry)) return false;
  const CaseNamer caseName = NamerOf(entry.file);
  std::ostringstream out;
  const auto* sheet = std::get_if<Spreadsheet>(entry.document.get());
  if (sheet == nullptr) {
    WriteDocumentJson(out, *entry.document, caseName);
    text = std::move(out).str();
    return true;
  }
  WriteDocumentJson(out, Cut(*sheet, window, caseName), caseName);
  // The number of all rows goes in front of the object's own members.
  text = "{\"rowCount\":" + std::to_string(sheet->Rows()) +
         ",\"firstRow\":" + std::to_string(window.first) + ',' + std::move(out).str().substr(1);
  return true;
}

void PageDocuments::Collect(Workbook& workbook, const Entry& wanted) const {
  const std::lock_guard lock(mutex_);
  for (const Entry& entry : entries_) {
    if (wanted.number != 0 && entry.number != wanted.number) continue;
    if (auto* results = std::get_if<ResultsText>(entry.document.get())) {
      workbook.PutResults(results->lines);
    } else {
      workbook.Add(Document(*entry.document));
    }
  }
}

bool PageDocuments::Export(int number, const std::string& format, std::string& content,
                           std::string& fileName, std::string& error) const {
  Entry entry;
  std::vector<const DocumentFormat*> formats;
  if (!Find(number, entry)) {
    error = "there is no such document";
    return false;
  }
  if (!ReadFormats(format, formats, error)) return false;
  if (formats.size() != 1 || !formats[0]->holds(*entry.document)) {
    error = "the document cannot be saved as " + format;
    return false;
  }
  const ScratchFolder folder;
  if (folder.Path().empty()) {
    error = "there is no room for a temporary file";
    return false;
  }
  const fs::path file = folder.Path() / "document";
  if (formats[0]->write != nullptr) {
    if (!formats[0]->write(*entry.document, NamerOf(entry.file), file, error)) return false;
  } else {
    Workbook workbook;
    workbook.caseName = NamerOf(entry.file);
    Collect(workbook, entry);
    if (!WriteXlsx(workbook, file, error)) return false;
  }
  std::ifstream stream(file, std::ios::binary);
  content.assign(std::istreambuf_iterator<char>(stream), {});
  fileName = DocumentFileName(static_cast<std::size_t>(number), *entry.document, *formats[0]);
  return true;
}

}  // namespace qrvml
