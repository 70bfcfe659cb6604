// Documents as the texts that their renderers write.
#pragma once

#include <sstream>
#include <string>
#include <utility>

namespace qrvml {

/// What `write` puts into a stream.
template <class Write, class... Arguments>
std::string Rendered(Write write, Arguments&&... arguments) {
  std::ostringstream out;
  write(out, std::forward<Arguments>(arguments)...);
  return out.str();
}

}  // namespace qrvml
