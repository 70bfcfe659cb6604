// The files of the page, as the server hands them out.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace qrvml {

struct PageFile {
  std::string type;  // of its content, as the web names it
  std::string content;
};

/// Read once; what is not there cannot be asked for, whatever a path says.
class PageFiles {
 public:
  PageFiles() = default;
  /// All files below a folder; none where there is no such folder.
  explicit PageFiles(const std::filesystem::path& folder);

  /// Whether there is a page; without one its address says so.
  bool HasPage() const { return files_.contains("/index.html"); }
  /// The file at a path of the address, "/" for the page itself; null: there is none.
  const PageFile* Find(std::string_view path) const;

 private:
  std::map<std::string, PageFile, std::less<>> files_;  // by path, "/app.js"
};

}  // namespace qrvml
