// Generated texts: which of them, under which title, and their way to the host.
#include <string>
#include <utility>
#include <vector>

#include "host/analysis_support.h"
#include "host/string_table.h"
#include "results/results_dialog.h"

namespace qrvml {
namespace {

// Kinds of text document, by CodeKind: a script, or plain text.
constexpr int kModes[kCodeKinds] = {2, 1, 2};
constexpr int kFirstEntry = 1062;  // text of the menu's first entry

}  // namespace

bool ResultsDialog::GenerateCode(std::span<const CodeKind> kinds) {
  OutputServices& output = *analysis().services().output;
  std::vector<TextDocument> documents;  // all are made before the first is shown
  for (const CodeKind kind : kinds) {
    const auto index = static_cast<std::size_t>(kind);
    const bool perDependent = kind == CodeKind::pmml;
    const bool forAll = perDependent && !profile_.onlyFirstDependent;
    for (std::size_t d = 0; d < (forAll ? items_.dependents() : 1); ++d) {
      TextDocument& document = documents.emplace_back();
      document.mode = kModes[index];
      document.title = profile_.codeTitles[index];
      if (perDependent) document.title += items_.DependentName(d);
      if (!MakeCode(kind, d, output.TextCharset(), document.text)) return false;
    }
  }
  for (TextDocument& document : documents) {
    if (!output.CreateTextDoc(std::move(document))) return false;
  }
  return true;
}

bool ResultsDialog::ChooseCode() {
  std::vector<std::string> entries;
  entries.reserve(kCodeKinds);
  for (int kind = 0; kind < kCodeKinds; ++kind)
    entries.emplace_back(GetResourceString(kFirstEntry + kind));
  std::vector<int> picked;
  if (!analysis().services().saving->PickOutputs("Générateur code", "Générateur code", entries,
                                                 picked))
    return false;
  std::vector<CodeKind> kinds;
  kinds.reserve(picked.size());
  for (const int entry : picked) kinds.push_back(static_cast<CodeKind>(entry));
  return GenerateCode(kinds);
}

}  // namespace qrvml
