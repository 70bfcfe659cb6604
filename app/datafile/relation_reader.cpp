#include "datafile/relation_reader.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "datafile/read_failure.h"

namespace qrvml {

namespace {

constexpr const char* kDamaged = "The file is damaged or incomplete: copy or export it again";
constexpr double kEpochDay = 25569;  // 1970-01-01
constexpr double kMicrosecondsPerDay = 86400e6;

struct Source {
  const void* data;
  std::uint64_t* validity;  // null: every row holds a value
  std::size_t from;
};

/// A column while it is read.
struct ReadColumn {
  std::size_t target;        // column of the builder
  std::int64_t rounded = 0;  // whole numbers that no double holds
};

using CopyFunction = void (*)(const Source& source, std::span<double> cells, TableBuilder& builder,
                              ReadColumn& column);

template <class T, class Convert>
void CopyRows(const Source& source, std::span<double> cells, const Convert& convert) {
  const T* values = static_cast<const T*>(source.data) + source.from;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (source.validity && !duckdb_validity_row_is_valid(source.validity, source.from + i)) {
      continue;
    }
    cells[i] = convert(values[i]);
  }
}

template <class T>
void CopyNumbers(const Source& source, std::span<double> cells, TableBuilder&, ReadColumn&) {
  CopyRows<T>(source, cells,
              [](T value) { return TableBuilder::NumberCell(static_cast<double>(value)); });
}

template <class T>
void CopyLongNumbers(const Source& source, std::span<double> cells, TableBuilder&,
                     ReadColumn& column) {
  CopyRows<T>(source, cells, [&](T value) {
    const auto number = static_cast<double>(value);
    // The largest ones round up to a double that the type does not hold.
    const bool fits = number < static_cast<double>(std::numeric_limits<T>::max());
    if (!fits || static_cast<T>(number) != value) ++column.rounded;
    return number;
  });
}

template <class T, std::int64_t unitsPerDay>
void CopyDays(const Source& source, std::span<double> cells, TableBuilder&, ReadColumn&) {
  CopyRows<T>(source, cells, [](T value) {
    const bool infinite =
        value == std::numeric_limits<T>::max() || value == -std::numeric_limits<T>::max();
    if (infinite) return std::numeric_limits<double>::infinity();
    const std::int64_t units = value;
    std::int64_t days = units / unitsPerDay;
    std::int64_t rest = units % unitsPerDay;
    if (rest < 0) {
      rest += unitsPerDay;
      --days;
    }
    return kEpochDay + static_cast<double>(days) +
           static_cast<double>(rest) / static_cast<double>(unitsPerDay);
  });
}

void CopyTimes(const Source& source, std::span<double> cells, TableBuilder&, ReadColumn&) {
  CopyRows<std::int64_t>(source, cells, [](std::int64_t value) {
    return static_cast<double>(value) / kMicrosecondsPerDay;
  });
}

void CopyTexts(const Source& source, std::span<double> cells, TableBuilder& builder,
               ReadColumn& column) {
  CopyRows<duckdb_string_t>(source, cells, [&](duckdb_string_t value) {
    return builder.TextCell(column.target,
                            {duckdb_string_t_data(&value), duckdb_string_t_length(value)});
  });
}

/// How the values of a type arrive.
struct TypeRule {
  duckdb_type type = DUCKDB_TYPE_INVALID;
  CopyFunction copy = nullptr;
  DisplayFormat format = DisplayFormat::number;
  const char* cast = nullptr;  // the type that the database turns it into before
};

constexpr DisplayFormat kDate = DisplayFormat::date;
constexpr DisplayFormat kTime = DisplayFormat::time;
constexpr DisplayFormat kDateTime = DisplayFormat::dateTime;
constexpr DisplayFormat kNumber = DisplayFormat::number;

constexpr TypeRule kTypes[] = {
    {DUCKDB_TYPE_BOOLEAN, CopyNumbers<std::uint8_t>},
    {DUCKDB_TYPE_TINYINT, CopyNumbers<std::int8_t>},
    {DUCKDB_TYPE_SMALLINT, CopyNumbers<std::int16_t>},
    {DUCKDB_TYPE_INTEGER, CopyNumbers<std::int32_t>},
    {DUCKDB_TYPE_BIGINT, CopyLongNumbers<std::int64_t>},
    {DUCKDB_TYPE_UTINYINT, CopyNumbers<std::uint8_t>},
    {DUCKDB_TYPE_USMALLINT, CopyNumbers<std::uint16_t>},
    {DUCKDB_TYPE_UINTEGER, CopyNumbers<std::uint32_t>},
    {DUCKDB_TYPE_UBIGINT, CopyLongNumbers<std::uint64_t>},
    {DUCKDB_TYPE_FLOAT, CopyNumbers<float>},
    {DUCKDB_TYPE_DOUBLE, CopyNumbers<double>},
    {DUCKDB_TYPE_HUGEINT, CopyNumbers<double>, kNumber, "DOUBLE"},
    {DUCKDB_TYPE_UHUGEINT, CopyNumbers<double>, kNumber, "DOUBLE"},
    {DUCKDB_TYPE_BIGNUM, CopyNumbers<double>, kNumber, "DOUBLE"},
    {DUCKDB_TYPE_DECIMAL, CopyNumbers<double>, kNumber, "DOUBLE"},
    {DUCKDB_TYPE_SQLNULL, CopyNumbers<double>, kNumber, "DOUBLE"},
    {DUCKDB_TYPE_DATE, CopyDays<std::int32_t, 1>, kDate},
    {DUCKDB_TYPE_TIMESTAMP, CopyDays<std::int64_t, 86'400'000'000>, kDateTime},
    {DUCKDB_TYPE_TIMESTAMP_TZ, CopyDays<std::int64_t, 86'400'000'000>, kDateTime},
    {DUCKDB_TYPE_TIMESTAMP_S, CopyDays<std::int64_t, 86'400>, kDateTime},
    {DUCKDB_TYPE_TIMESTAMP_MS, CopyDays<std::int64_t, 86'400'000>, kDateTime},
    {DUCKDB_TYPE_TIMESTAMP_NS, CopyDays<std::int64_t, 86'400'000'000'000>, kDateTime},
    {DUCKDB_TYPE_TIME, CopyTimes, kTime},
    {DUCKDB_TYPE_TIME_TZ, CopyTimes, kTime, "TIME"},
    {DUCKDB_TYPE_TIME_NS, CopyTimes, kTime, "TIME"},
    {DUCKDB_TYPE_VARCHAR, CopyTexts},
    {DUCKDB_TYPE_ENUM, CopyTexts, kNumber, "VARCHAR"},
    {DUCKDB_TYPE_UUID, CopyTexts, kNumber, "VARCHAR"},
    {DUCKDB_TYPE_BLOB, CopyTexts, kNumber, "VARCHAR"},
    {DUCKDB_TYPE_BIT, CopyTexts, kNumber, "VARCHAR"},
    {DUCKDB_TYPE_INTERVAL, CopyTexts, kNumber, "VARCHAR"},
};

const TypeRule* FindRule(duckdb_type type) {
  const auto rule = std::find_if(std::begin(kTypes), std::end(kTypes),
                                 [&](const TypeRule& each) { return each.type == type; });
  return rule == std::end(kTypes) ? nullptr : rule;
}

/// The rows of a query, fetched as they are made.
class Stream {
 public:
  Stream(duckdb_connection connection, const std::string& query) {
    const bool prepared = duckdb_prepare(connection, query.c_str(), &statement_) == DuckDBSuccess;
    if (!prepared) Fail(duckdb_prepare_error(statement_));
    if (duckdb_pending_prepared_streaming(statement_, &pending_) != DuckDBSuccess) {
      Fail(duckdb_pending_error(pending_));
    }
    if (duckdb_execute_pending(pending_, result_.Handle()) != DuckDBSuccess) {
      Fail(duckdb_result_error(result_.Handle()));
    }
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() {
    duckdb_destroy_data_chunk(&chunk_);
    Release();
  }
  /// The next rows; null behind the last one.
  duckdb_data_chunk Next() {
    duckdb_destroy_data_chunk(&chunk_);
    chunk_ = duckdb_fetch_chunk(*result_.Handle());
    return chunk_;
  }

 private:
  [[noreturn]] void Fail(const char* reason) {
    const std::string text = reason ? reason : "the query cannot be run";
    Release();
    FailToRead("the file cannot be read: " + text.substr(0, text.find('\n')), kDamaged);
  }
  void Release() {
    duckdb_destroy_pending(&pending_);
    duckdb_destroy_prepare(&statement_);
  }

  duckdb_prepared_statement statement_ = nullptr;
  duckdb_pending_result pending_ = nullptr;
  duckdb_data_chunk chunk_ = nullptr;
  DuckDbResult result_;
};

void CopyChunk(duckdb_data_chunk chunk, const std::vector<const TypeRule*>& rules,
               std::vector<ReadColumn>& columns, TableBuilder& builder) {
  const std::size_t rows = duckdb_data_chunk_get_size(chunk);
  for (std::size_t from = 0; from < rows;) {
    const std::size_t added = builder.AddCases(rows - from);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, i);
      const Source source = {duckdb_vector_get_data(vector), duckdb_vector_get_validity(vector),
                             from};
      rules[i]->copy(source, builder.NewCells(columns[i].target), builder, columns[i]);
    }
    from += added;
  }
}

}  // namespace

void ReadRelation(DuckDbSession& session, const std::string& relation,
                  std::span<const std::string> names, TableBuilder& builder) {
  DuckDbResult header;
  std::string reason;
  if (!session.Query("SELECT * FROM " + relation + " LIMIT 0", header, reason)) {
    FailToRead("the file cannot be read: " + reason.substr(0, reason.find('\n')), kDamaged);
  }
  std::vector<const TypeRule*> rules;
  std::vector<ReadColumn> columns;
  std::string list;
  const std::size_t found = duckdb_column_count(header.Handle());
  for (std::size_t i = 0; i < found; ++i) {
    const std::string own = duckdb_column_name(header.Handle(), i);
    const std::string& name = i < names.size() ? names[i] : own;
    const TypeRule* rule = FindRule(duckdb_column_type(header.Handle(), i));
    if (!rule) {
      builder.AddNote(name + " is left out: its cells are no single values");
      continue;
    }
    rules.push_back(rule);
    columns.push_back({builder.AddColumn(name)});
    Variable& about = builder.About(columns.back().target);
    about.format = rule->format;
    about.wasText = rule->copy == CopyTexts;
    const std::string column = SqlIdentifier(own);
    list += list.empty() ? "" : ", ";
    list += rule->cast ? "CAST(" + column + " AS " + rule->cast + ")" : column;
  }
  if (columns.empty()) FailToRead("the file has no variables");

  const std::size_t cases = std::stoull(
      ReadTexts(session, "SELECT CAST(count(*) AS VARCHAR) FROM " + relation).at(0).at(0));
  Stream stream(session.Connection(), "SELECT " + list + " FROM " + relation);
  while (duckdb_data_chunk chunk = stream.Next()) CopyChunk(chunk, rules, columns, builder);
  // The database does not tell an error behind the first rows from the end of them.
  if (builder.NumberOfCases() != cases) {
    FailToRead("only " + std::to_string(builder.NumberOfCases()) + " of its " +
                   std::to_string(cases) + " cases can be read",
               kDamaged);
  }
  for (const ReadColumn& column : columns) {
    if (column.rounded == 0) continue;
    builder.AddNote(builder.About(column.target).name + ": " + std::to_string(column.rounded) +
                    (column.rounded == 1 ? " whole number has too many digits and is rounded"
                                         : " whole numbers have too many digits and are rounded"));
  }
}

std::vector<std::vector<std::string>> ReadTexts(DuckDbSession& session, const std::string& query) {
  std::vector<std::vector<std::string>> rows;
  Stream stream(session.Connection(), query);
  while (duckdb_data_chunk chunk = stream.Next()) {
    const std::size_t first = rows.size();
    rows.resize(first + duckdb_data_chunk_get_size(chunk),
                std::vector<std::string>(duckdb_data_chunk_get_column_count(chunk)));
    for (std::size_t column = 0; column < rows[first].size(); ++column) {
      duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, column);
      auto* texts = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
      std::uint64_t* validity = duckdb_vector_get_validity(vector);
      for (std::size_t row = first; row < rows.size(); ++row) {
        if (validity && !duckdb_validity_row_is_valid(validity, row - first)) continue;
        duckdb_string_t& text = texts[row - first];
        rows[row][column].assign(duckdb_string_t_data(&text), duckdb_string_t_length(text));
      }
    }
  }
  return rows;
}

}  // namespace qrvml
