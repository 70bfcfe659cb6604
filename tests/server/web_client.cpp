#include "server/web_client.h"

#include <httplib.h>

namespace qrvml::test {

struct WebClient::Connection {
  explicit Connection(int ofServer)
      : port(ofServer), client("127.0.0.1", port), host("127.0.0.1:" + std::to_string(port)) {
    client.set_keep_alive(true);
    client.set_tcp_nodelay(true);
    client.set_read_timeout(20);
  }
  int port;
  httplib::Client client;
  std::string host;
};

WebClient::WebClient(int port) : connection_(std::make_unique<Connection>(port)) {}
WebClient::~WebClient() = default;

WebAnswer WebClient::Send(const std::string& method, const std::string& path,
                          const std::string& body, const Headers& headers) {
  httplib::Request request;
  request.method = method;
  request.path = path;
  request.body = body;
  for (const auto& [name, value] : headers) request.headers.emplace(name, value);
  if (!request.has_header("Host")) request.headers.emplace("Host", connection_->host);
  if (!cookie.empty() && !request.has_header("Cookie")) request.headers.emplace("Cookie", cookie);
  const httplib::Result result = connection_->client.send(request);
  if (!result) return {};
  WebAnswer answer{result->status, result->body, {}};
  for (const auto& [name, value] : result->headers) answer.headers.emplace(name, value);
  if (const std::string given = answer.Header("Set-Cookie"); !given.empty())
    cookie = given.substr(0, given.find(';'));
  return answer;
}

Json WebClient::Post(const std::string& path, const Json& body) {
  const WebAnswer answer = Send("POST", path, JsonText(body));
  EXPECT_EQ(answer.status, 200) << path << ' ' << body << ": " << answer.body;
  return answer.json();
}

Json WebClient::GetJson(const std::string& path) {
  const WebAnswer answer = Get(path);
  EXPECT_EQ(answer.status, 200) << path << ": " << answer.body;
  return answer.json();
}

std::string WebClient::Events(const std::string& path,
                              const std::function<bool(const std::string&)>& enough,
                              const Headers& headers) {
  httplib::Headers sent{{"Host", connection_->host}, {"Cookie", cookie}};
  for (const auto& [name, value] : headers) sent.emplace(name, value);
  std::string text;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  httplib::Client client("127.0.0.1", connection_->port);
  client.set_read_timeout(20);
  client.Get(path, sent, [&](const char* data, std::size_t size) {
    text.append(data, size);
    return !enough(text) && std::chrono::steady_clock::now() < end;
  });
  return text;
}

int PortOf(const std::string& address) { return std::stoi(address.substr(address.rfind(':') + 1)); }

std::string PathOf(const std::string& address) {
  return address.substr(address.find('/', address.rfind(':')));
}

}  // namespace qrvml::test
