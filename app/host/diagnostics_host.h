// Where the texts go that a solver prints while it works.
#pragma once

#include <functional>
#include <string_view>

#include "host/services.h"

namespace qrvml {

class DiagnosticsHost final : public DiagnosticsServices {
 public:
  void Print(std::string_view text) override {
    if (write) write(text);
  }

  /// Takes the texts; absent: nobody asked for them.
  std::function<void(std::string_view)> write;
};

}  // namespace qrvml
