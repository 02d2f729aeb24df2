// Builtins: files and file names, the process environment, and plane geometry of points.
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "internal.h"

namespace kvlisp {

using namespace detail;

namespace {

// ---- files

FileObj* fileArg(Args a, std::size_t i) {
  if (i >= a.size() || a[i].type() != Type::File || !as<FileObj>(a[i])->file) badArgument("streamp", i < a.size() ? a[i] : Value());
  return as<FileObj>(a[i]);
}

Value lOpen(Environment&, Args a) {
  const std::string& name = argString(a, 0);
  std::string mode = argString(a, 1);
  for (char& c : mode) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (mode != "r" && mode != "w" && mode != "a") throw Error("bad argument value: file mode \"" + argString(a, 1) + "\"");
  std::FILE* f = std::fopen(name.c_str(), (mode + "b").c_str());
  if (!f) return Value();
  FileObj* o;
  Value v = newObject(Type::File, o);
  o->file = f;
  o->name = name;
  return v;
}

Value lClose(Environment&, Args a) {
  FileObj* f = fileArg(a, 0);
  std::fclose(f->file);
  f->file = nullptr;
  return Value();
}

// A line without its end (\n or \r\n); nil at the end of the file. Without a file there is no
// keyboard to read: nil.
Value lReadLine(Environment&, Args a) {
  if (a.empty()) return Value();
  FileObj* f = fileArg(a, 0);
  std::string line;
  int c;
  bool any = false;
  while ((c = std::fgetc(f->file)) != EOF) {
    any = true;
    if (c == '\n') break;
    line.push_back(static_cast<char>(c));
  }
  if (!any) return Value();
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return Value::string(std::move(line));
}

Value lWriteLine(Environment&, Args a) {
  const std::string& s = argString(a, 0);
  if (a.size() > 1) {
    FileObj* f = fileArg(a, 1);
    std::fputs(s.c_str(), f->file);
    std::fputc('\n', f->file);
  } else {
    write(s + "\n");
  }
  return a[0];
}

Value lReadChar(Environment&, Args a) {
  if (a.empty()) return Value();
  int c = std::fgetc(fileArg(a, 0)->file);
  return c == EOF ? Value() : Value::integer(c == '\r' ? '\n' : c);
}

Value lWriteChar(Environment&, Args a) {
  std::int32_t code = argInt(a, 0);
  std::string s = kvads::toUtf8(std::wstring(1, static_cast<wchar_t>(code)));
  if (a.size() > 1) std::fputs(s.c_str(), fileArg(a, 1)->file);
  else write(s);
  return a[0];
}

bool exists(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

Value lFindfile(Environment&, Args a) {
  const std::string& name = argString(a, 0);
  if (name.empty() || !exists(name)) return Value();
  if (name[0] == '/') return a[0];
  char cwd[4096];
  return Value::string(getcwd(cwd, sizeof cwd) ? std::string(cwd) + "/" + name : name);
}

Value lFileDelete(Environment&, Args a) { return std::remove(argString(a, 0).c_str()) == 0 ? Value::t() : Value(); }

std::string baseName(const std::string& p) {
  std::size_t slash = p.find_last_of("/\\");
  return slash == std::string::npos ? p : p.substr(slash + 1);
}

Value lFilenameBase(Environment&, Args a) {
  std::string b = baseName(argString(a, 0));
  std::size_t dot = b.rfind('.');
  return Value::string(dot == std::string::npos || dot == 0 ? b : b.substr(0, dot));
}

Value lFilenameExtension(Environment&, Args a) {
  std::string b = baseName(argString(a, 0));
  std::size_t dot = b.rfind('.');
  return dot == std::string::npos || dot == 0 ? Value() : Value::string(b.substr(dot));
}

Value lFilenameDirectory(Environment&, Args a) {
  const std::string& p = argString(a, 0);
  std::size_t slash = p.find_last_of("/\\");
  return Value::string(slash == std::string::npos ? "" : p.substr(0, slash));
}

Value lGetenv(Environment&, Args a) {
  const char* v = std::getenv(argString(a, 0).c_str());
  return v ? Value::string(v) : Value();
}

// ---- geometry: points are lists of 2 or 3 numbers; angles in radians in the XY plane

bool is3d(Args a, std::size_t i) { return a[i].cdr().cdr().isCons(); }

Value pointLike(const std::array<double, 3>& p, bool threeD) {
  return threeD ? Value::point(p[0], p[1], p[2]) : Value::point(p[0], p[1]);
}

Value lDistance(Environment&, Args a) {
  auto p = argPoint(a, 0), q = argPoint(a, 1);
  double dz = is3d(a, 0) && is3d(a, 1) ? q[2] - p[2] : 0.0;
  return Value::real(std::sqrt((q[0] - p[0]) * (q[0] - p[0]) + (q[1] - p[1]) * (q[1] - p[1]) + dz * dz));
}

Value lAngle(Environment&, Args a) {
  auto p = argPoint(a, 0), q = argPoint(a, 1);
  double t = std::atan2(q[1] - p[1], q[0] - p[0]);
  return Value::real(t < 0 ? t + 2 * M_PI : t);
}

Value lPolar(Environment&, Args a) {
  auto p = argPoint(a, 0);
  double ang = argNumber(a, 1), dist = argNumber(a, 2);
  p[0] += dist * std::cos(ang);
  p[1] += dist * std::sin(ang);
  return pointLike(p, is3d(a, 0));
}

// Where lines p1-p2 and p3-p4 cross in the XY plane; with ONSEG (the default) only within both
// segments. Z follows the first line.
Value lInters(Environment&, Args a) {
  auto p1 = argPoint(a, 0), p2 = argPoint(a, 1), p3 = argPoint(a, 2), p4 = argPoint(a, 3);
  bool onSegments = a.size() < 5 || !a[4].isNil();
  double d1x = p2[0] - p1[0], d1y = p2[1] - p1[1], d2x = p4[0] - p3[0], d2y = p4[1] - p3[1];
  double den = d1x * d2y - d1y * d2x;
  if (std::fabs(den) < 1e-12) return Value();
  double t = ((p3[0] - p1[0]) * d2y - (p3[1] - p1[1]) * d2x) / den;
  double u = ((p3[0] - p1[0]) * d1y - (p3[1] - p1[1]) * d1x) / den;
  const double eps = 1e-10;
  if (onSegments && (t < -eps || t > 1 + eps || u < -eps || u > 1 + eps)) return Value();
  std::array<double, 3> r{p1[0] + t * d1x, p1[1] + t * d1y, p1[2] + t * (p2[2] - p1[2])};
  return pointLike(r, is3d(a, 0) && is3d(a, 1));
}

const NativeDef kIo[] = {
    {"open", "(open filename mode)", "A file opened for \"r\", \"w\" or \"a\"; nil when it cannot be.", lOpen},
    {"close", "(close file)", "Closes a file.", lClose},
    {"read-line", "(read-line [file])", "The next line of a file; nil at its end.", lReadLine},
    {"write-line", "(write-line string [file])", "Writes STRING and a new line.", lWriteLine},
    {"read-char", "(read-char [file])", "The code of the next character; nil at the end.", lReadChar},
    {"write-char", "(write-char code [file])", "Writes one character.", lWriteChar},
    {"findfile", "(findfile name)", "The full path of an existing file, or nil.", lFindfile},
    {"vl-file-delete", "(vl-file-delete name)", "Deletes a file; T when it was deleted.", lFileDelete},
    {"vl-filename-base", "(vl-filename-base path)", "The file name without folder and extension.",
     lFilenameBase},
    {"vl-filename-extension", "(vl-filename-extension path)", "The extension with its dot, or nil.",
     lFilenameExtension},
    {"vl-filename-directory", "(vl-filename-directory path)", "The folder part of a path.", lFilenameDirectory},
    {"getenv", "(getenv name)", "A variable of the process environment, or nil.", lGetenv},
    {"distance", "(distance p1 p2)", "The distance between two points (3D when both are).", lDistance},
    {"angle", "(angle p1 p2)", "The angle from P1 to P2 in the XY plane, 0 to 2 pi.", lAngle},
    {"polar", "(polar point angle distance)", "The point at ANGLE and DISTANCE from POINT.", lPolar},
    {"inters", "(inters p1 p2 p3 p4 [onseg])", "Where two lines cross; nil if parallel or off the segments.",
     lInters},
};

const NativeRegistrar registrar(kIo);

}  // namespace

}  // namespace kvlisp
