#include "datafile/por_input.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bitset>

namespace qrvml {

namespace {

// The file begins with five titles of 40 characters and the table. Line ends do not count.
constexpr std::size_t kTableStart = 200, kTableEnd = 456;
constexpr std::size_t kHeadBytes = 1024;  // holds them, whatever the line ends
constexpr char kNoCharacter = '0';

}  // namespace

void MendCharacterTable(std::string& head) {
  std::bitset<256> used;
  std::size_t at = 0;
  for (char& c : head) {
    if (c == '\r' || c == '\n') continue;
    if (at >= kTableStart && c != kNoCharacter) {
      const auto byte = static_cast<unsigned char>(c);
      if (used[byte]) c = kNoCharacter;
      used.set(byte);
    }
    if (++at == kTableEnd) return;
  }
}

void PorInput::Attach(readstat_parser_t& parser) {
  readstat_set_open_handler(&parser, [](const char* path, void* input) {
    return static_cast<PorInput*>(input)->Open(path) ? 0 : -1;
  });
  readstat_set_close_handler(&parser, [](void* input) {
    static_cast<PorInput*>(input)->Close();
    return 0;
  });
  readstat_set_read_handler(&parser, [](void* buffer, std::size_t bytes, void* input) {
    return static_cast<PorInput*>(input)->Read(buffer, bytes);
  });
  readstat_set_seek_handler(&parser,
                            [](readstat_off_t offset, readstat_io_flags_t whence, void* input) {
                              return static_cast<PorInput*>(input)->Seek(offset, whence);
                            });
  readstat_set_io_ctx(&parser, this);
}

bool PorInput::Open(const char* path) {
  handle_ = open(path, O_RDONLY | O_CLOEXEC);
  if (handle_ < 0) return false;
  head_.resize(kHeadBytes);
  const ssize_t got = read(handle_, head_.data(), head_.size());
  head_.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  MendCharacterTable(head_);
  return got >= 0 && lseek(handle_, 0, SEEK_SET) == 0;
}

void PorInput::Close() {
  if (handle_ >= 0) close(handle_);
  handle_ = -1;
}

ssize_t PorInput::Read(void* buffer, std::size_t bytes) {
  const off_t from = lseek(handle_, 0, SEEK_CUR);
  const ssize_t got = read(handle_, buffer, bytes);
  if (from < static_cast<off_t>(head_.size()) && got > 0) {
    head_.copy(static_cast<char*>(buffer), static_cast<std::size_t>(got),
               static_cast<std::size_t>(from));
  }
  return got;
}

readstat_off_t PorInput::Seek(readstat_off_t offset, readstat_io_flags_t whence) {
  constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  return lseek(handle_, offset, kWhence[whence]);
}

}  // namespace qrvml
