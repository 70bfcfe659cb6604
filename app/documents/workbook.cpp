#include "documents/workbook.h"

#include <utility>

namespace qrvml {
namespace {

struct TitleOf {
  std::string_view operator()(const ResultsText&) const { return "results"; }
  template <class Titled>
  std::string_view operator()(const Titled& document) const {
    return document.title;
  }
};

}  // namespace

void Workbook::PutResults(std::vector<std::string> lines) {
  const bool stands =
      !documents_.empty() && std::holds_alternative<ResultsText>(documents_.front());
  if (!stands) documents_.emplace_front(ResultsText{});
  std::get<ResultsText>(documents_.front()).lines = std::move(lines);
  if (onChange) onChange(0);
}

void Workbook::Add(Document&& document) {
  documents_.push_back(std::move(document));
  if (onChange) onChange(documents_.size() - 1);
}

std::string_view DocumentTitle(const Document& document) { return std::visit(TitleOf{}, document); }

}  // namespace qrvml
