// acutPrintf: the platform's wide format semantics, captured from the console.
#include <gtest/gtest.h>

#include <string>

#include "ads.h"

namespace {

class Printf : public ::testing::Test {
 protected:
  void SetUp() override {
    kvads::setConsoleSink([this](std::string_view s) { out += s; });
  }
  void TearDown() override { kvads::setConsoleSink(nullptr); }
  std::string out;
};

TEST_F(Printf, WideStringsAndCharacters) {
  acutPrintf(L"%s|%c|%ls|%hs", L"Ø duct", L'€', L"x", "narrow");
  EXPECT_EQ(out, "Ø duct|€|x|narrow");
}

TEST_F(Printf, WidthPrecisionAndFlags) {
  acutPrintf(L"[%5s][%-5s][%.2s][%*d][%-4d][%05.1f][%+d][%%]", L"ab", L"ab", L"abcdef", 4, 7, 3, 2.25, 5);
  EXPECT_EQ(out, "[   ab][ab   ][ab][   7][3   ][002.2][+5][%]");
}

TEST_F(Printf, IntegerAndRealConversions) {
  acutPrintf(L"%d %ld %u %x %X %o %g %e %.3f %lld", -3, 70000L, 4000000000u, 255, 255, 8, 0.5, 1.0, 3.14159, 1LL << 40);
  EXPECT_EQ(out, "-3 70000 4000000000 ff FF 10 0.5 1.000000e+00 3.142 1099511627776");
}

TEST_F(Printf, TextAsTheModuleWritesIt) {
  acutPrintf(L"%s", L"\nWrong type of arguments passed.\n");
  acutPrintf(L"\nGeneral Error:  %s", L"boom");
  EXPECT_EQ(out, "\nWrong type of arguments passed.\n\nGeneral Error:  boom");
  EXPECT_FALSE(kvads::consoleAtLineStart());
}

TEST_F(Printf, NullArgumentsDoNotCrash) {
  EXPECT_EQ(acutPrintf(nullptr), RTERROR);
  acutPrintf(L"%s|%q", static_cast<const wchar_t*>(nullptr));
  EXPECT_EQ(out, "(null)|%q");
}

}  // namespace
