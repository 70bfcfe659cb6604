#include "server/workbench_server.h"

#include <httplib.h>

#include <atomic>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "server/page_files.h"
#include "server/request_guard.h"

namespace qrvml {
namespace {

using httplib::Request;
using httplib::Response;

constexpr std::size_t kLargestBody = std::size_t{1} << 20;
constexpr std::size_t kMostThreads = 400;  // one for each connection that is served at a time
constexpr int kMostStreams = 24;           // of events
constexpr auto kPing = std::chrono::seconds(2);

// Nothing but what comes from here, and no script or style inside the page's text.
constexpr const char* kContentPolicy =
    "default-src 'none'; script-src 'self'; "
    // The hash is that of no text: a library may make an empty style element and fill it by script.
    "style-src 'self' 'sha256-47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU='; "
    "style-src-attr 'unsafe-inline'; img-src 'self' data: blob:; font-src 'self'; connect-src "
    "'self'; worker-src 'self' blob:; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

/// A thread for every connection, kept for those that follow: clients that say what they want
/// slowly, or never, keep nobody waiting.
class ConnectionThreads final : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> serve) override {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(serve));
    try {
      if (waiting_.size() > idle_ && threads_.size() < kMostThreads)
        threads_.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
      // It waits for a thread that there is.
    }
    changed_.notify_one();
  }
  void shutdown() override {
    {
      const std::lock_guard lock(mutex_);
      ended_ = true;
      changed_.notify_all();
    }
    for (std::thread& thread : threads_) thread.join();
  }

 private:
  void Work() {
    std::unique_lock lock(mutex_);
    for (;;) {
      ++idle_;
      changed_.wait(lock, [this] { return ended_ || !waiting_.empty(); });
      --idle_;
      if (waiting_.empty()) return;
      const std::function<void()> serve = std::move(waiting_.front());
      waiting_.pop_front();
      lock.unlock();
      serve();
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> waiting_;
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;
  bool ended_ = false;
};

RequestOrigin OriginOf(const Request& request) {
  return {request.method,
          request.path,
          request.get_header_value("Host"),
          request.get_header_value("Origin"),
          request.get_header_value("Sec-Fetch-Site"),
          request.get_header_value("Cookie"),
          request.get_param_value("token")};
}

/// Through a provider: the library would compress a plain body at its slowest setting.
void Send(Response& response, std::string body, const std::string& type) {
  auto content = std::make_shared<const std::string>(std::move(body));
  if (content->empty()) return response.set_content("", type);
  response.set_content_provider(
      content->size(), type,
      [content](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        return sink.write(content->data() + offset, length);
      });
}

void Send(Response& response, ApiReply&& reply) {
  response.status = reply.status;
  response.set_header("Cache-Control", "no-store");
  if (!reply.fileName.empty())
    response.set_header("Content-Disposition", "attachment; filename=\"" + reply.fileName + '"');
  Send(response, std::move(reply.body), reply.type);
}

const char* RefusalText(int status) {
  switch (status) {
    case 421:
      return "this address does not belong to the workbench";
    case 403:
      return "a page from elsewhere cannot use the workbench";
    default:
      return "open the address that the program printed: it carries the key of this start";
  }
}

/// "/api/files/1" -> {"files", "1"}; false for another path.
bool ReadApiPath(const std::string& path, std::vector<std::string>& parts) {
  constexpr std::string_view kRoot = "/api/";
  if (!path.starts_with(kRoot)) return false;
  for (std::size_t at = kRoot.size(); at <= path.size();) {
    const std::size_t end = std::min(path.find('/', at), path.size());
    parts.push_back(path.substr(at, end - at));
    at = end + 1;
  }
  return true;
}

}  // namespace

class WorkbenchServer::Web {
 public:
  Web(const WorkbenchSettings& settings, const std::filesystem::path& page)
      : api_(settings), page_(page) {}

  bool Start(int port, std::string& error) {
    server_.new_task_queue = [] { return new ConnectionThreads; };
    server_.set_tcp_nodelay(true);
    server_.set_payload_max_length(kLargestUpload);
    // An idle connection holds a thread and, at the end, the server.
    server_.set_keep_alive_timeout(1);
    server_.set_keep_alive_max_count(100000);
    // A port that another program listens on must be refused, not shared.
    server_.set_socket_options([this](socket_t socket) {
      listener_ = socket;
      const int yes = 1;
      setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    AddHandlers();
    if (port == 0) {
      port = server_.bind_to_any_port("127.0.0.1");
    } else if (!server_.bind_to_port("127.0.0.1", port)) {
      port = -1;
    }
    if (port < 0) {
      error = "the port cannot be used; --port 0 takes any free one";
      return false;
    }
    // The library lets five connections wait to be accepted; a sixth would be told nothing for a
    // second.
    listen(listener_, SOMAXCONN);
    guard_ = std::make_unique<RequestGuard>(port, RandomToken());
    thread_ = std::thread([this] {
      server_.listen_after_bind();
      ended_ = true;
    });
    // A stop that came before it listens would go unheard.
    while (!server_.is_running() && !ended_)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
  }

  void Stop() {
    api_.EndAnalyses();
    api_.state().Close();
    stopping_ = true;
    server_.stop();
    if (thread_.joinable()) thread_.join();
  }

  std::string Address() const { return guard_->Address(); }
  bool HasPage() const { return page_.HasPage(); }
  WorkbenchApi& api() { return api_; }

 private:
  void AddHandlers() {
    server_.set_post_routing_handler([](const Request&, Response& response) {
      response.set_header("Content-Security-Policy", kContentPolicy);
      response.set_header("X-Content-Type-Options", "nosniff");
      response.set_header("Referrer-Policy", "no-referrer");
      response.set_header("Cross-Origin-Resource-Policy", "same-origin");
    });
    server_.set_exception_handler(
        [](const Request&, Response& response, const std::exception_ptr& failure) {
          std::string text = "the request failed";
          try {
            std::rethrow_exception(failure);
          } catch (const std::exception& error) {
            text += std::string(": ") + error.what();
          } catch (...) {
          }
          Send(response, ApiReply::Refusal(500, text));
        });
    server_.Get(".*", [this](const Request& request, Response& response) {
      if (MayPass(request, response)) Get(request, response);
    });
    const auto withBody = [this](const Request& request, Response& response,
                                 const httplib::ContentReader& reader) {
      TakeBody(request, response, reader);
    };
    server_.Post(".*", withBody);
    server_.Put(".*", withBody);
    server_.Patch(".*", withBody);
    server_.Delete(".*", withBody);
  }

  bool MayPass(const Request& request, Response& response) {
    const int status = guard_->Check(OriginOf(request));
    if (status == 0) return true;
    Send(response, ApiReply::Refusal(status, RefusalText(status)));
    return false;
  }

  void Get(const Request& request, Response& response) {
    ApiRequest asked;
    if (!ReadApiPath(request.path, asked.path)) return GetFile(request, response);
    if (request.path == "/api/events") return StreamEvents(request, response);
    Answer(request, std::move(asked), response);
  }

  void GetFile(const Request& request, Response& response) {
    const PageFile* file = page_.Find(request.path);
    if (file == nullptr) return Send(response, ApiReply::Refusal(404, "there is no such file"));
    if (guard_->BringsToken(OriginOf(request)))
      response.set_header("Set-Cookie", guard_->SetCookie());
    response.set_header("Cache-Control", "no-cache");
    Send(response, file->content, file->type);
  }

  void Answer(const Request& request, ApiRequest&& asked, Response& response) {
    asked.method = request.method;
    asked.parameter = [&request](const std::string& name) { return request.get_param_value(name); };
    Send(response, api_.Answer(asked));
  }

  /// A body is read to its end whatever becomes of it: what stayed on the connection would be taken
  /// for the next request.
  void TakeBody(const Request& request, Response& response, const httplib::ContentReader& reader) {
    if (request.path == "/api/uploads" && request.method == "POST" &&
        guard_->Check(OriginOf(request)) == 0)
      return TakeUpload(request, response, reader);
    ApiRequest asked;
    bool tooLong = false;
    const auto take = [&](const char* data, std::size_t size) {
      if (asked.body.size() + size > kLargestBody) tooLong = true;
      if (!tooLong) asked.body.append(data, size);
      return true;
    };
    const bool read = request.is_multipart_form_data()
                          ? reader([](const httplib::MultipartFormData&) { return true; }, take)
                          : reader(take);
    if (!MayPass(request, response)) return;
    if (tooLong || !read)
      return Send(response, ApiReply::Refusal(tooLong || response.status == 413 ? 413 : 400,
                                              "the request is too long or was cut off"));
    if (!ReadApiPath(request.path, asked.path))
      return Send(response, ApiReply::Refusal(404, "there is nothing at this address"));
    Answer(request, std::move(asked), response);
  }

  /// Straight to the disk; what does not fit is read and dropped.
  void TakeUpload(const Request& request, Response& response,
                  const httplib::ContentReader& reader) {
    const std::string name = request.get_param_value("name");
    std::string error;
    auto upload = api_.uploads().Begin(name, error);
    std::uint64_t size = 0;
    const auto take = [&](const char* data, std::size_t bytes) {
      size += bytes;
      if (upload != nullptr && !upload->Append(data, bytes)) upload.reset();
      return true;
    };
    const bool read = request.is_multipart_form_data()
                          ? reader([](const httplib::MultipartFormData&) { return true; }, take)
                          : reader(take);
    if (!error.empty()) return Send(response, ApiReply::Refusal(422, error));
    const std::string id = upload != nullptr && read ? api_.uploads().Finish(*upload) : "";
    if (id.empty())
      return Send(response,
                  ApiReply::Refusal(
                      413,
                      "the file is too large, alone or with those that are open, was cut off or "
                      "cannot be kept"));
    Send(response, ApiReply::Of({{"upload", id}, {"name", name}, {"size", size}}));
  }

  void StreamEvents(const Request& request, Response& response) {
    if (++streams_ > kMostStreams) {
      --streams_;
      return Send(response, ApiReply::Refusal(503, "too many pages are open"));
    }
    std::uint64_t after = api_.state().LastEvent();
    std::string from = request.get_header_value("Last-Event-ID");
    if (from.empty()) from = request.get_param_value("after");
    if (!from.empty()) {
      const auto [stop, failure] = std::from_chars(from.data(), from.data() + from.size(), after);
      if (failure != std::errc{}) after = 0;
    }
    response.set_header("Cache-Control", "no-store");
    response.set_chunked_content_provider(
        "text/event-stream",
        [this, after](std::size_t offset, httplib::DataSink& sink) mutable {
          if (stopping_) return false;
          // The first piece comes at once, so that the page knows that it is connected.
          if (offset == 0) return sink.write(": welcome\n\n", 11);
          std::string text = api_.state().Next(after, kPing);
          if (stopping_) return false;
          if (text.empty()) text = ": ping\n\n";
          return sink.write(text.data(), text.size());
        },
        [this](bool) { --streams_; });
  }

  WorkbenchApi api_;
  PageFiles page_;
  std::unique_ptr<RequestGuard> guard_;
  httplib::Server server_;
  socket_t listener_ = INVALID_SOCKET;  // the server's
  std::thread thread_;
  std::atomic<bool> stopping_{false}, ended_{false};
  std::atomic<int> streams_{0};
};

WorkbenchServer::WorkbenchServer(const WorkbenchSettings& settings,
                                 const std::filesystem::path& page)
    : web_(std::make_unique<Web>(settings, page)) {}

WorkbenchServer::~WorkbenchServer() { Stop(); }

bool WorkbenchServer::Start(int port, std::string& error) { return web_->Start(port, error); }
void WorkbenchServer::Stop() { web_->Stop(); }
std::string WorkbenchServer::Address() const { return web_->Address(); }
bool WorkbenchServer::HasPage() const { return web_->HasPage(); }
WorkbenchApi& WorkbenchServer::api() { return web_->api(); }

}  // namespace qrvml
