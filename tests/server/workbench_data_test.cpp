// Data files as a page sees them.
#include "server/workbench_page.h"

namespace qrvml {
namespace {

class WorkbenchData : public test::WorkbenchPage {
 protected:
  std::string FileOf(int file) { return "/api/files/" + std::to_string(file); }
};

TEST_F(WorkbenchData, WindowsShowNumbersLabelsAndMissingCells) {
  const int id =
      OpenFile("d.csv", "<script>,sex,day\n1.5,f,2024-02-29\n,m,\n3,,2024-03-01\n-2,f,2024-03-02\n",
               {{"caseNames", "sex"}});
  const std::string file = FileOf(id);
  const Json variables = client_->GetJson(file + "/variables")["variables"];
  ASSERT_EQ(variables.size(), 3u);
  EXPECT_EQ(variables[0]["name"], "<script>");
  EXPECT_EQ(variables[0]["type"], "number");
  EXPECT_EQ(variables[1]["type"], "text");
  EXPECT_EQ(variables[1]["labels"], Json::parse(R"([[1,"f"],[2,"m"]])"));
  EXPECT_EQ(variables[1]["categorical"], true);

  const Json rows = client_->GetJson(file + "/rows?first=2&count=2&from=1&to=2");
  EXPECT_EQ(rows["rows"], Json::parse(R"([
    {"case":2,"name":"m","selected":true,"cells":[null,[2,"m"]]},
    {"case":3,"name":"","selected":true,"cells":[3.0,null]}])"));
  struct Window {
    const char* query;
    std::size_t rows, cells;
  };
  for (const auto& [query, count, cells] :
       {Window{"first=4&count=9", 1, 3}, Window{"first=5&count=9", 0, 0},
        Window{"first=-3&count=1", 1, 3}, Window{"first=1&count=-1", 0, 0},
        Window{"first=1&count=1&from=3&to=2", 1, 0}, Window{"first=1&count=1&from=3&to=99", 1, 1},
        Window{"first=2147483647&count=2147483647", 0, 0}, Window{"first=x", 4, 3}}) {
    const Json window = client_->GetJson(file + "/rows?" + query)["rows"];
    EXPECT_EQ(window.size(), count) << query;
    if (count > 0) {
      EXPECT_EQ(window[0]["cells"].size(), cells) << query;
    }
  }
  EXPECT_EQ(client_->Get("/api/files/99/rows").status, 404);
}

TEST_F(WorkbenchData, StatisticsAreThoseOfTheSelectedCases) {
  std::string table = "x,g\n";
  for (int i = 1; i <= 40; ++i) table += std::to_string(i) + (i % 2 == 1 ? ",odd\n" : ",even\n");
  const std::string file = FileOf(OpenFile("d.csv", table + ",odd\n"));
  Json x = client_->GetJson(file + "/variables/1");
  EXPECT_EQ(x["valid"], 40);
  EXPECT_EQ(x["missing"], 1);
  EXPECT_EQ(x["mean"], 20.5);
  // The variance of 1..n is n (n + 1) / 12.
  EXPECT_NEAR(x["deviation"].get<double>(), std::sqrt(40 * 41 / 12.0), 1e-12);
  EXPECT_EQ(x["histogram"]["edges"].front(), 1);
  EXPECT_EQ(x["histogram"]["edges"].back(), 40);
  EXPECT_EQ(x["histogram"]["counts"], Json(std::vector<int>(20, 2)));
  EXPECT_EQ(client_->Get(file + "/variables/3").status, 404);

  EXPECT_EQ(client_->Post(file + "/check", {{"select", "x <= 10 AND g = 'odd'"}, {"weight", 1}}),
            Json::parse(R"({"cases":41,"selected":5,"weightSum":25.0})"));
  EXPECT_EQ(client_->GetJson("/api/state")["files"][0]["selected"], 41);  // nothing has changed
  EXPECT_EQ(client_->Post(file + "/settings", {{"select", "x <= 10"}})["selected"], 10);
  x = client_->GetJson(file + "/variables/1");
  EXPECT_EQ(x["maximum"], 10);
  EXPECT_EQ(x["categories"].size(), 10u);
  EXPECT_EQ(client_->GetJson(file + "/variables/2")["categories"],
            Json::parse(R"([[1.0,"even",5],[2.0,"odd",5]])"));
  EXPECT_EQ(client_->GetJson(file + "/rows?first=11&count=1")["rows"][0]["selected"], false);

  for (const Json& refused :
       {Json{{"select", "x <="}}, Json{{"select", "no = 1"}}, Json{{"weight", 2}},
        Json{{"weight", 3}}, Json{{"weight", -1}}, Json{{"caseNames", 9}}, Json{{"select", 7}}}) {
    EXPECT_EQ(client_->Send("POST", file + "/settings", JsonText(refused)).status, 422) << refused;
    EXPECT_EQ(client_->Send("POST", file + "/check", JsonText(refused)).status, 422) << refused;
  }
  EXPECT_EQ(client_->GetJson("/api/state")["files"][0]["select"], "x <= 10");
  EXPECT_EQ(client_->Send("DELETE", file).status, 200);
  EXPECT_EQ(client_->Get(file + "/variables").status, 404);
}

TEST_F(WorkbenchData, WhatCannotBeReadIsRefusedWithItsReason) {
  Write(folder_.File("data/bad.csv"), "a,b\n1,2\n1,2,3\n");
  const auto open = [&](const Json& body) {
    return client_->Send("POST", "/api/files", JsonText(body));
  };
  const test::WebAnswer bad = open({{"folder", 0}, {"path", "bad.csv"}});
  EXPECT_EQ(bad.status, 422);
  EXPECT_NE(bad.body.find("line 3"), std::string::npos) << bad.body;
  EXPECT_EQ(open({{"folder", 0}, {"path", "none.csv"}}).status, 404);
  EXPECT_EQ(open({{"folder", 0}, {"path", "."}}).status, 404);
  EXPECT_EQ(open({{"folder", 0}, {"path", "../page"}}).status, 404);
  EXPECT_EQ(open({{"upload", "u1"}}).status, 404);
  EXPECT_EQ(open({{"folder", 0}}).status, 422);
  EXPECT_EQ(client_->Send("POST", "/api/files", "{").status, 422);
  EXPECT_EQ(client_->Send("POST", "/api/files", "[1]").status, 422);
}

TEST_F(WorkbenchData, AnUploadIsOpenedLikeAFileAndGoesWithTheProgram) {
  const test::WebAnswer sent =
      client_->Send("POST", "/api/uploads?name=..%2Fup.csv", "x,y\n1,2\n3,4\n");
  ASSERT_EQ(sent.status, 200) << sent.body;
  EXPECT_EQ(sent.json()["size"], 12);
  const Json file = client_->Post("/api/files", {{"upload", sent.json()["upload"]}});
  EXPECT_EQ(file["name"], "up.csv");
  EXPECT_EQ(file["folder"], -1);
  EXPECT_EQ(file["cases"], 2);
  const auto kept =
      std::filesystem::temp_directory_path() / ("qrvml-uploads-" + std::to_string(getpid()));
  // It lies there as long as it is open; what cannot be read does not stay.
  EXPECT_TRUE(std::filesystem::exists(kept / "u1"));
  EXPECT_EQ(client_->Send("DELETE", FileOf(file["file"])).status, 200);
  EXPECT_FALSE(std::filesystem::exists(kept / "u1"));
  client_->Send("POST", "/api/uploads?name=bad.csv", "x,y\n1\n");
  EXPECT_EQ(client_->Send("POST", "/api/files", R"({"upload":"u2"})").status, 422);
  EXPECT_FALSE(std::filesystem::exists(kept / "u2"));
  EXPECT_EQ(client_->Send("POST", "/api/uploads?name=", "x").status, 422);
  EXPECT_EQ(
      client_->Send("POST", "/api/uploads?name=a.csv", "x", {{"Origin", "http://example.org"}})
          .status,
      403);
  client_.reset();
  server_.reset();
  EXPECT_FALSE(std::filesystem::exists(kept));
}

TEST(UploadFolders, AllUploadsTogetherHaveALimit) {
  UploadFolder folder(10);
  std::string error;
  const auto begin = [&] { return folder.Begin("a.csv", error); };
  const auto first = begin();
  ASSERT_NE(first, nullptr) << error;
  EXPECT_TRUE(first->Append("123456", 6));
  const std::string id = folder.Finish(*first);
  EXPECT_FALSE(begin()->Append("12345", 5));
  // What was refused takes no room, what comes in does.
  auto second = begin();
  EXPECT_TRUE(second->Append("1234", 4));
  EXPECT_FALSE(begin()->Append("1", 1));
  second.reset();
  EXPECT_TRUE(begin()->Append("1234", 4));
  folder.Remove(folder.Find(id));
  EXPECT_EQ(folder.Find(id), "");
  EXPECT_TRUE(begin()->Append("1234567890", 10));
}

TEST_F(WorkbenchData, AReadingIsSeenAndCancelledWhileOthersGoOn) {
  const std::string small = FileOf(OpenFile("d.csv", "x\n1\n2\n"));
  std::string table;
  for (int v = 0; v < 40; ++v) table += "v" + std::to_string(v) + (v < 39 ? "," : "\n");
  std::string line;
  for (int v = 0; v < 40; ++v) line += v < 39 ? "0.12345678901234567," : "0.12345678901234567\n";
  table.reserve(line.size() * 150000);
  for (int i = 0; i < 150000; ++i) table += line;
  Write(folder_.File("data/large.csv"), table);
  test::WebAnswer refused;
  test::WebClient other(test::PortOf(server_->Address()));
  other.cookie = client_->cookie;
  std::thread reader(
      [&] { refused = other.Send("POST", "/api/files", R"({"folder":0,"path":"large.csv"})"); });
  Json readings;
  for (int i = 0; i < 2000 && readings.empty(); ++i)
    readings = client_->GetJson("/api/state")["readings"];
  EXPECT_EQ(readings[0]["name"], "large.csv");
  // Other files are looked at and changed meanwhile.
  EXPECT_EQ(client_->Post(small + "/settings", {{"select", "x > 1"}})["selected"], 1);
  EXPECT_FALSE(client_->GetJson("/api/state")["readings"].empty());
  const std::string reading = "/api/readings/" + readings[0]["reading"].dump() + "/cancel";
  EXPECT_EQ(client_->Send("POST", reading, "{}").status, 200);
  reader.join();
  EXPECT_EQ(refused.status, 409) << refused.body;
  EXPECT_EQ(refused.json()["error"], "cancelled");
  EXPECT_EQ(client_->Send("POST", reading, "{}").status, 404);
  const Json state = client_->GetJson("/api/state");
  EXPECT_TRUE(state["readings"].empty());
  EXPECT_EQ(state["files"].size(), 1u);
}

}  // namespace
}  // namespace qrvml
