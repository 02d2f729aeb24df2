// The reader and the printer: syntax, escapes, the printed form of reals, malformed input, fuzz.
#include <random>

#include "fixture.h"

using kvlisp::readAll;
using kvlisp::readOne;
using kvlisp::Value;

namespace {

std::string roundTrip(const std::string& source) { return readOne(source).print(true); }

std::string readError(const std::string& source) {
  try {
    readAll(source);
  } catch (const kvlisp::Error& e) {
    return e.what();
  }
  return "no error";
}

TEST(Reader, AtomsNumbersAndSymbols) {
  EXPECT_EQ(readOne("42").type(), kvlisp::Type::Int);
  EXPECT_EQ(readOne("-7").asInt(), -7);
  EXPECT_EQ(readOne("2147483647").type(), kvlisp::Type::Int);
  EXPECT_EQ(readOne("2147483648").type(), kvlisp::Type::Real) << "wider than 32 bits reads as a real";
  EXPECT_EQ(readOne("1.").asReal(), 1.0);
  EXPECT_EQ(readOne(".5").asReal(), 0.5);
  EXPECT_EQ(readOne("-1e3").asReal(), -1000.0);
  EXPECT_TRUE(readOne("1+").isSymbol());
  EXPECT_TRUE(readOne("-").isSymbol());
  EXPECT_TRUE(readOne("1e").isSymbol());
  EXPECT_EQ(roundTrip("kv_hvac-getLayer"), "KV_HVAC-GETLAYER");
  EXPECT_TRUE(readOne("Foo").eq(readOne("FOO"))) << "symbols are case-insensitive";
  EXPECT_TRUE(readOne("NiL").isNil());
  EXPECT_TRUE(readOne("").isNil());
}

TEST(Reader, ListsDottedPairsQuotesAndComments) {
  EXPECT_EQ(roundTrip("(1 (2 3) . 4)"), "(1 (2 3) . 4)");
  EXPECT_EQ(roundTrip("(a . (b c))"), "(A B C)");
  EXPECT_EQ(roundTrip("'(x 'y)"), "(QUOTE (X (QUOTE Y)))");
  EXPECT_EQ(roundTrip("()"), "nil");
  auto all = readAll("1 ; a comment (\n;| a block\n comment ) |; 2 ;|unclosed");
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[1].asInt(), 2);
  EXPECT_EQ(roundTrip("(1 .5)"), "(1 0.5)");
}

TEST(Reader, StringEscapesReadAndPrintBack) {
  Value s = readOne(R"("a\"b\\c\nd\te\r\e\101\7z\q")");
  EXPECT_EQ(s.asString(), "a\"b\\c\nd\te\r\x1b" "A\x07zq");
  EXPECT_EQ(s.print(true), R"("a\"b\\c\nd\te\r\eA\007zq")");
  EXPECT_EQ(s.print(false), s.asString());
  EXPECT_EQ(readOne(s.print(true)).asString(), s.asString());
  EXPECT_EQ(readOne("\"Ø 25\"").print(true), "\"Ø 25\"");
}

TEST(Reader, MalformedInputGivesTheHostsTexts) {
  EXPECT_EQ(readError("(1 2"), "malformed list on input");
  EXPECT_EQ(readError("'"), "malformed list on input");
  EXPECT_EQ(readError("1)"), "extra right paren on input");
  EXPECT_EQ(readError("\"abc"), "malformed string on input");
  EXPECT_EQ(readError("(. 1)"), "invalid dotted pair");
  EXPECT_EQ(readError("(1 . 2 3)"), "invalid dotted pair");
  EXPECT_EQ(readError("(1 . )"), "invalid dotted pair");
  EXPECT_EQ(readError("."), "invalid dotted pair");
}

TEST(Printer, RealsAsTheHostPrintsThem) {
  EXPECT_EQ(kvlisp::formatReal(100.0), "100.0");
  EXPECT_EQ(kvlisp::formatReal(3.14159265), "3.14159");
  EXPECT_EQ(kvlisp::formatReal(0.1), "0.1");
  EXPECT_EQ(kvlisp::formatReal(-2.5), "-2.5");
  EXPECT_EQ(kvlisp::formatReal(1234567.0), "1.23457e+06");
  EXPECT_EQ(kvlisp::formatReal(1e10), "1.0e+10");
  EXPECT_EQ(kvlisp::formatReal(1e-7), "1.0e-07");
  EXPECT_EQ(kvlisp::formatReal(0.0), "0.0");
}

TEST(Printer, NestingBeyondAnyStackIsPrintedAndFreed) {
  std::string deep(200000, '(');
  deep += std::string(200000, ')');
  Value v = readOne(deep);
  std::string printed = v.print(true);
  EXPECT_EQ(printed.size(), 200000u * 2 - 2 + 3);  // the innermost () prints as nil
  std::string many = "(";
  for (int i = 0; i < 300000; ++i) many += "1 ";
  EXPECT_EQ(readOne(many + ")").print(true).size(), 600000u + 1);
}

// Random and garbled text must give a value or an Error, nothing else.
TEST(Reader, FuzzedInputNeverCrashes) {
  std::mt19937 rng(20261122);
  const std::string seeds[] = {"(defun f (a / b) (setq b \"x\\\"y\") '(1 . 2.5))", ";| c |; (a 'b (c . d))",
                               "(1 2 3) \"\\101\" -.5e+3 ."};
  const char alphabet[] = "()'\";|.\\ \n1e+-aZ";
  for (int round = 0; round < 4000; ++round) {
    std::string s = seeds[round % 3];
    int edits = 1 + static_cast<int>(rng() % 6);
    for (int k = 0; k < edits && !s.empty(); ++k) {
      std::size_t at = rng() % s.size();
      switch (rng() % 3) {
        case 0: s.erase(at, 1); break;
        case 1: s.insert(at, 1, alphabet[rng() % (sizeof alphabet - 1)]); break;
        default: s[at] = static_cast<char>(rng() % 256);
      }
    }
    try {
      for (const Value& v : readAll(s)) (void)v.print(true);
    } catch (const kvlisp::Error&) {
    }
  }
}

}  // namespace
