#include "qvb/value.h"

#include <algorithm>
#include <array>

#include "qvb/conversion.h"
#include "qvb/script_error.h"
#include "qvb/script_object.h"

namespace qrvml {
namespace {

thread_local MemoryMeter* currentMeter = nullptr;

constexpr std::array<std::string_view, 6> kTypeNames = {"Variant", "Integer", "Double",
                                                        "Boolean", "String",  "Object"};

}  // namespace

std::string_view TypeName(Type type) { return kTypeNames[static_cast<std::size_t>(type)]; }

void MemoryMeter::Charge(std::size_t bytes) {
  if (limit_ != 0 && (bytes > limit_ || used_ > limit_ - bytes)) {
    throw ScriptStop(ScriptError::Kind::limit, "The script needs more than its " +
                                                   std::to_string(limit_) + " bytes of memory");
  }
  used_ += bytes;
}

MeterScope::MeterScope(MemoryMeter* meter) : outer_(currentMeter) { currentMeter = meter; }
MeterScope::~MeterScope() { currentMeter = outer_; }

Counted::Counted() : meter_(currentMeter) {
  if (meter_) meter_->Hold();
}

Counted::~Counted() {
  if (!meter_) return;
  meter_->Return(charged_);
  meter_->Drop();
}

void Counted::ChargeAs(std::size_t bytes) {
  if (meter_) {
    if (bytes > charged_) {
      meter_->Charge(bytes - charged_);
    } else {
      meter_->Return(charged_ - bytes);
    }
  }
  charged_ = bytes;
}

Value Value::Text(std::string content) {
  Value value(Tag::text);
  if (!content.empty()) {
    value.block = new TextData(std::move(content));
    value.block->Hold();
  }
  return value;
}

Value Value::Text(TextData* shared) {
  Value value(Tag::text);
  value.block = shared;
  shared->Hold();
  return value;
}

Value Value::Object(ScriptObject* object) {
  Value value(Tag::object);
  value.block = object;
  if (object) object->Hold();
  return value;
}

Value Value::Array(ArrayData* array) {
  Value value(Tag::array);
  value.block = array;
  array->Hold();
  return value;
}

Value Value::Initial(Type type) {
  switch (type) {
    case Type::integer:
      return Integer(0);
    case Type::real:
      return Real(0);
    case Type::boolean:
      return Boolean(false);
    case Type::text:
      return Text(std::string());
    case Type::object:
      return Object(static_cast<ScriptObject*>(nullptr));
    case Type::variant:
      break;
  }
  return {};
}

ScriptObject* Value::object() const { return static_cast<ScriptObject*>(block); }

void ArrayData::Resize(std::size_t elements) {
  const std::size_t width = element == Type::real      ? sizeof(double)
                            : element == Type::integer ? sizeof(std::int32_t)
                                                       : sizeof(Value);
  if (elements > (std::size_t{1} << 40)) throw ScriptFault(FaultNumber::outOfMemory);
  ChargeAs(sizeof(ArrayData) + elements * width);
  count = elements;
  if (element == Type::real) {
    reals.assign(elements, 0.0);
  } else if (element == Type::integer) {
    integers.assign(elements, 0);
  } else {
    values.assign(elements, Value::Initial(element));
  }
}

void ArrayData::Dimension(const std::vector<Bounds>& wanted, bool preserve) {
  const int wantedRank = static_cast<int>(wanted.size());
  std::size_t elements = 1;
  for (const Bounds& bound : wanted) {
    if (bound.count != 0 && elements > (std::size_t{1} << 40) / bound.count) {
      throw ScriptFault(FaultNumber::outOfMemory);
    }
    elements *= bound.count;
  }
  if (!preserve || rank == 0) {
    Resize(elements);
    rank = wantedRank;
    std::copy(wanted.begin(), wanted.end(), bounds);
    return;
  }
  bool keeps = wantedRank == rank;
  for (int d = 0; keeps && d < rank; ++d) {
    keeps =
        bounds[d].lower == wanted[d].lower && (d == rank - 1 || bounds[d].count == wanted[d].count);
  }
  if (!keeps) {
    throw ScriptFault(FaultNumber::subscript,
                      "Preserve can only change the last dimension's upper bound");
  }
  const std::size_t oldRow = bounds[rank - 1].count;
  const std::size_t newRow = wanted[rank - 1].count;
  const auto keep = [&](auto& elementsOfType) {
    auto old = std::move(elementsOfType);
    elementsOfType.clear();
    Resize(elements);
    const std::size_t rows = oldRow == 0 ? 0 : old.size() / oldRow;
    for (std::size_t row = 0; row < rows; ++row) {
      std::move(old.begin() + row * oldRow, old.begin() + row * oldRow + std::min(oldRow, newRow),
                elementsOfType.begin() + row * newRow);
    }
  };
  if (element == Type::real) {
    keep(reals);
  } else if (element == Type::integer) {
    keep(integers);
  } else {
    keep(values);
  }
  bounds[rank - 1] = wanted[rank - 1];
}

void ArrayData::Erase() {
  if (fixedBounds) return Resize(count);
  Resize(0);
  rank = 0;
}

std::size_t ArrayData::At(const std::int32_t* indexes, int indexCount) const {
  if (indexCount != rank) ThrowSubscript(indexes, indexCount);
  std::size_t place = 0;
  for (int d = 0; d < rank; ++d) {
    const std::uint32_t step =
        static_cast<std::uint32_t>(indexes[d]) - static_cast<std::uint32_t>(bounds[d].lower);
    if (step >= bounds[d].count) ThrowSubscript(indexes, indexCount);
    place = place * bounds[d].count + step;
  }
  return place;
}

void ArrayData::ThrowSubscript(const std::int32_t* indexes, int indexCount) const {
  if (rank == 0) throw ScriptFault(FaultNumber::subscript, "the array has no elements yet");
  if (indexCount != rank) {
    throw ScriptFault(FaultNumber::subscript, "the array has " + std::to_string(rank) +
                                                  " dimensions, not " + std::to_string(indexCount));
  }
  for (int d = 0; d < rank; ++d) {
    const std::int64_t index = indexes[d];
    if (index >= bounds[d].lower && index <= bounds[d].upper()) continue;
    const std::string range = bounds[d].count == 0 ? "a dimension without elements"
                                                   : std::to_string(bounds[d].lower) + " To " +
                                                         std::to_string(bounds[d].upper());
    throw ScriptFault(FaultNumber::subscript, std::to_string(index) + " is not in " + range);
  }
  throw ScriptFault(FaultNumber::subscript);
}

void ArrayData::Put(std::size_t place, const Value& value) {
  if (element == Type::real) {
    reals[place] = ToReal(value);
  } else if (element == Type::integer) {
    integers[place] = ToInteger(value);
  } else if (value.tag == Tag::array) {
    // Arrays inside arrays could be nested without end.
    throw ScriptFault(FaultNumber::typeMismatch, "an element cannot hold an array");
  } else {
    values[place] = Converted(value, element);
  }
}

void ArrayData::CopyFrom(const ArrayData& other) {
  if (&other == this) return;
  if (element != other.element) {
    throw ScriptFault(FaultNumber::typeMismatch, "arrays of different types");
  }
  if (fixedBounds) throw ScriptFault(FaultNumber::arrayFixed);
  Resize(other.count);
  rank = other.rank;
  std::copy(other.bounds, other.bounds + kMostDimensions, bounds);
  reals = other.reals;
  integers = other.integers;
  values = other.values;
}

}  // namespace qrvml
