// What every page of the workbench sees: one snapshot, and the numbered events that lead on from
// it. Whoever changes something publishes the event, and the snapshot follows from the event, so
// that the two cannot differ.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace qrvml {

using Json = nlohmann::ordered_json;

/// JSON as text; bytes that are no UTF-8 become U+FFFD.
std::string JsonText(const Json& json);

/// Used by all threads.
class PublishedState {
 public:
  /// `fixed` are members of the snapshot that never change. At least the last `kept` events can be
  /// asked for.
  explicit PublishedState(Json fixed, std::size_t kept = 20000);

  /// Appends an event and brings the snapshot up to date. The types and their data are those of
  /// docs/workbench-protocol.md.
  void Publish(std::string_view type, const Json& data);
  /// The snapshot as text, with the number of the last event.
  std::string Snapshot() const;
  /// One analysis as the snapshot has it; null: there is none.
  Json Analysis(int id) const;

  std::uint64_t LastEvent() const;
  /// The events behind number `after` as a stream of server-sent events has them; waits for one as
  /// long as `patience`. Empty: none came. `after` becomes the number of the last one given. Where
  /// what follows `after` is no longer kept, one event "reset" takes the place of the rest.
  std::string Next(std::uint64_t& after, std::chrono::milliseconds patience) const;
  /// Ends every wait, now and from now on.
  void Close();

 private:
  void Apply(std::string_view type, const Json& data);
  Json* FindAnalysis(const Json& data);

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  Json fixed_, files_ = Json::array(), readings_ = Json::array(), analyses_ = Json::array();
  std::deque<std::string> events_;
  std::uint64_t last_ = 0;
  std::size_t kept_;
  bool closed_ = false;
};

}  // namespace qrvml
