#include "score/c_program.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

#include "host/numerics.h"

namespace qrvml {
namespace {

namespace fs = std::filesystem;
using Outcome = ChildProcess::Outcome;

constexpr const char* kMessages = "messages";

// The program prints without line ends and does not flush: its output comes as it is printed.
constexpr std::string_view kUnbuffered = R"(#include <stdio.h>
__attribute__((constructor)) static void Unbuffer(void) { setvbuf(stdout, NULL, _IONBF, 0); }
)";

// What is printed around an answer.
constexpr std::string_view kResult = " result:";
constexpr std::string_view kEnd = "for any input):";
constexpr std::size_t kLongestAnswer = 1 << 20;

constexpr std::size_t kLinesShown = 6;

std::string FirstLines(const fs::path& file) {
  std::ifstream stream(file);
  std::string lines, line;
  for (std::size_t i = 0; i < kLinesShown && std::getline(stream, line); ++i)
    lines += '\n' + line.substr(0, 300);
  return lines;
}

std::string WhyNot(Outcome outcome, std::string_view who) {
  std::string text(who);
  switch (outcome) {
    case Outcome::late:
      return text + " took longer than the time limit";
    case Outcome::cancelled:
      return text + " was cancelled";
    case Outcome::ended:
    case Outcome::done:
      return text + " ended";
  }
  return text;
}

/// Reads "Output 1: value" and so on, or a lone value.
bool ReadAnswer(std::string_view text, std::span<double> predictions) {
  for (std::size_t d = 0; d < predictions.size(); ++d) {
    const std::string label = "Output " + std::to_string(d + 1) + ": ";
    if (text.starts_with(label)) {
      text.remove_prefix(label.size());
    } else if (predictions.size() > 1) {
      return false;
    }
    // The next text follows at once: a number is the longest run of its characters that reads.
    std::size_t length = std::min(text.find_first_not_of("0123456789+-.e"), text.size());
    while (length > 0 && !TextToDouble(text.substr(0, length), predictions[d])) --length;
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace

CProgram::CProgram(CHeader header, Patience patience) : process_(patience) {
  dependents = std::move(header.dependents);
  inputs = std::move(header.inputs);
}

CProgram::~CProgram() {
  process_.End();
  std::error_code ignored;
  if (!folder_.empty()) fs::remove_all(folder_, ignored);
}

std::unique_ptr<CProgram> CProgram::Open(std::string_view source, CHeader header, Patience patience,
                                         std::string& error) {
  std::unique_ptr<CProgram> program(new CProgram(std::move(header), patience));
  std::error_code code;
  std::string name = (fs::temp_directory_path(code) / "qrvml-score-XXXXXX").string();
  if (code || mkdtemp(name.data()) == nullptr) {
    error = "no temporary folder can be made";
    return nullptr;
  }
  program->folder_ = name;
  if (!program->Compile(source, patience, error)) return nullptr;
  const std::string file = (program->folder_ / "program").string();
  if (!program->process_.Start({file}, program->folder_, true, kMessages, error)) return nullptr;
  return program;
}

bool CProgram::Compile(std::string_view source, Patience patience, std::string& error) {
  std::ofstream model(folder_ / "model.c", std::ios::binary);
  model.write(source.data(), static_cast<std::streamsize>(source.size()));
  model.close();
  std::ofstream unbuffered(folder_ / "unbuffered.c");
  unbuffered << kUnbuffered;
  unbuffered.close();
  if (!model || !unbuffered) {
    error = "it cannot be copied into " + folder_.string();
    return false;
  }
  ChildProcess compiler(patience);
  if (!compiler.Start({"cc", "-std=c11", "-include", "stdbool.h", "-ffp-contract=off", "-O2", "-o",
                       "program", "model.c", "unbuffered.c", "-lm"},
                      folder_, false, kMessages, error)) {
    error = "it needs a C compiler: " + error;
    return false;
  }
  const Outcome outcome = compiler.Wait();
  if (outcome == Outcome::done) return true;
  error = outcome == Outcome::ended ? "it does not compile:" + FirstLines(folder_ / kMessages)
                                    : WhyNot(outcome, "compiling it");
  return false;
}

bool CProgram::Predict(std::span<const double> values, std::span<double> predictions,
                       std::string& error) {
  std::string line;
  for (const double value : values) line += ShortestText(value) + ' ';
  line += '\n';
  Outcome outcome = process_.Write(line);
  std::size_t end = std::string::npos;
  while (outcome == Outcome::done) {
    const std::size_t result = answer_.find(kResult);
    if (result != std::string::npos) end = answer_.find(kEnd, result);
    if (end != std::string::npos) break;
    if (answer_.size() > kLongestAnswer) {
      error = "the program does not answer as generated programs do";
      return false;
    }
    outcome = process_.Read(answer_);
  }
  if (outcome != Outcome::done) {
    error = WhyNot(outcome, "the program");
    return false;
  }
  const std::size_t first = answer_.find(kResult) + kResult.size();
  const std::string result = answer_.substr(first, end - first);
  answer_.erase(0, end + kEnd.size());
  if (ReadAnswer(result, predictions)) return true;
  error = "the program's answer is no number for each dependent: " + result.substr(0, 200);
  return false;
}

}  // namespace qrvml
