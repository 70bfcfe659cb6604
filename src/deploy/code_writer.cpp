#include "deploy/code_writer.h"

#include <algorithm>
#include <cassert>
#include <charconv>

namespace qrvml {

void CodeWriter::Flush() {
  size_ += used_;
  if (text_ != nullptr) text_->append(buffer_.data(), used_);
  used_ = 0;
}

void CodeWriter::PutLong(std::string_view text) {
  Flush();
  size_ += text.size();
  if (text_ != nullptr) text_->append(text);
}

void CodeWriter::PutInteger(std::int64_t value) {
  char* const at = Room(kLongestNumber);
  used_ += static_cast<std::size_t>(std::to_chars(at, at + kLongestNumber, value).ptr - at);
}

void CodeWriter::Fill(std::string_view pattern, std::initializer_list<Hole> holes) {
  constexpr std::string_view kOpen = "${";
#ifndef NDEBUG
  for (const Hole& hole : holes)
    assert(pattern.find(std::string(kOpen) + std::string(hole.name) + '}') != pattern.npos &&
           "the template has no such hole");
#endif
  while (true) {
    const std::size_t open = std::min(pattern.find(kOpen), pattern.size());
    Put(pattern.substr(0, open));
    if (open == pattern.size()) return;
    const std::size_t first = open + kOpen.size();
    const std::size_t close = pattern.find('}', first);
    assert(close != pattern.npos);
    const std::string_view name = pattern.substr(first, close - first);
    pattern.remove_prefix(close + 1);
    if (name.empty()) continue;
    const auto* const hole = std::ranges::find(holes, name, &Hole::name);
    assert(hole != holes.end() && "nothing fills the hole");
    Put(hole->text);
  }
}

std::string MakeText(const std::function<void(CodeWriter&)>& write) {
  CodeWriter measure;
  write(measure);
  const std::size_t size = measure.Finish();
  std::string text;
  text.reserve(size);
  CodeWriter writer(text);
  write(writer);
  [[maybe_unused]] const std::size_t written = writer.Finish();
  assert(written == size);
  return text;
}

}  // namespace qrvml
