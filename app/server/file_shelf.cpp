#include "server/file_shelf.h"

#include <chrono>
#include <condition_variable>
#include <new>
#include <thread>
#include <utility>

namespace qrvml {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);  // between two looks of pages

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

/// A reading on the list of those that pages see, from its first tenth of a second on.
class FileShelf::ShownReading {
 public:
  ShownReading(FileShelf& shelf, std::string name) : shelf_(shelf), name_(std::move(name)) {
    const std::lock_guard lock(shelf_.mutex_);
    id_ = ++shelf_.lastReading_;
    shelf_.readings_[id_] = &watch_;
    teller_ = std::thread([this] { Tell(); });
  }
  ShownReading(const ShownReading&) = delete;
  ShownReading& operator=(const ShownReading&) = delete;
  ~ShownReading() {
    {
      const std::lock_guard lock(shelf_.mutex_);
      shelf_.readings_.erase(id_);
    }
    {
      const std::lock_guard lock(mutex_);
      ended_ = true;
      changed_.notify_all();
    }
    teller_.join();
  }
  ReadWatch& watch() { return watch_; }

 private:
  void Tell() {
    std::unique_lock lock(mutex_);
    Json told;
    while (!changed_.wait_for(lock, kInterval, [this] { return ended_; })) {
      const int percent = watch_.percent;
      Json now = {{"reading", id_},
                  {"name", name_},
                  {"percent", percent < 0 ? Json(nullptr) : Json(percent)}};
      if (now == told) continue;
      shelf_.state_.Publish("reading", now);
      told = std::move(now);
    }
    if (!told.is_null()) shelf_.state_.Publish("readingEnded", {{"reading", id_}});
  }

  FileShelf& shelf_;
  const std::string name_;
  int id_ = 0;
  ReadWatch watch_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool ended_ = false;
  std::thread teller_;
};

bool FileShelf::ReadShown(ShelfFile& file, const std::function<bool()>& isWanted,
                          const std::function<bool()>& keep, std::string& error) {
  ShownReading shown(*this, file.name);
  std::unique_lock reading(reading_, std::defer_lock);
  while (!shown.watch().ShallEnd() && !reading.try_lock_for(kInterval)) {
  }
  if (reading.owns_lock() && !isWanted()) return true;
  file.options.watch = &shown.watch();
  const bool read = reading.owns_lock() && Read(file, error);
  file.options.watch = nullptr;
  if (!shown.watch().ShallEnd()) return read && keep();
  error = kCancelled;
  return false;
}

FileShelf::Ref FileShelf::Open(ShelfFile file, std::string& error) {
  int id = 0;
  const auto keep = [&] {
    {
      const std::lock_guard lock(mutex_);
      file.id = id = ++last_;
    }
    Put(std::move(file));
    return true;
  };
  return ReadShown(
             file, [] { return true; }, keep, error)
             ? Find(id)
             : nullptr;
}

bool FileShelf::CancelReading(int reading) {
  const std::lock_guard lock(mutex_);
  const auto found = readings_.find(reading);
  if (found == readings_.end()) return false;
  found->second->cancelled = true;
  return true;
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
  const std::lock_guard changing(changing_);
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
  ShelfFile fresh;
  fresh.name = file->name;
  // Another thread may have read it while this one waited, or closed it.
  const auto isWanted = [&] {
    const Ref current = Find(id);
    if (current == nullptr || current->state == now) return false;
    fresh = *current;
    return true;
  };
  if (ReadShown(
          fresh, isWanted, [&] { return Replace(std::move(fresh), error); }, error))
    return true;
  error = file->name + " has changed since it was opened and " +
          (error == kCancelled
               ? "its reading was cancelled, the data in memory stay as they were"
               : "cannot be read again, the data in memory stay as they were. " + error);
  return false;
}

bool FileShelf::Replace(ShelfFile&& fresh, std::string& error) {
  const std::lock_guard changing(changing_);
  const Ref current = Find(fresh.id);
  if (current == nullptr) return true;
  if (current->revision != fresh.revision) {
    const HostDataFile& now = *current->data;
    auto data = std::make_shared<HostDataFile>(*fresh.data);
    if (!Apply({now.Selection(), now.WeightVariable(), now.CaseNamesVariable()}, *data, error))
      return false;
    fresh.data = std::move(data);
    fresh.options = current->options;
    fresh.revision = current->revision;
  }
  ++fresh.revision;
  ++fresh.readings;
  Put(std::move(fresh));
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
