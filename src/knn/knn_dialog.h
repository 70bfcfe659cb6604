// The specification dialog of nearest neighbours: collects the settings, validates them in a fixed
// order, reads the data and trains.
#pragma once

#include "dialogs/specification_dialog.h"
#include "knn/knn_engine.h"

namespace qrvml {

class KNNDialog final : public SpecificationDialog {
 public:
  static constexpr int kTemplate = 3740;
  static constexpr int kStep = 104;

  KNNDialog(CAnalysisSupport& analysis, AnalysisDataSet& data, KNNEngine& engine);

  static std::span<const Control> Table();
  std::span<const Control> Controls() const override { return Table(); }
  bool OnOK() override;

  KNNEngine& engine() { return engine_; }
  const KNNEngine& engine() const { return engine_; }
  void SetStandardized(bool on);

 protected:
  void VariablesChanged() override { engine_.Reset(); }

 private:
  bool HasTestSample();  // 205
  bool ReadSettings();   // 125, range texts, 211, 214
  bool ReadCrossValidation(std::int32_t most);
  /// Reads an integer field that goes from 1 to `most`. False: message 125, or the range text.
  bool ReadUpTo(std::string_view field, std::int32_t most, std::string_view rangeText,
                std::int32_t& value);

  KNNEngine& engine_;
};

}  // namespace qrvml
