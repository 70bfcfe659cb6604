// A client of the workbench as a browser is one, and a server for it to speak to.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "server/workbench_server.h"

namespace qrvml::test {

using Headers = std::multimap<std::string, std::string>;

struct WebAnswer {
  int status = 0;  // 0: no answer
  std::string body;
  std::multimap<std::string, std::string> headers;

  Json json() const { return Json::parse(body, nullptr, false); }
  std::string Header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
  }
};

/// Keeps one connection, as browsers do. Sends Host and, once it has one, the cookie by itself.
class WebClient {
 public:
  explicit WebClient(int port);
  ~WebClient();

  WebAnswer Send(const std::string& method, const std::string& path, const std::string& body = {},
                 const Headers& headers = {});
  WebAnswer Get(const std::string& path) { return Send("GET", path); }
  /// A request that succeeds, with its JSON.
  Json Post(const std::string& path, const Json& body);
  Json GetJson(const std::string& path);
  /// The stream of events until `enough` of its text says so, or a time is over.
  std::string Events(const std::string& path, const std::function<bool(const std::string&)>& enough,
                     const Headers& headers = {});

  std::string cookie;

 private:
  struct Connection;
  std::unique_ptr<Connection> connection_;
};

/// The part of an address behind "http://host:port".
std::string PathOf(const std::string& address);
int PortOf(const std::string& address);

}  // namespace qrvml::test
