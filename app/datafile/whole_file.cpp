#include "datafile/whole_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>
#include <utility>

namespace qrvml {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kSuffix = ".incomplete-XXXXXX";
constexpr std::size_t kLongestName = 255;  // bytes of a file's name

bool Refuse(FileError& error, const std::string& file, std::string what, std::string right = {}) {
  error = {};
  error.what = std::move(what);
  error.file = file;
  error.right = std::move(right);
  return false;
}

std::string Reason(int code) { return std::generic_category().message(code); }

/// Waits until a file or folder is on the disk. The error number, 0: none.
int Flush(const fs::path& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return errno;
  const int failure = fsync(file) == 0 ? 0 : errno;
  close(file);
  return failure;
}

/// The error number, 0: none.
int Rename(const fs::path& from, const fs::path& to, bool overwrite) {
  if (overwrite) return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // The file system has no such rename; a link does not replace either.
  return link(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace

std::string_view CutToBytes(std::string_view text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) --bytes;
  return text.substr(0, bytes);
}

bool WholeFile::CheckTarget(FileError& error) const {
  std::error_code code;
  const fs::path parent = target_.parent_path();
  const fs::file_status status = fs::status(target_, code);
  if (status.type() == fs::file_type::none) {
    return Refuse(error, given_, "the file cannot be written: " + code.message());
  }
  if (status.type() == fs::file_type::directory) {
    return Refuse(error, given_, "this is a folder", "The name of a file is needed");
  }
  if (!fs::is_directory(parent, code)) {
    return Refuse(error, given_, "there is no folder " + parent.string(),
                  "The folder of a new file must exist");
  }
  if (status.type() == fs::file_type::not_found) return true;
  if (status.type() != fs::file_type::regular) {
    return Refuse(error, given_, "this is no ordinary file and is not replaced");
  }
  if (!overwrite_) {
    return Refuse(error, given_, "the file exists and is left as it is",
                  "Another name, or leave to replace files (--overwrite), is needed");
  }
  if (access(target_.c_str(), W_OK) != 0) {
    return Refuse(error, given_, "the file is not replaced: " + Reason(errno));
  }
  return true;
}

bool WholeFile::Begin(const std::string& target, bool overwrite, FileError& error) {
  Abandon();
  given_ = target;
  overwrite_ = overwrite;
  std::error_code code;
  target_ = fs::absolute(target, code);
  if (target.empty() || code || target_.filename().empty()) {
    return Refuse(error, given_, "the name of the new file is missing");
  }
  // A link stays; the file behind it is replaced.
  if (fs::is_symlink(target_, code)) {
    const fs::path behind = fs::canonical(target_, code);
    if (code) return Refuse(error, given_, "this is a link that leads nowhere");
    target_ = behind;
  }
  if (!CheckTarget(error)) return false;
  const std::string name = target_.filename().string();
  std::string folder =
      (target_.parent_path() / CutToBytes(name, kLongestName - kSuffix.size())).string();
  folder += kSuffix;
  if (mkdtemp(folder.data()) == nullptr) {
    return Refuse(
        error, given_,
        "nothing can be written into " + target_.parent_path().string() + ": " + Reason(errno));
  }
  folder_ = folder;
  return true;
}

bool WholeFile::Commit(FileError& error) {
  std::error_code code;
  const fs::path working = Working();
  int failure = Flush(working);
  if (failure == 0 && overwrite_) {
    const fs::file_status replaced = fs::status(target_, code);
    if (replaced.type() == fs::file_type::regular)
      fs::permissions(working, replaced.permissions(), code);
  }
  if (failure == 0) failure = Rename(working, target_, overwrite_);
  if (failure == 0) Flush(target_.parent_path());  // some file systems cannot; the file is there
  Abandon();
  return failure == 0 || Refuse(error, given_, "the file cannot be completed: " + Reason(failure));
}

void WholeFile::Abandon() {
  if (folder_.empty()) return;
  std::error_code ignored;
  fs::remove_all(std::exchange(folder_, {}), ignored);
}

}  // namespace qrvml
