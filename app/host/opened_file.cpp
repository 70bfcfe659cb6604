#include "host/opened_file.h"

#include <sys/stat.h>

namespace qrvml {

std::optional<FileState> FileState::Of(const std::string& path) {
  struct stat found = {};
  if (stat(path.c_str(), &found) != 0) return std::nullopt;
  return FileState{found.st_dev, found.st_ino, static_cast<std::uint64_t>(found.st_size),
                   found.st_mtim.tv_sec, found.st_mtim.tv_nsec};
}

bool OpenedFile::Read(FileError& error) {
  // Looked at before it is read: what changes meanwhile is found by the next look.
  const std::optional<FileState> state = FileState::Of(options_.path);
  std::unique_ptr<HostDataFile> file;
  if (!OpenDataFile(options_, file, error)) return false;
  Take(std::move(file));
  state_ = state;
  return true;
}

bool OpenedFile::Change(const OpenOptions& options, FileError& error) {
  auto changed = std::make_unique<HostDataFile>(*files_.back());
  if (!PutSelectionAndWeight(options, *changed, error)) return false;
  options_.weight = options.weight;
  options_.select = options.select;
  Take(std::move(changed));
  return true;
}

void OpenedFile::Take(std::unique_ptr<HostDataFile> file) {
  files_.push_back(std::move(file));
  if (watched_ == nullptr) {
    watched_ = std::make_unique<WatchedDataFile>(*files_.back(), cancel_);
  } else {
    watched_->Watch(*files_.back());
  }
}

HostServices OpenedFile::Services(AnalysisHost& host) {
  const HostDataFile* opened = files_.back().get();
  return host.Services(
      *watched_,
      [opened](int variable, std::string_view label, double& code) {
        return opened->Table().FindCode(variable, label, code);
      },
      opened);
}

AutomationResult OpenedFile::Look(AnalysisHost& host, AnalysisSession& session) {
  const std::optional<FileState> now = FileState::Of(options_.path);
  if (now == state_) return {};
  if (!now) {
    if (!warned_) {
      host.messages.DspMessageBox(BoxType::information, 0,
                                  "warning: " + options_.path +
                                      ": the file has disappeared; the analysis goes on with the "
                                      "data in memory");
    }
    warned_ = true;
    return {};
  }
  const std::string changed = options_.path + " has changed since it was opened";
  FileError error;
  if (!Read(error)) {
    return {kAutomationFailure, changed +
                                    " and cannot be read again, the data in memory stay as "
                                    "they were. " +
                                    error.Text()};
  }
  if (beforeStartingOver) beforeStartingOver();
  std::string reason;
  if (!session.ReplaceFile(Services(host), reason))
    return {kAutomationFailure, changed + " and was read again. " + reason};
  return {kAutomationFailure, changed + ": it was read again, and the analysis starts over"};
}

}  // namespace qrvml
