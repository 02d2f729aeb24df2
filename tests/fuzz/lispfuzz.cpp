// The LISP-call fuzzer's generator, batches and minimising of a failing batch.
#include "lispfuzz.h"

#include "lisp.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace kvfuzz {

namespace {

const char kEndMarker[] = "kvfuzz: batch done";

// What every batch starts from: values no literal can spell (non-finite reals, long strings,
// deep lists) and handles that outlived what they name (an erased entity, names and a set
// taken in a drawing since closed, a closed file). Run in the drawing fz.dwg of the folder.
const char kPrelude[] = R"(;; kvfuzz prelude
(setq *fz-inf* (* 1e308 10.0) *fz-ninf* (- *fz-inf*) *fz-nan* (- *fz-inf* *fz-inf*))
(setq *fz-long* "kvfuzz01") (repeat 13 (setq *fz-long* (strcat *fz-long* *fz-long*)))
(setq *fz-long1k* (substr *fz-long* 1 1000))
(setq *fz-deep* nil) (repeat 10001 (setq *fz-deep* (list *fz-deep*)))
(setq *fz-deep100* nil) (repeat 100 (setq *fz-deep100* (list 1 *fz-deep100*)))
(setq *fz-home* (kvhost-current))
(entmake '((0 . "LINE") (10 0.0 0.0 0.0) (11 10.0 10.0 0.0))) (setq *fz-live* (entlast))
(entmake '((0 . "LINE") (10 5.0 0.0 0.0) (11 5.0 10.0 0.0))) (setq *fz-erased* (entlast)) (entdel *fz-erased*)
(setq *fz-ss* (ssget "X"))
(kvhost-open "fz-closed.dwg") (setq *fz-other* (kvhost-current))
(entmake '((0 . "LINE") (10 1.0 1.0 0.0) (11 2.0 2.0 0.0)))
(setq *fz-closed-ename* (entlast) *fz-closed-ss* (ssget "X"))
(kvhost-activate *fz-home*) (kvhost-close *fz-other*)
(setq *fz-file* (open "fz-file.txt" "w") *fz-closed-file* (open "fz-closed.txt" "w")) (close *fz-closed-file*)
(setq *fz-error* (vl-catch-all-apply '/ '(1 0)))
;; kvfuzz calls
)";

const char* const kWords[] = {
    "", "0", "X", "C", "W", "L1", "fz", "ROOM OUTLINES", "DEFAULT", "Standard", "LINE", "LWPOLYLINE", "MTEXT",
    "*", "?", "#", "~", "@", "a,b", "*Model_Space", "SQUARE", "RADIUS", "YES", "KV_HVAC", "KELVANE", "sa", "S",
    "N", "A", "UP", "dRoof", "iCoolingCFM", "fz.dwg", "fz-closed.dwg", "fz.dxf", "fz.png", "fz.svg", "fz.step",
    "fz.stl", "fz.glb", "fz.kv", "fz_kv_hvac.kv", "fz-file.txt", "SELECT * FROM tblGlobal", "tblDuct", "tblLayer",
    "w", "r", "a", "point 10,20", "answer yes", "1.5", "-3", "(1 2)", ")", "\\\"", "\\\\", "%s%n", "C:CHECKKV",
    "ACAD", "_.ZOOM", "_E", "CLAYER", "OSMODE", "LAYER", "STYLE", "LTYPE", "BLOCK", "APPID", "1F", "FFFFFFFF",
    "\\t\\n", "\\e", "\\r",
};

const int kDxfCodes[] = {0, 1, 2, 5, 6, 7, 8, 10, 11, 38, 39, 40, 41, 42, 50, 62, 67, 70, 71, 72, 90, 100,
                         210, 1000, 1001, 1002, 1010, 1040, 1070, 1071, -1, -2, -3, -4};

const char* const kEntityTypes[] = {"LINE", "LWPOLYLINE", "MTEXT", "INSERT", "SPLINE", "LEADER", "KVDUCT",
                                    "HVACROOM", "KV_HVACSOLID", "CIRCLE", "", "POINT"};

std::string trimmed(std::string s) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.pop_back();
  std::size_t b = s.find_first_not_of(" \t");
  return b == std::string::npos ? std::string() : s.substr(b);
}

bool matches(const std::string& pattern, const std::string& name) {
  if (pattern == "*") return true;
  if (!pattern.empty() && pattern.back() == '*') return name.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
  return pattern == name;
}

// One call's text and the kinds of argument in it, for the avoid rules.
class CallWriter {
 public:
  CallWriter(Rng& rng, const std::vector<std::string>& pool) : rng_(rng), pool_(pool) {}

  // An argument for the parameter a signature names: mostly of the kinds the word suggests, so
  // calls get past the type checks to the code behind them.
  std::string argumentFor(const std::string& word) {
    const std::vector<const char*>& fits = kindsForWord(word);
    if (fits.empty() || rng_.chance(25)) return argument();
    std::string kind = fits[rng_.below(fits.size())];
    kinds_.insert(kind);
    return write(kind, 0);
  }

  std::string argument(int depth = 0) {
    static const char* const kinds[] = {"nil", "t", "int", "int", "bigint", "real", "real", "huge", "nonfinite",
                                        "string", "string", "string", "long-string", "bad-utf8", "symbol",
                                        "function", "lambda", "list", "list", "point", "point", "point", "pair",
                                        "dxf-list", "deep", "ename", "ename", "erased", "closed-ename", "ss",
                                        "closed-ss", "file", "closed-file", "error", "subr", "lineweight"};
    std::string kind = kinds[rng_.below(std::size(kinds))];
    if (depth > 2 && (kind == "list" || kind == "dxf-list" || kind == "lineweight")) kind = "int";
    kinds_.insert(kind);
    return write(kind, depth);
  }

  const std::set<std::string>& kinds() const { return kinds_; }
  bool plainSymbols = false;

 private:
  std::string number() {
    switch (rng_.below(6)) {
      case 0: return integer();
      case 1: kinds_.insert("huge"); return write("huge", 0);
      case 2: if (rng_.chance(30)) { kinds_.insert("nonfinite"); return write("nonfinite", 0); } [[fallthrough]];
      default: return real();
    }
  }
  std::string integer() {
    static const int small[] = {0, 1, -1, 2, 3, 4, 5, 7, 10, 12, 16, 90, 100, 255, 256, 1000};
    return rng_.chance(60) ? std::to_string(small[rng_.below(std::size(small))])
                           : std::to_string(static_cast<long>(rng_.below(2001)) - 1000);
  }
  std::string real() {
    static const char* const fixed[] = {"0.0", "-0.0", "1e-9", "-1e-9", "0.5", "1.0", "12.0", "100.0", "3.14159"};
    if (rng_.chance(40)) return fixed[rng_.below(std::size(fixed))];
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.6f", (rng_.unit() - 0.5) * std::pow(10.0, static_cast<double>(rng_.below(8))));
    return buf;
  }
  std::string text() {
    if (rng_.chance(75)) return std::string("\"") + kWords[rng_.below(std::size(kWords))] + "\"";
    std::string s = "\"";
    for (std::uint64_t i = 0, n = rng_.below(12); i < n; ++i) s += static_cast<char>('a' + rng_.below(26));
    return s + "\"";
  }
  // Bytes that are not UTF-8: stray continuations, overlong forms, surrogates, cut sequences.
  // Never a slash, so no generated path leaves the batch's folder.
  std::string badUtf8() {
    static const char* const pieces[] = {"\\200", "\\277", "\\300\\200", "\\355\\240\\200", "\\364\\220\\200\\200",
                                         "\\342\\202", "\\377", "\\376", "ab", "\\303\\251", "\\001", "\\037"};
    std::string s = "\"";
    for (std::uint64_t i = 0, n = 1 + rng_.below(6); i < n; ++i) s += pieces[rng_.below(std::size(pieces))];
    return s + "\"";
  }
  std::string point() {
    std::string s = "(list " + number() + " " + number();
    if (rng_.chance(60)) s += " " + number();
    return s + ")";
  }
  std::string dxfList(bool lineweight) {
    std::string s = "(list (cons 0 \"" + std::string(kEntityTypes[rng_.below(std::size(kEntityTypes))]) + "\")";
    for (std::uint64_t i = 0, n = rng_.below(6); i < n; ++i) {
      int code = kDxfCodes[rng_.below(std::size(kDxfCodes))];
      if (code == 10 || code == 11 || code == 210 || code == 1010) s += " (cons " + std::to_string(code) + " " + point() + ")";
      else s += " (cons " + std::to_string(code) + " " + scalar() + ")";
    }
    if (lineweight) s += " (cons 370 " + (rng_.chance(50) ? integer() : std::string("9999")) + ")";
    return s + ")";
  }
  std::string scalar() {
    switch (rng_.below(4)) {
      case 0: return integer();
      case 1: return real();
      case 2: return text();
      default: return number();
    }
  }
  std::string functionName() {
    if (pool_.empty() || plainSymbols) return "'fz-sym";
    return "'" + pool_[rng_.below(pool_.size())];
  }
  static const std::vector<const char*>& kindsForWord(const std::string& word) {
    static const std::vector<const char*> none, enames = {"ename", "ename", "erased", "closed-ename"},
        sets = {"ss", "ss", "closed-ss"}, files = {"file", "file", "closed-file"},
        points = {"point", "point", "point", "nil", "list"}, pointLists = {"points", "points", "deep"},
        texts = {"string", "string", "string", "long-string", "bad-utf8", "nil"},
        numbers = {"int", "int", "real", "real", "bigint", "huge", "nonfinite"},
        lists = {"list", "dxf-list", "pair", "deep", "nil"}, functions = {"function", "lambda", "subr"},
        symbols = {"symbol", "function"}, flags = {"nil", "t"};
    auto has = [&](std::initializer_list<const char*> parts) {
      for (const char* p : parts)
        if (word.find(p) != std::string::npos) return true;
      return false;
    };
    if (has({"ename", "ent"})) return enames;
    if (word == "ss") return sets;
    if (word == "file") return files;
    if (word == "points") return pointLists;
    if (has({"pt", "point", "start", "end", "corner", "junction", "position", "dir"})) return points;
    if (has({"round", "next", "disp", "flag", "distinct"})) return flags;
    if (has({"fn", "function", "predicate"})) return functions;
    if (has({"sym"})) return symbols;
    if (has({"list", "lst", "filter", "items", "alist"})) return lists;
    if (has({"str", "name", "text", "path", "mode", "pattern", "kind", "sql", "key", "folder", "table", "title",
             "handle", "drawing", "line", "column", "char"}))
      return texts;
    if (has({"n", "i", "x", "y", "a", "b", "count", "status", "colo", "width", "depth", "from", "to", "format",
             "radius", "angle", "ratio", "neck", "length", "type", "spacing", "num", "prec", "mode", "units"}))
      return numbers;
    return none;
  }

  std::string write(const std::string& kind, int depth) {
    if (kind == "nil") return "nil";
    if (kind == "t") return "T";
    if (kind == "int") return integer();
    if (kind == "bigint") {
      static const char* const v[] = {"32767", "32768", "-32768", "-32769", "65535", "2147483647", "-2147483648",
                                      "1000000", "314030413", "-1000000000"};
      return v[rng_.below(std::size(v))];
    }
    if (kind == "real") return real();
    if (kind == "huge") {
      static const char* const v[] = {"1e308", "-1e308", "1.7976931348623157e308", "1e-308", "4.9e-324", "1e97",
                                      "-1.654795e+97", "2.682076e-210", "1e15", "-1e15"};
      return v[rng_.below(std::size(v))];
    }
    if (kind == "nonfinite") {
      static const char* const v[] = {"*fz-inf*", "*fz-ninf*", "*fz-nan*"};
      return v[rng_.below(std::size(v))];
    }
    if (kind == "string") return text();
    if (kind == "long-string") return rng_.chance(50) ? "*fz-long*" : "*fz-long1k*";
    if (kind == "bad-utf8") return badUtf8();
    if (kind == "symbol") return rng_.chance(50) ? "'fz-sym" : "'fz-other-sym";
    if (kind == "function") return functionName();
    if (kind == "lambda") return rng_.chance(50) ? "'(lambda (x) x)" : "'(lambda (a b / c) (list a b c))";
    if (kind == "list") {
      std::string s = "(list";
      for (std::uint64_t i = 0, n = rng_.below(6); i < n; ++i) s += " " + argument(depth + 1);
      return s + ")";
    }
    if (kind == "point") return point();
    if (kind == "points") {
      std::string p = "(list";
      for (std::uint64_t i = 0, n = rng_.below(5); i < n; ++i) p += " " + point();
      return p + ")";
    }
    if (kind == "pair") return "(cons " + std::to_string(kDxfCodes[rng_.below(std::size(kDxfCodes))]) + " " + scalar() + ")";
    if (kind == "dxf-list") return dxfList(false);
    if (kind == "lineweight") return dxfList(true);
    if (kind == "deep") return rng_.chance(50) ? "*fz-deep*" : "*fz-deep100*";
    if (kind == "ename") return rng_.chance(70) ? "*fz-live*" : "(entlast)";
    if (kind == "erased") return "*fz-erased*";
    if (kind == "closed-ename") return "*fz-closed-ename*";
    if (kind == "ss") return "*fz-ss*";
    if (kind == "closed-ss") return "*fz-closed-ss*";
    if (kind == "file") return "*fz-file*";
    if (kind == "closed-file") return "*fz-closed-file*";
    if (kind == "error") return "*fz-error*";
    if (kind == "subr") return pool_.empty() ? "car" : pool_[rng_.below(pool_.size())];
    throw std::logic_error("kvfuzz: no writer for the argument kind " + kind);
  }

  Rng& rng_;
  const std::vector<std::string>& pool_;
  std::set<std::string> kinds_;
};

int argumentCount(Rng& rng) {
  static const int weights[] = {10, 25, 25, 15, 10, 8, 4, 3};  // 0..7 arguments
  std::uint64_t r = rng.below(100), sum = 0;
  for (int n = 0; n < 8; ++n)
    if (r < (sum += weights[n])) return n;
  return 1;
}

std::string makeFolder(const std::string& folder) {
  std::error_code ec;
  fs::remove_all(folder, ec);
  fs::create_directories(folder);
  return fs::absolute(folder).string();
}

}  // namespace

bool LispRules::avoided(const std::string& function, const std::string& kind) const {
  for (const auto& [f, k] : avoid)
    if (matches(f, function) && (k == "*" || k == kind)) return true;
  return false;
}

void readLispRules(const std::string& path, LispRules& rules) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("kvfuzz: cannot read " + path);
  std::string line;
  for (int n = 1; std::getline(in, line); ++n) {
    line = trimmed(line.substr(0, line.find('#')));
    if (line.empty()) continue;
    std::istringstream words(line);
    std::string first, second, third;
    words >> first >> second >> third;
    if (first == "avoid" && !third.empty()) rules.avoid.emplace_back(second, third);
    else if (first == "case") continue;  // regression cases are ctest's business
    else if (second == "no-args") rules.noArgs.insert(first);
    else if (second == "plain-symbols") rules.plainSymbols.insert(first);
    else if (second == "skip") rules.skipped.insert(first);
    else throw std::runtime_error(path + ":" + std::to_string(n) + ": not a rule: " + line);
  }
}

// The parameter words of a host function's signature, "(entget ename [applist])" giving ename and
// applist; a rest word ("args...") stands for each further argument. None for functions that
// this program's host libraries do not define (the module's).
std::vector<std::string> signatureWords(const std::string& name) {
  const kvlisp::NativeDef* def = kvlisp::findNative(name);
  std::vector<std::string> out;
  if (def == nullptr || def->signature == nullptr) return out;
  std::string sig = def->signature;
  for (char& c : sig)
    if (c == '(' || c == ')' || c == '[' || c == ']') c = ' ';
  std::istringstream words(sig);
  std::string word;
  words >> word;  // the name
  while (words >> word) {
    bool rest = word.ends_with("...");
    if (rest) word.resize(word.size() - 3);
    for (int i = 0; i < (rest ? 8 : 1); ++i) out.push_back(word);
  }
  for (std::string& w : out)
    for (char& c : w) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

std::vector<std::string> kvhostArgs(const LispOptions& o, const std::string& folder, const std::string& script) {
  return {o.kvhost, "--project", folder, "--open", folder + "/fz.dwg", folder + "/" + script};
}

Outcome runScript(const LispOptions& o, const std::string& script, const std::string& folder) {
  std::string dir = makeFolder(folder);
  writeText(dir + "/batch.lsp", script);
  Outcome out = runChild(kvhostArgs(o, dir, "batch.lsp"), dir, o.limits);
  if (out.verdict == Verdict::Ok && readText(dir + "/out.txt").find(kEndMarker) == std::string::npos) {
    out.verdict = Verdict::Status;
    out.detail = "the batch stopped before its end";
  }
  return out;
}

std::vector<LispFunction> listFunctions(const LispOptions& o, const LispRules& rules) {
  std::string unprobed = "(setq kvfuzz-unprobed '(";
  for (const auto* set : {&rules.noArgs, &rules.plainSymbols, &rules.skipped})
    for (const std::string& name : *set) unprobed += " \"" + name + "\"";
  // Under --avoid-known the functions avoided whatever their arguments are not probed either.
  if (o.avoidKnown)
    for (const auto& [function, kind] : rules.avoid)
      if (kind == "*" && function != "*") unprobed += " \"" + function + "\"";
  unprobed += "))\n";
  // Each function once with 0 to 9 nils: the counts that do not draw an arity error are the
  // ones most calls use. Functions with rules are not probed; they are called as the rules say.
  std::string script =
      "(defun kvfuzz-arity (s / n e ok)\n"
      "  (setq n 0 ok \"\")\n"
      "  (repeat 10\n"
      "    (setq e (vl-catch-all-apply s (kvfuzz-nils n)))\n"
      "    (if (not (and (vl-catch-all-error-p e)\n"
      "                  (wcmatch (strcase (vl-catch-all-error-message e)) \"TOO FEW ARG*,TOO MANY ARG*\")))\n"
      "      (setq ok (strcat ok \" \" (itoa n))))\n"
      "    (setq n (1+ n)))\n"
      "  ok)\n"
      "(defun kvfuzz-nils (n / l) (repeat n (setq l (cons nil l))) l)\n"
      "(foreach s (atoms-family 0) (if (member (type (vl-symbol-value s)) '(SUBR EXRXSUBR))"
      " (progn (setq a (if (vl-some '(lambda (p) (wcmatch (strcase (vl-symbol-name s) T) p)) kvfuzz-unprobed)"
      " \"\" (kvfuzz-arity s)))"
      " (princ (strcat \"\\nkvfuzz-fn \" (vl-symbol-name s) a)))))\n"
      "(princ \"\\n\")\n";
  std::string folder = o.work + "/functions";
  Outcome out = runScript(o, unprobed + script + "(princ \"\\n" + kEndMarker + "\\n\")\n", folder);
  if (out.verdict != Verdict::Ok)
    throw std::runtime_error("kvfuzz: kvhost could not list its functions: " + out.detail);
  std::vector<LispFunction> functions;
  std::istringstream lines(readText(folder + "/out.txt"));
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("kvfuzz-fn ", 0) != 0) continue;
    std::istringstream words(line.substr(10));
    LispFunction f;
    words >> f.name;
    for (char& c : f.name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (int n; words >> n;) f.counts.push_back(n);
    f.params = signatureWords(f.name);
    functions.push_back(std::move(f));
  }
  return functions;
}

std::string batchScript(const LispOptions& o, const LispRules& rules, const std::vector<LispFunction>& functions,
                        std::uint64_t batch) {
  Rng rng(o.seed, batch);
  std::vector<const LispFunction*> callable;
  std::vector<std::string> pool;
  for (const LispFunction& f : functions) {
    if (rules.skipped.contains(f.name)) continue;
    callable.push_back(&f);
    if (!rules.noArgs.contains(f.name) && !rules.plainSymbols.contains(f.name)) pool.push_back(f.name);
  }
  std::ostringstream s;
  s << ";; kvfuzz lisp seed " << o.seed << " batch " << batch << "\n" << kPrelude;
  for (int i = 0; i < o.callsPerBatch && !callable.empty(); ++i) {
    for (int attempt = 0; attempt < 20; ++attempt) {
      const LispFunction& f = *callable[rng.below(callable.size())];
      const std::string& fn = f.name;
      CallWriter w(rng, pool);
      w.plainSymbols = rules.plainSymbols.contains(fn);
      std::string args;
      int n = rules.noArgs.contains(fn)                  ? 0
              : !f.counts.empty() && rng.chance(80) ? f.counts[rng.below(f.counts.size())]
                                                     : argumentCount(rng);
      for (int k = 0; k < n; ++k)
        args += " " + (k < static_cast<int>(f.params.size()) ? w.argumentFor(f.params[k]) : w.argument());
      bool avoid = false;
      if (o.avoidKnown) {
        avoid = rules.avoided(fn, "*");
        for (const std::string& kind : w.kinds()) avoid = avoid || rules.avoided(fn, kind);
      }
      if (avoid) continue;
      s << "(vl-catch-all-apply '" << fn << " (list" << args << "))\n";
      break;
    }
  }
  s << "(princ \"\\n" << kEndMarker << "\\n\")\n";
  return s.str();
}

namespace {

// Splits a batch script into its prelude (up to the calls' marker) and its call lines.
void splitScript(const std::string& script, std::string& prelude, std::vector<std::string>& calls) {
  const std::string mark = ";; kvfuzz calls\n";
  std::size_t at = script.find(mark);
  prelude = script.substr(0, at + mark.size());
  std::istringstream lines(script.substr(at + mark.size()));
  for (std::string line; std::getline(lines, line);)
    if (line.rfind("(vl-catch-all-apply", 0) == 0) calls.push_back(line);
}

std::string joined(const std::string& prelude, const std::vector<std::string>& calls, std::size_t from,
                   std::size_t to) {
  std::string s = prelude;
  for (std::size_t i = from; i < to; ++i) s += calls[i] + "\n";
  return s + "(princ \"\\n" + kEndMarker + "\\n\")\n";
}

bool sameFault(const Outcome& a, const Outcome& b) {
  return a.verdict == b.verdict || (a.verdict != Verdict::Ok && b.verdict != Verdict::Ok && a.verdict != Verdict::Hang &&
                                    b.verdict != Verdict::Hang);
}

// The shortest prefix of the calls that still fails, then that prefix's last call alone when it
// fails by itself: the smallest script that shows the fault. Hangs are kept whole, as each
// probe would cost the full watchdog.
std::string minimise(const LispOptions& o, const std::string& script, const Outcome& fault, const std::string& folder) {
  if (fault.verdict == Verdict::Hang || fault.verdict == Verdict::Memory) return script;
  std::string prelude;
  std::vector<std::string> calls;
  splitScript(script, prelude, calls);
  std::size_t lo = 0, hi = calls.size();  // prelude + calls[0, hi) fails
  if (!sameFault(runScript(o, joined(prelude, calls, 0, 0), folder), fault) || calls.empty()) {
    while (hi - lo > 1) {
      std::size_t mid = (lo + hi) / 2;
      if (sameFault(runScript(o, joined(prelude, calls, 0, mid), folder), fault)) hi = mid;
      else lo = mid;
    }
  } else {
    return joined(prelude, calls, 0, 0);  // the prelude alone
  }
  std::string alone = joined(prelude, calls, hi - 1, hi);
  if (sameFault(runScript(o, alone, folder), fault)) return alone;
  return joined(prelude, calls, 0, hi);
}

}  // namespace

int runLispFuzzer(const LispOptions& o, const LispRules& rules) {
  std::vector<LispFunction> functions = listFunctions(o, rules);
  std::printf("kvfuzz lisp: %zu functions, seed %llu, batches %llu-%llu, %d calls each%s\n", functions.size(),
              static_cast<unsigned long long>(o.seed), static_cast<unsigned long long>(o.firstBatch),
              static_cast<unsigned long long>(o.firstBatch + o.batches - 1), o.callsPerBatch,
              o.avoidKnown ? ", known faults left out" : "");
  int failures = 0;
  double seconds = 0;
  for (std::uint64_t b = o.firstBatch; b < o.firstBatch + o.batches; ++b) {
    std::string script = batchScript(o, rules, functions, b);
    std::string folder = o.work + "/batch";
    Outcome out = runScript(o, script, folder);
    seconds += out.seconds;
    if (out.verdict == Verdict::Ok) continue;
    ++failures;
    std::printf("kvfuzz lisp: seed %llu batch %llu: %s: %s\n", static_cast<unsigned long long>(o.seed),
                static_cast<unsigned long long>(b), verdictName(out.verdict), out.detail.c_str());
    std::fflush(stdout);
    if (o.saveFolder.empty()) continue;
    std::string small = minimise(o, script, out, o.work + "/probe");
    fs::create_directories(o.saveFolder);
    std::string name = o.saveFolder + "/lisp-s" + std::to_string(o.seed) + "-b" + std::to_string(b) + ".lsp";
    writeText(name, ";; " + std::string(verdictName(out.verdict)) + ": " + out.detail + "\n" + small);
    std::printf("kvfuzz lisp: kept %s\n", name.c_str());
  }
  std::printf("kvfuzz lisp: %llu calls in %llu batches, %d failing, %.1f s\n",
              static_cast<unsigned long long>(o.batches * o.callsPerBatch), static_cast<unsigned long long>(o.batches),
              failures, seconds);
  return failures;
}

}  // namespace kvfuzz
