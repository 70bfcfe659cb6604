// Writes JSON as text, piece by piece.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "documents/text_sink.h"

namespace qrvml {

/// Calls must nest as JSON does. Commas come by themselves. The stream has everything when the
/// writer is gone; failure shows in its state.
class JsonWriter {
 public:
  explicit JsonWriter(std::ostream& out) : out_(out) {}
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  void BeginObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void BeginArray() { Open('['); }
  void EndArray() { Close(']'); }
  /// The name of the member that the next call writes.
  void Key(std::string_view name);

  /// Control characters and quotes escaped; bytes that are no UTF-8 become U+FFFD.
  void String(std::string_view text);
  /// The shortest text that reads back as the same double, a whole number without a point; null for
  /// NaN and infinities.
  void Number(double value);
  void Boolean(bool value);
  void Null();

  /// Whether everything could be written so far.
  bool Good() const { return out_.Good(); }
  /// Starts a new line before the next value or member, for the eye.
  void BreakLine() { breakLine_ = true; }

 private:
  void Open(char bracket);
  void Close(char bracket);
  void BeforeValue();
  void Separate();
  void Quote(std::string_view text);

  TextSink out_;
  std::vector<bool> hasItems_;  // per open bracket: whether a comma is due
  bool afterKey_ = false;
  bool breakLine_ = false;
};

}  // namespace qrvml
