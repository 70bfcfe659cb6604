// What an analysis tells every page: its part of the published state.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "server/published_state.h"

namespace qrvml {

class AnalysisPublisher {
 public:
  AnalysisPublisher(PublishedState& state, int analysis) : state_(state), analysis_(analysis) {}

  int analysis() const { return analysis_; }
  PublishedState& state() { return state_; }

  /// An event of this analysis with one or more members.
  void Tell(std::string_view type, const Json& members) {
    Json data = {{"analysis", analysis_}};
    data.update(members);
    state_.Publish(type, data);
  }
  /// Changes members of the analysis as the snapshot has it, and tells the whole of it.
  void TellWhole(const Json& members) {
    Json whole = state_.Analysis(analysis_);
    if (whole.is_null()) whole = {{"analysis", analysis_}};
    whole.update(members);
    state_.Publish("analysis", whole);
  }
  /// A number for a dialog or a request, never used before in this program.
  static int NewNumber() {
    static std::atomic<int> last{0};
    return ++last;
  }

 private:
  PublishedState& state_;
  int analysis_;
};

}  // namespace qrvml
