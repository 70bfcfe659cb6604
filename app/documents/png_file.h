// SVG pictures as PNG, by the program rsvg-convert (Debian package librsvg2-bin).
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

namespace qrvml {

struct PngConverter {
  std::string program = "rsvg-convert";  // looked for in PATH
  double zoom = 2;                       // pixels of the PNG per pixel of the SVG
  std::chrono::milliseconds limit{60'000};
};

/// Whether the program is there; false: `error` names it and the package that brings it.
bool FindPngConverter(std::string& error, const PngConverter& converter = {});

/// Writes the picture to `target`, which must be a file of its own (it is overwritten, and removed
/// when the conversion fails). The program is started without a shell, with no network and no file
/// but its input and output. False: `error` says why: the program is missing, failed (with its
/// words) or took longer than the limit and was ended.
bool WritePng(std::string_view svg, const std::filesystem::path& target, std::string& error,
              const PngConverter& converter = {});

}  // namespace qrvml
