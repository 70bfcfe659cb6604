// The writer of generated texts and the line fragments of its two languages.
#include "deploy/code_writer.h"

#include <gtest/gtest.h>

#include "deploy/deployed_variables.h"
#include "deploy/dialect.h"

namespace qrvml::test {
namespace {

TEST(CodeWriter, FillsTheHolesOfATemplateAndKeepsWhatLooksLikeOne) {
  const std::string text = MakeText([](CodeWriter& out) {
    out.Fill("//  ${}\n${type} f() {${name}[${n}]; ${type} } $ {x}\n",
             {{"type", "double"}, {"name", "${n}}"}, {"n", -3}});
    out.PutInteger(-2147483648);
    out.PutGeneral(1e6);
    out.PutFixed(0.5);
  });
  EXPECT_EQ(text, "//  \ndouble f() {${n}}[-3]; double } $ {x}\n-21474836481e+060.500000");
}

TEST(CodeWriter, TakesNoMoreThanTheTextsSizeAndWritesLongPiecesInOrder) {
  const std::string piece(100000, 'x');
  int calls = 0;
  const std::string text = MakeText([&](CodeWriter& out) {
    ++calls;
    for (int i = 0; i < 3; ++i) {
      out.PutInteger(i);
      out.Put(piece);
    }
    for (int i = 0; i < 100000; ++i) out.Put("ab");
  });
  std::string expected;
  for (const char* digit : {"0", "1", "2"}) expected += digit + piece;
  for (int i = 0; i < 100000; ++i) expected += "ab";
  EXPECT_TRUE(text == expected);
  EXPECT_EQ(text.capacity(), text.size());
  EXPECT_EQ(calls, 2) << "measured, then written";
  EXPECT_EQ(MakeText([](CodeWriter&) {}), "");
}

TEST(Dialect, WritesEachFragmentInBothLanguages) {
  constexpr Dialect kBasic = Dialect::qvb, kC = Dialect::c;
  EXPECT_EQ(Indentation(kBasic, 3), "\t\t\t");
  EXPECT_EQ(Indentation(kC, 0), "");
  EXPECT_EQ(ParameterDeclaration(kBasic, "n", "Integer"), "n As Integer");
  EXPECT_EQ(ParameterDeclaration(kC, "n", "int"), "int n");
  EXPECT_EQ(LocalDeclaration(kBasic, "n", "Integer"), "Dim n As Integer");
  EXPECT_EQ(LocalDeclaration(kC, "n", "int"), "int n");
  EXPECT_EQ(LoopHead(kBasic, "i", "1", "n%1"), "For i=1 To n%1");
  EXPECT_EQ(LoopHead(kC, "i", "0", "n"), "for(i=0;i<n;i++) {");
  EXPECT_EQ(LoopEnd(kBasic, "i"), "Next i");
  EXPECT_EQ(LoopEnd(kC, "i"), "}");
  EXPECT_EQ(ObjectCreation(kBasic, "o", "Thing"), "Set o = new Thing");
  EXPECT_EQ(ObjectCreation(kC, "o", "Thing"), "o = Thing");
  EXPECT_EQ(ObjectRelease(kBasic, "o"), "Set o = Nothing");
  EXPECT_EQ(ObjectRelease(kC, "o"), "o = 0");
}

TEST(CommentText, LosesControlCharactersAndEveryLineEnd) {
  EXPECT_EQ(CommentText("a\r\nb\tc\v\f\x7f"), "abc");
  EXPECT_EQ(CommentText("a\u0085b\u2028\u2028c\u2029"), "abc");
  EXPECT_EQ(CommentText("é & <\"'>\\ \u2027"), "é & <\"'>\\ \u2027");
}

}  // namespace
}  // namespace qrvml::test
