// Builtins by area: lists, numbers, strings, predicates and output.
#include "fixture.h"

namespace {

TEST_F(LispTest, Lists) {
  ev("(setq l '(1 (2 3) \"x\" 4.0))");
  EXPECT_EQ(ev("(list (car l) (cadr l) (caadr l) (cdadr l) (cadddr l) (cddddr l))"), "(1 (2 3) 2 (3) 4.0 nil)");
  EXPECT_EQ(ev("(car nil)"), "nil");
  EXPECT_EQ(ev("(car 1)"), "ERROR: bad argument type: consp 1");
  EXPECT_EQ(ev("(cadr '(1 . 2))"), "ERROR: bad argument type: consp 2");
  EXPECT_EQ(ev("(list (cons 1 2) (cons 1 '(2)) (cons 1 nil))"), "((1 . 2) (1 2) (1))");
  EXPECT_EQ(ev("(append '(1) nil '(2 3) '(4))"), "(1 2 3 4)");
  EXPECT_EQ(ev("(append)"), "nil");
  EXPECT_EQ(ev("(append '(1) 2)"), "ERROR: bad argument type: listp 2");
  EXPECT_EQ(ev("(assoc \"b\" '((\"a\" . 1) (\"b\" . 2)))"), "(\"b\" . 2)");
  EXPECT_EQ(ev("(assoc 8 '((0 . \"LINE\") 8))"), "nil");
  EXPECT_EQ(ev("(list (nth 0 l) (nth 3 l) (nth 9 l) (nth -1 l))"), "(1 4.0 nil nil)");
  EXPECT_EQ(ev("(list (length l) (length nil))"), "(4 0)");
  EXPECT_EQ(ev("(length '(1 . 2))"), "ERROR: bad argument type: listp (1 . 2)");
  EXPECT_EQ(ev("(reverse l)"), "(4.0 \"x\" (2 3) 1)");
  EXPECT_EQ(ev("(member '(2 3) l)"), "((2 3) \"x\" 4.0)");
  EXPECT_EQ(ev("(subst 'z 2 '(1 2 (2 . 2)))"), "(1 Z (Z . Z))");
  EXPECT_EQ(ev("(list (last l) (last nil))"), "(4.0 nil)");
  EXPECT_EQ(ev("(vl-remove 2 '(1 2 3 2))"), "(1 3)");
  EXPECT_EQ(ev("(list (vl-position \"x\" l) (vl-position 9 l))"), "(2 nil)");
  EXPECT_EQ(ev("(vl-sort '(3 1 2 1) '<)"), "(1 1 2 3)");
  EXPECT_EQ(ev("(vl-sort '((b 1) (a 1) (c 0)) '(lambda (x y) (< (cadr x) (cadr y))))"), "((C 0) (B 1) (A 1))");
  EXPECT_EQ(ev("(vl-remove-if 'minusp '(1 -2 3))"), "(1 3)");
  EXPECT_EQ(ev("(vl-remove-if-not 'minusp '(1 -2 3))"), "(-2)");
}

TEST_F(LispTest, NumbersFollowIntegerAndRealRules) {
  EXPECT_EQ(ev("(list (+) (+ 1 2) (+ 1 2.0) (- 5) (- 10 1 2) (*) (* 2 3) (/ 7 2) (/ 7 2.0) (/ -7 2))"),
            "(0 3 3.0 -5 7 0 6 3 3.5 -3)");
  EXPECT_EQ(ev("(+ 2147483647 1)"), "-2147483648") << "integers wrap at 32 bits";
  EXPECT_EQ(ev("(/ 1 0)"), "ERROR: divide by zero");
  EXPECT_EQ(ev("(/ 1.0 0)"), "ERROR: divide by zero");
  EXPECT_EQ(ev("(rem 7 0)"), "ERROR: divide by zero");
  EXPECT_EQ(ev("(list (rem 7 3) (rem -7 3) (rem 7.5 2))"), "(1 -1 1.5)");
  EXPECT_EQ(ev("(list (abs -3) (abs -2.5) (sqrt 16) (expt 2 10) (expt 2 0.5) (expt 2 -1) (exp 0) (log 1))"),
            "(3 2.5 4.0 1024 1.41421 0 1.0 0.0)");
  EXPECT_EQ(ev("(sqrt -1)"), "ERROR: function undefined for argument: -1");
  EXPECT_EQ(ev("(log 0)"), "ERROR: function undefined for argument: 0");
  EXPECT_EQ(ev("(list (fix 3.9) (fix -3.9) (float 2) (min 3 1.0 2) (max 1 5 3) (1+ 1) (1- 1.5))"),
            "(3 -3 2.0 1.0 5 2 0.5)");
  EXPECT_EQ(ev("(list (sin 0) (cos 0) (atan 1 1) (atan 1) pi)"), "(0.0 1.0 0.785398 0.785398 3.14159)");
  EXPECT_EQ(ev("(list (= 1 1.0) (= 1 1 2) (/= 1 2) (< 1 2 3) (< 1 3 2) (>= 3 3 1) (<= 1 1) (> 2 1) (= \"a\" \"a\") (< \"a\" \"b\"))"),
            "(T nil T T nil T T T T T)");
  EXPECT_EQ(ev("(list (zerop 0.0) (zerop 1) (minusp -1) (numberp 1.5) (numberp \"1\"))"), "(T nil T T nil)");
  EXPECT_EQ(ev("(+ 1 \"x\")"), "ERROR: bad argument type: numberp: \"x\"");
  EXPECT_EQ(ev("(< 1 nil)"), "ERROR: bad argument type: numberp: nil");
  // Equality answers for any values, so that a value that may be nil can be tested directly.
  EXPECT_EQ(ev("(list (= 1 nil) (= nil nil) (= 'a 'a) (= 'a 'b) (= 1 \"1\") (/= 1 nil) (/= nil nil) (= nil))"),
            "(nil T T nil nil T nil T)");
  EXPECT_EQ(ev("(zerop 'a)"), "ERROR: bad argument type: numberp: A");
}

TEST_F(LispTest, Strings) {
  EXPECT_EQ(ev("(strcat \"duct\" \"-\" \"12\")"), "\"duct-12\"");
  EXPECT_EQ(ev("(strcat)"), "\"\"");
  EXPECT_EQ(ev("(list (substr \"abcdef\" 2 3) (substr \"abcdef\" 4) (substr \"abc\" 9) (substr \"Ø€x\" 2 1))"),
            "(\"bcd\" \"def\" \"\" \"€\")");
  EXPECT_EQ(ev("(substr \"abc\" 0)"), "ERROR: bad argument value: positive 0");
  EXPECT_EQ(ev("(list (strlen \"Ø€\") (strlen) (strlen \"ab\" \"c\"))"), "(2 0 3)");
  EXPECT_EQ(ev("(list (strcase \"Duct ø\") (strcase \"Duct\" t))"), "(\"DUCT Ø\" \"duct\")");
  EXPECT_EQ(ev("(list (itoa -12) (atoi \"42abc\") (atoi \"x\") (atoi \"3.9\") (atof \"2.5m\") (atof \"\"))"),
            "(\"-12\" 42 0 3 2.5 0.0)");
  EXPECT_EQ(ev("(list (rtos 3.14159) (rtos 2 2 2) (rtos 1234.6 1 3) (rtos -0.5 2 0))"),
            "(\"3.1416\" \"2.00\" \"1.235E+03\" \"-0\")");
  EXPECT_EQ(ev("(list (rtos 17.5 3 2) (rtos 17.5 4 2) (rtos 17.5 5 2) (rtos 0.25 5 4) (rtos 11.999 4 2))"),
            "(\"1'-5.50\\\"\" \"1'-5 1/2\\\"\" \"17 1/2\" \"1/4\" \"1'-0\\\"\")");
  EXPECT_EQ(ev("(list (distof \"12.5\") (distof \"1'-6\\\"\") (distof \"5 1/2\") (distof \"3/4\") (distof \"abc\"))"),
            "(12.5 18.0 5.5 0.75 nil)");
  EXPECT_EQ(ev("(list (chr 65) (chr 8364) (ascii \"A\") (ascii \"€\") (ascii \"\"))"), "(\"A\" \"€\" 65 8364 0)");
  EXPECT_EQ(ev("(list (vl-string-search \"c\" \"abcabc\") (vl-string-search \"c\" \"abcabc\" 3) (vl-string-search \"z\" \"abc\"))"),
            "(2 5 nil)");
  EXPECT_EQ(ev("(list (vl-string-subst \"X\" \"b\" \"abcb\") (vl-string-subst \"X\" \"z\" \"abc\"))"),
            "(\"aXcb\" \"abc\")");
  EXPECT_EQ(ev("(list (vl-string-trim \" \\t\" \"\\t a b  \") (vl-string-trim \"x\" \"xxx\"))"), "(\"a b\" \"\")");
  EXPECT_EQ(ev("(list (vl-prin1-to-string \"a\") (vl-princ-to-string \"a\") (vl-prin1-to-string '(1 . \"b\")))"),
            "(\"\\\"a\\\"\" \"a\" \"(1 . \\\"b\\\")\")");
  EXPECT_EQ(ev("(list (read \"(a . 1) junk\") (read \"\"))"), "((A . 1) nil)");
  EXPECT_EQ(ev("(read \"(\")"), "ERROR: malformed list on input");
  EXPECT_EQ(ev("(strcat \"a\" 1)"), "ERROR: bad argument type: stringp 1");
}

// substr and ascii step over characters without converting the whole text: every piece of a
// text mixing ASCII, two-, three- and four-byte characters, a stray continuation byte and a cut
// character at the end is what the whole text's conversion gives.
TEST_F(LispTest, SubstrCountsCharactersAsTheWholeTextDoes) {
  const std::string text = "a\xC3\x98\xE2\x82\xAC\xF0\x9F\x98\x80z\x80q\xE2\x82";
  env.set("s", kvlisp::Value::string(text));
  const std::wstring chars = kvads::toWide(text);
  ASSERT_EQ(chars.size(), 9u) << "the cut character at the end counts as two stray bytes";
  for (std::size_t start = 1; start <= chars.size() + 1; ++start) {
    for (std::size_t n = 0; n <= chars.size(); ++n) {
      const std::string want = start > chars.size() ? "" : kvads::toUtf8(chars.substr(start - 1, n));
      EXPECT_EQ(env.evalString("(substr s " + std::to_string(start) + " " + std::to_string(n) + ")").asString(), want)
          << start << " " << n;
    }
    const std::string rest = start > chars.size() ? "" : kvads::toUtf8(chars.substr(start - 1));
    EXPECT_EQ(env.evalString("(substr s " + std::to_string(start) + ")").asString(), rest) << start;
  }
  EXPECT_EQ(ev("(list (ascii (substr s 4)) (ascii (substr s 6)) (strlen s))"), "(128512 65533 9)");
}

TEST_F(LispTest, PredicatesAndIdentity) {
  EXPECT_EQ(ev("(list (null nil) (not 1) (atom 'a) (atom '(1)) (listp nil) (listp 1) (boundp 'zz) (boundp 'pi))"),
            "(T nil T nil T nil nil T)");
  EXPECT_EQ(ev("(mapcar 'type (list 1 1.0 \"s\" 'a '(1) nil))"), "(INT REAL STR SYM LIST nil)");
  EXPECT_EQ(ev("(list (eq 'a 'A) (eq 1 1) (eq \"a\" \"a\") (eq '(1) '(1)) (setq q '(1)) (eq q q))"),
            "(T T nil nil (1) T)");
  EXPECT_EQ(ev("(list (equal '(1 (2 \"x\")) '(1 (2 \"x\"))) (equal 1.0 1.05) (equal 1.0 1.05 0.1) (equal '(1 . 2) '(1 . 2)))"),
            "(T nil T T)");
  EXPECT_EQ(ev("(list (equal '(0 0 0) '(0.001 0 0) 1e-2) (equal \"a\" \"A\"))"), "(T nil)");
}

TEST_F(LispTest, OutputGoesToTheConsoleInOrder) {
  env.evalString("(princ \"a\\\"b\") (prin1 \"a\\\"b\") (print 'x) (terpri) (prompt \"p\") (princ 2.50)");
  acutPrintf(L"|%s|", L"bridge");
  env.evalString("(alert \"Look\") (princ)");
  EXPECT_EQ(out, "a\"b\"a\\\"b\"\nX \np2.5|bridge|\n** Look **\n");
  EXPECT_EQ(ev("(princ)"), "");
  EXPECT_EQ(ev("(princ '(1 \"s\"))"), "(1 \"s\")");
  EXPECT_TRUE(out.ends_with("(1 s)")) << "princ writes strings inside lists bare too";
}

}  // namespace

namespace {

TEST_F(LispTest, FilesAndFileNames) {
  std::string path = ::testing::TempDir() + "kv_lisp_file.txt";
  ev("(setq f (open \"" + path + "\" \"w\"))");
  EXPECT_EQ(ev("(type f)"), "FILE");
  ev("(write-line \"first\" f) (princ 12.5 f) (write-char 10 f) (prin1 \"q\" f) (close f)");
  EXPECT_EQ(ev("(setq f (open \"" + path + "\" \"r\")) (list (read-line f) (read-line f) (read-char f) (read-line f) (read-line f))"),
            "(\"first\" \"12.5\" 34 \"q\\\"\" nil)");
  EXPECT_EQ(ev("(close f) (read-line f)"), "ERROR: bad argument type: streamp #<file \"" + path + "\">");
  EXPECT_EQ(ev("(open \"/no/such/dir/x\" \"w\")"), "nil");
  EXPECT_EQ(ev("(open \"x\" \"q\")"), "ERROR: bad argument value: file mode \"q\"");
  EXPECT_EQ(ev("(list (findfile \"" + path + "\") (findfile \"/no/such\"))"), "(\"" + path + "\" nil)");
  EXPECT_EQ(ev("(list (vl-file-delete \"" + path + "\") (findfile \"" + path + "\"))"), "(T nil)");
  EXPECT_EQ(ev("(list (vl-filename-base \"/a/b/duct.run.lsp\") (vl-filename-extension \"/a/b/duct.lsp\") "
               "(vl-filename-extension \"/a/b\") (vl-filename-directory \"/a/b/duct.lsp\"))"),
            "(\"duct.run\" \".lsp\" nil \"/a/b\")");
  EXPECT_EQ(ev("(getenv \"KV_NO_SUCH_VARIABLE\")"), "nil");
  ev("(setq g (open \"" + path + "\" \"w\"))");
  EXPECT_EQ(ev("(setq g nil)"), "nil") << "a file is closed when its last use goes";
  std::remove(path.c_str());
}

TEST_F(LispTest, PlaneGeometry) {
  EXPECT_EQ(ev("(list (distance '(0 0) '(3 4)) (distance '(0 0 0) '(0 0 2)) (distance '(0 0) '(0 0 2)))"),
            "(5.0 2.0 0.0)");
  EXPECT_EQ(ev("(list (angle '(0 0) '(0 1)) (angle '(0 0) '(0 -1)) (angle '(1 1 5) '(2 1 0)))"),
            "(1.5708 4.71239 0.0)");
  EXPECT_EQ(ev("(list (polar '(1 1) 0 2) (polar '(0 0 7) (/ pi 2) 1))"), "((3.0 1.0) (6.12323e-17 1.0 7.0))");
  EXPECT_EQ(ev("(list (inters '(0 0) '(2 2) '(0 2) '(2 0)) (inters '(0 0) '(0.5 0.5) '(0 2) '(2 0)) "
               "(inters '(0 0) '(0.5 0.5) '(0 2) '(2 0) nil) (inters '(0 0) '(1 0) '(0 1) '(1 1) nil))"),
            "((1.0 1.0) nil (1.0 1.0) nil)");
  EXPECT_EQ(ev("(distance '(0 0) \"x\")"), "ERROR: bad argument type: 2D/3D point: \"x\"");
  EXPECT_EQ(ev("(distance '(0 0) '(1 2 3 4))"), "ERROR: bad argument type: 2D/3D point: (1 2 3 4)");
}

TEST_F(LispTest, Wildcards) {
  EXPECT_EQ(ev("(mapcar '(lambda (p) (wcmatch \"DUCT-12\" p)) "
               "'(\"DUCT*\" \"*-##\" \"*-#\" \"D?CT-12\" \"~DUCT*\" \"ROOM*,DUCT*\" \"[CD]UCT*\" \"[~D]*\" \"duct*\" \"@@@@.##\"))"),
            "(T T nil T nil T T nil nil T)");
  EXPECT_EQ(ev("(list (wcmatch \"a,b\" \"a`,b\") (wcmatch \"\" \"*\") (wcmatch \"x\" \"\") (wcmatch \"[\" \"[\"))"),
            "(T T nil nil)");
  EXPECT_EQ(ev("(wcmatch \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab\" \"*a*a*a*a*a*a*a*a*c\")"), "nil");
}

TEST_F(LispTest, MoreListsStringsAndBits) {
  EXPECT_EQ(ev("(list (vl-every 'numberp '(1 2.0)) (vl-every '= '(1 2) '(1 3)) (vl-some 'minusp '(1 -2)) (vl-some 'minusp nil))"),
            "(T nil T nil)");
  EXPECT_EQ(ev("(list (vl-member-if 'minusp '(1 -2 3)) (vl-member-if-not 'numberp '(1 a 2)))"), "((-2 3) (A 2))");
  EXPECT_EQ(ev("(list (vl-list* 1 2 '(3)) (vl-list* 1 2) (vl-list-length '(1 2)) (vl-list-length '(1 . 2)))"),
            "((1 2 3) (1 . 2) 2 nil)");
  EXPECT_EQ(ev("(acad_strlsort '(\"b\" \"a\" \"C\"))"), "(\"C\" \"a\" \"b\")");
  EXPECT_EQ(ev("(list (vl-string-position 46 \"a.b.c\") (vl-string-position 46 \"a.b.c\" nil t) (vl-string-position 120 \"ab\"))"),
            "(1 3 nil)");
  EXPECT_EQ(ev("(list (vl-string->list \"AB\") (vl-list->string '(67 8364)) (vl-string-translate \"ab\" \"xy\" \"abc\"))"),
            "((65 66) \"C€\" \"xyc\")");
  EXPECT_EQ(ev("(list (lsh 1 4) (lsh 16 -4) (lsh 1 40) (~ 5) (gcd 12 18) (logand 12 10) (logior 12 10))"),
            "(16 1 0 -6 6 8 14)");
  EXPECT_EQ(ev("(list (vl-symbol-value 'pi) (gc) (type (ver)))"), "(3.14159 nil STR)");
}

}  // namespace
