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

// The rows whose parts of the module are still to be built. Wiring a row removes it here.
TEST(LispFunctionTable, NotBuiltRows) {
  std::vector<std::wstring> expected = {
      L"kv_hvac-solidUnion", L"kv_hvac-solidSlice", L"kv_hvac-drawTripleFitting",
      L"kv_hvac-drawTripleCenter", L"kv_hvac-drawTripleDiffuser", L"kv_hvac-ExplodeSolid",
      L"kv_hvac-addDuctToDwg",
      L"kvDuct", L"kvbreak", L"kvductforce",
      L"kv_hvac-insertDuct-likePlumbing", L"kv_hvac-getDuctCoord",
      L"kv_hvac-duct-fillet",
  };
  EXPECT_EQ(NotBuiltLispFunctions(), expected);
}

TEST(LispFunctionTable, NotBuiltRowSaysSoAndFailsWithoutTouchingItsArguments) {
  ConsoleCapture console;
  EntryCall call = CallEntry(EntryOf(L"kv_hvac-ExplodeSolid"), acutBuildList(RTSTR, L"x", 0));
  EXPECT_EQ(call.code, RSERR);
  EXPECT_EQ(console.take(), "\nkv_hvac-ExplodeSolid is not built yet.\n");
  call = CallEntry(EntryOf(L"kv_hvac-solidUnion"), nullptr);
  EXPECT_EQ(call.code, RSERR);
  EXPECT_EQ(console.take(), "\nkv_hvac-solidUnion is not built yet.\n");
}

}  // namespace
