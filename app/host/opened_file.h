// The data file of a session as it was opened, and what becomes of it meanwhile.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "datafile/host_data_file.h"
#include "datafile/open_options.h"
#include "host/analysis_host.h"
#include "host/analysis_session.h"
#include "host/watched_data_file.h"

namespace qrvml {

/// What tells one state of a file from another.
struct FileState {
  std::uint64_t device = 0, inode = 0, size = 0;
  std::int64_t seconds = 0, nanoseconds = 0;  // of the last change of its content

  bool operator==(const FileState&) const = default;
  /// Nothing when the file cannot be found.
  static std::optional<FileState> Of(const std::string& path);
};

class OpenedFile {
 public:
  OpenedFile(OpenOptions options, const std::atomic<bool>& cancel)
      : options_(std::move(options)), cancel_(cancel) {}

  /// Reads the file with its options. False: `error` says why, and what was read before stays open.
  /// Files of before are kept: documents that were made of them name their cases by them.
  bool Read(FileError& error);
  /// Puts the weight and the condition of `options` into force in the open file. False: `error`
  /// says why, and nothing changed.
  bool Change(const OpenOptions& options, FileError& error);
  HostDataFile& file() { return *files_.back(); }
  /// The file as the module gets it; the same object for all that is read.
  WatchedDataFile& watched() { return *watched_; }
  /// Services with the file that is open now.
  HostServices Services(AnalysisHost& host);

  /// To be called before the analysis acts on the data. A success: the data in memory are those of
  /// the file, or the file has disappeared, of which the first call that finds it so warns by a
  /// message. A failure says that the file has changed:
  /// - it was read again, and the session stands at its first dialog without an engine; or
  /// - it cannot be read, and nothing was changed.
  AutomationResult Look(AnalysisHost& host, AnalysisSession& session);
  /// Called when the changed file was read, before the analysis starts over.
  std::function<void()> beforeStartingOver;

 private:
  OpenOptions options_;
  void Take(std::unique_ptr<HostDataFile> file);

  const std::atomic<bool>& cancel_;
  std::optional<FileState> state_;  // of what was read last, from before it was read
  std::vector<std::unique_ptr<HostDataFile>> files_;
  std::unique_ptr<WatchedDataFile> watched_;
  bool warned_ = false;
};

}  // namespace qrvml
