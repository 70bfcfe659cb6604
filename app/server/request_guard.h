// Who may speak to the workbench: a browser on this machine that has the token of this start, on
// a page that came from here.
#pragma once

#include <string>
#include <string_view>

namespace qrvml {

/// What a request says of itself; an absent header is empty.
struct RequestOrigin {
  std::string method, path;
  std::string host, origin, fetchSite, cookie;
  std::string token;  // of the address
};

class RequestGuard {
 public:
  RequestGuard(int port, std::string token);

  /// 0 for a request that may pass, else the status that it is refused with:
  /// - 421: it is not for this server (a name of another machine that leads here);
  /// - 403: a page from elsewhere made it;
  /// - 401: it has neither the cookie nor, for the page itself, the token in its address.
  int Check(const RequestOrigin& request) const;
  /// Whether the address of the page brings the token.
  bool BringsToken(const RequestOrigin& request) const;

  /// The header that gives the browser its cookie.
  std::string SetCookie() const;
  /// The page's address with the token.
  std::string Address() const;

 private:
  bool IsOwnHost(std::string_view host) const;
  bool HasCookie(std::string_view cookies) const;
  bool IsToken(std::string_view text) const;

  int port_;
  std::string token_;
  std::string cookieName_;  // cookies do not know ports: two workbenches at once need two names
};

/// 256 random bits from the system, in hexadecimal.
std::string RandomToken();

}  // namespace qrvml
