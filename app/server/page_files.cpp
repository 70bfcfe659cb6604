#include "server/page_files.h"

#include <fstream>
#include <iterator>

namespace qrvml {
namespace {

namespace fs = std::filesystem;

struct WebType {
  std::string_view extension, type;
};
constexpr WebType kTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".json", "application/json"},
    {".map", "application/json"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".ico", "image/x-icon"},
    {".woff2", "font/woff2"},
    {".txt", "text/plain; charset=utf-8"},
};

std::string TypeOf(const fs::path& file) {
  const std::string extension = file.extension().string();
  for (const WebType& known : kTypes) {
    if (known.extension == extension) return std::string(known.type);
  }
  return "application/octet-stream";
}

}  // namespace

PageFiles::PageFiles(const fs::path& folder) {
  std::error_code code;
  for (fs::recursive_directory_iterator entry(folder, code), end; !code && entry != end;
       entry.increment(code)) {
    if (!entry->is_regular_file()) continue;
    std::ifstream stream(entry->path(), std::ios::binary);
    std::string content(std::istreambuf_iterator<char>(stream), {});
    files_['/' + entry->path().lexically_relative(folder).generic_string()] = {
        TypeOf(entry->path()), std::move(content)};
  }
}

const PageFile* PageFiles::Find(std::string_view path) const {
  static const PageFile kMissing{
      "text/html; charset=utf-8",
      "<!doctype html><html lang=\"en\"><title>qrvml</title><p>This program was built without "
      "the page: build the folder web/ and then the program again.</p></html>\n"};
  if (path == "/") path = "/index.html";
  const auto found = files_.find(path);
  if (found != files_.end()) return &found->second;
  return path == "/index.html" ? &kMissing : nullptr;
}

}  // namespace qrvml
