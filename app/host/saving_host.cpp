#include "host/saving_host.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <new>

#include "datafile/saved_names.h"
#include "host/list_text.h"
#include "host/numerics.h"

namespace qrvml {
namespace {

using Kind = ListMember::Kind;

void AddOnce(int position, std::vector<int>& picked) {
  if (std::ranges::find(picked, position) == picked.end()) picked.push_back(position);
}

/// Appends the positions that a member stands for.
bool AppendPicked(const ListMember& member, std::span<const std::string> offered,
                  std::vector<int>& picked, std::string& error) {
  const auto count = static_cast<double>(offered.size());
  if (member.kind == Kind::name) {
    const auto found = std::ranges::find(offered, member.name);
    if (found == offered.end()) {
      error = '"' + member.name + "\" is not offered; there is " + NameList(offered);
      return false;
    }
    AddOnce(static_cast<int>(found - offered.begin()), picked);
    return true;
  }
  const double last = member.kind == Kind::range ? member.upper : member.number;
  for (const double number : {member.number, last}) {
    if (number == std::floor(number) && number >= 1 && number <= count) continue;
    error = "there is no number " + ShortestText(number) + "; 1 to " +
            std::to_string(offered.size()) + " are offered";
    return false;
  }
  for (int number = static_cast<int>(member.number); number <= last; ++number)
    AddOnce(number - 1, picked);
  return true;
}

bool ReadPicked(const std::string& answer, std::span<const std::string> offered,
                std::vector<int>& picked, std::string& error) {
  if (const auto found = std::ranges::find(offered, answer); found != offered.end()) {
    picked = {static_cast<int>(found - offered.begin())};
    return true;
  }
  std::vector<std::vector<ListMember>> lists;
  if (!ParseListText(answer, lists, error)) return false;
  if (lists.size() != 1) {
    error = "one list is needed (a name that holds | stands in double quotes)";
    return false;
  }
  std::vector<int> read;
  for (const ListMember& member : lists[0]) {
    const bool alone = member.kind == Kind::all || member.kind == Kind::none;
    if (alone && lists[0].size() != 1) {
      error = "* and None stand alone (as names they stand in double quotes)";
      return false;
    }
    if (!alone && !AppendPicked(member, offered, read, error)) return false;
    for (std::size_t i = 0; member.kind == Kind::all && i < offered.size(); ++i)
      read.push_back(static_cast<int>(i));
  }
  picked = std::move(read);
  return true;
}

/// Whether each value of the variable has a text of its own, which can then stand for it.
bool IsLabelledThroughout(const DataTable& table, int variable) {
  const Variable& about = table.At(variable);
  if (!LabelsStandForCodes(about)) return false;
  for (std::size_t chunk = 0; chunk < table.NumberOfChunks(); ++chunk) {
    for (const double value : table.Column(chunk, variable)) {
      if (value != about.missingCode && LabelOf(about, value) == nullptr) return false;
    }
  }
  return true;
}

Variable Described(const NewVariable& added) {
  Variable variable;
  variable.name = added.name;
  variable.longName = added.longName;
  variable.missingCode = added.missingCode;
  for (const CellLabel& label : added.labels) {
    if (label.text != ShortestText(label.value))
      variable.labels.push_back({label.value, label.text});
  }
  return variable;
}

}  // namespace

void SavingHost::SetFile(const HostDataFile* file) {
  AbandonSave();
  file_ = file;
}

bool SavingHost::PickOutputs(std::string_view title, std::string_view prompt,
                             std::span<const std::string> offered, std::vector<int>& picked) {
  if (askOutputs && !answers_.Has(AnswerMember::selection))
    return askOutputs(title, prompt, offered, picked);
  std::string answer, error;
  if (!answers_.Take(AnswerMember::selection,
                     "a choice of outputs (\"" + std::string(title) + "\")", answer))
    return false;
  if (ReadPicked(answer, offered, picked, error)) return true;
  answers_.Note(AnswerMember::selection, false, '"' + answer + "\": " + error);
  return false;
}

bool SavingHost::DoSaveFileNameDlg(std::string& path) {
  if (askFileName && !answers_.Has(AnswerMember::saveFileName)) return askFileName(path);
  return answers_.Take(AnswerMember::saveFileName, "the name of the new data file", path);
}

template <class Step>
bool SavingHost::Try(Step step) {
  FileError error;
  try {
    if (step(error)) return true;
  } catch (const std::bad_alloc&) {
    error = {};
    error.file = path_;
    error.what = "there is not enough memory to save the file";
  } catch (const std::exception& failure) {
    error = {};
    error.file = path_;
    error.what = std::string("the file cannot be saved: ") + failure.what();
  }
  AbandonSave();
  Tell(error.Text());
  return false;
}

bool SavingHost::Describe(std::span<const int> kept, std::span<const NewVariable> added,
                          std::vector<SavedVariable>& variables, FileError& error) {
  error.file = path_;
  if (file_ == nullptr) {
    error.what = "no data file is open whose variables could be saved";
    return false;
  }
  const DataTable& table = file_->Table();
  std::vector<std::string> names;
  for (const int variable : kept) {
    if (variable < 1 || variable > table.NumberOfVariables()) {
      error.what = "there is no variable number " + std::to_string(variable) + " to be kept";
      return false;
    }
    variables.push_back({table.At(variable), IsLabelledThroughout(table, variable)});
    names.push_back(table.At(variable).name);
  }
  for (const NewVariable& variable : added) {
    variables.push_back({Described(variable), false});
    Variable& about = variables.back().about;
    std::ranges::stable_sort(about.labels, {}, &ValueLabel::code);
    variables.back().asText = LabelsStandForCodes(about);
    names.push_back(variable.name);
  }
  const std::vector<std::string> distinct = DistinctNames(names, false);
  for (std::size_t v = 0; v < variables.size(); ++v) {
    if (distinct[v] == names[v]) continue;
    renamed_.push_back('"' + names[v] + "\" is there already, the new variable is named \"" +
                       distinct[v] + '"');
    variables[v].about.name = distinct[v];
  }
  return true;
}

bool SavingHost::SubsetAndAddEx(const std::string& path, std::span<const int> kept,
                                std::span<const NewVariable> added) {
  AbandonSave();
  path_ = path;
  renamed_.clear();
  return Try([&](FileError& error) {
    std::vector<SavedVariable> variables;
    if (!Describe(kept, added, variables, error)) return false;
    kept_.assign(kept.begin(), kept.end());
    row_.resize(kept.size() + added.size());
    writer_ = std::make_unique<DataFileWriter>();
    return writer_->Begin(path, overwrite, std::move(variables), error);
  });
}

bool SavingHost::PutDataF(int caseNumber, std::span<const double> added) {
  if (writer_ == nullptr) return false;
  return Try([&](FileError& error) {
    const DataTable& table = file_->Table();
    if (caseNumber < 1 || caseNumber > table.NumberOfCases() ||
        added.size() != row_.size() - kept_.size()) {
      error.file = path_;
      error.what = "case " + std::to_string(caseNumber) + " is not as announced";
      return false;
    }
    const DataTable::Place place = table.Find(caseNumber);
    for (std::size_t i = 0; i < kept_.size(); ++i)
      row_[i] = table.Column(place.chunk, kept_[i])[place.position];
    std::ranges::copy(added, row_.begin() + static_cast<std::ptrdiff_t>(kept_.size()));
    return writer_->Append(row_, error);
  });
}

bool SavingHost::FinishSave() {
  if (writer_ == nullptr) return false;
  if (!Try([&](FileError& error) { return writer_->Finish(error); })) return false;
  for (const std::string& text : renamed_) Tell("warning: " + path_ + ": " + text);
  for (const std::string& text : writer_->Warnings()) Tell("warning: " + path_ + ": " + text);
  AbandonSave();
  return true;
}

}  // namespace qrvml
