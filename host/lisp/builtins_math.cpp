// Builtins: numbers. Integers are 32 bits and wrap; any real operand makes the result real.
#include <cmath>
#include <limits>

#include "internal.h"

namespace kvlisp {

namespace {

Value boolean(bool b) { return b ? Value::t() : Value(); }

bool allInts(Args a) {
  for (const Value& v : a)
    if (!v.isInt()) return false;
  return true;
}

void checkNumbers(Args a) {
  for (std::size_t i = 0; i < a.size(); ++i) argNumber(a, i);
}

std::int32_t wrap(std::int64_t v) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(v)); }

[[noreturn]] void undefinedFor(const Value& v) { throw Error("function undefined for argument: " + v.print()); }

Value lAdd(Environment&, Args a) {
  checkNumbers(a);
  if (allInts(a)) {
    std::int64_t s = 0;
    for (const Value& v : a) s = wrap(s + v.asInt());
    return Value::integer(wrap(s));
  }
  double s = 0;
  for (const Value& v : a) s += v.asNumber();
  return Value::real(s);
}

Value lSub(Environment&, Args a) {
  checkNumbers(a);
  if (a.empty()) return Value::integer(0);
  if (allInts(a)) {
    std::int64_t s = a.size() == 1 ? -static_cast<std::int64_t>(a[0].asInt()) : a[0].asInt();
    for (std::size_t i = 1; i < a.size(); ++i) s = wrap(s - a[i].asInt());
    return Value::integer(wrap(s));
  }
  double s = a.size() == 1 ? -a[0].asNumber() : a[0].asNumber();
  for (std::size_t i = 1; i < a.size(); ++i) s -= a[i].asNumber();
  return Value::real(s);
}

Value lMul(Environment&, Args a) {
  checkNumbers(a);
  if (a.empty()) return Value::integer(0);
  if (allInts(a)) {
    std::int64_t s = 1;
    for (const Value& v : a) s = wrap(s * v.asInt());
    return Value::integer(wrap(s));
  }
  double s = 1;
  for (const Value& v : a) s *= v.asNumber();
  return Value::real(s);
}

Value lDiv(Environment&, Args a) {
  checkNumbers(a);
  if (a.empty()) return Value::integer(0);
  if (allInts(a)) {
    std::int64_t s = a[0].asInt();
    for (std::size_t i = 1; i < a.size(); ++i) {
      if (a[i].asInt() == 0) throw Error("divide by zero");
      s = wrap(s / a[i].asInt());
    }
    return Value::integer(wrap(s));
  }
  double s = a[0].asNumber();
  for (std::size_t i = 1; i < a.size(); ++i) {
    if (a[i].asNumber() == 0.0) throw Error("divide by zero");
    s /= a[i].asNumber();
  }
  return Value::real(s);
}

Value lRem(Environment&, Args a) {
  checkNumbers(a);
  if (a.empty()) return Value::integer(0);
  if (allInts(a)) {
    std::int64_t s = a[0].asInt();
    for (std::size_t i = 1; i < a.size(); ++i) {
      if (a[i].asInt() == 0) throw Error("divide by zero");
      s %= a[i].asInt();
    }
    return Value::integer(wrap(s));
  }
  double s = a[0].asNumber();
  for (std::size_t i = 1; i < a.size(); ++i) {
    if (a[i].asNumber() == 0.0) throw Error("divide by zero");
    s = std::fmod(s, a[i].asNumber());
  }
  return Value::real(s);
}

Value lAbs(Environment&, Args a) {
  argNumber(a, 0);
  if (a[0].isInt()) return Value::integer(wrap(std::llabs(static_cast<std::int64_t>(a[0].asInt()))));
  return Value::real(std::fabs(a[0].asReal()));
}

template <double (*F)(double)>
Value unary(Environment&, Args a) {
  return Value::real(F(argNumber(a, 0)));
}

Value lSqrt(Environment&, Args a) {
  double x = argNumber(a, 0);
  if (x < 0) undefinedFor(a[0]);
  return Value::real(std::sqrt(x));
}

Value lLog(Environment&, Args a) {
  double x = argNumber(a, 0);
  if (x <= 0) undefinedFor(a[0]);
  return Value::real(std::log(x));
}

Value lAtan(Environment&, Args a) {
  double y = argNumber(a, 0);
  if (a.size() < 2) return Value::real(std::atan(y));
  return Value::real(std::atan2(y, argNumber(a, 1)));
}

// Integer powers stay integers (wrapping); a negative integer power of an integer is 0 as the
// platform truncates it.
Value lExpt(Environment&, Args a) {
  double b = argNumber(a, 0), e = argNumber(a, 1);
  if (a[0].isInt() && a[1].isInt()) {
    std::int32_t base = a[0].asInt(), n = a[1].asInt();
    if (n < 0) {
      if (base == 0) throw Error("divide by zero");
      return Value::integer(base == 1 ? 1 : base == -1 ? (n % 2 ? -1 : 1) : 0);
    }
    std::int64_t r = 1, x = base;
    for (; n > 0; n >>= 1, x = wrap(x * x))
      if (n & 1) r = wrap(r * x);
    return Value::integer(wrap(r));
  }
  double r = std::pow(b, e);
  if (std::isnan(r)) undefinedFor(a[0]);
  return Value::real(r);
}

Value lFix(Environment&, Args a) {
  double x = argNumber(a, 0);
  if (a[0].isInt()) return a[0];
  double t = std::trunc(x);
  if (t >= std::numeric_limits<std::int32_t>::min() && t <= std::numeric_limits<std::int32_t>::max())
    return Value::integer(static_cast<std::int32_t>(t));
  return Value::real(t);  // beyond 32 bits the platform keeps a real
}

Value lFloat(Environment&, Args a) { return Value::real(argNumber(a, 0)); }

Value extreme(Args a, bool wantMax) {
  checkNumbers(a);
  if (a.empty()) return Value::integer(0);
  std::size_t best = 0;
  for (std::size_t i = 1; i < a.size(); ++i)
    if (wantMax ? a[i].asNumber() > a[best].asNumber() : a[i].asNumber() < a[best].asNumber()) best = i;
  return allInts(a) ? a[best] : Value::real(a[best].asNumber());
}

Value lMax(Environment&, Args a) { return extreme(a, true); }
Value lMin(Environment&, Args a) { return extreme(a, false); }

Value lInc(Environment&, Args a) {
  argNumber(a, 0);
  return a[0].isInt() ? Value::integer(wrap(static_cast<std::int64_t>(a[0].asInt()) + 1)) : Value::real(a[0].asReal() + 1);
}

Value lDec(Environment&, Args a) {
  argNumber(a, 0);
  return a[0].isInt() ? Value::integer(wrap(static_cast<std::int64_t>(a[0].asInt()) - 1)) : Value::real(a[0].asReal() - 1);
}

// -1, 0, 1: numbers by value, strings by their bytes; anything else is a type error.
int compare(const Value& x, const Value& y) {
  if (x.isString() && y.isString()) {
    int c = x.asString().compare(y.asString());
    return (c > 0) - (c < 0);
  }
  if (!x.isNumber()) badArgument("numberp:", x);
  if (!y.isNumber()) badArgument("numberp:", y);
  if (x.isInt() && y.isInt()) return (x.asInt() > y.asInt()) - (x.asInt() < y.asInt());
  double a = x.asNumber(), b = y.asNumber();
  return (a > b) - (a < b);
}

// = and /= take any values: numbers by value, strings by their bytes, anything else (nil, a
// symbol, an entity name, a number against a string) by identity as eq does, so that a test
// against a value that may be nil answers rather than fails. The orderings need numbers or
// strings.
template <bool (*Holds)(int), bool AnyValues = false>
Value chain(Environment&, Args a) {
  for (std::size_t i = 1; i < a.size(); ++i) {
    const Value& x = a[i - 1];
    const Value& y = a[i];
    const bool comparable = (x.isNumber() && y.isNumber()) || (x.isString() && y.isString());
    const int c = AnyValues && !comparable ? (x.eq(y) ? 0 : 1) : compare(x, y);
    if (!Holds(c)) return Value();
  }
  if (!AnyValues && a.size() == 1 && !a[0].isNumber() && !a[0].isString()) badArgument("numberp:", a[0]);
  return Value::t();
}

bool eqOp(int c) { return c == 0; }
bool neOp(int c) { return c != 0; }
bool ltOp(int c) { return c < 0; }
bool gtOp(int c) { return c > 0; }
bool leOp(int c) { return c <= 0; }
bool geOp(int c) { return c >= 0; }

Value lZerop(Environment&, Args a) { return boolean(argNumber(a, 0) == 0.0); }
Value lMinusp(Environment&, Args a) { return boolean(argNumber(a, 0) < 0.0); }

Value lLogand(Environment&, Args a) {
  std::int32_t r = -1;
  for (std::size_t i = 0; i < a.size(); ++i) r &= argInt(a, i);
  return Value::integer(a.empty() ? 0 : r);
}

Value lLogior(Environment&, Args a) {
  std::int32_t r = 0;
  for (std::size_t i = 0; i < a.size(); ++i) r |= argInt(a, i);
  return Value::integer(r);
}

Value lLsh(Environment&, Args a) {
  auto v = static_cast<std::uint32_t>(a.empty() ? 0 : argInt(a, 0));
  std::int32_t n = a.size() > 1 ? argInt(a, 1) : 0;
  if (n >= 32 || n <= -32) return Value::integer(0);
  return Value::integer(static_cast<std::int32_t>(n >= 0 ? v << n : v >> -n));
}

Value lNot(Environment&, Args a) { return Value::integer(~argInt(a, 0)); }

Value lGcd(Environment&, Args a) {
  std::int64_t x = std::llabs(argInt(a, 0)), y = std::llabs(argInt(a, 1));
  while (y) x %= y, std::swap(x, y);
  return Value::integer(wrap(x));
}

double sinF(double x) { return std::sin(x); }
double cosF(double x) { return std::cos(x); }
double expF(double x) { return std::exp(x); }

const NativeDef kMath[] = {
    {"+", "(+ [number...])", "The sum.", lAdd},
    {"-", "(- [number...])", "The first less the others; one argument is negated.", lSub},
    {"*", "(* [number...])", "The product.", lMul},
    {"/", "(/ [number...])", "The first divided by the others; integers truncate.", lDiv},
    {"rem", "(rem [number...])", "The remainder of the first divided by the others.", lRem},
    {"abs", "(abs number)", "The absolute value.", lAbs},
    {"sqrt", "(sqrt number)", "The square root.", lSqrt},
    {"sin", "(sin angle)", "The sine of an angle in radians.", unary<sinF>},
    {"cos", "(cos angle)", "The cosine of an angle in radians.", unary<cosF>},
    {"atan", "(atan y [x])", "The arc tangent of Y, or of Y/X by quadrant.", lAtan},
    {"expt", "(expt base power)", "BASE to the POWER.", lExpt},
    {"exp", "(exp number)", "e to the NUMBER.", unary<expF>},
    {"log", "(log number)", "The natural logarithm.", lLog},
    {"fix", "(fix number)", "The integer part, truncated toward zero.", lFix},
    {"float", "(float number)", "The number as a real.", lFloat},
    {"max", "(max [number...])", "The greatest.", lMax},
    {"min", "(min [number...])", "The least.", lMin},
    {"1+", "(1+ number)", "NUMBER plus one.", lInc},
    {"1-", "(1- number)", "NUMBER less one.", lDec},
    {"=", "(= a [b...])", "T when all are equal (numbers, strings, else the same object).", chain<eqOp, true>},
    {"/=", "(/= a [b...])", "T when no two neighbours are equal.", chain<neOp, true>},
    {"<", "(< a [b...])", "T when each is less than the next.", chain<ltOp>},
    {">", "(> a [b...])", "T when each is greater than the next.", chain<gtOp>},
    {"<=", "(<= a [b...])", "T when each is at most the next.", chain<leOp>},
    {">=", "(>= a [b...])", "T when each is at least the next.", chain<geOp>},
    {"zerop", "(zerop number)", "T when NUMBER is zero.", lZerop},
    {"minusp", "(minusp number)", "T when NUMBER is negative.", lMinusp},
    {"logand", "(logand [int...])", "Bitwise and.", lLogand},
    {"logior", "(logior [int...])", "Bitwise or.", lLogior},
    {"lsh", "(lsh [int [bits]])", "INT shifted left by BITS (right when negative).", lLsh},
    {"~", "(~ int)", "Bitwise not.", lNot},
    {"gcd", "(gcd int int2)", "The greatest common divisor.", lGcd},
};

const NativeRegistrar registrar(kMath);

}  // namespace

}  // namespace kvlisp
