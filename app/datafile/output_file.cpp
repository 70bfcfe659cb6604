#include "datafile/output_file.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace qrvml {

OutputFile::~OutputFile() {
  if (file_ != nullptr) std::fclose(file_);
}

bool OutputFile::Note(bool succeeded) {
  if (!succeeded && failure_ == 0) failure_ = errno != 0 ? errno : EIO;
  return failure_ == 0;
}

bool OutputFile::Create(const std::filesystem::path& file) {
  errno = 0;
  file_ = std::fopen(file.c_str(), "w+bxe");
  return Note(file_ != nullptr);
}

bool OutputFile::Write(const void* bytes, std::size_t count) {
  errno = 0;
  return failure_ == 0 && Note(std::fwrite(bytes, 1, count, file_) == count);
}

bool OutputFile::Rewind() {
  errno = 0;
  return failure_ == 0 && Note(std::fflush(file_) == 0 && std::fseek(file_, 0, SEEK_SET) == 0);
}

bool OutputFile::Read(void* bytes, std::size_t count) {
  errno = 0;
  return failure_ == 0 && Note(std::fread(bytes, 1, count, file_) == count);
}

bool OutputFile::Close() {
  errno = 0;
  return Note(std::fclose(std::exchange(file_, nullptr)) == 0);
}

std::string OutputFile::Reason() const { return std::generic_category().message(failure_); }

}  // namespace qrvml
