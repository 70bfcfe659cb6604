#include "cli/command_line.h"

#include <algorithm>
#include <sstream>

namespace qrvml {

CommandLine::CommandLine(std::string description, std::string name)
    : app_(std::move(description), std::move(name)) {
  words_ = {{"--help", OptionWord::Takes::nothing}, {"-h", OptionWord::Takes::nothing}};
}

void CommandLine::Know(const std::string& names, OptionWord::Takes takes) {
  std::istringstream stream(names);
  for (std::string name; std::getline(stream, name, ',');) words_.push_back({name, takes});
}

CLI::Option* CommandLine::AddRepeatable(const std::string& names, std::vector<std::string>& target,
                                        const std::string& help) {
  Know(names, OptionWord::Takes::value);
  return app_.add_option(names, target, help)->expected(1)->allow_extra_args(false)->take_all();
}

CLI::Option* CommandLine::AddFlag(const std::string& names, bool& target, const std::string& help) {
  Know(names, OptionWord::Takes::nothing);
  return app_.add_flag(names, target, help);
}

void CommandLine::AddFileOptions(OpenOptions& options) {
  const std::string group = "Data file";
  app_.add_option("FILE", options.path, "The data file");
  Add("--weight", options.weight, "Variable with case weights")->group(group);
  Add("--select", options.select, "Condition that cases must satisfy")->group(group);
  Add("--case-names", options.caseNames, "Column with the cases' names")->group(group);
  AddRepeatable("--missing", options.missing, "VARIABLE=CODE: missing-data code of a variable")
      ->group(group);
  Add("--delimiter", options.delimiter, "Text files: one character or tab (default: found)")
      ->group(group);
  Add("--decimal", options.decimal, "Text files: . or , (default: found)")->group(group);
  Add("--encoding", options.encoding, "Text files: utf-8 or windows-1252 (default: found)")
      ->group(group);
  Add("--memory", options.memory,
      "Memory for the data, such as 500M or 4G, the rest on disk (default: half of what there is)")
      ->group(group);
}

ParseOutcome CommandLine::Parse(std::span<const std::string> arguments, std::string& text) {
  std::vector<std::string> words;
  if (!SplitOptionWords(arguments, words_, words, text)) return ParseOutcome::wrong;
  std::ranges::reverse(words);  // the parser takes them from the back
  try {
    app_.parse(std::move(words));
  } catch (const CLI::CallForHelp&) {
    text = app_.help();
    return ParseOutcome::help;
  } catch (const CLI::ParseError& error) {
    text = error.what();
    return ParseOutcome::wrong;
  }
  return ParseOutcome::go;
}

}  // namespace qrvml
