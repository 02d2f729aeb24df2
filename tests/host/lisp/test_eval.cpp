// The evaluator: special forms, dynamic scope, function calls, errors, limits, loading and the
// registry of host functions.
#include <cstdio>
#include <fstream>

#include <gmock/gmock.h>

#include "fixture.h"

using kvlisp::Value;

namespace {

TEST_F(LispTest, SpecialForms) {
  EXPECT_EQ(ev("(setq a 1 b (+ a 1))"), "2");
  EXPECT_EQ(ev("(list a b)"), "(1 2)");
  EXPECT_EQ(ev("(if nil 1)"), "nil");
  EXPECT_EQ(ev("(if 0 'yes 'no)"), "YES");
  EXPECT_EQ(ev("(cond ((= a 2) 'two) ((= a 1)) (t 'other))"), "T");
  EXPECT_EQ(ev("(cond ((= a 1) 'x 'one))"), "ONE");
  EXPECT_EQ(ev("(setq i 0 s 0) (while (< i 5) (setq s (+ s i) i (1+ i))) s"), "10");
  EXPECT_EQ(ev("(setq n 0) (repeat 4 (setq n (+ n 2)))"), "8");
  EXPECT_EQ(ev("(setq acc nil) (foreach x '(1 2 3) (setq acc (cons x acc)))"), "(3 2 1)");
  EXPECT_EQ(ev("(progn 1 2 3)"), "3");
  EXPECT_EQ(ev("(list (and) (and 1 nil) (or) (or nil 2))"), "(T nil nil T)");
  EXPECT_EQ(ev("(quote (a b))"), "(A B)");
  EXPECT_EQ(ev("(function car)"), "CAR");
  EXPECT_EQ(ev("(if 1 2 3 4)"), "ERROR: too many arguments");
  EXPECT_EQ(ev("(setq a)"), "ERROR: too few arguments");
  EXPECT_EQ(ev("(setq 1 2)"), "ERROR: bad argument type: symbolp 1");
  EXPECT_EQ(ev("(repeat 1.5 1)"), "ERROR: bad argument type: fixnump: 1.5");
}

TEST_F(LispTest, DynamicScopeRestoresOuterValues) {
  ev("(setq x 'global y 'gy)");
  ev("(defun show () (list x y))");
  ev("(defun f (x / y) (setq y 'local) (show))");
  EXPECT_EQ(ev("(f 'arg)"), "(ARG LOCAL)") << "callees see the caller's bindings";
  EXPECT_EQ(ev("(list x y)"), "(GLOBAL GY)");
  ev("(defun boom (x) (/ 1 0))");
  EXPECT_EQ(ev("(boom 5)"), "ERROR: divide by zero");
  EXPECT_EQ(ev("x"), "GLOBAL") << "bindings unwind on error too";
  EXPECT_EQ(ev("(foreach x '(1 2) x) x"), "GLOBAL");
}

TEST_F(LispTest, FunctionsLambdasAndApplication) {
  ev("(defun sq (n) (* n n))");
  EXPECT_EQ(ev("(mapcar 'sq '(1 2 3))"), "(1 4 9)");
  EXPECT_EQ(ev("(mapcar '+ '(1 2 3) '(10 20))"), "(11 22)");
  EXPECT_EQ(ev("(mapcar (function (lambda (x) (* x 10))) '(1 2))"), "(10 20)");
  EXPECT_EQ(ev("(mapcar '(lambda (x) (1+ x)) '(1 2))"), "(2 3)");
  EXPECT_EQ(ev("((lambda (a b) (- a b)) 5 3)"), "2");
  EXPECT_EQ(ev("(apply 'max '(3 9 2))"), "9");
  EXPECT_EQ(ev("(apply '(lambda (a) a) '(7))"), "7");
  EXPECT_EQ(ev("(eval '(sq 4))"), "16");
  EXPECT_EQ(ev("(type sq)"), "USUBR");
  EXPECT_EQ(ev("(type car)"), "SUBR");
  EXPECT_EQ(ev("(defun g () 1)"), "G");
  EXPECT_EQ(ev("(defun h (a) a) (h)"), "ERROR: too few arguments");
  EXPECT_EQ(ev("(h 1 2)"), "ERROR: too many arguments");
  EXPECT_EQ(ev("(car)"), "ERROR: too few arguments");
  EXPECT_EQ(ev("(car '(1) '(2))"), "ERROR: too many arguments");
  EXPECT_EQ(ev("(nosuch 1)"), "ERROR: no function definition: NOSUCH");
  EXPECT_EQ(ev("(setq v 3) (v)"), "ERROR: bad function: 3");
  EXPECT_EQ(ev("(1 2)"), "ERROR: bad function: 1");
  EXPECT_EQ(ev("(defun (x) 1)"), "ERROR: bad argument type: symbolp (X)");
}

// and, or and progn are functions too when their arguments are values already; forms that need
// their arguments unevaluated are not.
TEST_F(LispTest, AndOrPrognCanBeAppliedOtherSpecialFormsCannot) {
  EXPECT_EQ(ev("(apply 'and '(1 T \"x\"))"), "T");
  EXPECT_EQ(ev("(apply 'and '(1 nil 2))"), "nil");
  EXPECT_EQ(ev("(apply 'and nil)"), "T");
  EXPECT_EQ(ev("(apply 'or '(nil nil 3))"), "T");
  EXPECT_EQ(ev("(apply 'or nil)"), "nil");
  EXPECT_EQ(ev("(apply 'progn '(1 2 3))"), "3");
  EXPECT_EQ(ev("(mapcar 'and '(1 nil 1) '(2 2 nil))"), "(T nil nil)");
  EXPECT_EQ(ev("(mapcar 'or '(nil nil) '(nil 5))"), "(nil T)");
  EXPECT_EQ(ev("(setq n 0) (and nil (setq n 1)) n"), "0") << "evaluated as a form, and still stops early";
  EXPECT_THAT(ev("(apply 'if '(T 1 2))"), ::testing::MatchesRegex("ERROR: bad function: #<SUBR @[0-9a-f]+ IF>"));
  EXPECT_THAT(ev("(mapcar 'setq '(a) '(1))"), ::testing::MatchesRegex("ERROR: bad function: #<SUBR @[0-9a-f]+ SETQ>"));
}

TEST_F(LispTest, DeepRecursionIsALispErrorAndTheEnvironmentStaysUsable) {
  ev("(defun down (n) (if (> n 0) (1+ (down (1- n))) 0))");
  EXPECT_EQ(ev("(down 500)"), "500");
  EXPECT_EQ(ev("(defun forever (n) (forever (1+ n))) (forever 0)"), "ERROR: internal stack limit reached");
  EXPECT_EQ(ev("(down 500)"), "500");
  std::string nested(300000, '(');
  EXPECT_EQ(ev("(eval (read \"" + nested + "\"))"), "ERROR: malformed list on input");
  std::string deep;  // a form far deeper than the limit
  for (int i = 0; i < 50000; ++i) deep += "(progn ";
  deep += "(setq d 0)" + std::string(50000, ')');
  EXPECT_EQ(ev(deep), "ERROR: internal stack limit reached");
  EXPECT_EQ(ev("(setq l nil m nil) (repeat 100000 (setq l (list l) m (list m))) (equal l m)"), "ERROR: internal stack limit reached");
  EXPECT_EQ(ev("(setq l nil m nil) 1"), "1") << "a deeply nested list is freed without recursion";
}

TEST_F(LispTest, TopLevelErrorsPrintOrGoToTheErrorHandler) {
  EXPECT_FALSE(env.runTopLevel("(princ \"a\") (car 1) (princ \"never\")"));
  EXPECT_EQ(out, "a\n; error: bad argument type: consp 1\n");
  out.clear();
  EXPECT_TRUE(env.runTopLevel("(defun *error* (msg) (princ (strcat \"caught: \" msg)))"));
  EXPECT_FALSE(env.runTopLevel("(+ 1 \"x\")"));
  EXPECT_EQ(out, "caught: bad argument type: numberp: \"x\"");
  out.clear();
  env.runTopLevel("(defun *error* (msg) (car msg))");
  EXPECT_FALSE(env.runTopLevel("(exit)"));
  EXPECT_EQ(out, "; error: An error has occurred inside the *error* functionbad argument type: consp \"quit / exit abort\"\n");
  EXPECT_THROW(env.runTopLevel("(exit 3)"), kvlisp::ExitRequest);
}

TEST_F(LispTest, CatchAllApply) {
  EXPECT_EQ(ev("(setq r (vl-catch-all-apply '/ '(1 0))) (vl-catch-all-error-p r)"), "T");
  EXPECT_EQ(ev("(vl-catch-all-error-message r)"), "\"divide by zero\"");
  EXPECT_EQ(ev("(vl-catch-all-apply '+ '(1 2))"), "3");
  EXPECT_EQ(ev("(vl-catch-all-error-p 3)"), "nil");
  EXPECT_EQ(ev("(type r)"), "VL-CATCH-ALL-APPLY-ERROR");
  EXPECT_EQ(ev("(vl-catch-all-error-message (vl-catch-all-apply 'exit nil))"), "\"quit / exit abort\"");
  EXPECT_THROW(env.evalString("(vl-catch-all-apply 'exit '(2))"), kvlisp::ExitRequest);
}

TEST_F(LispTest, LoadRunsFilesAndFindsNeighboursOfTheLoadingFile) {
  std::string dir = ::testing::TempDir();
  std::ofstream(dir + "kv_inner.lsp") << "(setq inner 'loaded) 42";
  std::ofstream(dir + "kv_outer.lsp") << "(load \"kv_inner\") (list inner)";
  std::ofstream(dir + "kv_bad.lsp") << "(setq before 1) (car";
  EXPECT_EQ(ev("(load \"" + dir + "kv_outer.lsp\")"), "(LOADED)");
  EXPECT_EQ(ev("(load \"" + dir + "kv_inner\")"), "42") << "the extension may be left out";
  EXPECT_EQ(ev("(load \"/no/such/file\")"), "ERROR: LOAD failed: \"/no/such/file\"");
  EXPECT_EQ(ev("(load \"/no/such/file\" 'fallback)"), "FALLBACK");
  EXPECT_EQ(ev("(load \"" + dir + "kv_bad.lsp\" 'fallback)"), "ERROR: malformed list on input");
  EXPECT_EQ(ev("before"), "1") << "expressions before the malformed one ran";
  EXPECT_FALSE(env.loadTopLevel("/no/such/file"));
  std::remove((dir + "kv_inner.lsp").c_str());
  std::remove((dir + "kv_outer.lsp").c_str());
  std::remove((dir + "kv_bad.lsp").c_str());
}

// A host function registered from a table, as other components register theirs.
Value twice(kvlisp::Environment&, kvlisp::Args a) { return Value::integer(2 * kvlisp::argInt(a, 0)); }
Value joinAll(kvlisp::Environment&, kvlisp::Args a) {
  std::string s = kvlisp::argString(a, 0);
  for (std::size_t i = 1; i < a.size(); ++i) s += kvlisp::argString(a, i);
  return Value::string(s);
}
const kvlisp::NativeDef kTestFunctions[] = {
    {"test-twice", "(test-twice n [ignored])", "N doubled.", twice},
    {"test-join", "(test-join first rest...)", "Strings joined.", joinAll},
};

TEST_F(LispTest, RegisteredHostFunctionsReachEveryEnvironment) {
  EXPECT_EQ(ev("(test-twice 2)"), "ERROR: no function definition: TEST-TWICE");
  kvlisp::registerNatives(kTestFunctions);
  EXPECT_EQ(ev("(test-twice 21)"), "42") << "an environment that already exists gets it";
  kvlisp::Environment other;
  EXPECT_EQ(other.evalString("(test-twice 4 nil)").asInt(), 8);
  EXPECT_EQ(ev("(test-twice 1 2 3)"), "ERROR: too many arguments");
  EXPECT_EQ(ev("(test-twice \"x\")"), "ERROR: bad argument type: fixnump: \"x\"");
  EXPECT_EQ(ev("(test-join)"), "ERROR: too few arguments");
  EXPECT_EQ(ev("(test-join \"a\" \"b\" \"c\")"), "\"abc\"");
  ASSERT_NE(kvlisp::findNative("TEST-JOIN"), nullptr);
  EXPECT_STREQ(kvlisp::findNative("test-join")->doc, "Strings joined.");
  EXPECT_EQ(kvlisp::findNative("no-such"), nullptr);
}

TEST_F(LispTest, EnvironmentsAreSeparateDocuments) {
  kvlisp::Environment other;
  env.evalString("(setq shared 1) (defun mine () 'a)");
  EXPECT_TRUE(other.get("shared").isNil());
  EXPECT_THROW(other.evalString("(mine)"), kvlisp::Error);
  other.set("shared", Value::integer(2));
  EXPECT_EQ(env.get("SHARED").asInt(), 1);
  EXPECT_EQ(other.call("+", {Value::integer(1), other.get("shared")}).asInt(), 3);
}

}  // namespace
