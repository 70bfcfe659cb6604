#include "datafile/text_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstring>

#include "datafile/on_threads.h"
#include "datafile/read_failure.h"
#include "datafile/read_watch.h"
#include "datafile/text_block.h"
#include "datafile/text_dialect.h"

namespace qrvml {

namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 20;
constexpr std::size_t kLongestRecord = std::size_t{64} << 20;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

[[noreturn]] void Fail(std::int64_t line, std::int64_t column, std::string what,
                       std::string right) {
  throw ReadFailure{{std::move(what), {}, line, column, std::move(right)}};
}

/// The bytes of a file, by position.
class Source {
 public:
  explicit Source(const std::string& path) : handle_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status = {};
    if (handle_ < 0 || ::fstat(handle_, &status) != 0) FailToRead();
    size_ = status.st_size;
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source() {
    if (handle_ >= 0) ::close(handle_);
  }
  std::int64_t Size() const { return size_; }

  /// Fills `buffer` with `bytes` bytes, or with fewer at the end of the file.
  void Read(std::int64_t offset, std::size_t bytes, std::vector<char>& buffer) const {
    if (buffer.size() < bytes) buffer.resize(bytes);
    std::size_t done = 0;
    while (done < bytes) {
      const ssize_t got = ::pread(handle_, buffer.data() + done, bytes - done,
                                  offset + static_cast<std::int64_t>(done));
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) FailToRead();
      if (got == 0) break;
      done += static_cast<std::size_t>(got);
    }
    buffer.resize(done);
  }

 private:
  [[noreturn]] static void FailToRead() {
    Fail(0, 0, std::string("the file cannot be read: ") + std::strerror(errno), "");
  }
  int handle_;
  std::int64_t size_ = 0;
};

class TextFile {
 public:
  TextFile(const std::string& path, const ReadOptions& options)
      : source_(path), options_(options), store_(options.memory) {}

  void Read(DataTable& table) {
    ReadHeader();
    kinds_.emplace(names_.size());
    ReadBlocks();
    CheckCancelled(options_.watch);
    ReportErrors();
    ReadAgainAsText();
    FindEncoding();
    FillTable(table);
  }

 private:
  int Threads() const {
    const int wanted = NumberOfThreads(options_.threads);
    const std::int64_t blocks = (source_.Size() - next_) / static_cast<std::int64_t>(kBlockBytes);
    return static_cast<int>(std::clamp<std::int64_t>(blocks, 1, wanted));
  }

  void ReadHeader();
  ParsedBlock* TakeBlock(std::vector<char>& buffer);
  void ReadBlocks();
  void ReportErrors();
  void ReadAgainAsText();
  void FindEncoding();
  std::string Decoded(std::string_view text) const {
    return encoding_ == TextEncoding::utf8 ? std::string(text) : DecodeWindows1252(text);
  }
  std::vector<double> SetTexts(std::size_t column, Variable& variable) const;
  double MissingCodeOf(std::size_t column) const;
  void FillTable(DataTable& table);

  Source source_;
  const ReadOptions& options_;
  CellStore store_;
  bool hasMark_ = false;
  TextDialect dialect_;
  TextEncoding encoding_ = TextEncoding::utf8;
  std::string header_;              // as it stands in the file
  std::vector<std::string> names_;  // not yet decoded
  int headerLines_ = 0;             // line breaks up to the end of the header
  std::optional<ColumnKinds> kinds_;

  std::mutex mutex_;  // guards what follows while blocks are taken
  std::int64_t next_ = 0;
  std::deque<ParsedBlock> blocks_;
  std::atomic<bool> failed_ = false;
};

void TextFile::ReadHeader() {
  if (source_.Size() == 0) {
    Fail(0, 0, "the file is empty", "The first line holds the names of the variables");
  }
  std::vector<char> buffer;
  std::string_view sample;
  std::size_t markBytes = 0;
  const char* at = nullptr;
  RecordState state = RecordState::complete;
  for (std::size_t bytes = kBlockBytes;; bytes *= 4) {
    source_.Read(0, bytes, buffer);
    sample = {buffer.data(), buffer.size()};
    hasMark_ = sample.starts_with(kByteOrderMark);
    markBytes = hasMark_ ? kByteOrderMark.size() : 0;
    sample.remove_prefix(markBytes);
    const std::size_t nul = sample.substr(0, sample.find('\n')).find('\0');
    if (nul != std::string_view::npos) {
      Fail(1, 0, "there is a NUL byte (0) at byte " + std::to_string(nul + 1) + " of the line",
           "Delimited text holds no such byte: save the data as text in UTF-8");
    }

    at = sample.data();
    const char* end = at + sample.size();
    headerLines_ = 0;
    for (const char* line = at; line != end;) {  // blank lines above the header
      if (*line == '\n') {
        at = ++line;
        ++headerLines_;
      } else if (IsBlank(*line, '\t')) {
        ++line;
      } else {
        break;
      }
    }
    const bool wholeFile = buffer.size() < bytes;
    std::string_view records(at, static_cast<std::size_t>(end - at));
    if (!wholeFile) records = records.substr(0, records.rfind('\n') + 1);  // whole lines
    dialect_.delimiter = options_.delimiter.value_or(FindDelimiter(records));
    dialect_.decimal = options_.decimal.value_or(FindDecimal(records, dialect_.delimiter));
    const char* start = at;
    state = ReadRecord(at, end, dialect_.delimiter, names_, headerLines_);
    header_.assign(start, at);
    const bool isWhole =
        state == RecordState::complete && !header_.empty() && header_.back() == '\n';
    if (isWhole || wholeFile || state == RecordState::afterQuote || bytes >= kLongestRecord) break;
  }
  if (state == RecordState::unclosedQuote) {
    Fail(headerLines_ + 1, static_cast<std::int64_t>(names_.size()) + 1,
         "the double quote that opens this field is not closed",
         "A quoted field ends with a double quote; a double quote inside it is doubled");
  }
  if (state == RecordState::afterQuote) {
    Fail(headerLines_ + 1, static_cast<std::int64_t>(names_.size()) + 1,
         "there is text behind the closing double quote",
         "The delimiter follows a quoted field; a double quote inside the field is doubled");
  }
  next_ = static_cast<std::int64_t>(markBytes) + (at - sample.data());
  if (header_.empty()) {
    Fail(1, 0, "the file holds blank lines only",
         "The first line holds the names of the variables");
  }
  const std::size_t carriageReturn = header_.find('\r');
  if (header_.find('\n') == std::string::npos && carriageReturn < header_.size() - 1) {
    Fail(1, 0, "the lines end in a carriage return alone",
         "Save the file with line ends LF or CR LF");
  }

  const bool valid = FindInvalidUtf8(header_) == std::string_view::npos;
  for (std::size_t i = 0; i < names_.size(); ++i) {
    names_[i] = VariableName(names_[i], static_cast<int>(i) + 1);
  }
  std::vector<std::string> shown = names_;
  if (!valid) std::transform(names_.begin(), names_.end(), shown.begin(), DecodeWindows1252);
  FileError error;
  if (!NamesDiffer(shown, error)) Fail(headerLines_, error.column, error.what, error.right);
}

// The next block of whole records, in `buffer`; null: there is none.
ParsedBlock* TextFile::TakeBlock(std::vector<char>& buffer) {
  const std::lock_guard lock(mutex_);
  if (ReadWatch* watch = options_.watch; watch != nullptr) {
    watch->Show(next_, source_.Size());
    if (watch->ShallEnd()) failed_ = true;
  }
  if (failed_) return nullptr;
  for (std::size_t bytes = kBlockBytes;; bytes *= 4) {
    source_.Read(next_, bytes, buffer);
    if (buffer.empty()) return nullptr;
    std::size_t length = buffer.size();
    const bool last = length < bytes;
    if (!last) length = EndOfLastRecord({buffer.data(), length}, dialect_.delimiter);
    // A record that is too long is parsed as it is: it ends in an error.
    if (length == 0 && bytes < kLongestRecord) continue;
    const bool tooLong = length == 0;
    if (tooLong) length = buffer.size();
    ParsedBlock& block = blocks_.emplace_back();
    block.offset = next_;
    block.length = static_cast<std::int64_t>(length);
    next_ += block.length;
    buffer.resize(length);
    if (buffer.back() != '\n') buffer.push_back('\n');
    if (tooLong) {
      failed_ = true;
      block.error.emplace().what = "a row is longer than " + std::to_string(kLongestRecord >> 20) +
                                   " MB, or a double quote that opens a field is not closed";
      block.error->right = "A quoted field ends with a double quote";
      return nullptr;
    }
    return &block;
  }
}

void TextFile::ReadBlocks() {
  const auto parse = [&](BlockParser& parser, std::vector<char>& buffer) {
    ParsedBlock* block = TakeBlock(buffer);
    if (!block) return false;
    parser.Parse({buffer.data(), buffer.size()}, *block);
    if (block->error) failed_ = true;
    return true;
  };
  // The first block alone, so that most text columns are known before the others begin.
  BlockParser first(dialect_, *kinds_, store_);
  std::vector<char> buffer;
  if (!parse(first, buffer)) return;
  OnThreads(Threads(), [&] {
    BlockParser parser(dialect_, *kinds_, store_);
    std::vector<char> text;
    while (parse(parser, text)) {
    }
  });
}

void TextFile::ReportErrors() {
  std::int64_t line = headerLines_ + 1;
  std::int64_t cases = 0;
  for (const ParsedBlock& block : blocks_) {
    if (block.error) {
      Fail(line + block.error->line, block.error->column, block.error->what, block.error->right);
    }
    line += block.lines;
    cases += static_cast<std::int64_t>(block.cases);
  }
  if (cases > INT_MAX) {
    Fail(0, 0, "the file has " + std::to_string(cases) + " cases",
         "At most " + std::to_string(INT_MAX) + " can be read");
  }
  line = headerLines_ + 1;
  for (const ParsedBlock& block : blocks_) {
    const FoundNumber* earliest = nullptr;
    for (const FoundNumber& number : block.tooLarge) {
      if (kinds_->IsText(number.column)) continue;
      if (!earliest || number.line < earliest->line) earliest = &number;
    }
    if (earliest) {
      Fail(line + earliest->line, static_cast<std::int64_t>(earliest->column) + 1,
           "the number " + earliest->text + " is too large",
           "Numbers lie between -1.797e308 and 1.797e308");
    }
    line += block.lines;
  }
}

// Blocks that were parsed before one of their columns turned out to be text.
void TextFile::ReadAgainAsText() {
  std::vector<ParsedBlock*> stale;
  for (ParsedBlock& block : blocks_) {
    for (std::size_t column = 0; column < kinds_->Size(); ++column) {
      if (kinds_->IsText(column) == static_cast<bool>(block.asText[column])) continue;
      stale.push_back(&block);
      break;
    }
  }
  std::atomic<std::size_t> next = 0;
  OnThreads(std::min(Threads(), static_cast<int>(stale.size())), [&] {
    BlockParser parser(dialect_, *kinds_, store_);
    std::vector<char> buffer;
    for (std::size_t i; (i = next++) < stale.size();) {
      CheckCancelled(options_.watch);
      ParsedBlock& block = *stale[i];
      const std::size_t cases = block.cases;
      source_.Read(block.offset, static_cast<std::size_t>(block.length), buffer);
      if (buffer.empty() || buffer.back() != '\n') buffer.push_back('\n');
      block.cells = {};
      parser.Parse({buffer.data(), buffer.size()}, block);
      if (block.error || block.cases != cases) {
        Fail(0, 0, "the file was changed while it was read", "Open it again");
      }
    }
  });
}

void TextFile::FindEncoding() {
  std::int64_t line = headerLines_ + 1;
  std::int64_t invalidLine = FindInvalidUtf8(header_) == std::string_view::npos ? 0 : headerLines_;
  for (const ParsedBlock& block : blocks_) {
    if (block.invalidUtf8 && invalidLine == 0) invalidLine = line + block.invalidLine;
    line += block.lines;
  }
  const bool mustBeUtf8 = options_.encoding ? options_.encoding == TextEncoding::utf8 : hasMark_;
  if (mustBeUtf8 && invalidLine > 0) {
    Fail(invalidLine, 0, "the line is not valid UTF-8",
         options_.encoding ? "Leave the encoding open, or name windows-1252"
                           : "The file begins with the byte-order mark of UTF-8: save it again, or "
                             "name the encoding windows-1252");
  }
  encoding_ =
      options_.encoding.value_or(invalidLine > 0 ? TextEncoding::windows1252 : TextEncoding::utf8);
}

// Makes the labels of a text column and gives the code of each text by its number.
std::vector<double> TextFile::SetTexts(std::size_t column, Variable& variable) const {
  struct Keyed {
    std::uint64_t key;  // the first eight bytes, in an order that compares like them
    std::uint32_t number;
  };
  const std::span<const std::string_view> raw = kinds_->Texts(column).Texts();
  std::vector<std::string> texts(raw.size());
  std::vector<Keyed> order(raw.size());
  CancelPace pace(options_.watch);
  for (std::uint32_t number = 0; number < raw.size(); ++number) {
    pace.Check();
    texts[number] = Decoded(raw[number]);
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < 8; ++i) {
      key =
          key << 8 | (i < texts[number].size() ? static_cast<unsigned char>(texts[number][i]) : 0u);
    }
    order[number] = {key, number};
  }
  std::sort(order.begin(), order.end(), [&](const Keyed& a, const Keyed& b) {
    pace.Check();
    return a.key != b.key ? a.key < b.key : texts[a.number] < texts[b.number];
  });
  std::vector<double> codes(texts.size());
  variable.wasText = true;
  variable.distinctTexts = texts.size();
  variable.labels.reserve(texts.size());
  for (const Keyed& keyed : order) {
    pace.Check();
    codes[keyed.number] = static_cast<double>(variable.labels.size() + 1);
    variable.labels.push_back({codes[keyed.number], std::move(texts[keyed.number])});
  }
  return codes;
}

double TextFile::MissingCodeOf(std::size_t column) const {
  std::vector<double> held;
  for (const ParsedBlock& block : blocks_) {
    for (const FoundNumber& number : block.heldCodes) {
      if (number.column == column) held.push_back(number.value);
    }
  }
  return FreeMissingCode(held);
}

void TextFile::FillTable(DataTable& table) {
  for (const std::string& name : names_) table.AddVariable(Decoded(name));
  std::vector<std::vector<double>> codes(names_.size());
  ForEachOnThreads(Threads(), names_.size(), [&](std::size_t column) {
    Variable& variable = table.At(static_cast<int>(column) + 1);
    if (kinds_->IsText(column)) {
      codes[column] = SetTexts(column, variable);
    } else {
      variable.missingCode = MissingCodeOf(column);
    }
  });

  ForEachOnThreads(Threads(), blocks_.size(), [&](std::size_t i) {
    CheckCancelled(options_.watch);
    ParsedBlock& block = blocks_[i];
    for (std::size_t column = 0; column < names_.size(); ++column) {
      const bool isText = kinds_->IsText(column);
      if (!isText && !block.hasEmpty[column]) continue;
      const double missing = table.At(static_cast<int>(column) + 1).missingCode;
      const std::vector<double>& code = codes[column];
      double* cells = block.cells.Cells() + column * block.cases;
      for (std::size_t row = 0; row < block.cases; ++row) {
        if (std::isnan(cells[row])) {
          cells[row] = missing;
        } else if (isText) {
          cells[row] = code[static_cast<std::size_t>(cells[row])];
        }
      }
    }
    block.cells.PutAside();
  });
  for (ParsedBlock& block : blocks_) {
    if (block.cases > 0) table.AppendChunk(block.cases, std::move(block.cells));
  }
}

}  // namespace

bool ReadTextFile(const std::string& path, const ReadOptions& options, DataTable& table,
                  FileError& error) {
  return ReadOrExplain(path, error, [&] { TextFile(path, options).Read(table); });
}

}  // namespace qrvml
