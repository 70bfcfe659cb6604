// The data files that the workbench has open, each once however many analyses use it.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "datafile/host_data_file.h"
#include "datafile/open_options.h"
#include "datafile/read_watch.h"
#include "host/opened_file.h"
#include "server/published_state.h"

namespace qrvml {

/// A file in one state; a change makes another object. Its data are copied by whoever reads cases:
/// copies share the cells.
struct ShelfFile {
  int id = 0;
  std::string name;
  int folder = -1;   // of the named folders; -1: uploaded
  std::string path;  // in that folder
  OpenOptions options;
  std::shared_ptr<const HostDataFile> data;
  std::optional<FileState> state;  // of the file on the disk when it was read
  std::uint64_t revision = 1;      // grows with every change
  std::uint64_t readings = 1;      // how often it was read
};

/// What may be changed of an open file; absent: stays.
struct FileSettings {
  std::optional<std::string> select;
  std::optional<int> weight, caseNames;  // variables; 0: none
};

/// What a condition and a weight would do.
struct FileCheck {
  int cases = 0, selected = 0;
  double weightSum = 0;
};

/// Used by several threads.
class FileShelf {
 public:
  using Ref = std::shared_ptr<const ShelfFile>;
  explicit FileShelf(PublishedState& state) : state_(state) {}

  /// Reads a file; meanwhile pages see how far it has come. Null: `error` says why it cannot be.
  Ref Open(ShelfFile file, std::string& error);
  /// Ends a reading, which then fails with kCancelled. False: there is none of that number.
  bool CancelReading(int reading);
  static constexpr std::string_view kCancelled = "cancelled";
  /// Null: there is none of that number.
  Ref Find(int id) const;
  bool Change(int id, const FileSettings& settings, std::string& error);
  bool Check(int id, const FileSettings& settings, FileCheck& check, std::string& error) const;
  /// Reads the file again if it has changed on the disk. False: it has, and cannot be read; the
  /// data stay as they were. A file that has disappeared has not changed. Shown like Open.
  bool Refresh(int id, std::string& error);
  /// Takes it off the shelf; who still has it keeps it.
  void Close(int id);

 private:
  class ShownReading;
  /// Reads a file when its turn comes and `isWanted` then, and lets `keep` have it before the next
  /// is read; meanwhile pages see how far it has come. False: `error` says why not, kCancelled
  /// while it waited or read.
  bool ReadShown(ShelfFile& file, const std::function<bool()>& isWanted,
                 const std::function<bool()>& keep, std::string& error);
  /// Puts what was read again in the place of the file, with the settings that it has by now.
  bool Replace(ShelfFile&& fresh, std::string& error);
  void Put(ShelfFile&& file);

  PublishedState& state_;
  mutable std::mutex mutex_;
  std::map<int, Ref> files_;
  int last_ = 0, lastReading_ = 0;
  std::map<int, ReadWatch*> readings_;
  std::timed_mutex reading_;  // one file is read at a time: reading uses all cores
  std::mutex changing_;       // of files that are here, which takes no time; after reading_
};

/// Without its data; see docs/workbench-protocol.md.
Json FileJson(const ShelfFile& file);

}  // namespace qrvml
