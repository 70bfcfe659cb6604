#include "documents/svg_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "documents/display_width.h"

namespace qrvml {
namespace {

constexpr double kFarthest = 1e6;  // no coordinate of a picture lies beyond

/// The first family that a machine has; widths are estimated for the widest of them.
constexpr std::string_view kFonts =
    "Arial, Helvetica, 'Liberation Sans', 'DejaVu Sans', sans-serif";

}  // namespace

std::string XmlText(std::string_view text) {
  const std::string printable = PrintableText(text);
  std::string escaped;
  escaped.reserve(printable.size());
  for (std::size_t at = 0; at < printable.size();) {
    const std::size_t begin = at;
    const char32_t point = NextCodePoint(printable, at);
    switch (point) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case 0xFFFE:
      case 0xFFFF:  // code points, but no characters of XML
        escaped += "\xEF\xBF\xBD";
        break;
      default:
        escaped.append(printable, begin, at - begin);
    }
  }
  return escaped;
}

void AppendCoordinate(std::string& out, double value) {
  const double hundredths = std::round(std::clamp(value, -kFarthest, kFarthest) * 100);
  if (hundredths == 0 || std::isnan(hundredths)) {
    out += '0';
    return;
  }
  char buffer[32];
  char* end =
      std::to_chars(buffer, buffer + sizeof buffer, hundredths / 100, std::chars_format::fixed, 2)
          .ptr;
  while (end[-1] == '0') --end;
  if (end[-1] == '.') --end;
  out.append(buffer, end);
}

void AppendPath(std::string& path, const PathStep& step) {
  path += step.command;
  bool first = true;
  for (const double number : step.numbers) {
    if (!first) path += ' ';
    AppendCoordinate(path, number);
    first = false;
  }
}

SvgWriter::SvgWriter(double width, double height, std::string_view title)
    : width_(width), height_(height) {
  out_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\"";
  Attribute("width", width);
  Attribute("height", height);
  out_ += " viewBox=\"0 0 ";
  AppendCoordinate(out_, width);
  out_ += ' ';
  AppendCoordinate(out_, height);
  out_ += "\" font-family=\"" + std::string(kFonts) + "\" font-size=\"12\">\n";
  out_ += "<title>" + XmlText(title) + "</title>\n";
  Rectangle(0, 0, width, height, "fill=\"#fff\"");
}

void SvgWriter::Attribute(std::string_view name, double value) {
  out_ += ' ';
  out_ += name;
  out_ += "=\"";
  AppendCoordinate(out_, value);
  out_ += '"';
}

void SvgWriter::EndShape(std::string_view style, std::string_view hint, std::string_view tag) {
  if (!style.empty()) {
    out_ += ' ';
    out_ += style;
  }
  if (hint.empty()) {
    out_ += "/>\n";
    return;
  }
  out_ += "><title>" + XmlText(hint) + "</title></" + std::string(tag) + ">\n";
}

void SvgWriter::BeginGroup(std::string_view style) {
  out_ += "<g";
  if (!style.empty()) out_ += ' ';
  out_ += style;
  out_ += ">\n";
}

void SvgWriter::EndGroup() { out_ += "</g>\n"; }

void SvgWriter::Line(double x1, double y1, double x2, double y2, std::string_view style) {
  out_ += "<line";
  Attribute("x1", x1);
  Attribute("y1", y1);
  Attribute("x2", x2);
  Attribute("y2", y2);
  EndShape(style, {}, "line");
}

void SvgWriter::Rectangle(double x, double y, double width, double height, std::string_view style,
                          std::string_view hint) {
  out_ += "<rect";
  Attribute("x", x);
  Attribute("y", y);
  Attribute("width", width);
  Attribute("height", height);
  EndShape(style, hint, "rect");
}

void SvgWriter::Circle(double x, double y, double radius, std::string_view hint) {
  out_ += "<circle";
  Attribute("cx", x);
  Attribute("cy", y);
  Attribute("r", radius);
  EndShape({}, hint, "circle");
}

void SvgWriter::Path(std::string_view path, std::string_view style, std::string_view hint) {
  out_ += "<path d=\"";
  out_ += path;
  out_ += '"';
  EndShape(style, hint, "path");
}

void SvgWriter::Text(double x, double y, std::string_view text, std::string_view style,
                     double angle) {
  out_ += "<text";
  Attribute("x", x);
  Attribute("y", y);
  if (!style.empty()) out_ += ' ';
  out_ += style;
  if (angle != 0) {
    out_ += " transform=\"rotate(";
    for (const double number : {angle, x, y}) {
      AppendCoordinate(out_, number);
      out_ += ' ';
    }
    out_.back() = ')';
    out_ += '"';
  }
  out_ += '>' + XmlText(text) + "</text>\n";
}

std::string SvgWriter::Finish() {
  out_ += "</svg>\n";
  return std::move(out_);
}

}  // namespace qrvml
