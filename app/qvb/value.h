// The values of a script.
//
// A value is 16 bytes: what it is, and the number itself or a counted block on the heap (a text, an
// array, an object of the host). Blocks are counted without locks: a value stays on one thread.
// Texts are UTF-8 and never change once they are shared.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qrvml {

class ScriptObject;

/// What a value is. Those from `text` on may own a counted block.
enum class Tag : std::uint8_t { empty, integer, real, boolean, reference, text, object, array };

/// What a variable, parameter or element may hold.
enum class Type : std::uint8_t { variant, integer, real, boolean, text, object };

/// "Integer", "Double", ...
std::string_view TypeName(Type type);

/// Bytes of texts and arrays in use by one run. Blocks are charged to the meter of the thread that
/// creates them; they may outlive the run, so a meter lives until its last holder lets go.
class MemoryMeter {
 public:
  /// 0 is no limit. Held once by who creates it.
  static MemoryMeter* Create(std::size_t limit) { return new MemoryMeter(limit); }
  void Hold() { ++holders_; }
  void Drop() {
    if (--holders_ == 0) delete this;
  }

  /// Throws ScriptStop when the limit would be exceeded, and charges nothing then.
  void Charge(std::size_t bytes);
  void Return(std::size_t bytes) { used_ -= bytes; }
  std::size_t used() const { return used_; }

 private:
  explicit MemoryMeter(std::size_t limit) : limit_(limit) {}

  std::size_t limit_;
  std::size_t used_ = 0;
  std::size_t holders_ = 1;
};

/// Charges what this thread creates to a meter, for the life of the scope. Scopes may nest.
class MeterScope {
 public:
  explicit MeterScope(MemoryMeter* meter);
  MeterScope(const MeterScope&) = delete;
  MeterScope& operator=(const MeterScope&) = delete;
  ~MeterScope();

 private:
  MemoryMeter* outer_;
};

/// What counted blocks share.
class Counted {
 public:
  Counted();
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  virtual ~Counted();

  void Hold() { ++holders_; }
  void Drop() {
    if (--holders_ == 0) delete this;
  }
  bool shared() const { return holders_ > 1; }

 protected:
  /// From now on the block counts as so many bytes.
  void ChargeAs(std::size_t bytes);

 private:
  MemoryMeter* meter_;
  std::size_t charged_ = 0;
  std::uint32_t holders_ = 0;
};

/// A counted pointer.
template <typename T>
class Ref {
 public:
  Ref() = default;
  Ref(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): an empty pointer is a pointer
  explicit Ref(T* block) : block_(block) {
    if (block_) block_->Hold();
  }
  template <typename U>
  Ref(const Ref<U>& other) : Ref(other.get()) {}  // NOLINT(google-explicit-constructor): a base's
  Ref(const Ref& other) : Ref(other.block_) {}
  Ref(Ref&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  Ref& operator=(Ref other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~Ref() {
    if (block_) block_->Drop();
  }
  T* get() const { return block_; }
  T* operator->() const { return block_; }
  T& operator*() const { return *block_; }
  explicit operator bool() const { return block_ != nullptr; }

 private:
  T* block_ = nullptr;
};

template <typename T, typename... Arguments>
Ref<T> MakeRef(Arguments&&... arguments) {
  return Ref<T>(new T(std::forward<Arguments>(arguments)...));
}

class TextData final : public Counted {
 public:
  explicit TextData(std::string content) : text(std::move(content)) { ChargeAs(Size()); }
  void Append(std::string_view more) {
    ChargeAs(Size() + more.size());
    text.append(more);
  }

  std::string text;

 private:
  std::size_t Size() const { return sizeof(TextData) + text.size(); }
};

class ArrayData;

struct Value {
  Tag tag = Tag::empty;
  Type declared = Type::variant;  // of a reference: what its target may hold
  union {
    std::int32_t integer;
    double real;
    bool boolean;
    Value* target;   // of a reference
    Counted* block;  // null: the empty text, Nothing
    std::uint64_t bits;
  };

  Value() : bits(0) {}
  Value(const Value& other) : tag(other.tag), declared(other.declared), bits(other.bits) {
    if (Counts()) block->Hold();
  }
  Value(Value&& other) noexcept : tag(other.tag), declared(other.declared), bits(other.bits) {
    other.tag = Tag::empty;
    other.bits = 0;
  }
  Value& operator=(const Value& other) {
    // The other value may be inside the block that this one gives up.
    Value copy(other);
    std::swap(tag, copy.tag);
    std::swap(declared, copy.declared);
    std::swap(bits, copy.bits);
    return *this;
  }
  Value& operator=(Value&& other) noexcept {
    Value taken(std::move(other));
    std::swap(tag, taken.tag);
    std::swap(declared, taken.declared);
    std::swap(bits, taken.bits);
    return *this;
  }
  ~Value() { Release(); }

  static Value Integer(std::int32_t number) {
    Value value(Tag::integer);
    value.integer = number;
    return value;
  }
  static Value Real(double number) {
    Value value(Tag::real);
    value.real = number;
    return value;
  }
  static Value Boolean(bool truth) {
    Value value(Tag::boolean);
    value.boolean = truth;
    return value;
  }
  static Value Text(std::string content);
  static Value Text(TextData* shared);
  static Value Object(ScriptObject* object);  // null is Nothing
  static Value Object(const Ref<ScriptObject>& object) { return Object(object.get()); }
  static Value Array(ArrayData* array);
  static Value Reference(Value& variable, Type type) {
    Value value(Tag::reference);
    value.declared = type;
    value.target = &variable;
    return value;
  }
  /// What a variable of the type holds before it is assigned.
  static Value Initial(Type type);

  // The kind of value must have been looked at before.
  std::string_view text() const {
    return block ? std::string_view(static_cast<const TextData*>(block)->text) : std::string_view();
  }
  ScriptObject* object() const;
  ArrayData* array() const;
  TextData* textBlock() const { return static_cast<TextData*>(block); }

 private:
  explicit Value(Tag which) : tag(which), bits(0) {}
  bool Counts() const { return tag >= Tag::text && block; }
  void Release() {
    if (Counts()) block->Drop();
  }
};

/// The type that holds exactly this kind of value; variant for what has none of its own.
inline Type TypeOf(const Value& value) {
  constexpr Type kTypes[] = {Type::variant, Type::integer, Type::real,   Type::boolean,
                             Type::variant, Type::text,    Type::object, Type::variant};
  return kTypes[static_cast<std::size_t>(value.tag)];
}

/// place = value, made short for numbers, which most values are.
inline void Assign(Value& place, const Value& value) {
  if (place.tag < Tag::text && value.tag < Tag::text) [[likely]] {
    place.tag = value.tag;
    place.declared = value.declared;
    place.bits = value.bits;
  } else {
    place = value;
  }
}

inline constexpr int kMostDimensions = 8;

/// One dimension. An upper bound one below the lower one makes the array empty.
struct Bounds {
  std::int32_t lower = 0;
  std::uint32_t count = 0;
  std::int32_t upper() const {
    return static_cast<std::int32_t>(lower + static_cast<std::int64_t>(count) - 1);
  }
};

/// Elements of one type in up to eight dimensions, the last index running fastest. An array that
/// was declared without bounds has no dimensions until ReDim.
class ArrayData final : public Counted {
 public:
  ArrayData(Type elementType, bool hasFixedBounds)
      : element(elementType), fixedBounds(hasFixedBounds) {}

  /// Throws subscript when an upper bound is below lower - 1; a limit's ScriptStop. Elements start
  /// anew; with `preserve`, those within both the old and the new bounds keep their values: the
  /// dimensions must then agree but for the last one's upper bound.
  void Dimension(const std::vector<Bounds>& wanted, bool preserve);
  /// Gives up the elements; an array with fixed bounds sets them to their initial value instead.
  void Erase();

  /// The place of an element; throws subscript.
  std::size_t At(std::int32_t i) const {
    const std::uint32_t place =
        static_cast<std::uint32_t>(i) - static_cast<std::uint32_t>(bounds[0].lower);
    if (rank != 1 || place >= bounds[0].count) ThrowSubscript(&i, 1);
    return place;
  }
  std::size_t At(std::int32_t i, std::int32_t j) const {
    const std::uint32_t row =
        static_cast<std::uint32_t>(i) - static_cast<std::uint32_t>(bounds[0].lower);
    const std::uint32_t column =
        static_cast<std::uint32_t>(j) - static_cast<std::uint32_t>(bounds[1].lower);
    if (rank != 2 || row >= bounds[0].count || column >= bounds[1].count) {
      const std::int32_t indexes[] = {i, j};
      ThrowSubscript(indexes, 2);
    }
    return static_cast<std::size_t>(row) * bounds[1].count + column;
  }
  std::size_t At(const std::int32_t* indexes, int indexCount) const;

  Value Get(std::size_t place) const {
    if (element == Type::real) return Value::Real(reals[place]);
    if (element == Type::integer) return Value::Integer(integers[place]);
    return values[place];
  }
  /// Converts to the type of the elements; throws typeMismatch or overflow.
  void Put(std::size_t place, const Value& value);
  /// As many elements and the same bounds; throws typeMismatch when the types differ.
  void CopyFrom(const ArrayData& other);

  Type element;
  bool fixedBounds;
  int rank = 0;
  Bounds bounds[kMostDimensions];
  std::size_t count = 0;
  // The elements are in the vector of their type; `values` holds all that are no numbers.
  std::vector<double> reals;
  std::vector<std::int32_t> integers;
  std::vector<Value> values;

 private:
  [[noreturn]] void ThrowSubscript(const std::int32_t* indexes, int indexCount) const;
  void Resize(std::size_t elements);
};

inline ArrayData* Value::array() const { return static_cast<ArrayData*>(block); }

}  // namespace qrvml
