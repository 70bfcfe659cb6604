#include "server/file_shelf.h"

#include <new>
#include <utility>

namespace qrvml {
namespace {

/// Changes a file's data; `error` says what was refused.
bool Apply(const FileSettings& settings, HostDataFile& data, std::string& error) {
  FileError failure;
  const auto isVariable = [&](int variable) {
    if (variable >= 0 && variable <= data.NumberOfVariables()) return true;
    failure.what = "there is no variable number " + std::to_string(variable);
    return false;
  };
  const bool done = (!settings.weight ||
                     (isVariable(*settings.weight) && data.SetWeight(*settings.weight, failure))) &&
                    (!settings.caseNames || isVariable(*settings.caseNames)) &&
                    (!settings.select || data.SetSelection(*settings.select, failure));
  if (!done) error = failure.Text();
  if (done && settings.caseNames) data.SetCaseNames(*settings.caseNames);
  return done;
}

bool Read(ShelfFile& file, std::string& error) {
  // Looked at before it is read: what changes meanwhile is found by the next look.
  file.state = FileState::Of(file.options.path);
  std::unique_ptr<HostDataFile> data;
  FileError failure;
  try {
    if (OpenDataFile(file.options, data, failure)) {
      file.data = std::move(data);
      return true;
    }
    error = failure.Text();
  } catch (const std::bad_alloc&) {
    error = file.name + ": there is not enough memory for the data";
  }
  return false;
}

/// A number of a variable as an option takes it.
std::string OptionOf(int variable) { return variable == 0 ? "" : std::to_string(variable); }

}  // namespace

FileShelf::Ref FileShelf::Open(ShelfFile file, std::string& error) {
  {
    const std::lock_guard reading(reading_);
    if (!Read(file, error)) return nullptr;
  }
  {
    const std::lock_guard lock(mutex_);
    file.id = ++last_;
  }
  const int id = file.id;
  Put(std::move(file));
  return Find(id);
}

FileShelf::Ref FileShelf::Find(int id) const {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(id);
  return found == files_.end() ? nullptr : found->second;
}

void FileShelf::Put(ShelfFile&& file) {
  auto kept = std::make_shared<const ShelfFile>(std::move(file));
  const std::lock_guard lock(mutex_);
  files_[kept->id] = kept;
  state_.Publish("file", FileJson(*kept));
}

bool FileShelf::Change(int id, const FileSettings& settings, std::string& error) {
  const std::lock_guard reading(reading_);
  const Ref file = Find(id);
  if (file == nullptr) {
    error = "the file is closed";
    return false;
  }
  auto data = std::make_shared<HostDataFile>(*file->data);
  if (!Apply(settings, *data, error)) return false;
  ShelfFile changed = *file;
  changed.options.select = data->Selection();
  changed.options.weight = OptionOf(data->WeightVariable());
  changed.options.caseNames = OptionOf(data->CaseNamesVariable());
  changed.data = std::move(data);
  ++changed.revision;
  Put(std::move(changed));
  return true;
}

bool FileShelf::Check(int id, const FileSettings& settings, FileCheck& check,
                      std::string& error) const {
  const Ref file = Find(id);
  if (file == nullptr) {
    error = "the file is closed";
    return false;
  }
  HostDataFile data(*file->data);
  if (!Apply(settings, data, error)) return false;
  check = {data.NumberOfCases(), data.NumberOfSelectedCases(), 0};
  check.weightSum = check.selected;
  if (data.WeightVariable() == 0) return true;
  check.weightSum = 0;
  const DataTable& table = std::as_const(data).Table();
  const double missing = table.At(data.WeightVariable()).missingCode;
  for (std::size_t chunk = 0; chunk < table.NumberOfChunks(); ++chunk) {
    int caseNumber = table.FirstCase(chunk);
    for (const double weight : table.Column(chunk, data.WeightVariable())) {
      if (data.IsSelected(caseNumber++) && weight != missing) check.weightSum += weight;
    }
  }
  return true;
}

bool FileShelf::Refresh(int id, std::string& error) {
  const Ref file = Find(id);
  if (file == nullptr) return true;
  const auto now = FileState::Of(file->options.path);
  if (!now || now == file->state) return true;
  const std::lock_guard reading(reading_);
  ShelfFile changed = *Find(id);
  if (changed.state == now) return true;  // another thread was here first
  if (!Read(changed, error)) {
    error = changed.name +
            " has changed since it was opened and cannot be read again, the data in "
            "memory stay as they were. " +
            error;
    return false;
  }
  ++changed.revision;
  ++changed.readings;
  Put(std::move(changed));
  return true;
}

void FileShelf::Close(int id) {
  const std::lock_guard lock(mutex_);
  if (files_.erase(id) > 0) state_.Publish("fileClosed", {{"file", id}});
}

Json FileJson(const ShelfFile& file) {
  const HostDataFile& data = *file.data;
  return {{"file", file.id},
          {"name", file.name},
          {"folder", file.folder},
          {"path", file.path},
          {"cases", data.NumberOfCases()},
          {"variables", data.NumberOfVariables()},
          {"select", data.Selection()},
          {"selected", data.NumberOfSelectedCases()},
          {"weight", data.WeightVariable()},
          {"caseNames", data.CaseNamesVariable()},
          {"notes", data.Table().Notes()},
          {"revision", file.revision}};
}

}  // namespace qrvml
