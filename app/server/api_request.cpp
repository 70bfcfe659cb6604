#include "server/api_request.h"

#include <algorithm>
#include <charconv>

namespace qrvml {
namespace {

/// Copies of a value go as deep into the stack as it is nested.
constexpr int kDeepestJson = 32;

}  // namespace

bool ApiRoute::Fits(const ApiRequest& request) const {
  return std::ranges::equal(path, request.path, [](const auto& mine, const auto& asked) {
    return mine == asked || (mine == "#" && NumberOf(asked, -1) >= 0);
  });
}

int NumberOf(const std::string& text, int otherwise) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, number);
  return failure == std::errc{} && stop == end ? number : otherwise;
}

int NumberOf(const ApiRequest& request, const std::string& parameter, int otherwise) {
  return NumberOf(request.parameter(parameter), otherwise);
}

Json BodyOf(const ApiRequest& request) {
  const auto isFlat = [](int depth, Json::parse_event_t, const Json&) {
    if (depth > kDeepestJson)
      throw Json::other_error::create(501, "it is nested too deep", nullptr);
    return true;
  };
  Json body = request.body.empty() ? Json::object() : Json::parse(request.body, isFlat);
  if (!body.is_object()) throw Json::other_error::create(501, "an object is needed", &body);
  return body;
}

}  // namespace qrvml
