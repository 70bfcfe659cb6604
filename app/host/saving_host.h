// Saving predictions: variables of the open data file and new ones, as a data file of the format
// that the target's name tells.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "datafile/data_file_writer.h"
#include "datafile/host_data_file.h"
#include "host/answer_book.h"
#include "host/services.h"

namespace qrvml {

/// What is picked and where it goes is answered beforehand (ResultsSelection, ResultsSaveFileName);
/// what goes wrong, and what the saved file cannot hold, is told as a message.
class SavingHost : public SavingServices {
 public:
  SavingHost(AnswerBook& answers, MessageServices& messages)
      : answers_(answers), messages_(messages) {}

  /// The open data file, null while there is none; again whenever it is replaced. A save that is
  /// under way is given up.
  void SetFile(const HostDataFile* file);
  /// Whether existing files may be replaced.
  bool overwrite = false;
  /// Ask a person for what was not answered beforehand; absent: nobody is there.
  std::function<bool(std::string_view title, std::string_view prompt,
                     std::span<const std::string> offered, std::vector<int>& picked)>
      askOutputs;
  std::function<bool(std::string& path)> askFileName;

  /// The answer has numbers from 1, ranges, names or a lone `*` (all) or `None`; or it is just one
  /// of the names.
  bool PickOutputs(std::string_view title, std::string_view prompt,
                   std::span<const std::string> offered, std::vector<int>& picked) override;
  bool DoSaveFileNameDlg(std::string& path) override;
  /// A new variable whose name a kept or an earlier new one has is named "name (2)", "name (3)" and
  /// so on, the first that nobody has. Texts of new variables' codes that are just the code's
  /// digits are no labels.
  bool SubsetAndAddEx(const std::string& path, std::span<const int> kept,
                      std::span<const NewVariable> added) override;
  bool PutDataF(int caseNumber, std::span<const double> added) override;
  bool FinishSave() override;
  void AbandonSave() override { writer_.reset(); }

 private:
  /// Runs a step of a save. False: it failed, which a message tells, and the save is given up.
  template <class Step>
  bool Try(Step step);
  bool Describe(std::span<const int> kept, std::span<const NewVariable> added,
                std::vector<SavedVariable>& variables, FileError& error);
  void Tell(const std::string& text) { messages_.DspMessageBox(BoxType::information, 0, text); }

  AnswerBook& answers_;
  MessageServices& messages_;
  const HostDataFile* file_ = nullptr;
  std::unique_ptr<DataFileWriter> writer_;  // null: no save is under way
  std::string path_;
  std::vector<int> kept_;
  std::vector<double> row_;
  std::vector<std::string> renamed_;
};

}  // namespace qrvml
