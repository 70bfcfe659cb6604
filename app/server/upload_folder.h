// Files that a page has sent, kept in a folder of their own until the program ends.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace qrvml {

inline constexpr std::uint64_t kLargestUpload = std::uint64_t{2} << 30;

/// Used by several threads.
class UploadFolder {
 public:
  /// Removes what programs that were ended by force left behind.
  UploadFolder();
  UploadFolder(const UploadFolder&) = delete;
  UploadFolder& operator=(const UploadFolder&) = delete;
  ~UploadFolder();

  /// One file that is coming in; an incomplete one is gone with the object.
  class Upload {
   public:
    ~Upload();
    /// False: it is too large, or the disk takes no more; nothing is kept.
    bool Append(const char* data, std::size_t size);

   private:
    friend class UploadFolder;
    std::filesystem::path path;
    std::string id;
    std::ofstream stream;
    std::uint64_t size = 0;
    bool finished = false;
  };

  /// Begins a file; only the last part of `name` counts. Null: `error` says why not.
  std::unique_ptr<Upload> Begin(const std::string& name, std::string& error);
  /// Completes it; its name for the requests that open it. Empty: it cannot be written.
  std::string Finish(Upload& upload);
  /// The path of a complete upload; empty: there is none.
  std::filesystem::path Find(const std::string& id) const;

 private:
  bool MakeFolder(std::string& error);

  mutable std::mutex mutex_;
  std::filesystem::path folder_;  // empty until it is needed
  std::map<std::string, std::filesystem::path> files_;
  int last_ = 0;
};

}  // namespace qrvml
