#include "datafile/text_encoding.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace qrvml {

namespace {

// Windows-1252, bytes 0x80 to 0x9F; the others equal their code points.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Leading bytes of two and more byte sequences: length, and the range of the second byte.
struct Sequence {
  unsigned char first, last;   // leading bytes
  unsigned char length;        // bytes in all
  unsigned char lower, upper;  // second byte; further ones are 80 to BF
};
constexpr Sequence kSequences[] = {{0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
                                   {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F},
                                   {0xEE, 0xEF, 3, 0x80, 0xBF}, {0xF0, 0xF0, 4, 0x90, 0xBF},
                                   {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F}};

// The length of the valid sequence at the start of `text`, 0: there is none.
std::size_t SequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (const Sequence& sequence : kSequences) {
    if (byte(0) < sequence.first || byte(0) > sequence.last) continue;
    if (text.size() < sequence.length) return 0;
    if (byte(1) < sequence.lower || byte(1) > sequence.upper) return 0;
    for (std::size_t i = 2; i < sequence.length; ++i) {
      if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
    }
    return sequence.length;
  }
  return 0;
}

std::size_t AsciiPrefix(std::string_view text) {
  std::size_t at = 0;
  for (; at + 64 <= text.size(); at += 64) {
    std::uint64_t words[8], all = 0;
    std::memcpy(words, text.data() + at, sizeof words);
    for (std::uint64_t word : words) all |= word;
    if (all & 0x8080808080808080u) break;
  }
  while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80) ++at;
  return at;
}

}  // namespace

std::size_t FindInvalidUtf8(std::string_view text) {
  std::size_t at = 0;
  while ((at += AsciiPrefix(text.substr(at))) < text.size()) {
    const std::size_t length = SequenceLength(text.substr(at));
    if (length == 0) return at;
    at += length;
  }
  return std::string_view::npos;
}

std::string DecodeWindows1252(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const unsigned point = byte >= 0x80 && byte < 0xA0 ? kHighControls[byte - 0x80] : byte;
    if (point < 0x80) {
      decoded += static_cast<char>(point);
    } else if (point < 0x800) {
      decoded += static_cast<char>(0xC0 | point >> 6);
      decoded += static_cast<char>(0x80 | (point & 0x3F));
    } else {
      decoded += static_cast<char>(0xE0 | point >> 12);
      decoded += static_cast<char>(0x80 | (point >> 6 & 0x3F));
      decoded += static_cast<char>(0x80 | (point & 0x3F));
    }
  }
  return decoded;
}

std::string AsUtf8(std::string_view text) {
  return FindInvalidUtf8(text) == std::string_view::npos ? std::string(text)
                                                         : DecodeWindows1252(text);
}

}  // namespace qrvml
