// What differs between the methods in their results, side by side: rows, orders, texts. The shared
// code asks the profile; it never asks which method it serves.
#pragma once

#include <cstdint>
#include <string_view>

#include "results/case_result.h"

namespace qrvml {

/// How often a weighted case appears. The source visits it once per unit of weight.
enum class RowPolicy : std::uint8_t { once, perWeight };

/// Where the inputs stand in the lists of plot items.
enum class InputItems : std::uint8_t {
  first,
  last,
  lastOfContinuous,  // a categorical dependent is not offered with inputs
};

/// Order of the columns of the predictions table when there are several dependents.
enum class ColumnOrder : std::uint8_t {
  byKind,       // all observed, all predicted, all residuals, all confidences
  byDependent,  // all of one dependent, then all of the next
};

/// Which cases the last bin of a histogram takes beyond its upper edge.
enum class HistogramEdges : std::uint8_t {
  lastClosed,  // none; the last bin takes its upper edge
  clamped,     // values outside go into the first and the last bin
};

/// Texts of an item: second heading in the predictions table, name and long name of a saved
/// variable, text in the lists of plot items, ending of its axis text.
struct ItemTexts {
  std::string_view heading, saved, savedLong;
  std::string_view listed;  // empty: the axis text
  std::string_view axis;
};

/// The kinds of generated text, in the order of the code generator's menu.
enum class CodeKind : std::uint8_t { c, qvb, pmml };
inline constexpr int kCodeKinds = 3;

struct ResultsProfile {
  std::string_view interfaceName;
  std::string_view methodName;  // in the title of custom predictions; may be empty
  int specificationStep;        // where Cancel goes
  RowPolicy tableRows, graphRows;
  InputItems inputItems;
  ColumnOrder columnOrder;
  HistogramEdges histogramEdges;
  std::string_view subsetLabels[3];      // radio buttons
  std::string_view tableSubsets[3];      // in the title of the predictions table; empty: the title
                                         // is its first words alone
  std::string_view savedSeparator;       // between dependent and word in a saved name
  std::string_view savedClassSeparator;  // between dependent-class and word
  bool savedWordFirst = false;           // the word stands before the dependent
  bool savesAll = false;                 // all outputs are offered, whatever the include boxes say
  bool savesClassResiduals = false;      // the number of a class's accuracy is offered, too
  bool hidesMissingAccuracy = false;     // in the predictions table: an empty cell, no -9999
  bool picksKept = false;  // saving: the user picks variables of the file that go along, and all
                           // outputs of the include choices are new variables; otherwise all
                           // variables go along, and the user picks outputs
  bool customBlankRow = false;  // an empty row between the inputs and outputs of a typed case

  bool onlyFirstDependent = false;  // the results are about the first dependent, however many

  // Titles of generated texts; the dependent's name follows the last.
  std::string_view codeTitles[kCodeKinds];

  // One per ItemKind, in its order.
  ItemTexts items[9];

  const ItemTexts& TextsOf(ItemKind kind) const { return items[static_cast<int>(kind)]; }
};

}  // namespace qrvml
