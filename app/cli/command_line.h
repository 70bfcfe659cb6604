// A command's command line: options are declared once, from then on known to the parser, to the
// help and to the suggestions for misspelt ones.
#pragma once

#include <CLI/CLI.hpp>
#include <span>
#include <string>
#include <vector>

#include "cli/option_words.h"
#include "datafile/open_options.h"

namespace qrvml {

enum class ParseOutcome { go, help, wrong };

class CommandLine {
 public:
  CommandLine(std::string description, std::string name);

  /// An option with a value; `names` as the parser takes them: "--name,--other-name".
  template <class T>
  CLI::Option* Add(const std::string& names, T& target, const std::string& help,
                   OptionWord::Takes takes = OptionWord::Takes::value) {
    Know(names, takes);
    return app_.add_option(names, target, help)->expected(1);
  }
  /// A repeatable option with a value.
  CLI::Option* AddRepeatable(const std::string& names, std::vector<std::string>& target,
                             const std::string& help);
  /// An option without a value.
  CLI::Option* AddFlag(const std::string& names, bool& target, const std::string& help);
  /// A word without a dash; they are taken in the order of the calls.
  void Positional(const std::string& name, std::string& target, const std::string& help) {
    app_.add_option(name, target, help);
  }
  /// The options of every command that opens a data file, and FILE.
  void AddFileOptions(OpenOptions& options);
  void Footer(const std::string& text) { app_.footer(text); }
  void Group(CLI::Option* option, const std::string& name) { option->group(name); }

  /// help: `text` is the help text. wrong: `text` says what is wrong.
  ParseOutcome Parse(std::span<const std::string> arguments, std::string& text);

 private:
  void Know(const std::string& names, OptionWord::Takes takes);

  CLI::App app_;
  std::vector<OptionWord> words_;
};

}  // namespace qrvml
