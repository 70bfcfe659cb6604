// A portable file (.por) as the library that parses it needs it.
#pragma once

#include <cstddef>
#include <string>

extern "C" {
#include <readstat.h>
}

namespace qrvml {

/// A portable file says in a table which byte stands for which character. Some programs repeat
/// digits and signs at the places of characters that they do not have, and the library takes the
/// last place for the right one. Here only the first is left.
///
/// The input of one parser, which it must outlive.
class PorInput {
 public:
  PorInput() = default;
  PorInput(const PorInput&) = delete;
  PorInput& operator=(const PorInput&) = delete;
  ~PorInput() { Close(); }

  void Attach(readstat_parser_t& parser);

 private:
  bool Open(const char* path);
  void Close();
  ssize_t Read(void* buffer, std::size_t bytes);
  readstat_off_t Seek(readstat_off_t offset, readstat_io_flags_t whence);

  int handle_ = -1;
  std::string head_;  // the start of the file, mended
};

/// Mends the table in the start of a portable file.
void MendCharacterTable(std::string& head);

}  // namespace qrvml
