#include "server/page_questions.h"

#include <filesystem>

#include "datafile/data_file_writer.h"

namespace qrvml {

BoxButton PageQuestions::AskMessage(BoxType type, const LoggedMessage& message) {
  const bool isQuestion = type == BoxType::okCancel;
  Json shown = {{"number", message.number}, {"text", message.text}};
  shown["buttons"] = isQuestion ? Json::array({"ok", "cancel"}) : Json::array({"ok"});
  BoxButton pressed = BoxButton::cancel;
  const bool answered = asker_.Ask("message", shown, [&](const Json& answer) -> std::string {
    const std::string button = answer.at("button").get<std::string>();
    if (button != "ok" && (button != "cancel" || !isQuestion)) return "there is no such button";
    if (button == "ok") pressed = BoxButton::ok;
    return {};
  });
  if (!isQuestion) return BoxButton::ok;
  if (answered) onAnswer(AnswerMember::option, pressed == BoxButton::ok ? "OK" : "Cancel");
  return pressed;
}

bool PageQuestions::AskForOutputs(std::string_view title, std::string_view prompt,
                                  std::span<const std::string> offered, std::vector<int>& picked) {
  const Json shown = {{"title", title},
                      {"prompt", prompt},
                      {"offered", std::vector<std::string>(offered.begin(), offered.end())},
                      {"picked", picked}};
  const bool answered = asker_.Ask("outputs", shown, [&](const Json& answer) -> std::string {
    auto given = answer.at("picked").get<std::vector<int>>();
    for (const int position : given) {
      if (position < 0 || position >= static_cast<int>(offered.size()))
        return "there is no output number " + std::to_string(position);
    }
    picked = std::move(given);
    return {};
  });
  if (!answered) return false;
  std::string text;
  for (const int position : picked)
    text += (text.empty() ? "" : " ") + std::to_string(position + 1);
  onAnswer(AnswerMember::selection, text.empty() ? "None" : text);
  return true;
}

bool PageQuestions::AskForFileName(std::string& path, bool& overwrite) {
  const Json shown = {{"suggested", path.empty() ? "NEW.QRV" : path}};
  const bool answered = asker_.Ask("fileName", shown, [&](const Json& answer) {
    std::string error;
    std::filesystem::path found;
    overwrite = answer.value("overwrite", false);
    const std::string given = answer.at("path").get<std::string>();
    if (!folders_.Find(answer.at("folder").get<int>(), given, found, error)) return error;
    if (!HasSaveFormat(given)) return "the name of a saved file ends in " + SavedExtensions();
    if (std::filesystem::is_directory(found)) return '"' + given + "\" is a folder";
    if (!overwrite && std::filesystem::exists(found)) return std::string("exists");
    path = found.string();
    return error;
  });
  if (answered) onAnswer(AnswerMember::saveFileName, path);
  return answered;
}

}  // namespace qrvml
