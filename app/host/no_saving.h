// The saving service of a host that cannot write data files yet: every save is cancelled where it
// begins, with a note that says so.
#pragma once

#include "host/answer_book.h"
#include "host/services.h"

namespace qrvml {

class NoSaving final : public SavingServices {
 public:
  explicit NoSaving(AnswerBook& answers) : answers_(answers) {}

  bool PickOutputs(std::string_view, std::string_view, std::span<const std::string>,
                   std::vector<int>&) override {
    return Refuse();
  }
  bool DoSaveFileNameDlg(std::string&) override { return Refuse(); }
  bool SubsetAndAddEx(const std::string&, std::span<const int>,
                      std::span<const NewVariable>) override {
    return Refuse();
  }
  bool PutDataF(int, std::span<const double>) override { return false; }
  bool FinishSave() override { return false; }
  void AbandonSave() override {}

 private:
  bool Refuse() {
    answers_.Note(AnswerMember::none, false,
                  "saving predictions into a data file is not available in this version");
    return false;
  }

  AnswerBook& answers_;
};

}  // namespace qrvml
