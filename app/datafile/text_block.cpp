#include "datafile/text_block.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "datafile/data_table.h"
#include "datafile/text_encoding.h"

namespace qrvml {

namespace {

constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();

void Refuse(ParsedBlock& block, int line, std::size_t column, std::string what, std::string right) {
  FileError& error = block.error.emplace();
  error.line = line;
  error.column = static_cast<std::int64_t>(column);
  error.what = std::move(what);
  error.right = std::move(right);
}

int LineBreaks(std::string_view text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

const char* SkipBlanks(const char* at, char delimiter) {
  while (IsBlank(*at, delimiter)) ++at;
  return at;
}

std::string Fields(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " field" : " fields");
}

}  // namespace

void TextIndex::Intern(const TextSet& texts, std::vector<std::uint32_t>& numbers) {
  const std::lock_guard lock(mutex_);
  numbers.clear();
  for (std::size_t i = 0; i < texts.Texts().size(); ++i) {
    const TextSet::Added added = texts_.Add(texts.Texts()[i], texts.Hashes()[i]);
    if (added.isNew) texts_.Move(added.number, arena_.Keep(texts.Texts()[i]));
    numbers.push_back(added.number);
  }
}

BlockParser::BlockParser(const TextDialect& dialect, ColumnKinds& kinds, CellStore& store)
    : dialect_(dialect),
      kinds_(kinds),
      store_(store),
      columns_(kinds.Size()),
      asText_(columns_),
      local_(columns_) {}

void BlockParser::Parse(std::string_view text, ParsedBlock& block) {
  const std::size_t nul = text.find('\0');
  if (nul != std::string_view::npos) {
    const std::string_view before = text.substr(0, nul);
    const std::size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0
    Refuse(
        block, LineBreaks(before), 0,
        "there is a NUL byte (0) at byte " + std::to_string(nul - lineStart + 1) + " of the line",
        "Delimited text holds no such byte: save the data as text in UTF-8");
    return;
  }
  const std::size_t invalid = FindInvalidUtf8(text);
  block.invalidUtf8 = invalid != std::string_view::npos;
  if (block.invalidUtf8) block.invalidLine = LineBreaks(text.substr(0, invalid));

  for (std::size_t column = 0; column < columns_; ++column) asText_[column] = kinds_.IsText(column);
  do {
    foundText_ = false;
    if (!ParseRecords(text, block)) return;
  } while (foundText_);
  StoreColumns(block);
}

// False: the block has an error.
bool BlockParser::ParseRecords(std::string_view text, ParsedBlock& block) {
  block.lines = 0;
  block.cases = 0;
  block.hasEmpty.assign(columns_, false);
  block.heldCodes.clear();
  block.tooLarge.clear();
  unescaped_.clear();
  for (LocalTexts& local : local_) local.texts.Clear();

  const char* at = text.data();
  const char* end = at + text.size();
  while (at != end) {
    const char* start = SkipBlanks(at, dialect_.delimiter);
    if (*start == '\n' && columns_ > 1) {
      at = start + 1;
      ++block.lines;
      continue;
    }
    if (rows_.size() < (block.cases + 1) * columns_) rows_.resize(rows_.size() * 2 + columns_);
    if (!ParseRecord(at, end, block)) return false;
    ++block.cases;
  }
  block.asText = asText_;
  return true;
}

bool BlockParser::ParseRecord(const char*& at, const char* end, ParsedBlock& block) {
  const int firstLine = block.lines;
  for (std::size_t column = 0;; ++column) {
    if (!ParseField(at, end, column, block)) return false;
    if (*at++ != '\n') continue;
    ++block.lines;
    if (column + 1 == columns_) return true;
    Refuse(block, firstLine, std::min(column + 1, columns_) + 1,
           "the row has " + Fields(column + 1) + " instead of " + std::to_string(columns_),
           "Every row needs as many fields as the header has names; a field that holds the "
           "delimiter stands in double quotes");
    return false;
  }
}

// Leaves `at` on the delimiter or line break that ends the field.
bool BlockParser::ParseField(const char*& at, const char* end, std::size_t column,
                             ParsedBlock& block) {
  const char delimiter = dialect_.delimiter;
  const char* start = SkipBlanks(at, delimiter);
  const auto endsAt = [&](const char* place) { return *place == delimiter || *place == '\n'; };
  const bool wanted = column < columns_;  // a field too many is only counted
  double* cell = wanted ? &rows_[block.cases * columns_ + column] : nullptr;
  double value = 0;

  if (*start == '"') {
    at = start + 1;
    std::string_view text;
    const int firstLine = block.lines;
    std::string unescaped;
    if (!ReadQuoted(at, end, text, unescaped, block.lines)) {
      Refuse(block, firstLine, column + 1, "the double quote that opens this field is not closed",
             "A quoted field ends with a double quote; a double quote inside it is doubled");
      return false;
    }
    at = SkipBlanks(at, delimiter);
    if (!endsAt(at)) {
      Refuse(block, block.lines, column + 1, "there is text behind the closing double quote",
             "The delimiter follows a quoted field; a double quote inside the field is doubled");
      return false;
    }
    if (!wanted) return true;
    text = TrimBlanks(text);
    if (!asText_[column] || text.empty()) {
      const NumberForm form = ReadWholeNumber(text, dialect_.decimal, value);
      *cell = CellOfNumber(form, value, text, column, block);
      return true;
    }
    if (!unescaped.empty()) text = TrimBlanks(unescaped_.emplace_back(std::move(unescaped)));
    *cell = local_[column].texts.Add(text).number;
    return true;
  }

  // Where the delimiter is the decimal mark too, an unquoted number has no decimals.
  if (wanted && !asText_[column] && dialect_.decimal != delimiter) {
    const char* stop = start;
    const NumberForm form = ReadNumber(start, end, dialect_.decimal, value, stop);
    if (form != NumberForm::none) {
      const char* behind = SkipBlanks(stop, delimiter);
      if (endsAt(behind)) {
        at = behind;
        const std::string_view text(start, static_cast<std::size_t>(stop - start));
        *cell = CellOfNumber(form, value, text, column, block);
        return true;
      }
    }
  }
  at = start;
  while (!endsAt(at)) ++at;
  if (!wanted) return true;
  const std::string_view text = TrimBlanks({start, static_cast<std::size_t>(at - start)});
  if (asText_[column] && !text.empty()) {
    *cell = local_[column].texts.Add(text).number;
  } else {
    const NumberForm form = ReadWholeNumber(text, dialect_.decimal, value);
    *cell = CellOfNumber(form, value, text, column, block);
  }
  return true;
}

double BlockParser::CellOfNumber(NumberForm form, double value, std::string_view text,
                                 std::size_t column, ParsedBlock& block) {
  if (form == NumberForm::number && !(value <= -9999)) return value;
  const auto known = [&](const std::vector<FoundNumber>& found) {
    return std::any_of(found.begin(), found.end(), [&](const FoundNumber& number) {
      return number.column == column && number.value == value;
    });
  };
  switch (form) {
    case NumberForm::number:
      if (IsMissingCodeCandidate(value) && !known(block.heldCodes)) {
        block.heldCodes.push_back({column, value, {}, block.lines});
      }
      return value;
    case NumberForm::outOfRange:
      value = 0;
      if (!known(block.tooLarge)) {
        block.tooLarge.push_back({column, value, std::string(text), block.lines});
      }
      return value;
    case NumberForm::none:
      break;
  }
  if (text.empty()) {
    block.hasEmpty[column] = true;
  } else {
    kinds_.SetText(column);
    asText_[column] = true;
    foundText_ = true;
  }
  return kEmpty;
}

void BlockParser::StoreColumns(ParsedBlock& block) {
  constexpr std::size_t kTile = 64;  // cases whose rows stay in the cache while they are turned
  const std::size_t cases = block.cases;
  block.cells = store_.Take(cases * columns_);
  for (std::size_t column = 0; column < columns_; ++column) {
    LocalTexts& local = local_[column];
    if (asText_[column]) kinds_.Texts(column).Intern(local.texts, local.interned);
  }
  for (std::size_t first = 0; first < cases; first += kTile) {
    const std::size_t last = std::min(cases, first + kTile);
    for (std::size_t column = 0; column < columns_; ++column) {
      double* to = block.cells.Cells() + column * cases;
      const double* from = rows_.data() + column;
      if (!asText_[column]) {
        for (std::size_t i = first; i < last; ++i) to[i] = from[i * columns_];
        continue;
      }
      const std::vector<std::uint32_t>& interned = local_[column].interned;
      for (std::size_t i = first; i < last; ++i) {
        const double number = from[i * columns_];
        to[i] = std::isnan(number) ? kEmpty : interned[static_cast<std::size_t>(number)];
      }
    }
  }
  block.cells.PutAside();
}

}  // namespace qrvml
