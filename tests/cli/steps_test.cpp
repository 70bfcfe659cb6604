#include "cli/steps.h"

#include <gtest/gtest.h>

namespace qrvml {
namespace {

/// The steps written plainly: "act X; put X=[v]; print X; press X".
std::string Plain(std::string_view text) {
  std::vector<Step> steps;
  std::string error;
  if (!ParseSteps(text, steps, error)) return "error: " + error;
  std::string plain;
  for (const Step& step : steps) {
    if (!plain.empty()) plain += "; ";
    switch (step.kind) {
      case Step::Kind::act:
        plain += "act " + step.name;
        break;
      case Step::Kind::put:
        plain += "put " + step.name + "=[" + step.value + ']';
        break;
      case Step::Kind::print:
        plain += "print " + step.name;
        break;
      case Step::Kind::press:
        plain += "press " + step.name;
        break;
    }
  }
  return plain;
}

TEST(Steps, EveryTextHasOneReading) {
  const struct {
    const char *text, *reading;
  } kCases[] = {
      {"Summary,DescriptiveStat", "act Summary; act DescriptiveStat"},
      {" Summary ; TestSubset=1 , PrintPredictions",
       "act Summary; put TestSubset=[1]; act PrintPredictions"},
      {"SelectedItemX?", "print SelectedItemX"},
      {"press:Options.Euclidean", "press Options.Euclidean"},
      {"press: Priors.Select", "press Priors.Select"},
      {R"(ResultsValues="0.2 0.3 0.5",press:Priors.Select)",
       "put ResultsValues=[0.2 0.3 0.5]; press Priors.Select"},
      {R"(X="a,b;c")", "put X=[a,b;c]"},
      {R"(X="say ""hi""")", R"(put X=[say "hi"])"},
      {R"(X="""a b"" ""c""",Y=2)", R"(put X=["a b" "c"]; put Y=[2])"},
      {"X=", "put X=[]"},
      {R"(X="")", "put X=[]"},
      {"X=*", "put X=[*]"},
      {"X=a=b", "put X=[a=b]"},
      {R"(X="a?")", "put X=[a?]"},
      {"", ""},
      {"  ", ""},
  };
  for (const auto& [text, reading] : kCases) EXPECT_EQ(Plain(text), reading) << text;
}

TEST(Steps, AFaultySegmentIsNamed) {
  const struct {
    const char *text, *part;
  } kCases[] = {
      {"Summary,,Model", "\"\": a step is Action"},
      {"Summary,", "\"\": a step is Action"},
      {"X=0.2 0.3", "\"X=0.2 0.3\": a value with blanks stands in double quotes"},
      {"X=\"open", "the double quote is not closed"},
      {"X=\"a\"b", "something follows the value's closing quote"},
      {"two words", "a step is Action"},
      {"=1", "a step is Action"},
      {"press:", "a step is Action"},
      {"?", "a step is Action"},
  };
  for (const auto& [text, part] : kCases)
    EXPECT_NE(Plain(text).find(part), std::string::npos) << text << " -> " << Plain(text);
}

TEST(Steps, AFaultyTextAddsNoStep) {
  std::vector<Step> steps(1);
  std::string error;
  EXPECT_FALSE(ParseSteps("Summary,X=a b", steps, error));
  EXPECT_EQ(steps.size(), 1u);
  EXPECT_TRUE(ParseSteps("Summary", steps, error));
  EXPECT_EQ(steps.size(), 2u);
}

}  // namespace
}  // namespace qrvml
