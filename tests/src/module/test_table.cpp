// The LISP function table, its registration, the status texts and the not-built rows.
#include <gtest/gtest.h>

#include <set>

#include "fixture.h"

namespace {

TEST(LispStatus, TextsAndHostCodes) {
  ConsoleCapture console;
  EXPECT_EQ(MapLispStatus(LispStatus::Success), RSRSLT);
  EXPECT_EQ(console.take(), "");
  EXPECT_EQ(MapLispStatus(LispStatus::TooFewArguments), RSERR);
  EXPECT_EQ(console.take(), "\nToo few arguments passed.\n");
  EXPECT_EQ(MapLispStatus(LispStatus::WrongType), RSERR);
  EXPECT_EQ(console.take(), "\nWrong type of arguments passed.\n");
  EXPECT_EQ(MapLispStatus(LispStatus::BadData), RSERR);
  EXPECT_EQ(console.take(), "\nBad data passed .\n");
  EXPECT_EQ(MapLispStatus(LispStatus::SilentFailure), RSERR);
  EXPECT_EQ(console.take(), "");
  // Statuses the table does not name count as success.
  EXPECT_EQ(MapLispStatus(static_cast<LispStatus>(7)), RSRSLT);
  EXPECT_EQ(MapLispStatus(static_cast<LispStatus>(-1)), RSRSLT);
  EXPECT_EQ(console.take(), "");
}

TEST(LispFunctionTable, FiftyFourDistinctNamesInTheirFixedPlaces) {
  const LispFunctionRow* table = LispFunctionTable();
  std::set<std::wstring> names;
  for (int i = 0; i < kLispFunctionCount; ++i) {
    ASSERT_NE(table[i].entry, nullptr) << i;
    names.insert(table[i].name);
  }
  EXPECT_EQ(names.size(), 54u);
  // The LISP layer depends on these codes; spot checks at both ends and in the middle.
  EXPECT_EQ(std::wstring(table[0].name), L"kv_hvac-disconnect");
  EXPECT_EQ(std::wstring(table[7].name), L"kv_hvac-getPlinePoints");
  EXPECT_EQ(std::wstring(table[36].name), L"kv_hvac-options");
  EXPECT_EQ(std::wstring(table[39].name), L"c:checkkv");
  EXPECT_EQ(std::wstring(table[53].name), L"kv_hvac-setDoDocumentActivated");
}

TEST(LispFunctionTable, RegistrationDefinesEveryNameWithItsCodeAgainAndAgain) {
  RecordingSession session;
  for (int round = 0; round < 2; ++round) {
    RegisterLispFunctions(LispFunctionTable(), kLispFunctionCount, 0);
    ASSERT_EQ(session.defined.size(), 54u);
    for (int i = 0; i < kLispFunctionCount; ++i) {
      EXPECT_EQ(session.defined[LispFunctionTable()[i].name], i);
      EXPECT_EQ(kvads::registeredEntry(i), LispFunctionTable()[i].entry);
    }
  }
  EXPECT_EQ(session.defunCalls, 108);
}

}  // namespace
