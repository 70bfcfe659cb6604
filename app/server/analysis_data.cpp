#include "server/analysis_data.h"

#include <utility>

#include "datafile/whole_file.h"

namespace qrvml {

AnalysisData::AnalysisData(FileShelf& shelf, AutomationHost& recorder,
                           const std::atomic<bool>& cancel, const FileShelf::Ref& file)
    : shelf_(shelf),
      recorder_(recorder),
      file_(file),
      fileId_(file->id),
      data_(std::make_shared<HostDataFile>(*file->data)),
      watched_(*data_, cancel) {}

void AnalysisData::Take(const FileShelf::Ref& file) {
  recorder_.RecordData(file_->options, file->options);
  file_ = file;
  fileId_ = file->id;
  const auto before = std::exchange(data_, std::make_shared<HostDataFile>(*file->data));
  watched_.Watch(*data_);
  if (onTake) onTake();
}

bool AnalysisData::Change(const FileSettings& settings, std::string& error) {
  if (!shelf_.Change(file_->id, settings, error)) return false;
  Take(shelf_.Find(file_->id));
  return true;
}

bool AnalysisData::Change(const OpenOptions& before, const OpenOptions& now, std::string& error) {
  OpenOptions wanted = file_->options;
  if (now.weight != before.weight) wanted.weight = now.weight;
  if (now.select != before.select) wanted.select = now.select;
  HostDataFile changed(*current());
  FileError failure;
  if (!PutSelectionAndWeight(wanted, changed, failure)) {
    error = failure.Text();
    return false;
  }
  return Change({changed.Selection(), changed.WeightVariable(), {}}, error);
}

FileShelf::Ref AnalysisData::Newest(std::string& error) {
  return shelf_.Refresh(file_->id, error) ? shelf_.Find(file_->id) : nullptr;
}

}  // namespace qrvml
