// The data file of one open analysis: the state of a file on the shelf that the analysis works on.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "host/automation_host.h"
#include "host/watched_data_file.h"
#include "server/file_shelf.h"

namespace qrvml {

/// Used by the analysis's thread, FileId by every thread.
class AnalysisData {
 public:
  /// `cancel` ends a pass over the cases; `recorder` learns what changes.
  AnalysisData(FileShelf& shelf, AutomationHost& recorder, const std::atomic<bool>& cancel,
               const FileShelf::Ref& file);

  const ShelfFile& file() const { return *file_; }
  int FileId() const { return fileId_; }
  /// What the module reads.
  WatchedDataFile& watched() { return watched_; }
  /// What the host reads; a document keeps it, for the names of its cases.
  const std::shared_ptr<HostDataFile>& current() const { return data_; }
  /// Called when `current` is another object than before.
  std::function<void()> onTake;

  /// Another file, or a newer state of this one, takes the place.
  void Take(const FileShelf::Ref& file);
  /// Changes the file's settings on the shelf and takes the state that it has then.
  bool Change(const FileSettings& settings, std::string& error);
  /// The same for the weight and the condition that are other ones than before, as a macro puts
  /// them.
  bool Change(const OpenOptions& before, const OpenOptions& now, std::string& error);
  /// The file as it is on the shelf and on the disk; it is read again if it has changed. Null: it
  /// is no longer there, or `error` says why it cannot be read.
  FileShelf::Ref Newest(std::string& error);

 private:
  FileShelf& shelf_;
  AutomationHost& recorder_;
  FileShelf::Ref file_;
  std::atomic<int> fileId_;
  std::shared_ptr<HostDataFile> data_;
  WatchedDataFile watched_;
};

}  // namespace qrvml
