// The documents of an analysis, as pages read them while it goes on.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "datafile/host_data_file.h"
#include "documents/workbook.h"
#include "server/analysis_publisher.h"

namespace qrvml {

/// What a page wants to see of a spreadsheet.
struct SheetWindow {
  std::size_t first = 0, count = 1000;  // rows, from 0
  int sortedBy = -1;                    // column from 1, 0: row names; -1: as they are
  bool descending = false;
};

/// The analysis's thread adds, every thread reads. A document that was added never changes; only
/// the results text is replaced.
class PageDocuments {
 public:
  explicit PageDocuments(AnalysisPublisher& publisher) : publisher_(publisher) {}

  /// A document of the workbook, which keeps it as long as this object is used. `file` names the
  /// cases of its rows.
  void Changed(const Document& document, std::shared_ptr<const HostDataFile> file);

  /// The JSON of a document; of a spreadsheet a window of rows, with the number of all. False:
  /// there is no such document.
  bool Json(int number, const SheetWindow& window, std::string& text) const;
  /// A document as a file of a format; false: `error` says why not.
  bool Export(int number, const std::string& format, std::string& content, std::string& fileName,
              std::string& error) const;

 private:
  struct Entry {
    int number = 0;
    int revision = 1;
    std::shared_ptr<const Document> document;
    std::shared_ptr<const HostDataFile> file;
  };
  bool Find(int number, Entry& entry) const;
  /// The documents in order, as a workbook of their own.
  void Collect(Workbook& workbook, const Entry& wanted) const;

  AnalysisPublisher& publisher_;
  mutable std::mutex mutex_;
  std::vector<Entry> entries_;
  int last_ = 0;
};

}  // namespace qrvml
