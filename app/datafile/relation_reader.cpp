#include "datafile/relation_reader.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cctype>
#include <cstdint>
#include <deque>
#include <exception>
#include <limits>
#include <mutex>
#include <string_view>
#include <vector>

#include "datafile/read_failure.h"
#include "datafile/read_watch.h"

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
  std::size_t target;                     // column of the builder
  std::atomic<std::int64_t> rounded = 0;  // whole numbers that no double holds
};

using CopyFunction = void (*)(const Source& source, std::span<double> cells, TableBuilder& builder,
                              ReadColumn& column);

template <class T, class Convert>
void CopyRows(const Source& source, std::span<double> cells, const Convert& convert) {
  const T* values = static_cast<const T*>(source.data) + source.from;
  if (!source.validity) {
    std::transform(values, values + cells.size(), cells.begin(), convert);
    return;
  }
  for (std::size_t i = 0; i < cells.size(); ++i) {
    cells[i] = duckdb_validity_row_is_valid(source.validity, source.from + i)
                   ? convert(values[i])
                   : TableBuilder::MissingCell();
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
  std::int64_t rounded = 0;
  CopyRows<T>(source, cells, [&](T value) {
    const auto number = static_cast<double>(value);
    // The largest ones round up to a double that the type does not hold.
    const bool fits = number < static_cast<double>(std::numeric_limits<T>::max());
    if (!fits || static_cast<T>(number) != value) ++rounded;
    return number;
  });
  column.rounded += rounded;
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
  // A short text lies in the value itself: the cells of those met last are at hand.
  struct Short {
    std::array<std::uint64_t, 2> value = {};  // that of the empty text
    double cell = TableBuilder::MissingCell();
  };
  constexpr std::size_t kAtHand = 64;
  std::array<Short, kAtHand> atHand;
  const std::unique_lock lock = builder.LockTexts(column.target);
  CopyRows<duckdb_string_t>(source, cells, [&](duckdb_string_t value) {
    const std::string_view text(duckdb_string_t_data(&value), duckdb_string_t_length(value));
    if (!duckdb_string_is_inlined(value)) return builder.TextCell(column.target, text);
    const auto bits = std::bit_cast<std::array<std::uint64_t, 2>>(value);
    const std::uint64_t mixed = (bits[0] ^ bits[1] * 3) * 0x9E3779B97F4A7C15u;
    Short& found = atHand[mixed >> 58];
    if (found.value != bits) found = {bits, builder.TextCell(column.target, text)};
    return found.cell;
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

/// Takes rows from the database's threads as they come, as a function that the query calls: the
/// position of the row, then its cells.
class RowSink {
 public:
  RowSink(TableBuilder& builder, std::size_t cases) : builder_(builder), cases_(cases) {}

  void AddColumn(const TypeRule& rule, std::size_t target) {
    rules_.push_back(&rule);
    columns_.emplace_back(target);
  }
  const std::deque<ReadColumn>& Columns() const { return columns_; }
  /// The exception that ended the query, if one did.
  std::exception_ptr Failure() const { return failure_; }

  bool Register(duckdb_connection connection, const char* name) {
    duckdb_logical_type any = duckdb_create_logical_type(DUCKDB_TYPE_ANY);
    duckdb_logical_type number = duckdb_create_logical_type(DUCKDB_TYPE_BIGINT);
    duckdb_scalar_function function = duckdb_create_scalar_function();
    duckdb_scalar_function_set_name(function, name);
    duckdb_scalar_function_set_varargs(function, any);
    duckdb_scalar_function_set_return_type(function, number);
    duckdb_scalar_function_set_special_handling(function);  // it sees missing values too
    duckdb_scalar_function_set_volatile(function);          // it is called for every row
    duckdb_scalar_function_set_extra_info(function, this, nullptr);
    duckdb_scalar_function_set_function(function, Call);
    const bool registered = duckdb_register_scalar_function(connection, function) == DuckDBSuccess;
    duckdb_destroy_scalar_function(&function);
    duckdb_destroy_logical_type(&number);
    duckdb_destroy_logical_type(&any);
    return registered;
  }

 private:
  static void Call(duckdb_function_info info, duckdb_data_chunk input, duckdb_vector output) {
    auto& sink = *static_cast<RowSink*>(duckdb_scalar_function_get_extra_info(info));
    try {
      sink.Take(input, static_cast<std::int64_t*>(duckdb_vector_get_data(output)));
    } catch (...) {
      const std::lock_guard lock(sink.mutex_);
      if (!sink.failure_) sink.failure_ = std::current_exception();
      duckdb_scalar_function_set_error(info, "stopped");
    }
  }

  // Rows that follow each other are copied together, column by column.
  void Take(duckdb_data_chunk input, std::int64_t* taken) {
    const std::size_t rows = duckdb_data_chunk_get_size(input);
    const auto* positions = static_cast<const std::int64_t*>(
        duckdb_vector_get_data(duckdb_data_chunk_get_vector(input, 0)));
    std::fill_n(taken, rows, 1);
    for (std::size_t from = 0, end = 0; from < rows; from = end) {
      while (++end < rows && positions[end] == positions[end - 1] + 1) {
      }
      const auto first = static_cast<std::size_t>(positions[from]);
      if (first + (end - from) > cases_) FailToRead("it holds more cases than it says", kDamaged);
      CopyRun(input, from, end, first);
    }
  }
  void CopyRun(duckdb_data_chunk input, std::size_t from, std::size_t end, std::size_t firstCase) {
    while (from < end) {
      std::size_t copied = 0;
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        const std::span<double> cells =
            builder_.CellsFrom(columns_[i].target, firstCase, end - from);
        duckdb_vector vector = duckdb_data_chunk_get_vector(input, i + 1);
        const Source source = {duckdb_vector_get_data(vector), duckdb_vector_get_validity(vector),
                               from};
        rules_[i]->copy(source, cells, builder_, columns_[i]);
        copied = cells.size();
      }
      builder_.CompleteCases(firstCase, copied);
      from += copied;
      firstCase += copied;
    }
  }

  TableBuilder& builder_;
  const std::size_t cases_;
  std::vector<const TypeRule*> rules_;
  std::deque<ReadColumn> columns_;
  std::mutex mutex_;
  std::exception_ptr failure_;
};

/// A name that no column has.
std::string NewName(std::string name, const std::vector<std::string>& columns) {
  const auto taken = [&](const std::string& column) {
    return std::ranges::equal(column, name, [](char a, char b) {
      return std::tolower(static_cast<unsigned char>(a)) == b;
    });
  };
  while (std::ranges::any_of(columns, taken)) name += '_';
  return name;
}

}  // namespace

void ReadRelation(DuckDbSession& session, const Relation& relation,
                  std::span<const std::string> names, TableBuilder& builder) {
  constexpr const char* kFunction = "qrvml_take_row";
  const auto fail = [](const std::string& reason) {
    FailToRead("the file cannot be read: " + reason.substr(0, reason.find('\n')), kDamaged);
  };
  DuckDbResult header;
  std::string reason;
  if (!session.Query("SELECT " + relation.columns + " FROM " + relation.from + " LIMIT 0", header,
                     reason)) {
    fail(reason);
  }
  const std::size_t cases = std::stoull(
      ReadTexts(session, "SELECT CAST(count(*) AS VARCHAR) FROM " + relation.from).at(0).at(0));
  std::vector<std::string> found(duckdb_column_count(header.Handle()));
  for (std::size_t i = 0; i < found.size(); ++i) {
    found[i] = duckdb_column_name(header.Handle(), i);
  }
  const std::string position = SqlIdentifier(NewName("qrvml_position", found));
  RowSink sink(builder, cases);
  std::string list = "CAST(" + position + " AS BIGINT)";
  for (std::size_t i = 0; i < found.size(); ++i) {
    const std::string& name = i < names.size() ? names[i] : found[i];
    const TypeRule* rule = FindRule(duckdb_column_type(header.Handle(), i));
    if (!rule) {
      builder.AddNote(name + " is left out: its cells are no single values");
      continue;
    }
    const std::size_t target = builder.AddColumn(name);
    sink.AddColumn(*rule, target);
    builder.About(target).format = rule->format;
    builder.About(target).wasText = rule->copy == CopyTexts;
    const std::string column = SqlIdentifier(found[i]);
    list += rule->cast ? ", CAST(" + column + " AS " + rule->cast + ")" : ", " + column;
  }
  if (builder.NumberOfColumns() == 0) FailToRead("the file has no variables");

  builder.AddAllCases(cases);
  const std::string count =
      relation.position.empty() ? "row_number() OVER () - 1" : relation.position;
  if (!sink.Register(session.Connection(), kFunction)) fail("its rows cannot be taken");
  DuckDbResult result;
  const bool done = session.Query("SELECT CAST(count(" + std::string(kFunction) + "(" + list +
                                      ")) AS VARCHAR) FROM (SELECT " + relation.columns + ", " +
                                      count + " AS " + position + " FROM " + relation.from + ")",
                                  result, reason);
  if (sink.Failure()) std::rethrow_exception(sink.Failure());
  if (!done) fail(reason);
  const std::string read = result.FirstText();
  if (read != std::to_string(cases)) {
    FailToRead("only " + read + " of its " + std::to_string(cases) + " cases can be read",
               kDamaged);
  }
  for (const ReadColumn& column : sink.Columns()) {
    if (column.rounded == 0) continue;
    builder.AddNote(builder.About(column.target).name + ": " + std::to_string(column.rounded) +
                    (column.rounded == 1 ? " whole number has too many digits and is rounded"
                                         : " whole numbers have too many digits and are rounded"));
  }
}

std::vector<std::vector<std::string>> ReadTexts(DuckDbSession& session, const std::string& query,
                                                ReadWatch* watch) {
  std::vector<std::vector<std::string>> rows;
  Stream stream(session.Connection(), query);
  while (duckdb_data_chunk chunk = stream.Next()) {
    CheckCancelled(watch);
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
