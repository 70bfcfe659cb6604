// What a script can reach: the objects, functions, constants and classes that its host hands over.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qvb/value.h"

namespace qrvml {

/// An object of the host. Its members are numbered, so that a statement that runs many times looks
/// its member up by name once for each class that it meets.
class ScriptObject : public Counted {
 public:
  static constexpr int kNoMember = -1;
  static constexpr int kDefaultMember = -2;

  /// The class, as TypeName shows it.
  virtual std::string_view ClassName() const = 0;
  /// Objects with the same key number their members alike.
  virtual const void* ClassKey() const = 0;
  /// The number of a member, 0 or more, or kNoMember. The name is in lower case.
  virtual int FindMember(std::string_view name) const = 0;
  /// The value of a property, with the indexes in `arguments`, or the result of a method; also what
  /// a statement that only names a member with its arguments runs. kDefaultMember: what
  /// `object(arguments)` means. Fails by throwing ScriptFault.
  virtual Value Get(int member, std::span<const Value> arguments) = 0;
  /// `object.member(arguments) = value`. Fails by throwing ScriptFault.
  virtual void Put(int member, std::span<const Value> arguments, const Value& value) = 0;
};

/// A function or sub of the host.
struct HostFunction {
  int fewest = 0;  // arguments
  int most = 0;
  std::function<Value(std::span<const Value> arguments)> call;
};

/// All names of the host. Upper and lower case are alike; ASCII letters only. What is added later
/// replaces what has the same name.
class HostNames {
 public:
  void AddObject(std::string_view name, const Ref<ScriptObject>& object);
  void AddFunction(std::string_view name, HostFunction function);
  void AddConstant(std::string_view name, const Value& value);
  /// A class that `New` can make.
  void AddClass(std::string_view name, std::function<Ref<ScriptObject>()> make);
  /// A class that variables can be declared as, but not made by scripts.
  void AddType(std::string_view name);
  /// Where the text of an included file comes from; nothing when there is no such file. Files that
  /// are built in are looked for first.
  void SetIncludes(std::function<std::optional<std::string>(std::string_view name)> find);

  struct Class {
    std::string name;                         // as added
    std::function<Ref<ScriptObject>()> make;  // empty: only a type
  };
  // Looked up by names in lower case; null when there is none.
  const Value* FindValue(std::string_view name) const;  // a constant or an object
  const HostFunction* FindFunction(std::string_view name) const;
  const Class* FindClass(std::string_view name) const;
  std::optional<std::string> FindInclude(std::string_view name) const;

 private:
  std::map<std::string, Value, std::less<>> values_;
  std::map<std::string, HostFunction, std::less<>> functions_;
  std::map<std::string, Class, std::less<>> classes_;
  std::function<std::optional<std::string>(std::string_view)> includes_;
};

/// A class with a fixed list of members, as most are: one row per member.
template <typename T>
struct MemberRow {
  std::string_view name;
  int fewest = 0;  // indexes or arguments
  int most = 0;
  Value (*get)(T& self, std::span<const Value> arguments) = nullptr;  // null: cannot be read
  void (*put)(T& self, std::span<const Value> arguments,
              const Value& value) = nullptr;  // null: read-only
};

// The checks that the rows ask for.
int FindMemberRow(std::string_view wanted, std::size_t rows,
                  const std::function<std::string_view(std::size_t)>& nameOf);
void CheckMemberCall(std::string_view className, std::string_view member, std::size_t given,
                     int fewest, int most, bool allowed, bool writes);

/// Base of classes with a static table: T has `static std::span<const MemberRow<T>> Rows()`.
template <typename T>
class TableObject : public ScriptObject {
 public:
  const void* ClassKey() const override { return T::Rows().data(); }
  int FindMember(std::string_view name) const override {
    const auto rows = T::Rows();
    return FindMemberRow(name, rows.size(), [rows](std::size_t row) { return rows[row].name; });
  }
  Value Get(int member, std::span<const Value> arguments) override {
    const MemberRow<T>& row = Row(member);
    CheckMemberCall(ClassName(), row.name, arguments.size(), row.fewest, row.most,
                    row.get != nullptr, false);
    return row.get(static_cast<T&>(*this), arguments);
  }
  void Put(int member, std::span<const Value> arguments, const Value& value) override {
    const MemberRow<T>& row = Row(member);
    CheckMemberCall(ClassName(), row.name, arguments.size(), row.fewest, row.most,
                    row.put != nullptr, true);
    row.put(static_cast<T&>(*this), arguments, value);
  }

 private:
  /// The first row is the default member.
  const MemberRow<T>& Row(int member) const {
    return T::Rows()[member == kDefaultMember ? 0 : static_cast<std::size_t>(member)];
  }
};

/// ASCII letters in lower case.
std::string LowerCase(std::string_view text);

}  // namespace qrvml
