#include "server/published_state.h"

#include <algorithm>

namespace qrvml {
namespace {

constexpr std::size_t kKeptMessages = 1000;  // of an analysis, in its snapshot
constexpr std::size_t kEventsAtOnce = 500;

/// The element of an array whose member `key` is that of `data`; end() when there is none.
Json::iterator FindBy(Json& array, const char* key, const Json& data) {
  return std::ranges::find_if(array, [&](const Json& entry) { return entry[key] == data.at(key); });
}

void Replace(Json& array, const char* key, const Json& data) {
  const auto found = FindBy(array, key, data);
  if (found == array.end()) {
    array.push_back(data);
  } else {
    *found = data;
  }
}

void Remove(Json& array, const char* key, const Json& data) {
  if (const auto found = FindBy(array, key, data); found != array.end()) array.erase(found);
}

/// Brings the controls that changed into a dialog.
void UpdateControls(Json& dialog, const Json& controls) {
  for (const Json& changed : controls) {
    const auto control = FindBy(dialog["controls"], "name", changed);
    if (control != dialog["controls"].end()) control->update(changed);
  }
}

}  // namespace

std::string JsonText(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

PublishedState::PublishedState(Json fixed, std::size_t kept)
    : fixed_(std::move(fixed)), kept_(kept) {}

void PublishedState::Publish(std::string_view type, const Json& data) {
  std::string text = "event: " + std::string(type) + "\ndata: " + JsonText(data) + "\n\n";
  const std::lock_guard lock(mutex_);
  Apply(type, data);
  events_.push_back("id: " + std::to_string(++last_) + '\n' + std::move(text));
  if (events_.size() > kept_) events_.pop_front();
  changed_.notify_all();
}

Json* PublishedState::FindAnalysis(const Json& data) {
  const auto found = FindBy(analyses_, "analysis", data);
  return found == analyses_.end() ? nullptr : &*found;
}

void PublishedState::Apply(std::string_view type, const Json& data) {
  if (type == "file") return Replace(files_, "file", data);
  if (type == "fileClosed") return Remove(files_, "file", data);
  if (type == "reading") return Replace(readings_, "reading", data);
  if (type == "readingEnded") return Remove(readings_, "reading", data);
  if (type == "analysis") return Replace(analyses_, "analysis", data);
  if (type == "analysisClosed") return Remove(analyses_, "analysis", data);
  Json* analysis = FindAnalysis(data);
  if (analysis == nullptr) return;
  if (type == "controls") {
    Json& dialog = (*analysis)["dialog"];
    if (dialog.is_object() && dialog["dialog"] == data["dialog"])
      return UpdateControls(dialog, data["controls"]);
    for (Json& request : (*analysis)["requests"]) {
      if (request.contains("dialog") && request["dialog"]["dialog"] == data["dialog"])
        UpdateControls(request["dialog"], data["controls"]);
    }
  } else if (type == "document") {
    Replace((*analysis)["documents"], "document", data["document"]);
  } else if (type == "message") {
    Json& messages = (*analysis)["messages"];
    messages.push_back(data["message"]);
    if (messages.size() > kKeptMessages) messages.erase(messages.begin());
  } else if (type == "macro") {
    (*analysis)["macro"] = {{"lines", data["lines"]}, {"recording", data["recording"]}};
  } else if (type == "undo" || type == "busy" || type == "requests" || type == "progress") {
    analysis->update(data);
  }
}

std::string PublishedState::Snapshot() const {
  const std::lock_guard lock(mutex_);
  Json snapshot = {{"event", last_}};
  snapshot.update(fixed_);
  snapshot["files"] = files_;
  snapshot["readings"] = readings_;
  snapshot["analyses"] = analyses_;
  return JsonText(snapshot);
}

Json PublishedState::Analysis(int id) const {
  const std::lock_guard lock(mutex_);
  for (const Json& analysis : analyses_) {
    if (analysis["analysis"] == id) return analysis;
  }
  return nullptr;
}

std::uint64_t PublishedState::LastEvent() const {
  const std::lock_guard lock(mutex_);
  return last_;
}

std::string PublishedState::Next(std::uint64_t& after, std::chrono::milliseconds patience) const {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, patience, [&] { return closed_ || last_ != after; });
  if (last_ == after) return {};
  if (after > last_ || last_ - after > events_.size()) {
    after = last_;
    return "id: " + std::to_string(last_) + "\nevent: reset\ndata: {}\n\n";
  }
  std::string text;
  const std::size_t first = events_.size() - static_cast<std::size_t>(last_ - after);
  const std::size_t end = std::min(events_.size(), first + kEventsAtOnce);
  for (std::size_t i = first; i < end; ++i) text += events_[i];
  after += end - first;
  return text;
}

void PublishedState::Close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  changed_.notify_all();
}

}  // namespace qrvml
