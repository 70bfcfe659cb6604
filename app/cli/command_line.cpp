#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace qrvml {

LineOption& LineOption::Group(const std::string& name) {
  option_->group(name);
  return *this;
}

LineOption& LineOption::TypeName(const std::string& name) {
  option_->type_name(name);
  return *this;
}

LineOption& LineOption::Range(int low, int high) {
  option_->check(CLI::Range(low, high));
  return *this;
}

LineOption& LineOption::Range(double low, double high) {
  option_->check(CLI::Range(low, high));
  return *this;
}

LineOption& LineOption::ZeroOrMore() {
  option_->check(CLI::NonNegativeNumber);
  return *this;
}

LineOption& LineOption::OneOf(const std::vector<std::string>& values) {
  option_->check(CLI::IsMember(values));
  return *this;
}

bool LineOption::IsGiven() const { return option_->count() > 0; }

CommandLine::CommandLine(std::string description, std::string name)
    : app_(std::make_unique<CLI::App>(std::move(description), std::move(name))) {
  words_ = {{"--help", OptionWord::Takes::nothing}, {"-h", OptionWord::Takes::nothing}};
}

CommandLine::~CommandLine() = default;

void CommandLine::Know(const std::string& names, OptionWord::Takes takes) {
  std::istringstream stream(names);
  for (std::string name; std::getline(stream, name, ',');) words_.push_back({name, takes});
}

template <class T>
LineOption CommandLine::Add(const std::string& names, T& target, const std::string& help,
                            OptionWord::Takes takes) {
  Know(names, takes);
  return LineOption(app_->add_option(names, target, help)->expected(1));
}

template LineOption CommandLine::Add(const std::string&, std::string&, const std::string&,
                                     OptionWord::Takes);
template LineOption CommandLine::Add(const std::string&, int&, const std::string&,
                                     OptionWord::Takes);
template LineOption CommandLine::Add(const std::string&, size_t&, const std::string&,
                                     OptionWord::Takes);
template LineOption CommandLine::Add(const std::string&, double&, const std::string&,
                                     OptionWord::Takes);

LineOption CommandLine::AddRepeatable(const std::string& names, std::vector<std::string>& target,
                                      const std::string& help) {
  Know(names, OptionWord::Takes::value);
  return LineOption(
      app_->add_option(names, target, help)->expected(1)->allow_extra_args(false)->take_all());
}

LineOption CommandLine::AddFlag(const std::string& names, bool& target, const std::string& help) {
  Know(names, OptionWord::Takes::nothing);
  return LineOption(app_->add_flag(names, target, help));
}

void CommandLine::Positional(const std::string& name, std::string& target,
                             const std::string& help) {
  app_->add_option(name, target, help);
}

void CommandLine::Footer(const std::string& text) { app_->footer(text); }

void CommandLine::AddFileOptions(OpenOptions& options) {
  const std::string group = "Data file";
  app_->add_option("FILE", options.path, "The data file");
  Add("--weight", options.weight, "Variable with case weights").Group(group);
  Add("--select", options.select, "Condition that cases must satisfy").Group(group);
  Add("--case-names", options.caseNames, "Column with the cases' names").Group(group);
  AddRepeatable("--missing", options.missing, "VARIABLE=CODE: missing-data code of a variable")
      .Group(group);
  Add("--delimiter", options.delimiter, "Text files: one character or tab (default: found)")
      .Group(group);
  Add("--decimal", options.decimal, "Text files: . or , (default: found)").Group(group);
  Add("--encoding", options.encoding, "Text files: utf-8 or windows-1252 (default: found)")
      .Group(group);
  Add("--memory", options.memory,
      "Memory for the data, such as 500M or 4G, the rest on disk (default: half of what there is)")
      .Group(group);
}

ParseOutcome CommandLine::Parse(std::span<const std::string> arguments, std::string& text) {
  std::vector<std::string> words;
  if (!SplitOptionWords(arguments, words_, words, text)) return ParseOutcome::wrong;
  std::ranges::reverse(words);  // the parser takes them from the back
  try {
    app_->parse(std::move(words));
  } catch (const CLI::CallForHelp&) {
    text = app_->help();
    return ParseOutcome::help;
  } catch (const CLI::ParseError& error) {
    text = error.what();
    return ParseOutcome::wrong;
  }
  return ParseOutcome::go;
}

}  // namespace qrvml
