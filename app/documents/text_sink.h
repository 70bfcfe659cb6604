// Text on its way into a stream, in large pieces: documents can hold millions of cells.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

namespace qrvml {

/// Appends like a string and holds no more than a piece. Failure shows in the stream's state.
class TextSink {
 public:
  explicit TextSink(std::ostream& out) : out_(out) {}
  TextSink(const TextSink&) = delete;
  TextSink& operator=(const TextSink&) = delete;
  ~TextSink() { Flush(); }

  TextSink& operator+=(char c) {
    pending_ += c;
    return FlushLarge();
  }
  TextSink& operator+=(std::string_view text) {
    pending_ += text;
    return FlushLarge();
  }
  /// Whether everything could be written so far.
  bool Good() const { return out_.good(); }

 private:
  static constexpr std::size_t kPiece = std::size_t{1} << 16;

  TextSink& FlushLarge() {
    if (pending_.size() >= kPiece) Flush();
    return *this;
  }
  void Flush() {
    out_.write(pending_.data(), static_cast<std::streamsize>(pending_.size()));
    pending_.clear();
  }

  std::ostream& out_;
  std::string pending_;
};

}  // namespace qrvml
