// The call in progress (arguments, results), registered entries and the current session.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ads.h"

namespace {

// A session that records what the bridge forwards to it.
class RecordingSession : public kvads::LispSession {
 public:
  int defun(const ACHAR* name, int code) override {
    defined.emplace_back(name);
    lastCode = code;
    return RTNORM;
  }
  int undef(const ACHAR*, int) override { return RTNORM; }
  int invoke(const resbuf* args, resbuf** result) override {
    invokedName = args->resval.rstring;
    *result = acutBuildList(RTSHORT, 42, 0);
    return RTNORM;
  }
  std::vector<std::wstring> defined;
  std::wstring invokedName;
  int lastCode = -1;
};

TEST(Session, ResultsNeedACallInProgress) {
  EXPECT_EQ(acedRetInt(1), RTERROR);
  EXPECT_EQ(acedRetStr(L"x"), RTERROR);
  EXPECT_EQ(acedGetArgs(), nullptr);
}

TEST(Session, ArgumentsAreCopiesAndResultsFollowTheLastRet) {
  kvads::CallFrame frame(acutBuildList(RTSTR, L"a", RTSHORT, 2, 0));
  resbuf* args = acedGetArgs();
  ASSERT_NE(args, nullptr);
  EXPECT_NE(args, frame.args());
  EXPECT_STREQ(args->resval.rstring, L"a");
  acutRelRb(args);

  EXPECT_FALSE(frame.hasResult());
  EXPECT_EQ(acedRetInt(32767), RTNORM);
  EXPECT_EQ(acedRetInt(32768), RTNORM);  // replaces the first
  resbuf* r = frame.takeResult();
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->restype, RTLONG);
  EXPECT_EQ(r->resval.rlong, 32768);
  acutRelRb(r);

  acedRetInt(-32768);
  r = frame.takeResult();
  EXPECT_EQ(r->restype, RTSHORT);
  acutRelRb(r);
  ads_name n{1, 2};
  EXPECT_EQ(acedRetName(n, RTSTR), RTERROR);

  // A plain string result is the frame's own cell: taken, it is a copy that outlives the frame.
  {
    kvads::CallFrame inner(nullptr);
    EXPECT_EQ(acedRetStr(L"kept"), RTNORM);
    ASSERT_NE(inner.result(), nullptr);
    r = inner.takeResult();
    EXPECT_EQ(inner.result(), nullptr);
  }
  ASSERT_NE(r, nullptr);
  EXPECT_STREQ(r->resval.rstring, L"kept");
  acutRelRb(r);
}

// Arguments lent to a frame stay the lender's: the frame neither changes nor releases them.
TEST(Session, BorrowedArgumentsStayTheCallers) {
  resbuf* args = acutBuildList(RTSTR, L"a", RTSHORT, 2, 0);
  {
    kvads::CallFrame frame(args, kvads::CallFrame::Borrowed{});
    EXPECT_EQ(kvads::callArgs(), args);
    acedRetStr(L"x");
  }
  EXPECT_STREQ(args->resval.rstring, L"a");
  EXPECT_EQ(args->rbnext->resval.rint, 2);
  acutRelRb(args);
}

TEST(Session, RetListEnclosesTheItems) {
  kvads::CallFrame frame(nullptr);
  resbuf* items = acutBuildList(RTSHORT, 1, RTSTR, L"b", 0);
  acedRetList(items);
  acutRelRb(items);
  resbuf* r = frame.takeResult();
  std::vector<short> t;
  for (resbuf* c = r; c; c = c->rbnext) t.push_back(c->restype);
  EXPECT_EQ(t, (std::vector<short>{RTLB, RTSHORT, RTSTR, RTLE}));
  acutRelRb(r);

  // A chain that is one whole list is that list, in either dotted form.
  auto count = [](resbuf* list) {
    acedRetList(list);
    acutRelRb(list);
    resbuf* r = kvads::CallFrame::current()->takeResult();
    int n = 0;
    for (resbuf* c = r; c; c = c->rbnext) ++n;
    acutRelRb(r);
    return n;
  };
  EXPECT_EQ(count(acutBuildList(RTLB, RTSHORT, 1, RTLB, RTSTR, L"k", RTDOTE, RTSHORT, 2, RTLE, RTLE, 0)), 8);
  EXPECT_EQ(count(acutBuildList(RTLB, RTSHORT, 1, RTLB, RTSTR, L"k", RTSHORT, 2, RTDOTE, RTLE, 0)), 7);
  EXPECT_EQ(count(acutBuildList(RTLB, RTSHORT, 1, RTLE, RTSHORT, 2, 0)), 6) << "a list and more are items";
  EXPECT_EQ(count(acutBuildList(RTLB, RTSHORT, 1, RTSHORT, 2, RTDOTE, 0)), 4) << "a lone pair is that pair";
}

TEST(Session, FramesNestAndTheInnermostIsCurrent) {
  kvads::CallFrame outer(acutBuildList(RTSHORT, 1, 0));
  {
    kvads::CallFrame inner(acutBuildList(RTSHORT, 2, 0));
    resbuf* a = acedGetArgs();
    EXPECT_EQ(a->resval.rint, 2);
    acutRelRb(a);
    acedRetT();
  }
  EXPECT_FALSE(outer.hasResult());
  resbuf* a = acedGetArgs();
  EXPECT_EQ(a->resval.rint, 1);
  acutRelRb(a);
}

int entryA() { return RSRSLT; }

TEST(Session, DefunAndInvokeGoToTheCurrentSession) {
  EXPECT_EQ(acedDefun(L"f", 1), RTERROR);
  resbuf* result = reinterpret_cast<resbuf*>(1);
  resbuf* call = acutBuildList(RTSTR, L"g", 0);
  EXPECT_EQ(acedInvoke(call, &result), RTERROR);
  EXPECT_EQ(result, nullptr);

  RecordingSession session;
  kvads::setCurrentSession(&session);
  EXPECT_EQ(acedDefun(L"kv-f", 9), RTNORM);
  EXPECT_EQ(session.defined, std::vector<std::wstring>{L"kv-f"});
  EXPECT_EQ(session.lastCode, 9);
  EXPECT_EQ(acedInvoke(call, &result), RTNORM);
  EXPECT_EQ(session.invokedName, L"g");
  EXPECT_EQ(result->resval.rint, 42);
  acutRelRb(result);
  acutRelRb(call);
  kvads::setCurrentSession(nullptr);

  EXPECT_EQ(kvads::registeredEntry(77), nullptr);
  acedRegFunc(entryA, 77);
  EXPECT_EQ(kvads::registeredEntry(77), &entryA);
  acedRegFunc(nullptr, 77);
  EXPECT_EQ(kvads::registeredEntry(77), nullptr);
}

}  // namespace
