// The scripted user-input queue and the parser of its line grammar (host/kvhost/README.md).
#include "inputqueue.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace kvinput {

namespace {

std::string lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

std::string upper(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return s;
}

std::string trim(const std::string& s) {
  std::size_t b = s.find_first_not_of(" \t\r\n");
  if (b == std::string::npos) return "";
  std::size_t e = s.find_last_not_of(" \t\r\n");
  return s.substr(b, e - b + 1);
}

// Builds messages that name where the line came from.
class Fault {
 public:
  explicit Fault(const std::string& source) : source_(source) {}
  [[noreturn]] void operator()(const std::string& what) const {
    throw ParseError(source_.empty() ? what : source_ + ": " + what);
  }

 private:
  const std::string& source_;
};

bool parseDouble(const std::string& s, double& out) {
  if (s.empty()) return false;
  char* end = nullptr;
  errno = 0;
  out = std::strtod(s.c_str(), &end);
  return errno == 0 && end == s.c_str() + s.size();
}

bool parseInt(const std::string& s, int& out) {
  if (s.empty()) return false;
  char* end = nullptr;
  errno = 0;
  long v = std::strtol(s.c_str(), &end, 10);
  if (errno != 0 || end != s.c_str() + s.size() || v < INT32_MIN || v > INT32_MAX) return false;
  out = static_cast<int>(v);
  return true;
}

std::vector<std::string> split(const std::string& s, char sep) {
  std::vector<std::string> parts;
  std::stringstream ss(s);
  std::string p;
  while (std::getline(ss, p, sep)) parts.push_back(p);
  if (!s.empty() && s.back() == sep) parts.emplace_back();
  return parts;
}

// "X,Y" into integers.
bool parseXY(const std::string& s, int& x, int& y) {
  auto parts = split(s, ',');
  return parts.size() == 2 && parseInt(trim(parts[0]), x) && parseInt(trim(parts[1]), y);
}

// Removes leading ctrl+, shift+ and alt+ prefixes, adding their modifiers.
std::string takeModifiers(std::string s, unsigned& mods) {
  for (;;) {
    std::string l = lower(s);
    if (l.starts_with("ctrl+")) mods |= kCtrl, s.erase(0, 5);
    else if (l.starts_with("shift+")) mods |= kShift, s.erase(0, 6);
    else if (l.starts_with("alt+")) mods |= kAlt, s.erase(0, 4);
    else return s;
  }
}

// X,Y | #ID | #ID@X,Y, then optionally "in TITLE".
Target parseTarget(std::string s, const Fault& fail) {
  Target t;
  s = trim(s);
  std::string l = lower(s);
  std::size_t in = l.find(" in ");
  if (in != std::string::npos) {
    t.window = trim(s.substr(in + 4));
    if (t.window.empty()) fail("a window title must follow 'in'");
    s = trim(s.substr(0, in));
  }
  if (!s.empty() && s[0] == '#') {
    std::size_t at = s.find('@');
    t.hasControl = true;
    if (!parseInt(s.substr(1, at == std::string::npos ? std::string::npos : at - 1), t.controlId))
      fail("bad control id in '" + s + "'");
    if (at != std::string::npos) {
      if (!parseXY(s.substr(at + 1), t.x, t.y)) fail("bad point in '" + s + "'");
      t.hasPoint = true;
    }
    return t;
  }
  if (!parseXY(s, t.x, t.y)) fail("bad target '" + s + "': expected X,Y or #ID");
  t.hasPoint = true;
  return t;
}

bool validKeyName(const std::string& name) {
  static const char* kNamed[] = {"ENTER", "ESC", "TAB", "SPACE", "BACK", "DELETE", "INSERT", "HOME", "END",
                                 "PRIOR", "NEXT", "LEFT", "RIGHT", "UP", "DOWN", "ADD", "PLUS",
                                 "SUBTRACT", "MINUS", "MULTIPLY", "DIVIDE"};
  if (name.size() == 1) return std::isalnum(static_cast<unsigned char>(name[0]));
  if (name.size() <= 3 && name[0] == 'F') {
    int n = 0;
    return parseInt(name.substr(1), n) && n >= 1 && n <= 12;
  }
  return std::find(std::begin(kNamed), std::end(kNamed), name) != std::end(kNamed);
}

void parsePoint(Event& e, const std::string& rest, const Fault& fail) {
  auto parts = split(rest, ',');
  if (parts.size() < 2 || parts.size() > 3 || !parseDouble(trim(parts[0]), e.x) || !parseDouble(trim(parts[1]), e.y) ||
      (parts.size() == 3 && !parseDouble(trim(parts[2]), e.z)))
    fail("bad point '" + rest + "': expected X,Y or X,Y,Z");
  e.hasZ = parts.size() == 3;
}

void parseButton(Event& e, const std::string& rest, const Fault& fail) {
  std::string s = takeModifiers(rest, e.modifiers);
  if (e.kind == EventKind::Drag) {
    std::size_t to = lower(s).find(" to ");
    if (to == std::string::npos) fail("drag needs 'FROM to TO'");
    e.target = parseTarget(s.substr(0, to), fail);
    e.target2 = parseTarget(s.substr(to + 4), fail);
  } else {
    e.target = parseTarget(s, fail);
  }
}

void parseWheel(Event& e, const std::string& rest, const Fault& fail) {
  std::size_t sp = rest.find(' ');
  if (!parseInt(rest.substr(0, sp), e.amount)) fail("wheel needs a number of notches");
  if (sp != std::string::npos) e.target = parseTarget(rest.substr(sp + 1), fail);
}

// The path of a file or print dialog; "cancel" gives an empty text.
void parseDialogAnswer(Event& e, const std::string& rest, const Fault& fail, const char* word) {
  if (rest.empty()) fail(std::string(word) + " needs a path or 'cancel'");
  e.text = lower(rest) == "cancel" ? "" : rest;
}

const std::pair<const char*, EventKind> kKeywords[] = {
    {"point", EventKind::Point},       {"enter", EventKind::Enter},     {"esc", EventKind::Escape},
    {"text", EventKind::Text},         {"key", EventKind::Key},         {"type", EventKind::Chars},
    {"click", EventKind::Click},       {"dblclick", EventKind::DoubleClick}, {"rclick", EventKind::RightClick},
    {"drag", EventKind::Drag},         {"move", EventKind::Move},       {"wheel", EventKind::Wheel},
    {"answer", EventKind::MessageBox}, {"file", EventKind::FileDialog}, {"print", EventKind::PrintDialog},
    {"wait", EventKind::Wait},         {"picture", EventKind::Picture},
};

void parseRest(Event& e, const std::string& rest, const std::string& word, const Fault& fail) {
  switch (e.kind) {
    case EventKind::Point: parsePoint(e, rest, fail); break;
    case EventKind::Enter: case EventKind::Escape:
      if (!rest.empty()) fail("'" + word + "' takes nothing after it");
      break;
    case EventKind::Text: case EventKind::Chars: e.text = rest; break;
    case EventKind::Key:
      e.text = upper(takeModifiers(rest, e.modifiers));
      if (!validKeyName(e.text)) fail("unknown key '" + rest + "'");
      break;
    case EventKind::Click: case EventKind::DoubleClick: case EventKind::RightClick: case EventKind::Drag:
    case EventKind::Move:
      parseButton(e, rest, fail);
      break;
    case EventKind::Wheel: parseWheel(e, rest, fail); break;
    case EventKind::MessageBox: {
      static const char* kAnswers[] = {"ok", "cancel", "yes", "no", "abort", "retry", "ignore"};
      e.text = lower(rest);
      if (std::find_if(std::begin(kAnswers), std::end(kAnswers), [&](const char* a) { return e.text == a; }) ==
          std::end(kAnswers))
        fail("unknown answer '" + rest + "'");
      break;
    }
    case EventKind::FileDialog: parseDialogAnswer(e, rest, fail, "file"); break;
    case EventKind::PrintDialog: parseDialogAnswer(e, rest, fail, "print"); break;
    case EventKind::Wait:
      if (!parseInt(rest, e.amount) || e.amount < 0) fail("wait needs milliseconds");
      break;
    case EventKind::Picture:
      if (rest.empty()) fail("picture needs a PNG path");
      e.text = rest;
      break;
  }
}

}  // namespace

std::optional<Event> parseLine(const std::string& line, const std::string& source) {
  std::string s = trim(line);
  if (s.empty() || s[0] == '#') return std::nullopt;
  Fault fail(source);
  std::size_t sp = s.find_first_of(" \t");
  std::string word = lower(s.substr(0, sp));
  std::string rest = sp == std::string::npos ? "" : trim(s.substr(sp + 1));
  auto kw = std::find_if(std::begin(kKeywords), std::end(kKeywords), [&](const auto& k) { return word == k.first; });
  if (kw == std::end(kKeywords)) fail("unknown event '" + word + "'");
  Event e;
  e.kind = kw->second;
  e.source = source;
  parseRest(e, rest, word, fail);
  return e;
}

InputQueue& InputQueue::instance() {
  static InputQueue queue;
  return queue;
}

void InputQueue::push(Event e) { events_.push_back(std::move(e)); }

void InputQueue::loadText(const std::string& text, const std::string& source) {
  std::vector<Event> parsed;
  std::istringstream in(text);
  std::string line;
  for (int n = 1; std::getline(in, line); ++n)
    if (auto e = parseLine(line, source + ":" + std::to_string(n))) parsed.push_back(std::move(*e));
  for (Event& e : parsed) push(std::move(e));
}

void InputQueue::loadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw ParseError(path + ": cannot be read");
  std::ostringstream ss;
  ss << in.rdbuf();
  loadText(ss.str(), path);
}

bool InputQueue::empty() const { return head_ >= events_.size(); }
std::size_t InputQueue::size() const { return events_.size() - head_; }
const Event* InputQueue::peek() const { return empty() ? nullptr : &events_[head_]; }

std::optional<Event> InputQueue::pop() {
  if (empty()) return std::nullopt;
  Event e = std::move(events_[head_++]);
  if (head_ == events_.size()) {  // drained: start over rather than grow
    events_.clear();
    head_ = 0;
  }
  return e;
}

void InputQueue::clear() {
  events_.clear();
  head_ = 0;
}

}  // namespace kvinput
