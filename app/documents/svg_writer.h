// Writes SVG elements as text. Coordinates are pixels with two decimals at most, so that the same
// drawing gives the same bytes; every text is escaped and free of control characters.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace qrvml {

/// Text for XML: & < > " escaped, control characters as blanks, what is no character as U+FFFD.
std::string XmlText(std::string_view text);

/// A coordinate: at most two decimals, no trailing zeros, no negative zero.
void AppendCoordinate(std::string& out, double value);

/// One step of a path, e.g. {'M', x, y}.
struct PathStep {
  char command = 'M';  // L, h, v and so on
  std::initializer_list<double> numbers{};
};
void AppendPath(std::string& path, const PathStep& step);

/// `style` is a list of attributes that is written as it stands.
class SvgWriter {
 public:
  /// Opens the picture; `title` is read aloud by programs that cannot show it.
  SvgWriter(double width, double height, std::string_view title);

  void BeginGroup(std::string_view style);
  void EndGroup();
  void Line(double x1, double y1, double x2, double y2, std::string_view style = {});
  void Rectangle(double x, double y, double width, double height, std::string_view style = {},
                 std::string_view hint = {});
  /// `hint`, where not empty, is shown when the pointer rests on the shape.
  void Circle(double x, double y, double radius, std::string_view hint = {});
  void Path(std::string_view path, std::string_view style = {}, std::string_view hint = {});
  /// `angle` in degrees, clockwise, around (x, y).
  void Text(double x, double y, std::string_view text, std::string_view style, double angle = 0);

  double width() const { return width_; }
  double height() const { return height_; }
  /// The whole picture; nothing may be written afterwards.
  std::string Finish();

 private:
  void Attribute(std::string_view name, double value);
  void EndShape(std::string_view style, std::string_view hint, std::string_view tag);

  double width_, height_;
  std::string out_;
};

}  // namespace qrvml
