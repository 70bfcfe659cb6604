// A workbench and a page that drives it, in one process, with the module's own analysis.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "datafile/saved_files.h"
#include "frame/machine_learning.h"
#include "server/web_client.h"

namespace qrvml::test {

/// y and x1 to x4, all by chance; 12,000 cases are enough to train for a while.
inline std::string NoiseTable(int cases) {
  std::string table = "y,x1,x2,x3,x4\n";
  std::uint32_t state = 7;
  for (int row = 0; row < cases; ++row) {
    for (int v = 0; v < 5; ++v) {
      state = state * 1664525u + 1013904223u;
      table += std::to_string(state >> 12) + (v < 4 ? "," : "\n");
    }
  }
  return table;
}

class WorkbenchPage : public ::testing::Test {
 protected:
  WorkbenchPage() {
    std::filesystem::create_directory(folder_.File("data"));
    Start([]() -> CAnalysisSupport* { return new MachineLearning(nullptr); });
  }
  void Start(AnalysisFactory factory) {
    WorkbenchSettings settings;
    settings.folders = {folder_.File("data")};
    settings.factory = factory;
    settings.threads = 1;
    settings.kinds = {{"svm", "Support vectors", 0, 102},
                      {"nb", "Naive Bayes", 1, 103},
                      {"knn", "K nearest neighbours", 2, 104}};
    client_.reset();
    server_ = std::make_unique<WorkbenchServer>(settings, folder_.File("page"));
    std::string error;
    ASSERT_TRUE(server_->Start(0, error)) << error;
    client_ = std::make_unique<WebClient>(PortOf(server_->Address()));
    client_->Get(PathOf(server_->Address()));
  }

  int OpenFile(const std::string& name, const std::string& content, const Json& options = {}) {
    Write(folder_.File("data/" + name), content);
    Json body = {{"folder", 0}, {"path", name}};
    if (!options.is_null()) body["options"] = options;
    return client_->Post("/api/files", body).value("file", 0);
  }
  int OpenAnalysis(int file, const std::string& kind = "knn") {
    return analysis_ = client_->Post("/api/analyses", {{"file", file}, {"kind", kind}})
                           .value("analysis", 0);
  }
  std::string At(const std::string& rest) const {
    return "/api/analyses/" + std::to_string(analysis_) + rest;
  }

  Json Analysis() {
    const Json state = client_->GetJson("/api/state");
    for (const Json& one : state["analyses"]) {
      if (one["analysis"] == analysis_) return one;
    }
    return nullptr;
  }
  /// The analysis once it is as wanted.
  Json Until(const std::function<bool(const Json&)>& wanted) {
    for (int i = 0; i < 2000; ++i) {
      Json now = Analysis();
      if (wanted(now)) return now;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ADD_FAILURE() << "it did not come so far: " << Analysis()["requests"];
    return Analysis();
  }
  Json UntilIdle() {
    return Until([](const Json& now) { return now["busy"] == false; });
  }
  /// The request on top of the open ones, once there are `depth`.
  Json Asked(std::size_t depth = 1) {
    return Until([&](const Json& now) { return now["requests"].size() == depth; })["requests"]
        .back();
  }

  WebAnswer TryCalls(int dialog, const Json& calls) {
    return client_->Send("POST", At("/calls"), JsonText({{"dialog", dialog}, {"calls", calls}}));
  }
  /// What became of the calls; not done when they ask something first.
  Json Calls(const Json& calls) {
    const std::uint64_t before = server_->api().state().LastEvent();
    const WebAnswer answer = TryCalls(Analysis()["dialog"]["dialog"], calls);
    EXPECT_EQ(answer.status, 200) << answer.body;
    Json outcome = answer.json();
    if (outcome["done"] == true) return outcome;
    // A slow machine: the server's answer does not wait for the end.
    std::size_t place = 0;
    const std::string_view done = "event: done\ndata: ";
    const std::string events = client_->Events(
        "/api/events?after=" + std::to_string(before), [&](const std::string& text) {
          place = text.find(done);
          return (place != text.npos && text.find('\n', place + done.size()) != text.npos) ||
                 text.find("event: requests") != text.npos;
        });
    if (place == events.npos) return outcome;
    place += done.size();
    return Json::parse(events.substr(place, events.find('\n', place) - place));
  }
  Json Set(const std::string& name, const Json& value) {
    return Calls({{{"do", "set"}, {"name", name}, {"value", value}}});
  }
  Json Type(const std::string& name, const std::string& text) {
    return Calls({{{"do", "type"}, {"name", name}, {"text", text}}});
  }
  Json Press(const std::string& name) { return Calls({{{"do", "press"}, {"name", name}}}); }
  Json OK() { return Calls({{{"do", "ok"}}}); }
  int Answer(const Json& request, const Json& content) {
    Json body = {{"request", request["request"]}};
    body.update(content);
    return client_->Send("POST", At("/answers"), JsonText(body)).status;
  }
  Json State(const std::string& name) {
    const Json now = Analysis();
    for (const Json& control : now["dialog"]["controls"]) {
      if (control["name"] == name) return control;
    }
    return nullptr;
  }
  Json Document(const std::string& rest) { return client_->GetJson(At("/documents/" + rest)); }

  TemporaryFolder folder_;
  std::unique_ptr<WorkbenchServer> server_;
  std::unique_ptr<WebClient> client_;
  int analysis_ = 0;
};

}  // namespace qrvml::test
