// How the parts of a reader give up: an exception that ends where the reader began.
#pragma once

#include <exception>
#include <new>
#include <string>
#include <utility>

#include "datafile/file_error.h"

namespace qrvml {

struct ReadFailure {
  FileError error;
};

/// Throws ReadFailure; see FileError for the two texts.
[[noreturn]] inline void FailToRead(std::string what, std::string right = {}) {
  throw ReadFailure{{std::move(what), {}, 0, 0, std::move(right)}};
}

/// Runs `read`, which may throw. False: `error` says why the file at `path` is refused.
template <class Function>
bool ReadOrExplain(const std::string& path, FileError& error, const Function& read) {
  try {
    read();
    return true;
  } catch (const ReadFailure& failure) {
    error = failure.error;
  } catch (const std::bad_alloc&) {
    error = {};
    error.what = "there is not enough memory for the file";
  } catch (const std::exception& failure) {
    error = {};
    error.what = failure.what();
  }
  error.file = path;
  return false;
}

}  // namespace qrvml
