// A file that is written from front to back and may be read back once; a failure is kept until it
// is asked for.
#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>

namespace qrvml {

class OutputFile {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Makes a file that must not exist. False, as of every other call: it or an earlier one failed.
  bool Create(const std::filesystem::path& file);
  bool Write(const void* bytes, std::size_t count);
  /// From now on the file is read from its beginning.
  bool Rewind();
  bool Read(void* bytes, std::size_t count);
  bool Close();

  /// Why it failed.
  std::string Reason() const;

 private:
  bool Note(bool succeeded);

  std::FILE* file_ = nullptr;
  int failure_ = 0;
};

}  // namespace qrvml
