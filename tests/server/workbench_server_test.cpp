// Who is let in, what is handed out, and what is not.
#include "server/workbench_server.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "datafile/saved_files.h"
#include "server/web_client.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;
using test::Headers;
using test::WebAnswer;
using test::WebClient;

class WorkbenchServers : public ::testing::Test {
 protected:
  WorkbenchServers() {
    for (const char* name : {"data", "data/sub", "page", "other"})
      fs::create_directory(folder_.File(name));
    Write(folder_.File("data/b.csv"), "x\n1\n");
    Write(folder_.File("data/sub/a.csv"), "x\n1\n");
    Write(folder_.File("data/.hidden"), "x");
    Write(folder_.File("other/secret.csv"), "x\n1\n");
    Write(folder_.File("page/index.html"), "<!doctype html><p>page");
    Write(folder_.File("page/app.js"), "let a");
    fs::create_symlink(folder_.File("other"), folder_.File("data/out"));
    fs::create_symlink(folder_.File("other/secret.csv"), folder_.File("data/link.csv"));
    WorkbenchSettings settings;
    settings.folders = {folder_.File("data")};
    settings.version = "1";
    server_ = std::make_unique<WorkbenchServer>(settings, folder_.File("page"));
    std::string error;
    EXPECT_TRUE(server_->Start(0, error)) << error;
    address_ = server_->Address();
    port_ = test::PortOf(address_);
  }
  /// Opens the page as a person does, so that the client has the cookie.
  void Enter(WebClient& client) {
    ASSERT_EQ(client.Get(test::PathOf(address_)).status, 200);
    ASSERT_NE(client.cookie, "");
  }

  TemporaryFolder folder_;
  std::unique_ptr<WorkbenchServer> server_;
  std::string address_;
  int port_ = 0;
};

TEST_F(WorkbenchServers, OnlyABrowserOnThisMachineWithTheTokenIsLetIn) {
  WebClient client(port_);
  const WebAnswer page = client.Get(test::PathOf(address_));
  EXPECT_EQ(page.body, "<!doctype html><p>page");
  EXPECT_EQ(page.Header("Content-Type"), "text/html; charset=utf-8");
  const std::string given = page.Header("Set-Cookie");
  EXPECT_NE(given.find("; HttpOnly; SameSite=Strict; Path=/"), std::string::npos);
  const std::string policy = page.Header("Content-Security-Policy");
  EXPECT_NE(policy.find("default-src 'none'; script-src 'self';"), std::string::npos);
  EXPECT_EQ(policy.find("script-src 'self' "), std::string::npos);
  EXPECT_EQ(page.Header("X-Content-Type-Options"), "nosniff");

  const std::string port = ':' + std::to_string(port_);
  const std::string cookie = client.cookie;
  std::string wrong = cookie;
  wrong.back() = wrong.back() == '0' ? '1' : '0';
  const std::string token = test::PathOf(address_);
  struct Case {
    const char* method;
    std::string path;
    Headers headers;
    int status;
  };
  const Case cases[] = {
      {"GET", "/api/state", {}, 200},
      {"GET", "/api/state", {{"Host", "localhost" + port}}, 200},
      {"GET", "/", {{"Sec-Fetch-Site", "cross-site"}}, 200},
      {"GET", "/api/state", {{"Cookie", "a=b; " + cookie + "; c=d"}}, 200},
      // without the token, or with a wrong or cut one
      {"GET", "/", {{"Cookie", "x"}}, 401},
      {"GET", "/api/state", {{"Cookie", "x"}}, 401},
      {"GET", "/app.js", {{"Cookie", "x"}}, 401},
      {"GET", "/nothing", {{"Cookie", "x"}}, 401},
      {"POST", "/api/state", {{"Cookie", "x"}}, 401},
      {"DELETE", "/api/files/1", {{"Cookie", "x"}}, 401},
      {"GET", "/api/state", {{"Cookie", wrong}}, 401},
      {"GET", "/api/state", {{"Cookie", cookie.substr(0, cookie.size() - 1)}}, 401},
      {"GET", "/api/state", {{"Cookie", cookie + "0"}}, 401},
      {"GET", "/?token=", {{"Cookie", "x"}}, 401},
      {"GET", token.substr(0, token.size() - 1), {{"Cookie", "x"}}, 401},
      {"GET", "/api/state" + token.substr(1), {{"Cookie", "x"}}, 401},
      // another name that leads to this machine
      {"GET", "/api/state", {{"Host", "example.org" + port}}, 421},
      {"GET", token, {{"Host", "example.org" + port}}, 421},
      {"GET", "/api/state", {{"Host", "127.0.0.1"}}, 421},
      {"GET", "/api/state", {{"Host", "127.0.0.1:1"}}, 421},
      {"GET", "/api/state", {{"Host", "127.0.0.1" + port + ".example.org"}}, 421},
      // a page from elsewhere, even with the cookie
      {"POST", "/api/files", {{"Origin", "http://127.0.0.1:1"}}, 403},
      {"POST", "/api/files", {{"Origin", "https://127.0.0.1" + port}}, 403},
      {"POST", "/api/files", {{"Origin", "null"}}, 403},
      {"GET", "/api/state", {{"Origin", "http://example.org"}}, 403},
      {"GET", "/api/state", {{"Sec-Fetch-Site", "same-site"}}, 403},
      {"POST", "/api/files", {{"Sec-Fetch-Site", "cross-site"}}, 403},
      // let in, but there is nothing
      {"POST", "/api/nothing", {{"Origin", "http://127.0.0.1" + port}}, 404},
      {"POST", "/api/state", {{"Sec-Fetch-Site", "same-origin"}}, 405},
      {"PUT", "/index.html", {}, 404},
      {"GET", "/api/files/x", {}, 404},
      {"GET", "/api/", {}, 404},
      {"GET", "/../page/index.html", {}, 404},
      {"GET", "/%2e%2e/other/secret.csv", {}, 404},
  };
  for (const Case& one : cases) {
    const WebAnswer answer = client.Send(one.method, one.path, "", one.headers);
    EXPECT_EQ(answer.status, one.status) << one.method << ' ' << one.path << ' ' << answer.body;
    EXPECT_EQ(answer.Header("Content-Security-Policy"), policy) << one.path;
    client.cookie = cookie;
  }
}

TEST_F(WorkbenchServers, FilesOutsideTheNamedFoldersAreNotThere) {
  WebClient client(port_);
  Enter(client);
  const auto names = [&](const std::string& query) {
    std::string text;
    const Json listed = client.GetJson("/api/list?" + query);
    for (const Json& entry : listed["entries"])
      text += entry["name"].get<std::string>() + (entry["directory"] ? "/ " : " ");
    return text;
  };
  EXPECT_EQ(names("folder=0&path="), "sub/ b.csv ");
  EXPECT_EQ(names("folder=0&path=sub"), "a.csv ");
  EXPECT_EQ(names("folder=0&path=sub/.."), "sub/ b.csv ");
  for (const char* query :
       {"folder=0&path=..", "folder=0&path=../other", "folder=0&path=sub/../../other",
        "folder=0&path=/etc", "folder=0&path=out", "folder=0&path=%2e%2e", "folder=1&path=",
        "folder=-1&path=", "folder=0&path=b.csv", "folder=0&path=%00", "folder=0&path=none/sub"})
    EXPECT_EQ(client.Get(std::string("/api/list?") + query).status, 404) << query;
}

TEST_F(WorkbenchServers, ABodyThatIsTooLongIsRefusedAndTheConnectionGoesOn) {
  WebClient client(port_);
  Enter(client);
  const std::string start = "GET /api/state HTTP/1.1\r\n";
  const std::string longest(std::size_t{1} << 20, ' ');
  EXPECT_EQ(client.Send("POST", "/api/nothing", longest).status, 404);
  EXPECT_EQ(client.Send("POST", "/api/nothing", start + longest).status, 413);
  EXPECT_EQ(client.Get("/api/state").json()["version"], "1");
  EXPECT_EQ(client.Send("POST", "/api/nothing", start, {{"Origin", "http://example.org"}}).status,
            403);
  EXPECT_EQ(client.Get("/api/state").json()["version"], "1");
}

TEST_F(WorkbenchServers, ABodyNestedTooDeepIsRefused) {
  WebClient client(port_);
  Enter(client);
  const std::string deep = std::string(400000, '[') + std::string(400000, ']');
  for (const char* path : {"/api/analyses", "/api/files"})
    EXPECT_EQ(client.Send("POST", path, "{\"file\":1,\"path\":" + deep + '}').status, 422) << path;
  EXPECT_EQ(client.Send("POST", "/api/analyses", deep).status, 422);
}

TEST_F(WorkbenchServers, ClientsThatNeverFinishARequestKeepNobodyWaiting) {
  WebClient client(port_);
  Enter(client);
  std::vector<int> sockets;
  for (int i = 0; i < 60; ++i) {
    sockets.push_back(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port_));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(connect(sockets.back(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    const std::string_view begun = "GET / HTTP/1.1\r\nHost: ";
    ASSERT_EQ(send(sockets.back(), begun.data(), begun.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(begun.size()));
  }
  WebClient another(port_);
  another.cookie = client.cookie;
  EXPECT_EQ(another.Get("/api/state").status, 200);
  // None of them has been ended for it: the answer to a wrong host comes once it is complete.
  for (const int slow : sockets) {
    const std::string_view rest = "x\r\n\r\n";
    char answer[12] = {};
    EXPECT_EQ(send(slow, rest.data(), rest.size(), MSG_NOSIGNAL), 5);
    EXPECT_EQ(recv(slow, answer, sizeof answer, MSG_WAITALL), 12);
    EXPECT_EQ(std::string_view(answer, 12), "HTTP/1.1 421");
    close(slow);
  }
}

TEST_F(WorkbenchServers, EventsReachEveryPageAndAReaderThatComesBack) {
  WebClient first(port_), second(port_);
  Enter(first);
  Enter(second);
  const auto publish = [&](int number) {
    server_->api().state().Publish("file", {{"file", number}});
  };
  publish(1);
  publish(2);
  const auto has = [](const char* text) {
    return [text](const std::string& got) { return got.find(text) != std::string::npos; };
  };
  const std::string missed = first.Events("/api/events", has("id: 2"), {{"Last-Event-ID", "1"}});
  EXPECT_EQ(missed.find("id: 1\n"), std::string::npos);
  EXPECT_NE(missed.find("id: 2\nevent: file\ndata: {\"file\":2}\n\n"), std::string::npos);
  const auto joined = [&](const std::string& got) {
    if (has("welcome")(got) && !has("id: 3")(got)) publish(3);
    return has("id: 3")(got);
  };
  EXPECT_NE(second.Events("/api/events?after=2", joined).find("data: {\"file\":3}"),
            std::string::npos);
  // A stream that nobody ends does not keep the server from ending.
  std::thread reader(
      [&] { first.Events("/api/events", [](const std::string&) { return false; }); });
  server_->Stop();
  reader.join();
}

TEST_F(WorkbenchServers, APortInUseIsRefused) {
  WorkbenchServer another(WorkbenchSettings{}, folder_.File("none"));
  std::string error;
  EXPECT_FALSE(another.Start(port_, error));
  EXPECT_NE(error, "");
  EXPECT_FALSE(another.HasPage());
}

}  // namespace
}  // namespace qrvml
