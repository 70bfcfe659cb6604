#include "server/request_guard.h"

#include <sys/random.h>

#include <cerrno>
#include <system_error>

namespace qrvml {
namespace {

constexpr std::string_view kOwnNames[] = {"127.0.0.1", "localhost"};

}  // namespace

RequestGuard::RequestGuard(int port, std::string token)
    : port_(port), token_(std::move(token)), cookieName_("qrvml-" + std::to_string(port)) {}

int RequestGuard::Check(const RequestOrigin& request) const {
  if (!IsOwnHost(request.host)) return 421;
  constexpr std::string_view kScheme = "http://";
  const std::string_view origin = request.origin;
  if (!origin.empty() && !(origin.starts_with(kScheme) && IsOwnHost(origin.substr(kScheme.size()))))
    return 403;
  // A link from elsewhere may open the page, and nothing but the page.
  const bool opensPage = request.method == "GET" && request.path == "/";
  const bool fromElsewhere = !request.fetchSite.empty() && request.fetchSite != "same-origin" &&
                             request.fetchSite != "none";
  if (fromElsewhere && !opensPage) return 403;
  return HasCookie(request.cookie) || BringsToken(request) ? 0 : 401;
}

bool RequestGuard::BringsToken(const RequestOrigin& request) const {
  return request.method == "GET" && request.path == "/" && IsToken(request.token);
}

std::string RequestGuard::SetCookie() const {
  return cookieName_ + '=' + token_ + "; HttpOnly; SameSite=Strict; Path=/";
}

std::string RequestGuard::Address() const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/?token=" + token_;
}

bool RequestGuard::IsOwnHost(std::string_view host) const {
  const std::string port = ':' + std::to_string(port_);
  for (const std::string_view name : kOwnNames) {
    if (host.starts_with(name) && host.substr(name.size()) == port) return true;
  }
  return false;
}

bool RequestGuard::HasCookie(std::string_view cookies) const {
  while (!cookies.empty()) {
    const std::size_t end = std::min(cookies.find(';'), cookies.size());
    std::string_view cookie = cookies.substr(0, end);
    while (cookie.starts_with(' ')) cookie.remove_prefix(1);
    if (cookie.starts_with(cookieName_) && cookie.substr(cookieName_.size()).starts_with('=') &&
        IsToken(cookie.substr(cookieName_.size() + 1)))
      return true;
    cookies.remove_prefix(std::min(end + 1, cookies.size()));
  }
  return false;
}

bool RequestGuard::IsToken(std::string_view text) const {
  if (text.size() != token_.size()) return false;
  // Takes the same time wherever the texts differ.
  unsigned difference = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    difference |= static_cast<unsigned char>(text[i] ^ token_[i]);
  return difference == 0;
}

std::string RandomToken() {
  unsigned char bytes[32];
  for (std::size_t have = 0; have < sizeof bytes;) {
    const ssize_t got = getrandom(bytes + have, sizeof bytes - have, 0);
    if (got < 0 && errno != EINTR)
      throw std::system_error(errno, std::generic_category(), "the system has no random numbers");
    if (got > 0) have += static_cast<std::size_t>(got);
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string token;
  for (const unsigned char byte : bytes) {
    token += kDigits[byte >> 4];
    token += kDigits[byte & 15];
  }
  return token;
}

}  // namespace qrvml
