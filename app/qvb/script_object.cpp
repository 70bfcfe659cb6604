#include "qvb/script_object.h"

#include <algorithm>
#include <utility>

#include "qvb/common_prospector_errors.h"
#include "qvb/script_error.h"

namespace qrvml {
namespace {

template <typename T>
const T* Find(const std::map<std::string, T, std::less<>>& names, std::string_view name) {
  const auto found = names.find(name);
  return found != names.end() ? &found->second : nullptr;
}

}  // namespace

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return lower;
}

void HostNames::AddObject(std::string_view name, const Ref<ScriptObject>& object) {
  values_[LowerCase(name)] = Value::Object(object);
}

void HostNames::AddFunction(std::string_view name, HostFunction function) {
  functions_[LowerCase(name)] = std::move(function);
}

void HostNames::AddConstant(std::string_view name, const Value& value) {
  values_[LowerCase(name)] = value;
}

void HostNames::AddClass(std::string_view name, std::function<Ref<ScriptObject>()> make) {
  classes_[LowerCase(name)] = {std::string(name), std::move(make)};
}

void HostNames::AddType(std::string_view name) { AddClass(name, nullptr); }

void HostNames::SetIncludes(std::function<std::optional<std::string>(std::string_view name)> find) {
  includes_ = std::move(find);
}

const Value* HostNames::FindValue(std::string_view name) const { return Find(values_, name); }

const HostFunction* HostNames::FindFunction(std::string_view name) const {
  return Find(functions_, name);
}

const HostNames::Class* HostNames::FindClass(std::string_view name) const {
  return Find(classes_, name);
}

std::optional<std::string> HostNames::FindInclude(std::string_view name) const {
  if (LowerCase(name) == LowerCase(kCommonProspectorErrorsName)) {
    return std::string(kCommonProspectorErrorsText);
  }
  return includes_ ? includes_(name) : std::nullopt;
}

int FindMemberRow(std::string_view wanted, std::size_t rows,
                  const std::function<std::string_view(std::size_t)>& nameOf) {
  for (std::size_t row = 0; row < rows; ++row) {
    if (LowerCase(nameOf(row)) == wanted) return static_cast<int>(row);
  }
  return ScriptObject::kNoMember;
}

void CheckMemberCall(std::string_view className, std::string_view member, std::size_t given,
                     int fewest, int most, bool allowed, bool writes) {
  const std::string whole = std::string(className) + '.' + std::string(member);
  if (!allowed) {
    throw ScriptFault(FaultNumber::noSuchMember,
                      whole + (writes ? " cannot be set" : " cannot be read"));
  }
  if (given < static_cast<std::size_t>(fewest) || given > static_cast<std::size_t>(most)) {
    throw ScriptFault(FaultNumber::argumentCount,
                      whole + " takes " + std::to_string(fewest) +
                          (most > fewest ? " to " + std::to_string(most) : std::string()) +
                          ", not " + std::to_string(given));
  }
}

}  // namespace qrvml
