// Where generated text goes. A text is written twice, first to be measured, so that it takes its
// own size in memory and no more; what writes it must write the same both times.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "deploy/number_text.h"

namespace qrvml {

/// A named hole of a template, and what fills it.
struct Hole {
  std::string_view name;
  std::string text;

  Hole(std::string_view hole, std::string_view filling) : name(hole), text(filling) {}
  Hole(std::string_view hole, std::int64_t filling) : name(hole), text(std::to_string(filling)) {}
  Hole(std::string_view hole, std::size_t filling) : name(hole), text(std::to_string(filling)) {}
  Hole(std::string_view hole, int filling) : name(hole), text(std::to_string(filling)) {}
};

class CodeWriter {
 public:
  /// Measures.
  CodeWriter() = default;
  /// Writes to the end of `text`.
  explicit CodeWriter(std::string& text) : text_(&text) {}
  CodeWriter(const CodeWriter&) = delete;
  CodeWriter& operator=(const CodeWriter&) = delete;

  void Put(std::string_view text) {
    if (text.size() > buffer_.size() - used_) return PutLong(text);
    text.copy(buffer_.data() + used_, text.size());
    used_ += text.size();
  }
  void PutInteger(std::int64_t value);  // "%d"
  void PutGeneral(double value) {       // "%g"
    char* const at = Room(kLongestNumber);
    used_ += static_cast<std::size_t>(WriteGeneral(at, value) - at);
  }
  void PutFixed(double value) {  // "%f"
    char* const at = Room(kLongestNumber);
    used_ += static_cast<std::size_t>(WriteFixed(at, value) - at);
  }

  /// A template, which looks like the text it gives: `${name}` is a hole; `${}` is nothing and lets
  /// blanks stand at the end of a line. Every hole must be named in `holes`, and every name used.
  void Fill(std::string_view pattern, std::initializer_list<Hole> holes = {});

  /// What has been written so far, in bytes.
  std::size_t Finish() {
    Flush();
    return size_;
  }

 private:
  char* Room(std::size_t bytes) {
    if (bytes > buffer_.size() - used_) Flush();
    return buffer_.data() + used_;
  }
  void PutLong(std::string_view text);
  void Flush();

  std::string* text_ = nullptr;  // null: only measured
  std::size_t size_ = 0;
  std::size_t used_ = 0;
  std::array<char, 1 << 14> buffer_{};
};

/// The text that `write` writes, in exactly its size. `write` is called twice.
std::string MakeText(const std::function<void(CodeWriter&)>& write);

}  // namespace qrvml
