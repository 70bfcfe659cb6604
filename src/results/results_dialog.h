// The results dialog that all methods share: subsets, includes, predictions table, histograms,
// graphs, custom predictions, saving. A method brings its cases, its profile and its own tables.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "data/analysis_data_set.h"
#include "host/analysis_dialog.h"
#include "host/documents.h"
#include "results/case_result.h"
#include "results/result_items.h"
#include "results/results_profile.h"

namespace qrvml {

/// What the plot tab has chosen.
struct PlotChoice {
  std::size_t dependent = 0;
  int x = -1;  // positions in the items of the dependent; -1: none
  std::vector<int> y;
  int z = -1;
};

/// The case that the user typed in.
struct CustomCase {
  bool isEntered = false;      // entered, and not yet printed
  bool isValid = false;        // an invalid one is predicted as missing
  std::vector<double> inputs;  // in input order; empty before the first entry
};

class ResultsDialog : public CAnalysisDialog {
 public:
  ResultsDialog(CAnalysisSupport& analysis, AnalysisDataSet& data,
                std::unique_ptr<CaseSource> cases, const ResultsProfile& profile);

  std::string_view InterfaceName() const final { return profile_.interfaceName; }
  std::string_view Title() const final { return "Résultats "; }
  bool OnOK() final { return false; }
  bool TakesOnlyEnabled() const final { return true; }
  /// Back to the specification dialog.
  bool OnCancel() final;

  AnalysisDataSet& data() { return data_; }
  const AnalysisDataSet& data() const { return data_; }
  const ResultsProfile& profile() const { return profile_; }
  const ResultItems& items() const { return items_; }
  CaseSource& cases() { return *cases_; }

  // --- State of the controls ---------------------------------------------------------------------
  Subset subset = Subset::test;
  Includes includes;
  PlotChoice plot;
  bool includeCaseNames = false;
  CustomCase custom;

  // --- Rules -------------------------------------------------------------------------------------
  bool Predicts() const { return cases_->Predicts(subset); }
  bool IsClassification() const { return !data_.roles().categoricalDependents.empty(); }
  /// Whether the predictions table has a column.
  bool HasColumns() const { return !TableColumns().empty(); }
  /// Whether the include choices leave something to save.
  bool HasSavable() const { return profile_.picksKept || !items_.Savable(includes).empty(); }

  // --- Actions: false after a message (130, 104, …) or when the user cancels
  // -----------------------
  bool ShowPredictions();
  /// A histogram of every column of the predictions table.
  bool ShowHistograms();
  bool ShowHistogramOfX();
  bool ShowScatter();
  bool ShowSurfaces();
  bool SavePredictions();
  /// The input form. False: cancelled.
  bool AskCustomCase();
  bool ShowCustomPredictions();
  /// Generated texts as text documents: of each kind one, of PMML one per dependent.
  bool GenerateCode(std::span<const CodeKind> kinds);
  /// The kinds that the user picks.
  bool ChooseCode();

  // --- Texts of list-valued members
  // ----------------------------------------------------------------
  /// The dependent whose items the plot lists offer: by position from 1, or by name.
  bool SelectDependent(std::string_view text);
  std::string SelectedDependentText() const;
  /// Items by number from 1, "*", "None" or their list texts. `several`: more than one may be
  /// chosen. False, and nothing changed: the text chooses something else, which is told.
  bool SelectItems(std::string_view text, bool several, std::vector<int>& chosen) const;
  /// "1=Sepal.Length 2=…", the chosen ones marked with an asterisk.
  std::string OfferedText(std::span<const int> chosen) const;
  /// The same as items and positions.
  OfferedItems OfferedPlotItems(std::vector<int> chosen) const;
  OfferedItems OfferedDependents() const { return OfferedDependents(plot.dependent); }
  OfferedItems OfferedDependents(std::size_t chosen) const;
  /// The custom case as one text, and from one.
  std::string CustomCaseText() const;
  bool SetCustomCase(std::string_view text);
  /// One value per input as one text, and from one: numbers, codes or class texts.
  std::string InputsText(std::span<const double> values) const;
  /// False, and nothing changed: which value of the property's text is missing or wrong is told.
  bool ReadInputs(std::string_view property, std::string_view text,
                  std::vector<double>& inputs) const;

 protected:
  /// The position of one of `count` names, given by name or number, that the property's text
  /// chooses. False: it chooses none, which is told.
  bool SelectOne(std::string_view property, std::string_view text, std::size_t count,
                 const std::function<std::string(std::size_t)>& name, std::size_t& chosen) const;
  bool SelectOneDependent(std::string_view property, std::string_view text,
                          std::size_t& chosen) const;
  /// Called before every table or graph of the cases. False, after a message: it is not made.
  virtual bool IsReady() { return true; }
  /// Lines below the title of the predictions table.
  virtual std::vector<std::string> PredictionsHeader() const { return {}; }
  /// The generated text of a kind, for PMML that of a dependent, which is to be kept in a character
  /// set. False after a message, or without one where the character set is not known.
  virtual bool MakeCode(CodeKind kind, std::size_t dependent, std::string_view charset,
                        std::string& text) = 0;

  bool Show(Spreadsheet&& spreadsheet);
  bool Show(Graph&& graph);

 private:
  std::vector<ResultItem> TableColumns() const {
    return items_.TableColumns(includes, cases_->HasSpreads(), Predicts());
  }
  std::vector<ResultItem> PlotItems() const { return items_.PlotItems(plot.dependent); }
  /// What a save holds: variables of the file and outputs. False: the user cancelled.
  bool ChooseSaved(std::vector<int>& kept, std::vector<ResultItem>& added) const;
  /// Visits the cases of the subset as a row policy wants them.
  void VisitRows(RowPolicy policy, bool predict,
                 const std::function<void(const CaseResult&)>& visit);
  /// The values of items over the subset, for graphs: one vector per item, missing as
  /// not-a-number, and the cases' numbers.
  struct Points {
    std::vector<std::vector<double>> values;
    std::vector<std::int32_t> cases;
  };
  Points CollectPoints(std::span<const ResultItem> wanted);
  Graph MakeHistogram(const ResultItem& item, const std::vector<double>& values,
                      std::string_view titleEnd) const;
  ValueRange RangeOf(const ResultItem& item, const std::vector<double>& values) const;
  GraphAxis AxisOf(const ResultItem& item, const std::vector<double>& values) const;
  std::string FileText() const;
  std::string_view GraphSubset() const;

  AnalysisDataSet& data_;
  std::unique_ptr<CaseSource> cases_;
  const ResultsProfile& profile_;
  ResultItems items_;
};

}  // namespace qrvml
