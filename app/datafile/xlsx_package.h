// The parts of an Excel workbook, which is a ZIP archive of XML files, read within limits: an
// archive of a few kilobytes can hold gigabytes, and who opens a file does not expect that.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

struct zip;

namespace qrvml {

class ReadWatch;

class XlsxPackage {
 public:
  /// Every operation throws ReadFailure, also when `watch`, which may be null, says that the
  /// reading shall end.
  XlsxPackage(const std::string& path, ReadWatch* watch);
  XlsxPackage(const XlsxPackage&) = delete;
  XlsxPackage& operator=(const XlsxPackage&) = delete;
  ~XlsxPackage();

  bool Has(const std::string& part) const;
  /// A whole part of moderate size.
  std::string Read(const std::string& part);
  /// Calls `take` for each element with this local name, in order, until it returns false. It gets
  /// the element as it stands in the part, from its start tag to its end tag. The elements do not
  /// nest. Only one element at a time is in memory.
  void ForEachElement(const std::string& part, std::string_view name,
                      const std::function<bool(std::string_view)>& take);

 private:
  /// Calls `take` with piece after piece of a part until it returns false.
  void ReadPieces(const std::string& part, const std::function<bool(std::string_view)>& take);

  zip* archive_ = nullptr;
  ReadWatch* const watch_;
};

}  // namespace qrvml
