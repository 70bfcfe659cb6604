// A command's command line: options are declared once, from then on known to the parser, to the
// help and to the suggestions for misspelt ones. The parsing library stays behind it.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "cli/option_words.h"
#include "datafile/open_options.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace qrvml {

enum class ParseOutcome { go, help, wrong };

/// An option that a command line knows, to say more about it; lives as long as the command line.
class LineOption {
 public:
  LineOption() = default;  // none yet
  explicit LineOption(CLI::Option* option) : option_(option) {}

  /// The heading of the help under which it stands.
  LineOption& Group(const std::string& name);
  /// What the help shows as its value.
  LineOption& TypeName(const std::string& name);
  /// Other values are wrong usage.
  LineOption& Range(int low, int high);
  LineOption& Range(double low, double high);
  LineOption& ZeroOrMore();
  LineOption& OneOf(const std::vector<std::string>& values);

  /// After parsing: it stood on the line.
  bool IsGiven() const;

 private:
  CLI::Option* option_ = nullptr;
};

class CommandLine {
 public:
  CommandLine(std::string description, std::string name);
  ~CommandLine();

  /// An option with a value; `names` as the parser takes them: "--name,--other-name".
  /// T is one of std::string, int, size_t and double.
  template <class T>
  LineOption Add(const std::string& names, T& target, const std::string& help,
                 OptionWord::Takes takes = OptionWord::Takes::value);
  /// A repeatable option with a value.
  LineOption AddRepeatable(const std::string& names, std::vector<std::string>& target,
                           const std::string& help);
  /// An option without a value.
  LineOption AddFlag(const std::string& names, bool& target, const std::string& help);
  /// A word without a dash; they are taken in the order of the calls.
  void Positional(const std::string& name, std::string& target, const std::string& help);
  /// The options of every command that opens a data file, and FILE.
  void AddFileOptions(OpenOptions& options);
  void Footer(const std::string& text);

  /// help: `text` is the help text. wrong: `text` says what is wrong.
  ParseOutcome Parse(std::span<const std::string> arguments, std::string& text);

 private:
  void Know(const std::string& names, OptionWord::Takes takes);

  std::unique_ptr<CLI::App> app_;
  std::vector<OptionWord> words_;
};

}  // namespace qrvml
