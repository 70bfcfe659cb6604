#include "documents/display_width.h"

#include <algorithm>
#include <array>

namespace qrvml {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::string_view kReplacementBytes = "\xEF\xBF\xBD";

struct Interval {
  char32_t first, last;
};

// The common blocks of Unicode's non-spacing marks and of East Asian Width "wide" or "fullwidth".
constexpr std::array kNoWidth = {
    Interval{0x0300, 0x036F}, Interval{0x0483, 0x0489}, Interval{0x0591, 0x05BD},
    Interval{0x0610, 0x061A}, Interval{0x064B, 0x065F}, Interval{0x1AB0, 0x1AFF},
    Interval{0x1DC0, 0x1DFF}, Interval{0x200B, 0x200F}, Interval{0x2060, 0x2064},
    Interval{0x20D0, 0x20FF}, Interval{0xFE00, 0xFE0F}, Interval{0xFE20, 0xFE2F},
    Interval{0xFEFF, 0xFEFF}};
constexpr std::array kWide = {
    Interval{0x1100, 0x115F},   Interval{0x2E80, 0x303E},  Interval{0x3041, 0xA4CF},
    Interval{0xAC00, 0xD7A3},   Interval{0xF900, 0xFAFF},  Interval{0xFE30, 0xFE6F},
    Interval{0xFF00, 0xFF60},   Interval{0xFFE0, 0xFFE6},  Interval{0x1F300, 0x1F64F},
    Interval{0x1F900, 0x1F9FF}, Interval{0x20000, 0x3FFFD}};

template <std::size_t N>
bool Contains(const std::array<Interval, N>& intervals, char32_t point) {
  return std::ranges::any_of(
      intervals, [point](const Interval& i) { return i.first <= point && point <= i.last; });
}

std::size_t WidthOf(char32_t point) {
  if (point < 0x300) return 1;
  if (Contains(kNoWidth, point)) return 0;
  return Contains(kWide, point) ? 2 : 1;
}

bool IsControl(char32_t point) { return point < 0x20 || (point >= 0x7F && point < 0xA0); }

}  // namespace

char32_t NextCodePoint(std::string_view text, std::size_t& at) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) {
    ++at;
    return lead;
  }
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || at + length > text.size()) {
    ++at;
    return kReplacement;
  }
  char32_t point = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) {
      ++at;
      return kReplacement;
    }
    point = (point << 6) | (byte(at + i) & 0x3Fu);
  }
  const bool overlong = (length == 3 && point < 0x800) || (length == 4 && point < 0x10000);
  if (overlong || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
    ++at;
    return kReplacement;
  }
  at += length;
  return point;
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) width += WidthOf(NextCodePoint(text, at));
  return width;
}

std::string CutToWidth(std::string_view text, std::size_t width) {
  std::size_t used = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    used += WidthOf(NextCodePoint(text, at));
    if (used > width) return std::string(text.substr(0, begin));
  }
  return std::string(text);
}

std::string PrintableText(std::string_view text) {
  std::string printable;
  printable.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    const char32_t point = NextCodePoint(text, at);
    if (IsControl(point)) {
      printable += ' ';
    } else if (point == kReplacement) {
      printable += kReplacementBytes;
    } else {
      printable += text.substr(begin, at - begin);
    }
  }
  return printable;
}

}  // namespace qrvml
