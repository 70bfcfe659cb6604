// Scans the three kinds of generated texts for the values of a naive Bayes model.

#include <algorithm>
#include <string>

#include "score/bayes_verification.h"
#include "score/printed_lines.h"

namespace qrvml {
namespace {

using namespace scan;

constexpr std::string_view kNames[] = {"normal", "lognormal", "gamma", "poisson"};

/// Counts that a text claims, before room is made for them.
void CheckCounts(const PrintedBayes& model, std::size_t dependents, std::size_t length) {
  if (model.Inputs() == 0 || dependents == 0 || model.Inputs() > length || dependents > length)
    throw ScanFault{"its counts do not fit each other"};
}

void MakeRoom(PrintedBayes& model) {
  model.tables.resize(model.classes.size());
  for (std::size_t d = 0; d < model.classes.size(); ++d) {
    const std::vector<double> none(model.continuousInputs, 0.0);
    model.tables[d].mean.assign(model.classes[d].size(), none);
    model.tables[d].variance = model.tables[d].mean;
    std::vector<std::vector<double>> pairs;
    pairs.reserve(model.categories.size());
    for (const auto& own : model.categories) pairs.emplace_back(own.size(), 0.0);
    model.tables[d].pairs.assign(model.classes[d].size(), pairs);
  }
}

/// Reads the tables of a C program or a script: `read(name, indices)` gives the value of the next
/// line, indices from 0.
template <class Read>
void ReadTables(PrintedBayes& model, Read read) {
  MakeRoom(model);
  for (std::size_t d = 0; d < model.classes.size(); ++d)
    for (std::size_t c = 0; c < model.classes[d].size(); ++c)
      for (std::size_t k = 0; k < model.continuousInputs; ++k)
        model.tables[d].mean[c][k] = read("ondMean", {d, c, k});
  for (std::size_t d = 0; d < model.classes.size(); ++d)
    for (std::size_t c = 0; c < model.classes[d].size(); ++c)
      for (std::size_t k = 0; k < model.continuousInputs; ++k)
        model.tables[d].variance[c][k] = read("ondStd", {d, c, k});
  for (std::size_t d = 0; d < model.classes.size(); ++d)
    for (std::size_t c = 0; c < model.classes[d].size(); ++c)
      for (std::size_t m = 0; m < model.categories.size(); ++m)
        for (std::size_t v = 0; v < model.categories[m].size(); ++v)
          model.tables[d].pairs[c][m][v] = read("ondFreq", {d, c, m, v});
}

using Indices = std::initializer_list<std::size_t>;

void ScanC(std::string_view text, PrintedBayes& model) {
  Lines lines(text);
  model.continuousInputs = Count(lines.After("int noContInputs = ", ";"));
  model.categoricalInputs = Count(lines.After("int noCatInputs = ", ";"));
  const std::size_t dependents = Count(lines.After("int noOutputs = ", ";"));
  CheckCounts(model, dependents, text.size());
  model.threshold = Number(lines.After("double threshold = ", ";"));
  const std::vector<double> inputCounts = CList(lines, "int noInputNominals");
  model.categories =
      Divided(CList(lines, "int inputNominals"), inputCounts, model.categoricalInputs);
  const std::vector<double> counts = CList(lines, "int noOutputNominals");
  model.classes = Divided(CList(lines, "int outputNominals"), counts, dependents);
  model.priors = Divided(CList(lines, "double priors"), counts, dependents);
  for (const double code : CList(lines, "int dist"))
    model.distributions.push_back(static_cast<int>(code));
  ReadTables(model, [&](const std::string& name, Indices indices) {
    std::string begin = "\tc" + name;
    for (const std::size_t index : indices) begin += '[' + std::to_string(index) + ']';
    return Number(lines.After(begin + '=', ";"));
  });
}

void ScanQvb(std::string_view text, PrintedBayes& model) {
  Lines lines(text);
  model.continuousInputs = Count(lines.After("NoContInputs=", ""));
  model.categoricalInputs = Count(lines.After("NoCatInputs=", ""));
  const auto readCodes = [&](const std::string& name, std::size_t variables) {
    std::vector<std::vector<double>> codes;
    for (std::size_t i = 1; i <= variables; ++i) {
      codes.emplace_back(Count(lines.After(QvbPlace("No" + name, {i}), "")));
      CheckCounts(model, codes.back().size(), text.size());
    }
    for (std::size_t i = 0; i < variables; ++i)
      for (std::size_t c = 0; c < codes[i].size(); ++c)
        codes[i][c] = Number(lines.After(QvbPlace(name, {i + 1, c + 1}), ""));
    return codes;
  };
  model.categories = readCodes("InputNominals", model.categoricalInputs);
  const std::size_t dependents = Count(lines.After("NoOutputs=", ""));
  CheckCounts(model, dependents, text.size());
  model.classes = readCodes("OutputNominals", dependents);
  model.threshold = Number(lines.After("Threshold=", ""));
  for (std::size_t k = 1; k <= model.Inputs(); ++k)
    model.distributions.push_back(
        static_cast<int>(Count(lines.After(QvbPlace("DistType", {k}), ""))));
  for (std::size_t d = 0; d < dependents; ++d) {
    std::vector<double>& priors = model.priors.emplace_back();
    for (std::size_t c = 1; c <= model.classes[d].size(); ++c)
      priors.push_back(Number(lines.After(QvbPlace("Priors", {d + 1, c}, ","), "")));
  }
  ReadTables(model, [&](const std::string& name, Indices indices) {
    std::string begin = 'C' + name;
    for (const std::size_t& index : indices)
      begin += (&index == indices.begin() ? "(" : ", ") + std::to_string(index + 1);
    return Number(lines.After(begin + ")=", ""));
  });
}

void ScanPmml(std::string_view text, PrintedBayes& model) {
  Lines lines(text);
  model.threshold = Number(Attribute(lines.After("<NaiveBayesModel", ""), "threshold"));
  model.classes.emplace_back();
  model.priors.emplace_back();
  struct Input {
    int distribution;
    std::vector<double> means, variances;
    std::vector<std::vector<double>> counts;  // per category and class
    std::vector<double> codes;
  };
  std::vector<Input> inputs;
  bool inOutput = false, ended = false;
  for (std::string_view line; lines.Next(line);) {
    line.remove_prefix(std::min(line.find_first_not_of('\t'), line.size()));
    const auto is = [&](std::string_view begin) { return line.starts_with(begin); };
    if (is("<BayesOutput ")) inOutput = true;
    if (is("</BayesOutput>")) inOutput = false;
    ended = ended || is("</NaiveBayesModel>");
    if (is("<ContinuousBayesInput ")) {
      inputs.push_back({kNormal, {}, {}, {}, {}});
      ++model.continuousInputs;
    }
    if (is("<CategoricalBayesInput ")) {
      inputs.push_back({kDiscrete, {}, {}, {}, {}});
      ++model.categoricalInputs;
    }
    if (is("<TargetValueCount ") && inOutput) {
      model.classes[0].push_back(Number(Attribute(line, "value")));
      model.priors[0].push_back(Number(Attribute(line, "count")));
      continue;
    }
    if (inputs.empty()) continue;
    Input& input = inputs.back();
    if (is("<Distribution ")) {
      const auto* const found = std::ranges::find(kNames, Attribute(line, "distType"));
      if (found == std::end(kNames)) throw ScanFault{"it names a distribution that there is not"};
      input.distribution = static_cast<int>(found - std::begin(kNames));
    }
    if (is("<Parameter name=\"mean\"")) input.means.push_back(Number(Attribute(line, "value")));
    if (is("<Parameter name=\"std\"")) input.variances.push_back(Number(Attribute(line, "value")));
    if (is("<PairCounts ")) {
      input.codes.push_back(Number(Attribute(line, "label")));
      input.counts.emplace_back();
    }
    if (is("<TargetValueCount ") && !input.counts.empty())
      input.counts.back().push_back(Number(Attribute(line, "count")));
  }
  if (!ended) throw ScanFault{"its model does not end"};
  const std::size_t classes = model.classes[0].size();
  for (const Input& input : inputs) {
    model.distributions.push_back(input.distribution);
    const bool isDiscrete = input.distribution == kDiscrete;
    if (isDiscrete) model.categories.push_back(input.codes);
    if (!isDiscrete && (input.means.size() != classes || input.variances.size() != classes))
      throw ScanFault{"an input has not a mean and a std for each class"};
    for (const auto& counts : input.counts)
      if (counts.size() != classes) throw ScanFault{"a category has not a count for each class"};
  }
  MakeRoom(model);
  for (std::size_t c = 0; c < classes; ++c) {
    for (std::size_t k = 0; k < inputs.size(); ++k) {
      if (k < model.continuousInputs) {
        model.tables[0].mean[c][k] = inputs[k].means[c];
        model.tables[0].variance[c][k] = inputs[k].variances[c];
        continue;
      }
      for (std::size_t v = 0; v < inputs[k].counts.size(); ++v)
        model.tables[0].pairs[c][k - model.continuousInputs][v] = inputs[k].counts[v][c];
    }
  }
}

}  // namespace

std::vector<std::size_t> PlaceholderInputs(CodeDialect dialect, std::string_view text) {
  // What stands in the place of each density.
  constexpr std::string_view kPlaces[][2] = {{"//Place the Gamma function here\n\treturn 0;",
                                              "//Place the Poisson function here\n\treturn 0;"},
                                             {"'Place Gamma density here\n\tLogGamma = 0\n",
                                              "'Place Poisson density here\n\tLogPoisson = 0\n"}};
  const auto& places = kPlaces[dialect == CodeDialect::c ? 0 : 1];
  const bool isOpen[] = {text.find(places[0]) != text.npos, text.find(places[1]) != text.npos};
  std::vector<std::size_t> inputs;
  PrintedBayes model;
  std::string error;
  if ((!isOpen[0] && !isOpen[1]) || !PrintedBayes::Read(dialect, text, model, error)) return inputs;
  for (std::size_t k = 0; k < model.continuousInputs; ++k) {
    const int distribution = model.distributions[k];
    if ((distribution == kGamma && isOpen[0]) || (distribution == kPoisson && isOpen[1]))
      inputs.push_back(k);
  }
  return inputs;
}

bool PrintedBayes::Read(CodeDialect dialect, std::string_view text, PrintedBayes& model,
                        std::string& error) {
  constexpr void (*kScans[])(std::string_view, PrintedBayes&) = {ScanC, ScanQvb, ScanPmml};
  model = {};
  model.dialect = dialect;
  try {
    kScans[static_cast<int>(dialect)](text, model);
    const auto isEmpty = [](const std::vector<double>& own) { return own.empty(); };
    if (model.Inputs() == 0 || model.distributions.size() != model.Inputs() ||
        std::ranges::any_of(model.classes, isEmpty))
      throw ScanFault{"its counts do not fit each other"};
    return true;
  } catch (const ScanFault& fault) {
    error = fault.what;
    return false;
  }
}

}  // namespace qrvml
