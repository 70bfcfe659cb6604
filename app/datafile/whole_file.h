// A file that comes into being whole or not at all: it is written in a folder of its own beside the
// target, flushed to the disk and renamed.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "datafile/file_error.h"

namespace qrvml {

class WholeFile {
 public:
  WholeFile() = default;
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;
  ~WholeFile() { Abandon(); }

  /// Makes the working folder, "<target>.incomplete-" and six letters, in the target's folder. It
  /// is gone after Commit and Abandon; only a program that is killed leaves it. False: `error` says
  /// why; nothing is made. An existing target is refused unless `overwrite`; a target that is no
  /// ordinary file always is.
  bool Begin(const std::string& target, bool overwrite, FileError& error);
  /// The file to write; absolute. It does not exist yet; others may be made beside it and vanish
  /// with the folder.
  std::filesystem::path Working() const { return folder_ / "data"; }
  /// Puts the written and closed file in the target's place. A replaced file's permissions are
  /// kept. False: `error` says why; the target is as it was.
  bool Commit(FileError& error);
  void Abandon();

 private:
  bool CheckTarget(FileError& error) const;

  std::string given_;             // the target as it was given
  std::filesystem::path target_;  // absolute
  std::filesystem::path folder_;  // empty: not begun
  bool overwrite_ = false;
};

/// Cuts UTF-8 text to at most `bytes` bytes, between characters.
std::string_view CutToBytes(std::string_view text, std::size_t bytes);

}  // namespace qrvml
