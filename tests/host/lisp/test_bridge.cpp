// The bridge from the LISP side: the conversion table in both directions, calls of functions
// defined with acedDefun, and acedInvoke.
#include <random>
#include <stdexcept>
#include <vector>

#include "fixture.h"

using kvlisp::Value;

namespace {

std::vector<short> types(const resbuf* rb) {
  std::vector<short> t;
  for (; rb; rb = rb->rbnext) t.push_back(rb->restype);
  return t;
}

// The cells of one value, as their type codes.
std::vector<short> cellTypes(const std::string& source) {
  resbuf* rb = kvlisp::toCells(kvlisp::readOne(source));
  auto t = types(rb);
  acutRelRb(rb);
  return t;
}

// Cells built by a module, back to their printed LISP values.
std::string fromModule(resbuf* rb) {
  std::string s;
  for (const Value& v : kvlisp::fromCells(rb)) s += (s.empty() ? "" : " ") + v.print(true);
  acutRelRb(rb);
  return s;
}

TEST(Conversion, LispToCells) {
  EXPECT_EQ(cellTypes("nil"), std::vector<short>{RTNIL});
  EXPECT_EQ(cellTypes("T"), std::vector<short>{RTT});
  EXPECT_EQ(cellTypes("32767"), std::vector<short>{RTSHORT});
  EXPECT_EQ(cellTypes("32768"), std::vector<short>{RTLONG});
  EXPECT_EQ(cellTypes("-32769"), std::vector<short>{RTLONG});
  EXPECT_EQ(cellTypes("1.5"), std::vector<short>{RTREAL});
  EXPECT_EQ(cellTypes("\"s\""), std::vector<short>{RTSTR});
  EXPECT_EQ(cellTypes("(1 2)"), std::vector<short>{RTPOINT});
  EXPECT_EQ(cellTypes("(1 2.5 3)"), std::vector<short>{RT3DPOINT});
  EXPECT_EQ(cellTypes("(1)"), (std::vector<short>{RTLB, RTSHORT, RTLE}));
  EXPECT_EQ(cellTypes("(1 2 3 4)"), (std::vector<short>{RTLB, RTSHORT, RTSHORT, RTSHORT, RTSHORT, RTLE}));
  EXPECT_EQ(cellTypes("(1 \"x\")"), (std::vector<short>{RTLB, RTSHORT, RTSTR, RTLE}));
  EXPECT_EQ(cellTypes("(1 . 2)"), (std::vector<short>{RTLB, RTSHORT, RTSHORT, RTDOTE}));
  EXPECT_EQ(cellTypes("(\"a\" 1 . 2)"), (std::vector<short>{RTLB, RTSTR, RTSHORT, RTSHORT, RTDOTE}));
  EXPECT_EQ(cellTypes("((0 0) (\"k\" . 3))"),
            (std::vector<short>{RTLB, RTPOINT, RTLB, RTSTR, RTSHORT, RTDOTE, RTLE}));
  resbuf* rb = kvlisp::toCells(kvlisp::readOne("(1 2.5 3)"));
  EXPECT_EQ(rb->resval.rpoint[0], 1.0);
  EXPECT_EQ(rb->resval.rpoint[2], 3.0);
  acutRelRb(rb);
  rb = kvlisp::toCells(Value::ename(0x7ff, 1));
  EXPECT_EQ(rb->restype, RTENAME);
  EXPECT_EQ(rb->resval.rlname[0], 0x7ff);
  acutRelRb(rb);
  kvlisp::Environment env;
  EXPECT_THROW(kvlisp::toCells(env.get("car")), kvlisp::Error);
}

TEST(Conversion, CellsToLisp) {
  ads_point p{1, 2, 3};
  ads_name n{255, 0};
  EXPECT_EQ(fromModule(acutBuildList(RTSHORT, -2, RTLONG, 100000, RTREAL, 0.5, RTSTR, L"Ø", RTNIL, RTT, 0)),
            "-2 100000 0.5 \"Ø\" nil T");
  EXPECT_EQ(fromModule(acutBuildList(RTPOINT, p, RT3DPOINT, p, RTENAME, n, 0)),
            "(1.0 2.0) (1.0 2.0 3.0) <Entity name: ff>");
  EXPECT_EQ(fromModule(acutBuildList(RTLB, RTSTR, L"Solid", RTDOTE, RTLONG, 7, RTLE, 0)), "(\"Solid\" . 7)");
  EXPECT_EQ(fromModule(acutBuildList(RTLB, RTLB, RTSTR, L"A", RTDOTE, RTLONG, 1, RTLE, RTLB, RTSTR, L"B", RTLE, RTLE, 0)),
            "((\"A\" . 1) (\"B\"))");
  EXPECT_EQ(fromModule(acutBuildList(RTLB, RTLB, RTSTR, L"k", RTSHORT, 1, RTDOTE, RTT, RTLE, 0)), "((\"k\" . 1) T)")
      << "the LISP side's own form RTLB a b RTDOTE is read back too";
  EXPECT_EQ(fromModule(acutBuildList(RTLB, RTLE, 0)), "nil");
  EXPECT_EQ(fromModule(acutBuildList(RTDXF0, L"LINE", 8, L"0", 10, p, 40, 2.0, 70, 1, 0)),
            "(0 . \"LINE\") (8 . \"0\") (10 1.0 2.0 3.0) (40 . 2.0) (70 . 1)");
}

TEST(Conversion, MalformedCellsAreErrors) {
  auto bad = [](resbuf* rb) {
    EXPECT_THROW(kvlisp::fromCells(rb), kvlisp::Error);
    acutRelRb(rb);
  };
  bad(acutBuildList(RTLB, RTSHORT, 1, 0));
  bad(acutBuildList(RTLE, 0));
  bad(acutBuildList(RTLB, RTDOTE, RTSHORT, 1, RTLE, 0));
  bad(acutBuildList(RTLB, RTSHORT, 1, RTDOTE, RTSHORT, 2, RTSHORT, 3, RTLE, 0));
  bad(acutBuildList(RTDOTE, 0));
  resbuf* odd = acutNewRb(4999);
  bad(odd);
}

// Random chains of cells, as a faulty module might build them: a value or an Error, and what
// converts converts back, never a crash.
TEST(Conversion, FuzzedCellChainsNeverCrash) {
  std::mt19937 rng(7);
  const short kinds[] = {RTLB, RTLE, RTDOTE, RTSHORT, RTSTR, RTPOINT, RTNIL, RTT, RTLB, RTLE};
  ads_point p{1, 2, 3};
  for (int round = 0; round < 3000; ++round) {
    resbuf* head = nullptr;
    resbuf** link = &head;
    for (int n = static_cast<int>(rng() % 12); n > 0; --n) {
      short k = kinds[rng() % (sizeof kinds / sizeof kinds[0])];
      *link = k == RTSTR ? acutBuildList(RTSTR, L"s", 0) : k == RTPOINT ? acutBuildList(RTPOINT, p, 0) : acutNewRb(k);
      link = &(*link)->rbnext;
    }
    try {
      std::vector<Value> values = kvlisp::fromCells(head);
      resbuf* back = kvlisp::toCells(values);
      acutRelRb(back);
    } catch (const kvlisp::Error&) {
    }
    kvads::CallFrame frame(nullptr);
    acedRetList(head);
    acutRelRb(head);
  }
}

// Entries as a module registers them.
int echoArgs() {
  resbuf* args = acedGetArgs();
  acedRetList(args);
  acutRelRb(args);
  return RSRSLT;
}
int noResult() { return RSRSLT; }
int fails() {
  acutPrintf(L"\nWrong type of arguments passed.\n");
  return RSERR;
}
int throws() { throw std::runtime_error("boom"); }
int givesReal() {
  acedRetReal(2.5);
  return RSRSLT;
}
// Answers the plain value its first argument names, after a string result it then replaces, so
// that every acedRet... of one value is met and a replaced result must be freed.
int plainResult() {
  const resbuf* args = kvads::callArgs();
  const int which = args && args->restype == RTSHORT ? args->resval.rint : 0;
  acedRetStr(L"replaced");
  ads_point p{1, 2, 3};
  ads_name n{7, 8};
  switch (which) {
    case 0: acedRetNil(); break;
    case 1: acedRetT(); break;
    case 2: acedRetInt(-5); break;
    case 3: acedRetInt(100000); break;
    case 4: acedRetReal(0.25); break;
    case 5: acedRetPoint(p); break;
    case 6: acedRetStr(L"\u00e9t\u00e9"); break;
    case 7: acedRetName(n, RTENAME); break;
    default: break;  // the string stands
  }
  return RSRSLT;
}

// Calls LISP back with its first argument and returns what LISP answered.
int callsBack() {
  resbuf* args = acedGetArgs();
  resbuf* call = acutBuildList(RTSTR, L"lisp-side", RTSHORT, args ? args->resval.rint : 0, 0);
  resbuf* result = nullptr;
  int rc = acedInvoke(call, &result);
  if (rc == RTNORM) acedRetList(result);
  else acedRetStr(L"failed");
  acutRelRb(call);
  acutRelRb(result);
  acutRelRb(args);
  return RSRSLT;
}

// Chains a module may hand over as a list result, by number.
resbuf* sampleChain(int which) {
  switch (which) {
    case 1: return acutBuildList(RTLB, RTSTR, L"a", RTDOTE, RTSHORT, 1, RTLE, 0);  // a module's pair
    case 2: return acutBuildList(RTSTR, L"a", RTDOTE, RTSHORT, 1, 0);  // a pair's items, no list round them
    case 3: return acutBuildList(RTLB, RTSHORT, 1, RTLE, RTSHORT, 2, 0);  // a list, then more
    case 4: return acutBuildList(RTLB, RTLB, RTREAL, 1.5, RTLE, RTSTR, L"x", RTLE, 0);
    case 5: return acutBuildList(RTLB, RTSHORT, 1, RTSHORT, 2, RTDOTE, 0);  // LISP's own pair form
    case 6: return acutBuildList(RTLB, RTSHORT, 1, 0);  // never closed
    case 7: return acutBuildList(RTSHORT, 1, RTLE, 0);  // closed, never opened
    default: return nullptr;
  }
}
int sampleOf() {
  resbuf* args = acedGetArgs();
  int which = args && args->restype == RTSHORT ? args->resval.rint : 0;
  acutRelRb(args);
  return which;
}
int retCopied() {
  resbuf* chain = sampleChain(sampleOf());
  acedRetList(chain);
  acutRelRb(chain);
  return RSRSLT;
}
int retTaken() {
  kvads::retListTaken(sampleChain(sampleOf()));
  return RSRSLT;
}

class Bridge : public LispTest {
 protected:
  void SetUp() override {
    LispTest::SetUp();
    int (*entries[])() = {echoArgs, noResult, fails, throws, givesReal, callsBack};
    const wchar_t* names[] = {L"t-echo", L"t-none", L"t-fail", L"t-throw", L"t-real", L"t-back"};
    for (int i = 0; i < 6; ++i) {
      acedDefun(names[i], 900 + i);
      acedRegFunc(entries[i], 900 + i);
    }
  }
};

TEST_F(Bridge, ArgumentsAndResultsCrossTheBridge) {
  EXPECT_EQ(ev("(t-echo 1 70000 2.5 \"s\" '(1 2) '(1 2 3) '(\"a\" . 1) nil t)"),
            "(1 70000 2.5 \"s\" (1.0 2.0) (1.0 2.0 3.0) (\"a\" . 1) nil T)")
      << "points come back as reals, the dotted pair as a pair";
  EXPECT_EQ(ev("(t-echo)"), "nil");
  EXPECT_EQ(ev("(t-none 1)"), "nil") << "no acedRet... gives nil";
  EXPECT_EQ(ev("(t-real)"), "2.5");
  EXPECT_EQ(ev("(type t-real)"), "EXRXSUBR");
}

// A plain result lives in the frame itself; every kind reads back as it was given, a string
// given first and then replaced is freed, and nested calls each keep their own.
TEST_F(Bridge, PlainResultsCrossInTheCallsOwnCell) {
  acedDefun(L"t-plain", 908);
  acedRegFunc(plainResult, 908);
  const char* expected[] = {"nil", "T", "-5", "100000", "0.25", "(1.0 2.0 3.0)", "\"\u00e9t\u00e9\"", "", "\"replaced\""};
  for (int which = 0; which <= 8; ++which) {
    const std::string got = ev("(t-plain " + std::to_string(which) + ")");
    if (which == 7) EXPECT_TRUE(got.starts_with("<Entity name: ")) << got;
    else EXPECT_EQ(got, expected[which]) << which;
  }
  EXPECT_EQ(ev("(type (t-plain 2))"), "INT");
  EXPECT_EQ(ev("(list (t-plain 6) (t-plain 4) (t-plain 8))"), "(\"\u00e9t\u00e9\" 0.25 \"replaced\")");
  // A module call inside a module call's arguments: the inner frame's cell is not the outer's.
  EXPECT_EQ(ev("(t-echo (t-plain 6) (t-plain 3) \"x\" 1 2 3 4 5 6 7 8 (t-plain 8))"),
            "(\"\u00e9t\u00e9\" 100000 \"x\" 1 2 3 4 5 6 7 8 \"replaced\")")
      << "more arguments than the call keeps on its stack";
}

// A list handed over without acedRetList's copy is read exactly as the copy would be, whole lists,
// bare items and malformed chains alike.
TEST_F(Bridge, AListHandedOverReadsAsItsCopy) {
  acedDefun(L"t-copied", 906);
  acedRegFunc(retCopied, 906);
  acedDefun(L"t-taken", 907);
  acedRegFunc(retTaken, 907);
  for (int which = 0; which <= 7; ++which) {
    const std::string call = "(t-taken " + std::to_string(which) + ")";
    EXPECT_EQ(ev(call), ev("(t-copied " + std::to_string(which) + ")")) << call;
  }
  EXPECT_EQ(ev("(t-taken 0)"), "nil");
  EXPECT_EQ(ev("(t-taken 1)"), "(\"a\" . 1)");
  EXPECT_EQ(ev("(t-taken 2)"), "(\"a\" . 1)");
  EXPECT_EQ(ev("(t-taken 3)"), "((1) 2)");
  EXPECT_EQ(ev("(t-taken 4)"), "((1.5) \"x\")");
  EXPECT_EQ(ev("(t-taken 5)"), "(1 . 2)");
  EXPECT_TRUE(ev("(t-taken 6)").starts_with("ERROR: ")) << ev("(t-taken 6)");
  EXPECT_EQ(ev("(repeat 3 (t-taken 4))"), "((1.5) \"x\")") << "the cells of one call are not met again";
}

TEST_F(Bridge, FailuresBecomeLispErrors) {
  EXPECT_EQ(ev("(t-fail)"), "ERROR: ADS request error");
  EXPECT_EQ(out, "\nWrong type of arguments passed.\n");
  EXPECT_EQ(ev("(t-throw)"), "ERROR: T-THROW: boom");
  std::string e = ev("(t-echo car)");
  EXPECT_TRUE(e.starts_with("ERROR: bad argument type: #<SUBR @") && e.ends_with(" CAR>")) << e;
  acedRegFunc(nullptr, 900);
  EXPECT_EQ(ev("(t-echo 1)"), "ERROR: no function definition: T-ECHO");
  EXPECT_EQ(acedUndef(L"t-none", 999), RTERROR);
  EXPECT_EQ(acedUndef(L"t-none", 901), RTNORM);
  EXPECT_EQ(ev("(t-none)"), "ERROR: no function definition: T-NONE");
}

TEST_F(Bridge, InvokeCallsLispWithConvertedArguments) {
  ev("(defun lisp-side (n) (list n \"x\" '(1 . 2)))");
  EXPECT_EQ(ev("(t-back 5)"), "(5 \"x\" (1 . 2))") << "a result that is one whole list is that list";
  resbuf* call = acutBuildList(RTSTR, L"lisp-side", RTSHORT, 1, 0);
  resbuf* result = nullptr;
  ASSERT_EQ(acedInvoke(call, &result), RTNORM);
  EXPECT_EQ(types(result), (std::vector<short>{RTLB, RTSHORT, RTSTR, RTLB, RTSHORT, RTSHORT, RTDOTE, RTLE}))
      << "one argument's cells: the list keeps its RTLB ... RTLE";
  acutRelRb(result);
  acutRelRb(call);

  ev("(defun lisp-side (n) (/ n 0))");
  EXPECT_EQ(ev("(t-back 5)"), "\"failed\"") << "a failing function answers an error result";
  ev("(setq lisp-side nil)");
  EXPECT_EQ(ev("(t-back 5)"), "\"failed\"");
  ev("(defun lisp-side (n) (exit 4))");
  EXPECT_THROW(env.evalString("(t-back 1)"), kvlisp::ExitRequest) << "(exit N) passes through the module";
  EXPECT_TRUE(env.runTopLevel("(defun lisp-side (n) n)"));
  EXPECT_EQ(ev("(t-back 3)"), "(3)") << "the exit does not linger";

  call = acutBuildList(RTSHORT, 1, 0);
  EXPECT_EQ(acedInvoke(call, &result), RTERROR) << "the first cell must name the function";
  acutRelRb(call);
}

}  // namespace
