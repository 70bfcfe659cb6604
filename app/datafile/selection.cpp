#include "datafile/selection.h"

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

#include "datafile/duckdb_session.h"
#include "datafile/table_scan.h"
#include "datafile/text_fields.h"

namespace qrvml {

namespace {

using Json = nlohmann::json;

constexpr const char* kScanName = "qrvml_cases";
constexpr std::string_view kBeforeCondition = "CAST((";
constexpr std::string_view kAfterCondition = "\n) AS BOOLEAN) FROM ";
constexpr const char* kCaseColumn = "case number";

// The condition as a query over a table `t`, which is parsed but not run.
std::string AsQuery(const std::string& condition) {
  return "SELECT " + std::string(kBeforeCondition) + condition + std::string(kAfterCondition) + "t";
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

struct Refused {
  std::string what;
  std::string right;
};

constexpr const char* kOneExpression =
    "A condition is one expression over the variables, such as: age >= 18 AND sex = 'F'";

constexpr const char* kTextsAndNames =
    "Texts stand in single quotes, names of variables in none or in double quotes";

/// A reason as the database words it, and what it means here. {} is the name in double quotes (or
/// behind the words) of the database's text.
struct Rewording {
  std::string_view sign;  // the text holds this; a name follows where `what` has a {}
  std::string_view what;
  const char* right;
};

constexpr Rewording kRewordings[] = {
    {"Referenced column \"", "there is no variable \"{}\"", kTextsAndNames},
    {"Referenced table \"", "there is no variable whose name begins with \"{}.\"",
     "A name with other signs than letters, digits and _ stands in double quotes"},
    {"GROUP BY", "the condition takes one value over all cases, such as a mean or a count",
     "Write OVER () behind it: x > avg(x) OVER ()"},
    {"Function with name ", "there is no function \"{}\"", kOneExpression},
    {"is a table function", "the condition reads a table of its own", kOneExpression},
    {"Cannot compare values of type", "a text is compared with a number",
     "Compare a text variable with a text in single quotes: sex = 'F'"},
    {"syntax error at or near \")\"", "the condition ends early, or has a bracket too many",
     kOneExpression},
};

// What the database says in its own terms, said in the user's.
Refused InPlainWords(const std::string& databaseText) {
  std::string reason = FirstLine(databaseText);
  const std::size_t colon = reason.find(" Error: ");
  if (colon != std::string::npos) reason.erase(0, colon + 8);
  for (const Rewording& rewording : kRewordings) {
    const std::size_t at = reason.find(rewording.sign);
    if (at == std::string::npos) continue;
    const std::size_t name = at + rewording.sign.size();
    std::string what(rewording.what);
    const std::size_t hole = what.find("{}");
    if (hole != std::string::npos) {
      what.replace(hole, 2, reason, name, reason.find_first_of("\" ", name) - name);
    }
    return {what, rewording.right};
  }
  while (!reason.empty() && (reason.back() == '.' || reason.back() == '!')) reason.pop_back();
  return {reason, kOneExpression};
}

// Calls visit(object) for every object of a parse tree, outer ones first.
void ForEachObject(const Json& tree, const std::function<void(const Json&)>& visit) {
  if (tree.is_object()) visit(tree);
  if (!tree.is_structured()) return;
  for (const Json& part : tree) ForEachObject(part, visit);
}

// The parse tree without what only tells where things stand in the text.
Json WithoutPlaces(Json tree) {
  if (tree.is_object()) tree.erase("query_location");
  if (tree.is_structured()) {
    for (Json& part : tree) part = WithoutPlaces(std::move(part));
  }
  return tree;
}

/// A condition that is looked at before it is run.
class Condition {
 public:
  Condition(const DataTable& table, std::string text) : table_(table), text_(std::move(text)) {
    NameColumns();
  }

  void Check();
  std::vector<std::uint8_t> Evaluate();

 private:
  void NameColumns();
  Json Parse(const std::string& query);
  Json ParseCondition();
  void RefuseSubqueriesAndStars(const Json& expression);
  void RefuseVolatileFunctions(const Json& expression);
  void NameVariables(const Json& expression);
  std::string ColumnFor(const std::vector<std::string>& reference) const;

  const DataTable& table_;
  std::string text_;
  std::vector<std::string> columns_;    // by variable: its name in the database
  std::vector<std::string> ambiguous_;  // in lower case: names that differ in case only
  DuckDbSession session_;
};

// The database does not tell upper and lower case apart in names: variables that differ in nothing
// else, and one named like the column of case numbers, get a name of their own there.
void Condition::NameColumns() {
  std::vector<std::string> lower{kCaseColumn};
  for (int variable = 1; variable <= table_.NumberOfVariables(); ++variable) {
    lower.push_back(Lower(table_.At(variable).name));
  }
  std::vector<std::string> sorted = lower;
  std::sort(sorted.begin(), sorted.end());
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    if (sorted[i] == sorted[i - 1]) ambiguous_.push_back(sorted[i]);
  }
  for (int variable = 1; variable <= table_.NumberOfVariables(); ++variable) {
    const std::string& name = lower[static_cast<std::size_t>(variable)];
    const bool unique = !std::binary_search(ambiguous_.begin(), ambiguous_.end(), name);
    columns_.push_back(unique ? table_.At(variable).name
                              : "variable " + std::to_string(variable) + "\n" + name);
  }
}

Json Condition::Parse(const std::string& query) {
  DuckDbResult result;
  std::string error;
  if (!session_.Query("SELECT json_serialize_sql(" + SqlLiteral(query) + ")", result, error)) {
    throw InPlainWords(error);
  }
  Json tree = Json::parse(result.FirstText());
  if (tree.value("error", true)) throw InPlainWords(tree.value("error_message", ""));
  return tree;
}

// The condition's expression. Whatever closes the brackets around the condition, or adds to the
// statement outside them, makes the rest of the tree differ from that of a plain condition.
Json Condition::ParseCondition() {
  std::string error;
  const std::uint64_t statements = session_.CountStatements(AsQuery(text_), error);
  if (statements == 0) throw InPlainWords(error);
  if (statements > 1) {
    throw Refused{"the condition holds more than one statement", kOneExpression};
  }
  const Json::json_pointer place("/statements/0/node/select_list/0/child");
  Json plain = Parse(AsQuery("TRUE"));
  Json tree = Parse(AsQuery(text_));
  Json expression;
  if (tree.contains(place)) expression = tree[place];
  plain[place] = nullptr;
  tree[place] = nullptr;
  if (WithoutPlaces(plain) != WithoutPlaces(tree)) {
    throw Refused{"the condition is more than one expression", kOneExpression};
  }
  return expression;
}

void Condition::RefuseSubqueriesAndStars(const Json& expression) {
  ForEachObject(expression, [](const Json& part) {
    const std::string kind = part.value("class", "");
    if (kind == "SUBQUERY") {
      throw Refused{"the condition holds a query of its own (SELECT)",
                    "For a value over all cases write OVER () behind it: x > avg(x) OVER ()"};
    }
    if (kind == "STAR") {
      throw Refused{"the condition holds a * that stands for all variables",
                    "Name the variables one by one"};
    }
  });
}

void Condition::RefuseVolatileFunctions(const Json& expression) {
  std::string names;
  ForEachObject(expression, [&](const Json& part) {
    if (!part.contains("function_name")) return;
    names += (names.empty() ? "" : ", ") + SqlLiteral(Lower(part.value("function_name", "")));
  });
  if (names.empty()) return;
  DuckDbResult result;
  std::string error;
  // Settings are no property of a case either, though the database calls them consistent.
  const std::string query =
      "SELECT min(function_name) FROM duckdb_functions() WHERE function_name IN (" + names +
      ") AND (stability <> 'CONSISTENT' OR function_name IN ('current_setting', 'getvariable')) "
      "HAVING count(*) > 0";
  if (!session_.Query(query, result, error)) throw InPlainWords(error);
  const std::string found = result.FirstText();
  if (!found.empty()) {
    throw Refused{"the function " + found + " depends on more than the cases",
                  "The same condition has to select the same cases whenever it is evaluated"};
  }
}

// The column that a reference means where the database would not find it by itself; empty: it does.
std::string Condition::ColumnFor(const std::vector<std::string>& reference) const {
  std::string name;
  for (const std::string& part : reference) name += (name.empty() ? "" : ".") + part;
  const int variable = table_.FindVariable(name);
  const bool unclear = std::binary_search(ambiguous_.begin(), ambiguous_.end(), Lower(name));
  if (variable == 0 && unclear) {
    throw Refused{
        "the names of several variables differ from \"" + name + "\" in upper and lower case only",
        "Write the name exactly as in the file"};
  }
  if (variable == 0 || (reference.size() == 1 && !unclear)) return {};
  return columns_[static_cast<std::size_t>(variable - 1)];
}

void Condition::NameVariables(const Json& expression) {
  struct Change {
    std::size_t at, length;
    std::string column;
  };
  std::vector<Change> changes;
  const std::size_t before = AsQuery("").find(kBeforeCondition) + kBeforeCondition.size();
  ForEachObject(expression, [&](const Json& part) {
    if (part.value("class", "") != "COLUMN_REF") return;
    const auto reference = part.value("column_names", std::vector<std::string>{});
    std::string column = ColumnFor(reference);
    if (column.empty()) return;
    // The reference stands in the text as plain words or in double quotes, with points between.
    const std::size_t start = part.value("query_location", std::size_t{0}) - before;
    std::size_t at = start;
    for (const std::string& word : reference) {
      if (at != start && text_.compare(at++, 1, ".") != 0) return;
      const std::string quoted = SqlIdentifier(word);
      const bool isQuoted = at < text_.size() && text_[at] == '"';
      const std::string& expected = isQuoted ? quoted : word;
      if (at > text_.size() || text_.compare(at, expected.size(), expected) != 0) return;
      at += expected.size();
    }
    changes.push_back({start, at - start, std::move(column)});
  });
  std::sort(changes.begin(), changes.end(),
            [](const Change& a, const Change& b) { return a.at > b.at; });
  for (const Change& change : changes) {
    text_.replace(change.at, change.length, SqlIdentifier(change.column));
  }
}

void Condition::Check() {
  if (text_.find('\0') != std::string::npos) {
    throw Refused{"the condition holds a NUL byte", kOneExpression};
  }
  NameVariables(ParseCondition());
  const Json expression = ParseCondition();
  RefuseSubqueriesAndStars(expression);
  RefuseVolatileFunctions(expression);
}

std::vector<std::uint8_t> Condition::Evaluate() {
  if (!RegisterTableScan(session_.Connection(), kScanName, kCaseColumn, table_, columns_)) {
    throw std::runtime_error("the embedded database cannot read the cases");
  }
  DuckDbResult result;
  std::string error;
  if (!session_.Query("SELECT t." + SqlIdentifier(kCaseColumn) + ", " +
                          std::string(kBeforeCondition) + text_ + std::string(kAfterCondition) +
                          kScanName + "() AS t",
                      result, error)) {
    throw InPlainWords(error);
  }
  constexpr std::uint8_t kNoAnswer = 2;
  const auto cases = static_cast<std::size_t>(table_.NumberOfCases());
  std::vector<std::uint8_t> selected(cases, kNoAnswer);
  std::size_t answers = 0;
  while (duckdb_data_chunk chunk = duckdb_fetch_chunk(*result.Handle())) {
    const auto data = [&](idx_t column) {
      return duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk, column));
    };
    const auto* numbers = static_cast<const std::int64_t*>(data(0));
    const auto* truths = static_cast<const bool*>(data(1));
    std::uint64_t* validity = duckdb_vector_get_validity(duckdb_data_chunk_get_vector(chunk, 1));
    for (idx_t i = 0; i < duckdb_data_chunk_get_size(chunk); ++i) {
      const bool known = !validity || duckdb_validity_row_is_valid(validity, i);
      selected[static_cast<std::size_t>(numbers[i] - 1)] = known && truths[i];
      ++answers;
    }
    duckdb_destroy_data_chunk(&chunk);
  }
  if (answers != cases ||
      std::find(selected.begin(), selected.end(), kNoAnswer) != selected.end()) {
    throw Refused{"the condition does not give one result for each case", kOneExpression};
  }
  return selected;
}

}  // namespace

bool EvaluateCondition(const DataTable& table, const std::string& condition,
                       std::vector<std::uint8_t>& selected, FileError& error) {
  error = {};
  std::string what;
  try {
    Condition checked(table, condition);
    checked.Check();
    selected = checked.Evaluate();
    return true;
  } catch (const Refused& refused) {
    what = refused.what;
    error.right = refused.right;
  } catch (const std::exception& failure) {
    what = failure.what();
  }
  error.what = "the selection condition (" + FirstLine(condition) + ") is refused: " + what;
  return false;
}

}  // namespace qrvml
