#include "cli/analysis_options.h"

#include <algorithm>
#include <deque>
#include <map>

namespace qrvml {
namespace {

constexpr std::string_view kDefaultSteps = "Summary,DescriptiveStat";

constexpr const char* kFooter =
    R"(Lists: | separates lists, blanks separate members: names, numbers from 1, ranges 2-5, * for all
(of the variables, those that no other list names), None. What holds blanks or | stands in double
quotes; in double quotes everything is a name or label.
  --variables "continuous dependents | categorical dependents | continuous predictors |
              categorical predictors"; an empty list may be blank
  --response-codes, --predictor-codes: one list for each categorical variable, * leaves one open

Steps of --do, separated by commas: Action, Property=value, Property? (prints it), press:NAME.
A value with blanks, commas or semicolons stands in double quotes.

Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 cancelled.)";

/// The option of a control, and what was given for it.
struct GivenControl {
  ControlOption option;
  std::string value;
  LineOption parsed;

  bool IsGiven() const { return parsed.IsGiven(); }
};

/// Options that stand for several controls, or for one under another name.
struct SampleOptions {
  bool inactive = false;
};

OptionWord::Takes Takes(ControlKind kind) {
  return kind == ControlKind::check || kind == ControlKind::radio ? OptionWord::Takes::zeroOrOne
                                                                  : OptionWord::Takes::value;
}

std::string_view TypeName(ControlKind kind) {
  switch (kind) {
    case ControlKind::check:
    case ControlKind::radio:
      return "[0|1]";
    case ControlKind::integer:
    case ControlKind::real:
    case ControlKind::choice:
      return "NUMBER";
    case ControlKind::pick:
      return "LIST";
    default:
      return "TEXT";
  }
}

std::deque<GivenControl> AddControlOptions(CommandLine& line, std::span<const Control> controls) {
  std::deque<GivenControl> given;
  for (ControlOption& option : ControlOptions(controls)) {
    GivenControl& control = given.emplace_back(GivenControl{std::move(option), {}, {}});
    const ControlOption& added = control.option;
    control.parsed = line.Add("--" + added.name + ",--" + added.kebab, control.value, added.help,
                              Takes(added.kind))
                         .TypeName(std::string(TypeName(added.kind)))
                         .Group("Controls");
  }
  return given;
}

/// The sample identifier: naming its variable switches its sampling mode on.
bool CompleteSample(std::map<std::string, std::string>& values, const SampleOptions& sample,
                    std::span<const ControlOption> options, std::string& error) {
  const auto has = [options](std::string_view name) {
    return std::ranges::find(options, name, &ControlOption::name) != options.end();
  };
  const bool variable = values.contains("Sample.Variable");
  if (!variable && (values.contains("Sample.Code") || sample.inactive)) {
    error = "--sample-code and --sample-inactive need --sample-variable";
    return false;
  }
  if (sample.inactive && values.contains("Sample.Active")) {
    error = "--sample-active and --sample-inactive exclude each other";
    return false;
  }
  if (!variable) return true;
  if (has("ApplySampling")) values.try_emplace("ApplySampling", "1");
  values.try_emplace("UseSubsetvariable", "1");
  values.try_emplace("Sample.Active", sample.inactive ? "0" : "1");
  return true;
}

bool ReadGivenControls(const std::deque<GivenControl>& given, const SampleOptions& sample,
                       AnalysisOptions& options, std::string& error) {
  std::map<std::string, std::string> values;
  std::vector<ControlOption> table;
  for (const GivenControl& control : given) {
    table.push_back(control.option);
    if (!control.IsGiven()) continue;
    if (!CheckOptionValue(control.option, control.value, error)) {
      error = "--" + control.option.kebab + ' ' + error;
      return false;
    }
    values[control.option.name] = control.value;
  }
  if (!CompleteSample(values, sample, table, error)) return false;
  options.puts = InOrderOfApplication(values, table);
  return true;
}

bool ReadSteps(const std::vector<std::string>& texts, AnalysisOptions& options,
               std::string& error) {
  if (texts.empty()) return ParseSteps(kDefaultSteps, options.steps, error);
  for (const std::string& text : texts) {
    if (!ParseSteps(text, options.steps, error)) {
      error = "--do " + error;
      return false;
    }
  }
  return true;
}

}  // namespace

void AddRunOptions(CommandLine& line, RunOptions& options, std::string& formats) {
  const std::string group = "Run";
  formats = "txt,json";
  line.Add("--out", options.out, "Folder for the documents (default: standard output)")
      .TypeName("DIR")
      .Group(group);
  line.Add("--format", formats,
           "Formats of the documents' files: txt, json, csv, xlsx, svg, png (default txt,json)")
      .Group(group);
  line.AddFlag("--overwrite", options.overwrite,
               "Let what is saved (ResultsSaveFileName, --record, --diagnostics) replace existing "
               "files")
      .Group(group);
  line.Add("--diagnostics", options.diagnostics, "File for what solvers print while they work")
      .TypeName("FILE")
      .Group(group);
  line.Add("--threads", options.threads, "Threads (default: all cores)")
      .Range(1, 4096)
      .Group(group);
}

ParseOutcome ParseAnalysisOptions(const AnalysisCommand& kind, std::span<const Control> controls,
                                  std::span<const std::string> arguments, AnalysisOptions& options,
                                  std::string& text) {
  CommandLine line(kind.title, std::string("qrvml ") + kind.command);
  line.AddFileOptions(options.open);
  const std::deque<GivenControl> given = AddControlOptions(line, controls);

  SampleOptions sample;
  std::vector<std::string> steps;
  std::string formats, interactive = "1";
  const std::string group = "Run";
  line.AddFlag("--sample-inactive", sample.inactive, "The sample identifier's choice Inactif")
      .Group("Controls");
  line.AddRepeatable("--do", steps,
                     "Steps in the results dialog (default " + std::string(kDefaultSteps) + ')')
      .TypeName("STEP,...")
      .Group(group);
  AddRunOptions(line, options.run, formats);
  line.Add("--record", options.run.record, "File for the macro that equals the run")
      .TypeName("FILE")
      .Group(group);
  line.Add("--interactive", interactive, "0 presses OK as a macro does, without progress",
           OptionWord::Takes::zeroOrOne)
      .OneOf({"0", "1"})
      .Group(group);
  line.AddFlag("--dry-run", options.dryRun, "Set everything, press nothing, print the properties")
      .Group(group);
  line.AddFlag("--help-controls", options.helpControls,
               "List every control with its name, kind and range")
      .Group(group);
  line.Footer(kFooter);

  const ParseOutcome outcome = line.Parse(arguments, text);
  if (outcome != ParseOutcome::go || options.helpControls) return outcome;
  options.run.interactive = interactive == "1";
  options.open.threads = options.run.threads;
  if (options.open.path.empty()) {
    text = "FILE is missing";
    return ParseOutcome::wrong;
  }
  if (!ReadFormats(formats, options.run.formats, text) ||
      !ReadGivenControls(given, sample, options, text) || !ReadSteps(steps, options, text))
    return ParseOutcome::wrong;
  return ParseOutcome::go;
}

}  // namespace qrvml
