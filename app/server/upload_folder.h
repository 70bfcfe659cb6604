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
inline constexpr std::uint64_t kLargestUploads = 4 * kLargestUpload;  // together

/// Used by several threads.
class UploadFolder {
 public:
  /// Removes what programs that were ended by force left behind. `room`: bytes for all files that
  /// are kept or come in.
  explicit UploadFolder(std::uint64_t room = kLargestUploads);
  UploadFolder(const UploadFolder&) = delete;
  UploadFolder& operator=(const UploadFolder&) = delete;
  ~UploadFolder();

  /// One file that is coming in; an incomplete one is gone with the object.
  class Upload {
   public:
    ~Upload();
    /// False: it is too large, alone or with the others, or the disk takes no more; nothing is
    /// kept.
    bool Append(const char* data, std::size_t size);

   private:
    friend class UploadFolder;
    std::filesystem::path path;
    std::string id;
    std::ofstream stream;
    std::uint64_t size = 0;
    std::atomic<std::int64_t>* room = nullptr;  // of the folder
    bool finished = false;
  };

  /// Begins a file; only the last part of `name` counts. Null: `error` says why not.
  std::unique_ptr<Upload> Begin(const std::string& name, std::string& error);
  /// Completes it; its name for the requests that open it. Empty: it cannot be written.
  std::string Finish(Upload& upload);
  /// The path of a complete upload; empty: there is none.
  std::filesystem::path Find(const std::string& id) const;
  /// Removes the complete upload of that path, if there is one.
  void Remove(const std::filesystem::path& path);

 private:
  bool MakeFolder(std::string& error);

  mutable std::mutex mutex_;
  std::filesystem::path folder_;  // empty until it is needed
  struct Kept {
    std::filesystem::path path;
    std::uint64_t size = 0;
  };
  std::map<std::string, Kept> files_;
  std::atomic<std::int64_t> room_;  // left; below 0 while an upload is refused
  int last_ = 0;
};

}  // namespace qrvml
