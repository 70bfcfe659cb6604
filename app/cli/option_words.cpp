#include "cli/option_words.h"

#include <algorithm>

#include "cli/suggestion.h"

namespace qrvml {

bool SplitOptionWords(std::span<const std::string> arguments, std::span<const OptionWord> options,
                      std::vector<std::string>& words, std::string& error) {
  std::vector<std::string> split;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument.size() < 2 || argument[0] != '-') {
      split.push_back(argument);
      continue;
    }
    const std::size_t equals = argument.find('=');
    const bool joined = equals != std::string::npos;
    const std::string name = argument.substr(0, equals);
    const auto option = std::ranges::find(options, name, &OptionWord::name);
    if (option == options.end()) {
      std::vector<std::string> names;
      for (const OptionWord& known : options) names.push_back(known.name);
      error = "unknown option " + name + DidYouMean(name, names);
      return false;
    }
    split.push_back(name);
    const bool more = i + 1 < arguments.size();
    switch (option->takes) {
      case OptionWord::Takes::nothing:
        if (joined) {
          error = name + " takes no value";
          return false;
        }
        break;
      case OptionWord::Takes::value:
        if (!joined && !more) {
          error = name + " needs a value";
          return false;
        }
        split.push_back(joined ? argument.substr(equals + 1) : arguments[++i]);
        break;
      case OptionWord::Takes::zeroOrOne:
        if (joined) {
          split.push_back(argument.substr(equals + 1));
        } else if (more && (arguments[i + 1] == "0" || arguments[i + 1] == "1")) {
          split.push_back(arguments[++i]);
        } else {
          split.push_back("1");
        }
        break;
    }
  }
  words = std::move(split);
  return true;
}

}  // namespace qrvml
