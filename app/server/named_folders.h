// The folders that the person named, the only ones whose files the workbench lists, reads or
// writes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qrvml {

struct ListedFile {
  std::string name;
  bool isFolder = false;
  std::uintmax_t size = 0;
  std::int64_t modified = 0;  // seconds since 1970
};

class NamedFolders {
 public:
  /// Adds a folder, links resolved; its number, the same for a folder that is there already.
  int Add(const std::filesystem::path& folder);
  const std::vector<std::filesystem::path>& Paths() const { return folders_; }

  /// The file or folder at a relative path in a folder; it need not exist, but its folder must.
  /// False, with `error`: it lies outside, wherever links lead, or the path is no path.
  bool Find(int folder, const std::string& path, std::filesystem::path& found,
            std::string& error) const;
  /// Folders first, then files, each by name; hidden ones and what leads outside are left out.
  bool List(int folder, const std::string& path, std::vector<ListedFile>& entries,
            std::string& error) const;

 private:
  std::vector<std::filesystem::path> folders_;  // canonical
};

}  // namespace qrvml
