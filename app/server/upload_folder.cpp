#include "server/upload_folder.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace qrvml {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "qrvml-uploads-";

/// Removes folders of programs that are no more.
void RemoveLeftovers() {
  std::error_code code;
  for (fs::directory_iterator entry(fs::temp_directory_path(code), code), end;
       !code && entry != end; entry.increment(code)) {
    const std::string name = entry->path().filename().string();
    if (!name.starts_with(kPrefix)) continue;
    int process = 0;
    const char* last = name.data() + name.size();
    const auto [stop, failure] = std::from_chars(name.data() + kPrefix.size(), last, process);
    if (failure != std::errc{} || stop != last || process <= 0) continue;
    std::error_code ignored;
    if (kill(process, 0) != 0 && errno == ESRCH) fs::remove_all(entry->path(), ignored);
  }
}

}  // namespace

UploadFolder::UploadFolder(std::uint64_t room) : room_(static_cast<std::int64_t>(room)) {
  RemoveLeftovers();
}

UploadFolder::~UploadFolder() {
  std::error_code ignored;
  if (!folder_.empty()) fs::remove_all(folder_, ignored);
}

UploadFolder::Upload::~Upload() {
  std::error_code ignored;
  stream.close();
  if (finished) return;
  fs::remove_all(path.parent_path(), ignored);
  *room += static_cast<std::int64_t>(size);
}

bool UploadFolder::Upload::Append(const char* data, std::size_t bytes) {
  size += bytes;
  const auto taken = static_cast<std::int64_t>(bytes);
  if (room->fetch_sub(taken) < taken || size > kLargestUpload || !stream.is_open()) return false;
  stream.write(data, static_cast<std::streamsize>(bytes));
  return stream.good();
}

bool UploadFolder::MakeFolder(std::string& error) {
  if (!folder_.empty()) return true;
  std::error_code code;
  const fs::path folder =
      fs::temp_directory_path(code) / (std::string(kPrefix) + std::to_string(getpid()));
  // Nobody else may look into it at any time, nor have made it.
  if (code || mkdir(folder.c_str(), S_IRWXU) != 0) {
    error = "no folder for uploads can be made: " +
            (code ? code : std::error_code(errno, std::generic_category())).message();
    return false;
  }
  folder_ = folder;
  return true;
}

std::unique_ptr<UploadFolder::Upload> UploadFolder::Begin(const std::string& name,
                                                          std::string& error) {
  std::string file = name.substr(name.find_last_of("/\\") + 1);
  if (file.empty() || file == "." || file == ".." || file.size() > 200 ||
      file.find('\0') != std::string::npos) {
    error = "the file needs a name";
    return nullptr;
  }
  const std::lock_guard lock(mutex_);
  if (!MakeFolder(error)) return nullptr;
  auto upload = std::make_unique<Upload>();
  upload->room = &room_;
  upload->id = "u" + std::to_string(++last_);
  upload->path = folder_ / upload->id / file;
  std::error_code code;
  fs::create_directory(upload->path.parent_path(), code);
  upload->stream.open(upload->path, std::ios::binary);
  if (upload->stream.is_open()) return upload;
  error = "the file cannot be kept";
  return nullptr;
}

std::string UploadFolder::Finish(Upload& upload) {
  upload.stream.close();
  if (!upload.stream.good()) return {};
  const std::lock_guard lock(mutex_);
  files_[upload.id] = {upload.path, upload.size};
  upload.finished = true;
  return upload.id;
}

fs::path UploadFolder::Find(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(id);
  return found == files_.end() ? fs::path() : found->second.path;
}

void UploadFolder::Remove(const fs::path& path) {
  const std::lock_guard lock(mutex_);
  const auto found =
      std::ranges::find(files_, path, [](const auto& kept) { return kept.second.path; });
  if (found == files_.end()) return;
  std::error_code ignored;
  fs::remove_all(path.parent_path(), ignored);
  room_ += static_cast<std::int64_t>(found->second.size);
  files_.erase(found);
}

}  // namespace qrvml
