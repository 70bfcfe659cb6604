#include "server/named_folders.h"

#include <algorithm>
#include <chrono>
#include <tuple>

namespace qrvml {
namespace {

namespace fs = std::filesystem;

bool LiesIn(const fs::path& path, const fs::path& folder) {
  const auto [end, ignored] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return end == folder.end();
}

std::int64_t SecondsOf(fs::file_time_type time) {
  using namespace std::chrono;
  return duration_cast<seconds>(file_clock::to_sys(time).time_since_epoch()).count();
}

}  // namespace

int NamedFolders::Add(const fs::path& folder) {
  const fs::path path = fs::canonical(folder);
  const auto found = std::ranges::find(folders_, path);
  if (found != folders_.end()) return static_cast<int>(found - folders_.begin());
  folders_.push_back(path);
  return static_cast<int>(folders_.size()) - 1;
}

bool NamedFolders::Find(int folder, const std::string& path, fs::path& found,
                        std::string& error) const {
  error = "\"" + path + "\" is no file of the folders that can be used here";
  if (folder < 0 || folder >= static_cast<int>(folders_.size()) ||
      path.find('\0') != std::string::npos || fs::path(path).is_absolute())
    return false;
  const fs::path& root = folders_[static_cast<std::size_t>(folder)];
  std::error_code code;
  const fs::path resolved = fs::weakly_canonical(root / path, code);
  if (code || !LiesIn(resolved, root)) return false;
  // A link that leads nowhere is kept by name and would be followed when it is written to.
  if (!fs::exists(resolved, code) && (fs::is_symlink(fs::symlink_status(resolved, code)) ||
                                      !fs::is_directory(resolved.parent_path(), code)))
    return false;
  found = resolved;
  error.clear();
  return true;
}

bool NamedFolders::List(int folder, const std::string& path, std::vector<ListedFile>& entries,
                        std::string& error) const {
  fs::path found;
  if (!Find(folder, path, found, error)) return false;
  std::error_code code;
  fs::directory_iterator entry(found, code);
  if (code) {
    error = "\"" + path + "\" cannot be listed: " + code.message();
    return false;
  }
  entries.clear();
  for (const fs::directory_iterator end; !code && entry != end; entry.increment(code)) {
    const std::string name = entry->path().filename().string();
    fs::path target;
    std::string ignored;
    if (name.starts_with('.') || !Find(folder, (fs::path(path) / name).string(), target, ignored))
      continue;
    std::error_code unknown;
    ListedFile listed{name, fs::is_directory(target, unknown), 0, 0};
    if (!listed.isFolder && !fs::is_regular_file(target, unknown)) continue;
    if (!listed.isFolder) listed.size = fs::file_size(target, unknown);
    const auto time = fs::last_write_time(target, unknown);
    if (!unknown) listed.modified = SecondsOf(time);
    entries.push_back(std::move(listed));
  }
  std::ranges::sort(entries, [](const ListedFile& a, const ListedFile& b) {
    return std::tuple(!a.isFolder, a.name) < std::tuple(!b.isFolder, b.name);
  });
  return true;
}

}  // namespace qrvml
