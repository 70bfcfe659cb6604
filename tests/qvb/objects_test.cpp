#include <map>

#include "qvb/script_runner.h"

namespace qrvml::test {
namespace {

/// An object with a number, an indexed property that is its default, and a child.
class Counter final : public TableObject<Counter> {
 public:
  static inline int living = 0;
  Counter() { ++living; }
  ~Counter() override { --living; }
  std::string_view ClassName() const override { return "Counter"; }
  static std::span<const MemberRow<Counter>> Rows() {
    using Arguments = std::span<const Value>;
    static constexpr MemberRow<Counter> kRows[] = {
        {"Item", 1, 2,
         [](Counter& self, Arguments at) {
           return Value::Real(
               self.items[ToInteger(at[0]) * 100 + (at.size() > 1 ? ToInteger(at[1]) : 0)]);
         },
         [](Counter& self, Arguments at, const Value& value) {
           self.items[ToInteger(at[0]) * 100 + (at.size() > 1 ? ToInteger(at[1]) : 0)] =
               ToReal(value);
         }},
        {"Number", 0, 0, [](Counter& self, Arguments) { return Value::Integer(self.number); },
         [](Counter& self, Arguments, const Value& value) { self.number = ToInteger(value); }},
        {"Child", 0, 0, [](Counter& self, Arguments) { return Value::Object(self.child); },
         [](Counter& self, Arguments, const Value& value) {
           self.child = Ref<ScriptObject>(value.tag == Tag::object ? value.object() : nullptr);
         }},
        {"Add", 1, 1,
         [](Counter& self, Arguments arguments) {
           self.number += ToInteger(arguments[0]);
           return Value::Integer(self.number);
         },
         nullptr},
        {"Refuse", 0, 0, [](Counter&, Arguments) -> Value { throw ScriptFault(513, "refused"); },
         nullptr},
    };
    return kRows;
  }

  int number = 0;
  std::map<int, double> items;
  Ref<ScriptObject> child;
};

std::string PrintedWithCounters(const std::string& statements) {
  std::vector<std::string> lines;
  HostNames names = PrintingNames(lines);
  names.AddClass("Counter", [] { return Ref<ScriptObject>(MakeRef<Counter>()); });
  names.AddType("Sealed");
  names.AddObject("Application", MakeRef<Counter>());
  names.AddConstant("scMLKNN", Value::Integer(2));
  Interpreter(CompileScript("test.qvb", "Sub Main\n" + statements + "\nEnd Sub", names)).Run();
  std::string all;
  for (const std::string& line : lines) all += (all.empty() ? "" : "|") + line;
  return all;
}

std::string ErrorWithCounters(const std::string& statements) {
  try {
    return "none, but " + PrintedWithCounters(statements);
  } catch (const ScriptError& error) {
    return error.reason;
  }
}

TEST(ScriptObjects, AreReachedByMembersOnBothSidesOfAnAssignment) {
  EXPECT_EQ(PrintedWithCounters(
                "Dim c As Counter\nSet c = new Counter\nj = 2\nc.Item(j, j + 1) = 2.5\nc(7) = 4\n"
                "c.Item(1)=c.Item(j, 3) + c(7)\nPrint c.ITEM(1), c.Item(2, 3), c(1)\n"
                "c.Add 4\nc.Add(3)\nCall c.Add(2)\nPrint c.Add(1), c.Number"),
            "6.5 2.5 6.5|10 10");
  EXPECT_EQ(
      PrintedWithCounters(
          "Application.Number = scMLKNN\nSet a = Application\nPrint a.number, a Is Application\n"
          "Set Application.Child = New Counter\nApplication.Child.Item(1) = 3\n"
          "Print Application.Child.Item(1), Application.Child Is Nothing"),
      "2 True|3 False");
  EXPECT_EQ(PrintedWithCounters(
                "Dim list(2) As Counter\nSet list(1) = New Counter\nlist(1).Number = 8\n"
                "Print list(1).Number, list(0) Is Nothing, TypeName(list(1)), TypeName(list(0))"),
            "8 True Counter Nothing");
  EXPECT_EQ(
      PrintedWithCounters(
          "Dim c As New Counter\nWith c\n.Number = 3\n.Item(1) = .Number + 1\nPrint .Item(1)\n"
          "Set .Child = New Counter\nWith .Child\n.Number = 5\nPrint .Number\nEnd With\n"
          "Print .Number, .Child.Number\nEnd With"),
      "4|5|3 5");
}

TEST(ScriptObjects, OneStatementMeetsManyClasses) {
  // The member is looked up anew for another class, here Err and a Counter.
  EXPECT_EQ(PrintedWithCounters("On Error Resume Next\nFor i = 1 To 4\nIf i Mod 2 = 1 Then Set o = "
                                "Err Else Set o = New Counter\n"
                                "o.Number = i\nPrint o.Number & TypeName(o)\nNext"),
            "1ErrObject|2Counter|3ErrObject|4Counter");
}

TEST(ScriptObjects, LiveAsLongAsAVariableHoldsThem) {
  const int before = Counter::living;
  EXPECT_EQ(PrintedWithCounters("For i = 1 To 50\nSet c = New Counter\nSet c.Child = New "
                                "Counter\nNext\nSet c = Nothing\nPrint c Is Nothing"),
            "True");
  EXPECT_EQ(ErrorWithCounters("Dim c As New Counter\nSet c.Child = New Counter\nc.Child.Refuse"),
            "refused");
  EXPECT_EQ(Counter::living, before);
}

TEST(ScriptObjects, FaultsSayWhatIsMissing) {
  const std::pair<std::string, std::string> faults[] = {
      {"Dim c As Counter\nc.Number = 1", "Object variable or With block variable not set"},
      {"x = 5\nx.Number = 1", "Type mismatch: a value that is no object has no members"},
      {"Application.Missing = 1",
       "The object doesn't support this property or method: Counter has no `missing`"},
      {"Application.Add = 1",
       "The object doesn't support this property or method: Counter.Add cannot be set"},
      {"x = Application.Item", "Wrong number of arguments: Counter.Item takes 1 to 2, not 0"},
      {"Application.Number = \"x\"", "Type mismatch: \"x\" is no number"},
      {"Set x = New Sealed", "a script cannot make a `Sealed`"},
      {"Set x = 5", "Type mismatch: an Integer is no object"},
      {"Dim n As Integer\nSet n = Application", "Set is for objects"},
      {"Application = 5", "`application` cannot be assigned to"},
      {"Application.Refuse", "refused"}};
  for (const auto& [statements, reason] : faults) {
    EXPECT_EQ(ErrorWithCounters(statements), reason) << statements;
  }
  EXPECT_EQ(PrintedWithCounters(
                "On Error Resume Next\nApplication.Refuse\nPrint Err.Number, Err.Description"),
            "513 refused");
}

TEST(ScriptIncludes, AreFoundByTheHostAndNamedInErrors) {
  std::vector<std::string> lines;
  HostNames names = PrintingNames(lines);
  names.SetIncludes([](std::string_view name) -> std::optional<std::string> {
    if (name == "a.qvx") return "'#Include \"b.qvx\"\nFunction A()\nA = B() + 1\nEnd Function";
    // A circle ends where it began.
    if (name == "b.qvx")
      return "'#Uses \"a.qvx\"\nConst Two = 2\n\nFunction B()\nB = Two / Zero\nEnd "
             "Function\nPublic Zero";
    return std::nullopt;
  });
  const std::string script =
      "'#Uses \"a.qvx\"\nSub Main\nZero = 4\nPrint A()\nZero = 0\nPrint A()\nEnd Sub";
  try {
    Interpreter(CompileScript("main.qvb", script, names)).Run();
    ADD_FAILURE() << "no error";
  } catch (const ScriptError& error) {
    EXPECT_STREQ(error.what(), "b.qvx, line 5: Division by zero");
  }
  EXPECT_EQ(lines, std::vector<std::string>{"1.5"});
  try {
    CompileScript("main.qvb", "\n'#Uses \"missing.qvx\"\nSub Main\nEnd Sub", names);
    ADD_FAILURE() << "no error";
  } catch (const ScriptError& error) {
    EXPECT_STREQ(error.what(), "main.qvb, line 2: there is no file `missing.qvx` to include");
  }
}

}  // namespace
}  // namespace qrvml::test
