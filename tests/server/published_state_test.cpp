// The snapshot that pages are built from, and the numbered events that lead on from it.
#include "server/published_state.h"

#include <gtest/gtest.h>

#include <thread>

namespace qrvml {
namespace {

constexpr std::chrono::milliseconds kNow{0};

Json Parsed(const PublishedState& state) { return Json::parse(state.Snapshot()); }

TEST(PublishedStates, SnapshotFollowsFromTheEvents) {
  PublishedState state(Json::object({{"version", "7"}}));
  state.Publish("file", {{"file", 1}, {"name", "a.csv"}});
  state.Publish("file", {{"file", 2}, {"name", "b.csv"}});
  state.Publish("file", {{"file", 1}, {"name", "c.csv"}});
  state.Publish("fileClosed", {{"file", 2}});
  const Json control = {{"name", "K"}, {"label", "k"}, {"value", 1}};
  state.Publish("analysis", {{"analysis", 4},
                             {"busy", false},
                             {"dialog", {{"dialog", 5}, {"controls", {control}}}},
                             {"requests", Json::array()},
                             {"documents", Json::array()},
                             {"messages", Json::array()},
                             {"macro", {{"lines", 0}}}});
  state.Publish("busy", {{"analysis", 4}, {"busy", true}, {"call", 9}});
  const Json changed = {{{"name", "K"}, {"value", 3}}};
  state.Publish("controls", {{"analysis", 4}, {"dialog", 5}, {"controls", changed}});
  state.Publish("controls",
                {{"analysis", 4}, {"dialog", 99}, {"controls", {{{"name", "K"}, {"value", 8}}}}});
  Json modal = {
      {"request", 6}, {"kind", "dialog"}, {"dialog", {{"dialog", 7}, {"controls", {control}}}}};
  state.Publish("requests", {{"analysis", 4}, {"requests", {modal}}});
  state.Publish("controls", {{"analysis", 4}, {"dialog", 7}, {"controls", changed}});
  state.Publish("document", {{"analysis", 4}, {"document", {{"document", 0}, {"revision", 1}}}});
  state.Publish("document", {{"analysis", 4}, {"document", {{"document", 0}, {"revision", 2}}}});
  state.Publish("message", {{"analysis", 4}, {"message", {{"number", 105}}}});
  state.Publish("macro", {{"analysis", 4}, {"lines", 12}, {"recording", false}});
  state.Publish("busy", {{"analysis", 77}, {"busy", true}});  // one that is gone

  const Json snapshot = Parsed(state);
  EXPECT_EQ(snapshot["version"], "7");
  EXPECT_EQ(snapshot["event"], 15);
  ASSERT_EQ(snapshot["files"].size(), 1u);
  EXPECT_EQ(snapshot["files"][0]["name"], "c.csv");
  ASSERT_EQ(snapshot["analyses"].size(), 1u);
  const Json& analysis = snapshot["analyses"][0];
  EXPECT_EQ(analysis["call"], 9);
  EXPECT_EQ(analysis["dialog"]["controls"][0], Json({{"name", "K"}, {"label", "k"}, {"value", 3}}));
  EXPECT_EQ(analysis["requests"][0]["dialog"]["controls"][0]["value"], 3);
  ASSERT_EQ(analysis["documents"].size(), 1u);
  EXPECT_EQ(analysis["documents"][0]["revision"], 2);
  EXPECT_EQ(analysis["messages"].size(), 1u);
  EXPECT_EQ(analysis["macro"], Json::parse(R"({"lines":12,"recording":false})"));
}

TEST(PublishedStates, EventsResumeWhereAReaderStoppedUntilTheyAreForgotten) {
  PublishedState state(Json::object(), 3);
  for (int i = 1; i <= 5; ++i) state.Publish("message", {{"analysis", i}});
  std::uint64_t after = 3;
  EXPECT_EQ(state.Next(after, kNow),
            "id: 4\nevent: message\ndata: {\"analysis\":4}\n\n"
            "id: 5\nevent: message\ndata: {\"analysis\":5}\n\n");
  EXPECT_EQ(after, 5u);
  EXPECT_EQ(state.Next(after, kNow), "");
  for (const std::uint64_t lost : {std::uint64_t{1}, std::uint64_t{900}}) {
    after = lost;
    EXPECT_EQ(state.Next(after, kNow), "id: 5\nevent: reset\ndata: {}\n\n");
    EXPECT_EQ(after, 5u);
  }
}

TEST(PublishedStates, AWaitingReaderHearsOfAnEventAndOfTheEnd) {
  PublishedState state(Json::object());
  std::uint64_t after = 0;
  std::thread writer([&] { state.Publish("file", {{"file", 1}, {"name", "\xff<b>"}}); });
  EXPECT_NE(state.Next(after, std::chrono::seconds(20)).find("\xEF\xBF\xBD<b>"), std::string::npos);
  writer.join();
  std::thread closer([&] { state.Close(); });
  EXPECT_EQ(state.Next(after, std::chrono::hours(1)), "");
  closer.join();
}

}  // namespace
}  // namespace qrvml
