// The program as the workbench's server.
#include <thread>

#include "system/program.h"

namespace qrvml::testing {
namespace {

class Workbench : public ProgramTest {
 protected:
  /// The first line of the standard output, once it is there.
  std::string FirstLine() {
    for (int wait = 0; wait < 400; ++wait) {
      const std::string text = Content(root() / "stdout");
      if (const auto end = text.find('\n'); end != text.npos) return text.substr(0, end);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return {};
  }
};

TEST_F(Workbench, SaysItsAddressFirstAndEndsWithAnInterrupt) {
  for (const int number : {SIGINT, SIGTERM}) {
    const pid_t child = Start({"workbench", Example("iris.csv"), "--no-open"});
    const std::string address = FirstLine();
    EXPECT_TRUE(address.starts_with("http://127.0.0.1:")) << address;
    EXPECT_EQ(address.size() - address.find("/?token=") - 8, 64u) << address;
    ASSERT_EQ(kill(child, number), 0);
    const Outcome outcome = Wait(child);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, address + "\n");
  }
}

TEST_F(Workbench, WhatCannotBeServedIsRefused) {
  const Outcome missing = Run({"workbench", (root() / "none.csv").string(), "--no-open"});
  EXPECT_EQ(missing.code, 1);
  EXPECT_NE(missing.err.find("none.csv"), std::string::npos);
  EXPECT_EQ(missing.out, "");
  EXPECT_EQ(Run({"workbench", "--port", "70000"}).code, 2);
}

}  // namespace
}  // namespace qrvml::testing
